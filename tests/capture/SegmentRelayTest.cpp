// The relay over a pipe whose outcomes are planned.
#include "capture/SegmentRelay.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "SegmentRing.h"
#include "fake/BytePipe.h"
#include "fake/Calls.h"
#include "fake/Event.h"
#include "support/Eventually.h"

namespace zv {

static void PrintTo(WriteEnd end, std::ostream* out) {
    *out << (end == WriteEnd::TimedOut ? "TimedOut" : end == WriteEnd::Failed ? "Failed" : "Stopped");
}
static void PrintTo(PipeConnect connect, std::ostream* out) {
    *out << (connect == PipeConnect::TimedOut ? "TimedOut" : "Failed");
}

namespace {

using support::Eventually;

using fake::CountOf;
using fake::ThePipe;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class Relay : public testing::Test {
protected:
    Relay() {
        fake::ResetCalls();
        fake::ResetPipe();
        fake::ResetEvents();
    }
    ~Relay() override {
        relay.Stop();
        EXPECT_EQ(fake::LiveEvents(), 0);
        fake::ResetCalls();
    }

    void AddSegments(int count) {
        for (int number = 0; number < count; ++number) {
            ring.Add("<" + std::to_string(added++) + ">");
        }
        ring.Publish(60);
    }
    static auto Polls() {
        const std::vector<std::uint32_t> asked = fake::RequestedTimeouts();
        return std::count(asked.begin(), asked.end(), 25U);
    }
    /// Waits until the relay has read the playlist two more times and sent all new segments.
    static void WaitForPolls() {
        const auto end = Polls() + 3;
        EXPECT_TRUE(Eventually([end] { return Polls() >= end; }));
    }
    /// Stops on another thread, and sets `goOn` once the stop has been requested.
    void StopBefore(std::atomic<bool>& goOn) {
        const int signals = fake::Signals();
        std::thread stopping([this] { relay.Stop(); });
        EXPECT_TRUE(Eventually([signals] { return fake::Signals() > signals; }));
        goOn = true;
        stopping.join();
    }
    bool ThreadHasEnded() const {
        return Eventually([] { return CountOf("~BytePipe") > 0; });
    }
    static bool Sent(int writes) {
        return Eventually([writes] { return CountOf("BeginWrite") >= writes; });
    }
    /// All bytes that the reader received. Called when the relay has finished sending.
    static std::string Stream() {
        std::string stream;
        for (const auto& block : ThePipe().received) {
            stream.append(reinterpret_cast<const char*>(block.data()), block.size());
        }
        return stream;
    }

    SegmentRing ring;
    SegmentRelay relay;
    int added = 0;
};

TEST_F(Relay, MakesItsPipeWithTheBufferAndAUniqueName) {
    ASSERT_TRUE(relay.Start(ring.Folder()));
    EXPECT_TRUE(relay.running);
    EXPECT_EQ(ThePipe().options.bufferBytes, 0x100000U);
    EXPECT_FALSE(ThePipe().options.firstInstanceOnly);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_EQ(ThePipe().names.size(), 2U);
    EXPECT_EQ(ThePipe().names[1], relay.PipeName());
    const TextView prefix = u"pipe:ZVSegments-4711-";
    ASSERT_TRUE(ThePipe().names[0].starts_with(prefix));
    const int first = std::stoi(Narrow(TextView(ThePipe().names[0]).substr(prefix.size())));
    EXPECT_EQ(ThePipe().names[1], Text(prefix) + Decimal(first + 1));
}

TEST_F(Relay, DoesNotStartWithoutAPipe) {
    fake::FailCall("MakeBytePipe", 1, resultGenericFailure);
    EXPECT_FALSE(relay.Start(ring.Folder()));
    EXPECT_FALSE(relay.running);
}

TEST_F(Relay, DoesNotStartWithoutAWrite) {
    ThePipe().writeRefusedByHandles = true;
    EXPECT_FALSE(relay.Start(ring.Folder()));
    EXPECT_FALSE(relay.running);
    relay.Stop();
    EXPECT_EQ(ThePipe().livePipes, 0);
}

TEST_F(Relay, SendsASingleSegment) {
    AddSegments(1);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Sent(1));
    WaitForPolls();
    relay.Stop();
    EXPECT_EQ(Stream(), "<0>");
}

TEST_F(Relay, SendsBothOfTwoSegments) {
    AddSegments(2);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Sent(2));
    WaitForPolls();
    relay.Stop();
    EXPECT_EQ(Stream(), "<0><1>");
}

