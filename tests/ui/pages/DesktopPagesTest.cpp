// The main window's pages Recommended, Settings, Updates and Help. Their content is between 222 and 1150.
#include "fake/FileDialogs.h"
#include "platform/AboutText.h"
#include "ui/DesktopPages.h"
#include "ui/commands/Feeds.h"

namespace zv {
namespace {

using fake::CallLog;
using fake::CountOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class ContentPages : public DesktopPages {
protected:
    ~ContentPages() override {
        gate_.Open();
        Ui().feeds.recommendationsSlot.Wait();
        Ui().feeds.updateSlot.Wait();
        Ui().library.thumbnailSlot.Wait();
        Ui().library.thumbnailCache.clear();
    }
    /// What the page draws inside the frame.
    Lines Content(std::int32_t page) {
        Ui().desktopPage = page;
        Lines lines = Paint();
        const auto subtitle = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
            return line.find("\"Quick overlay\"") != std::string::npos;
        });
        EXPECT_NE(subtitle, lines.end());
        lines.erase(lines.begin(), subtitle + 1);
        lines.resize(lines.size() - 2);  // the status strip
        return lines;
    }
    void FinishFeeds() {
        AwaitFeeds();
        Tick();
    }
    std::vector<std::string> Opened() {
        std::vector<std::string> opened = CallLog();
        std::erase_if(opened, [](const std::string& call) { return !call.starts_with("OpenLink"); });
        return opened;
    }
    /// The commands of a button: the box, and the label in it.
    static Lines ButtonLines(const std::string& box, const std::string& label) {
        return {"round " + box + " corner 12 37,40,54",
                "text " + box + " 17/600 centred 241,242,250 \"" + label + "\""};
    }
    static Lines Joined(const std::vector<Lines>& parts) {
        Lines all;
        for (const Lines& part : parts) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }
};

// Settings.

TEST_F(ContentPages, SettingsShowCardsAndButtons) {
    const char* cards[][2] = {
        {"Video and replay", "Resolution, FPS, bitrate, replay duration and monitor."},
        {"Audio", "System sound, microphone and the detected Windows devices."},
        {"Keyboard shortcuts", "Choose your own capture and overlay shortcuts."},
        {"Library and notifications", "Game folders, saved media and three-second notifications."},
    };
    Lines expected;
    for (int i = 0; i < 4; ++i) {
        const auto box = [i](int left, int top, int right, int bottom) {
            return std::to_string(left) + "," + std::to_string(top + 92 * i) + "," + std::to_string(right) + "," +
                   std::to_string(bottom + 92 * i);
        };
        expected = Joined({expected,
                           {"round " + box(222, 120, 1150, 198) + " corner 14 26,28,38",
                            "text " + box(242, 128, 965, 156) + " 17/600 241,242,250 \"" + cards[i][0] + "\"",
                            "text " + box(242, 161, 965, 186) + " 15/400 158,164,187 \"" + cards[i][1] + "\""},
                           ButtonLines(box(991, 139, 1130, 179), "Customize")});
    }
    expected = Joined({expected,
                       ButtonLines("222,502,1150,542", "Keep replay running when the window closes: On"),
                       ButtonLines("222,554,1150,594", "Choose FFmpeg capture runtime"),
                       {"text 222,606,1150,630 15/400 158,164,187 \"Gallery playback uses Windows. Recording also "
                        "needs an FFmpeg runtime.\""},
                       ButtonLines("222,638,1150,676", "Restore Zorvel defaults")});
    EXPECT_EQ(Content(desktopPage::settings), expected);
}

TEST_F(ContentPages, CustomizeOpensTheSectionAndLeavesAnOverlayOpen) {
    Ui().desktopPage = desktopPage::settings;
    for (std::int32_t section = 0; section < 4; ++section) {
        for (int i = 0; i < 2; ++i) {
            Ui().overlayPage = overlayPage::tiles;
            Click(1060, 160 + 92 * section);
            EXPECT_TRUE(IsOverlayShown());
            EXPECT_EQ(Ui().overlayPage, overlayPage::settings);
            EXPECT_EQ(Ui().settingsSection, section);
        }
        HideOverlay();
    }
}

