#include "library/CapturePath.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "core/CreateFolder.h"
#include "core/TimeText.h"
#include "platform/Clock.h"
#include "platform/Files.h"

namespace zv {
namespace {

constexpr std::size_t longestFileName = 191;

/// "_2026-03-14_15-09-26-535".
Text TimeSuffix(const LocalTime& time) {
    std::array<char, 48> milliseconds{};
    std::snprintf(milliseconds.data(), milliseconds.size(), "-%03u", static_cast<unsigned>(time.millisecond));
    return u"_" + DateText(time) + u"_" + ClockText(time, '-') + Widen(milliseconds.data());
}

}  // namespace

Text BuildCapturePath(TextView folder, TextView stem, TextView extension) {
    CreateFolder(folder);
    Text name(stem);
    name += TimeSuffix(LocalNow());
    name += extension;
    name.resize(std::min(name.size(), longestFileName));
    return JoinPath(folder, name);
}

}  // namespace zv