TEST_F(Relay, SendsTheLastTwoOfTenAndThenEveryNewOneOnce) {
    AddSegments(10);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Sent(2));
    WaitForPolls();
    AddSegments(1);
    ASSERT_TRUE(Sent(3));
    WaitForPolls();
    AddSegments(3);
    ASSERT_TRUE(Sent(6));
    WaitForPolls();
    relay.Stop();
    EXPECT_EQ(Stream(), "<8><9><10><11><12><13>");
}

TEST_F(Relay, WaitsForThePlaylistToAppear) {
    ASSERT_TRUE(relay.Start(ring.Folder()));
    WaitForPolls();
    EXPECT_TRUE(relay.running);
    AddSegments(1);
    ASSERT_TRUE(Sent(1));
    relay.Stop();
    EXPECT_EQ(Stream(), "<0>");
}

TEST_F(Relay, KeepsWatchingARemovedFolder) {
    AddSegments(1);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Sent(1));
    std::filesystem::remove_all(ToPath(ring.Folder()));
    WaitForPolls();
    EXPECT_TRUE(relay.running);
    EXPECT_EQ(CountOf("~BytePipe"), 0);
}

TEST_F(Relay, MovesBlocksOf256KiB) {
    ring.Add(std::string(0x40000 * 2 + 5, 'x'));
    ring.Publish(60);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Sent(3));
    relay.Stop();
    std::vector<std::size_t> sizes;
    for (const auto& block : ThePipe().received) {
        sizes.push_back(block.size());
    }
    EXPECT_THAT(sizes, ElementsAre(0x40000U, 0x40000U, 5U));
}

TEST_F(Relay, AnEmptySegmentCountsAsSent) {
    ring.Add("");
    ring.Publish(60);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    WaitForPolls();
    ring.Add("next");
    ring.Publish(60);
    ASSERT_TRUE(Sent(1));
    EXPECT_TRUE(relay.running);
}

TEST_F(Relay, ADeletedSegmentEndsIt) {
    AddSegments(2);
    ring.Delete(1);
    relay.Start(ring.Folder());  // may already have seen the end
    ASSERT_TRUE(ThreadHasEnded());
    EXPECT_FALSE(relay.running);
    relay.Stop();
    EXPECT_EQ(Stream(), "<0>");
}

TEST_F(Relay, AClosedReaderEndsIt) {
    ThePipe().begin = [](int nth) { return nth == 2 ? WriteBegin::Refused : WriteBegin::Done; };
    AddSegments(3);
    relay.Start(ring.Folder());  // may already have seen the end
    ASSERT_TRUE(ThreadHasEnded());
    EXPECT_FALSE(relay.running);
    EXPECT_EQ(CountOf("BeginWrite"), 2);
}

TEST_F(Relay, EveryPendingWriteHasFiveSeconds) {
    ThePipe().begin = [](int) { return WriteBegin::Pending; };
    AddSegments(2);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Eventually([] { return CountOf("FinishWrite") >= 2; }));
    relay.Stop();
    EXPECT_THAT(ThePipe().finishTimeouts, ElementsAre(5000U, 5000U));
    EXPECT_EQ(ThePipe().mostInFlight, 1);
    EXPECT_FALSE(ThePipe().touchedInFlight);
    EXPECT_FALSE(ThePipe().pipeClosedBeforeWrites);
}

TEST_F(Relay, AnExceptionInItsThreadEndsIt) {
    fake::ThrowInCall("BeginWrite", 2);
    AddSegments(3);
    relay.Start(ring.Folder());  // may already have seen the end
    ASSERT_TRUE(ThreadHasEnded());
    EXPECT_FALSE(relay.running);
    relay.Stop();
    EXPECT_EQ(ThePipe().received.size(), 1U);
    EXPECT_EQ(ThePipe().liveWrites, 0);
}

TEST_F(Relay, AnExceptionBeforeThePipeExistsIsAFailedStart) {
    fake::ThrowInCall("MakePipeWrite", 1);
    EXPECT_FALSE(relay.Start(ring.Folder()));
    EXPECT_EQ(fake::RequestedTimeouts(), std::vector<std::uint32_t>{5000});
    relay.Stop();
    EXPECT_EQ(ThePipe().livePipes, 0);
}

class RelayFault : public Relay, public testing::WithParamInterface<WriteEnd> {};