TEST_F(ContentPages, KeepReplayIsSavedWithEachClick) {
    SaveSettings(CurrentSettings());
    std::string expected = SettingsBytes();
    for (const bool keep : {false, true}) {
        Ui().desktopPage = desktopPage::settings;
        Click(600, 520);
        EXPECT_EQ(CurrentSettings().minimizeToTray, keep);
        const std::string key = "\r\nminimizeToTray=";
        expected[expected.find(key) + key.size()] = keep ? '1' : '0';
        EXPECT_EQ(SettingsBytes(), expected);
        EXPECT_THAT(Texts(Paint()),
                    Contains(std::string("Keep replay running when the window closes: ") + (keep ? "On" : "Off")));
    }
    std::ofstream(ToPath(Folder(u"a file"))) << "in the way";
    fake::TheFolders().localData = Folder(u"a file");
    Click(600, 520);
    EXPECT_EQ(Ui().statusText, u"Settings could not be saved.");
    fake::TheFolders().localData = Folder(u"data");
}

TEST_F(ContentPages, SettingsChooseARuntimeAndRestoreDefaults) {
    Ui().desktopPage = desktopPage::settings;
    fake::TheDialogs().choice = u"/opt/ffmpeg";
    Click(600, 574);
    EXPECT_EQ(CurrentSettings().ffmpegPath, u"/opt/ffmpeg");
    FinishJob();
    Click(600, 657);
    EXPECT_EQ(CurrentSettings().ffmpegPath, u"");
    EXPECT_THAT(Activity(), Contains(u"Settings: Zorvel settings restored to defaults"));
    FinishJob();
}

/// In a window of 1060 by 680 the strip begins at 640, two units below the button's upper edge.
TEST_F(ContentPages, TheLowestButtonIsAboveTheStatusStripWhileItIsHoveredOrFocused) {
    const auto at = [](std::int32_t y) { return static_cast<std::intptr_t>(y) << 16 | 600; };
    const auto raised = [this] {
        fake::ResetCanvas();
        Send(message::paint);
        const Lines lines = fake::Drawings("round 222,638,1030,676");
        const Lines all = fake::Drawings();
        EXPECT_EQ(lines.size(), 1U);
        return std::find(all.begin(), all.end(), lines.front()) >
               std::find(all.begin(), all.end(), "fill 190,640,1060,680 22,24,32");
    };
    Size(1060, 680);
    Ui().desktopPage = desktopPage::settings;
    CurrentSettings().fps = 30;
    EXPECT_FALSE(raised());
    // The strip is no button.
    Send(message::mouseMove, 0, at(650));
    EXPECT_EQ(Ui().mainState.hoverId, noTarget);
    Send(message::leftButtonDown, 0, at(650));
    Send(message::leftButtonUp, 0, at(650));
    EXPECT_EQ(CurrentSettings().fps, 30U);
    // The visible part is.
    Send(message::mouseMove, 0, at(639));
    EXPECT_TRUE(raised());
    Send(message::mouseMove, 0, at(650));
    EXPECT_TRUE(raised());
    Send(message::leftButtonDown, 0, at(650));
    EXPECT_EQ(Ui().mainState.focusId, 1246);
    EXPECT_TRUE(raised());
    Send(message::leftButtonUp, 0, at(650));
    EXPECT_NE(CurrentSettings().fps, 30U);
    FinishJob();
    Send(message::mouseMove, 0, at(678));
    EXPECT_FALSE(raised());  // and the status is visible
    // By keys.
    constexpr std::uintptr_t tab = 9;
    constexpr std::uintptr_t enter = 13;
    CurrentSettings().fps = 30;
    fake::TheWindows().heldModifiers = keyModifier::shift;
    Ui().mainState.focusId = 10;
    Send(message::keyDown, tab);
    EXPECT_EQ(Ui().mainState.focusId, 1246);
    EXPECT_TRUE(raised());
    Send(message::keyDown, enter);
    EXPECT_NE(CurrentSettings().fps, 30U);
    EXPECT_EQ(Ui().mainState.focusId, noTarget);
    EXPECT_FALSE(raised());
    FinishJob();
    // In a window that shows the whole button it keeps the focus.
    Size(1060, 716);
    Click(600, 657);
    EXPECT_EQ(Ui().mainState.focusId, 1246);
    FinishJob();
}

