#include "platform/BytePipe.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "support/Eventually.h"
#include "support/PlatformChild.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using support::ContentOf;
using support::Eventually;
using support::generousMs;
using support::PlatformChild;

/// Bytes without a short period. They differ for every seed.
std::vector<std::byte> Pattern(std::size_t size, std::uint32_t seed) {
    std::vector<std::byte> bytes(size);
    std::uint32_t state = seed * 2654435761U + 1;
    for (std::byte& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::byte>(state >> 24);
    }
    return bytes;
}

/// The reader's output about the bytes that it has read.
std::string ReportOf(const std::vector<std::vector<std::byte>>& parts) {
    std::size_t count = 0;
    unsigned long long sum = 0;
    for (const auto& part : parts) {
        count += part.size();
        for (const std::byte byte : part) {
            sum = sum * 31 + static_cast<unsigned char>(byte);
        }
    }
    return "opened\nread " + std::to_string(count) + " sum " + std::to_string(sum) + "\n";
}

class BytePipes : public testing::Test {
protected:
    BytePipes() {
        static std::atomic<std::uint32_t> counter{100};
        name_ = PipeName(u"ZVTest-", ++counter);
    }

    void Make(std::uint32_t bufferBytes) {
        PipeOptions options;
        options.bufferBytes = bufferBytes;
        ASSERT_EQ(MakeBytePipe(name_, options, pipe_), resultOk);
    }

    /// `what` tells the reader how much to read and what to do afterwards.
    void StartReader(const Text& what) {
        ASSERT_TRUE(SpawnChild(PlatformChild(u"read \"" + name_ + u"\" " + what, Log()), reader_));
    }

    void MakeConnected(std::uint32_t bufferBytes, const Text& what) {
        ASSERT_NO_FATAL_FAILURE(Make(bufferBytes));
        ASSERT_NO_FATAL_FAILURE(StartReader(what));
        ASSERT_EQ(ConnectPipe(*pipe_, *stop_, generousMs), PipeConnect::Connected);
    }

    std::filesystem::path Log() const { return folder_.Path() / "reader.log"; }

    /// Writes into a pipe whose reader does not read, until a write stays in flight.
    Owned<PipeWrite> PendingWrite(const std::vector<std::byte>& bytes) {
        for (int i = 0; i < 100; ++i) {
            Owned<PipeWrite> write = MakePipeWrite(*pipe_);
            const WriteBegin begun = BeginWrite(*write, bytes.data(), bytes.size());
            if (begun == WriteBegin::Pending) {
                return write;
            }
            EXPECT_EQ(begun, WriteBegin::Done);
        }
        ADD_FAILURE() << "the pipe has no bound";
        return nullptr;
    }

    /// Sends `frames` parts with three alternating slots, as the capture does, and compares what the reader received.
    void SendThreeAtATime(std::size_t size, std::size_t frames) {
        constexpr std::size_t slots = 3;
        std::vector<std::vector<std::byte>> parts;
        for (std::size_t i = 0; i < frames; ++i) {
            parts.push_back(Pattern(size, static_cast<std::uint32_t>(i)));
        }
        Owned<PipeWrite> writes[slots] = {MakePipeWrite(*pipe_), MakePipeWrite(*pipe_), MakePipeWrite(*pipe_)};
        bool pending[slots] = {};
        int everPending = 0;
        for (std::size_t i = 0; i < frames + slots; ++i) {
            const std::size_t slot = i % slots;
            if (pending[slot]) {
                ASSERT_EQ(FinishWrite(*writes[slot], *stop_, generousMs), WriteEnd::Done);
                pending[slot] = false;
            }
            if (i < frames) {
                const WriteBegin begun = BeginWrite(*writes[slot], parts[i].data(), parts[i].size());
                ASSERT_NE(begun, WriteBegin::Refused);
                pending[slot] = begun == WriteBegin::Pending;
                everPending += pending[slot] ? 1 : 0;
            }
        }
        EXPECT_GT(everPending, 0);
        for (Owned<PipeWrite>& write : writes) {
            write.reset();
        }
        pipe_.reset();
        ASSERT_TRUE(WaitForExit(*reader_.process, generousMs));
        EXPECT_EQ(ContentOf(Log()), ReportOf(parts));
    }

    support::TemporaryFolder folder_;
    Text name_;
    Owned<Event> stop_ = MakeEvent();
    Child reader_;
    Owned<BytePipe> pipe_;
};

