#include "library/CapturePath.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "core/CreateFolder.h"
#include "platform/Clock.h"
#include "platform/Files.h"

namespace zv {
namespace {

constexpr std::size_t longestFileName = 191;

Text TimeText(const LocalTime& time) {
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "_%04u-%02u-%02u_%02u-%02u-%02u-%03u", static_cast<unsigned>(time.year),
                  static_cast<unsigned>(time.month), static_cast<unsigned>(time.day), static_cast<unsigned>(time.hour),
                  static_cast<unsigned>(time.minute), static_cast<unsigned>(time.second),
                  static_cast<unsigned>(time.millisecond));
    return Widen(text.data());
}

}  // namespace

Text BuildCapturePath(TextView folder, TextView stem, TextView extension) {
    CreateFolder(folder);
    Text name(stem);
    name += TimeText(LocalNow());
    name += extension;
    name.resize(std::min(name.size(), longestFileName));
    return JoinPath(folder, name);
}

}  // namespace zv
