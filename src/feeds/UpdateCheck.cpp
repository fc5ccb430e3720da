#include "feeds/UpdateCheck.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include "core/Settings.h"
#include "core/Utf8.h"
#include "platform/Files.h"
#include "platform/HttpsGet.h"
#include "platform/ProfileFile.h"

namespace zv {
namespace {

constexpr TextView agent = u"ZV Reels Max";
constexpr TextView secureScheme = u"https://";
constexpr std::size_t blockSize = 4096;
constexpr std::size_t sizeLimit = 65536;

/// Reads until the answer ends or fails. Drops the block that follows the first 64 KiB and all after it.
std::string ReadAnswer(HttpsGet& get) {
    std::array<std::byte, blockSize> block;
    std::string answer;
    for (;;) {
        const std::size_t count = ReadBlock(get, block.data(), block.size());
        if (count == 0 || answer.size() >= sizeLimit) {
            return answer;
        }
        answer.append(reinterpret_cast<const char*>(block.data()), count);
    }
}

}  // namespace

PublishedUpdate FailedUpdateCheck(TextView error) { return {{}, {}, {}, {}, Text(error)}; }

PublishedUpdate FetchPublishedUpdate(TextView folder) {
    const Text feed = ReadProfileText(JoinPath(folder, u"updates.ini"), u"Updates", u"Feed");
    if (!feed.starts_with(secureScheme)) {
        return FailedUpdateCheck(u"Updates are not configured yet. Add your HTTPS release link to updates.ini.");
    }
    const HttpsOpening opening = OpenHttpsGet(feed, agent);
    if (!opening.get) {
        return FailedUpdateCheck(opening.failure == HttpsFailure::NotStarted
                                     ? updateCheckNotStarted
                                     : u"Could not reach the update service. Check your connection.");
    }
    const std::string answer = ReadAnswer(*opening.get);
    if (answer.empty()) {
        return FailedUpdateCheck(u"The update service returned no release information.");
    }
    return ReadReleaseFile(DecodeUtf8(answer));
}

PublishedUpdate ReadReleaseFile(TextView text) {
    if (text.empty()) {
        return FailedUpdateCheck(u"The update file must be UTF-8.");
    }
    PublishedUpdate update{ExtractValue(text, u"Version"),
                           ExtractValue(text, u"Title"),
                           ExtractValue(text, u"Notes"),
                           ExtractValue(text, u"Download"),
                           {}};
    if (update.version.empty() || !update.download.starts_with(secureScheme)) {
        update.error = u"The update file is missing a version or HTTPS download link.";
    }
    return update;
}

Text ExtractValue(TextView text, TextView key) {
    const Text start = Text(key) + u"=";
    const std::size_t found = text.find(start);
    if (found == TextView::npos) {
        return {};
    }
    const TextView value = text.substr(found + start.size());
    return Text(value.substr(0, value.find_first_of(u"\r\n")));
}

std::vector<std::int32_t> ParseVersion(TextView text) {
    std::vector<std::int32_t> numbers;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u'.'), text.size());
        numbers.push_back(ParseInt(text.substr(0, end), 0));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return numbers;
}

int CompareVersions(TextView a, TextView b) {
    std::vector<std::int32_t> left = ParseVersion(a);
    std::vector<std::int32_t> right = ParseVersion(b);
    const std::size_t length = std::max(left.size(), right.size());
    left.resize(length);
    right.resize(length);
    return left == right ? 0 : left < right ? -1 : 1;
}

bool IsNewer(const PublishedUpdate& update) {
    return !update.version.empty() && CompareVersions(installedVersion, update.version) < 0;
}

}  // namespace zv
