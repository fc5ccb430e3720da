// The update check with real parts: INI file, network and release file.
#include <gmock/gmock.h>

#include "feeds/UpdateCheck.h"
#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/HttpsWeb.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using support::WriteBytes;
using testing::AllOf;
using testing::AnyOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const Text notReached = u"Could not reach the update service. Check your connection.";
const Text nothingRead = u"The update service returned no release information.";
const Text incomplete = u"The update file is missing a version or HTTPS download link.";

class HttpsFeed : public testing::Test {
protected:
    static void SetUpTestSuite() { web_ = new support::HttpsWeb; }
    static void TearDownTestSuite() { delete web_; }

    PublishedUpdate Fetched(const std::string& address) const {
        WriteBytes(folder_.Path() / "updates.ini", "[Updates]\r\nFeed=" + address + "\r\n");
        return FetchPublishedUpdate(FromPath(folder_.Path()));
    }
    PublishedUpdate At(const std::string& port, const std::string& path) const {
        return Fetched(web_->Address(port, path));
    }
    PublishedUpdate At(const std::string& path) const { return At("https", path); }

    static support::HttpsWeb* web_;
    support::TemporaryFolder folder_;
};

support::HttpsWeb* HttpsFeed::web_ = nullptr;

TEST_F(HttpsFeed, GivesWhatTheServerSends) {
    struct Row {
        const char* path;
        PublishedUpdate update;
    };
    const PublishedUpdate whole{u"3.24", u"T", u"N", u"https://d", u""};
    const std::vector<Row> rows{
        {"/body/Version=3.24%0D%0ATitle=T%0D%0ANotes=N%0D%0ADownload=https://d%0D%0A", whole},
        {"/body/Version=3.24%0ATitle=T%0ANotes=N%0ADownload=https://d%0A", whole},
        {"/body/Version=3.24%0ATitle=T%0ANotes=N%0ADownload=https://d", whole},
        {"/unsized/Version=3.24%0ATitle=T%0ANotes=N%0ADownload=https://d", whole},
        {"/slow/Version=3.24%0ATitle=T%0ANotes=N%0ADownload=https://d", whole},
        {"/error/Version=3.24%0ATitle=T%0ANotes=N%0ADownload=https://d", whole},
        {"/error/%3Chtml%3ENot+found%3C/html%3E", {u"", u"", u"", u"", incomplete}},
        {"/part/Version=3.24%0ATitle=T%0ANotes=N%0ADownload=https://d", whole},
        {"/part/Version=3.24%0ATit", {u"3.24", u"", u"", u"", incomplete}},
        {"/part/", {u"", u"", u"", u"", nothingRead}},
        {"/body/", {u"", u"", u"", u"", nothingRead}},
        {"/error/", {u"", u"", u"", u"", nothingRead}},
        {"/body/Version=1%0ADownload=http://d", {u"1", u"", u"", u"http://d", incomplete}},
        {"/body/Version=1%0ADownload=https://d%0ATitle=a%FFb%0ANotes=%E6%9D%B1%E6%9D",
         {u"1", u"a\uFFFDb", u"\u6771\uFFFD", u"https://d", u""}},
        {"/redirects/3", {u"3.24", u"", u"", u"https://d.example/", u""}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(At(row.path), row.update) << row.path;
    }
}

TEST_F(HttpsFeed, IsReadTo64KiB) {
    const std::size_t start = std::string("Version=3.24\nDownload=https://d.example/\nNotes=").size();
    EXPECT_EQ(start + At("/size/65535").notes.size(), 65535U);
    EXPECT_EQ(start + At("/size/65536").notes.size(), 65536U);
    const std::size_t most = start + At("/size/70000").notes.size();
    EXPECT_GE(most, 65536U);
    EXPECT_LE(most, 65535U + 4096U);
}

TEST_F(HttpsFeed, IsRefusedFromAServerThatCannotBeTrusted) {
    const std::string release = "/body/Version=3.24%0ADownload=https://d";
    for (const char* port : {"expired", "other", "unknown", "http"}) {
        EXPECT_EQ(At(port, release).error, notReached) << port;
        EXPECT_THAT(web_->Requests(), Not(Contains(StartsWith(std::string(port) + " ")))) << port;
    }
    EXPECT_EQ(At("https", release).error, u"");
}

TEST_F(HttpsFeed, ReachesNoServerWithoutOne) {
    for (const char* address :
         {"https://", "https://localhost:1/", "https://:/", "https://local host/", "https://[::"}) {
        EXPECT_EQ(Fetched(address).error, notReached) << address;
    }
}

TEST_F(HttpsFeed, FollowsRedirectsToHttpsAlone) {
    EXPECT_EQ(At("/to/" + web_->Address("https", "/size/100")).error, u"");
    EXPECT_EQ(At("/to/" + web_->Address("unknown", "/size/100")).error, notReached);
    EXPECT_NE(At("/to/file:///etc/passwd").error, u"");
    EXPECT_EQ(At("/to/http" + web_->Address("http", "/size/100").substr(5)).error, notReached);
    if (web_->redirectsAreLimited) {
        EXPECT_THAT(web_->Requests(), Not(Contains(StartsWith("http "))));
    }
}

TEST_F(HttpsFeed, EndsAfterTenThousandRedirects) {
    EXPECT_EQ(At("/redirects/10000").error, web_->redirectsAreLimited ? notReached : u"");
}

TEST_F(HttpsFeed, IsRequestedInTheProgramsName) {
    At("/body/asked");
    EXPECT_THAT(web_->Requests(),
                Contains(AllOf(StartsWith("https /body/asked;"), HasSubstr("User-Agent: ZV Reels Max"))));
}

TEST_F(HttpsFeed, WaitsForAServerThatHangs) {
    EXPECT_THAT(At("/nothing/1").error, AnyOf(notReached, nothingRead)) << "Wine takes the end for an answer";
    EXPECT_EQ(At("/head/1").error, nothingRead);
}

}  // namespace
}  // namespace zv
