#include "core/FfmpegRuntime.h"

#include <filesystem>
#include <system_error>

#include "platform/Environment.h"
#include "platform/Files.h"

namespace zv {
namespace {

constexpr std::size_t longestVariable = 32767;

bool IsRegularFile(TextView path) {
    std::error_code error;
    return std::filesystem::is_regular_file(ToPath(path), error);
}

}  // namespace

Text FindFfmpeg() {
    const Text chosen = EnvironmentValue(u"ZV_FFMPEG");
    if (!chosen.empty() && chosen.size() <= longestVariable && IsRegularFile(chosen)) {
        return chosen;
    }
    const Text beside = JoinPath(ExecutableFolder(), ffmpegFileName);
    if (IsRegularFile(beside)) {
        return beside;
    }
    return FindOnSearchPath(ffmpegFileName);
}

}  // namespace zv
