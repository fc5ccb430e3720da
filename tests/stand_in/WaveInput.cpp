#include "stand_in/WaveInput.h"

#include <algorithm>
#include <span>

#include "stand_in/Calls.h"

namespace zv {

struct WaveInput {};

namespace {

stand_in::WaveInputControls::Buffer& BufferAt(int index) {
    return stand_in::TheWaveInput().buffers[static_cast<std::size_t>(index)];
}

}  // namespace

namespace stand_in {

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

}  // namespace stand_in

template <>
void Closer<WaveInput>::operator()(WaveInput* input) const noexcept {
    const stand_in::Call call("~WaveInput");
    --stand_in::TheWaveInput().live;
    delete input;
}

int OpenWaveInput(Owned<WaveInput>& input) {
    const stand_in::Call call("OpenWaveInput");
    if (!call.Fails()) {
        ++stand_in::TheWaveInput().live;
        input.reset(new WaveInput);
    }
    return call.Code();
}

int PrepareWaveBuffer(WaveInput&, int index) {
    const stand_in::Call call("PrepareWaveBuffer");
    BufferAt(index).prepared = !call.Fails();
    return call.Code();
}

int QueueWaveBuffer(WaveInput&, int index) {
    const stand_in::Call call("QueueWaveBuffer");
    if (!call.Fails()) {
        BufferAt(index).recorded = 0;
        BufferAt(index).queued = true;
        BufferAt(index).done = false;
        stand_in::TheWaveInput().queueOrder.push_back(index);
    }
    return call.Code();
}

int StartWaveInput(WaveInput&) {
    const stand_in::Call call("StartWaveInput");
    stand_in::TheWaveInput().running = !call.Fails();
    return call.Code();
}

WaveBuffer LookAtWaveBuffer(const WaveInput&, int index) {
    const stand_in::Call call("LookAtWaveBuffer");
    const auto& buffer = BufferAt(index);
    return {buffer.done, buffer.recorded, buffer.bytes.data()};
}

int CheckWavePosition(WaveInput&) {
    const stand_in::Call call("CheckWavePosition");
    return call.Code();
}

std::vector<AudioDeviceName> ListAudioDeviceNames() {
    const stand_in::Call call("ListAudioDeviceNames");
    return stand_in::TheWaveInput().names;
}

}  // namespace zv
