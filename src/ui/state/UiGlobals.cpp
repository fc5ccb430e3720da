#include "ui/state/UiGlobals.h"

namespace zv {

UiGlobals& Ui() {
    static UiGlobals globals;
    return globals;
}

void InvalidatePages() {
    for (AppWindow* window : {Ui().mainWindow, Ui().overlayWindow}) {
        if (window != nullptr) {
            InvalidateWindow(*window);
        }
    }
}

}  // namespace zv
