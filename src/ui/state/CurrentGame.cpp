#include "ui/state/CurrentGame.h"

#include "core/Settings.h"
#include "library/GameName.h"
#include "platform/Files.h"
#include "ui/state/UiGlobals.h"

namespace zv {

void RefreshGameName(const FrontWindow& front) {
    Text name = ForegroundGameName(front);
    if (!name.empty()) {
        Ui().gameName = std::move(name);
    }
}

Text CurrentGameFolder() {
    RefreshGameName(LookUpFrontWindow());
    return JoinPath(CurrentSettings().captureRoot, Ui().gameName);
}

}  // namespace zv
