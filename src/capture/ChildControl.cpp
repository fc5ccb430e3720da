// Starting and stopping FFmpeg, the same for every child of the engine.
#include "capture/CaptureEngine.h"
#include "capture/FfmpegCommandLine.h"

namespace zv {
namespace {

constexpr std::uint32_t killWaitMs = 5000;

void StopFeeders(EncoderProcess& process) {
    if (process.audio) {
        process.audio->Stop();
    }
    if (process.video) {
        process.video->Stop();
    }
}

/// FFmpeg's own quit command. A child that a relay feeds ends at the end of its input instead.
void RequestQuit(EncoderProcess& process) {
    if (IsRunning(*process.process) && process.stdinWrite && !process.relay) {
        WriteInput(*process.stdinWrite, "q\n");
    }
}

/// Returns true if the child ended by itself, within the time and with exit code 0; otherwise it is killed.
bool EndChild(EncoderProcess& process, std::uint32_t timeoutMs) {
    if (WaitForExit(*process.process, timeoutMs)) {
        return ExitCode(*process.process) == 0;
    }
    TerminateJob(*process.job);
    WaitForExit(*process.process, killWaitMs);
    return false;
}

}  // namespace

bool CaptureEngine::StartChild(EncoderProcess& process, const Text& arguments, const Text& logPath) {
    if (ffmpegPath.empty()) {
        statusText = u"FFmpeg missing. Run BUILD-ZV-REELS-MAX.bat.";
        ResetProcess(process);
        return false;
    }
    ChildOptions options;
    options.executable = ffmpegPath;
    options.commandLine = FfmpegCommandLine(ffmpegPath, arguments);
    options.logPath = logPath;
    Child child;
    if (!SpawnChild(options, child)) {
        ResetProcess(process);
        return false;
    }
    process.process = std::move(child.process);
    process.stdinWrite = std::move(child.input);
    process.job = std::move(child.job);
    return true;
}

bool CaptureEngine::StopChild(EncoderProcess& process, std::uint32_t timeoutMs) {
    if (process.relay) {
        process.relay->Stop();  // closes its pipe, which is the end of FFmpeg's input
    }
    if (!process.process) {
        StopFeeders(process);
        process.audio.reset();
        process.video.reset();
        return false;  // keeps the stopped relay
    }
    RequestQuit(process);
    const bool endedWell = EndChild(process, timeoutMs);
    StopFeeders(process);  // only now: FFmpeg finishes its file while its inputs still exist
    ResetProcess(process);
    return endedWell;
}

}  // namespace zv
