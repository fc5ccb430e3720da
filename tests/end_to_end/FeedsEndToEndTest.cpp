// The update check of the real program, by clicks, against a real server. A script on the search path records what the
// program opens in the browser.
#include <sys/stat.h>

#include "support/HttpsWeb.h"
#include "support/InterfaceUser.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

constexpr Rectangle state{248, 297, 1164, 329};

class FeedsEndToEnd : public testing::Test {
protected:
    FeedsEndToEnd() {
        fs::create_directory(Application());
        fs::copy_file(ProgramPath(), Application() / "zorvel");
        WriteBytes(folder_.Path() / "xdg-open", "#!/bin/sh\nprintf '%s\\n' \"$@\" >>'" + Opened().string() + "'\n");
        chmod((folder_.Path() / "xdg-open").c_str(), 0700);
    }
    fs::path Application() const { return folder_.Path() / "app"; }
    fs::path Opened() const { return folder_.Path() / "opened"; }
    ProgramOptions Options() const {
        return {.display = display_.Name(),
                .settings = {{"instantReplay", "0"}},
                .variables = {{"PATH", folder_.Path().string() + ":" + std::getenv("PATH")}},
                .program = (Application() / "zorvel").string(),
                .background = false};
    }
    void OpenUpdates(const ProgramRun& run) const {
        ASSERT_TRUE(user_.WaitShown(mainWindowName));
        ASSERT_TRUE(run.WaitForActivity("Replay ").has_value());
        user_.Click(mainWindowName, 95, 316);
        ASSERT_TRUE(WaitWords(state, u"Press Check now to look for updates.", color::mutedText, FontRole::Body));
    }
    void Check(const std::string& path) const {
        WriteBytes(Application() / "updates.ini", "[Updates]\r\nFeed=" + web_.Address("https", path) + "\r\n");
        user_.Click(mainWindowName, 1110, 130);
    }
    /// Words of the card. The content of the page is between 222 and 1190.
    bool WaitWords(const Rectangle& box, const Text& text, Color color, FontRole font,
                   TextLayout layout = TextLayout::Line) const {
        return user_.WaitSays(mainWindowName, {box, text, color, color::card, font, layout});
    }
    bool WaitError(const Text& error) const {
        return WaitWords({248, 297, 1164, 345}, error, color::mutedText, FontRole::Small, TextLayout::Wrapped);
    }

    TemporaryFolder folder_{"zorvel-feeds"};
    HttpsWeb web_;
    PrivateDisplay display_{"1400x1000"};
    InterfaceUser user_{display_.Name()};
};

TEST_F(FeedsEndToEnd, TheUpdatesPageSaysWhatTheReleaseFileSays) {
    ProgramRun run(Options());
    ASSERT_NO_FATAL_FAILURE(OpenUpdates(run));
    Check("/body/Version=3.23%0ADownload=https://d.example");
    EXPECT_TRUE(WaitWords(state, u"You are up to date.", color::primaryText, FontRole::Bold));
    Check("/body/");
    EXPECT_TRUE(WaitError(u"The update service returned no release information."));
    Check("/body/Version=4%0ADownload=http://d.example");
    EXPECT_TRUE(WaitError(u"The update file is missing a version or HTTPS download link."));
    Check("/to/http://localhost:1/");
    EXPECT_TRUE(WaitError(u"Could not reach the update service. Check your connection."));
    // Text of a stranger.
    const std::string notes = "%01%1B[31m%E6%9D%B1%FF" + std::string(1500, 'n');
    Check("/body/Version=4.0%0ATitle=%09%22T%22%0ANotes=" + notes + "%0ADownload=https://d.example/%22$(id)%60%20x%0D");
    EXPECT_TRUE(WaitWords(state, u"New version available: 4.0", color::purple, FontRole::Bold));
    EXPECT_FALSE(fs::exists(Opened())) << "nothing is opened before a click";
    user_.Click(mainWindowName, 1090, 405);
    EXPECT_TRUE(Eventually([&] { return ReadBytes(Opened()) == "https://d.example/%22$(id)%60%20x\n"; }))
        << ReadBytes(Opened());
    EXPECT_EQ(run.End(), 0);
}

TEST_F(FeedsEndToEnd, TheProgramEndsDuringACheck) {
    ProgramRun run(Options());
    ASSERT_NO_FATAL_FAILURE(OpenUpdates(run));
    Check("/nothing/2");
    EXPECT_TRUE(Eventually([&] { return web_.Requests().size() == 1; }));
    EXPECT_EQ(run.End(), 0);
}

TEST_F(FeedsEndToEnd, TheProgramEndsWithinTheTimeLimitOfACheck) {
    ProgramRun run(Options());
    ASSERT_NO_FATAL_FAILURE(OpenUpdates(run));
    Check("/nothing/300");
    EXPECT_TRUE(WaitWords(state, u"Checking for an update...", color::purple, FontRole::Bold));
    EXPECT_EQ(run.End(100), 0);
}

}  // namespace
}  // namespace zv
