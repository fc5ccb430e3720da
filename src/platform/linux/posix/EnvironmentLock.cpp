#include "platform/linux/posix/EnvironmentLock.h"

namespace zv {

std::mutex& EnvironmentLock() {
    static std::mutex lock;
    return lock;
}

}  // namespace zv
