#include "ui/kit/FutureSlot.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "fake/Allocations.h"

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

TEST(FutureSlot, HandsARunningJobOver) {
    FutureSlot<int> slot;
    slot.Start([] { return 7; }, 0);
    std::future<int> job = slot.Release();
    EXPECT_FALSE(slot.IsBusy());
    EXPECT_EQ(job.get(), 7);
}

TEST(FutureSlot, AnExceptionOfWhateverTypeIsTheFailedResult) {
    FutureSlot<std::string> slot;
    slot.Start([]() -> std::string { throw std::runtime_error("disk"); }, "failed");
    EXPECT_EQ(slot.Take(), "failed");
    slot.Start([]() -> std::string { throw 5; }, "failed");
    EXPECT_EQ(slot.Take(), "failed");
}

/// A body that cannot be brought to its worker, as when there is no thread to be had.
struct Unmovable {
    int* movesLeft;
    explicit Unmovable(int* moves) : movesLeft(moves) {}
    Unmovable(const Unmovable& other) : movesLeft(other.movesLeft) { Count(); }
    void Count() const {
        if (--*movesLeft < 0) {
            throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
        }
    }
    std::string operator()() const { return "ran"; }
};

TEST(FutureSlot, AWorkerThatCannotBeMadeIsTheFailedResult) {
    int moves = 1;  // into the slot's hands; the next one is the worker's
    FutureSlot<std::string> slot;
    slot.Start(Unmovable(&moves), "failed");
    EXPECT_LT(moves, 0);
    EXPECT_TRUE(slot.IsFinished());
    EXPECT_EQ(slot.Take(), "failed");
}

TEST(FutureSlot, WhereverMemoryRunsOutItsJobEndsWithTheFailedResult) {
    const std::string failed = "a text that is too long to go without memory of its own";
    int starved = 0;
    for (bool ran = false; !ran && starved < 1000; starved += ran ? 0 : 1) {
        FutureSlot<std::string> slot;
        std::string prepared = failed;
        fake::RefuseAllocationsHereFrom(static_cast<std::uint64_t>(starved) + 1);
        slot.Start([] { return std::string("ran"); }, std::move(prepared));
        EXPECT_TRUE(slot.IsBusy());
        slot.Wait();
        EXPECT_TRUE(slot.IsFinished());
        const std::string result = slot.Take();
        fake::RefuseAllocationsHereFrom(0);
        ran = result == "ran";
        EXPECT_TRUE(ran || result == failed) << result;
        EXPECT_FALSE(slot.IsBusy());
    }
    EXPECT_GT(starved, 0);
    EXPECT_LT(starved, 1000);
}

TEST(FutureSlot, AWorkerWithoutMemoryStillHasItsFailedResult) {
    FutureSlot<std::string> slot;
    std::promise<void> go;
    slot.Start(
        [ready = go.get_future()]() mutable {
            ready.wait();
            return std::string(1000, 'x');
        },
        "failed");
    fake::RefuseAllocationsElsewhereFrom(1);
    go.set_value();
    slot.Wait();
    fake::RefuseAllocationsElsewhereFrom(0);
    EXPECT_EQ(slot.Take(), "failed");
}

}  // namespace
}  // namespace zv
