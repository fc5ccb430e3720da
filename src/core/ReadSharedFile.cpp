#include "core/ReadSharedFile.h"

#include <array>

#include "platform/Files.h"
#include "platform/SharedFile.h"

namespace zv {

std::string ReadSharedFile(TextView path, std::size_t cap) {
    const Owned<SharedFile> file = OpenSharedFile(ToPath(path));
    std::array<std::byte, 4096> block;
    std::string content;
    while (file && content.size() < cap) {
        const std::size_t count = ReadBlock(*file, block.data(), block.size());
        if (count == 0) {
            break;
        }
        content.append(reinterpret_cast<const char*>(block.data()), count);
    }
    return content;
}

}  // namespace zv
