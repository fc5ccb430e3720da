// Ownership of the platform's handles.
//
// A service declares an opaque handle type and the specialisation of Closer for it. The closing call of the
// system stands in that specialisation and nowhere else. A null Owned means that nothing is held.
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
