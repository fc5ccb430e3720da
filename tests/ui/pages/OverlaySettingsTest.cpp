// The overlay's settings page as text, and what its buttons do.
#include "ui/pages/OverlaySettings.h"

#include <algorithm>

#include "ui/Notices.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/HitTargets.h"

namespace zv {
namespace {

using fake::TheWindows;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class OverlaySettings : public Notices {
protected:
    OverlaySettings() {
        Ui().overlayPage = 3;
        Ui().overlayState.pages = DrawOverlaySettings;
        TheWindows().keyNames = {{88, u"X"}, {121, u"F10"}, {82, u"R"}, {83, u"S"}};
        Ui().hotkeyRegistered = {true, true, true, true};
    }

    static std::vector<std::string> Render() {
        fake::ResetCanvas();
        const Owned<Canvas> canvas = MakeCanvas(10, 10);
        RenderUi(*canvas, Ui().overlayState);
        return fake::Drawn(*canvas);
    }
    static const HitTarget* Target(std::int32_t id) {
        const auto& targets = Ui().overlayState.targets;
        const auto found =
            std::find_if(targets.begin(), targets.end(), [id](const HitTarget& target) { return target.id == id; });
        return found == targets.end() ? nullptr : &*found;
    }
};

TEST_F(OverlaySettings, HaveAPanelAndATitle) {
    const std::vector<std::string> lines = Render();
    EXPECT_THAT(lines, Contains("fill 150,70,870,540 22,21,27"));
    EXPECT_THAT(lines, Contains("text 300,79,700,115 17/600 centred 241,242,250 \"Settings\""));
    EXPECT_THAT(lines, Contains("text 320,126,700,159 17/600 centred 151,119,255 \"Shortcuts\""));
}

TEST_F(OverlaySettings, BackShowsTheTilesAndKeepsTheSection) {
    Ui().settingsSection = 2;
    Render();
    ASSERT_NE(Target(970), nullptr);
    EXPECT_EQ(Target(970)->box, (Rectangle{163, 80, 250, 113}));
    EXPECT_THAT(fake::Drawings(), Contains("text 163,80,250,113 15/400 centred 241,242,250 \"< Back\""));
    ActivateTarget(Ui().overlayState, 970);
    EXPECT_EQ(Ui().overlayPage, 0);
    EXPECT_EQ(Ui().settingsSection, 2);
}

TEST_F(OverlaySettings, EachShortcutHasItsRow) {
    const std::vector<std::string> lines = Render();
    for (const char* line : {
             "text 173,177,400,208 15/400 241,242,250 \"Open / close overlay\"",
             "round 429,177,835,211 corner 12 37,40,54",
             "text 429,177,835,211 17/600 centred 241,242,250 \"Alt + X\"",
             "text 173,244,400,275 15/400 241,242,250 \"Save instant replay\"",
             "text 429,244,835,278 17/600 centred 241,242,250 \"Alt + F10\"",
             "text 173,311,400,342 15/400 241,242,250 \"Start / stop recording\"",
             "text 429,311,835,345 17/600 centred 241,242,250 \"Ctrl + Alt + R\"",
             "text 173,378,400,409 15/400 241,242,250 \"Screenshot\"",
             "text 429,378,835,412 17/600 centred 241,242,250 \"Ctrl + Alt + S\"",
         }) {
        EXPECT_THAT(lines, Contains(line));
    }
    EXPECT_EQ(Target(1000)->box, (Rectangle{429, 177, 835, 211}));
    EXPECT_EQ(Target(1001)->box, (Rectangle{429, 244, 835, 278}));
    EXPECT_EQ(Target(1002)->box, (Rectangle{429, 311, 835, 345}));
    EXPECT_EQ(Target(1003)->box, (Rectangle{429, 378, 835, 412}));
}

TEST_F(OverlaySettings, ARowOpensTheEditorForItsAction) {
    for (int index = 0; index < 4; ++index) {
        Render();
        ActivateTarget(Ui().overlayState, 1000 + index);
        EXPECT_NE(fake::FindWindowOf(u"ZVShortcutEditor315"), nullptr);
        EXPECT_EQ(Ui().shortcutEditor.index, index);
    }
}

TEST_F(OverlaySettings, OnlyAnUnregisteredShortcutIsMarkedBusy) {
    EXPECT_THAT(Render(), Not(Contains(HasSubstr("Shortcut busy"))));
    const std::array<const char*, 4> boxes = {"429,212,835,234", "429,279,835,301", "429,346,835,368",
                                              "429,413,835,435"};
    for (std::size_t busy = 0; busy < boxes.size(); ++busy) {
        Ui().hotkeyRegistered = {true, true, true, true};
        Ui().hotkeyRegistered[busy] = false;
        const std::vector<std::string> lines = Render();
        EXPECT_THAT(lines, Contains(HasSubstr("Shortcut busy")).Times(1));
        EXPECT_THAT(lines, Contains("text " + std::string(boxes[busy]) +
                                    " 15/400 151,119,255 \"Shortcut busy - choose a different combination\""));
    }
}

TEST_F(OverlaySettings, TheFootExplainsAClick) {
    EXPECT_THAT(Render(), Contains("text 173,461,835,497 15/400 158,164,187 "
                                   "\"Click a shortcut to change it. Other apps keep their shortcuts.\""));
}

TEST_F(OverlaySettings, TheNoteAndTheTitleUseTheThemesColour) {
    Drawing().accentColor = Rgb(255, 97, 192);
    Ui().hotkeyRegistered[0] = false;
    const std::vector<std::string> lines = Render();
    EXPECT_THAT(lines, Contains("text 320,126,700,159 17/600 centred 255,97,192 \"Shortcuts\""));
    EXPECT_THAT(lines, Contains("text 429,212,835,234 15/400 255,97,192 "
                                "\"Shortcut busy - choose a different combination\""));
}

TEST_F(OverlaySettings, AChangedShortcutIsShownInItsRow) {
    OpenShortcutEditor(1);
    TheWindows().heldModifiers = keyModifier::shift;
    ShortcutEditorProc(*Ui().shortcutEditor.window, message::systemKeyDown, 121, 0);
    EXPECT_THAT(Render(), Contains("text 429,244,835,278 17/600 centred 241,242,250 \"Shift + F10\""));
}

TEST_F(OverlaySettings, EverySectionShowsTheShortcuts) {
    for (const std::int32_t section : {-1, 0, 2, 8, 9}) {
        Ui().settingsSection = section;
        EXPECT_THAT(Render(), Contains("text 320,126,700,159 17/600 centred 151,119,255 \"Shortcuts\""));
        EXPECT_EQ(Ui().overlayState.targets.size(), 5U);
    }
}

}  // namespace
}  // namespace zv
