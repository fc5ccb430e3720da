// The system's message box. Interface thread only, after OpenSession.
#pragma once

#include "core/Text.h"

namespace zv {

/// Shows a box with an information sign and an OK button, without an owner. Returns when the user closes it.
void ShowInformation(TextView text, TextView caption);

}  // namespace zv
