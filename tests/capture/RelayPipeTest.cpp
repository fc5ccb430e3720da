// The relay over the platform's own pipe, with a reader that opens it by name as FFmpeg does.
#include <gmock/gmock.h>

#include <random>

#include "SegmentRing.h"
#include "capture/SegmentRelay.h"
#include "support/Eventually.h"
#include "support/PipeReader.h"

namespace zv {
namespace {

using support::Eventually;

/// Reads the relay's pipe, and stops the relay at the end so that the reader ends too.
class RelayReader : public support::PipeReader {
public:
    explicit RelayReader(SegmentRelay& relay) : PipeReader(relay.PipeName(), 0x10000), relay_(relay) {}
    ~RelayReader() { relay_.Stop(); }

    /// Everything up to the end of the stream.
    const std::string& Finish() {
        Pause(false);
        EXPECT_TRUE(Eventually([this] { return Ended(); }));
        return Content();
    }

private:
    SegmentRelay& relay_;
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
    RelayReader reader(relay);
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() > 0; }));  // the playlist has been read
    for (int second = 0; second < seconds; second += perStep) {
        for (int number = 0; number < perStep; ++number) {
            const std::size_t size = number == 0 ? random() % 600000 : random() % 20000;
            const std::string content = RandomContent(size);
            ring.Add(content);
            expected += content;
        }
        ring.Publish(15);
        // What the reader still misses is in the pipe or in the reader's block.
        ASSERT_TRUE(Eventually([&] { return reader.Bytes() + 0x10000 >= expected.size() || reader.Ended(); }));
    }
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() + 0x10000 >= expected.size(); }));
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
    RelayReader reader(relay);
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() == only.size(); }));
    EXPECT_FALSE(reader.Ended());
    relay.Stop();
    EXPECT_TRUE(reader.Finish() == only);
    EXPECT_FALSE(relay.running);
}

TEST_F(RelayPipe, AReaderThatStopsReadingEndsTheRelayAtTheWriteLimit) {
    ring.Add(RandomContent(0x400000));
    ring.Publish(15);
    ASSERT_TRUE(relay.Start(ring.Folder(), {60000, 1000, 1}));
    RelayReader reader(relay);
    ASSERT_TRUE(Eventually([&] { return reader.Bytes() > 0; }));
    reader.Pause(true);
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
