// The system's dialogs for files and folders. Interface thread only, after OpenSession.
//
// A dialog is modal to `owner`. Messages are dispatched while it is open, so timers fire and keys work; the program can
// also end meanwhile. Both functions return nothing if the user cancels, if no dialog can be shown, if the program
// ends, and at once while another dialog is open.
#pragma once

#include <optional>

#include "core/Text.h"
#include "platform/Window.h"

namespace zv {

/// Returns the full path of a folder of the file system.
std::optional<Text> ChooseFolder(AppWindow& owner);

/// Returns the full path of an existing file. The dialog offers the files that match `pattern`, such as "*.png", under
/// the name `filterName`.
std::optional<Text> ChooseFile(AppWindow& owner, const Text& filterName, const Text& pattern);

}  // namespace zv
