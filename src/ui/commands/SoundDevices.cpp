#include "ui/commands/SoundDevices.h"

#include <algorithm>

#include "platform/Clock.h"
#include "ui/commands/FastJobs.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr std::uint64_t listAgeMs = 2000;

std::optional<Text> FirstName(bool input) {
    const SoundDevicesRecord& record = Ui().soundDevices;
    if (!record.known) {
        return std::nullopt;
    }
    const auto found = std::find_if(record.devices.begin(), record.devices.end(),
                                    [=](const AudioDeviceName& device) { return device.input == input; });
    return found == record.devices.end() ? Text() : found->name;
}

}  // namespace

void QueueSoundDevices() {
    SoundDevicesRecord& record = Ui().soundDevices;
    if (record.listSlot.IsBusy() || (record.known && TickMs() - record.collectedAt < listAgeMs)) {
        return;
    }
    record.listSlot.Start(ListAudioDeviceNames, {});
    ArmCollectionTimer();
}

bool CollectSoundDevices() {
    SoundDevicesRecord& record = Ui().soundDevices;
    if (!record.listSlot.IsFinished()) {
        return false;
    }
    record.devices = record.listSlot.Take();
    record.known = true;
    record.collectedAt = TickMs();
    return true;
}

std::optional<Text> FirstInputName() { return FirstName(true); }
std::optional<Text> FirstOutputName() { return FirstName(false); }

}  // namespace zv
