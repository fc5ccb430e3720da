#include "fake/ProfileFile.h"

#include <mutex>

#include "fake/Calls.h"

namespace zv {

Text ReadProfileText(TextView path, TextView section, TextView key) {
    static std::mutex lock;  // the update check and the recommended cards are read by two workers
    const std::lock_guard guard(lock);
    const fake::Call call("ReadProfileText");
    fake::ProfileControls& profiles = fake::TheProfiles();
    profiles.sections.emplace_back(section);
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
