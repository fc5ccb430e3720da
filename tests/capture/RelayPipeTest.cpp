// The relay over the platform's own pipe, with a reader that opens it by name as FFmpeg does.
#include <gmock/gmock.h>

#include <atomic>
#include <random>

#include "SegmentRing.h"
#include "capture/SegmentRelay.h"
#include "support/Eventually.h"

namespace zv {
namespace {

using support::Eventually;

/// Reads the pipe on a thread of its own. It reads while its gate is open.
class PipeReader {
public:
    explicit PipeReader(SegmentRelay& relay)
        : relay_(relay), thread_([this, name = relay.PipeName()] { Read(name); }) {}
    ~PipeReader() {
        relay_.Stop();  // otherwise the reader would wait forever
        gateOpen = true;
        thread_.join();
    }

    std::string Finish() {
        gateOpen = true;
        Eventually([this] { return ended.load(); });
        return content_;
    }

    std::atomic<bool> gateOpen{true};
    std::atomic<bool> ended{false};
    std::atomic<std::size_t> bytes{0};

private:
    void Read(const Text& name) {
        std::ifstream pipe(ToPath(name), std::ios::binary);
        std::string block(0x10000, '\0');
        while (pipe) {
            Eventually([this] { return gateOpen.load(); });
            pipe.read(block.data(), static_cast<std::streamsize>(block.size()));
            content_.append(block.data(), static_cast<std::size_t>(pipe.gcount()));
            bytes = content_.size();
        }
        ended = true;
    }

    SegmentRelay& relay_;
    std::string content_;
    std::thread thread_;
};

class RelayPipe : public testing::Test {
protected:
    /// Unique content with all byte values.
    std::string RandomContent(std::size_t size) {
        std::string content(size, '\0');
        for (char& byte : content) {
            byte = static_cast<char>(random() & 0xFF);
        }
        return content;
    }

    SegmentRing ring;
    SegmentRelay relay;
    std::minstd_rand random{20261121};
};

TEST_F(RelayPipe, TwentyMinutesOfARingArriveByteForByte) {
    constexpr int seconds = 1200;
    constexpr int perStep = 8;  // as many as may appear between two polls without leaving the ring
    std::string expected;
    ring.Add(RandomContent(1000));  // three segments from before the start, of which the first is not sent
    for (int number = 0; number < 2; ++number) {
        expected += RandomContent(50000);
        ring.Add(expected.substr(expected.size() - 50000));
    }
    ring.Publish(15);
    ASSERT_TRUE(relay.Start(ring.Folder(), {60000, 60000, 1}));
    PipeReader reader(relay);
    ASSERT_TRUE(Eventually([&] { return reader.bytes > 0; }));  // the playlist has been read
    for (int second = 0; second < seconds; second += perStep) {
        for (int number = 0; number < perStep; ++number) {
            const std::size_t size = number == 0 ? random() % 600000 : random() % 20000;
            const std::string content = RandomContent(size);
            ring.Add(content);
            expected += content;
        }
        ring.Publish(15);
        // The bytes that the reader has not counted yet are in the pipe or in the reader's block.
        ASSERT_TRUE(Eventually([&] { return reader.bytes + 0x10000 >= expected.size() || reader.ended; }));
    }
    ASSERT_TRUE(Eventually([&] { return reader.bytes + 0x10000 >= expected.size(); }));
    relay.Stop();
    const std::string stream = reader.Finish();
    EXPECT_EQ(stream.size(), expected.size());
    EXPECT_TRUE(stream == expected);
}

TEST_F(RelayPipe, AStopIsTheEndOfTheStreamForTheReader) {
    const std::string only = RandomContent(0x10000);  // one block of the reader
    ring.Add(only);
    ring.Publish(15);
    ASSERT_TRUE(relay.Start(ring.Folder()));
    PipeReader reader(relay);
    ASSERT_TRUE(Eventually([&] { return reader.bytes == only.size(); }));
    EXPECT_FALSE(reader.ended);
    relay.Stop();
    EXPECT_TRUE(reader.Finish() == only);
    EXPECT_FALSE(relay.running);
}

TEST_F(RelayPipe, AReaderThatStopsReadingEndsTheRelayAtTheWriteLimit) {
    ring.Add(RandomContent(0x400000));
    ring.Publish(15);
    ASSERT_TRUE(relay.Start(ring.Folder(), {60000, 1000, 1}));
    PipeReader reader(relay);
    ASSERT_TRUE(Eventually([&] { return reader.bytes > 0; }));
    reader.gateOpen = false;
    EXPECT_TRUE(Eventually([&] { return !relay.running; }));
    EXPECT_LT(reader.Finish().size(), 0x400000U);
}

TEST_F(RelayPipe, WithoutAReaderTheRelayEndsAtTheConnectLimitAndItsPipeDisappears) {
    ASSERT_TRUE(relay.Start(ring.Folder(), {100, 100, 1}));
    // Opening the pipe connects a reader, so the test must not open it before the limit has passed.
    std::this_thread::sleep_for(std::chrono::seconds(2));
    EXPECT_TRUE(relay.running);  // the reader's failure is reported instead
    EXPECT_TRUE(Eventually([&] { return !std::ifstream(ToPath(relay.PipeName())).is_open(); }));
}

}  // namespace
}  // namespace zv
