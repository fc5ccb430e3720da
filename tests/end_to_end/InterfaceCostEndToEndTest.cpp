// What the interface costs, and whom it never keeps waiting: answers while a job hangs, silence while nothing is shown,
// and nothing kept of a thousand openings of the overlay. Figures are printed; what is asserted holds on any machine.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
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
using Clock = std::chrono::steady_clock;

double MsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// As fast as the server answers.
bool SpinUntil(const std::function<bool()>& condition) {
    const Clock::time_point begin = Clock::now();
    while (!condition()) {
        if (MsSince(begin) > 60000) {
            return false;
        }
    }
    return true;
}

struct Times {
    double median = 0;
    double worst = 0;
};
Times CallChecker(std::vector<double> milliseconds) {
    std::sort(milliseconds.begin(), milliseconds.end());
    return {milliseconds[milliseconds.size() / 2], milliseconds.back()};
}

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
/// Seconds of all its threads so far.
double CpuSeconds(pid_t process) {
    const std::string text = ReadBytes("/proc/" + std::to_string(process) + "/stat");
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int i = 0; i < 11; ++i) {
        fields >> skipped;
    }
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

class InterfaceCost : public testing::Test {
protected:
    TemporaryFolder folder_{"zorvel-cost"};
    PrivateDisplay display_{"1280x900"};
    InterfaceUser user_{display_.Name()};
};

TEST_F(InterfaceCost, TheWindowsAnswerWhileAJobHangs) {
    const fs::path script = folder_.Path() / "hanging";
    const std::string hang = "sleep 30." + std::to_string(getpid());
    WriteBytes(script, "#!/bin/sh\nexec " + hang + "\n");
    chmod(script.c_str(), 0700);
    ProgramRun run({.display = display_.Name(), .variables = {{"ZV_FFMPEG", script.string()}}, .background = false});
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    ASSERT_TRUE(Eventually([&] { return !ProcessesWith(hang).empty(); })) << "the job waits for its child";
    ASSERT_TRUE(user_.WaitColor(mainWindowName, 100, 130, color::buttonSelected));

    // What counts is answered before the job has said anything.
    std::vector<double> hovers;
    std::vector<double> openings;
    for (int i = 0; i < 15; ++i) {
        for (int page = 1; page <= 4; ++page) {  // the button under the pointer lights up
            const Point at = user_.ScreenPointOf(mainWindowName, 25, 122 + 57 * page + 10);
            const Clock::time_point begin = Clock::now();
            user_.MovePointer(at.x, at.y);
            ASSERT_TRUE(SpinUntil([&] { return user_.PixelAt(at.x, at.y) == ScreenColor(color::buttonHovered); }));
            hovers.push_back(MsSince(begin));
        }
        const Clock::time_point begin = Clock::now();
        user_.PressOverlayKey();
        ASSERT_TRUE(SpinUntil([&] { return user_.Shows(overlayName); }));
        const Point header = user_.ScreenPointOf(overlayName, 500, 44);
        ASSERT_TRUE(SpinUntil([&] { return user_.PixelAt(header.x, header.y) == 0; }));
        const double opening = MsSince(begin);
        user_.PressOverlayKey();
        ASSERT_TRUE(SpinUntil([&] { return !user_.Shows(overlayName); }));
        if (!run.Activity().empty()) {
            break;
        }
        openings.push_back(opening);
    }
    ASSERT_GE(openings.size(), 1U) << "nothing was shown before the job had ended";
    const Times hover = CallChecker(hovers);
    const Times opening = CallChecker(openings);
    std::printf("while a job hangs: hover %.1f ms median, %.1f worst; overlay %.1f ms median, %.1f worst of %zu\n",
                hover.median, hover.worst, opening.median, opening.worst, openings.size());
    EXPECT_LT(hover.median, 500);
    EXPECT_LT(opening.median, 1000);
    run.Process().Send(SIGKILL);
    run.Process().WaitExit();
}

TEST_F(InterfaceCost, HiddenWindowsAreNotPaintedAndCostNothing) {
    ProgramRun run({.display = display_.Name(), .settings = {{"instantReplay", "0"}}});
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    std::this_thread::sleep_for(std::chrono::seconds(1));
    RequestWatch watch(display_.Name(), user_.WindowOf(mainWindowName));
    const double before = CpuSeconds(run.Process().Pid());
    std::this_thread::sleep_for(std::chrono::seconds(8));
    const double spent = CpuSeconds(run.Process().Pid()) - before;
    int requests = 0;
    for (const auto& [code, count] : watch.Requests()) {
        requests += count;
    }
    EXPECT_GT(requests, 8) << "the tick asks who is in front: nothing was heard of the program";
    EXPECT_EQ(watch.Paintings(), 0);
    std::printf("idle: %.1f %% of a core, %.1f requests a second\n", spent / 8 * 100, requests / 8.0);
    EXPECT_LT(spent, 8 * 0.03);
    // The watch hears paintings when there are any.
    ASSERT_TRUE(user_.OpenOverlay());
    EXPECT_TRUE(Eventually([&] { return watch.Paintings() > 0; }));
    EXPECT_EQ(run.End(), 0);
}

TEST(OverlayOpenings, AThousandOfThemLeaveNothingBehind) {
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
            EXPECT_TRUE(SpinUntil([&] { return user.IsViewable(overlay); }));
            EXPECT_TRUE(SpinUntil([&] { return user.PixelAt(header.x, header.y) == 0; }));
            user.Tap(x);
            EXPECT_TRUE(SpinUntil([&] { return !user.IsViewable(overlay); }));
        }
        user.Release(user.CodeOf(XK_Alt_L));
    };
    open(100);
    const std::size_t files = OpenFiles(program);
    const long resident = Resident(program);
    const long serverResident = Resident(display.Server().Pid());
    const std::uint32_t resources = ResourcesOf(user.Get(), overlay);
    EXPECT_GT(resources, 4U);
    const Clock::time_point begin = Clock::now();
    open(1000);
    std::printf(
        "1000 openings in %.1f s: %zu to %zu files, %u to %u resources, %ld to %ld KiB, server %ld to %ld KiB\n",
        MsSince(begin) / 1000, files, OpenFiles(program), resources, ResourcesOf(user.Get(), overlay), resident,
        Resident(program), serverResident, Resident(display.Server().Pid()));
    EXPECT_LE(OpenFiles(program), files);
    EXPECT_LE(ResourcesOf(user.Get(), overlay), resources);
    EXPECT_LT(Resident(program), resident + 4096);
    EXPECT_LT(Resident(display.Server().Pid()), serverResident + 8192);
    EXPECT_EQ(run.End(), 0);
}

}  // namespace
}  // namespace zv
