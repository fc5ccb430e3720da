#include "capture/ReplayPlaylist.h"

#include <algorithm>
#include <limits>
#include <system_error>

#include "capture/CaptureFiles.h"
#include "capture/TextLines.h"
#include "platform/Files.h"

namespace zv {
namespace {

constexpr std::string_view durationTag = "#EXTINF:";

bool IsSegmentName(std::string_view line) {
    return line.size() >= 3 && line.starts_with("seg") && line.find_first_of("/\\:") == std::string_view::npos &&
           line.ends_with(".ts");
}

}  // namespace

SegmentNames SegmentNamesIn(std::string_view playlist) {
    SegmentNames names;
    ForEachLine(playlist, [&names](std::string_view line) {
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        if (IsSegmentName(line)) {
            names.emplace_back(line);
        }
    });
    return names;
}

std::int32_t SecondsIn(std::string_view playlist) {
    double sum = 0;
    ForEachLine(playlist, [&sum](std::string_view line) {
        if (line.starts_with(durationTag)) {
            sum += LeadingReal(line.substr(durationTag.size())).value_or(0);
        }
    });
    constexpr double most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(sum, -most, most));
}

SegmentNames SegmentsToRelay(SegmentNames listed, const std::string& lastSent) {
    if (lastSent.empty() && listed.size() > 2) {
        listed.erase(listed.begin(), listed.end() - 2);
    }
    SegmentNames due;
    for (std::string& name : listed) {
        const std::string& newest = due.empty() ? lastSent : due.back();
        if (newest.empty() || name > newest) {
            due.push_back(std::move(name));
        }
    }
    return due;
}

Text PlaylistPath(TextView folder) { return JoinPath(folder, u"live.m3u8"); }

SegmentNames ReadSegmentList(TextView folder) { return SegmentNamesIn(ReadFileCapped(PlaylistPath(folder))); }

std::filesystem::path SegmentPath(TextView folder, const std::string& name) {
    try {
        return ToPath(folder) / std::filesystem::path(name);
    } catch (const std::system_error&) {
        return {};
    }
}

}  // namespace zv
