// Changes a shortcut with real keys: the gear of the overlay, the row and the shortcut editor.
#include "support/Eventually.h"
#include "support/InterfaceUser.h"
#include "support/PrivateDisplay.h"
#include "support/ProgramRun.h"

namespace zv {
namespace {

using namespace support;

constexpr int shortcuts = 2;   ///< section of the settings page
constexpr int screenshot = 3;  ///< row and index of the action

class ShortcutEndToEnd : public testing::Test {
protected:
    ShortcutEndToEnd() {
        game_.SetFocus(gameWindow_);
        EXPECT_TRUE(run_.WaitForActivity("Replay stopped.").has_value());
        EXPECT_TRUE(user_.OpenOverlay());
        EXPECT_TRUE(user_.OpenSettingsSection(shortcuts));
        EXPECT_TRUE(WaitRow(u"Ctrl + Alt + S"));
    }
    bool WaitRow(const Text& text) const {
        constexpr int top = 177 + 67 * screenshot;
        user_.MovePointer(2, 700);
        return user_.WaitSays(overlayName, {.box = {429, top, 835, top + 34},
                                            .text = text,
                                            .background = color::button,
                                            .font = FontRole::Bold,
                                            .layout = TextLayout::CentredLine,
                                            .look = {435, top + 6, 829, top + 28}});
    }
    bool OpenEditor() const {
        user_.Click(overlayName, 600, 177 + 67 * screenshot + 17);
        return user_.WaitShown(editorName) &&
               user_.WaitSays(editorName, {{20, 18, 550, 55},
                                           u"Press your new shortcut",
                                           color::primaryText,
                                           color::windowBackground,
                                           FontRole::Bold}) &&
               Eventually([&] { return user_.Focus() == user_.WindowOf(editorName); });
    }
    bool EditorSays(const Text& text) const {
        return user_.WaitSays(editorName, {{20, 99, 550, 135}, text, color::purple});
    }
    std::size_t Pictures() const { return CapturesOf(run_, ".png").size(); }
    bool WaitPictures(std::size_t count) const {
        return Eventually([&] { return Pictures() == count; });
    }

    PrivateDisplay display_{"1280x720"};
    InterfaceUser user_{display_.Name()};
    OtherClient game_{display_.Name()};
    xcb_window_t gameWindow_ = game_.Cover({0, 0, 1280, 720}, 0x205080);
    ProgramRun run_{{.display = display_.Name(), .settings = {{"instantReplay", "0"}}}};
};

TEST_F(ShortcutEndToEnd, IsChangedByKeysAndTheOldOneIsReleased) {
    ASSERT_TRUE(OpenEditor());
    EXPECT_TRUE(EditorSays(u"Escape cancels without changing your shortcut."));
    user_.TapKey(XK_k);
    EXPECT_TRUE(EditorSays(u"Include Ctrl, Alt or Shift with your key."));
    user_.TapKey({XK_Control_L}, XK_comma);  // a key that the editor does not accept
    EXPECT_TRUE(EditorSays(u"Include Ctrl, Alt or Shift with your key."));
    // Another program has grabbed the key, but only for Caps Lock.
    ASSERT_TRUE(game_.GrabKey(game_.CodeOf(XK_k), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_LOCK));
    user_.TapKey({XK_Control_L}, XK_k);
    EXPECT_TRUE(EditorSays(u"Shortcut is used by another app. Choose a different one."));
    user_.TapKey(XK_Escape);
    EXPECT_TRUE(user_.WaitHidden(editorName));
    EXPECT_EQ(SettingOf(run_, "bindKeys3"), "83");

    ASSERT_TRUE(OpenEditor());
    user_.TapKey({XK_Control_L, XK_Shift_L}, XK_j);
    EXPECT_TRUE(user_.WaitHidden(editorName));
    EXPECT_TRUE(WaitSetting(run_, "bindMods3", "6"));
    EXPECT_EQ(SettingOf(run_, "bindKeys3"), "74");
    EXPECT_TRUE(WaitRow(u"Ctrl + Shift + J"));
    EXPECT_EQ(user_.Focus(), gameWindow_) << "the game did not get the focus back";
    EXPECT_TRUE(user_.CloseOverlay());

    user_.TapKey({XK_Control_L, XK_Shift_L}, XK_j);
    EXPECT_TRUE(WaitPictures(1));
    EXPECT_TRUE(Eventually([&] { return game_.GrabKey(game_.CodeOf(XK_s), XCB_MOD_MASK_1 | XCB_MOD_MASK_CONTROL); }))
        << "the old key is still grabbed";
    game_.Events(XCB_KEY_PRESS);
    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_s);
    EXPECT_TRUE(Eventually([&] { return game_.Events(XCB_KEY_PRESS) > 0; }));
    EXPECT_EQ(Pictures(), 1U);
}

TEST_F(ShortcutEndToEnd, TheKeysOfAnotherActionAreRefusedAndTheCurrentOnesCloseTheEditor) {
    ASSERT_TRUE(OpenEditor());
    user_.TapKey({XK_Alt_L}, XK_x);
    EXPECT_TRUE(EditorSays(u"That shortcut already belongs to another ZV action."));
    EXPECT_TRUE(user_.Shows(overlayName)) << "the key has toggled it";
    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_s);
    EXPECT_TRUE(user_.WaitHidden(editorName));
    EXPECT_EQ(SettingOf(run_, "bindMods3"), "3");
    EXPECT_EQ(SettingOf(run_, "bindKeys3"), "83");
    EXPECT_TRUE(WaitRow(u"Ctrl + Alt + S"));

