// The path of a new capture.
#pragma once

#include "core/Text.h"

namespace zv {

inline constexpr TextView replayStem = u"ZV_Replay";
inline constexpr TextView recordingStem = u"ZV_Recording";
inline constexpr TextView screenshotStem = u"ZV_Screenshot";
inline constexpr TextView videoExtension = u".mp4";
inline constexpr TextView imageExtension = u".png";

/// Returns the full path of a new file in `folder`, whose name contains the current local time. Creates the folder and
/// ignores a failure, because writing the file then fails. Any thread.
Text BuildCapturePath(TextView folder, TextView stem, TextView extension);

}  // namespace zv
