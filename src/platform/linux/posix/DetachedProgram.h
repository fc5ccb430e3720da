// Starts programs of the desktop that live on after this one, such as a browser or a message box.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zv {

/// Starts the first argument, a program of the search path, with the environment of this process and without its
/// descriptors; standard input, output and error are /dev/null. No shell reads the arguments. Returns its process id,
/// or 0 if there is no such program. IsProcessRunning returns false within two seconds after it has ended.
std::uint32_t StartDetached(const std::vector<std::string>& arguments);

}  // namespace zv
