// The two default endpoints, with a mix format and packets that the test sets.
//
// A call is recorded under the function's name, followed by ".render" or ".capture" if it has an endpoint. A failing
// call returns the planned code. The test adds packets while no call runs, or in a hook.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <vector>

#include "platform/AudioEndpoint.h"

namespace zv::fake {

struct ScriptedPacket {
    std::vector<std::byte> data;  ///< empty: the packet has no data
    std::uint32_t frames = 0;
    bool silent = false;
    bool timestampError = false;
    std::int64_t position = 0;
    std::int64_t arrives = 0;  ///< the packet is available from this time of Counter100ns() on
};

struct EndpointControls {
    MixFormat format;
    std::deque<ScriptedPacket> packets;

    /// Makes the next packet if the queue is empty; returns false if there is none yet. May reuse the packet's memory.
    std::function<bool(ScriptedPacket&)> source;

    /// How long a packet of `source` is kept for its reader, in 100 ns from its position. Older packets are lost, as in
    /// a stream with the shortest buffer.
    std::int64_t keeps = 200000;

    /// Packets of `source` that end later are not available, as packets of a server whose messages have not been read.
    /// WaitForPackets and ReceivePackets set it to the current time.
    std::int64_t receivedUntil = std::numeric_limits<std::int64_t>::max();

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

/// Sets both endpoints to 48 kHz, stereo, float, without packets.
void ResetEndpoints();

/// A mix format without an extension.
MixFormat PlainFormat(std::uint32_t tag, std::uint32_t rate, std::uint32_t channels, std::uint32_t bits);

/// Interleaved float samples as a packet.
ScriptedPacket FloatPacket(const std::vector<float>& samples, std::uint32_t channels, std::int64_t position);

}  // namespace zv::fake
