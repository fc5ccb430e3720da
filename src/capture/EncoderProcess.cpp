#include "capture/EncoderProcess.h"

#include <filesystem>
#include <system_error>

#include "platform/BytePipe.h"
#include "platform/Environment.h"
#include "platform/Files.h"

namespace zv {
namespace {

constexpr std::size_t longestVariable = 32767;

bool IsRegularFile(TextView path) {
    std::error_code error;
    return std::filesystem::is_regular_file(ToPath(path), error);
}

}  // namespace

bool IsChildRunning(const EncoderProcess& process) { return process.process && IsRunning(*process.process); }

bool HasStopped(const std::unique_ptr<VideoCapture>& video) { return video && !video->running; }

bool HasStopped(const std::unique_ptr<AudioCapture>& audio) { return audio && !audio->running; }

void ResetProcess(EncoderProcess& process) {
    process.stdinWrite.reset();
    process.process.reset();
    process.job.reset();
    process.audio.reset();
    process.video.reset();
    process.relay.reset();
}

Text FindFfmpeg() {
    const Text chosen = EnvironmentValue(u"ZV_FFMPEG");
    if (!chosen.empty() && chosen.size() <= longestVariable && IsRegularFile(chosen)) {
        return chosen;
    }
    const Text beside = JoinPath(ExecutableFolder(), ffmpegFileName);
    if (IsRegularFile(beside)) {
        return beside;
    }
    return FindOnSearchPath(ffmpegFileName);
}

Text QuoteArgument(TextView text) {
    Text quoted = u"\"";
    std::size_t backslashes = 0;
    for (const char16_t unit : text) {
        if (unit == u'\\') {
            ++backslashes;
            continue;
        }
        quoted.append(unit == u'"' ? 2 * backslashes + 1 : backslashes, u'\\');
        quoted += unit;
        backslashes = 0;
    }
    quoted.append(2 * backslashes, u'\\');
    return quoted + u"\"";
}

Text BuildEncoderInputs(const EncoderProcess& process) {
    Text inputs = u"-thread_queue_size 64 -f mpegts -probesize 65536 -analyzeduration 0 -i ";
    inputs += QuoteArgument(process.video->PipeName()) + u" ";
    if (!process.audio) {
        return inputs + u"-map 0:v:0 -an ";
    }
    // 3840 bytes are 10 ms of 48000 Hz, 2 channels, 4 bytes a sample.
    inputs += rawPipeInputFlags;
    inputs += u"-blocksize 3840 -thread_queue_size 32 -f f32le -ar 48000 -ac 2 -probesize 32 -analyzeduration 0 -i ";
    inputs += QuoteArgument(process.audio->PipeName()) + u" ";
    return inputs + u"-map 0:v:0 -map 1:a:0 -af aresample=async=1000:first_pts=0 -c:a aac -b:a 192k -ar 48000 ";
}

}  // namespace zv
