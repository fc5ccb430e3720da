// An environment that holds only what a test puts into it.
#pragma once

#include <map>

#include "platform/Environment.h"

namespace zv::fake {

struct EnvironmentControls {
    std::map<Text, Text> variables;
    std::map<Text, Text> programs;  ///< what the search path finds: file name to full path
    std::uint32_t processId = 4711;
    Text executableFolder = u".";
};

EnvironmentControls& TheEnvironment();

}  // namespace zv::fake
