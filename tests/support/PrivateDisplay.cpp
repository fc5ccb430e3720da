#include "support/PrivateDisplay.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/FileBytes.h"

namespace zv::support {

namespace fs = std::filesystem;

namespace {

// The configuration of the server. xrandr selects the size later.
constexpr char dummyConfiguration[] = R"(
Section "ServerFlags"
    Option "AutoAddDevices" "false"
    Option "AutoAddGPU" "false"
EndSection
Section "Device"
    Identifier "card"
    Driver "dummy"
    VideoRam 256000
EndSection
Section "Monitor"
    Identifier "monitor"
    HorizSync 5.0 - 1000.0
    VertRefresh 5.0 - 200.0
EndSection
Section "Screen"
    Identifier "screen"
    Device "card"
    Monitor "monitor"
    DefaultDepth 24
    SubSection "Display"
        Depth 24
        Modes "1920x1080" "1280x1024" "1024x768"
        Virtual 3840 2160
    EndSubSection
EndSection
)";

Arguments ServerCommand(DisplayKind kind, const std::string& size, const fs::path& folder) {
    if (kind == DisplayKind::Plain) {
        return {"Xvfb", "-screen", "0", size + "x24"};
    }
    WriteBytes(folder / "xorg.conf", dummyConfiguration);
    return {"Xorg",
            "-config",
            (folder / "xorg.conf").string(),
            "-configdir",
            (folder / "no-more").string(),
            "-logfile",
            (folder / "xorg.log").string(),
            "-novtswitch",
            "-sharevts"};
}

}  // namespace

PrivateDisplay::PrivateDisplay(const std::string& size, DisplayKind kind) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    Arguments command = ServerCommand(kind, size, folder_.Path());
    for (const std::string& more : {name_, std::string("-displayfd"), std::to_string(ends[1]), std::string("-noreset"),
                                    std::string("-nolisten"), std::string("tcp")}) {
        command.push_back(more);
    }
    server_ = Spawned(command, {}, folder_.Path() / "server.log");
    close(ends[1]);
    // Read the whole line: a server that writes into a closed pipe dies.
    std::string digits;
    for (char unit = 0; read(ends[0], &unit, 1) == 1 && unit != '\n';) {
        digits += unit;
    }
    close(ends[0]);
    EXPECT_EQ(":" + digits, name_) << ReadBytes(folder_.Path() / "server.log");
    if (kind == DisplayKind::Changeable) {
        Change({"--output", "DUMMY0", "--mode", size});
    }
}

PrivateDisplay::~PrivateDisplay() {
    server_ = Spawned();
    ForgetDisplayNumber(number_);
}

void PrivateDisplay::Change(const Arguments& arguments) const {
    Arguments command{"env", "DISPLAY=" + name_, "xrandr"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    OutputOf(command, true);
}

void PressKey(const std::string& display, const std::string& combination) {
    OutputOf({"env", "DISPLAY=" + display, "xdotool", "key", combination});
}

}  // namespace zv::support
