// Values of INI files. Any thread.
#pragma once

#include "core/Text.h"

namespace zv {

/// The value of `key` in a section of the file `path`, which must be absolute. Section and key may differ in case, the
/// first match counts, blanks around the value and one pair of quotes are removed. Empty if there is no such value or
/// no file; at most 2047 units.
Text ReadProfileText(TextView path, TextView section, TextView key);

}  // namespace zv
