// The four windows that live as long as the program, with their attributes, and the program's icons. Interface thread.
#pragma once

#include "core/Text.h"
#include "platform/AppIcon.h"

namespace zv {

/// The program's own icon in its two sizes, painted where it carries none. Before the windows.
void MakeProgramIcons();

/// Main window, quick overlay, badge and notification, in this order. "--background" in the command line hides the
/// main window. One that cannot be made is not missed.
void MakeProgramWindows(const Text& commandLine);

void DarkenWindowFrames();

/// For the notification area. Null when it could not be had.
const AppIcon* LittleIcon();

// What ends before the jobs of the program do.
void EndToast();
void EndBadge();

/// After the message loop: the icons, and whatever windows are left.
void ReleaseProgramWindows();

}  // namespace zv
