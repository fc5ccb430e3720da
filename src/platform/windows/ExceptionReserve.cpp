// The runtime library keeps memory aside for exceptions, but not for the lock in front of it: that is made when it is
// first taken, which is when memory has run out. Then the lock cannot be made, that is an exception, for which the lock
// has to be taken, and the thread runs on in a circle until its stack is full and it dies without a word. So the lock
// is taken now, by an exception for which the runtime once asks in vain.
#include "platform/windows/ExceptionReserve.h"

#include <cstddef>

// The place in the program's table of imports through which all of it reaches the system's function.
extern "C" void* (*__imp_malloc)(std::size_t size);

namespace zv {
namespace {

void* (*usualMalloc)(std::size_t size) = nullptr;

void* RefuseOnce(std::size_t) {
    __imp_malloc = usualMalloc;
    return nullptr;
}

}  // namespace

void PrepareExceptionReserve() {
    usualMalloc = __imp_malloc;
    __imp_malloc = RefuseOnce;
    try {
        throw 0;
    } catch (int) {
        __imp_malloc = usualMalloc;
    }
}

}  // namespace zv
