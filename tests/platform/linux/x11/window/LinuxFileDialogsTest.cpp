// The dialogs of the desktop's programs for files: scripts of their names on the search path, and no session bus. The
// portal's dialog is tested with the real program.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "platform/FileDialogs.h"
#include "platform/Files.h"
#include "platform/Session.h"
#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

constexpr std::uintptr_t tickTimer = 7;

std::function<void()> onTick;

std::intptr_t DialogOwnerProcedure(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (code == message::timer && wParam == tickTimer && onTick) {
        onTick();
        return 0;
    }
    return DefaultProcedure(window, code, wParam, lParam);
}

class LinuxFileDialogs : public testing::Test {
protected:
    LinuxFileDialogs() {
        onTick = nullptr;
        WindowOptions options;
        options.procedure = DialogOwnerProcedure;
        options.width = 100;
        options.height = 100;
        EXPECT_TRUE(OpenSession());
        window_ = MakeWindow(options);
    }
    /// Installs a program that writes its arguments, one a line, into NAME.seen before `commands`.
    void Install(const std::string& name, const std::string& commands) const {
        const auto script = bin_.Path() / name;
        support::WriteBytes(script, "#!/bin/sh\nPATH=/usr/bin:/bin\ncd '" + bin_.Path().string() +
                                        "'\nprintf '%s\\n' \"$@\" >" + name + ".seen\necho warning >&2\n" + commands +
                                        "\n");
        chmod(script.c_str(), 0700);
    }
    std::string SeenBy(const std::string& name) const { return support::ReadBytes(bin_.Path() / (name + ".seen")); }
    std::optional<Text> Folder() const { return ChooseFolder(*window_); }
    std::optional<Text> File() const { return ChooseFile(*window_, u"Pictures (*.png)", u"*.png"); }

    support::TemporaryFolder bin_;
    support::PrivateDisplay display_{"800x600"};
    support::ScopedVariable displayName_{"DISPLAY", display_.Name()};
    support::ScopedVariable bus_{"DBUS_SESSION_BUS_ADDRESS", ""};
    support::ScopedVariable runtime_{"XDG_RUNTIME_DIR", ""};
    support::ScopedVariable path_{"PATH", bin_.Path().string()};
    Owned<AppWindow> window_;
};

TEST_F(LinuxFileDialogs, AreThoseOfTheFirstInstalledProgram) {
    EXPECT_EQ(Folder(), std::nullopt);
    EXPECT_EQ(File(), std::nullopt);
    Install("kdialog", "echo '/a b'");
    EXPECT_EQ(Folder(), u"/a b");
    EXPECT_EQ(SeenBy("kdialog"), "--title\nChoose a folder\n--getexistingdirectory\n.\n");
    EXPECT_EQ(File(), u"/a b");
    EXPECT_EQ(SeenBy("kdialog"), "--title\nChoose a file\n--getopenfilename\n.\n*.png|Pictures (*.png)\n");
    Install("zenity", "printf '/c\\n\\377\\n'");
    EXPECT_EQ(Folder(), Text(u"/c\n") + u'\xDCFF') << "only the last line feed is not part of the name";
    EXPECT_EQ(SeenBy("zenity"), "--file-selection\n--title=Choose a folder\n--directory\n");
    EXPECT_EQ(File(), Text(u"/c\n") + u'\xDCFF');
    EXPECT_EQ(SeenBy("zenity"), "--file-selection\n--title=Choose a file\n--file-filter=Pictures (*.png) | *.png\n");
}

TEST_F(LinuxFileDialogs, ReturnNothingIfTheProgramFailsOrPrintsNothing) {
    for (const char* commands : {"echo /path; exit 1", "exit 0", "echo", "echo /path; kill -9 $$"}) {
        Install("zenity", commands);
        EXPECT_EQ(Folder(), std::nullopt) << commands;
    }
}

TEST_F(LinuxFileDialogs, DispatchMessagesAndOpenNoSecondDialog) {
    Install("zenity", "while [ ! -e go ]; do sleep 0.01; done; echo /path");
    int ticks = 0;
    onTick = [&] {
        EXPECT_EQ(Folder(), std::nullopt);
        if (++ticks == 5) {
            support::WriteBytes(bin_.Path() / "go", "");
        }
    };
    StartTimer(*window_, tickTimer, 5);
    EXPECT_EQ(Folder(), u"/path");
    EXPECT_GE(ticks, 5);
    onTick = nullptr;
    EXPECT_EQ(Folder(), u"/path") << "a later dialog opens";
}

TEST_F(LinuxFileDialogs, EndWithTheMessageLoop) {
    Install("zenity", "sleep 1000");
    onTick = [] { PostQuit(3); };
    StartTimer(*window_, tickTimer, 5);
    EXPECT_EQ(Folder(), std::nullopt);
    EXPECT_EQ(RunMessageLoop(), 3);
    EXPECT_TRUE(support::Eventually([&] { return support::ProcessesWith((bin_.Path() / "zenity").string()).empty(); }));
}

}  // namespace
}  // namespace zv
