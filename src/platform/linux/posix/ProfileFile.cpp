#include "platform/ProfileFile.h"

#include <cstddef>

#include "core/ReadSharedFile.h"
#include "platform/software/ProfileText.h"

namespace zv {
namespace {

/// No INI file is larger. The path may name a device that never ends.
constexpr std::size_t sizeLimit = 1 << 20;

}  // namespace

Text ReadProfileText(TextView path, TextView section, TextView key) {
    return FindProfileText(ReadSharedFile(path, sizeLimit), section, key);
}

}  // namespace zv
