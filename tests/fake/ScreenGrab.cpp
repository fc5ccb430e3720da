#include "fake/ScreenGrab.h"

#include <fstream>

#include "fake/Calls.h"
#include "platform/Files.h"

namespace zv {
namespace fake {
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

}  // namespace fake

Result SaveScreenAsPng(const Rectangle& area, TextView path) {
    {
        const std::lock_guard lock(fake::mutex);
        fake::grabs.push_back({area, Text(path)});
    }
    std::ofstream file(ToPath(path), std::ios::binary | std::ios::trunc);
    file << "a broken picture" << std::flush;
    const fake::Call call("SaveScreenAsPng");
    if (call.Fails()) {
        return call.Code();
    }
    file.close();
    std::ofstream(ToPath(path), std::ios::binary | std::ios::trunc) << fake::screenBytes;
    return resultOk;
}

}  // namespace zv
