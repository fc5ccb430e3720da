// The program's About text. Any thread.
#pragma once

#include "core/Text.h"

namespace zv {

/// Name, requirements and licences, from resources/about.txt. Windows: the resource 201 of the executable; empty if it
/// has none.
Text AboutText();

}  // namespace zv
