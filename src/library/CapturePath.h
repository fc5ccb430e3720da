// Where a new capture goes.
#pragma once

#include "core/Text.h"

namespace zv {

inline constexpr TextView replayStem = u"ZV_Replay";
inline constexpr TextView recordingStem = u"ZV_Recording";
inline constexpr TextView screenshotStem = u"ZV_Screenshot";
inline constexpr TextView videoExtension = u".mp4";
inline constexpr TextView imageExtension = u".png";

/// The full path of a new file in `folder`, named with the local time of this moment. Creates the folder; a failure
/// to do so shows when the file is written. Any thread.
Text BuildCapturePath(TextView folder, TextView stem, TextView extension);

}  // namespace zv
