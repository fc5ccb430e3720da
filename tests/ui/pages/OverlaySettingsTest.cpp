// The overlay's settings page as text, what each control changes, and the settings file after each of them.
#include "ui/pages/OverlaySettings.h"

#include <sstream>
#include <utility>

#include "ui/QuickOverlay.h"
#include "ui/commands/Notifications.h"
#include "ui/commands/SoundDevices.h"
#include "ui/kit/DrawingContext.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/ShortcutEditor.h"
#include "ui/windows/ToastWindow.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::ReplayStart;
using fake::TheEngine;
using fake::TheWindows;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;
using Lines = std::vector<std::string>;
using Changes = std::vector<std::pair<std::string, std::string>>;

struct Target {
    std::int32_t id;
    Rectangle box;
};

class OverlaySettings : public QuickOverlay {
protected:
    OverlaySettings() {
        Ui().overlayPage = overlayPage::settings;
        TheWindows().keyNames = {{88, u"X"}, {121, u"F10"}, {82, u"R"}, {83, u"S"}};
        Ui().hotkeyRegistered = {true, true, true, true};
        fake::TheMonitors().monitors = {{u"\\\\.\\DISPLAY1", 0, 0, 1920, 1080, -1, true},
                                        {u"\\\\.\\DISPLAY2", 1920, 0, 2560, 1440, -1, false}};
        CurrentSettings().theme = u"ZV Purple";  // as the validation leaves it
        CurrentSettings().monitorDevice = u"\\\\.\\DISPLAY1";
        CurrentSettings().captureRoot = u"C:\\Zorvel";
        ShowTopmostAt(*overlay_, {0, 0, overlayWidth, overlayHeight});
        WindowOptions options;
        options.procedure = ToastProc;
        toast_ = MakeWindow(options);
        Ui().toastWindow = toast_.get();
    }
    ~OverlaySettings() override {
        CloseShortcutEditor();
        gate_.Open();
        Ui().soundDevices.listSlot.Wait();
        Ui().toastWindow = nullptr;
        toast_.reset();
    }

    /// One pass over the page, from its panel on. The targets are those of the page.
    Lines Page(std::int32_t section) {
        Ui().settingsSection = section;
        Lines lines = Render();
        lines.erase(lines.begin(), std::find(lines.begin(), lines.end(), "fill 150,70,870,540 22,21,27"));
        std::erase_if(State().targets, [](const HitTarget& target) { return target.id == 901; });
        return lines;
    }
    /// The texts below the frame of a section, each as "box font colour words".
    Lines Texts(std::int32_t section) {
        Lines texts;
        for (const std::string& line : Page(section)) {
            if (line.starts_with("text ")) {
                texts.push_back(line.substr(5));
            }
        }
        texts.erase(texts.begin(), texts.begin() + 4);  // back, title, all settings, the section's name
        return texts;
    }
    void ExpectTargets(std::vector<Target> wanted) {
        wanted.insert(wanted.begin(), {{970, {163, 80, 250, 113}}, {971, {163, 126, 310, 159}}});
        ASSERT_EQ(State().targets.size(), wanted.size());
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            EXPECT_EQ(State().targets[i].id, wanted[i].id);
            EXPECT_EQ(State().targets[i].box, wanted[i].box) << wanted[i].id;
        }
    }
    void Activate(std::int32_t section, std::int32_t id) {
        Page(section);
        ActivateTarget(State(), id);
    }
    bool IsSelected(std::int32_t section, std::int32_t id) {
        const Lines lines = Page(section);
        const auto target = std::find_if(State().targets.begin(), State().targets.end(),
                                         [id](const HitTarget& each) { return each.id == id; });
        const Rectangle box = target != State().targets.end() ? target->box : Rectangle{};
        std::ostringstream line;
        line << "round " << box.left << ',' << box.top << ',' << box.right << ',' << box.bottom
             << " corner 12 57,47,84";
        return std::find(lines.begin(), lines.end(), line.str()) != lines.end();
    }

    /// The settings file of this fixture with these values in place of its own.
    std::string File(const Changes& changes) const {
        Lines lines{"audioCaptureVersion=1",
                    "replayUiVersion=1",
                    "monitorDevice=\\\\.\\DISPLAY1",
                    "captureCursor=0",
                    "width=1920",
                    "height=1080",
                    "fps=120",
                    "bitrateMbps=40",
                    "replaySeconds=60",
                    "instantReplay=1",
                    "micEnabled=0",
                    "gameAudioEnabled=1",
                    "startWithWindows=0",
                    "minimizeToTray=1",
                    "showFpsOverlay=0",
                    "performanceMode=1",
                    "notifications=1",
                    "overlayOpacity=92",
                    "overlayScale=100",
                    "codec=H264",
                    "encoder=Auto",
                    "theme=ZV Purple",
                    "accent=16145547",
                    "clipsFolder=" + Narrow(CurrentSettings().clipsFolder),
                    "recordingsFolder=" + Narrow(CurrentSettings().recordingsFolder),
                    "ffmpegPath=",
                    "captureRoot=C:\\Zorvel",
                    "bindMods0=1",
                    "bindKeys0=88",
                    "bindMods1=1",
                    "bindKeys1=121",
                    "bindMods2=3",
                    "bindKeys2=82",
                    "bindMods3=3",
                    "bindKeys3=83",
                    "screenshotsFolder=" + Narrow(CurrentSettings().screenshotsFolder)};
        std::string bytes;
        for (std::string& line : lines) {
            const std::string key = line.substr(0, line.find('=') + 1);
            for (const auto& [name, value] : changes) {
                line = name + "=" == key ? key + value : line;
            }
            bytes += line + "\r\n";
        }
        return bytes;
    }

    Owned<AppWindow> toast_;
};