TEST_F(BytePipes, TheNameConsistsOfPrefixStemProcessIdAndCounter) {
    const Text tail = u"ZVVideo-" + DecimalUnsigned(OwnProcessId()) + u"-1";
    const Text name = PipeName(u"ZVVideo-", 1);
    ASSERT_TRUE(name.ends_with(tail));
    const Text prefix = name.substr(0, name.size() - tail.size());
    EXPECT_TRUE(prefix.ends_with(pathSeparator));
    EXPECT_EQ(PipeName(u"ZVReelsAudio-", 4294967295U),
              prefix + u"ZVReelsAudio-" + DecimalUnsigned(OwnProcessId()) + u"-4294967295");
}

TEST_F(BytePipes, AllBytesArriveInOrderAndClosingEndsTheStream) {
    ASSERT_NO_FATAL_FAILURE(MakeConnected(0x100000, u"all exit"));
    std::vector<std::vector<std::byte>> parts;
    const Owned<PipeWrite> write = MakePipeWrite(*pipe_);
    ASSERT_TRUE(write);
    for (const std::size_t size : {1U, 188U, 4096U, 833333U, 3000000U, 7U}) {
        parts.push_back(Pattern(size, static_cast<std::uint32_t>(size)));
        const WriteBegin begun = BeginWrite(*write, parts.back().data(), size);
        ASSERT_NE(begun, WriteBegin::Refused);
        if (begun == WriteBegin::Pending) {
            ASSERT_EQ(FinishWrite(*write, *stop_, generousMs), WriteEnd::Done);
        }
    }
    pipe_.reset();
    ASSERT_TRUE(WaitForExit(*reader_.process, generousMs));
    EXPECT_EQ(ExitCode(*reader_.process), 0U);
    EXPECT_EQ(ContentOf(Log()), ReportOf(parts));
}

TEST_F(BytePipes, ThreeWritesInFlightArriveInTheOrderInWhichTheyWereBegun) {
    ASSERT_NO_FATAL_FAILURE(MakeConnected(65536, u"all exit"));
    SendThreeAtATime(200001, 60);
}

TEST_F(BytePipes, ManyShortWritesThroughASmallBufferKeepTheirOrder) {
    ASSERT_NO_FATAL_FAILURE(MakeConnected(4096, u"all exit"));
    SendThreeAtATime(2501, 6000);
}

TEST_F(BytePipes, ThePipeBuffersItsSizeWhileItsReaderDoesNotRead) {
    ASSERT_NO_FATAL_FAILURE(MakeConnected(0x100000, u"0 stall"));
    const std::vector<std::byte> bytes = Pattern(0x100000, 1);
    const Owned<PipeWrite> write = MakePipeWrite(*pipe_);
    EXPECT_EQ(BeginWrite(*write, bytes.data(), bytes.size()), WriteBegin::Done);
    const Owned<PipeWrite> more = MakePipeWrite(*pipe_);
    EXPECT_EQ(BeginWrite(*more, bytes.data(), bytes.size()), WriteBegin::Pending);
}

TEST_F(BytePipes, ConnectTimesOutWithoutAReader) {
    ASSERT_NO_FATAL_FAILURE(Make(0x100000));
    const std::int64_t begin = SteadyNs();
    EXPECT_EQ(ConnectPipe(*pipe_, *stop_, 60), PipeConnect::TimedOut);
    EXPECT_GE(SteadyNs() - begin, 40'000'000);
    EXPECT_EQ(ConnectPipe(*pipe_, *stop_, 0), PipeConnect::TimedOut);
}

TEST_F(BytePipes, AReaderCanConnectAfterATimeout) {
    ASSERT_NO_FATAL_FAILURE(Make(0x100000));
    EXPECT_EQ(ConnectPipe(*pipe_, *stop_, 10), PipeConnect::TimedOut);
    ASSERT_NO_FATAL_FAILURE(StartReader(u"all exit"));
    EXPECT_EQ(ConnectPipe(*pipe_, *stop_, generousMs), PipeConnect::Connected);
}

TEST_F(BytePipes, AStopEndsTheWaitForAReader) {
    ASSERT_NO_FATAL_FAILURE(Make(0x100000));
    std::thread stopper([this] {
        SleepMs(20);
        Signal(*stop_);
    });
    EXPECT_EQ(ConnectPipe(*pipe_, *stop_, generousMs), PipeConnect::Stopped);
    stopper.join();
    EXPECT_EQ(ConnectPipe(*pipe_, *stop_, generousMs), PipeConnect::Stopped);
}

TEST_F(BytePipes, AWriteTimesOutIfTheReaderStopsReading) {
    ASSERT_NO_FATAL_FAILURE(MakeConnected(65536, u"1000 stall"));
    const std::vector<std::byte> bytes = Pattern(300000, 2);
    const Owned<PipeWrite> write = PendingWrite(bytes);
    ASSERT_TRUE(write);
    const std::int64_t begin = SteadyNs();
    EXPECT_EQ(FinishWrite(*write, *stop_, 60), WriteEnd::TimedOut);
    EXPECT_GE(SteadyNs() - begin, 40'000'000);
}

