// Named pipes with overlapped writes.
//
// An OVERLAPPED record and the bytes of its write belong to the system until the operation has ended. So a wait that
// times out or is stopped cancels the operation and waits for the end of the cancellation.
#include "platform/BytePipe.h"

#include <array>
#include <limits>
#include <new>

#include "platform/Environment.h"
#include "platform/windows/EventHandle.h"

namespace zv {

struct BytePipe {
    Handle handle;
    Handle connected;
};

struct PipeWrite {
    HANDLE pipe = nullptr;  ///< not owned
    Handle event;
    OVERLAPPED overlapped{};
    DWORD size = 0;
    bool pending = false;
    DWORD error = 0;  ///< of the last write that was refused or failed
};

template <>
void Closer<BytePipe>::operator()(BytePipe* pipe) const noexcept {
    delete pipe;
}

template <>
void Closer<PipeWrite>::operator()(PipeWrite* write) const noexcept {
    if (write != nullptr) {
        CancelWrite(*write);
        delete write;
    }
}

namespace {

void CancelAndWait(HANDLE pipe, OVERLAPPED& overlapped) {
    DWORD transferred = 0;
    CancelIoEx(pipe, &overlapped);
    GetOverlappedResult(pipe, &overlapped, &transferred, TRUE);
}

enum class Waited { Stopped, Ended, TimedOut };

Waited WaitForEnd(Event& stop, HANDLE event, std::uint32_t timeoutMs) {
    const std::array<HANDLE, 2> handles = {stop.handle.Get(), event};
    switch (WaitForMultipleObjects(2, handles.data(), FALSE, timeoutMs)) {
        case WAIT_OBJECT_0:
            return Waited::Stopped;
        case WAIT_OBJECT_0 + 1:
            return Waited::Ended;
        default:
            return Waited::TimedOut;
    }
}

PipeConnect WaitForReader(BytePipe& pipe, OVERLAPPED& overlapped, Event& stop, std::uint32_t timeoutMs) {
    const Waited waited = WaitForEnd(stop, pipe.connected.Get(), timeoutMs);
    DWORD ignored = 0;
    if (waited == Waited::Ended && GetOverlappedResult(pipe.handle.Get(), &overlapped, &ignored, FALSE)) {
        return PipeConnect::Connected;
    }
    CancelAndWait(pipe.handle.Get(), overlapped);
    switch (waited) {
        case Waited::Stopped:
            return PipeConnect::Stopped;
        case Waited::TimedOut:
            return PipeConnect::TimedOut;
        default:
            return PipeConnect::Failed;
    }
}

}  // namespace

Text PipeName(TextView stem, std::uint32_t counter) {
    return Text(u"\\\\.\\pipe\\").append(stem) + DecimalUnsigned(OwnProcessId()) + u"-" + DecimalUnsigned(counter);
}

Result MakeBytePipe(TextView name, const PipeOptions& options, Owned<BytePipe>& pipe) {
    DWORD mode = PIPE_ACCESS_OUTBOUND | FILE_FLAG_OVERLAPPED;
    if (options.firstInstanceOnly) {
        mode |= FILE_FLAG_FIRST_PIPE_INSTANCE;
    }
    const Text path(name);  // outlives the call: freeing it could change the last error
    Handle handle(
        CreateNamedPipeW(Native(path), mode, PIPE_REJECT_REMOTE_CLIENTS, 1, options.bufferBytes, 0, 0, nullptr));
    if (!handle) {
        return LastError();
    }
    Handle connected(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!connected) {
        return LastError();
    }
    pipe.reset(new (std::nothrow) BytePipe{std::move(handle), std::move(connected)});
    return pipe ? resultOk : ResultOfSystemError(ERROR_NOT_ENOUGH_MEMORY);
}

PipeConnect ConnectPipe(BytePipe& pipe, Event& stop, std::uint32_t timeoutMs) {
    OVERLAPPED overlapped{};
    overlapped.hEvent = pipe.connected.Get();
    ResetEvent(overlapped.hEvent);
    if (ConnectNamedPipe(pipe.handle.Get(), &overlapped)) {
        return PipeConnect::Connected;
    }
    switch (GetLastError()) {
        case ERROR_PIPE_CONNECTED:
            return PipeConnect::Connected;
        case ERROR_IO_PENDING:
            return WaitForReader(pipe, overlapped, stop, timeoutMs);
        default:
            return PipeConnect::Failed;
    }
}

Owned<PipeWrite> MakePipeWrite(BytePipe& pipe, Result* code) {
    Handle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const Result reason = event ? ResultOfSystemError(ERROR_NOT_ENOUGH_MEMORY) : LastError();
    Owned<PipeWrite> write(event ? new (std::nothrow) PipeWrite : nullptr);
    if (write) {
        write->pipe = pipe.handle.Get();
        write->event = std::move(event);
    } else if (code != nullptr) {
        *code = reason;
    }
    return write;
}

WriteBegin BeginWrite(PipeWrite& write, const std::byte* bytes, std::size_t size) {
    if (size > std::numeric_limits<DWORD>::max()) {
        return WriteBegin::Refused;
    }
    write.overlapped = {};
    write.overlapped.hEvent = write.event.Get();
    write.size = static_cast<DWORD>(size);
    ResetEvent(write.event.Get());
    if (WriteFile(write.pipe, bytes, write.size, nullptr, &write.overlapped)) {
        return WriteBegin::Done;
    }
    write.error = GetLastError();
    write.pending = write.error == ERROR_IO_PENDING;
    return write.pending ? WriteBegin::Pending : WriteBegin::Refused;
}

bool IsPending(const PipeWrite& write) { return write.pending; }

WriteEnd FinishWrite(PipeWrite& write, Event& stop, std::uint32_t timeoutMs) {
    if (!write.pending) {
        return WriteEnd::Done;
    }
    const Waited waited = WaitForEnd(stop, write.event.Get(), timeoutMs);
    if (waited != Waited::Ended) {
        CancelWrite(write);
        return waited == Waited::Stopped ? WriteEnd::Stopped : WriteEnd::TimedOut;
    }
    write.pending = false;
    DWORD written = 0;
    const bool ended = GetOverlappedResult(write.pipe, &write.overlapped, &written, FALSE) != 0;
    write.error = ended ? 0 : GetLastError();
    return ended && written == write.size ? WriteEnd::Done : WriteEnd::Failed;
}

void CancelWrite(PipeWrite& write) {
    if (write.pending) {
        CancelAndWait(write.pipe, write.overlapped);
        write.pending = false;
    }
}

Result WriteFailure(const PipeWrite& write) {
    return write.error == 0 ? resultGenericFailure : ResultOfSystemError(static_cast<std::int32_t>(write.error));
}

void DisconnectPipe(BytePipe& pipe) { DisconnectNamedPipe(pipe.handle.Get()); }

}  // namespace zv
