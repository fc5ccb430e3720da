// A random walk over the whole interface of the real program, which is built with the address and the
// undefined-behaviour sanitizer: clicks and keys in all windows. At the end the program is alive, its settings are
// valid, its replay runs, and nothing is leaked.
//
// ZV_WALK_SEEDS names the seeds, "1 2 3"; ZV_WALK_STEPS is the number of clicks and keys for each.
#include <cstdio>
#include <cstdlib>
#include <random>
#include <sstream>
#include <thread>

#include "core/SettingsValidation.h"
#include "support/InterfaceUser.h"
#include "support/ScriptCommand.h"
#include "support/SoundServer.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

std::string VariableOr(const char* name, const std::string& usual) {
    const char* value = std::getenv(name);
    return value == nullptr || *value == '\0' ? usual : value;
}

/// A search path with FFmpeg, a browser that opens nothing and a dialog that the user cancels.
void MakeSearchPath(const fs::path& folder) {
    fs::create_directories(folder);
    for (const char* name : {"sh", "ffmpeg", "mpv"}) {
        const std::string found = OutputOf({"sh", "-c", std::string("command -v ") + name + " || true"});
        if (!found.empty()) {
            fs::create_symlink(found.substr(0, found.find('\n')), folder / name);
        }
    }
    for (const auto& [name, code] : {std::pair{"xdg-open", "0"}, {"zenity", "1"}}) {
        WriteBytes(folder / name, std::string("#!/bin/sh\nexit ") + code + "\n");
        fs::permissions(folder / name, fs::perms::owner_all);
    }
}

/// The user who clicks and types at random.
class Walker {
public:
    Walker(const InterfaceUser& user, std::uint32_t seed) : user_(user), random_(seed) {}

    void Step() {
        const int kind = Below(100);
        if (kind < 62) {
            const Point at = Target();
            user_.ClickAt(at.x, at.y, Below(40) == 0 ? 3 : 1);
        } else if (kind < 66) {
            const Point at = Target();
            user_.ClickAt(at.x, at.y, static_cast<std::uint8_t>(4 + Below(2)));  // the wheel
        } else if (kind < 70) {
            Drag();
        } else if (kind < 88) {
            PressKey();
        } else if (kind < 97) {
            PressShortcut();
        } else {
            const Point at = Target();
            user_.MovePointer(at.x, at.y);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(15));  // for most steps to be painted
    }

private:
    int Below(int limit) { return static_cast<int>(random_() % static_cast<std::uint32_t>(limit)); }

    /// Opens other pages of the overlay: gear, "< Back" of settings and gallery, "All settings", a card of the
    /// settings, a capture, the picture in full.
    Point Door() {
        const Point doors[] = {{832, 190},
                               {206, 96},
                               {69, 91},
                               {235, 142},
                               {272 + 226 * Below(3), 224 + 122 * Below(3)},
                               {272 + 226 * Below(3), 224 + 122 * Below(3)},
                               {374 + 237 * Below(3), 204 + 178 * Below(2)},
                               {790, 120},
                               {887, 520}};
        const Point door = doors[Below(static_cast<int>(std::size(doors)))];
        return user_.ScreenPointOf(overlayName, door.x, door.y);
    }
    /// A point in a window that is shown, mostly where a page has its controls.
    Point Target() {
        const int kind = Below(8);
        if (user_.Shows(overlayName) && kind != 0) {
            return kind < 3 ? Door() : user_.ScreenPointOf(overlayName, 150 + Below(720), 70 + Below(470));
        }
        if (kind == 1 && user_.Shows(mainWindowName)) {
            return user_.ScreenPointOf(mainWindowName, 25, 132 + 57 * Below(5));  // the sidebar
        }
        std::vector<xcb_window_t> shown = user_.TopLevels();
        std::erase_if(shown, [&](xcb_window_t window) { return !user_.IsViewable(window); });
        const Rectangle at =
            shown.empty() ? Rectangle{0, 0, 1280, 900}
                          : user_.BoundsOf(shown[static_cast<std::size_t>(Below(static_cast<int>(shown.size())))]);
        return {at.left + Below(std::max(at.Width(), 1)), at.top + Below(std::max(at.Height(), 1))};
    }
    void Drag() {
        const Point from = Target();
        const Point to = Target();
        user_.MovePointer(from.x, from.y);
        user_.PressButton(1);
        user_.MovePointer(to.x, to.y);
        user_.ReleaseButton(1);
    }
    void PressKey() {
        constexpr xcb_keysym_t keys[] = {XK_Tab,    XK_Tab, XK_Return, XK_Return, XK_space, XK_Escape, XK_Left,
                                         XK_Right,  XK_Up,  XK_Down,   XK_Home,   XK_End,   XK_Next,   XK_Prior,
                                         XK_Delete, XK_F5,  XK_F10,    XK_a,      XK_k,     XK_9};
        constexpr xcb_keysym_t modifiers[] = {XK_Shift_L, XK_Control_L, XK_Alt_L};
        const xcb_keysym_t key = keys[Below(static_cast<int>(std::size(keys)))];
        const int modifier = Below(9);
        if (modifier < 3) {
            user_.TapKey({modifiers[modifier]}, key);
        } else {
            user_.TapKey(key);
        }
    }
    void PressShortcut() {
        const int shortcut = Below(8);
        if (shortcut == 0) {
            user_.TapKey({XK_Alt_L}, XK_F10);
        } else if (shortcut == 1) {
            user_.TapKey({XK_Control_L, XK_Alt_L}, XK_r);
        } else if (shortcut == 2) {
            user_.TapKey({XK_Control_L, XK_Alt_L}, XK_s);
        } else if (!user_.Shows(overlayName) || shortcut == 3) {
            user_.PressOverlayKey();
        }
    }

