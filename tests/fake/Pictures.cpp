#include "fake/Pictures.h"

#include "core/Utf8.h"
#include "fake/Calls.h"

namespace zv {
namespace fake {
namespace {

PixelBitmap Picture(const char* function, const Text& path, const std::stop_token& stop) {
    const Call call(function, ToUtf8(path));
    if (stop.stop_requested()) {
        const Call stopped("Stopped", function);
        return {};
    }
    const auto found = ThePictures().find(path);
    return call.Fails() || found == ThePictures().end() ? PixelBitmap{} : found->second;
}

}  // namespace

std::map<Text, PixelBitmap>& ThePictures() {
    static std::map<Text, PixelBitmap> pictures;
    return pictures;
}

PixelBitmap PictureOf(std::uint32_t color, std::int32_t width, std::int32_t height) {
    return {std::vector<std::uint32_t>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), color),
            width, height};
}

}  // namespace fake

void MakeThumbnails(const std::vector<Text>& paths, std::int32_t width, std::int32_t height,
                    std::vector<PixelBitmap>& made, const std::stop_token& stop) {
    const fake::Call batch("MakeThumbnails", std::to_string(width) + "x" + std::to_string(height));
    for (const Text& path : paths) {
        made.push_back(fake::Picture("MakeThumbnail", path, stop));
    }
}

PixelBitmap LoadPicture(const Text& path, std::int64_t maxPixels, const std::stop_token& stop) {
    PixelBitmap picture = fake::Picture("LoadPicture", path, stop);
    const bool fits = std::int64_t{picture.width} * picture.height <= maxPixels;
    return fits ? picture : PixelBitmap{};
}

}  // namespace zv
