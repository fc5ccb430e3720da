#include "stand_in/ScreenGrab.h"

#include <fstream>

#include "platform/Files.h"
#include "stand_in/Calls.h"

namespace zv {
namespace stand_in {
namespace {

std::mutex mutex;
std::vector<Grab> grabs;

}  // namespace

std::vector<Grab> Grabs() {
    const std::lock_guard lock(mutex);
    return grabs;
}

void ResetScreenGrab() {
    const std::lock_guard lock(mutex);
    grabs.clear();
}

}  // namespace stand_in

Result SaveScreenAsPng(const ScreenArea& area, TextView path) {
    {
        const std::lock_guard lock(stand_in::mutex);
        stand_in::grabs.push_back({area, Text(path)});
    }
    std::ofstream file(ToPath(path), std::ios::binary | std::ios::trunc);
    file << "a broken picture" << std::flush;
    const stand_in::Call call("SaveScreenAsPng");
    if (call.Fails()) {
        return call.Code();
    }
    file.close();
    std::ofstream(ToPath(path), std::ios::binary | std::ios::trunc) << stand_in::screenBytes;
    return resultOk;
}

}  // namespace zv
