// Dialogs whose outcome the test sets before they open. Calls are recorded as "ChooseFolder" and "ChooseFile".
#pragma once

#include <functional>

#include "fake/Calls.h"
#include "platform/FileDialogs.h"

namespace zv::fake {

struct DialogControls {
    std::optional<Text> choice;       ///< nothing: the user cancels
    std::function<void()> whileOpen;  ///< called while the dialog is open
    AppWindow* owner = nullptr;       ///< of the last dialog
    Text filterName;                  ///< of the last dialog for files
    Text pattern;
};

DialogControls& TheDialogs();
void ResetDialogs();

}  // namespace zv::fake
