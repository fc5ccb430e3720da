// A connection to the sound server (PulseAudio, or PipeWire speaking its protocol), driven by the calling thread.
//
// DispatchPending and the waits read the server's messages on the calling thread. Every wait has a timeout. The next
// call detects a dead server.
#pragma once

#include <pulse/pulseaudio.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "platform/Result.h"

namespace zv {

struct PulseClient {
    pa_mainloop* loop = nullptr;
    pa_context* context = nullptr;

    PulseClient() = default;
    ~PulseClient();
    PulseClient(const PulseClient&) = delete;
    PulseClient& operator=(const PulseClient&) = delete;
};

/// Connects to a running server. Does not start one.
Result ConnectPulse(std::shared_ptr<PulseClient>& client);

/// Dispatches all messages that have arrived, without waiting. Fails if the connection is lost.
Result DispatchPending(PulseClient& client);

/// Dispatches messages until `done` returns true. Fails if the connection is lost, or after a timeout of some seconds.
Result DispatchUntil(PulseClient& client, const std::function<bool()>& done);

/// Waits for the operation and releases it.
Result AwaitOperation(PulseClient& client, pa_operation* operation);

/// The result of a callback of the client library. Exceptions must not cross the library's stack frames, so Fill stores
/// them and Get rethrows them.
template <class Value>
class PulseAnswer {
public:
    template <class Store>
    void Fill(Store store) noexcept {
        try {
            store(value_);
        } catch (...) {
            failure_ = std::current_exception();
        }
    }
    Value& Get() {
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        return value_;
    }

private:
    Value value_;
    std::exception_ptr failure_;
};

/// Converts an error number of the sound server to a result of platform/AudioEndpoint.h.
Result ResultOfPulse(int error);

struct PulseStreamDeleter {
    void operator()(pa_stream* stream) const noexcept;
};
using PulseStream = std::unique_ptr<pa_stream, PulseStreamDeleter>;

/// Connects a corked record stream and waits until it is ready. `fragmentBytes` is the packet size.
Result ConnectRecord(PulseClient& client, pa_stream& stream, const std::string& device, std::uint32_t fragmentBytes);

Result Cork(PulseClient& client, pa_stream& stream, bool corked);

/// Fails if the stream has ended because its device was removed or the connection is lost.
Result StreamState(pa_stream& stream);

}  // namespace zv