    const InterfaceUser& user_;
    std::mt19937 random_;
};

struct RandomWalk : testing::Test {
    ScriptOutcome Run(const Arguments& arguments) const {
        Arguments command{ProgramPath()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return ScriptCommand(command, display.Name()).Wait();
    }

    /// Closes the main window, unless that ends the program. The command is answered after all clicks before it.
    void CloseMainWindow(const ProgramRun& run) const {
        Run({"--overlay"});
        if (SettingOf(run, "minimizeToTray") == "1") {
            user.CloseByBox(user.WindowOf(mainWindowName));
        }
    }
    void EndRecording() const {
        const bool ended = Eventually([&] {
            const std::string said = Run({"--toggle-recording"}).errors;
            return !said.starts_with("Recording started") && !said.starts_with("Please wait") &&
                   !said.starts_with("Replay is still warming up");
        });
        EXPECT_TRUE(ended);
    }
    void ClickSlowly(int x, int y) const {
        user.Click(overlayName, x, y);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    /// Opens the overlay at the section of the recording settings, from whatever page it shows.
    void OpenRecordingSettings() const {
        for (int i = 0; i < 3; ++i) {
            user.TapKey(XK_Escape);  // of a menu or an editor
        }
        if (!user.Shows(overlayName)) {
            Run({"--overlay"});
        }
        ASSERT_TRUE(user.WaitShown(overlayName));
        ClickSlowly(100, 520);  // "< Gallery" of the viewer, if that fills the overlay
        ClickSlowly(69, 91);    // "< Gallery" of the viewer, or "< Back" of the gallery
        ClickSlowly(69, 91);
        ClickSlowly(206, 96);   // "< Back" of the settings
        ClickSlowly(832, 190);  // the settings
        ClickSlowly(235, 142);  // "All settings"
        ClickSlowly(272, 224);  // "Open" of the first card
    }
    /// Clicks until the setting has the value. A click is refused while a capture job runs.
    bool Set(const ProgramRun& run, const std::string& key, const std::string& value, int x, int y) const {
        return Eventually([&] {
            if (SettingOf(run, key) == value) {
                return true;
            }
            OpenRecordingSettings();
            ClickSlowly(x, y);
            return Eventually([&] { return SettingOf(run, key) == value; }, 3000);
        });
    }

    /// Restoring the defaults leaves no monitor selected, and nothing is captured until the user selects one.
    bool ChooseMonitor(const ProgramRun& run) const {
        return Eventually([&] {
            if (!SettingOf(run, "monitorDevice").empty()) {
                return true;
            }
            OpenRecordingSettings();
            ClickSlowly(335, 338);  // the monitor's button, which opens a menu
            user.TapKey(XK_Down);
            user.TapKey(XK_Return);
            return Eventually([&] { return !SettingOf(run, "monitorDevice").empty(); }, 3000);
        });
    }

    void WalkWith(std::uint32_t seed, int steps);

    PrivateDisplay display{"1280x900"};
    InterfaceUser user{display.Name()};
    SoundServer sound{Microphone::Present};
};

/// The settings that the next start would repair, except the theme, whose names are always repaired.
std::vector<Text> InvalidSettings(const ProgramRun& run) {
    const ScopedVariable data("LOCALAPPDATA", (run.Home() / "data").string());
    Settings settings;
    LoadSettings(settings);
    std::vector<Text> keys;
    for (const SettingsIssue& issue : ValidateSettings(settings)) {
        if (issue.key != u"theme") {
            keys.push_back(issue.key);
        }
    }
    return keys;
}

void RandomWalk::WalkWith(std::uint32_t seed, int steps) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    TemporaryFolder folder("zorvel-walk");
    MakeSearchPath(folder.Path() / "bin");
    WriteBytes(folder.Path() / "known-leaks", "leak:libfontconfig\n");
    ProgramRun run({.display = display.Name(),
                    .settings = {{"gameAudioEnabled", "1"}, {"micEnabled", "1"}},
                    .variables = {{"PATH", (folder.Path() / "bin").string()},
                                  {"https_proxy", "http://127.0.0.1:9"},  // nothing leaves the machine
                                  {"LSAN_OPTIONS", "suppressions=" + (folder.Path() / "known-leaks").string()},
                                  {"UBSAN_OPTIONS", "print_stacktrace=1"}},
                    .program = ZV_WALKED_PROGRAM,
                    .background = false});
    ASSERT_TRUE(user.WaitShown(mainWindowName));
    ASSERT_TRUE(run.WaitForBuffer(1));
    Walker walker(user, seed);
    for (int step = 0; step < steps; ++step) {
        if (step % 25 == 0) {
            ASSERT_TRUE(run.Process().Alive()) << "it ended before step " << step;
            if (!user.Shows(mainWindowName) && !user.Shows(overlayName)) {
                Run({});  // brings the main window forward
            }
        }
        walker.Step();
        if (step % 100 == 99) {
            CloseMainWindow(run);
        }
        if (step % 200 == 199) {
            EndRecording();
            EXPECT_TRUE(ChooseMonitor(run));
        }
    }
    const std::size_t rows = run.Activity().size();
    std::printf("seed %u: %d steps, %zu rows of activity, %zu captures\n", seed, steps, rows,
                FilesBelow(run.CaptureRoot()).size());
    EndRecording();
    EXPECT_TRUE(ChooseMonitor(run));
    EXPECT_TRUE(Set(run, "fps", "30", 409, 240));
    EXPECT_TRUE(Set(run, "height", "1080", 428, 192));
    EXPECT_TRUE(Set(run, "instantReplay", "1", 729, 387));
    EXPECT_TRUE(run.WaitForBuffer(3)) << "the replay does not run";
    EXPECT_TRUE(Eventually([&] { return run.FfmpegChildren().size() == 1; }));
    EXPECT_EQ(run.End(120), 0) << "a leak or another finding of a sanitizer";
    EXPECT_EQ(run.Log().find("ERROR: "), std::string::npos);
    EXPECT_EQ(run.Log().find("runtime error: "), std::string::npos);
    EXPECT_TRUE(InvalidSettings(run).empty());
    EXPECT_GT(rows, static_cast<std::size_t>(steps) / 100) << "the walk did not reach the program";
    EXPECT_TRUE(run.Children().empty());
    EXPECT_TRUE(run.ReplayFolder().empty());
    EXPECT_TRUE(fs::is_empty(run.Home() / "runtime"));
}

TEST_F(RandomWalk, LeavesTheProgramAliveAndItsReplayRunning) {
    std::istringstream seeds(VariableOr("ZV_WALK_SEEDS", "1 2 3"));
    for (std::uint32_t seed = 0; seeds >> seed && !HasFailure();) {
        WalkWith(seed, std::stoi(VariableOr("ZV_WALK_STEPS", "1000")));
    }
}

}  // namespace
}  // namespace zv
