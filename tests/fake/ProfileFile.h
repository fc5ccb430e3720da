// INI files in memory. ReadProfileText is recorded (Calls.h).
#pragma once

#include <map>
#include <tuple>
#include <vector>

#include "platform/ProfileFile.h"

namespace zv::fake {

struct ProfileControls {
    std::map<std::tuple<Text, Text, Text>, Text> values;  ///< by path, section and key
    std::vector<Text> sections;                           ///< of each read
};

/// Set it only while no worker reads.
ProfileControls& TheProfiles();

}  // namespace zv::fake
