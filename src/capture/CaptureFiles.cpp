#include "capture/CaptureFiles.h"

#include <cstdint>
#include <optional>

#include "core/ReadSharedFile.h"
#include "platform/Files.h"

namespace zv {

std::string ReadFileCapped(TextView path) { return ReadSharedFile(path, 0x100000); }

bool HasMediaData(TextView path) {
    constexpr std::uint64_t smallest = 1025;
    const std::optional<FileFacts> facts = ExamineFile(path);
    return facts && facts->size >= smallest;
}

Text WorkingName(TextView outputPath) { return Text(outputPath) + u".partial.mp4"; }

}  // namespace zv
