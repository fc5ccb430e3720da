// The check for an update over a web and INI files in memory, and the rules of release file and versions.
#include "feeds/UpdateCheck.h"

#include <gmock/gmock.h>

#include "fake/Calls.h"
#include "fake/HttpsGet.h"
#include "fake/ProfileFile.h"
#include "platform/Files.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::TheProfiles;
using fake::TheWeb;
using testing::ElementsAre;

constexpr TextView notConfigured = u"Updates are not configured yet. Add your HTTPS release link to updates.ini.";
constexpr TextView notReached = u"Could not reach the update service. Check your connection.";
constexpr TextView nothingRead = u"The update service returned no release information.";
constexpr TextView incomplete = u"The update file is missing a version or HTTPS download link.";
const std::string release = "Version=3.24\nTitle=T\nNotes=N\nDownload=https://d.example/\n";

class UpdateCheck : public testing::Test {
protected:
    static constexpr TextView folder = u"/app";
    UpdateCheck() {
        fake::ResetCalls();
        TheProfiles() = {};
        TheWeb() = {};
        SetFeed(u"https://feed.example/release.txt");
        TheWeb().body = release;
    }
    ~UpdateCheck() override { EXPECT_EQ(fake::OpenTransfers(), 0); }
    static void SetFeed(TextView address) {
        TheProfiles().values[{JoinPath(folder, u"updates.ini"), u"Updates", u"Feed"}] = address;
    }
    static PublishedUpdate Fetched(const std::string& body) {
        TheWeb().body = body;
        return FetchPublishedUpdate(folder);
    }
    /// A release file of `size` bytes, whose notes fill it.
    static std::string ReleaseOf(std::size_t size) {
        const std::string start = "Version=3.24\nDownload=https://d.example/\nNotes=";
        return start + std::string(size - start.size(), 'x');
    }
    static std::size_t NotesRead(std::size_t size, std::size_t blockLimit) {
        TheWeb().blockLimit = blockLimit;
        const std::size_t start = ReleaseOf(size).find("Notes=") + 6;
        return start + Fetched(ReleaseOf(size)).notes.size();
    }
};

TEST_F(UpdateCheck, ReadsTheReleaseFileOfTheFeed) {
    EXPECT_EQ(FetchPublishedUpdate(folder), (PublishedUpdate{u"3.24", u"T", u"N", u"https://d.example/", u""}));
    EXPECT_THAT(TheWeb().addresses, ElementsAre(u"https://feed.example/release.txt"));
    EXPECT_THAT(TheWeb().agents, ElementsAre(u"ZV Reels Max"));
}

TEST_F(UpdateCheck, NeedsAnHttpsFeed) {
    for (const TextView feed : {u"", u"https:/", u"http://feed.example/", u"HTTPS://feed.example/", u" https://a.b"}) {
        SetFeed(feed);
        EXPECT_EQ(FetchPublishedUpdate(folder), FailedUpdateCheck(notConfigured));
    }
    EXPECT_EQ(CountOf("OpenHttpsGet"), 0);
    SetFeed(u"https://");
    FetchPublishedUpdate(folder);
    EXPECT_EQ(CountOf("OpenHttpsGet"), 1) << "the network refuses this address";
}

TEST_F(UpdateCheck, ReportsTheStageOfAFailure) {
    fake::FailCall("OpenHttpsGet", 1, -1);
    EXPECT_EQ(FetchPublishedUpdate(folder), FailedUpdateCheck(notReached));
    fake::FailCall("OpenHttpsGet", 2, -1);
    TheWeb().failure = HttpsFailure::NotStarted;
    EXPECT_EQ(FetchPublishedUpdate(folder), FailedUpdateCheck(u"Could not start the update check."));
    EXPECT_EQ(Fetched(""), FailedUpdateCheck(nothingRead));
    fake::FailCall("ReadHttpsBlock", CountOf("ReadHttpsBlock") + 1, -1);
    EXPECT_EQ(Fetched(release), FailedUpdateCheck(nothingRead));
}

TEST_F(UpdateCheck, UsesWhatWasReadBeforeAFailure) {
    TheWeb().blockLimit = 20;
    fake::FailCall("ReadHttpsBlock", 2, -1);
    EXPECT_EQ(FetchPublishedUpdate(folder), (PublishedUpdate{u"3.24", u"T", u"", u"", Text(incomplete)}));
}

TEST_F(UpdateCheck, StopsBehindTheBlockThatReaches64KiB) {
    EXPECT_EQ(NotesRead(65535, 4096), 65535U);
    EXPECT_EQ(NotesRead(65536, 4096), 65536U);
    EXPECT_EQ(NotesRead(70000, 4096), 65536U);
    EXPECT_EQ(NotesRead(70000, 4095), 17U * 4095U) << "small blocks read up to 65535 + 4096 bytes";
    TheWeb().blockLimit = 4096;
    const int before = CountOf("ReadHttpsBlock");
    Fetched(ReleaseOf(70000));
    EXPECT_EQ(CountOf("ReadHttpsBlock") - before, 17) << "the last block is dropped";
}

