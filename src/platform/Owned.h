// Ownership of the platform's handles.
//
// A service declares an opaque handle type and specialises Closer for it. Only that specialisation calls the system's
// closing function. A null Owned owns nothing.
#pragma once

#include <memory>

namespace zv {

template <class Handle>
struct Closer {
    void operator()(Handle* handle) const noexcept;
};

template <class Handle>
using Owned = std::unique_ptr<Handle, Closer<Handle>>;

}  // namespace zv