// The frame and the hub.

TEST_F(OverlaySettings, HaveAFrameOnEverySection) {
    for (std::int32_t section = -1; section < 9; ++section) {
        const Lines lines = Page(section);
        ASSERT_EQ(lines.front(), "fill 150,70,870,540 22,21,27");
        EXPECT_THAT(lines, Contains("text 163,80,250,113 15/400 centred 241,242,250 \"< Back\""));
        EXPECT_THAT(lines, Contains("text 300,79,700,115 17/600 centred 241,242,250 \"Settings\""));
        ActivateTarget(State(), 970);
        EXPECT_EQ(Ui().overlayPage, overlayPage::tiles);
        EXPECT_EQ(Ui().settingsSection, section) << "the section is kept";
        Ui().overlayPage = overlayPage::settings;
    }
}

TEST_F(OverlaySettings, TheHubHasACardForEachSection) {
    struct Card {
        const char* box;
        const char* title;
        const char* text;
        Rectangle open;
    };
    const Card cards[] = {
        {"168,137,376,243",
         "183,150,361,177 17/600 241,242,250 \"Recordings\"",
         "183,185,361,213 15/400 158,164,187 \"Resolution, FPS, bitrate and replay.\"",
         {183, 215, 361, 233}},
        {"394,137,602,243",
         "409,150,587,177 17/600 241,242,250 \"Audio\"",
         "409,185,587,213 15/400 158,164,187 \"System sound and microphone.\"",
         {409, 215, 587, 233}},
        {"620,137,828,243",
         "635,150,813,177 17/600 241,242,250 \"Shortcuts\"",
         "635,185,813,213 15/400 158,164,187 \"Overlay and capture key binds.\"",
         {635, 215, 813, 233}},
        {"168,259,376,365",
         "183,272,361,299 17/600 241,242,250 \"Gallery location\"",
         "183,307,361,335 15/400 158,164,187 \"Game folders and saved media.\"",
         {183, 337, 361, 355}},
        {"394,259,602,365",
         "409,272,587,299 17/600 241,242,250 \"Connect\"",
         "409,307,587,335 15/400 158,164,187 \"Account and software updates.\"",
         {409, 337, 587, 355}},
        {"620,259,828,365",
         "635,272,813,299 17/600 241,242,250 \"HUD layout\"",
         "635,307,813,335 15/400 158,164,187 \"Cursor and on-screen indicators.\"",
         {635, 337, 813, 355}},
        {"168,381,376,487",
         "183,394,361,421 17/600 241,242,250 \"Broadcast live\"",
         "183,429,361,457 15/400 158,164,187 \"Streaming connection settings.\"",
         {183, 459, 361, 477}},
        {"394,381,602,487",
         "409,394,587,421 17/600 241,242,250 \"Highlights\"",
         "409,429,587,457 15/400 158,164,187 \"Automatic game moments.\"",
         {409, 459, 587, 477}},
        {"620,381,828,487",
         "635,394,813,421 17/600 241,242,250 \"Photo / Game filters\"",
         "635,429,813,457 15/400 158,164,187 \"Screenshots and visual filters.\"",
         {635, 459, 813, 477}},
    };
    for (std::int32_t index = 0; index < 9; ++index) {
        const Card& card = cards[index];
        const Lines lines = Page(-1);
        EXPECT_THAT(lines, Contains("round " + std::string(card.box) + " corner 14 26,28,38"));
        EXPECT_THAT(lines, Contains("text " + std::string(card.title)));
        EXPECT_THAT(lines, Contains("text " + std::string(card.text)));
        ASSERT_EQ(State().targets.size(), 10U);
        EXPECT_EQ(State().targets[1 + static_cast<std::size_t>(index)].box, card.open);
        ActivateTarget(State(), 1040 + index);
        EXPECT_EQ(Ui().settingsSection, index);
    }
}