TEST_P(RelayFault, OfAPendingWriteEndsIt) {
    ThePipe().begin = [](int) { return WriteBegin::Pending; };
    ThePipe().finish = [](int) { return GetParam(); };
    AddSegments(2);
    relay.Start(ring.Folder());  // may already have seen the end
    ASSERT_TRUE(ThreadHasEnded());
    EXPECT_FALSE(relay.running);
    EXPECT_EQ(CountOf("BeginWrite"), 1);
}

INSTANTIATE_TEST_SUITE_P(Outcomes, RelayFault,
                         testing::Values(WriteEnd::TimedOut, WriteEnd::Failed, WriteEnd::Stopped));

class RelayWithoutReader : public Relay, public testing::WithParamInterface<PipeConnect> {};

TEST_P(RelayWithoutReader, EndsButStillCountsAsRunning) {
    ThePipe().connect = GetParam();
    AddSegments(2);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(ThreadHasEnded());
    EXPECT_TRUE(relay.running);
    relay.Stop();
    EXPECT_THAT(ThePipe().connectTimeouts, ElementsAre(5000U));
    EXPECT_THAT(ThePipe().received, IsEmpty());
    EXPECT_EQ(ThePipe().livePipes, 0);
    EXPECT_EQ(ThePipe().liveWrites, 0);
}

INSTANTIATE_TEST_SUITE_P(Outcomes, RelayWithoutReader, testing::Values(PipeConnect::TimedOut, PipeConnect::Failed));

TEST_F(Relay, AStopEndsTheWaitBetweenTwoPollsWithoutAnAbort) {
    AddSegments(2);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Sent(2));
    fake::HoldWaits(25);
    const auto polls = Polls();
    ASSERT_TRUE(Eventually([polls] { return Polls() > polls; }));
    relay.Stop();
    EXPECT_EQ(fake::Signals(), 4) << "ready, stop twice, ended, and no abort";
    EXPECT_FALSE(relay.running);
    EXPECT_EQ(ThePipe().livePipes, 0);
}

TEST_F(Relay, AStopBeforeTheReaderConnectsSendsNothing) {
    AddSegments(2);
    std::atomic<bool> connecting{false};
    std::atomic<bool> goOn{false};
    fake::TheCalls().hook = [&](const char* name, int) {
        if (std::string(name) == "ConnectPipe") {
            connecting = true;
            Eventually([&] { return goOn.load(); });
        }
    };
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Eventually([&] { return connecting.load(); }));
    StopBefore(goOn);
    EXPECT_FALSE(relay.running);
    EXPECT_THAT(ThePipe().received, IsEmpty());
}

TEST_F(Relay, AStopFinishesTheCurrentSegment) {
    ring.Add(std::string(0x40000 * 3, 'x'));
    ring.Publish(60);
    std::atomic<bool> writing{false};
    std::atomic<bool> goOn{false};
    ThePipe().begin = [&](int) {
        writing = true;
        Eventually([&] { return goOn.load(); });
        return WriteBegin::Done;
    };
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Eventually([&] { return writing.load(); }));
    StopBefore(goOn);
    EXPECT_EQ(Stream().size(), 0x40000U * 3);
    EXPECT_FALSE(relay.running);
}

TEST_F(Relay, ABlockedWriteIsCancelledSixSecondsAfterTheStop) {
    ThePipe().begin = [](int) { return WriteBegin::Pending; };
    ThePipe().writesAwaitStop = true;
    ThePipe().finish = [](int) { return WriteEnd::Stopped; };
    AddSegments(2);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Eventually([] { return CountOf("FinishWrite") >= 1; }));
    fake::ShortenWaits(50);
    relay.Stop();
    EXPECT_EQ(fake::RequestedTimeouts().back(), 6000U);
    EXPECT_EQ(fake::Signals(), 5) << "ready, stop twice, abort, ended";
    EXPECT_FALSE(relay.running);
    EXPECT_EQ(CountOf("FinishWrite"), 1);
    EXPECT_EQ(ThePipe().livePipes, 0);
}

TEST_F(Relay, CanBeStoppedInAnyState) {
    relay.Stop();
    ASSERT_TRUE(relay.Start(ring.Folder()));
    relay.Stop();
    relay.Stop();
    ASSERT_TRUE(relay.Start(ring.Folder()));
}

TEST_F(Relay, ASecondStreamStartsTwoSegmentsBackAgain) {
    AddSegments(4);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Sent(2));
    ASSERT_TRUE(relay.Start(ring.Folder()));
    ASSERT_TRUE(Sent(4));
    relay.Stop();
    EXPECT_EQ(Stream(), "<2><3><2><3>");
}

}  // namespace
}  // namespace zv
