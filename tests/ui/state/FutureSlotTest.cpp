#include "ui/state/FutureSlot.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace zv {
namespace {

TEST(FutureSlot, StartsEmpty) {
    const FutureSlot<int> slot;
    EXPECT_FALSE(slot.IsBusy());
    EXPECT_FALSE(slot.IsFinished());
    slot.Wait();
}

TEST(FutureSlot, IsBusyUntilItsResultIsCollected) {
    FutureSlot<std::string> slot;
    std::promise<void> go;
    slot.Start([ready = go.get_future()]() mutable { return ready.wait(), std::string("done"); }, "failed");
    EXPECT_TRUE(slot.IsBusy());
    EXPECT_FALSE(slot.IsFinished());
    go.set_value();
    slot.Wait();
    EXPECT_TRUE(slot.IsBusy());
    EXPECT_TRUE(slot.IsFinished());
    EXPECT_EQ(slot.Take(), "done");
    EXPECT_FALSE(slot.IsBusy());
    EXPECT_FALSE(slot.IsFinished());
}

TEST(FutureSlot, ReleasesARunningJob) {
    FutureSlot<int> slot;
    slot.Start([] { return 7; }, 0);
    std::future<int> job = slot.Release();
    EXPECT_FALSE(slot.IsBusy());
    EXPECT_EQ(job.get(), 7);
}

TEST(FutureSlot, AnExceptionOfAnyTypeGivesTheFailedResult) {
    FutureSlot<std::string> slot;
    slot.Start([]() -> std::string { throw std::runtime_error("disk"); }, "failed");
    EXPECT_EQ(slot.Take(), "failed");
    slot.Start([]() -> std::string { throw 5; }, "failed");
    EXPECT_EQ(slot.Take(), "failed");
}

}  // namespace
}  // namespace zv