TEST_F(ContentPages, TargetsUnderTheStatusStripEndAtIt) {
    Size(1060, 680);
    for (std::int32_t page = 0; page < desktopPage::count; ++page) {
        Ui().desktopPage = page;
        Send(message::paint);
        for (const HitTarget& target : Ui().mainState.targets) {
            EXPECT_LE(target.box.bottom, 640) << target.id;
            EXPECT_LT(target.box.top, target.box.bottom) << target.id;
        }
    }
}

// Updates.

const std::vector<std::string> updatesFrame = {
    "round 995,111,1150,149 corner 12 37,40,54", "text 995,111,1150,149 17/600 centred 241,242,250 \"Check now\"",
    "round 222,171,1150,455 corner 20 26,28,38", "text 248,194,1124,229 30/700 241,242,250 \"ZV Reels updates\"",
    "text 248,242,1124,274 17/400 158,164,187 \"Installed version: 3.23.0\""};
const std::string notes = "text 248,383,950,435 15/400 wrapped 158,164,187 ";
const std::vector<std::string> download = {"round 980,385,1124,426 corner 12 151,119,255",
                                           "text 980,385,1124,426 17/600 centred 19,14,36 \"Download update\""};

TEST_F(ContentPages, UpdatesShowTheStateOfTheCheck) {
    struct Row {
        PublishedUpdate update;
        Lines lines;
    };
    const Row rows[] = {
        {{}, {"text 248,297,1124,329 17/400 158,164,187 \"Press Check now to look for updates.\""}},
        {{u"4", u"", u"", u"", u"It failed."},
         {"text 248,297,1124,345 15/400 wrapped 158,164,187 \"It failed.\"",
          "text 248,367,1124,410 15/400 wrapped 158,164,187 \"Your release file controls the version, notes and "
          "download button. See PUBLISH-UPDATES.txt beside the app.\""}},
        {{u"3.23", u"", u"", u"https://a.example/", u""},
         {"text 248,297,1124,329 17/600 241,242,250 \"You are up to date.\"",
          "text 248,341,1124,378 17/600 241,242,250 \"ZV Reels release\"", notes + "\"\""}},
        {{u"3.22.9", u"Old", u"Less.", u"https://a.example/", u""},
         {"text 248,297,1124,329 17/600 241,242,250 \"You are up to date.\"",
          "text 248,341,1124,378 17/600 241,242,250 \"Old\"", notes + "\"Less.\""}},
        {{u"3.24", u"New", u"More.", u"https://a.example/", u""},
         Joined({{"text 248,297,1124,329 17/600 151,119,255 \"New version available: 3.24\"",
                  "text 248,341,1124,378 17/600 241,242,250 \"New\"", notes + "\"More.\""},
                 download})},
    };
    for (const Row& row : rows) {
        Ui().feeds.update = row.update;
        EXPECT_EQ(Content(desktopPage::updates), Joined({updatesFrame, row.lines}));
        EXPECT_EQ(Ids().back() == 1261, row.lines.back() == download.back());
    }
}

