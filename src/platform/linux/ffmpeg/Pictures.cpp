// Pictures from the user's FFmpeg, for videos and images alike: it is there anyway, it can be killed, and no decoder
// runs in this process.
#include "platform/Pictures.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/FfmpegRuntime.h"
#include "platform/linux/ffmpeg/PictureChild.h"

namespace zv {
namespace {

// A child that hangs delays other thumbnails, and nothing else: the end of the program stops it. A game can leave
// little of the processor to a child of low priority, so the limits are generous.
constexpr std::uint32_t thumbnailLimitMs = 30000;  ///< of all files of a call
constexpr std::uint32_t loadLimitMs = 30000;
constexpr std::int64_t thumbnailSourcePixels = 64000000;

/// The frames among which a thumbnail is searched. The first frame is enough unless it is black.
struct FrameSearch {
    const char* skipped;  ///< the frames that are not decoded
    int step;             ///< use one of so many decoded frames
    int frames;           ///< at most
};

// The first key frames are a minute of a clip of ours. A clip with one key frame needs the others.
constexpr std::array<FrameSearch, 3> frameSearches{{{"default", 1, 1}, {"nokey", 1, 60}, {"default", 10, 30}}};

/// Fits the displayed shape of the picture, with a line of at least a pixel.
std::string ScaleFilter(std::int32_t width, std::int32_t height) {
    const std::string w = std::to_string(width);
    const std::string h = std::to_string(height);
    return "scale=w='max(1,min(" + w + "," + h + "*dar))':h='max(1,min(" + h + "," + w + "/dar))'";
}

PictureOptions ThumbnailOptions(const FrameSearch& search, std::int32_t width, std::int32_t height) {
    PictureOptions options;
    options.input = {"-max_pixels", std::to_string(thumbnailSourcePixels), "-skip_frame", search.skipped};
    // Frames 1/25 s apart at 25 frames a second: FFmpeg would fill longer gaps with repeated frames.
    const std::string filter =
        "framestep=" + std::to_string(search.step) + "," + ScaleFilter(width, height) + ",settb=1/25,setpts=N";
    options.output = {"-vf", filter, "-r", "25", "-frames:v", std::to_string(search.frames)};
    options.maxPixels = std::int64_t{width} * height;
    options.maxPictures = search.frames;
    return options;
}

PictureOptions WholeImageOptions(std::int64_t maxPixels) {
    PictureOptions options;
    // FFmpeg compares with the pixels of its buffers, whose rows can be up to 63 pixels longer than those of the image.
    const std::int64_t bufferPixels = maxPixels + maxPixels / 8;
    options.input = {"-xerror", "-err_detect", "crccheck+bitstream+buffer+explode", "-max_pixels",
                     std::to_string(bufferPixels)};
    options.output = {"-frames:v", "1"};
    options.maxPixels = maxPixels;
    return options;
}

/// Returns true if at most one pixel in 50 has a channel above 32.
bool IsBlack(const PixelBitmap& picture) {
    const auto isBright = [](std::uint32_t pixel) {
        return (pixel & 0xFFU) > 32 || (pixel >> 8U & 0xFFU) > 32 || (pixel >> 16U & 0xFFU) > 32;
    };
    const auto bright = std::count_if(picture.pixels.begin(), picture.pixels.end(), isBright);
    return static_cast<std::size_t>(bright) * 50 <= picture.pixels.size();
}

/// The thumbnail of one file: the first picture of all searches that is not black, else the first picture.
class Thumbnail {
public:
    Thumbnail(const Text& ffmpeg, const Text& path, std::int32_t width, std::int32_t height)
        : ffmpeg_(ffmpeg), path_(path), width_(width), height_(height), first_(Start(frameSearches[0])) {}

    PixelBitmap Finish(const Deadline& deadline, const std::stop_token& stop) {
        PixelBitmap best;
        if (Improve(best, first_.Collect(deadline, stop))) {
            return best;
        }
        for (std::size_t i = 1; i < frameSearches.size() && deadline.RemainingMs() > 0 && !stop.stop_requested(); ++i) {
            if (Improve(best, Start(frameSearches[i]).Collect(deadline, stop))) {
                break;
            }
        }
        return best;
    }

private:
    PictureChild Start(const FrameSearch& search) const {
        return PictureChild(ffmpeg_, path_, ThumbnailOptions(search, width_, height_));
    }

    /// Returns true if `best` is then a picture that is not black.
    static bool Improve(PixelBitmap& best, std::vector<PixelBitmap> pictures) {
        const auto found = std::find_if_not(pictures.begin(), pictures.end(), IsBlack);
        if (found != pictures.end()) {
            best = std::move(*found);
            return true;
        }
        if (best.pixels.empty() && !pictures.empty()) {
            best = std::move(pictures.front());
        }
        return false;
    }

    const Text& ffmpeg_;
    const Text& path_;
    std::int32_t width_;
    std::int32_t height_;
    PictureChild first_;
};

}  // namespace

/// Starts all children at once: a call is for the few files of one page.
void MakeThumbnails(const std::vector<Text>& paths, std::int32_t width, std::int32_t height,
                    std::vector<PixelBitmap>& made, const std::stop_token& stop) {
    const Text ffmpeg = FindFfmpeg();
    const Deadline deadline(thumbnailLimitMs);
    std::vector<Thumbnail> thumbnails;
    thumbnails.reserve(paths.size());
    for (const Text& path : paths) {
        thumbnails.emplace_back(ffmpeg, path, width, height);
    }
    for (Thumbnail& thumbnail : thumbnails) {
        made.push_back(thumbnail.Finish(deadline, stop));
    }
}

PixelBitmap LoadPicture(const Text& path, std::int64_t maxPixels, const std::stop_token& stop) {
    const PictureChild child(FindFfmpeg(), path, WholeImageOptions(maxPixels));
    std::vector<PixelBitmap> pictures = child.Collect(Deadline(loadLimitMs), stop);
    return pictures.empty() || !child.Succeeded() ? PixelBitmap{} : std::move(pictures.front());
}

}  // namespace zv
