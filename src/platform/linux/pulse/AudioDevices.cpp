// The sound server's sources, except monitors, and its sinks.
#include "platform/AudioDevices.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "core/Utf8.h"
#include "platform/linux/pulse/PulseClient.h"

namespace zv {
namespace {

struct Devices {
    std::string defaultSource;
    std::string defaultSink;
    std::vector<AudioDeviceName> names;
};
using DeviceList = PulseAnswer<Devices>;

std::string TextOrNothing(const char* text) { return text != nullptr ? text : ""; }

void StoreDefaults(pa_context*, const pa_server_info* info, void* list) {
    static_cast<DeviceList*>(list)->Fill([=](Devices& devices) {
        if (info != nullptr) {
            devices.defaultSource = TextOrNothing(info->default_source_name);
            devices.defaultSink = TextOrNothing(info->default_sink_name);
        }
    });
}

/// Adds the default device before the others of its kind.
void AddName(void* list, const char* name, const char* description, bool isInput) {
    static_cast<DeviceList*>(list)->Fill([=](Devices& devices) {
        std::vector<AudioDeviceName>& names = devices.names;
        const bool isDefault = (isInput ? devices.defaultSource : devices.defaultSink) == name;
        const auto first = std::find_if(names.begin(), names.end(),
                                        [=](const AudioDeviceName& device) { return device.input == isInput; });
        names.insert(isDefault ? first : names.end(), {FromUtf8(description), isInput});
    });
}

void AddSource(pa_context*, const pa_source_info* info, int end, void* list) {
    if (end == 0 && info->monitor_of_sink == PA_INVALID_INDEX) {
        AddName(list, info->name, info->description, true);
    }
}

void AddSink(pa_context*, const pa_sink_info* info, int end, void* list) {
    if (end == 0) {
        AddName(list, info->name, info->description, false);
    }
}

}  // namespace

std::vector<AudioDeviceName> ListAudioDeviceNames() {
    DeviceList list;
    std::shared_ptr<PulseClient> client;
    if (Failed(ConnectPulse(client))) {
        return {};
    }
    pa_context* context = client->context;
    if (Succeeded(AwaitOperation(*client, pa_context_get_server_info(context, StoreDefaults, &list))) &&
        Succeeded(AwaitOperation(*client, pa_context_get_source_info_list(context, AddSource, &list)))) {
        AwaitOperation(*client, pa_context_get_sink_info_list(context, AddSink, &list));
    }
    return std::move(list.Get().names);
}

}  // namespace zv
