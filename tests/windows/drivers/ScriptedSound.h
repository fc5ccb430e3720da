// The sound of one device as the script wants it: a format, and packets of a tone with stamps and flags.
//
// Rules of the script, where DEVICE is "render" (what the speakers play), "capture" (the microphone) or "wave" (the
// older way to it); CallChecker.h tells of the others:
//   set DEVICE format RATE CHANNELS BITS TAG    TAG "pcm", "float", a number, each also with "+ext" behind it
//   set DEVICE align BYTES                      a false block alignment
//   set DEVICE tone HZ LEVEL                    channel c has LEVEL / (c + 1); a cosine, at its peak at the start
//   set DEVICE packet FRAMES                    unless set, 10 ms or the next longer time of whole 100 ns
//   set DEVICE arrive MS                        a packet waits from so long after its first frame was captured, less
//                                               than 0 is ahead of time; unless set, once its last frame is captured
//   set DEVICE late FIRST COUNT MS              for these packets instead
//   set DEVICE flag FIRST COUNT WHAT            "silent" (the data is noise then), "discontinuity", "timestamp-error"
//                                               (the stamp is nonsense then), "null" (no data), "loud" (infinities)
//   set DEVICE skip FIRST COUNT                 the device is stalled: these packets never come
//   set DEVICE shift FIRST COUNT MS             the stamps of these packets are off by so much
//   set DEVICE gone PACKETS                     taken away once so many were delivered
//   set DEVICE absent                           there is none
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
    /// `format` is what the device has where the script does not say.
    explicit ScriptedSound(const std::string& device, const SoundFormat& format = SoundFormat());

    const SoundFormat& Format() const { return format_; }
    void Begin(std::int64_t now) { start_ = now; }

    /// True once the device has been taken away.
    bool Gone() const { return goneAt_ && next_ >= *goneAt_; }

    /// The next packet, if it waits by now.
    std::optional<SoundPacket> Waiting(std::int64_t now);
    void Advance() { ++next_; }

    /// Writes the frames of a packet.
    void Render(const SoundPacket& packet, std::byte* to) const;

private:
    std::int64_t PositionOf(std::int64_t packet) const;
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
    std::vector<PacketRange> ranges_;
    std::optional<std::int64_t> goneAt_;
    std::int64_t start_ = 0;
    std::int64_t next_ = 0;
};

}  // namespace zv::drivers
