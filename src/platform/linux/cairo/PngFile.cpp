#include "platform/linux/cairo/PngFile.h"

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <memory>

namespace zv {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// errno of the operation that has just failed; EIO if a library has reset it.
Result FailureOf(int error) { return ResultOfSystemError(error != 0 ? error : EIO); }

}  // namespace

Result WritePng(const Pixels& pixels, const std::string& path) {
    std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "wbe"));
    if (!file) {
        return FailureOf(errno);
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = pixels.width;
    image.height = pixels.height;
    image.format = PNG_FORMAT_RGB;
    errno = 0;
    if (png_image_write_to_stdio(&image, file.get(), 0, pixels.rgb.data(), 0, nullptr) == 0) {
        return FailureOf(errno);
    }
    // Some file systems report a full disk only when a file is closed.
    return std::fclose(file.release()) == 0 ? resultOk : FailureOf(errno);
}

}  // namespace zv