TEST_F(ContentPages, CheckNowChecksOnceAtATimeAndShowsTheResult) {
    fake::TheEnvironment().executableFolder = u"/app";
    fake::TheProfiles().values[{JoinPath(u"/app", u"updates.ini"), u"Updates", u"Feed"}] = u"https://a.example";
    fake::TheWeb().body = "Version=3.24\r\nTitle=T\r\nDownload=https://a.example/my file\"";
    Ui().feeds.update.error = u"An earlier result.";
    Content(desktopPage::updates);
    EXPECT_FALSE(Ui().feeds.updateSlot.IsBusy());  // by itself the page checks nothing
    gate_.Hold("ReadProfileText");
    Click(1070, 130);
    Click(1070, 130);
    Ui().mainState.focusId = noTarget;
    EXPECT_EQ(Content(desktopPage::updates),
              Joined({updatesFrame, {"text 248,297,1124,329 17/600 151,119,255 \"Checking for an update...\""}}));
    gate_.Open();
    FinishFeeds();
    EXPECT_EQ(CountOf("ReadProfileText"), 1);
    EXPECT_THAT(Content(desktopPage::updates), Contains(HasSubstr("\"New version available: 3.24\"")));
    EXPECT_THAT(Opened(), IsEmpty());
    Click(1050, 405);
    EXPECT_THAT(Opened(), ElementsAre("OpenLink https://a.example/my%20file%22"));
    EXPECT_EQ(Ui().statusText, u"Ready");
}

// Recommended.

TEST_F(ContentPages, RecommendedIsReadByItsFirstPaintAndByRefresh) {
    EXPECT_EQ(CountOf("ReadProfileText"), 0);
    gate_.Hold("ReadProfileText");
    const Lines frame = Joined({ButtonLines("1022,111,1150,149", "Refresh"),
                                {"round 222,171,1150,512 corner 20 26,28,38",
                                 "text 252,218,1120,265 30/700 241,242,250 \"Something good is on the way.\""}});
    EXPECT_EQ(Content(desktopPage::recommended),
              Joined({frame, {"text 252,292,1120,335 15/400 158,164,187 \"Loading recommendations...\""}}));
    gate_.Open();
    FinishFeeds();
    EXPECT_EQ(Content(desktopPage::recommended),
              Joined({frame,
                      {"text 252,292,1120,335 15/400 158,164,187 \"Recommendations and updates from ZV will appear "
                       "here.\""}}));
    EXPECT_FALSE(Ui().feeds.recommendationsSlot.IsBusy());
    Click(1080, 130);
    EXPECT_TRUE(Ui().feeds.recommendationsSlot.IsBusy());
    FinishFeeds();
    Ui().desktopPage = desktopPage::home;
    Click(300, 620);
    EXPECT_EQ(Ui().desktopPage, desktopPage::recommended);
    EXPECT_TRUE(Ui().feeds.recommendationsSlot.IsBusy());
}

TEST_F(ContentPages, RecommendedShowsTwoColumnsOfCards) {
    Ui().feeds.recommendationsRequested = true;
    Ui().gallery.galleryFirstIndex = 6;
    Ui().feeds.recommendations = {{u"One", u"With all.", u"https://a.example/", u"/app/a.png"},
                                  {u"Two", u"No link.", u"", u""},
                                  {u"Three", u"", u"https://c.example/", u""}};
    const Lines first = {"round 222,164,677,317 corner 14 26,28,38", "fill 236,180,334,268 37,34,45",
                         "text 236,180,334,268 15/400 centred 158,164,187 \"Loading preview...\"",
                         "text 347,176,661,206 17/600 241,242,250 \"One\"",
                         "text 347,209,661,272 15/400 wrapped 158,164,187 \"With all.\""};
    const Lines second = {"round 695,164,1150,317 corner 14 26,28,38",
                          "text 711,176,1134,206 17/600 241,242,250 \"Two\"",
                          "text 711,209,1134,272 15/400 wrapped 158,164,187 \"No link.\""};
    const Lines third = {"round 222,330,677,483 corner 14 26,28,38",
                         "text 238,342,661,372 17/600 241,242,250 \"Three\"",
                         "text 238,375,661,438 15/400 wrapped 158,164,187 \"\""};
    EXPECT_EQ(Content(desktopPage::recommended),
              Joined({ButtonLines("1022,111,1150,149", "Refresh"), first, ButtonLines("347,276,661,305", "Learn more"),
                      second, third, ButtonLines("238,442,661,471", "Learn more")}));
    EXPECT_THAT(Ids(), ElementsAre(10, 11, 12, 13, 14, 14, 1210, 1220, 1222));
    EXPECT_EQ(Ui().gallery.galleryFirstIndex, 6);
    Ui().library.thumbnailSlot.Wait();
    EXPECT_THAT(CallLog(), Contains("MakeThumbnail /app/a.png"));
    Click(500, 290);
    Click(500, 457);
    EXPECT_THAT(Opened(), ElementsAre("OpenLink https://a.example/", "OpenLink https://c.example/"));
}

