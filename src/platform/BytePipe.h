// A one-way byte stream to one reader in another process, which opens it by name like a file.
//
// This process is the writer. A pipe buffers `bufferBytes`, or more. A write that does not fit stays in flight; the
// caller must not change or free its bytes until FinishWrite or CancelWrite has returned. Writes reach the reader in
// the order in which they were begun. Closing the pipe ends the stream for the reader. A reader that opens the pipe
// only then fails or reads an empty stream; it never hangs. One thread uses a pipe and its writes.
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
struct PipeWrite;  ///< one write at a time; destroying it cancels the write; must be destroyed before its pipe
template <>
void Closer<BytePipe>::operator()(BytePipe* pipe) const noexcept;
template <>
void Closer<PipeWrite>::operator()(PipeWrite* write) const noexcept;

/// Returns the full name of a pipe: the platform's prefix, `stem` ("ZVVideo-", "ZVReelsAudio-" or "ZVSegments-"), the
/// decimal process id, "-" and the decimal counter. On Windows "\\.\pipe\ZVVideo-4711-1".
Text PipeName(TextView stem, std::uint32_t counter);

struct PipeOptions {
    std::uint32_t bufferBytes = 0x100000;
    bool firstInstanceOnly = false;  ///< fail if the name exists
};

Result MakeBytePipe(TextView name, const PipeOptions& options, Owned<BytePipe>& pipe);

enum class PipeConnect {
    Connected,
    Stopped,  ///< the stop event was signalled first
    TimedOut,
    Failed
};

/// Waits for the reader to open the pipe.
PipeConnect ConnectPipe(BytePipe& pipe, Event& stop, std::uint32_t timeoutMs);

/// Returns null if the system is out of handles; `code` then receives the reason.
Owned<PipeWrite> MakePipeWrite(BytePipe& pipe, Result* code = nullptr);

enum class WriteBegin {
    Done,     ///< the system has accepted all bytes
    Pending,  ///< in flight; call FinishWrite or CancelWrite
    Refused   ///< the reader has closed the pipe
};

WriteBegin BeginWrite(PipeWrite& write, const std::byte* bytes, std::size_t size);

enum class WriteEnd {
    Done,      ///< the system has accepted all bytes
    Stopped,   ///< the stop event was signalled first; the write was cancelled
    TimedOut,  ///< the write was cancelled
    Failed     ///< the reader has closed the pipe, or only a part of the bytes was written
};

/// Returns true between a BeginWrite that returned Pending and FinishWrite or CancelWrite.
bool IsPending(const PipeWrite& write);

/// Waits for a pending write. Afterwards the write is no longer in flight, also on failure.
WriteEnd FinishWrite(PipeWrite& write, Event& stop, std::uint32_t timeoutMs);

/// Returns the code of the last write that was refused or failed; resultGenericFailure if the system gave none.
Result WriteFailure(const PipeWrite& write);

/// Cancels the write if it is in flight, and waits until the system no longer uses its bytes.
void CancelWrite(PipeWrite& write);

/// Disconnects the reader before the pipe is closed. Discards unread bytes if the system supports that.
void DisconnectPipe(BytePipe& pipe);

}  // namespace zv
