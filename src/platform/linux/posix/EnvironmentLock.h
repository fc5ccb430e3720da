// Held while the C library's environment is read or changed, which must not happen at the same time.
#pragma once

#include <mutex>

namespace zv {

std::mutex& EnvironmentLock();

}  // namespace zv
