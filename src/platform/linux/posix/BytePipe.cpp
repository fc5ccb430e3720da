// Byte pipes over FIFOs.
//
// The calling thread does all the work. Bytes that do not fit stay in the pipe's queue of pending writes, which each
// call first writes in order until the FIFO is full. The queue is a linked list of the writes, so that writing
// allocates nothing.
#include "platform/BytePipe.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "core/Utf8.h"
#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/linux/posix/EventHandle.h"
#include "platform/linux/posix/PipeFolder.h"
#include "platform/linux/posix/Posix.h"

namespace zv {

struct BytePipe {
    std::string path;
    std::uint32_t bufferBytes = 0;
    Descriptor end;  ///< open once the reader has opened the pipe
    PipeWrite* first = nullptr;
    PipeWrite* last = nullptr;
    bool broken = false;  ///< a write has failed
    int error = 0;        ///< errno of that failure
};

struct PipeWrite {
    BytePipe* pipe = nullptr;
    PipeWrite* next = nullptr;
    const std::byte* bytes = nullptr;  ///< the bytes that are not written yet
    std::size_t size = 0;
    bool queued = false;
    bool complete = false;  ///< all bytes are written, and FinishWrite has not been called
};

namespace {

constexpr std::uint32_t connectPollMs = 4;
constexpr std::uint32_t defaultFifoBytes = 0x10000;
constexpr std::uint32_t largestFifoBytes = 0x100000;  ///< that an unprivileged process may ask for

/// Returns true if all bytes are written, false if the pipe is full or broken.
bool WriteRest(BytePipe& pipe, PipeWrite& write) {
    while (write.size > 0 && !pipe.broken) {
        const ssize_t count = ::write(pipe.end.Get(), write.bytes, write.size);
        if (count >= 0) {
            write.bytes += count;
            write.size -= static_cast<std::size_t>(count);
        } else if (errno == EAGAIN) {
            return false;
        } else if (errno != EINTR) {
            pipe.error = errno;
            pipe.broken = true;
        }
    }
    return write.size == 0;
}

void Append(BytePipe& pipe, PipeWrite& write) {
    (pipe.last != nullptr ? pipe.last->next : pipe.first) = &write;
    pipe.last = &write;
    write.queued = true;
}

void Remove(BytePipe& pipe, PipeWrite& write) {
    PipeWrite* before = nullptr;
    for (PipeWrite* at = pipe.first; at != &write; at = at->next) {
        before = at;
    }
    (before != nullptr ? before->next : pipe.first) = write.next;
    if (pipe.last == &write) {
        pipe.last = before;
    }
    write.next = nullptr;
    write.queued = false;
}

/// Writes the pending writes in order.
void WritePending(BytePipe& pipe) {
    while (pipe.first != nullptr && WriteRest(pipe, *pipe.first)) {
        PipeWrite& done = *pipe.first;
        Remove(pipe, done);
        done.complete = true;
    }
}

/// Unblocks every open() that waits for a writer of the FIFO. Its reader then reads an empty stream.
void WakeReaders(const char* path) { Descriptor(open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC)); }

/// Wakes the readers several times, because a reader may open the FIFO after the first time.
void ReleaseReaders(const BytePipe& pipe) {
    constexpr int rounds = 3;
    const Descriptor fifo(open(pipe.path.c_str(), O_PATH | O_CLOEXEC | O_NOFOLLOW));
    if (!fifo.Held()) {
        return;
    }
    unlink(pipe.path.c_str());
    std::array<char, 32> byNumber{};  // no allocation, because a capture that is out of memory calls this too
    std::snprintf(byNumber.data(), byNumber.size(), "/proc/self/fd/%d", fifo.Get());
    WakeReaders(byNumber.data());
    for (int round = 1; round < rounds && !pipe.end.Held(); ++round) {
        SleepMs(1);
        WakeReaders(byNumber.data());
    }
}

bool SetSize(const BytePipe& pipe, std::uint32_t bytes) {
    return fcntl(pipe.end.Get(), F_SETPIPE_SZ, static_cast<int>(bytes)) >= 0;
}

bool OpenAsWriter(BytePipe& pipe) {
    pipe.end = Descriptor(open(pipe.path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    if (!pipe.end.Held()) {
        return false;
    }
    // A write of less than a page uses a whole one, and a larger pipe costs nothing until it is full.
    const bool enlarged =
        pipe.bufferBytes > defaultFifoBytes && pipe.bufferBytes < largestFifoBytes && SetSize(pipe, largestFifoBytes);
    // The pipe keeps its default size if the user's limit of pipe memory is reached.
    constexpr std::uint32_t largest = std::numeric_limits<int>::max();
    if (!enlarged) {
        SetSize(pipe, std::min(pipe.bufferBytes, largest));
    }
    return true;
}

enum class Room { Changed, Stopped, TimedOut };

Room WaitForRoom(const BytePipe& pipe, Event& stop, const Deadline& deadline) {
    std::array<pollfd, 2> entries = {pollfd{stop.descriptor.Get(), POLLIN, 0}, pollfd{pipe.end.Get(), POLLOUT, 0}};
    const int ready = poll(entries.data(), entries.size(), deadline.RemainingMs());
    if (ready < 0) {
        return Room::Changed;
    }
    if ((entries[0].revents & POLLIN) != 0) {
        return Room::Stopped;
    }
    return ready == 0 ? Room::TimedOut : Room::Changed;
}

WriteEnd Cancelled(PipeWrite& write, WriteEnd why) {
    CancelWrite(write);
    return why;
}

}  // namespace

template <>
void Closer<BytePipe>::operator()(BytePipe* pipe) const noexcept {
    ReleaseReaders(*pipe);
    delete pipe;
    ReleasePipeFolder();
}

template <>
void Closer<PipeWrite>::operator()(PipeWrite* write) const noexcept {
    CancelWrite(*write);
    delete write;
}

Text PipeName(TextView stem, std::uint32_t counter) {
    const std::string number = std::to_string(OwnProcessId()) + "-" + std::to_string(counter);
    return FromUtf8(PipeFolderPath() + "/" + ToUtf8(stem) + number);
}

Result MakeBytePipe(TextView name, const PipeOptions& options, Owned<BytePipe>& pipe) {
    IgnoreBrokenPipes();
    pipe.reset();
    std::string path = ToUtf8(name);
    auto made = std::make_unique<BytePipe>();
    if (!AcquirePipeFolder()) {
        return LastError();
    }
    // Ignores firstInstanceOnly: mkfifo always fails if the name exists.
    if (mkfifo(path.c_str(), 0600) != 0) {
        const Result failure = LastError();
        ReleasePipeFolder();
        return failure;
    }
    made->path = std::move(path);
    made->bufferBytes = options.bufferBytes;
    pipe.reset(made.release());
    return resultOk;
}

PipeConnect ConnectPipe(BytePipe& pipe, Event& stop, std::uint32_t timeoutMs) {
    const Deadline deadline(timeoutMs);
    for (;;) {
        if (OpenAsWriter(pipe)) {
            return PipeConnect::Connected;
        }
        if (errno != ENXIO && errno != EINTR) {
            return PipeConnect::Failed;
        }
        const int leftMs = deadline.RemainingMs();
        const std::uint32_t pauseMs =
            leftMs < 0 ? connectPollMs : std::min(connectPollMs, static_cast<std::uint32_t>(leftMs));
        if (WaitAny({&stop}, pauseMs) == 0) {
            return PipeConnect::Stopped;
        }
        if (leftMs == 0) {
            return PipeConnect::TimedOut;
        }
    }
}

Owned<PipeWrite> MakePipeWrite(BytePipe& pipe, Result* code) {
    Owned<PipeWrite> write(new (std::nothrow) PipeWrite);
    if (write) {
        write->pipe = &pipe;
    } else if (code != nullptr) {
        *code = ResultOfSystemError(ENOMEM);
    }
    return write;
}

WriteBegin BeginWrite(PipeWrite& write, const std::byte* bytes, std::size_t size) {
    BytePipe& pipe = *write.pipe;
    CancelWrite(write);
    write.bytes = bytes;
    write.size = size;
    if (!pipe.end.Held()) {
        return WriteBegin::Refused;
    }
    WritePending(pipe);
    if (pipe.first == nullptr && WriteRest(pipe, write)) {
        return WriteBegin::Done;
    }
    if (pipe.broken) {
        return WriteBegin::Refused;
    }
    Append(pipe, write);
    return WriteBegin::Pending;
}

bool IsPending(const PipeWrite& write) { return write.queued || write.complete; }

WriteEnd FinishWrite(PipeWrite& write, Event& stop, std::uint32_t timeoutMs) {
    BytePipe& pipe = *write.pipe;
    const Deadline deadline(timeoutMs);
    if (IsSignalled(stop)) {
        return Cancelled(write, WriteEnd::Stopped);
    }
    for (;;) {
        WritePending(pipe);
        if (!write.queued && write.size == 0) {
            write.complete = false;
            return WriteEnd::Done;
        }
        if (!write.queued || pipe.broken) {
            return Cancelled(write, WriteEnd::Failed);
        }
        const Room room = WaitForRoom(pipe, stop, deadline);
        if (room != Room::Changed) {
            return Cancelled(write, room == Room::Stopped ? WriteEnd::Stopped : WriteEnd::TimedOut);
        }
    }
}

void CancelWrite(PipeWrite& write) {
    write.complete = false;
    if (write.queued) {
        Remove(*write.pipe, write);
    }
}

Result WriteFailure(const PipeWrite& write) {
    return write.pipe->error == 0 ? resultGenericFailure : ResultOfSystemError(write.pipe->error);
}

// Does nothing: a FIFO keeps the written bytes for its reader, and closing it ends the stream.
void DisconnectPipe(BytePipe&) {}

}  // namespace zv
