// The scripted sound of one device: a format, and packets of a tone with timestamps and flags.
//
// Rules of the script, in addition to those of CallChecker.h. DEVICE is "render" (the speakers), "capture" (the
// microphone) or "wave" (the microphone through the compatibility driver):
//   set DEVICE format RATE CHANNELS BITS TAG    TAG is "pcm", "float" or a number, each optionally followed by "+ext"
//   set DEVICE align BYTES                      a wrong block alignment
//   set DEVICE tone HZ LEVEL                    channel c has LEVEL / (c + 1); a cosine with its peak at the start
//   set DEVICE packet FRAMES                    by default 10 ms or the next longer time of whole 100 ns
//   set DEVICE arrive MS                        a packet arrives MS after its first frame was captured, early if
//                                               negative; by default when its last frame is captured
//   set DEVICE late FIRST COUNT MS              the same for these packets only
//   set DEVICE keep MS                          the stream buffer: packets beyond the last MS overwrite the oldest, and
//                                               the next packet is flagged as a discontinuity; by default two packets,
//                                               as in a stream that is opened with a duration of 0; without a limit
//                                               for "wave", which waits for buffers
//   set DEVICE flag FIRST COUNT WHAT            "silent" (with noise as data), "discontinuity", "timestamp-error" (with
//                                               a wrong timestamp), "null" (no data), "loud" (infinite samples)
//   set DEVICE skip FIRST COUNT                 the device stalls: these packets never arrive
//   set DEVICE shift FIRST COUNT MS             shifts the timestamps of these packets
//   set DEVICE unplug PACKETS                   the device is unplugged after so many packets
//   set DEVICE absent                           there is no such device
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zv::drivers {

using Words = std::vector<std::string>;

/// The words of every rule of a device that begins with `first`, without it, in order.
std::vector<Words> RulesOf(const std::string& device, const std::string& first);

std::int64_t Number(const std::string& word);

inline constexpr unsigned flagDiscontinuity = 1;  ///< as the system numbers them
inline constexpr unsigned flagSilent = 2;
inline constexpr unsigned flagTimestampError = 4;

struct SoundFormat {
    unsigned rate = 48000;
    unsigned channels = 2;
    unsigned bits = 32;
    unsigned tag = 3;
    unsigned blockAlign = 8;
    bool extensible = true;
};

inline constexpr SoundFormat waveFormat{48000, 1, 16, 1, 2, false};

struct PacketRange {
    std::int64_t first = 0;
    std::int64_t count = 0;
    std::string what;
    std::int64_t value = 0;  ///< 100 ns

    bool Holds(std::int64_t packet) const { return packet >= first && packet - first < count; }
};

struct SoundPacket {
    std::int64_t index = 0;
    unsigned frames = 0;
    unsigned flags = 0;
    bool noData = false;
    std::int64_t position = 0;  ///< 100 ns of the performance counter
};

/// 100 ns of the performance counter.
std::int64_t CounterNow();

class ScriptedSound {
public:
    /// `format` is the default.
    explicit ScriptedSound(const std::string& device, const SoundFormat& format = SoundFormat());

    const SoundFormat& Format() const { return format_; }
    void Begin(std::int64_t now) { start_ = now; }

    /// Returns true once the device is unplugged.
    bool IsUnplugged() const { return unpluggedAt_ && next_ >= *unpluggedAt_; }

    /// The next packet, if it has arrived.
    std::optional<SoundPacket> Waiting(std::int64_t now);
    void Advance() {
        ++next_;
        overwritten_ = false;
    }
    /// The number of packets that were overwritten before they were read.
    std::int64_t Lost() const { return lost_; }

    /// Writes the frames of a packet.
    void Render(const SoundPacket& packet, std::byte* to) const;

private:
    std::int64_t PositionOf(std::int64_t packet) const;
    std::int64_t ArrivalOf(std::int64_t packet) const;
    std::int64_t AfterSkips(std::int64_t packet) const;
    void OverwriteOldest(std::int64_t now);
    bool Has(const std::string& what, std::int64_t packet) const;
    const PacketRange* RangeOf(const std::string& what, std::int64_t packet) const;
    void ReadFormat(const Words& words);
    void ReadRanges(const std::string& device, const std::string& rule);
    void WriteSample(double value, std::byte* to) const;

    SoundFormat format_;
    double hertz_ = 233;
    double level_ = 0.25;
    unsigned packetFrames_ = 480;
    std::int64_t arrive_ = 0;  ///< 100 ns
    std::int64_t keptPackets_ = 2;
    bool overwritten_ = false;  ///< packets before the next one were overwritten
    std::int64_t lost_ = 0;
    std::vector<PacketRange> ranges_;
    std::optional<std::int64_t> unpluggedAt_;
    std::int64_t start_ = 0;
    std::int64_t next_ = 0;
};

}  // namespace zv::drivers
