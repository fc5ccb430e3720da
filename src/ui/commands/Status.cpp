#include "ui/commands/Status.h"

#include "ui/commands/Notifications.h"
#include "ui/state/UiGlobals.h"

namespace zv {

void ShowStatus(const Text& text) {
    ShowToastForStatus(text);
    Ui().statusText = text;
    InvalidatePages();
}

}  // namespace zv
