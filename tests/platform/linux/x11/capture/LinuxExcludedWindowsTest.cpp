// The bounds that a capture must mask: all bounds of a window, from before it has them until some time after.
#include "platform/linux/x11/capture/ExcludedWindows.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "platform/Clock.h"

namespace zv::x11 {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr Rectangle screen{0, 0, 1920, 1080};
constexpr Rectangle first{10, 20, 110, 220};
constexpr Rectangle second{200, 20, 300, 220};

class LinuxExcludedWindows : public testing::Test {
protected:
    ~LinuxExcludedWindows() override { ResetExcluded(); }
    static std::vector<Rectangle> Bounds(std::int64_t sinceNs, const Rectangle& area = screen) {
        const Damage bounds = BoundsSince(sinceNs, area);
        return {bounds.Rectangles().begin(), bounds.Rectangles().end()};
    }

    const xcb_window_t window_ = 7;
};

TEST_F(LinuxExcludedWindows, MaskNothingBeforeTheyAreShown) { EXPECT_THAT(Bounds(SteadyNs()), IsEmpty()); }

TEST_F(LinuxExcludedWindows, MaskTheirBoundsWhileShown) {
    RecordBounds(window_, first);
    EXPECT_THAT(Bounds(SteadyNs() + 100 * lingerNs), ElementsAre(first));
    RecordBounds(window_, first);
    EXPECT_THAT(Bounds(SteadyNs() + 100 * lingerNs), ElementsAre(first));
}

TEST_F(LinuxExcludedWindows, MaskTheOldBoundsForAWhileAfterAMove) {
    RecordBounds(window_, first);
    const std::int64_t beforeNs = SteadyNs();
    RecordBounds(window_, second);
    const std::int64_t afterNs = SteadyNs();
    EXPECT_THAT(Bounds(beforeNs + lingerNs), UnorderedElementsAre(first, second));
    EXPECT_THAT(Bounds(afterNs + lingerNs + 1), ElementsAre(second));
}

TEST_F(LinuxExcludedWindows, MaskTheirBoundsForAWhileAfterHiding) {
    RecordBounds(window_, first);
    const std::int64_t beforeNs = SteadyNs();
    RecordHidden(window_);
    const std::int64_t afterNs = SteadyNs();
    EXPECT_THAT(Bounds(beforeNs + lingerNs), ElementsAre(first));
    EXPECT_THAT(Bounds(afterNs + lingerNs + 1), IsEmpty());
}

TEST_F(LinuxExcludedWindows, MaskOnlyTheRequestedArea) {
    RecordBounds(window_, {-40, -30, 50, 60});
    EXPECT_THAT(Bounds(SteadyNs()), ElementsAre(Rectangle{0, 0, 50, 60}));
    EXPECT_THAT(Bounds(SteadyNs(), {20, 10, 30, 100}), ElementsAre(Rectangle{20, 10, 30, 60}));
    EXPECT_THAT(Bounds(SteadyNs(), {100, 100, 200, 200}), IsEmpty());
}

TEST_F(LinuxExcludedWindows, MaskMoreBoundsThanTheRecordsCanHold) {
    const std::int64_t beforeNs = SteadyNs();
    for (int at = 0; at < 500; at += 5) {
        RecordBounds(window_, {at, at, at + 20, at + 20});
    }
    const Damage bounds = BoundsSince(beforeNs, screen);
    for (int at = 0; at < 500; at += 5) {
        EXPECT_TRUE(bounds.Holds({at, at, at + 20, at + 20})) << at;
    }
}

TEST_F(LinuxExcludedWindows, StayRegisteredWhileHiddenUntilDestroyed) {
    RegisterExcluded(window_);
    RegisterExcluded(window_);
    RecordBounds(window_, first);
    RecordHidden(window_);
    EXPECT_TRUE(ListExcluded().Holds(window_));
    UnregisterExcluded(window_);
    EXPECT_EQ(ListExcluded().count, 0U);
}

TEST_F(LinuxExcludedWindows, AreMaskedAtEveryMomentOfAMove) {
    const auto boundsAt = [](int step) { return Rectangle{step % 100, 0, step % 100 + 20, 20}; };
    std::atomic<int> at = 0;
    std::atomic<bool> over = false;
    bool always = true;
    RecordBounds(window_, boundsAt(at));
    std::thread capture([&] {
        while (!over) {
            const std::int64_t sinceNs = SteadyNs();
            const Rectangle bounds = boundsAt(at);
            always = always && BoundsSince(sinceNs, screen).Holds(bounds);
        }
    });
    for (int step = 0; step < 20'000; ++step) {
        RecordBounds(window_, boundsAt(step));
        at = step;
    }
    over = true;
    capture.join();
    EXPECT_TRUE(always);
}

}  // namespace
}  // namespace zv::x11
