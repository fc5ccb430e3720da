// Waits that the system refuses.
#include <gtest/gtest.h>

#include "platform/Clock.h"
#include "platform/windows/EventHandle.h"

namespace zv {
namespace {

TEST(FailedWait, IsNoTimeOut) {
    Event refused{Handle()};
    EXPECT_EQ(WaitAny({&refused}, 5), waitFailed);
    EXPECT_EQ(WaitAny({&refused}, 0), waitFailed);
    EXPECT_EQ(WaitAny({&refused}, waitForever), waitFailed);
    EXPECT_FALSE(IsSignalled(refused));
}

TEST(FailedWait, EndsALoopOfPreciseWaits) {
    Event refused{Handle()};
    const Owned<PreciseTimer> timer = MakePreciseTimer();
    ASSERT_TRUE(timer);
    EXPECT_EQ(WaitPrecisely(*timer, refused, 1000), PreciseWait::Stopped);
}

}  // namespace
}  // namespace zv
