// Which places a capture has to cover: every one that a window was about to be at, from before until a while after.
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

/// No place of one test counts in the next.
class LinuxExcludedWindows : public testing::Test {
protected:
    ~LinuxExcludedWindows() override {
        RecordHidden(window_);
        UnregisterExcluded(window_);
        while (!BoundsSince(SteadyNs(), screen).Empty()) {
            SleepMs(10);
        }
    }
    static std::vector<Rectangle> Places(std::int64_t sinceNs, const Rectangle& area = screen) {
        const Damage places = BoundsSince(sinceNs, area);
        return {places.Rectangles().begin(), places.Rectangles().end()};
    }

    const xcb_window_t window_ = 7;
};

TEST_F(LinuxExcludedWindows, NeverShownCoverNothing) { EXPECT_THAT(Places(SteadyNs()), IsEmpty()); }

TEST_F(LinuxExcludedWindows, CoverTheirPlaceForAsLongAsTheyAreThere) {
    RecordBounds(window_, first);
    EXPECT_THAT(Places(SteadyNs() + 100 * lingerNs), ElementsAre(first));
    RecordBounds(window_, first);
    EXPECT_THAT(Places(SteadyNs() + 100 * lingerNs), ElementsAre(first));
}

TEST_F(LinuxExcludedWindows, CoverThePlaceThatTheyLeftForAWhile) {
    RecordBounds(window_, first);
    const std::int64_t beforeNs = SteadyNs();
    RecordBounds(window_, second);
    const std::int64_t afterNs = SteadyNs();
    EXPECT_THAT(Places(beforeNs + lingerNs), UnorderedElementsAre(first, second));
    EXPECT_THAT(Places(afterNs + lingerNs + 1), ElementsAre(second));
}

TEST_F(LinuxExcludedWindows, CoverThePlaceWhereTheyWereHiddenForAWhile) {
    RecordBounds(window_, first);
    const std::int64_t beforeNs = SteadyNs();
    RecordHidden(window_);
    const std::int64_t afterNs = SteadyNs();
    EXPECT_THAT(Places(beforeNs + lingerNs), ElementsAre(first));
    EXPECT_THAT(Places(afterNs + lingerNs + 1), IsEmpty());
}

TEST_F(LinuxExcludedWindows, CoverNoMoreThanTheAreaThatIsAskedFor) {
    RecordBounds(window_, {-40, -30, 50, 60});
    EXPECT_THAT(Places(SteadyNs()), ElementsAre(Rectangle{0, 0, 50, 60}));
    EXPECT_THAT(Places(SteadyNs(), {20, 10, 30, 100}), ElementsAre(Rectangle{20, 10, 30, 60}));
    EXPECT_THAT(Places(SteadyNs(), {100, 100, 200, 200}), IsEmpty());
}

TEST_F(LinuxExcludedWindows, CoverAlsoMorePlacesThanThereIsRoomFor) {
    const std::int64_t beforeNs = SteadyNs();
    for (int at = 0; at < 500; at += 5) {
        RecordBounds(window_, {at, at, at + 20, at + 20});
    }
    const Damage places = BoundsSince(beforeNs, screen);
    for (int at = 0; at < 500; at += 5) {
        EXPECT_TRUE(places.Holds({at, at, at + 20, at + 20})) << at;
    }
}

TEST_F(LinuxExcludedWindows, AreKnownWhileTheyAreHiddenUntilTheyEnd) {
    RegisterExcluded(window_);
    RegisterExcluded(window_);
    RecordBounds(window_, first);
    RecordHidden(window_);
    EXPECT_TRUE(ListExcluded().Holds(window_));
    UnregisterExcluded(window_);
    EXPECT_EQ(ListExcluded().count, 0U);
}

TEST_F(LinuxExcludedWindows, AreCoveredAtEveryMomentOfAMove) {
    const auto placeOf = [](int step) { return Rectangle{step % 100, 0, step % 100 + 20, 20}; };
    std::atomic<int> at = 0;
    std::atomic<bool> over = false;
    bool always = true;
    RecordBounds(window_, placeOf(at));
    std::thread capture([&] {
        while (!over) {
            const std::int64_t sinceNs = SteadyNs();
            const Rectangle place = placeOf(at);
            always = always && BoundsSince(sinceNs, screen).Holds(place);
        }
    });
    for (int step = 0; step < 20'000; ++step) {
        RecordBounds(window_, placeOf(step));
        at = step;
    }
    over = true;
    capture.join();
    EXPECT_TRUE(always);
}

}  // namespace
}  // namespace zv::x11
