#include "platform/linux/posix/DetachedProgram.h"

#include <fcntl.h>

#include "core/Utf8.h"
#include "platform/Environment.h"
#include "platform/linux/posix/Posix.h"
#include "platform/linux/posix/Spawner.h"

namespace zv {

std::uint32_t StartDetached(const std::vector<std::string>& arguments) {
    const std::string path = ToUtf8(FindOnSearchPath(FromUtf8(arguments.front())));
    const Descriptor low(open("/dev/null", O_RDWR | O_CLOEXEC));
    const Descriptor null(fcntl(low.Get(), F_DUPFD_CLOEXEC, 3));  // above the standard ones, which the child replaces
    if (path.empty() || !null.Held()) {
        return 0;
    }
    std::vector<std::string> copies = arguments;
    std::vector<char*> pointers;
    for (std::string& argument : copies) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    SpawnPlan plan;
    plan.path = path.c_str();
    plan.arguments = pointers.data();
    plan.input = null.Get();
    plan.log = null.Get();
    plan.outlivesUs = true;
    const pid_t child = SpawnFromPermanentThread(plan);
    if (child < 0) {
        return 0;
    }
    CollectLater(child);
    return static_cast<std::uint32_t>(child);
}

}  // namespace zv
