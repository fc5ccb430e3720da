// The four shortcuts: their registration, the checks of a new one, and the command of each.
#include "ui/commands/Hotkeys.h"

#include <fstream>

#include "ui/Interface.h"
#include "ui/commands/CaptureJobs.h"
#include "ui/commands/Commands.h"
#include "ui/commands/Notifications.h"
#include "ui/state/Engine.h"
#include "ui/windows/Overlay.h"
#include "ui/windows/ToastWindow.h"

namespace zv {
namespace {

using fake::Combination;
using fake::CountOf;
using fake::TheWindows;

constexpr std::uint32_t once = keyModifier::noRepeat;

class Hotkeys : public Interface {
protected:
    std::vector<std::string> CallsOf(const std::function<void()>& action) {
        const std::size_t before = fake::CallNames().size();
        action();
        const auto all = fake::CallNames();
        return {all.begin() + static_cast<std::ptrdiff_t>(before), all.end()};
    }
};

TEST_F(Hotkeys, TheTableNamesTheFourActions) {
    EXPECT_EQ(ShortcutLabel(0), u"Open / close overlay");
    EXPECT_EQ(ShortcutLabel(1), u"Save instant replay");
    EXPECT_EQ(ShortcutLabel(2), u"Start / stop recording");
    EXPECT_EQ(ShortcutLabel(3), u"Screenshot");
}

TEST_F(Hotkeys, AreRegisteredWithoutRepeatWhenTheWindowIsCreated) {
    OpenMainWindow();
    EXPECT_EQ(TheWindows().keys,
              (std::map<int, Combination>{
                  {1, {1 | once, 88}}, {2, {1 | once, 121}}, {3, {3 | once, 82}}, {4, {3 | once, 83}}}));
    EXPECT_EQ(Ui().hotkeyRegistered, (std::array<bool, 4>{true, true, true, true}));
}

/// With the notification's window.
class BusyHotkeys : public Hotkeys {
protected:
    BusyHotkeys() {
        TheWindows().keyNames = {{88, u"X"}, {121, u"F10"}, {82, u"R"}, {83, u"S"}};
        WindowOptions options;
        options.className = u"toast";
        options.procedure = ToastProc;
        toast_ = MakeWindow(options);
    }
    ~BusyHotkeys() override {
        gate_.Open();
        window_.reset();
    }
    Text Notification() const { return IsWindowShown(*toast_) ? Ui().toast.text : Text(); }
    /// The notification's time is over.
    void EndNotification() { ToastProc(*toast_, message::timer, toastTimer, 0); }

