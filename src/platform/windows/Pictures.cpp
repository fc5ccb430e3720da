// No pictures.
#include "platform/Pictures.h"

namespace zv {

void MakeThumbnails(const std::vector<Text>& paths, std::int32_t /*width*/, std::int32_t /*height*/,
                    std::vector<PixelBitmap>& made, const std::stop_token& /*stop*/) {
    made.resize(made.size() + paths.size());
}

PixelBitmap LoadPicture(const Text& /*path*/, std::int64_t /*maxPixels*/, const std::stop_token& /*stop*/) {
    return {};
}

}  // namespace zv
