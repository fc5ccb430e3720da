// Local times as digits.
#pragma once

#include "core/Text.h"
#include "platform/Clock.h"

namespace zv {

/// "2026-03-14".
Text DateText(const LocalTime& time);

/// "15:09:26" with the separator ":".
Text ClockText(const LocalTime& time, char separator);

}  // namespace zv
