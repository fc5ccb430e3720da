#include "fake/WaveInput.h"

#include <algorithm>
#include <span>

#include "fake/Calls.h"

namespace zv {

struct WaveInput {};

namespace {

fake::WaveInputControls::Buffer& BufferAt(int index) {
    return fake::TheWaveInput().buffers[static_cast<std::size_t>(index)];
}

}  // namespace

namespace fake {

WaveInputControls& TheWaveInput() {
    static WaveInputControls controls;
    return controls;
}

void ResetWaveInput() { TheWaveInput() = {}; }

void CompleteWaveBuffer(int index, const std::vector<std::int16_t>& samples) {
    WaveInputControls::Buffer& buffer = BufferAt(index);
    const auto bytes = std::as_bytes(std::span(samples));
    std::copy(bytes.begin(), bytes.end(), buffer.bytes.begin());
    buffer.recorded = static_cast<std::uint32_t>(bytes.size());
    buffer.queued = false;
    buffer.done = true;
}

}  // namespace fake

template <>
void Closer<WaveInput>::operator()(WaveInput* input) const noexcept {
    const fake::Call call("~WaveInput");
    --fake::TheWaveInput().live;
    delete input;
}

int OpenWaveInput(Owned<WaveInput>& input) {
    const fake::Call call("OpenWaveInput");
    if (!call.Fails()) {
        ++fake::TheWaveInput().live;
        input.reset(new WaveInput);
    }
    return call.Code();
}

int PrepareWaveBuffer(WaveInput&, int index) {
    const fake::Call call("PrepareWaveBuffer");
    BufferAt(index).prepared = !call.Fails();
    return call.Code();
}

int QueueWaveBuffer(WaveInput&, int index) {
    const fake::Call call("QueueWaveBuffer");
    if (!call.Fails()) {
        BufferAt(index).recorded = 0;
        BufferAt(index).queued = true;
        BufferAt(index).done = false;
        fake::TheWaveInput().queueOrder.push_back(index);
    }
    return call.Code();
}

int StartWaveInput(WaveInput&) {
    const fake::Call call("StartWaveInput");
    fake::TheWaveInput().running = !call.Fails();
    return call.Code();
}

WaveBuffer PeekWaveBuffer(const WaveInput&, int index) {
    const fake::Call call("PeekWaveBuffer");
    const auto& buffer = BufferAt(index);
    return {buffer.done, buffer.recorded, buffer.bytes.data()};
}

int CheckWavePosition(WaveInput&) {
    const fake::Call call("CheckWavePosition");
    return call.Code();
}

}  // namespace zv
