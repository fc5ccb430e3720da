// Local times as text.
#pragma once

#include "core/Text.h"
#include "platform/Clock.h"

namespace zv {

/// "2026-03-14".
Text DateText(const LocalTime& time);

/// "14 March 2026", in English in every country.
Text LongDateText(const LocalTime& time);

/// "15:09:26" with the separator ":".
Text ClockText(const LocalTime& time, char separator);

}  // namespace zv