TEST_F(ContentPages, RecommendedShowsThePictureOfACard) {
    fake::ThePictures()[u"/app/a.png"] = fake::PictureOf(0x00FF00, 320, 180);
    Ui().feeds.recommendationsRequested = true;
    Ui().feeds.recommendations = {{u"One", u"", u"", u"/app/a.png"}, {u"Two", u"", u"", u"/app/none.png"}};
    Content(desktopPage::recommended);
    Ui().library.thumbnailSlot.Wait();
    Collect();
    const Lines lines = Content(desktopPage::recommended);
    EXPECT_THAT(lines, Contains(StartsWith("pixels 236,196,334,251")));  // 98 by 55
    EXPECT_THAT(lines, Contains(HasSubstr("\"Open to view\"")));
    fake::ThePictures().clear();
}

// Help.

TEST_F(ContentPages, HelpShowsShortcutsAndCompatibility) {
    fake::TheWindows().keyNames[82] = u"R";
    EXPECT_EQ(Content(desktopPage::help),
              Joined({{"round 222,120,1150,351 corner 14 26,28,38",
                       "text 244,135,1128,174 30/700 241,242,250 \"Quick start\"",
                       "text 244,187,1128,220 17/400 241,242,250 \"Alt + X  Open the overlay\"",
                       "text 244,230,1128,263 17/400 241,242,250 \"Alt + F10  Save replay   |   Ctrl + Alt + R  "
                       "Record\"",
                       "text 244,277,1128,323 15/400 158,164,187 \"If a shortcut is busy, change it in Settings > "
                       "Keyboard shortcuts.\"",
                       "text 222,377,1150,407 17/600 241,242,250 \"Compatibility\"",
                       "text 222,417,1150,446 17/400 158,164,187 \"Windows 10/11 x64. Capture currently requires an "
                       "NVIDIA NVENC GPU.\"",
                       "text 222,459,1150,488 17/400 158,164,187 \"4K and 240 FPS depend on hardware and game load. "
                       "Borderless games work best.\""},
                      ButtonLines("222,523,457,565", "Open capture logs"),
                      ButtonLines("475,523,1150,565", "About and licenses"),
                      {"text 222,594,1150,632 15/400 151,119,255 \"Version 3.17 preview. Report the message below if "
                       "an action fails.\""}}));
}

TEST_F(ContentPages, HelpOpensTheLogsAndTheAboutText) {
    Ui().desktopPage = desktopPage::help;
    fake::TheFolders().cache = Folder(u"cache");
    Click(300, 545);
    const Text logs = JoinPath(Folder(u"cache"), u"ZVReelsMax");
    EXPECT_TRUE(PathExists(logs));
    EXPECT_EQ(CountOf("OpenFolderInDesktop"), 1);
    EXPECT_EQ(fake::TheWindows().informationCaption, u"");
    Click(800, 545);
    EXPECT_EQ(fake::TheWindows().informationCaption, u"ZV Reels - About and licenses");
    EXPECT_EQ(fake::TheWindows().informationText, AboutText());
}

}  // namespace
}  // namespace zv