    // Both are commands again as soon as another window has the focus, even if the editor is open.
    ASSERT_TRUE(OpenEditor());
    game_.SetFocus(gameWindow_);
    user_.TapKey({XK_Alt_L}, XK_x);
    EXPECT_TRUE(user_.WaitHidden(overlayName));
    EXPECT_TRUE(user_.Shows(editorName));
    EXPECT_EQ(Pictures(), 0U);
    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_s);
    EXPECT_TRUE(WaitPictures(1));
}

TEST_F(ShortcutEndToEnd, IsChangedAndUsedWithCapsLockAndNumLockOn) {
    user_.TapKey(XK_Caps_Lock);
    user_.TapKey(XK_Num_Lock);
    ASSERT_TRUE(OpenEditor());
    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_p);
    EXPECT_TRUE(user_.WaitHidden(editorName));
    EXPECT_TRUE(WaitSetting(run_, "bindMods3", "3"));
    EXPECT_EQ(SettingOf(run_, "bindKeys3"), "80");
    EXPECT_TRUE(WaitRow(u"Ctrl + Alt + P"));
    EXPECT_TRUE(user_.CloseOverlay());
    std::size_t pictures = 0;
    for (const xcb_keysym_t lock :
         {xcb_keysym_t{XK_VoidSymbol}, xcb_keysym_t{XK_Caps_Lock}, xcb_keysym_t{XK_Num_Lock}}) {
        if (lock != XK_VoidSymbol) {
            user_.TapKey(lock);
        }
        user_.TapKey({XK_Control_L, XK_Alt_L}, XK_p);
        EXPECT_TRUE(WaitPictures(++pictures));
        // The next press is refused until this notification has appeared.
        EXPECT_TRUE(
            user_.WaitSays(toastName, {{68, 8, 314, 68}, u"Screenshot saved", color::primaryText, color::toast}));
    }
}

TEST_F(ShortcutEndToEnd, IsChangedOnAKeyboardWithoutLatinLetters) {
    const xcb_keycode_t k = user_.CodeOf(XK_k);
    OutputOf({"setxkbmap", "-display", display_.Name(), "-layout", "ru"});
    ASSERT_EQ(user_.CodeOf(XK_k), noKey);
    ASSERT_TRUE(OpenEditor());
    user_.TapWith(XK_Control_L, k);
    EXPECT_TRUE(user_.WaitHidden(editorName));
    EXPECT_TRUE(WaitRow(u"Ctrl + K"));
    EXPECT_EQ(SettingOf(run_, "bindKeys3"), "75");
    user_.TapWith(XK_Control_L, k);
    EXPECT_TRUE(WaitPictures(1));
}

TEST_F(ShortcutEndToEnd, TheRowReportsAKeyThatAnotherProgramHadAtTheStart) {
    EXPECT_EQ(run_.End(), 0);
    ASSERT_TRUE(game_.GrabKey(game_.CodeOf(XK_s), XCB_MOD_MASK_1 | XCB_MOD_MASK_CONTROL));
    ProgramRun run({.display = display_.Name(), .settings = {{"instantReplay", "0"}}});
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    EXPECT_TRUE(run.WaitForActivity("Shortcut busy: Screenshot (Ctrl + Alt + S).").has_value());
    EXPECT_TRUE(user_.WaitSays(
        toastName, {.box = {68, 14, 314, 74},
                    .text = u"Screenshot: Ctrl + Alt + S is busy. Change it in Settings > Keyboard shortcuts.",
                    .background = color::toast,
                    .layout = TextLayout::Wrapped}));
    ASSERT_TRUE(user_.OpenOverlay());
    ASSERT_TRUE(user_.OpenSettingsSection(shortcuts));
    constexpr int top = 177 + 67 * screenshot;
    EXPECT_TRUE(user_.WaitSays(overlayName, {{429, top + 35, 835, top + 57},
                                             u"Shortcut busy - choose a different combination",
                                             color::purple,
                                             color::overlayPanel}));
}

}  // namespace
}  // namespace zv