TEST_F(OverlaySettings, EachSectionHasItsTitleInTheThemesColourAndLeadsBackToAll) {
    const char* const titles[] = {
        "Recordings",          "Audio",          "Shortcuts",  "Gallery location",     "Connect",
        "HUD layout",          "Broadcast live", "Highlights", "Photo / Game filters", "Photo / Game filters",
        "Photo / Game filters"};
    Drawing().accentColor = Rgb(255, 97, 192);
    const std::int32_t sections[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1000};
    for (std::size_t i = 0; i < std::size(sections); ++i) {
        const Lines lines = Page(sections[i]);
        EXPECT_THAT(lines, Contains("text 163,126,310,159 17/600 centred 241,242,250 \"All settings\""));
        EXPECT_THAT(lines,
                    Contains("text 320,126,700,159 17/600 centred 255,97,192 \"" + std::string(titles[i]) + "\""));
        ActivateTarget(State(), 971);
        EXPECT_EQ(Ui().settingsSection, -1);
    }
}

// The contents of the sections.

TEST_F(OverlaySettings, RecordingsOffersQualityMonitorAndSwitches) {
    EXPECT_THAT(Texts(0), ElementsAre("173,175,350,204 17/400 241,242,250 \"Resolution\"",
                                      "173,223,340,257 17/400 241,242,250 \"Frame rate\"",
                                      "173,270,340,304 17/400 241,242,250 \"Replay length\"",
                                      "355,175,501,209 17/600 centred 241,242,250 \"1080p\"",
                                      "515,175,661,209 17/600 centred 241,242,250 \"1440p\"",
                                      "675,175,821,209 17/600 centred 241,242,250 \"4K\"",
                                      "355,223,463,257 17/600 centred 241,242,250 \"30 FPS\"",
                                      "474,223,582,257 17/600 centred 241,242,250 \"60 FPS\"",
                                      "593,223,701,257 17/600 centred 241,242,250 \"120 FPS\"",
                                      "712,223,820,257 17/600 centred 241,242,250 \"240 FPS\"",
                                      "355,270,463,304 17/600 centred 241,242,250 \"30 sec\"",
                                      "474,270,582,304 17/600 centred 241,242,250 \"60 sec\"",
                                      "593,270,701,304 17/600 centred 241,242,250 \"300 sec\"",
                                      "712,270,820,304 17/600 centred 241,242,250 \"20 min\"",
                                      "508,321,580,355 17/600 centred 241,242,250 \"20 Mbps\"",
                                      "590,321,662,355 17/600 centred 241,242,250 \"40 Mbps\"",
                                      "672,321,744,355 17/600 centred 241,242,250 \"60 Mbps\"",
                                      "754,321,826,355 17/600 centred 241,242,250 \"80 Mbps\"",
                                      "173,321,497,355 17/600 centred 241,242,250 "
                                      "\"DISPLAY1  /  1920 x 1080  (primary) / Change\"",
                                      "173,370,382,405 17/600 centred 241,242,250 \"System sound: On\"",
                                      "398,370,607,405 17/600 centred 241,242,250 \"Microphone: Off\"",
                                      "623,370,835,405 17/600 centred 241,242,250 \"Auto replay: On\"",
                                      "173,428,835,456 15/400 158,164,187 "
                                      "\"Changes save automatically. Changing quality restarts the replay buffer.\"",
                                      "173,467,835,503 15/400 158,164,187 "
                                      "\"120 / 240 FPS depend on available GPU performance. 4K is experimental.\""));
    ExpectTargets({{980, {355, 175, 501, 209}},
                   {981, {515, 175, 661, 209}},
                   {982, {675, 175, 821, 209}},
                   {983, {355, 223, 463, 257}},
                   {984, {474, 223, 582, 257}},
                   {985, {593, 223, 701, 257}},
                   {986, {712, 223, 820, 257}},
                   {987, {355, 270, 463, 304}},
                   {988, {474, 270, 582, 304}},
                   {989, {593, 270, 701, 304}},
                   {990, {712, 270, 820, 304}},
                   {1013, {508, 321, 580, 355}},
                   {1014, {590, 321, 662, 355}},
                   {1015, {672, 321, 744, 355}},
                   {1016, {754, 321, 826, 355}},
                   {991, {173, 321, 497, 355}},
                   {992, {173, 370, 382, 405}},
                   {993, {398, 370, 607, 405}},
                   {994, {623, 370, 835, 405}}});
}

TEST_F(OverlaySettings, RecordingsSaysWhileAChangeIsApplied) {
    OccupyJob();
    EXPECT_THAT(Texts(0), Contains("173,428,835,456 15/400 158,164,187 "
                                   "\"Applying changes... You can keep browsing.\""));
    gate_.Open();
    FinishJob();
    EXPECT_THAT(Texts(0), Contains(HasSubstr("\"Changes save automatically.")));
}

