// An environment that contains only what a test sets.
#pragma once

#include <map>

#include "platform/Environment.h"

namespace zv::fake {

struct EnvironmentControls {
    std::map<Text, Text> variables;
    std::map<Text, Text> programs;  ///< the programs on the search path: file name to full path
    std::uint32_t processId = 4711;
    Text executableFolder = u".";
};

EnvironmentControls& TheEnvironment();

}  // namespace zv::fake
