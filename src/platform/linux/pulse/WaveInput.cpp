// The wave input over the sound server's default source at 48 kHz, 16 bits, one channel.
//
// CheckWavePosition copies the data that the stream has received into the four buffers, in the order in which they were
// queued.
#include "platform/WaveInput.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "core/Utf8.h"
#include "platform/linux/pulse/PulseClient.h"

namespace zv {

struct WaveInput {
    std::shared_ptr<PulseClient> client;
    PulseStream stream;  ///< destroyed before the client

    struct Buffer {
        std::array<std::byte, waveBufferBytes> bytes{};
        std::uint32_t recorded = 0;
        bool queued = false;
    };
    std::array<Buffer, waveBufferCount> buffers;
    int filling = 0;          ///< the buffer that is filled next
    std::size_t skipped = 0;  ///< bytes of the stream's current fragment that are already in a buffer
};

template <>
void Closer<WaveInput>::operator()(WaveInput* input) const noexcept {
    delete input;
}

namespace {

constexpr pa_sample_spec inputSpec{PA_SAMPLE_S16LE, 48000, 1};

WaveInput::Buffer& BufferAt(WaveInput& input, int index) { return input.buffers[static_cast<std::size_t>(index)]; }

void Append(WaveInput::Buffer& buffer, const std::byte* data, std::size_t size) {
    std::byte* to = buffer.bytes.data() + buffer.recorded;
    if (data != nullptr) {
        std::memcpy(to, data, size);
    } else {
        std::memset(to, 0, size);  // a hole in the stream
    }
    buffer.recorded += static_cast<std::uint32_t>(size);
}

/// Copies bytes of one fragment into the queued buffers. Returns true if all of them have been copied.
bool Distribute(WaveInput& input, const std::byte* data, std::size_t size) {
    while (input.skipped < size) {
        WaveInput::Buffer& buffer = BufferAt(input, input.filling);
        if (!buffer.queued) {
            return false;
        }
        const std::size_t part = std::min<std::size_t>(size - input.skipped, waveBufferBytes - buffer.recorded);
        Append(buffer, data != nullptr ? data + input.skipped : nullptr, part);
        input.skipped += part;
        if (buffer.recorded == waveBufferBytes) {
            buffer.queued = false;
            input.filling = (input.filling + 1) % waveBufferCount;
        }
    }
    input.skipped = 0;
    return true;
}

Result FillBuffers(WaveInput& input) {
    for (;;) {
        const void* data = nullptr;
        std::size_t size = 0;
        if (pa_stream_peek(input.stream.get(), &data, &size) < 0) {
            return ResultOfPulse(pa_context_errno(input.client->context));
        }
        if (size == 0 || !Distribute(input, static_cast<const std::byte*>(data), size)) {
            return resultOk;
        }
        pa_stream_drop(input.stream.get());
    }
}

}  // namespace

int OpenWaveInput(Owned<WaveInput>& input) {
    Owned<WaveInput> made(new WaveInput);
    const Result connected = ConnectPulse(made->client);
    if (Failed(connected)) {
        return connected;
    }
    made->stream.reset(pa_stream_new(made->client->context, "Microphone", &inputSpec, nullptr));
    if (!made->stream) {
        return ResultOfPulse(pa_context_errno(made->client->context));
    }
    const Result result = ConnectRecord(*made->client, *made->stream, "@DEFAULT_SOURCE@", waveBufferBytes);
    if (Succeeded(result)) {
        input = std::move(made);
    }
    return result;
}

int PrepareWaveBuffer(WaveInput& input, int index) {
    BufferAt(input, index) = {};
    return 0;
}

int QueueWaveBuffer(WaveInput& input, int index) {
    WaveInput::Buffer& buffer = BufferAt(input, index);
    buffer.recorded = 0;
    buffer.queued = true;
    return 0;
}

int StartWaveInput(WaveInput& input) { return Cork(*input.client, *input.stream, false); }

WaveBuffer PeekWaveBuffer(const WaveInput& input, int index) {
    const WaveInput::Buffer& buffer = input.buffers[static_cast<std::size_t>(index)];
    return {!buffer.queued, buffer.recorded, buffer.bytes.data()};
}

int CheckWavePosition(WaveInput& input) {
    Result result = DispatchPending(*input.client);
    if (Succeeded(result)) {
        result = StreamState(*input.stream);
    }
    return Failed(result) ? result : FillBuffers(input);
}

}  // namespace zv