TEST_F(OverlaySettings, AudioNamesTheFirstDevices) {
    fake::TheAudioDevices() = {{u"Headset", true}, {u"Webcam", true}, {u"Speakers", false}, {u"Television", false}};
    EXPECT_THAT(Texts(1), ElementsAre("173,176,835,206 17/600 241,242,250 \"Audio capture\"",
                                      "173,220,492,256 17/600 centred 241,242,250 \"System sound: On\"",
                                      "516,220,835,256 17/600 centred 241,242,250 \"Microphone: Off\"",
                                      "173,286,835,314 15/400 158,164,187 \"Windows microphone: \"",
                                      "173,322,835,350 15/400 158,164,187 \"Windows output: \"",
                                      "173,374,835,411 17/600 centred 241,242,250 "
                                      "\"Choose input and volume in Windows Sound\"",
                                      "173,435,835,480 15/400 wrapped 158,164,187 "
                                      "\"Zorvel uses your selected Windows default audio devices. Device-specific "
                                      "selection and audio boost need a separate audio-engine upgrade.\""));
    ExpectTargets({{1020, {173, 220, 492, 256}}, {1021, {516, 220, 835, 256}}, {1022, {173, 374, 835, 411}}});
    Ui().soundDevices.listSlot.Wait();
    const int paints = Record().invalidations;
    Collect();
    EXPECT_GT(Record().invalidations, paints);
    EXPECT_THAT(Texts(1), Contains("173,286,835,314 15/400 158,164,187 \"Windows microphone: Headset\""));
    EXPECT_THAT(Texts(1), Contains("173,322,835,350 15/400 158,164,187 \"Windows output: Speakers\""));
    fake::AdvanceClockMs(1999);
    Page(1);
    EXPECT_FALSE(Ui().soundDevices.listSlot.IsBusy()) << "the list is new";

    fake::AdvanceClockMs(1);
    fake::TheAudioDevices() = {};
    Page(1);
    Ui().soundDevices.listSlot.Wait();
    Collect();
    EXPECT_THAT(Texts(1), Contains(HasSubstr("\"Windows microphone: No microphone detected\"")));
    EXPECT_THAT(Texts(1), Contains(HasSubstr("\"Windows output: No output device detected\"")));
}

TEST_F(OverlaySettings, AudioDoesNotWaitForTheSoundServer) {
    gate_.Hold("ListAudioDeviceNames");
    Page(1);
    RunTo("ListAudioDeviceNames");
    Page(1);
    Collect();
    EXPECT_EQ(CountOf("ListAudioDeviceNames"), 1);
    EXPECT_TRUE(fake::RecordOf(*window_).timers.contains(43)) << "the list is still awaited";
    gate_.Open();
    Ui().soundDevices.listSlot.Wait();
    Collect();
    EXPECT_FALSE(fake::RecordOf(*window_).timers.contains(43));
}

TEST_F(OverlaySettings, AudioOpensTheSystemsSoundSettings) {
    Activate(1, 1022);
    EXPECT_EQ(CountOf("OpenSoundSettings"), 1);
    EXPECT_EQ(Ui().statusText, u"Ready");
    fake::FailCall("OpenSoundSettings", 2, 0);
    Activate(1, 1022);
    EXPECT_EQ(Ui().statusText,
              u"The sound settings could not be opened. Choose the devices in the settings of your desktop.");
}

TEST_F(OverlaySettings, ShortcutsHasARowForEachAction) {
    EXPECT_THAT(Texts(2), ElementsAre("173,177,400,208 15/400 241,242,250 \"Open / close overlay\"",
                                      "429,177,835,211 17/600 centred 241,242,250 \"Alt + X\"",
                                      "173,244,400,275 15/400 241,242,250 \"Save instant replay\"",
                                      "429,244,835,278 17/600 centred 241,242,250 \"Alt + F10\"",
                                      "173,311,400,342 15/400 241,242,250 \"Start / stop recording\"",
                                      "429,311,835,345 17/600 centred 241,242,250 \"Ctrl + Alt + R\"",
                                      "173,378,400,409 15/400 241,242,250 \"Screenshot\"",
                                      "429,378,835,412 17/600 centred 241,242,250 \"Ctrl + Alt + S\"",
                                      "173,461,835,497 15/400 158,164,187 "
                                      "\"Click a shortcut to change it. Other apps keep their shortcuts.\""));
    ExpectTargets({{1000, {429, 177, 835, 211}},
                   {1001, {429, 244, 835, 278}},
                   {1002, {429, 311, 835, 345}},
                   {1003, {429, 378, 835, 412}}});
    for (int index = 0; index < 4; ++index) {
        Activate(2, 1000 + index);
        EXPECT_NE(fake::FindWindowOf(u"ZVShortcutEditor315"), nullptr);
        EXPECT_EQ(Ui().shortcutEditor.index, index);
    }
}

