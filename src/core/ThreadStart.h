// What a worker's thread does first.
#pragma once

#include <exception>

namespace zv {

/// Some runtimes make a thread's record of its exceptions when it raises the first one, and end the whole process when
/// there is no memory for it. Made at the thread's start, it is there when memory has run out.
inline void PrepareForExceptions() {
    [[maybe_unused]] const volatile int none = std::uncaught_exceptions();  // else the call would be left out
}

}  // namespace zv
