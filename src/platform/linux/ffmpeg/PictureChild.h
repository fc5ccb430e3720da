// One run of FFmpeg that converts a file to pictures.
//
// FFmpeg reads the file as its standard input and writes pictures to a file in memory of limited size: nothing reaches
// a disk, nobody has to empty a pipe, and a child that writes without end fails. It runs with low priority and limited
// memory. It never sees the file's name, so no name can be a protocol, a pattern or an option. Only the protocol "file"
// and the formats of captures are allowed, so that a playlist cannot name other files or servers.
#pragma once

#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "platform/Pictures.h"
#include "platform/linux/posix/GuardedChild.h"
#include "platform/linux/posix/Posix.h"

namespace zv {

/// The options of a run, without those that every run has, and the limits of its output.
struct PictureOptions {
    std::vector<std::string> input;
    std::vector<std::string> output;
    std::int64_t maxPixels = 0;  ///< of one picture
    int maxPictures = 1;
};

class PictureChild {
public:
    /// Starts FFmpeg. A failure shows itself as a run without pictures.
    PictureChild(const Text& ffmpeg, const Text& path, const PictureOptions& options);
    /// Kills what still runs.
    ~PictureChild();
    PictureChild(PictureChild&& other) = default;
    PictureChild& operator=(PictureChild&&) = delete;

    /// Waits for the child and returns its complete pictures, opaque over black. Returns none if the child did not end
    /// in time, or was killed because of a request to stop.
    std::vector<PixelBitmap> Collect(const Deadline& deadline, const std::stop_token& stop) const;

    /// Returns true if FFmpeg ended without an error. Call it after Collect.
    bool Succeeded() const { return child_ && child_->ExitCode() == 0; }

private:
    std::shared_ptr<GuardedChild> child_;
    Descriptor pictures_;
    std::int64_t maxPixels_;
};

}  // namespace zv