TEST_F(OverlaySettings, OnlyAnUnregisteredShortcutIsMarkedBusy) {
    Drawing().accentColor = Rgb(255, 97, 192);
    EXPECT_THAT(Texts(2), Not(Contains(HasSubstr("Shortcut busy"))));
    const std::array<const char*, 4> boxes = {"429,212,835,234", "429,279,835,301", "429,346,835,368",
                                              "429,413,835,435"};
    for (std::size_t busy = 0; busy < boxes.size(); ++busy) {
        Ui().hotkeyRegistered = {true, true, true, true};
        Ui().hotkeyRegistered[busy] = false;
        const Lines lines = Texts(2);
        EXPECT_THAT(lines, Contains(HasSubstr("Shortcut busy")).Times(1));
        EXPECT_THAT(lines, Contains(std::string(boxes[busy]) +
                                    " 15/400 255,97,192 \"Shortcut busy - choose a different combination\""));
    }
}

TEST_F(OverlaySettings, AChangedShortcutIsShownInItsRowAndSaved) {
    Activate(2, 1001);
    TheWindows().heldModifiers = keyModifier::shift;
    ShortcutEditorProc(*Ui().shortcutEditor.window, message::systemKeyDown, 121, 0);
    EXPECT_THAT(Texts(2), Contains("429,244,835,278 17/600 centred 241,242,250 \"Shift + F10\""));
    EXPECT_EQ(SettingsBytes(), File({{"bindMods1", "4"}}));
}

TEST_F(OverlaySettings, GalleryLocationShowsTheFolder) {
    EXPECT_THAT(Texts(3), ElementsAre("173,178,835,211 17/600 241,242,250 \"Save everything under Zorvel\"",
                                      "173,222,835,253 15/400 158,164,187 \"C:\\Zorvel\"",
                                      "173,266,488,304 17/600 centred 241,242,250 \"Change library folder\"",
                                      "503,266,835,304 17/600 centred 241,242,250 \"Open library folder\"",
                                      "173,323,835,353 17/600 151,119,255 \"Fortnite / Desktop / each game's name\"",
                                      "173,360,835,392 15/400 158,164,187 "
                                      "\"Clips, recordings and screenshots stay together in that folder.\"",
                                      "173,411,835,447 17/600 centred 241,242,250 \"3-second notifications: On\"",
                                      "173,467,835,510 15/400 158,164,187 "
                                      "\"Existing media stays safe and remains visible in Gallery.\""));
    ExpectTargets({{1010, {173, 266, 488, 304}}, {1011, {503, 266, 835, 304}}, {1012, {173, 411, 835, 447}}});
}

TEST_F(OverlaySettings, GalleryLocationOpensAndChangesTheFolder) {
    CurrentSettings().captureRoot = Folder(u"captures");
    Activate(3, 1011);
    EXPECT_THAT(fake::CallLog(), Contains("OpenFolderInDesktop " + Narrow(Folder(u"captures"))));
    Activate(3, 1010);
    EXPECT_EQ(CountOf("ChooseFolder"), 1);
}

TEST_F(OverlaySettings, NotificationsSwitchedOffHideTheOneThatIsShown) {
    ShowToast({u"Clip saved"});
    ASSERT_TRUE(IsToastShown());
    Activate(3, 1012);
    EXPECT_FALSE(IsToastShown());
    EXPECT_FALSE(fake::RecordOf(*toast_).timers.contains(1));
    EXPECT_EQ(SettingsBytes(), File({{"notifications", "0"}}));
    EXPECT_THAT(Texts(3), Contains(HasSubstr("\"3-second notifications: Off\"")));
    Activate(3, 1012);
    EXPECT_EQ(SettingsBytes(), File({}));
}

TEST_F(OverlaySettings, ConnectNamesTheSiteAndOpensIt) {
    EXPECT_THAT(Texts(4),
                ElementsAre("173,178,835,211 17/600 241,242,250 \"Zorvel account and updates\"",
                            "173,220,835,255 15/400 wrapped 158,164,187 \"Your Zorvel account is managed on the web "
                            "site, where you can sign in, sign up or continue as a guest. The site has not opened yet, "
                            "and Zorvel works without an account.\"",
                            "173,280,495,320 17/600 centred 241,242,250 \"Open zorvel.example\"",
                            "513,280,835,320 17/600 centred 241,242,250 \"Open Updates page\"",
                            "173,355,835,405 15/400 wrapped 158,164,187 \"Updates are only downloaded when the player "
                            "chooses Download update. They are never installed silently.\""));
    ExpectTargets({{1060, {173, 280, 495, 320}}, {1061, {513, 280, 835, 320}}});
    Activate(4, 1060);
    EXPECT_THAT(fake::CallLog(), Contains("OpenLink https://zorvel.example"));
}

