// A small file system of a test's own, to be filled. The test program has to run in a mount namespace of its own
// (tests/end_to_end/run_in_mount_namespace). Linux only.
#pragma once

#include <sys/mount.h>

#include <filesystem>
#include <string>

namespace zv::support {

class SmallDisk {
public:
    /// Over `folder`, which is made where it is missing. `size` as tmpfs takes it: "256k".
    SmallDisk(const std::filesystem::path& folder, const std::string& size) : place_(folder) {
        std::filesystem::create_directories(place_);
        mounted_ = mount("tmpfs", place_.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
    }
    ~SmallDisk() {
        if (mounted_) {
            umount2(place_.c_str(), MNT_DETACH);
        }
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool Mounted() const { return mounted_; }
    const std::filesystem::path& Place() const { return place_; }
    bool Resize(const std::string& size) const {
        return mount("tmpfs", place_.c_str(), "tmpfs", MS_REMOUNT, ("size=" + size).c_str()) == 0;
    }

private:
    std::filesystem::path place_;
    bool mounted_ = false;
};

}  // namespace zv::support
