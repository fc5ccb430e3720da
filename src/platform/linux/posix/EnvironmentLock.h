// The C library's environment may not be read while it is being changed; whoever touches it holds this lock.
#pragma once

#include <mutex>

namespace zv {

std::mutex& EnvironmentLock();

}  // namespace zv
