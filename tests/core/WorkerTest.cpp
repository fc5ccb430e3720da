#include "core/Worker.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "fake/Event.h"
#include "support/Eventually.h"

namespace zv {
namespace {

using support::Eventually;

class WorkerTest : public testing::Test {
protected:
    WorkerTest() { fake::ResetEvents(); }
    ~WorkerTest() override {
        worker.Stop();
        EXPECT_EQ(fake::LiveEvents(), 0);
    }

    static WorkerOptions Options() {
        WorkerOptions options;
        options.readyMs = 7000;
        options.noEvents = u"No events";
        options.noThread = u"No thread";
        options.timedOut = u"Timed out";
        options.exception = u"Exception";
        return options;
    }
    void WaitForStop() { WaitAny({&worker.StopEvent()}, waitForever); }

    std::atomic<bool> running{false};
    Worker worker{running};
};

TEST_F(WorkerTest, StartReturnsOnceTheThreadIsReady) {
    EXPECT_TRUE(worker.Start(Options(), [this] {
        worker.ReportReady();
        WaitForStop();
    }));
    EXPECT_TRUE(running);
    EXPECT_EQ(fake::RequestedTimeouts(), std::vector<std::uint32_t>{7000});
    worker.Stop();
    EXPECT_FALSE(running);
    EXPECT_EQ(worker.Error(), u"");
}

TEST_F(WorkerTest, AThreadThatEndsBeforeItIsReadyEndsTheStart) {
    EXPECT_FALSE(worker.Start(Options(), [this] { worker.Fail(u"Reason", ResultOf(0x80070005U)); }));
    EXPECT_EQ(worker.Error(), u"Reason (0x80070005)");
    EXPECT_FALSE(running);
    EXPECT_FALSE(worker.Start(Options(), [] {}));
    EXPECT_EQ(worker.Error(), u"") << "the start has not timed out";
}

TEST_F(WorkerTest, AStartThatTakesTooLongHasItsSentence) {
    fake::ShortenWaits(20);
    EXPECT_FALSE(worker.Start(Options(), [this] { WaitForStop(); }));
    EXPECT_EQ(worker.Error(), u"Timed out (0x80004005)");
    WorkerOptions silent = Options();
    silent.timedOut = {};
    EXPECT_FALSE(worker.Start(std::move(silent), [this] { WaitForStop(); }));
    EXPECT_EQ(worker.Error(), u"");
}

TEST_F(WorkerTest, WithoutEventsThereIsNoThread) {
    fake::RefuseEvents(true);
    bool ran = false;
    EXPECT_FALSE(worker.Start(Options(), [&ran] { ran = true; }));
    worker.Stop();
    EXPECT_FALSE(ran);
    EXPECT_EQ(worker.Error(), u"No events (0x800705AA)");
}

TEST_F(WorkerTest, AnExceptionIsAFailure) {
    std::atomic<bool> started{false};
    ASSERT_TRUE(worker.Start(Options(), [&] {
        worker.ReportReady();
        EXPECT_TRUE(Eventually([&] { return started.load(); }));
        throw std::runtime_error("not shown");
    }));
    started = true;
    EXPECT_TRUE(worker.EndsWithin(60000));
    EXPECT_FALSE(running);
    EXPECT_EQ(worker.Error(), u"Exception");
}

TEST_F(WorkerTest, TheFirstFailureStays) {
    EXPECT_FALSE(worker.Start(Options(), [this] {
        worker.Fail(u"First", resultGenericFailure);
        throw std::runtime_error("not shown");
    }));
    EXPECT_EQ(worker.Error(), u"First (0x80004005)");
}

TEST_F(WorkerTest, AFailureAfterAStopRequestHasNoSentence) {
    ASSERT_TRUE(worker.Start(Options(), [this] {
        worker.ReportReady();
        WaitForStop();
        worker.Fail(u"Late", resultGenericFailure);
    }));
    worker.Stop();
    EXPECT_EQ(worker.Error(), u"");
}

TEST_F(WorkerTest, ANewStartClearsTheError) {
    EXPECT_FALSE(worker.Start(Options(), [this] { worker.Fail(u"Old", resultGenericFailure); }));
    EXPECT_TRUE(worker.Start(Options(), [this] { worker.ReportReady(); }));
    EXPECT_EQ(worker.Error(), u"");
}

TEST_F(WorkerTest, EndsWithinReturnsFalseWhileTheThreadRuns) {
    EXPECT_TRUE(worker.EndsWithin(0));
    std::atomic<bool> leave{false};
    ASSERT_TRUE(worker.Start(Options(), [&] {
        worker.ReportReady();
        EXPECT_TRUE(Eventually([&] { return leave.load(); }));
    }));
    worker.RequestStop();
    EXPECT_TRUE(worker.StopRequested());
    EXPECT_FALSE(worker.EndsWithin(0));
    leave = true;
    EXPECT_TRUE(worker.EndsWithin(60000));
}

}  // namespace
}  // namespace zv