TEST_F(BytePipes, AStopEndsTheWaitForAWrite) {
    ASSERT_NO_FATAL_FAILURE(MakeConnected(65536, u"0 stall"));
    const std::vector<std::byte> bytes = Pattern(300000, 3);
    const Owned<PipeWrite> write = PendingWrite(bytes);
    ASSERT_TRUE(write);
    std::thread stopper([this] {
        SleepMs(20);
        Signal(*stop_);
    });
    EXPECT_EQ(FinishWrite(*write, *stop_, generousMs), WriteEnd::Stopped);
    stopper.join();
    const Owned<PipeWrite> next = PendingWrite(bytes);
    ASSERT_TRUE(next);
    EXPECT_EQ(FinishWrite(*next, *stop_, generousMs), WriteEnd::Stopped);
}

TEST_F(BytePipes, AWriteInFlightFailsWhenTheReaderDies) {
    ASSERT_NO_FATAL_FAILURE(MakeConnected(65536, u"0 stall"));
    const std::vector<std::byte> bytes = Pattern(300000, 4);
    const Owned<PipeWrite> write = PendingWrite(bytes);
    const Owned<PipeWrite> behind = PendingWrite(bytes);
    ASSERT_TRUE(write && behind);
    std::thread killer([this] {
        SleepMs(20);
        TerminateJob(*reader_.job);
    });
    EXPECT_EQ(FinishWrite(*write, *stop_, generousMs), WriteEnd::Failed);
    EXPECT_EQ(FinishWrite(*behind, *stop_, generousMs), WriteEnd::Failed);
    killer.join();
}

TEST_F(BytePipes, AWriteIsRefusedAfterTheReaderHasClosedThePipe) {
    ASSERT_NO_FATAL_FAILURE(MakeConnected(0x100000, u"0 exit"));
    ASSERT_TRUE(WaitForExit(*reader_.process, generousMs));
    const std::vector<std::byte> bytes = Pattern(1000, 5);
    const Owned<PipeWrite> write = MakePipeWrite(*pipe_);
    EXPECT_EQ(BeginWrite(*write, bytes.data(), bytes.size()), WriteBegin::Refused);
    EXPECT_EQ(BeginWrite(*write, bytes.data(), bytes.size()), WriteBegin::Refused);
}

TEST_F(BytePipes, ACancelledWriteReleasesItsBytes) {
    ASSERT_NO_FATAL_FAILURE(MakeConnected(65536, u"0 stall"));
    std::vector<std::byte> bytes = Pattern(300000, 6);
    const Owned<PipeWrite> write = PendingWrite(bytes);
    ASSERT_TRUE(write);
    CancelWrite(*write);
    CancelWrite(*write);
    std::vector<std::byte>().swap(bytes);
    const std::vector<std::byte> others = Pattern(300000, 7);
    EXPECT_EQ(BeginWrite(*write, others.data(), others.size()), WriteBegin::Pending);
}

TEST_F(BytePipes, ClosingBeforeTheReaderIsConnectedEndsTheReader) {
    for (int i = 0; i < 10; ++i) {
        ASSERT_NO_FATAL_FAILURE(Make(0x100000));
        ASSERT_NO_FATAL_FAILURE(StartReader(u"all exit"));
        SleepMs(static_cast<std::uint32_t>(i));
        pipe_.reset();
        ASSERT_TRUE(WaitForExit(*reader_.process, generousMs)) << "the reader hangs";
        const std::string report = ContentOf(Log());
        EXPECT_TRUE(report == "cannot open\n" || report == "opened\nread 0 sum 0\n") << report;
    }
}

TEST_F(BytePipes, AReaderOfAClosedPipeCannotOpenIt) {
    ASSERT_NO_FATAL_FAILURE(Make(0x100000));
    pipe_.reset();
    ASSERT_NO_FATAL_FAILURE(StartReader(u"all exit"));
    ASSERT_TRUE(WaitForExit(*reader_.process, generousMs));
    EXPECT_EQ(ContentOf(Log()), "cannot open\n");
}

TEST_F(BytePipes, AnExistingNameIsRefusedWithACode) {
    PipeOptions options;
    options.firstInstanceOnly = true;
    ASSERT_EQ(MakeBytePipe(name_, options, pipe_), resultOk);
    Owned<BytePipe> second;
    EXPECT_TRUE(Failed(MakeBytePipe(name_, options, second)));
    EXPECT_FALSE(second);
    pipe_.reset();
    EXPECT_EQ(MakeBytePipe(name_, options, second), resultOk);
}

}  // namespace
}  // namespace zv
