#include "windows/drivers/ScriptedSound.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <numbers>
#include <numeric>
#include <sstream>

#include "windows/drivers/CallChecker.h"

namespace zv::drivers {
namespace {

constexpr std::int64_t unitsPerSecond = 10'000'000;
constexpr std::int64_t unitsPerMs = 10'000;
constexpr std::int64_t nonsenseStamp = 0x0123456789ABCDEF;

template <class Value>
void Put(Value value, std::byte* to, std::size_t size = sizeof(Value)) {
    std::memcpy(to, &value, size);
}

/// At least 10 ms, and a whole number of 100 ns. Otherwise the timestamps, which are truncated to that, would leave
/// gaps of less than a hundredth of a frame between packets, and rounding would turn some of them into a frame of
/// silence.
unsigned PacketFrames(unsigned rate) {
    const unsigned step = rate / std::gcd(rate, static_cast<unsigned>(unitsPerSecond));
    return step == 0 ? 0 : (rate / 100 + step - 1) / step * step;
}

/// The rest of the last such rule, or an empty list.
Words RuleOf(const std::string& device, const std::string& first) {
    const std::vector<Words> all = RulesOf(device, first);
    return all.empty() ? Words() : all.back();
}

}  // namespace

std::vector<Words> RulesOf(const std::string& device, const std::string& first) {
    std::vector<Words> found;
    for (const std::string& value : Values(device)) {
        std::istringstream text(value);
        const Words words{std::istream_iterator<std::string>(text), {}};
        if (!words.empty() && words.front() == first) {
            found.emplace_back(words.begin() + 1, words.end());
        }
    }
    return found;
}

std::int64_t Number(const std::string& word) { return std::strtoll(word.c_str(), nullptr, 10); }

std::int64_t CounterNow() {
    LARGE_INTEGER frequency{};
    LARGE_INTEGER counter{};
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&counter);
    return counter.QuadPart / frequency.QuadPart * unitsPerSecond +
           counter.QuadPart % frequency.QuadPart * unitsPerSecond / frequency.QuadPart;
}

ScriptedSound::ScriptedSound(const std::string& device, const SoundFormat& format) : format_(format) {
    ReadFormat(RuleOf(device, "format"));
    packetFrames_ = PacketFrames(format_.rate);
    if (const Words words = RuleOf(device, "align"); !words.empty()) {
        format_.blockAlign = static_cast<unsigned>(Number(words.at(0)));
    }
    if (const Words words = RuleOf(device, "tone"); !words.empty()) {
        hertz_ = std::strtod(words.at(0).c_str(), nullptr);
        level_ = std::strtod(words.at(1).c_str(), nullptr);
    }
    if (const Words words = RuleOf(device, "packet"); !words.empty()) {
        packetFrames_ = static_cast<unsigned>(Number(words.at(0)));
    }
    arrive_ = format_.rate == 0 ? 0 : packetFrames_ * unitsPerSecond / format_.rate;
    if (const Words words = RuleOf(device, "arrive"); !words.empty()) {
        arrive_ = Number(words.at(0)) * unitsPerMs;
    }
    if (const Words words = RuleOf(device, "keep"); !words.empty()) {
        const std::int64_t frames = Number(words.at(0)) * format_.rate / 1000;
        keptPackets_ = packetFrames_ == 0 ? 1 : std::max<std::int64_t>(frames / packetFrames_, 1);
    } else if (device == "wave") {
        keptPackets_ = std::numeric_limits<std::int64_t>::max();
    }
    if (const Words words = RuleOf(device, "unplug"); !words.empty()) {
        unpluggedAt_ = Number(words.at(0));
    }
    for (const char* rule : {"late", "flag", "skip", "shift"}) {
        ReadRanges(device, rule);
    }
}

void ScriptedSound::ReadFormat(const Words& words) {
    if (words.empty()) {
        return;
    }
    std::string tag = words.at(3);
    const std::size_t extended = tag.find("+ext");
    tag = tag.substr(0, extended);
    format_.rate = static_cast<unsigned>(Number(words.at(0)));
    format_.channels = static_cast<unsigned>(Number(words.at(1)));
    format_.bits = static_cast<unsigned>(Number(words.at(2)));
    format_.tag = tag == "pcm" ? 1 : tag == "float" ? 3 : static_cast<unsigned>(Number(tag));
    format_.extensible = extended != std::string::npos;
    format_.blockAlign = format_.bits / 8 * format_.channels;
}

