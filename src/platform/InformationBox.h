// The system's message box. Interface thread only, after OpenSession. Messages are handled while it is
// open.
#pragma once

#include "core/Text.h"

namespace zv {

/// Shows a box with an information sign and an OK button. Windows: over the active window, if the program has one;
/// returns when the user closes it. Linux: returns at once; the box may outlive the program, and while it is open
/// another call does nothing.
void ShowInformation(TextView text, TextView caption);

}  // namespace zv
