// The pictures are BMP files of 32 bits a pixel, one after another: a header of 54 bytes with the sizes, then the rows
// from the bottom, blue, green, red and alpha a pixel.
#include "platform/linux/ffmpeg/PictureChild.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <utility>

#include "core/Utf8.h"

namespace zv {
namespace {

constexpr std::size_t headerBytes = 54;
constexpr std::size_t widthOffset = 18;
constexpr std::size_t heightOffset = 22;
constexpr std::size_t depthOffset = 28;
constexpr std::size_t pixelBytes = 4;

/// What captures are, and what a file with the name of one can be instead.
constexpr const char* allowedFormats =
    "mov,matroska,avi,mpegts,png_pipe,jpeg_pipe,mjpeg,bmp_pipe,gif,tiff_pipe,webp_pipe";

/// Opens a regular file for reading. Opening a pipe without a writer does not block, and its descriptor is refused.
Descriptor OpenRegularFile(const Text& path) {
    Descriptor file(open(ToUtf8(path).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    const bool regular = file.Held() && fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode);
    return regular ? AboveStandard(std::move(file)) : Descriptor();
}

/// A file in memory that cannot grow beyond `bytes`. It uses memory only for what is written.
Descriptor MakeMemoryFile(std::int64_t bytes) {
    Descriptor file(AboveStandard(Descriptor(memfd_create("pictures", MFD_CLOEXEC | MFD_ALLOW_SEALING))));
    const bool limited = file.Held() && ftruncate(file.Get(), bytes) == 0 &&
                         fcntl(file.Get(), F_ADD_SEALS, F_SEAL_GROW | F_SEAL_SHRINK) == 0;
    return limited ? std::move(file) : Descriptor();
}

std::vector<std::string> ArgumentsOf(const PictureOptions& options) {
    std::vector<std::string> arguments{"ffmpeg", "-nostdin", "-v", "quiet"};
    arguments.insert(arguments.end(), options.input.begin(), options.input.end());
    for (const char* argument :
         {"-protocol_whitelist", "file", "-format_whitelist", allowedFormats, "-threads", "1", "-i",
          "file:/dev/fd/0",  // opened anew, so that FFmpeg can seek
          "-map", "0:V:0", "-filter_threads", "1"}) {
        arguments.emplace_back(argument);
    }
    arguments.insert(arguments.end(), options.output.begin(), options.output.end());
    for (const char* argument : {"-pix_fmt", "bgra", "-c:v", "bmp", "-f", "image2pipe", "pipe:1"}) {
        arguments.emplace_back(argument);
    }
    return arguments;
}

using Header = std::array<std::uint8_t, headerBytes>;

std::uint32_t NumberAt(const Header& header, std::size_t offset) {
    return header[offset] | header[offset + 1] << 8U | header[offset + 2] << 16U |
           static_cast<std::uint32_t>(header[offset + 3]) << 24U;
}

bool ReadAt(int file, std::int64_t offset, void* bytes, std::size_t size) {
    return pread(file, bytes, size, offset) == static_cast<ssize_t>(size);
}

std::uint32_t OverBlack(std::uint32_t pixel) {
    const std::uint32_t alpha = pixel >> 24U;
    const auto channel = [&](unsigned shift) { return ((pixel >> shift & 0xFFU) * alpha + 127) / 255 << shift; };
    return alpha == 0xFF ? pixel : 0xFF000000U | channel(16) | channel(8) | channel(0);
}

/// Reads the picture at `offset`, which must end at or before `end`. Returns an empty one if it does not.
PixelBitmap ReadBitmap(int file, std::int64_t offset, std::int64_t end, std::int64_t maxPixels) {
    Header header{};
    if (!ReadAt(file, offset, header.data(), header.size()) || header[0] != 'B' || header[1] != 'M' ||
        header[depthOffset] != 8 * pixelBytes) {
        return {};
    }
    const std::int64_t width = NumberAt(header, widthOffset);
    const std::int64_t height = NumberAt(header, heightOffset);
    if (width < 1 || height < 1 || width > maxPixels / height) {
        return {};
    }
    const auto rowBytes = static_cast<std::size_t>(width) * pixelBytes;
    const std::int64_t rows = offset + static_cast<std::int64_t>(headerBytes);
    if (rows + height * static_cast<std::int64_t>(rowBytes) > end) {
        return {};
    }
    PixelBitmap picture{std::vector<std::uint32_t>(static_cast<std::size_t>(width * height)),
                        static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
    for (std::int64_t row = 0; row < height; ++row) {
        std::uint32_t* pixels = picture.pixels.data() + (height - 1 - row) * width;
        if (!ReadAt(file, rows + row * static_cast<std::int64_t>(rowBytes), pixels, rowBytes)) {
            return {};
        }
    }
    for (std::uint32_t& pixel : picture.pixels) {
        pixel = OverBlack(pixel);
    }
    return picture;
}

std::vector<PixelBitmap> ReadBitmaps(int file, std::int64_t maxPixels) {
    std::vector<PixelBitmap> pictures;
    // The child writes through the same open file, so its position is the number of bytes.
    const std::int64_t end = lseek(file, 0, SEEK_CUR);
    for (std::int64_t offset = 0; offset < end;) {
        PixelBitmap picture = ReadBitmap(file, offset, end, maxPixels);
        if (picture.pixels.empty()) {
            break;
        }
        offset += static_cast<std::int64_t>(headerBytes + picture.pixels.size() * pixelBytes);
        pictures.push_back(std::move(picture));
    }
    return pictures;
}

}  // namespace

PictureChild::PictureChild(const Text& ffmpeg, const Text& path, const PictureOptions& options)
    : pictures_(MakeMemoryFile(options.maxPictures *
                               static_cast<std::int64_t>(headerBytes + pixelBytes * options.maxPixels))),
      maxPixels_(options.maxPixels) {
    const Descriptor input = OpenRegularFile(path);
    const Descriptor errors(AboveStandard(Descriptor(open("/dev/null", O_WRONLY | O_CLOEXEC))));
    if (!input.Held() || !errors.Held() || !pictures_.Held()) {
        return;
    }
    SpawnPlan plan;
    plan.path = ToUtf8(ffmpeg);
    plan.arguments = ArgumentsOf(options);
    plan.input = input.Get();
    plan.output = pictures_.Get();
    plan.errors = errors.Get();
    plan.confined = true;
    child_ = GuardedChild::Start(std::move(plan));
}

PictureChild::~PictureChild() {
    if (child_) {
        child_->Kill();
    }
}

std::vector<PixelBitmap> PictureChild::Collect(const Deadline& deadline, const std::stop_token& stop) const {
    if (!child_) {
        return {};
    }
    const std::stop_callback cancel(stop, [this] { child_->Kill(); });
    const bool ended = child_->EndsWithin(static_cast<std::uint32_t>(deadline.RemainingMs()));
    return ended ? ReadBitmaps(pictures_.Get(), maxPixels_) : std::vector<PixelBitmap>();
}

}  // namespace zv
