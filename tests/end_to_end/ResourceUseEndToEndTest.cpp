// What the interface uses: it responds while a job blocks, paints nothing that is hidden, and keeps nothing
// of a thousand openings of the overlay. bench/capture_cost measures the CPU.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>
#include <sstream>
#include <thread>

#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/InterfaceUser.h"
#include "support/PrivateDisplay.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/ServerWatch.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

std::size_t OpenFiles(pid_t process) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator("/proc/" + std::to_string(process) + "/fd"), {}));
}
/// Resident memory in KiB.
long Resident(pid_t process) {
    std::istringstream line(ReadBytes("/proc/" + std::to_string(process) + "/statm"));
    long total = 0;
    long resident = 0;
    line >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE) / 1024;
}
class ResourceUse : public testing::Test {
protected:
    TemporaryFolder folder_{"zorvel-resources"};
    PrivateDisplay display_{"1280x900"};
    InterfaceUser user_{display_.Name()};
};

TEST_F(ResourceUse, TheWindowsRespondWhileAJobBlocks) {
    const fs::path script = folder_.Path() / "hanging";
    const std::string hang = "sleep 30." + std::to_string(getpid());
    WriteBytes(script, "#!/bin/sh\nexec " + hang + "\n");
    chmod(script.c_str(), 0700);
    ProgramRun run({.display = display_.Name(), .variables = {{"ZV_FFMPEG", script.string()}}, .background = false});
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    ASSERT_TRUE(Eventually([&] { return !ProcessesWith(hang).empty(); })) << "no job waits for FFmpeg";
    for (int row = 1; row <= 4; ++row) {
        const Point button = user_.ScreenPointOf(mainWindowName, 25, 122 + 57 * row + 10);
        user_.MovePointer(button.x, button.y);
        EXPECT_TRUE(user_.WaitColor(mainWindowName, 25, 122 + 57 * row + 10, color::buttonHovered)) << row;
    }
    EXPECT_TRUE(user_.OpenOverlay());
    EXPECT_TRUE(run.Activity().empty()) << "the job ended first";
    run.Process().Send(SIGKILL);
    run.Process().WaitExit();
}

TEST_F(ResourceUse, HiddenWindowsAreNotPainted) {
    ProgramRun run({.display = display_.Name(), .settings = {{"instantReplay", "0"}}});
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    std::this_thread::sleep_for(std::chrono::seconds(1));
    RequestWatch watch(display_.Name(), user_.WindowOf(mainWindowName));
    std::this_thread::sleep_for(std::chrono::seconds(5));  // ten ticks of the timer
    EXPECT_EQ(watch.Paintings(), 0);
    // The watch reports paintings if there are any.
    ASSERT_TRUE(user_.OpenOverlay());
    EXPECT_TRUE(Eventually([&] { return watch.Paintings() > 0; }));
    EXPECT_EQ(run.End(), 0);
}

TEST(ResourceUseOfTheOverlay, AThousandOpeningsLeaveNothingBehind) {
    PrivateDisplay display("640x360");
    const InterfaceUser user(display.Name());
    ProgramRun run({.display = display.Name(), .settings = {{"instantReplay", "0"}}});
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    const pid_t program = run.Process().Pid();
    ASSERT_TRUE(user.OpenOverlay());
    const Point header = user.ScreenPointOf(overlayName, 500, 40);
    const xcb_window_t overlay = user.WindowOf(overlayName);
    ASSERT_TRUE(user.CloseOverlay());
    const xcb_keycode_t x = user.CodeOf(XK_x);
    const auto open = [&](int times) {
        user.Press(user.CodeOf(XK_Alt_L));
        for (int i = 0; i < times && !testing::Test::HasFailure(); ++i) {
            user.Tap(x);
            EXPECT_TRUE(Eventually([&] { return user.IsViewable(overlay); }));
            EXPECT_TRUE(Eventually([&] { return user.PixelAt(header.x, header.y) == 0; }));
            user.Tap(x);
            EXPECT_TRUE(Eventually([&] { return !user.IsViewable(overlay); }));
        }
        user.Release(user.CodeOf(XK_Alt_L));
    };
    open(100);
    const std::size_t files = OpenFiles(program);
    const long resident = Resident(program);
    const long serverResident = Resident(display.Server().Pid());
    const std::uint32_t resources = ResourcesOf(user.Get(), overlay);
    EXPECT_GT(resources, 4U);
    open(1000);
    EXPECT_LE(OpenFiles(program), files);
    EXPECT_LE(ResourcesOf(user.Get(), overlay), resources);
    EXPECT_LT(Resident(program), resident + 4096);
    EXPECT_LT(Resident(display.Server().Pid()), serverResident + 8192);
    EXPECT_EQ(run.End(), 0);
}

}  // namespace
}  // namespace zv
