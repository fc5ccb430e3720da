#include "platform/linux/pulse/PulseClient.h"

#include "platform/AudioEndpoint.h"
#include "platform/Clock.h"

namespace zv {
namespace {

constexpr std::uint64_t answerLimitMs = 3000;
constexpr int waitSliceMicros = 50000;

Result ContextState(PulseClient& client) {
    return PA_CONTEXT_IS_GOOD(pa_context_get_state(client.context)) ? resultOk
                                                                    : ResultOfPulse(pa_context_errno(client.context));
}

}  // namespace

PulseClient::~PulseClient() {
    if (context != nullptr) {
        pa_context_disconnect(context);
        pa_context_unref(context);
    }
    if (loop != nullptr) {
        pa_mainloop_free(loop);
    }
}

Result ResultOfPulse(int error) {
    switch (error) {
        case PA_ERR_NOENTITY:
            return resultNoEndpoint;
        case PA_ERR_NOTSUPPORTED:
            return resultFormatUnsupported;
        case PA_ERR_INVALID:
            return resultInvalidArgument;
        case PA_ERR_CONNECTIONTERMINATED:
        case PA_ERR_KILLED:
        case PA_ERR_BADSTATE:
            return resultEndpointRemoved;
        case PA_ERR_CONNECTIONREFUSED:
            return ResultOfSystemError(ECONNREFUSED);
        case PA_ERR_ACCESS:
            return ResultOfSystemError(EACCES);
        case PA_ERR_TIMEOUT:
            return ResultOfSystemError(ETIMEDOUT);
        default:
            return resultGenericFailure;
    }
}

Result ConnectPulse(std::shared_ptr<PulseClient>& client) {
    auto made = std::make_shared<PulseClient>();
    made->loop = pa_mainloop_new();
    if (made->loop == nullptr) {
        return resultGenericFailure;
    }
    made->context = pa_context_new(pa_mainloop_get_api(made->loop), "Zorvel");
    if (made->context == nullptr) {
        return resultGenericFailure;
    }
    if (pa_context_connect(made->context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        return ResultOfPulse(pa_context_errno(made->context));
    }
    pa_context* context = made->context;
    const Result result = DispatchUntil(*made, [context] { return pa_context_get_state(context) == PA_CONTEXT_READY; });
    if (Succeeded(result)) {
        client = std::move(made);
    }
    return result;
}

Result DispatchPending(PulseClient& client) {
    while (pa_mainloop_iterate(client.loop, 0, nullptr) > 0) {
    }
    return ContextState(client);
}

Result DispatchUntil(PulseClient& client, const std::function<bool()>& done) {
    const std::uint64_t end = TickMs() + answerLimitMs;
    for (;;) {
        const Result result = DispatchPending(client);
        if (Failed(result) || done()) {
            return result;
        }
        if (TickMs() >= end) {
            return ResultOfSystemError(ETIMEDOUT);
        }
        if (pa_mainloop_prepare(client.loop, waitSliceMicros) < 0 || pa_mainloop_poll(client.loop) < 0 ||
            pa_mainloop_dispatch(client.loop) < 0) {
            return resultGenericFailure;
        }
    }
}

Result AwaitOperation(PulseClient& client, pa_operation* operation) {
    if (operation == nullptr) {
        return ResultOfPulse(pa_context_errno(client.context));
    }
    const Result result =
        DispatchUntil(client, [operation] { return pa_operation_get_state(operation) != PA_OPERATION_RUNNING; });
    pa_operation_cancel(operation);
    pa_operation_unref(operation);
    return result;
}

void PulseStreamDeleter::operator()(pa_stream* stream) const noexcept {
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}

Result ConnectRecord(PulseClient& client, pa_stream& stream, const std::string& device, std::uint32_t fragmentBytes) {
    constexpr auto unset = static_cast<std::uint32_t>(-1);
    pa_buffer_attr attributes{};
    attributes.maxlength = unset;
    attributes.tlength = unset;
    attributes.prebuf = unset;
    attributes.minreq = unset;
    attributes.fragsize = fragmentBytes;
    const auto flags =
        static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE | PA_STREAM_START_CORKED);
    if (pa_stream_connect_record(&stream, device.c_str(), &attributes, flags) < 0) {
        return ResultOfPulse(pa_context_errno(client.context));
    }
    const Result result =
        DispatchUntil(client, [&stream] { return pa_stream_get_state(&stream) != PA_STREAM_CREATING; });
    if (Failed(result) || pa_stream_get_state(&stream) == PA_STREAM_READY) {
        return result;
    }
    return ResultOfPulse(pa_context_errno(client.context));
}

Result Cork(PulseClient& client, pa_stream& stream, bool corked) {
    return AwaitOperation(client, pa_stream_cork(&stream, corked ? 1 : 0, nullptr, nullptr));
}

Result StreamState(pa_stream& stream) {
    return pa_stream_get_state(&stream) == PA_STREAM_READY ? resultOk : resultEndpointRemoved;
}

}  // namespace zv
