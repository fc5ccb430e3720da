#include "ui/state/UiGlobals.h"

#include "core/Settings.h"
#include "library/GameName.h"
#include "platform/Files.h"

namespace zv {

UiGlobals& Ui() {
    static UiGlobals globals;
    return globals;
}

void RefreshGameName() {
    Text name = ForegroundGameName();
    if (!name.empty()) {
        Ui().gameName = std::move(name);
    }
}

Text CurrentGameFolder() {
    RefreshGameName();
    return JoinPath(CurrentSettings().captureRoot, Ui().gameName);
}

}  // namespace zv
