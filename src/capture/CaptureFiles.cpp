#include "capture/CaptureFiles.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

#include "core/ReadSharedFile.h"
#include "platform/Files.h"

namespace zv {

std::string ReadFileCapped(TextView path) { return ReadSharedFile(path, 0x100000); }

bool HasMediaData(TextView path) {
    constexpr std::uintmax_t smallest = 1025;
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(ToPath(path), error);
    return !error && size >= smallest;
}

Text WorkingName(TextView outputPath) { return Text(outputPath) + u".partial.mp4"; }

}  // namespace zv
