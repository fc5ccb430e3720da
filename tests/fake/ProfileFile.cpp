#include "fake/ProfileFile.h"

#include "fake/Calls.h"

namespace zv {

Text ReadProfileText(TextView path, TextView section, TextView key) {
    const fake::Call call("ReadProfileText", Narrow(section));
    const fake::ProfileControls& profiles = fake::TheProfiles();
    const auto found = profiles.values.find({Text(path), Text(section), Text(key)});
    return found == profiles.values.end() ? Text() : found->second;
}

namespace fake {

ProfileControls& TheProfiles() {
    static ProfileControls profiles;
    return profiles;
}

}  // namespace fake
}  // namespace zv
