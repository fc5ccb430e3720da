// Waits that the system refuses.
#include <gtest/gtest.h>

#include "platform/Clock.h"
#include "platform/linux/posix/EventHandle.h"

namespace zv {
namespace {

/// An event whose descriptor is not open.
struct RefusedEvent {
    RefusedEvent() { event.descriptor = Descriptor(closed); }
    ~RefusedEvent() { event.descriptor.Release(); }
    static constexpr int closed = 0x7FFF0000;
    Event event;
};

TEST(LinuxFailedWait, IsNoTimeOut) {
    RefusedEvent refused;
    EXPECT_EQ(WaitAny({&refused.event}, 5), waitFailed);
    EXPECT_EQ(WaitAny({&refused.event}, 0), waitFailed);
    EXPECT_EQ(WaitAny({&refused.event}, waitForever), waitFailed);
    EXPECT_FALSE(IsSignalled(refused.event));
}

TEST(LinuxFailedWait, EndsALoopOfPreciseWaits) {
    RefusedEvent refused;
    const Owned<PreciseTimer> timer = MakePreciseTimer();
    ASSERT_TRUE(timer);
    EXPECT_EQ(WaitPrecisely(*timer, refused.event, 10'000'000), PreciseWait::Stopped);
}

}  // namespace
}  // namespace zv
