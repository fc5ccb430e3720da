// The window that waits for a new shortcut, from its opening to its end.
#include "ui/pages/ShortcutEditor.h"

#include "ui/Notices.h"
#include "ui/kit/DrawingContext.h"

namespace zv {
namespace {

using fake::Combination;
using fake::CountOf;
using fake::RecordOf;
using fake::TheWindows;
using testing::Contains;
using testing::ElementsAre;

constexpr TextView editorClass = u"ZVShortcutEditor315";
constexpr std::uint32_t once = keyModifier::noRepeat;
constexpr int saveReplayIndex = 1;  // Alt + F10

class ShortcutEditor : public Notices {
protected:
    static AppWindow* Editor() { return fake::FindWindowOf(editorClass); }
    static void Press(std::uint32_t modifiers, std::uint32_t key, std::uint32_t code = message::keyDown) {
        TheWindows().heldModifiers = modifiers;
        ShortcutEditorProc(*Editor(), code, key, 0);
    }
    /// Opens the editor and sends it the keyboard focus, as the system does.
    static void OpenFocused(int index) {
        OpenShortcutEditor(index);
        ShortcutEditorProc(*Editor(), message::setFocus, 0, 0);
    }
    static void ExpectClosed() {
        EXPECT_EQ(Editor(), nullptr);
        EXPECT_EQ(Ui().shortcutEditor.window, nullptr);
        EXPECT_EQ(Ui().shortcutEditor.index, -1);
    }
    static void ExpectUnchanged() {
        EXPECT_EQ(CurrentSettings().bindMods[saveReplayIndex], 1U);
        EXPECT_EQ(CurrentSettings().bindKeys[saveReplayIndex], 121U);
        EXPECT_EQ(TheWindows().keys[2], (Combination{1 | once, 121}));
    }
};

TEST_F(ShortcutEditor, OpensOverTheOverlayAndHasTheKeyboardFocus) {
    OpenShortcutEditor(2);
    ASSERT_NE(Editor(), nullptr);
    const fake::WindowRecord& record = RecordOf(*Editor());
    EXPECT_EQ(record.options.title, u"ZV Reels - shortcut");
    EXPECT_EQ(record.options.frame, WindowFrame::Caption);
    EXPECT_TRUE(record.options.topmost);
    EXPECT_TRUE(record.options.toolWindow);
    EXPECT_FALSE(record.options.noActivate);
    EXPECT_FALSE(record.options.layered);
    EXPECT_FALSE(record.options.clickThrough);
    EXPECT_EQ(record.options.owner, window_.get());
    EXPECT_EQ(record.bounds, (Rectangle{320, 270, 910, 460}));
    EXPECT_TRUE(record.shown);
    EXPECT_EQ(TheWindows().inFront, Editor());
    EXPECT_FALSE(record.excluded);
    EXPECT_EQ(Ui().shortcutEditor.window.get(), Editor());
    EXPECT_EQ(Ui().shortcutEditor.index, 2);
}

TEST_F(ShortcutEditor, IsNotScaledWithTheDpi) {
    RecordOf(*window_).dpi = 192;
    RecordOf(*overlay_).dpi = 192;
    OpenShortcutEditor(0);
    EXPECT_EQ(RecordOf(*Editor()).bounds, (Rectangle{320, 270, 910, 460}));
}

TEST_F(ShortcutEditor, ASecondOneReplacesTheFirst) {
    OpenShortcutEditor(0);
    Press(0, 'K');
    EXPECT_NE(Ui().shortcutEditor.error, u"");
    OpenShortcutEditor(3);
    EXPECT_EQ(Ui().shortcutEditor.error, u"");
    EXPECT_EQ(Ui().shortcutEditor.index, 3);
    EXPECT_EQ(CountOf("destroy"), 1);
    CloseShortcutEditor();
    ExpectClosed();
}

TEST_F(ShortcutEditor, WithoutAWindowNoEditorIsOpen) {
    fake::FailCall("MakeWindow", CountOf("MakeWindow") + 1, -1);
    OpenShortcutEditor(1);
    ExpectClosed();
}

TEST_F(ShortcutEditor, EscapeKeepsTheOldShortcut) {
    OpenShortcutEditor(saveReplayIndex);
    Press(0, 27);
    ExpectClosed();
    ExpectUnchanged();
    EXPECT_EQ(SettingsBytes(), "");
}

TEST_F(ShortcutEditor, EscapeWithAModifierCancelsToo) {
    OpenShortcutEditor(saveReplayIndex);
    Press(1, 27, message::systemKeyDown);
    ExpectClosed();
    ExpectUnchanged();
}

TEST_F(ShortcutEditor, DigitsLettersAndFunctionKeysAreAccepted) {
    for (std::uint32_t key = 1; key < 255; ++key) {
        const bool digit = key >= 48 && key <= 57;
        const bool letter = key >= 65 && key <= 90;
        const bool function = key >= 112 && key <= 135;
        if (key == 27) {
            continue;
        }
        OpenShortcutEditor(saveReplayIndex);
        Press(7, key);
        const bool taken = digit || letter || function;
        EXPECT_EQ(Editor() == nullptr, taken) << key;
        EXPECT_EQ(CurrentSettings().bindKeys[saveReplayIndex] == key, taken) << key;
        EXPECT_EQ(Ui().shortcutEditor.error, u"") << key;
    }
}

TEST_F(ShortcutEditor, WaitsWhileModifiersAreHeldAlone) {
    OpenShortcutEditor(saveReplayIndex);
    const int invalidations = RecordOf(*Editor()).invalidations;
    Press(2, 17);
    Press(6, 16);
    Press(1, 18, message::systemKeyDown);
    ASSERT_NE(Editor(), nullptr);
    EXPECT_EQ(Ui().shortcutEditor.error, u"");
    EXPECT_EQ(RecordOf(*Editor()).invalidations, invalidations);
    ExpectUnchanged();
}

TEST_F(ShortcutEditor, AFreeKeyIsBoundShownAndSaved) {
    OpenShortcutEditor(saveReplayIndex);
    const int ofMain = RecordOf(*window_).invalidations;
    const int ofOverlay = RecordOf(*overlay_).invalidations;
    Press(6, 'K');
    ExpectClosed();
    EXPECT_EQ(TheWindows().keys[2], (Combination{6 | once, 75}));
    EXPECT_THAT(SettingsBytes(), testing::HasSubstr("\r\nbindMods1=6\r\nbindKeys1=75\r\n"));
    EXPECT_EQ(RecordOf(*window_).invalidations, ofMain + 1);
    EXPECT_EQ(RecordOf(*overlay_).invalidations, ofOverlay + 1);
}

TEST_F(ShortcutEditor, AKeyWithAltAndF10ArriveAsSystemKeys) {
    OpenShortcutEditor(saveReplayIndex);
    Press(1, 'K', message::systemKeyDown);
    ExpectClosed();
    EXPECT_EQ(TheWindows().keys[2], (Combination{1 | once, 75}));
    OpenShortcutEditor(saveReplayIndex);
    Press(4, 121, message::systemKeyDown);
    ExpectClosed();
    EXPECT_EQ(TheWindows().keys[2], (Combination{4 | once, 121}));
}

TEST_F(ShortcutEditor, AKeyWithoutAModifierIsRefusedWithAMessage) {
    OpenShortcutEditor(saveReplayIndex);
    const int invalidations = RecordOf(*Editor()).invalidations;
    Press(0, 'K');
    ASSERT_NE(Editor(), nullptr);
    EXPECT_EQ(RecordOf(*Editor()).invalidations, invalidations + 1);
    EXPECT_THAT(Paint(*Editor()), Contains("text 20,99,550,135 15/400 151,119,255 "
                                           "\"Include Ctrl, Alt or Shift with your key.\""));
    ExpectUnchanged();
    EXPECT_EQ(Ui().statusText, u"Ready");
}

TEST_F(ShortcutEditor, TheShortcutOfAnotherActionIsRefusedWithAMessage) {
    OpenShortcutEditor(saveReplayIndex);
    Press(3, 'R');
    ASSERT_NE(Editor(), nullptr);
    EXPECT_THAT(Paint(*Editor()), Contains("text 20,99,550,135 15/400 151,119,255 "
                                           "\"That shortcut already belongs to another ZV action.\""));
    ExpectUnchanged();
}

TEST_F(ShortcutEditor, TheShortcutOfAnotherProgramIsRefusedWithAMessage) {
    TheWindows().reservedByOthers = {{2, 75}};
    OpenShortcutEditor(saveReplayIndex);
    Press(2, 'K');
    ASSERT_NE(Editor(), nullptr);
    EXPECT_THAT(Paint(*Editor()), Contains("text 20,99,550,135 15/400 151,119,255 "
                                           "\"Shortcut is used by another app. Choose a different one.\""));
    ExpectUnchanged();
}

TEST_F(ShortcutEditor, AShortcutThatIsLostAfterTheProbeIsRefusedWithAMessage) {
    OpenShortcutEditor(saveReplayIndex);
    fake::FailCall("RegisterGlobalKey", CountOf("RegisterGlobalKey") + 2, -1);  // after the probe
    Press(2, 'K');
    ASSERT_NE(Editor(), nullptr);
    EXPECT_THAT(Paint(*Editor()), Contains("text 20,99,550,135 15/400 151,119,255 "
                                           "\"Could not reserve shortcut. Try again.\""));
    ExpectUnchanged();
}

TEST_F(ShortcutEditor, AnotherKeyCanBePressedAfterARefusal) {
    OpenShortcutEditor(saveReplayIndex);
    Press(0, 'K');
    Press(2, 'K');
    ExpectClosed();
    EXPECT_EQ(TheWindows().keys[2], (Combination{2 | once, 75}));
}

TEST_F(ShortcutEditor, TheCurrentKeysCloseItAndNothingChanges) {
    OpenShortcutEditor(saveReplayIndex);
    const int reservations = CountOf("RegisterGlobalKey");
    Press(1, 121, message::systemKeyDown);
    ExpectClosed();
    ExpectUnchanged();
    EXPECT_EQ(CountOf("RegisterGlobalKey"), reservations);
    EXPECT_EQ(SettingsBytes(), "");
}

// The system turns a reserved key into a hot-key message before any window sees it as a key.
TEST_F(ShortcutEditor, TheHotKeyOfAnotherActionIsRefusedWithAMessageAndNotRun) {
    OpenFocused(saveReplayIndex);
    const int reservations = CountOf("RegisterGlobalKey");
    const int releases = CountOf("UnregisterGlobalKey");
    Send(message::hotKey, 1);
    ASSERT_NE(Editor(), nullptr);
    EXPECT_THAT(Paint(*Editor()), Contains("text 20,99,550,135 15/400 151,119,255 "
                                           "\"That shortcut already belongs to another ZV action.\""));
    EXPECT_FALSE(Of(overlay_).shown);
    ExpectUnchanged();
    EXPECT_EQ(CountOf("RegisterGlobalKey"), reservations);
    EXPECT_EQ(CountOf("UnregisterGlobalKey"), releases);
}

TEST_F(ShortcutEditor, TheHotKeyOfItsOwnActionClosesItAndNothingChanges) {
    OpenFocused(saveReplayIndex);
    const int reservations = CountOf("RegisterGlobalKey");
    Send(message::hotKey, saveReplayIndex + 1);
    ExpectClosed();
    ExpectUnchanged();
    EXPECT_EQ(CountOf("RegisterGlobalKey"), reservations);
    EXPECT_EQ(SettingsBytes(), "");
    EXPECT_EQ(Ui().statusText, u"Ready") << "no replay was to be saved";
}

TEST_F(ShortcutEditor, HotKeysAreCommandsWithoutTheFocusAndAfterItsEnd) {
    OpenFocused(saveReplayIndex);
    ShortcutEditorProc(*Editor(), message::killFocus, 0, 0);
    Send(message::hotKey, 1);
    EXPECT_TRUE(Of(overlay_).shown);
    EXPECT_EQ(Ui().shortcutEditor.error, u"");
    ShortcutEditorProc(*Editor(), message::setFocus, 0, 0);
    CloseShortcutEditor();
    Send(message::hotKey, 1);
    EXPECT_FALSE(Of(overlay_).shown);
    EXPECT_EQ(Ui().shortcutEditor.error, u"");
}

TEST_F(ShortcutEditor, ItsCloseBoxClosesIt) {
    OpenShortcutEditor(saveReplayIndex);
    ShortcutEditorProc(*Editor(), message::close, 0, 0);
    ExpectClosed();
    ExpectUnchanged();
}

TEST_F(ShortcutEditor, ClosingNothingIsHarmless) {
    CloseShortcutEditor();
    ExpectClosed();
}

TEST_F(ShortcutEditor, ExplainsWhatToPressAndHowToCancel) {
    OpenShortcutEditor(saveReplayIndex);
    EXPECT_THAT(Paint(*Editor()), ElementsAre("fill 0,0,590,190 17,18,25",
                                              "text 20,18,550,55 17/600 241,242,250 \"Press your new shortcut\"",
                                              "text 20,61,550,96 15/400 158,164,187 "
                                              "\"Use Ctrl, Alt or Shift + a letter, number or F-key.\"",
                                              "text 20,99,550,135 15/400 151,119,255 "
                                              "\"Escape cancels without changing your shortcut.\""));
    EXPECT_EQ(ShortcutEditorProc(*Editor(), message::eraseBackground, 0, 0), 1);
}

TEST_F(ShortcutEditor, ItsLastLineIsInTheThemesColour) {
    Drawing().accentColor = Rgb(255, 97, 192);
    OpenShortcutEditor(saveReplayIndex);
    EXPECT_THAT(Paint(*Editor()), Contains("text 20,99,550,135 15/400 255,97,192 "
                                           "\"Escape cancels without changing your shortcut.\""));
}

TEST_F(ShortcutEditor, OtherMessagesAreLeftToTheSystem) {
    OpenShortcutEditor(saveReplayIndex);
    const int before = CountOf("DefaultProcedure");
    EXPECT_EQ(ShortcutEditorProc(*Editor(), message::keyUp, 'K', 0), 0);
    ShortcutEditorProc(*Editor(), message::hitTest, 0, 0);
    EXPECT_EQ(CountOf("DefaultProcedure"), before + 2);
}

}  // namespace
}  // namespace zv
