#include "capture/FfmpegCommandLine.h"

#include "capture/ReplayPlaylist.h"
#include "core/CommandLine.h"
#include "platform/FfmpegInput.h"
#include "platform/Files.h"

namespace zv {

Text FfmpegCommandLine(const Text& ffmpegPath, const Text& arguments) {
    return QuoteArgument(ffmpegPath) + u" -hide_banner -loglevel warning -y " + arguments;
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

Text RingArguments(std::int32_t seconds, const Text& folder) {
    return u"-f hls -hls_time 1 -hls_list_size " + Decimal(seconds) +
           u" -hls_delete_threshold 3 -hls_flags delete_segments+temp_file+independent_segments"
           u" -hls_segment_filename " +
           QuoteArgument(JoinPath(folder, u"seg%08d.ts")) + u" " + QuoteArgument(PlaylistPath(folder));
}

Text RecordingArguments(const Text& output) {
    return u"-movflags +frag_keyframe+empty_moov+default_base_moof " + QuoteArgument(output);
}

Text RemuxArguments(const Text& pipeName, const Text& output) {
    return u"-probesize 67108864 -analyzeduration 3000000 -f mpegts -i " + QuoteArgument(pipeName) +
           u" -map 0:v:0 -map 0:a? -c copy -bsf:a aac_adtstoasc -frag_duration 1000000"
           u" -movflags +frag_keyframe+empty_moov+default_base_moof " +
           QuoteArgument(output);
}

Text JoinArguments(const Text& concatPath, const Text& output) {
    return u"-f concat -safe 1 -i " + QuoteArgument(concatPath) +
           u" -map 0:v:0 -map 0:a? -c copy -bsf:a aac_adtstoasc -movflags +faststart " + QuoteArgument(output);
}

}  // namespace zv
