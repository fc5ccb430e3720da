// The pages of the real program's main window, with real clicks. Scripts on the search path record what the program
// opens on the desktop.
#include <sys/stat.h>

#include "support/InterfaceUser.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

class PagesEndToEnd : public testing::Test {
protected:
    PagesEndToEnd() {
        fs::create_directory(bin_);
        fs::create_directories(Application() / "recommended-images");
        fs::copy_file(ProgramPath(), Application() / "zorvel");
        Install("xdg-open");
        Install("zenity", "while [ ! -e end ]; do sleep 0.05; done\necho closed >>zenity.seen");
    }
    fs::path Application() const { return folder_.Path() / "app"; }
    /// A program that appends its arguments to its record, one a line, and then runs `then`.
    void Install(const std::string& name, const std::string& then = "") const {
        WriteBytes(bin_ / name,
                   "#!/bin/sh\ncd '" + bin_.string() + "'\nprintf '%s\\n' \"$@\" >>" + name + ".seen\n" + then + "\n");
        chmod((bin_ / name).c_str(), 0700);
    }
    bool WaitSeen(const std::string& name, const std::string& arguments) const {
        return Eventually([&] { return ReadBytes(bin_ / (name + ".seen")) == arguments; });
    }
    ProgramOptions Options() const {
        return {.display = display_.Name(),
                .settings = {{"instantReplay", "0"}},
                .variables = {{"PATH", bin_.string() + ":" + std::getenv("PATH")}},
                .program = (Application() / "zorvel").string(),
                .background = false};
    }
    void Click(int x, int y) const { user_.Click(mainWindowName, x, y); }
    void SelectPage(int page) const {
        Click(95, 145 + 57 * page);
        user_.MovePointer(1, 1);
        ASSERT_TRUE(user_.WaitColor(mainWindowName, 30, 145 + 57 * page, color::buttonSelected));
    }
    /// Words of a page, whose content is between 222 and 1190 in a window of 1220 by 800.
    bool WaitWords(const Rectangle& box, const Text& text, Color color, Color background, FontRole font,
                   TextLayout layout = TextLayout::Line) const {
        return user_.WaitSays(mainWindowName, {box, text, color, background, font, layout});
    }

    TemporaryFolder folder_{"zorvel-pages"};
    fs::path bin_ = folder_.Path() / "bin";
    PrivateDisplay display_{"1400x1000"};
    InterfaceUser user_{display_.Name()};
};

TEST_F(PagesEndToEnd, OpenWhatTheirButtonsNameInTheDesktopsPrograms) {
    WriteBytes(Application() / "recommended.ini",
               "[Card1]\r\nTitle=A card\r\nDescription=With all that it can have\r\nURL=https://example.org/a?b=c&d\r\n"
               "Image=green.png\r\n");
    OutputOf({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "color=0x00c000:s=320x180", "-frames:v", "1",
              (Application() / "recommended-images" / "green.png").string()});
    ProgramRun run(Options());
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    ASSERT_TRUE(run.WaitForActivity("Replay ").has_value());

    ASSERT_NO_FATAL_FAILURE(SelectPage(1));
    EXPECT_TRUE(WaitWords({347, 176, 681, 206}, u"A card", color::primaryText, color::card, FontRole::Bold));
    EXPECT_TRUE(Eventually([&] {  // the decoder may round
        const std::uint32_t pixel = user_.ColorOf(mainWindowName, 285, 224);
        return std::abs(static_cast<int>(pixel >> 8 & 0xFF) - 0xC0) < 12 && (pixel & 0xFF) < 24 && pixel >> 16 < 24;
    })) << "the picture of the card";
    Click(500, 290);
    EXPECT_TRUE(WaitSeen("xdg-open", "https://example.org/a?b=c&d\n"));

    ASSERT_NO_FATAL_FAILURE(SelectPage(3));
    Click(1110, 130);
    EXPECT_TRUE(WaitWords({248, 297, 1164, 345},
                          u"Updates are not configured yet. Add your HTTPS release link to updates.ini.",
                          color::mutedText, color::card, FontRole::Small, TextLayout::Wrapped));

    ASSERT_NO_FATAL_FAILURE(SelectPage(4));
    const std::string logs = run.CacheFolder().parent_path().string();
    Click(300, 545);
    EXPECT_TRUE(WaitSeen("xdg-open", "https://example.org/a?b=c&d\n" + logs + "\n"));
    Click(800, 545);
    const std::string box = "--info\n--no-markup\n--title=ZV Reels - About and licenses\n--text=" +
                            ReadBytes(fs::path(ZV_RESOURCES_FOLDER) / "about.txt") + "\n";
    EXPECT_TRUE(WaitSeen("zenity", box));
    EXPECT_EQ(run.End(), 0);
    WriteBytes(bin_ / "end", "");
    EXPECT_TRUE(WaitSeen("zenity", box + "closed\n")) << "the box was closed with the program";
}

/// The status strip of a low window covers the label of the lowest button.
TEST_F(PagesEndToEnd, SettingsWorkInALowWindow) {
    ProgramRun run(Options());
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    ASSERT_TRUE(run.WaitForActivity("Replay ").has_value());
    const std::uint32_t low[] = {1300, 680};
    xcb_configure_window(user_.Get(), user_.WindowOf(mainWindowName),
                         XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, low);
    ASSERT_TRUE(Eventually([&] { return user_.Client(mainWindowName).Height() == 680; }));
    ASSERT_NO_FATAL_FAILURE(SelectPage(2));
    for (int section = 0; section < 4; ++section) {
        Click(1180, 159 + 92 * section);
        EXPECT_TRUE(user_.WaitShown(overlayName));
        EXPECT_TRUE(user_.CloseOverlay());
    }
    Click(700, 522);
    EXPECT_TRUE(WaitSetting(run, "minimizeToTray", "0"));
    Click(700, 522);
    EXPECT_TRUE(WaitSetting(run, "minimizeToTray", "1"));
    ASSERT_EQ(SettingOf(run, "fps"), "30");
    Click(700, 660);
    ASSERT_TRUE(user_.WaitColor(mainWindowName, 700, 642, color::statusStrip));
    user_.MovePointer(user_.ScreenPointOf(mainWindowName, 700, 639).x, user_.ScreenPointOf(mainWindowName, 700, 639).y);
    ASSERT_TRUE(user_.WaitColor(mainWindowName, 700, 642, color::buttonHovered));
    EXPECT_EQ(SettingOf(run, "fps"), "30");
    Click(700, 660);
    EXPECT_TRUE(WaitSetting(run, "fps", "120"));
    user_.MovePointer(user_.ScreenPointOf(mainWindowName, 100, 500).x, user_.ScreenPointOf(mainWindowName, 100, 500).y);
    EXPECT_TRUE(user_.WaitColor(mainWindowName, 700, 642, color::statusStrip));
    EXPECT_EQ(run.End(), 0);
}

}  // namespace
}  // namespace zv
