// The system's message box. Interface thread only, after OpenSession.
#pragma once

#include "core/Text.h"

namespace zv {

/// Shows a box without an owner, with an information sign and an OK button, and returns when the user closes it.
void ShowInformation(TextView text, TextView caption);

}  // namespace zv
