// Saving a replay: the segments that the playlist lists at this moment become one MP4.
//
// They are copied to a folder of the save first, so that the running FFmpeg cannot delete them, and a second, short
// FFmpeg joins the copies without encoding anything. The file gets its final name only when it is complete.
#include <filesystem>
#include <fstream>
#include <new>
#include <system_error>

#include "capture/CaptureEngine.h"
#include "capture/CaptureFiles.h"
#include "capture/FfmpegCommandLine.h"
#include "capture/ReplayPlaylist.h"
#include "core/CreateFolder.h"
#include "platform/Clock.h"
#include "platform/Files.h"

namespace zv {
namespace {

constexpr std::uint32_t joinMs = 60000;
constexpr std::uint32_t stopMs = 1000;

/// Copies the segments into `folder` and lists the copies in its concat file. Returns false if a copy failed.
bool CopySegments(const Text& replayFolder, const SegmentNames& names, const Text& folder, const Text& concatPath) {
    std::ofstream concat(ToPath(concatPath));
    concat << "ffconcat version 1.0\n";
    for (const std::string& name : names) {
        if (Failed(CopyToNewFile(FromPath(SegmentPath(replayFolder, name)), FromPath(SegmentPath(folder, name))))) {
            return false;
        }
        concat << "file '" << name << "'\n";
    }
    return true;
}

/// Runs the joining child to its end. Returns true if it ended by itself and the file holds media.
bool JoinSegments(CaptureEngine& engine, const Text& concatPath, const Text& workingName, const Text& logPath) {
    EncoderProcess child;
    if (!engine.StartChild(child, JoinArguments(concatPath, workingName), logPath)) {
        return false;
    }
    const bool joined =
        WaitForExit(*child.process, joinMs) && ExitCode(*child.process) == 0 && HasMediaData(workingName);
    engine.StopChild(child, stopMs);
    return joined;
}

/// What a save leaves behind, however it ends. The working file exists only if the save has failed.
class Leftovers {
public:
    Leftovers(const Text& folder, const Text& workingName)
        : folder_(ToPath(folder)), workingName_(ToPath(workingName)) {}
    ~Leftovers() {
        try {
            std::error_code ignored;
            std::filesystem::remove(workingName_, ignored);
            std::filesystem::remove_all(folder_, ignored);
        } catch (const std::bad_alloc&) {
            return;  // the next start removes the folder
        }
    }
    Leftovers(const Leftovers&) = delete;
    Leftovers& operator=(const Leftovers&) = delete;

private:
    std::filesystem::path folder_;
    std::filesystem::path workingName_;
};

bool SaveSegments(CaptureEngine& engine, const SegmentNames& names, const Text& outputPath, const Text& logPath) {
    const Text folder = JoinPath(engine.cacheDir, u"save-" + DecimalUnsigned(TickMs()));
    const Text concatPath = JoinPath(folder, u"input.ffconcat");
    const Text workingName = WorkingName(outputPath);
    const Leftovers leftovers(folder, workingName);
    return CreateFolder(folder) && CopySegments(engine.replayDir, names, folder, concatPath) &&
           JoinSegments(engine, concatPath, workingName, logPath) &&
           Succeeded(MoveFileReplacing(workingName, outputPath));
}

/// Throws the file system's exception if the output cannot be examined.
bool IsFreeOutput(const Text& outputPath) { return CreateParentFolder(outputPath) && !PathExists(outputPath); }

}  // namespace

bool CaptureEngine::SaveReplayClip(const Text& outputPath) {
    // No poll runs during a save, so a sample from before it would average over the save as well. As after a start, the
    // next poll only takes a new sample. The rate that was measured last stays.
    fpsSampleTick = 0;
    if (!IsChildRunning(replay)) {
        replayRunning = false;
        statusText = u"Replay is not running. Enable Instant Replay first.";
        return false;
    }
    const SegmentNames names = ReadSegmentList(replayDir);
    if (names.empty()) {
        statusText = u"Replay is warming up. Wait 2 seconds and try again.";
        return false;
    }
    if (!IsFreeOutput(outputPath)) {
        statusText = u"Cannot create replay output file.";
        return false;
    }
    const Text logPath = JoinPath(cacheDir, u"save-replay.log");
    const bool saved = SaveSegments(*this, names, outputPath, logPath);
    statusText = saved ? u"Replay saved: " + outputPath : u"Replay save failed. Try again; details: " + logPath;
    return saved;
}

}  // namespace zv
