// A connection to the sound server (PulseAudio, or PipeWire speaking its protocol), driven by the calling thread.
//
// Nothing runs in the background: the server's messages are taken in by DispatchPending and by the waits, all of which
// have a limit of their own. A dead server is noticed by the next call.
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
    std::uint64_t turns = 0;    ///< so often DispatchPending has looked for messages
    std::int64_t lastTurn = 0;  ///< when it last did; 100 ns

    PulseClient() = default;
    ~PulseClient();
    PulseClient(const PulseClient&) = delete;
    PulseClient& operator=(const PulseClient&) = delete;
};

/// Connects, without starting a server that does not run.
Result ConnectPulse(std::shared_ptr<PulseClient>& client);

/// Takes in all that has arrived, without waiting. Fails once the server is gone.
Result DispatchPending(PulseClient& client);

/// Takes in messages until `done` answers true. Fails when the server is gone or some seconds have passed.
Result DispatchUntil(PulseClient& client, const std::function<bool()>& done);

/// Waits for an operation that was just begun, and lets go of it.
Result AwaitOperation(PulseClient& client, pa_operation* operation);

/// What a callback of the server's library takes down. No exception may pass through the library's frames: it goes
/// round them, to whoever asks for the value.
template <class Value>
class PulseAnswer {
public:
    template <class Take>
    void Fill(Take take) noexcept {
        try {
            take(value_);
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

/// An error number of the sound server in the terms of the header AudioEndpoint.h.
Result ResultOfPulse(int error);

struct PulseStreamDeleter {
    void operator()(pa_stream* stream) const noexcept;
};
using PulseStream = std::unique_ptr<pa_stream, PulseStreamDeleter>;

/// Connects a record stream that does not run yet and waits until it stands. `fragmentBytes` is the packet size.
Result ConnectRecord(PulseClient& client, pa_stream& stream, const std::string& device, std::uint32_t fragmentBytes);

Result Cork(PulseClient& client, pa_stream& stream, bool corked);

/// Fails when the stream no longer stands, because its device was taken away or the server is gone.
Result StreamState(pa_stream& stream);

}  // namespace zv
