#include "platform/linux/posix/DetachedProgram.h"

#include <fcntl.h>

#include <utility>

#include "core/Utf8.h"
#include "platform/Environment.h"
#include "platform/linux/posix/Posix.h"
#include "platform/linux/posix/Spawner.h"

namespace zv {

std::uint32_t StartDetached(const std::vector<std::string>& arguments) {
    const std::string path = ToUtf8(FindOnSearchPath(FromUtf8(arguments.front())));
    const Descriptor null = AboveStandard(Descriptor(open("/dev/null", O_RDWR | O_CLOEXEC)));
    if (path.empty() || !null.Held()) {
        return 0;
    }
    SpawnPlan plan;
    plan.path = path;
    plan.arguments = arguments;
    plan.input = null.Get();
    plan.output = null.Get();
    plan.errors = null.Get();
    plan.outlivesUs = true;
    const pid_t child = SpawnFromPermanentThread(std::move(plan));
    if (child < 0) {
        return 0;
    }
    CollectLater(child);
    return static_cast<std::uint32_t>(child);
}

}  // namespace zv
