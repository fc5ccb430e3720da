// What the publisher's release file says of the newest version. The file is text over HTTPS; its address is in
// "updates.ini" beside the executable. Nothing is downloaded or installed. Any thread.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "core/Text.h"

namespace zv {

inline constexpr TextView installedVersion = u"3.23.0";

/// The values of the release file are shown as they are. They come from the web: only `download` may be opened, and
/// only after a click.
struct PublishedUpdate {
    Text version;
    Text title;
    Text notes;
    Text download;  ///< begins with "https://" if there is no error
    Text error;     ///< one sentence, or empty; the other values may be filled as well
    bool operator==(const PublishedUpdate&) const = default;
};

/// The sentence of a check that the system does not start.
inline constexpr TextView updateCheckNotStarted = u"Could not start the update check.";

/// A result with no other value than `error`.
PublishedUpdate FailedUpdateCheck(TextView error);

/// Fetches the release file that the "updates.ini" in `folder` names. Blocks as long as the network does.
PublishedUpdate FetchPublishedUpdate(TextView folder);

/// Reads a release file: "Version", "Title", "Notes" and "Download".
PublishedUpdate ReadReleaseFile(TextView text);

/// The value after the first "<key>=" anywhere in `text`, up to the end of its line. Empty if there is none.
Text ExtractValue(TextView text, TextView key);

/// The numbers between the dots. A piece that is no number is 0.
std::vector<std::int32_t> ParseVersion(TextView text);

/// Returns -1, 0 or 1. A number that one of the versions lacks counts as 0.
int CompareVersions(TextView a, TextView b);

/// Returns true if the release file has a version above the installed one.
bool IsNewer(const PublishedUpdate& update);

}  // namespace zv