void ScriptedSound::ReadRanges(const std::string& device, const std::string& rule) {
    for (const Words& words : RulesOf(device, rule)) {
        PacketRange range{Number(words.at(0)), Number(words.at(1)), rule, 0};
        if (rule == "flag") {
            range.what = words.at(2);
        } else if (rule != "skip") {
            range.value = Number(words.at(2)) * unitsPerMs;
        }
        ranges_.push_back(range);
    }
}

const PacketRange* ScriptedSound::RangeOf(const std::string& what, std::int64_t packet) const {
    const auto found = std::find_if(ranges_.begin(), ranges_.end(), [&](const PacketRange& range) {
        return range.what == what && range.Holds(packet);
    });
    return found == ranges_.end() ? nullptr : &*found;
}

bool ScriptedSound::Has(const std::string& what, std::int64_t packet) const { return RangeOf(what, packet) != nullptr; }

std::int64_t ScriptedSound::PositionOf(std::int64_t packet) const {
    return start_ + packet * packetFrames_ * unitsPerSecond / format_.rate;
}

std::int64_t ScriptedSound::ArrivalOf(std::int64_t packet) const {
    const PacketRange* late = RangeOf("late", packet);
    return PositionOf(packet) + (late != nullptr ? late->value : arrive_);
}

std::int64_t ScriptedSound::AfterSkips(std::int64_t packet) const {
    while (const PacketRange* skip = RangeOf("skip", packet)) {
        packet = skip->first + skip->count;
    }
    return packet;
}

void ScriptedSound::OverwriteOldest(std::int64_t now) {
    std::int64_t waiting = 0;
    for (std::int64_t packet = next_; now >= ArrivalOf(packet); packet = AfterSkips(packet + 1)) {
        ++waiting;
    }
    for (; waiting > keptPackets_; --waiting) {
        next_ = AfterSkips(next_ + 1);
        overwritten_ = true;
        ++lost_;
    }
}

std::optional<SoundPacket> ScriptedSound::Waiting(std::int64_t now) {
    next_ = AfterSkips(next_);
    OverwriteOldest(now);
    if (now < ArrivalOf(next_)) {
        return std::nullopt;
    }
    const PacketRange* shift = RangeOf("shift", next_);
    const bool noStamp = Has("timestamp-error", next_);
    SoundPacket packet{next_, packetFrames_, 0, Has("null", next_), 0};
    packet.flags = (overwritten_ || Has("discontinuity", next_) ? flagDiscontinuity : 0) |
                   (Has("silent", next_) || packet.noData ? flagSilent : 0) | (noStamp ? flagTimestampError : 0);
    packet.position = noStamp ? nonsenseStamp : PositionOf(next_) + (shift != nullptr ? shift->value : 0);
    return packet;
}

void ScriptedSound::WriteSample(double value, std::byte* to) const {
    if (format_.tag == 3 && format_.bits == 64) {
        Put(value, to);
    } else if (format_.tag == 3) {
        Put(static_cast<float>(value), to);
    } else if (format_.bits == 8) {
        Put(static_cast<std::uint8_t>(std::lround(value * 127) + 128), to);
    } else {
        // Little-endian: the low bytes of the wider number are the sample.
        const double full = std::ldexp(1.0, static_cast<int>(format_.bits) - 1) - 1;
        Put(static_cast<std::int32_t>(std::llround(value * full)), to, format_.bits / 8);
    }
}

void ScriptedSound::Render(const SoundPacket& packet, std::byte* to) const {
    const bool noise = (packet.flags & flagSilent) != 0;
    const bool loud = Has("loud", packet.index);
    for (unsigned frame = 0; frame < packet.frames; ++frame) {
        const auto sample = static_cast<double>(packet.index * packet.frames + frame);
        const double wave = level_ * std::cos(2 * std::numbers::pi * hertz_ * sample / format_.rate);
        for (unsigned channel = 0; channel < format_.channels; ++channel) {
            const double value = noise ? (frame % 2 == 0 ? 0.9 : -0.9) : wave / (channel + 1);
            WriteSample(loud ? std::numeric_limits<double>::infinity() : value,
                        to + frame * format_.blockAlign + channel * (format_.bits / 8));
        }
    }
}

}  // namespace zv::drivers
