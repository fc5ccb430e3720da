// Lists the sound server's sources, except monitors, and its sinks.
#include "platform/AudioDevices.h"

#include <memory>
#include <utility>

#include "core/Utf8.h"
#include "platform/linux/pulse/PulseClient.h"

namespace zv {
namespace {

using NameList = PulseAnswer<std::vector<AudioDeviceName>>;

void AddName(void* list, const char* description, bool isInput) {
    static_cast<NameList*>(list)->Fill([=](std::vector<AudioDeviceName>& names) {
        names.push_back({FromUtf8(description), isInput});
    });
}

void AddSource(pa_context*, const pa_source_info* info, int end, void* list) {
    if (end == 0 && info->monitor_of_sink == PA_INVALID_INDEX) {
        AddName(list, info->description, true);
    }
}

void AddSink(pa_context*, const pa_sink_info* info, int end, void* list) {
    if (end == 0) {
        AddName(list, info->description, false);
    }
}

}  // namespace

std::vector<AudioDeviceName> ListAudioDeviceNames() {
    NameList list;
    std::shared_ptr<PulseClient> client;
    if (Failed(ConnectPulse(client))) {
        return {};
    }
    const Result sources = AwaitOperation(*client, pa_context_get_source_info_list(client->context, AddSource, &list));
    if (Succeeded(sources)) {
        AwaitOperation(*client, pa_context_get_sink_info_list(client->context, AddSink, &list));
    }
    return std::move(list.Get());
}

}  // namespace zv
