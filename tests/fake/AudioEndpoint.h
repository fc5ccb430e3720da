// The two default endpoints, with a mix format and packets as a test scripts them.
//
// Calls are noted under the function's name with ".render" or ".capture" behind it where an endpoint is concerned;
// a failing call answers the planned code. Packets are pushed while nothing runs, or from a hook.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

#include "platform/AudioEndpoint.h"

namespace zv::fake {

struct ScriptedPacket {
    std::vector<std::byte> data;  ///< none: the packet comes without data
    std::uint32_t frames = 0;
    bool silent = false;
    bool timestampError = false;
    std::int64_t position = 0;
    std::int64_t arrives = 0;  ///< not waiting before this time of Counter100ns()
};

struct EndpointControls {
    MixFormat format;
    std::deque<ScriptedPacket> packets;

    /// Makes the next packet if the queue is empty; returns false if there is none now. May fill in place.
    std::function<bool(ScriptedPacket&)> source;

    /// How long a packet of `source` waits for its reader, in 100 ns from its position. Older ones are lost, as in a
    /// stream with a buffer of its shortest length.
    std::int64_t keeps = 200000;

    bool initialized = false;
    bool initializedAsLoopback = false;
    bool running = false;
    int live = 0;  ///< endpoints that exist
    int released = 0;
};

EndpointControls& TheEndpoint(bool loopback);

/// Threads and enumerators that exist.
int LiveAudioThreads();
int LiveAudioEnumerators();

/// Both endpoints at 48 kHz, stereo, float, with no packets.
void ResetEndpoints();

/// A mix format in its plain form.
MixFormat PlainFormat(std::uint32_t tag, std::uint32_t rate, std::uint32_t channels, std::uint32_t bits);

/// Interleaved float samples as a packet.
ScriptedPacket FloatPacket(const std::vector<float>& samples, std::uint32_t channels, std::int64_t position);

}  // namespace zv::fake
