// Linux has no shell services that need initialization.
#include "platform/Session.h"

namespace zv {

struct ShellServices {};

template <>
void Closer<ShellServices>::operator()(ShellServices* services) const noexcept {
    delete services;
}

Owned<ShellServices> OpenShellServices() { return Owned<ShellServices>(new ShellServices); }

}  // namespace zv