TEST_F(UpdateCheck, ACutOrInvalidCharacterIsReplaced) {
    EXPECT_EQ(Fetched("Version=1\nDownload=https://d\nNotes=a\xFF"
                      "b")
                  .notes,
              u"a\uFFFDb");
    const std::string start = ReleaseOf(65535);
    EXPECT_TRUE(Fetched(start + "\xE6\x9D\xB1").notes.ends_with(u"x\uFFFD"));
}

TEST(ReleaseFile, HasFourValues) {
    struct Row {
        TextView text;
        PublishedUpdate update;
    };
    const Text missing(incomplete);
    const std::vector<Row> rows{
        {u"Version=1\r\nTitle= t \r\nNotes=n\r\nDownload=https://d\r\n", {u"1", u" t ", u"n", u"https://d", u""}},
        {u"Version=1\nDownload=https://d", {u"1", u"", u"", u"https://d", u""}},
        {u"Version=1\rDownload=https://", {u"1", u"", u"", u"https://", u""}},
        {u"Version=1\nTitle=t\nNotes=n", {u"1", u"t", u"n", u"", missing}},
        {u"Version=1\nDownload=http://d", {u"1", u"", u"", u"http://d", missing}},
        {u"Version=1\nDownload=HTTPS://d", {u"1", u"", u"", u"HTTPS://d", missing}},
        {u"Version=1\nDownload= https://d", {u"1", u"", u"", u" https://d", missing}},
        {u"Version=\nTitle=t\nDownload=https://d", {u"", u"t", u"", u"https://d", missing}},
        {u"version=1\nDownload=https://d", {u"", u"", u"", u"https://d", missing}},
        {u"<html><body>404</body></html>", {u"", u"", u"", u"", missing}},
        {u"", {u"", u"", u"", u"", u"The update file must be UTF-8."}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(ReadReleaseFile(row.text), row.update) << testing::PrintToString(Text(row.text));
    }
}

TEST(ReleaseFile, AKeyIsFoundAnywhere) {
    EXPECT_EQ(ExtractValue(u"MinVersion=1\nVersion=2", u"Version"), u"1");
    EXPECT_EQ(ExtractValue(u"a Version=2=3", u"Version"), u"2=3");
    EXPECT_EQ(ExtractValue(u"Version =2", u"Version"), u"");
    EXPECT_EQ(ExtractValue(u"Version", u"Version"), u"");
    EXPECT_EQ(ExtractValue(u"Version=", u"Version"), u"");
}

TEST(Versions, AreSplitAtTheirDots) {
    const std::vector<std::pair<TextView, std::vector<std::int32_t>>> rows{
        {u"", {}},
        {u"3.23.0", {3, 23, 0}},
        {u"3.", {3}},
        {u".", {0}},
        {u"3..1", {3, 0, 1}},
        {u"3.x.9", {3, 0, 9}},
        {u"v3.24", {0, 24}},
        {u" 3. 4rc", {3, 4}},
        {u"-1.+2", {-1, 2}},
        {u"2147483647.2147483648.-2147483649", {2147483647, 0, 0}},
    };
    for (const auto& [text, numbers] : rows) {
        EXPECT_EQ(ParseVersion(text), numbers) << testing::PrintToString(Text(text));
    }
}

TEST(Versions, AreComparedNumberByNumber) {
    struct Row {
        TextView a;
        TextView b;
        int order;
    };
    const std::vector<Row> rows{{u"3.23", u"3.23.0", 0},
                                {u"3.9", u"3.23", -1},
                                {u"3.23.0", u"3.23.0.1", -1},
                                {u"4", u"3.99", 1},
                                {u"", u"", 0},
                                {u"", u"0.0", 0},
                                {u"3.23", u"3.23.-1", 1},
                                {u"3.23.0", u"v3.24", 1},
                                {u"1.2", u"1.2.0.0.1", -1}};
    for (const Row& row : rows) {
        EXPECT_EQ(CompareVersions(row.a, row.b), row.order) << testing::PrintToString(Text(row.a));
        EXPECT_EQ(CompareVersions(row.b, row.a), -row.order) << testing::PrintToString(Text(row.a));
    }
}

TEST(Versions, OnlyOneAboveTheInstalledIsNewer) {
    for (const TextView version : {u"3.23.0.1", u"3.24", u"4", u"3.23.1x"}) {
        EXPECT_TRUE(IsNewer({Text(version), {}, {}, {}, {}})) << testing::PrintToString(Text(version));
    }
    for (const TextView version : {u"", u"3.23", u"3.23.0", u"3.22.9", u"v3.24", u"3.x.9"}) {
        EXPECT_FALSE(IsNewer({Text(version), {}, {}, {}, {}})) << testing::PrintToString(Text(version));
    }
}

}  // namespace
}  // namespace zv
