// An environment that contains only what a test sets.
#pragma once

#include <map>
#include <set>

#include "platform/Environment.h"

namespace zv::fake {

struct EnvironmentControls {
    std::map<Text, Text> variables;
    std::map<Text, Text> programs;  ///< the programs on the search path: file name to full path
    std::uint32_t processId = 4711;
    std::set<std::uint32_t> runningProcesses;  ///< of the others
    Text executableFolder = u".";
};

EnvironmentControls& TheEnvironment();

}  // namespace zv::fake
