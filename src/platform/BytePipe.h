// A one-way byte stream to one reader in another process, which opens it by name like a file.
//
// This process is the writer. A pipe buffers `bufferBytes`; beyond that a write stays in flight, and its bytes
// must not be touched until FinishWrite or CancelWrite has returned. Writes reach the reader in the order in
// which they were begun. Closing the pipe ends the stream for the
// reader. A reader that has not opened the pipe by then fails or reads an empty stream; it never hangs. One thread uses
// a pipe and its writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/Text.h"
#include "platform/Event.h"
#include "platform/Owned.h"
#include "platform/Result.h"

namespace zv {

struct BytePipe;
struct PipeWrite;  ///< one write at a time; destroying it cancels the write; to be destroyed before its pipe
template <>
void Closer<BytePipe>::operator()(BytePipe* pipe) const noexcept;
template <>
void Closer<PipeWrite>::operator()(PipeWrite* write) const noexcept;

/// The full name for `stem` ("ZVVideo-", "ZVReelsAudio-", "ZVSegments-") and a counter: the platform's prefix, the
/// stem, the decimal process id, "-", the decimal counter. On Windows "\\.\pipe\ZVVideo-4711-1".
Text PipeName(TextView stem, std::uint32_t counter);

struct PipeOptions {
    std::uint32_t bufferBytes = 0x100000;
    bool firstInstanceOnly = false;  ///< refuse a name that exists already
};

Result MakeBytePipe(TextView name, const PipeOptions& options, Owned<BytePipe>& pipe);

enum class PipeConnect {
    Connected,
    Stopped,  ///< one of the stop events came first
    TimedOut,
    Failed
};

/// Waits for the reader to open the pipe.
PipeConnect ConnectPipe(BytePipe& pipe, Event& stop, std::uint32_t timeoutMs);

/// Null if the system is out of handles; `code` then receives the reason.
Owned<PipeWrite> MakePipeWrite(BytePipe& pipe, Result* code = nullptr);

enum class WriteBegin {
    Done,     ///< all bytes are with the system
    Pending,  ///< in flight; FinishWrite or CancelWrite has to follow
    Refused   ///< the reader is gone
};

WriteBegin BeginWrite(PipeWrite& write, const std::byte* bytes, std::size_t size);

enum class WriteEnd {
    Done,      ///< all bytes are with the system
    Stopped,   ///< the stop event came first; the write was cancelled
    TimedOut,  ///< the write was cancelled
    Failed     ///< the reader is gone, or fewer bytes were written than asked
};

/// True from a pending BeginWrite until FinishWrite or CancelWrite.
bool IsPending(const PipeWrite& write);

/// Waits for a pending write. Whatever the answer, the write is no longer in flight.
WriteEnd FinishWrite(PipeWrite& write, Event& stop, std::uint32_t timeoutMs);

/// The code of the last write that was refused or failed; resultGenericFailure if the system gave none.
Result WriteFailure(const PipeWrite& write);

/// Cancels a write that may be in flight and waits until the system no longer uses its bytes.
void CancelWrite(PipeWrite& write);

/// Disconnects the reader before the pipe is closed. Unread bytes are lost where the system can discard them.
void DisconnectPipe(BytePipe& pipe);

}  // namespace zv