TEST_F(OverlaySettings, ConnectOpensTheUpdatesPageInTheMainWindow) {
    HideWindow(*window_);
    Activate(4, 1061);
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_EQ(Ui().desktopPage, desktopPage::updates);
    EXPECT_EQ(TheWindows().inFront, window_.get());
}

TEST_F(OverlaySettings, HudLayoutHasTwoSwitchesAndThreeThemes) {
    EXPECT_THAT(Texts(5), ElementsAre("173,178,835,211 17/600 241,242,250 \"HUD layout\"",
                                      "173,226,496,264 17/600 centred 241,242,250 \"Performance indicator: Off\"",
                                      "512,226,835,264 17/600 centred 241,242,250 \"Capture cursor: Off\"",
                                      "173,302,835,330 17/600 241,242,250 \"Zorvel theme\"",
                                      "173,342,385,379 17/600 centred 241,242,250 \"Purple\"",
                                      "398,342,610,379 17/600 centred 241,242,250 \"Blue\"",
                                      "623,342,835,379 17/600 centred 241,242,250 \"Rose\"",
                                      "173,407,835,458 15/400 wrapped 158,164,187 \"The game badge is click-through so "
                                      "it cannot block your mouse. Custom animated wallpapers need a dedicated "
                                      "renderer and are not enabled yet.\""));
    ExpectTargets({{1062, {173, 226, 496, 264}},
                   {1063, {512, 226, 835, 264}},
                   {1066, {173, 342, 385, 379}},
                   {1067, {398, 342, 610, 379}},
                   {1068, {623, 342, 835, 379}}});
}

TEST_F(OverlaySettings, AThemeChangesTheColourAndIsSavedAtOnce) {
    struct Row {
        std::int32_t id;
        const char* name;
        Color accent;
    };
    for (const Row& row : {Row{1067, "Zorvel Blue", Rgb(81, 151, 255)}, Row{1068, "Zorvel Rose", Rgb(255, 97, 192)},
                           Row{1066, "Zorvel Purple", Rgb(151, 119, 255)}}) {
        EXPECT_FALSE(IsSelected(5, row.id));
        const int paints = fake::RecordOf(*window_).invalidations;
        Activate(5, row.id);
        EXPECT_EQ(Drawing().accentColor, row.accent);
        EXPECT_EQ(SettingsBytes(), File({{"theme", row.name}}));
        EXPECT_TRUE(IsSelected(5, row.id));
        EXPECT_GT(fake::RecordOf(*window_).invalidations, paints);
    }
    EXPECT_EQ(CountOf("Configure"), 0) << "the capture continues";
}

TEST_F(OverlaySettings, AfterACaptureChangeTheColourRemainsAndNoThemeIsSelected) {
    Activate(5, 1067);
    Activate(5, 1063);
    FinishJob();
    EXPECT_EQ(Drawing().accentColor, Rgb(81, 151, 255));
    EXPECT_EQ(SettingsBytes(), File({{"captureCursor", "1"}}));
    EXPECT_FALSE(IsSelected(5, 1067));
}

TEST_F(OverlaySettings, ThreeSectionsExplainWhatIsNotAvailable) {
    EXPECT_THAT(Texts(6), ElementsAre("173,178,835,211 17/600 241,242,250 \"Broadcast live\"",
                                      "173,228,835,280 17/400 wrapped 158,164,187 \"Broadcast live is not connected "
                                      "yet. Zorvel will not show a fake stream button or claim it is broadcasting.\"",
                                      "173,310,835,360 15/400 wrapped 158,164,187 \"A real live feature needs a "
                                      "streaming service connection, stream key storage, bitrate controls and "
                                      "end-to-end tests.\""));
    ExpectTargets({});
    EXPECT_THAT(Texts(7), ElementsAre("173,178,835,211 17/600 241,242,250 \"Highlights\"",
                                      "173,228,835,280 17/400 wrapped 158,164,187 \"Automatic Fortnite eliminations, "
                                      "double eliminations and downs need a supported game-event source.\"",
                                      "173,310,835,365 15/400 wrapped 158,164,187 \"No supported event source is "
                                      "connected, so automatic Highlights are unavailable instead of saving false "
                                      "clips. Manual replay saving still works.\""));
    ExpectTargets({});
    EXPECT_THAT(Texts(8), ElementsAre("173,178,835,211 17/600 241,242,250 \"Photo mode and Game filters\"",
                                      "173,228,496,268 17/600 centred 241,242,250 \"Take screenshot now\"",
                                      "512,228,835,268 17/600 centred 241,242,250 \"Capture cursor: Off\"",
                                      "173,310,835,360 15/400 wrapped 158,164,187 \"Photo capture saves a PNG to the "
                                      "selected game folder. Visual game filters need a supported graphics pipeline "
                                      "and are not enabled here.\""));
    ExpectTargets({{1064, {173, 228, 496, 268}}, {1065, {512, 228, 835, 268}}});
}

