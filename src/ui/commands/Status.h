// The status line.
#pragma once

#include "core/Text.h"

namespace zv {

/// Shows every message to the user: in the status line, and as the notification that its words call for. Interface
/// thread.
void ShowStatus(const Text& text);

}  // namespace zv
