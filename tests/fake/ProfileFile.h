// INI files in memory. ReadProfileText is recorded with its section (Calls.h).
#pragma once

#include <map>
#include <tuple>

#include "platform/ProfileFile.h"

namespace zv::fake {

struct ProfileControls {
    std::map<std::tuple<Text, Text, Text>, Text> values;  ///< by path, section and key
};

/// Set it only while no worker reads.
ProfileControls& TheProfiles();

}  // namespace zv::fake