TEST_F(OverlaySettings, PhotoTakesAScreenshot) {
    CurrentSettings().captureRoot = Folder(u"captures");
    Activate(8, 1064);
    EXPECT_EQ(Ui().statusText, u"Saving screenshot...");
    AwaitScreenshot();
    Collect();
    FinishRefreshes();
}

// What the controls of the capture change.

struct CaptureControl {
    std::int32_t section;
    std::int32_t id;
    Changes changes;      ///< of the file, by the first click
    bool option = false;  ///< selected afterwards; the others are switches, selected when they are on
};
const CaptureControl captureControls[] = {
    {0, 980, {{"width", "1920"}, {"height", "1080"}}, true},
    {0, 981, {{"width", "2560"}, {"height", "1440"}}, true},
    {0, 982, {{"width", "3840"}, {"height", "2160"}}, true},
    {0, 983, {{"fps", "30"}}, true},
    {0, 984, {{"fps", "60"}}, true},
    {0, 985, {{"fps", "120"}}, true},
    {0, 986, {{"fps", "240"}}, true},
    {0, 987, {{"replaySeconds", "30"}}, true},
    {0, 988, {{"replaySeconds", "60"}}, true},
    {0, 989, {{"replaySeconds", "300"}}, true},
    {0, 1013, {{"bitrateMbps", "20"}}, true},
    {0, 1014, {{"bitrateMbps", "40"}}, true},
    {0, 1015, {{"bitrateMbps", "60"}}, true},
    {0, 1016, {{"bitrateMbps", "80"}}, true},
    {0, 992, {{"gameAudioEnabled", "0"}}},
    {0, 993, {{"micEnabled", "1"}}},
    {0, 994, {{"instantReplay", "0"}}},
    {1, 1020, {{"gameAudioEnabled", "0"}}},
    {1, 1021, {{"micEnabled", "1"}}},
    {5, 1063, {{"captureCursor", "1"}}},
    {8, 1065, {{"captureCursor", "1"}}},
};

TEST_F(OverlaySettings, ACaptureControlChangesItsKeysAloneAndRestartsTheCapture) {
    const Settings before = CurrentSettings();
    for (const CaptureControl& control : captureControls) {
        SCOPED_TRACE(control.id);
        CurrentSettings() = before;
        Ui().capture.secondsReady = 17;
        fake::ResetEngine(Engine());
        gate_.Hold("Configure");
        Activate(control.section, control.id);
        RunTo("Configure");
        EXPECT_EQ(SettingsBytes(), File(control.changes)) << "the file is complete before the capture restarts";
        EXPECT_EQ(Ui().capture.secondsReady, 0);
        gate_.Open();
        FinishJob();
        EXPECT_EQ(TheEngine().configs.size(), 1U);
        EXPECT_THAT(TheEngine().replayStarts,
                    ElementsAre(ReplayStart{CurrentSettings().instantReplay,
                                            static_cast<std::int32_t>(CurrentSettings().replaySeconds)}));
        EXPECT_THAT(Activity(), Contains(u"Settings: Settings saved"));
        EXPECT_EQ(IsSelected(control.section, control.id), control.option || control.changes.front().second == "1");
        if (!control.option) {
            Activate(control.section, control.id);
            FinishJob();
            EXPECT_EQ(SettingsBytes(), File({})) << "the second click switches back";
        }
    }
}

TEST_F(OverlaySettings, DuringAJobOrARecordingACaptureControlIsRefused) {
    const Settings before = CurrentSettings();
    Engine().state = EngineState::Recording;
    for (const CaptureControl& control : captureControls) {
        Activate(control.section, control.id);
        EXPECT_EQ(Ui().statusText, u"Stop the manual recording before changing capture settings.");
        EXPECT_EQ(Ui().toast.text, u"Stop recording before changing capture settings");
        Ui().statusText.clear();
    }
    Engine().state = EngineState::Ready;
    OccupyJob();
    for (const CaptureControl& control : captureControls) {
        Activate(control.section, control.id);
        EXPECT_EQ(Ui().statusText, u"Applying a capture change. Navigation is still available.");
        Ui().statusText.clear();
    }
    EXPECT_EQ(CurrentSettings(), before);
    EXPECT_EQ(SettingsBytes(), "");
    gate_.Open();
    FinishJob();
}