    Owned<AppWindow> toast_;
};

constexpr char16_t saveRow[] =
    u"Shortcuts: Shortcut busy: Save instant replay (Alt + F10). Change it in Settings > Keyboard shortcuts.";
constexpr char16_t saveNotification[] =
    u"Save instant replay: Alt + F10 is busy. Change it in Settings > Keyboard shortcuts.";

TEST_F(BusyHotkeys, AreLoggedAtTheStartAndShownOnce) {
    TheWindows().reservedByOthers = {{1, 121}};
    OpenMainWindow();
    EXPECT_EQ(Ui().hotkeyRegistered, (std::array<bool, 4>{true, false, true, true}));
    EXPECT_EQ(Ui().statusText, u"Ready");
    EXPECT_THAT(Activity(), testing::ElementsAre(saveRow));
    EXPECT_EQ(Notification(), u"");
    Tick();
    EXPECT_EQ(Notification(), saveNotification);
    EXPECT_TRUE(Ui().toast.wrapped);
    EndNotification();
    Tick();
    EXPECT_EQ(Notification(), u"");
    EXPECT_EQ(Activity().size(), 1U);
}

TEST_F(BusyHotkeys, AreShownAfterTheNotificationOfTheStartsStatus) {
    TheWindows().reservedByOthers = {{1, 121}};
    gate_.Hold("start");
    OpenMainWindow();
    CaptureJob([this] {
        gate_.Pass("start");
        return Text(u"Replay stopped.");
    });
    Tick();
    EXPECT_EQ(Notification(), u"");
    gate_.Open();
    AwaitJob();
    Tick();
    EXPECT_EQ(Notification(), u"Instant replay is paused");
    Tick();
    EXPECT_EQ(Notification(), u"Instant replay is paused");
    EndNotification();
    Tick();
    EXPECT_EQ(Notification(), saveNotification);
}

TEST_F(BusyHotkeys, AreShownInOneNotification) {
    TheWindows().reservedByOthers = {{1, 121}, {3, 83}};
    OpenMainWindow();
    EXPECT_EQ(Activity().size(), 2U);
    Tick();
    EXPECT_EQ(Notification(),
              u"Save instant replay, Screenshot: shortcuts are busy. Change them in Settings > Keyboard shortcuts.");
}

TEST_F(BusyHotkeys, AreOnlyLoggedWhileNotificationsAreDisabled) {
    CurrentSettings().notifications = false;
    TheWindows().reservedByOthers = {{1, 121}};
    OpenMainWindow();
    Tick();
    EXPECT_EQ(Notification(), u"");
    EXPECT_THAT(Activity(), testing::ElementsAre(saveRow));
}

TEST_F(BusyHotkeys, AreShownWhenANewKeyboardMappingLosesThem) {
    OpenMainWindow();
    Tick();
    EXPECT_EQ(Notification(), u"");
    Send(message::globalKeyChanged, 2, 0);
    EXPECT_EQ(Ui().hotkeyRegistered, (std::array<bool, 4>{true, false, true, true}));
    EXPECT_THAT(Activity(), testing::ElementsAre(saveRow));
    Tick();
    EXPECT_EQ(Notification(), saveNotification);
    EndNotification();
    Send(message::globalKeyChanged, 2, 1);
    EXPECT_TRUE(Ui().hotkeyRegistered[1]);
    Tick();
    EXPECT_EQ(Notification(), u"");
    Send(message::globalKeyChanged, 90, 0);
    EXPECT_EQ(Activity().size(), 1U);
}

TEST_F(BusyHotkeys, AreNotShownIfTheyHaveBeenReservedMeanwhile) {
    OpenMainWindow();
    Send(message::globalKeyChanged, 2, 0);
    Send(message::globalKeyChanged, 2, 1);
    Tick();
    EXPECT_EQ(Notification(), u"");
    Send(message::globalKeyChanged, 4, 0);
    Tick();
    EXPECT_EQ(Notification(), u"Screenshot: Ctrl + Alt + S is busy. Change it in Settings > Keyboard shortcuts.");
}

TEST_F(BusyHotkeys, AreShownWhenTheDefaultsAreRestored) {
    OpenMainWindow();
    TheWindows().reservedByOthers = {{1, 121}};
    RestoreDefaults();
    EXPECT_THAT(Activity(), testing::Contains(Text(saveRow)));
    FinishJob();
    EndNotification();
    Tick();
    EXPECT_EQ(Notification(), saveNotification);
}

TEST_F(Hotkeys, AKeyWithoutAModifierIsRefusedFirst) {
    OpenMainWindow();
    EXPECT_TRUE(CallsOf([] { EXPECT_FALSE(TryRebindHotkey(0, 0, 88)); }).empty());
    EXPECT_EQ(Ui().shortcutEditor.error, u"Include Ctrl, Alt or Shift with your key.");
}

TEST_F(Hotkeys, TheShortcutOfAnotherActionIsRefusedWithoutAProbe) {
    OpenMainWindow();
    for (const int other : {0, 2, 3}) {
        Ui().shortcutEditor.error.clear();
        const auto index = static_cast<std::size_t>(other);
        EXPECT_TRUE(CallsOf([&] {
                        EXPECT_FALSE(
                            TryRebindHotkey(1, CurrentSettings().bindMods[index], CurrentSettings().bindKeys[index]));
                    }).empty());
        EXPECT_EQ(Ui().shortcutEditor.error, u"That shortcut already belongs to another ZV action.");
    }
}

TEST_F(Hotkeys, TheActionsOwnShortcutChangesNothing) {
    OpenMainWindow();
    EXPECT_TRUE(CallsOf([] { EXPECT_TRUE(TryRebindHotkey(1, 1, 121)); }).empty());
    EXPECT_EQ(SettingsBytes(), "");
}

TEST_F(Hotkeys, AnUnregisteredShortcutIsTriedAgain) {
    TheWindows().reservedByOthers = {{1, 121}};
    OpenMainWindow();
    EXPECT_FALSE(TryRebindHotkey(1, 1, 121));
    EXPECT_EQ(Ui().shortcutEditor.error, u"Shortcut is used by another app. Choose a different one.");
    TheWindows().reservedByOthers.clear();
    EXPECT_TRUE(TryRebindHotkey(1, 1, 121));
    EXPECT_TRUE(Ui().hotkeyRegistered[1]);
}

TEST_F(Hotkeys, TheShortcutOfAnotherProgramIsRefusedAndTheOldOneStays) {
    TheWindows().reservedByOthers = {{2, 65}};
    OpenMainWindow();
    EXPECT_EQ(CallsOf([] { EXPECT_FALSE(TryRebindHotkey(1, 2, 65)); }),
              (std::vector<std::string>{"RegisterGlobalKey"}));
    EXPECT_EQ(Ui().shortcutEditor.error, u"Shortcut is used by another app. Choose a different one.");
    EXPECT_EQ(TheWindows().keys[2], (Combination{1 | once, 121}));
    EXPECT_FALSE(TheWindows().keys.contains(90));
    EXPECT_EQ(CurrentSettings().bindKeys[1], 121U);
}

TEST_F(Hotkeys, AFreeShortcutIsProbedRegisteredAndSaved) {
    OpenMainWindow();
    EXPECT_EQ(CallsOf([] { EXPECT_TRUE(TryRebindHotkey(1, 4, 121)); }),
              (std::vector<std::string>{"RegisterGlobalKey", "UnregisterGlobalKey", "UnregisterGlobalKey",
                                        "RegisterGlobalKey"}));
    EXPECT_EQ(TheWindows().keys[2], (Combination{4 | once, 121}));
    EXPECT_EQ(TheWindows().keys.size(), 4U);
    EXPECT_EQ(CurrentSettings().bindMods[1], 4U);
    EXPECT_EQ(CurrentSettings().bindKeys[1], 121U);
    EXPECT_THAT(SettingsBytes(), testing::HasSubstr("\r\nbindMods1=4\r\nbindKeys1=121\r\n"));
}

TEST_F(Hotkeys, AShortcutThatCannotBeSavedIsUsedAndReported) {
    OpenMainWindow();
    std::ofstream(ToPath(Folder(u"a file"))) << "in the way";
    fake::TheFolders().localData = Folder(u"a file");
    EXPECT_TRUE(TryRebindHotkey(1, 4, 121));
    EXPECT_EQ(TheWindows().keys[2], (Combination{4 | once, 121}));
    EXPECT_EQ(Ui().statusText, u"Settings could not be saved.");
    fake::TheFolders().localData = Folder(u"data");
}

TEST_F(Hotkeys, AShortcutThatIsLostAfterTheProbeRestoresTheOldOne) {
    OpenMainWindow();
    fake::FailCall("RegisterGlobalKey", 6, -1);  // four at the start, the probe, then this one
    EXPECT_FALSE(TryRebindHotkey(1, 4, 121));
    EXPECT_EQ(Ui().shortcutEditor.error, u"Could not reserve shortcut. Try again.");
    EXPECT_EQ(TheWindows().keys[2], (Combination{1 | once, 121}));
    EXPECT_TRUE(Ui().hotkeyRegistered[1]);
    EXPECT_EQ(CurrentSettings().bindMods[1], 1U);
    EXPECT_EQ(SettingsBytes(), "");
}

TEST_F(Hotkeys, AnOldShortcutThatCannotBeRestoredIsRecorded) {
    OpenMainWindow();
    fake::FailCall("RegisterGlobalKey", 6, -1);
    fake::FailCall("RegisterGlobalKey", 7, -1);
    EXPECT_FALSE(TryRebindHotkey(1, 4, 121));
    EXPECT_FALSE(Ui().hotkeyRegistered[1]);
}

TEST_F(Hotkeys, AnUnregisteredShortcutStaysUnregisteredIfTheNewOneIsLost) {
    TheWindows().reservedByOthers = {{1, 121}};
    OpenMainWindow();
    fake::FailCall("RegisterGlobalKey", 6, -1);
    EXPECT_FALSE(TryRebindHotkey(1, 4, 121));
    EXPECT_EQ(Ui().shortcutEditor.error, u"Could not reserve shortcut. Try again.");
    EXPECT_FALSE(Ui().hotkeyRegistered[1]);
    EXPECT_FALSE(TheWindows().keys.contains(2));
}

TEST_F(Hotkeys, AShortcutThatIsFreeAgainIsRegisteredAndSaved) {
    TheWindows().reservedByOthers = {{1, 121}};
    OpenMainWindow();
    EXPECT_TRUE(TryRebindHotkey(1, 2, 121));
    EXPECT_TRUE(Ui().hotkeyRegistered[1]);
    EXPECT_EQ(TheWindows().keys[2], (Combination{2 | once, 121}));
}

TEST_F(Hotkeys, TheSameKeyWithOtherModifiersIsFree) {
    OpenMainWindow();
    EXPECT_TRUE(TryRebindHotkey(0, 7, 82));
    EXPECT_EQ(TheWindows().keys[1], (Combination{7 | once, 82}));
}

TEST_F(Hotkeys, AKeyWithoutAModifierIsRefusedEvenForItsOwnAction) {
    OpenMainWindow();
    CurrentSettings().bindMods[1] = 0;
    EXPECT_FALSE(TryRebindHotkey(1, 0, 121));
    EXPECT_EQ(Ui().shortcutEditor.error, u"Include Ctrl, Alt or Shift with your key.");
}

TEST_F(Hotkeys, EveryActionRegistersItsOwnId) {
    OpenMainWindow();
    for (int index = 0; index < 4; ++index) {
        const auto key = static_cast<std::uint32_t>('1' + index);
        EXPECT_TRUE(TryRebindHotkey(index, 7, key));
        EXPECT_EQ(TheWindows().keys[index + 1], (Combination{7 | once, key}));
        EXPECT_EQ(CurrentSettings().bindMods[static_cast<std::size_t>(index)], 7U);
        EXPECT_EQ(CurrentSettings().bindKeys[static_cast<std::size_t>(index)], key);
    }
}

TEST_F(Hotkeys, TheTextHasTheModifiersFirstInAFixedOrder) {
    TheWindows().keyNames = {{88, u"X"}, {121, u"F10"}, {82, u"R"}, {83, u"S"}};
    EXPECT_EQ(HotkeyText(0), u"Alt + X");
    EXPECT_EQ(HotkeyText(1), u"Alt + F10");
    EXPECT_EQ(HotkeyText(2), u"Ctrl + Alt + R");
    EXPECT_EQ(HotkeyText(3), u"Ctrl + Alt + S");
    struct Row {
        std::uint32_t modifiers;
        TextView text;
    };
    for (const Row& row :
         {Row{0, u"X"}, Row{1, u"Alt + X"}, Row{2, u"Ctrl + X"}, Row{3, u"Ctrl + Alt + X"}, Row{4, u"Shift + X"},
          Row{5, u"Alt + Shift + X"}, Row{6, u"Ctrl + Shift + X"}, Row{7, u"Ctrl + Alt + Shift + X"}}) {
        CurrentSettings().bindMods[0] = row.modifiers;
        EXPECT_EQ(HotkeyText(0), row.text);
    }
}

TEST_F(Hotkeys, AKeyWithoutANameIsShownByItsCode) {
    CurrentSettings().bindKeys[2] = 193;
    EXPECT_EQ(HotkeyText(2), u"Ctrl + Alt + Key 193");
}

TEST_F(Hotkeys, ThePressedKeyOpensAndClosesTheOverlay) {
    OpenMainWindow();
    WindowOptions options;
    options.procedure = OverlayProc;
    options.width = 10;
    options.height = 10;
    const Owned<AppWindow> overlay = MakeWindow(options);
    Send(message::hotKey, 1);
    EXPECT_TRUE(IsWindowShown(*overlay));
    Send(message::hotKey, 1);
    EXPECT_FALSE(IsWindowShown(*overlay));
}

TEST_F(Hotkeys, ThePressedKeyTakesAScreenshot) {
    OpenMainWindow();
    Send(message::hotKey, 4);
    EXPECT_TRUE(Ui().screenshot.screenshotSlot.IsBusy());
    AwaitScreenshot();
}

TEST_F(Hotkeys, ThePressedKeySavesAReplay) {
    OpenMainWindow();
    Engine().replayRunning = true;
    Send(message::hotKey, 2);
    FinishJob();
    EXPECT_EQ(CountOf("SaveReplayClip"), 1);
}

TEST_F(Hotkeys, ThePressedKeyStartsARecording) {
    OpenMainWindow();
    Send(message::hotKey, 3);
    FinishJob();
    EXPECT_EQ(CountOf("StartRecording"), 1);
}

TEST_F(Hotkeys, OtherIdsAreIgnored) {
    OpenMainWindow();
    for (const std::uintptr_t id : {0, 5, 90, 4711}) {
        Send(message::hotKey, id);
    }
    EXPECT_FALSE(Ui().capture.captureJobSlot.IsBusy());
    EXPECT_EQ(Ui().statusText, u"Ready");
}

}  // namespace
}  // namespace zv
