// Creates the four windows that live as long as the program, and the program's icons. UiGlobals::programWindows owns
// them. Interface thread.
#pragma once

#include "core/Text.h"

namespace zv {

/// Loads the program's icon in its two sizes, or paints it if the program file has none. Called before the windows are
/// created.
void MakeProgramIcons();

/// Creates main window, quick overlay, badge and notification, in this order. "--background" in the command line hides
/// the main window. The program runs without a window that cannot be created.
void MakeProgramWindows(const Text& commandLine);

void DarkenWindowFrames();

/// Releases the icons and the remaining windows. Called after the message loop.
void ReleaseProgramWindows();

}  // namespace zv