TEST_F(OverlaySettings, TwentyMinutesBecomeFiveMinutes) {
    Activate(0, 990);
    FinishJob();
    EXPECT_EQ(SettingsBytes(), File({{"replaySeconds", "300"}}));
    EXPECT_EQ(TheEngine().replayStarts.back().seconds, 300);
    EXPECT_FALSE(IsSelected(0, 990));
    EXPECT_TRUE(IsSelected(0, 989));
}

TEST_F(OverlaySettings, AValueOutsideTheOptionsSelectsNone) {
    CurrentSettings().replaySeconds = 45;
    CurrentSettings().bitrateMbps = 41;
    for (const std::int32_t id : {987, 988, 989, 990, 1013, 1014, 1015, 1016}) {
        EXPECT_FALSE(IsSelected(0, id)) << id;
    }
}

TEST_F(OverlaySettings, ThePerformanceIndicatorIsSavedWithoutARestart) {
    Activate(5, 1062);
    EXPECT_EQ(SettingsBytes(), File({{"showFpsOverlay", "1"}}));
    EXPECT_TRUE(IsSelected(5, 1062));
    EXPECT_THAT(Texts(5), Contains(HasSubstr("\"Performance indicator: On\"")));
    Activate(5, 1062);
    EXPECT_EQ(SettingsBytes(), File({}));
    EXPECT_EQ(CountOf("Configure"), 0);
}

TEST_F(OverlaySettings, AFileThatCannotBeSavedIsReported) {
    const Text data = std::exchange(fake::TheFolders().localData, u"/dev/null");
    for (const auto& [section, id] : {std::pair{3, 1012}, std::pair{5, 1062}, std::pair{5, 1067}}) {
        Ui().statusText.clear();
        Activate(section, id);
        EXPECT_EQ(Ui().statusText, u"Settings could not be saved.") << id;
    }
    fake::TheFolders().localData = data;
}

// The monitor.

TEST_F(OverlaySettings, TheMonitorsAreAMenuWithTheCapturedOneChecked) {
    Activate(0, 991);
    const std::vector<MenuItem>& items = fake::TheMenus().shown.back();
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].id, 100);
    EXPECT_EQ(items[0].label, u"\\\\.\\DISPLAY1  1920 x 1080  Primary");
    EXPECT_TRUE(items[0].checked);
    EXPECT_EQ(items[1].id, 101);
    EXPECT_EQ(items[1].label, u"\\\\.\\DISPLAY2  2560 x 1440");
    EXPECT_FALSE(items[1].checked);
    EXPECT_EQ(fake::TheMenus().owner, window_.get());
    CurrentSettings().monitorDevice = u"\\\\.\\DISPLAY2";
    Activate(0, 991);
    EXPECT_FALSE(fake::TheMenus().shown.back()[0].checked);
    EXPECT_TRUE(fake::TheMenus().shown.back()[1].checked);
    CurrentSettings().monitorDevice.clear();
    Activate(0, 991);
    EXPECT_TRUE(fake::TheMenus().shown.back()[0].checked) << "the primary monitor";
    EXPECT_EQ(SettingsBytes(), "") << "no choice changes nothing";
}

TEST_F(OverlaySettings, AChosenMonitorIsCapturedAndNamed) {
    fake::TheMenus().choice = 101;
    Activate(0, 991);
    FinishJob();
    EXPECT_EQ(SettingsBytes(), File({{"monitorDevice", "\\\\.\\DISPLAY2"}}));
    EXPECT_EQ(TheEngine().configs.back().monitorDevice, u"\\\\.\\DISPLAY2");
    EXPECT_THAT(Texts(0), Contains(HasSubstr("\"DISPLAY2  /  2560 x 1440 / Change\"")));
    for (const int invalid : {99, 102}) {
        fake::TheMenus().choice = invalid;
        Activate(0, 991);
        EXPECT_FALSE(Ui().capture.captureJobSlot.IsBusy());
    }
}

TEST_F(OverlaySettings, ADisconnectedMonitorIsNamedSo) {
    fake::TheMonitors().monitors.clear();
    EXPECT_THAT(Texts(0), Contains(HasSubstr("\"Monitor disconnected / Change\"")));
}

TEST_F(OverlaySettings, TheMonitorDoesNotChangeDuringAJobOrARecording) {
    const Text refusal = u"Wait for capture changes, or stop manual recording, before switching monitor.";
    Engine().state = EngineState::Recording;
    Activate(0, 991);
    EXPECT_EQ(Ui().statusText, refusal);
    Engine().state = EngineState::Ready;
    Ui().statusText.clear();
    OccupyJob();
    Activate(0, 991);
    EXPECT_EQ(Ui().statusText, refusal);
    EXPECT_TRUE(fake::TheMenus().shown.empty());
    gate_.Open();
    FinishJob();
}

}  // namespace
}  // namespace zv
