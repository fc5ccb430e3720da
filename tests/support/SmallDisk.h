// A small file system that a test can fill. The test program has to run in its own mount namespace
// (tests/end_to_end/run_in_mount_namespace). Linux only.
#pragma once

#include <sys/mount.h>

#include <filesystem>
#include <string>

namespace zv::support {

class SmallDisk {
public:
    /// Mounts over `folder`, which is created if missing. `size` is an option of tmpfs, such as "256k".
    SmallDisk(const std::filesystem::path& folder, const std::string& size) : path_(folder) {
        std::filesystem::create_directories(path_);
        mounted_ = mount("tmpfs", path_.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
    }
    ~SmallDisk() {
        if (mounted_) {
            umount2(path_.c_str(), MNT_DETACH);
        }
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool Mounted() const { return mounted_; }
    const std::filesystem::path& Path() const { return path_; }
    bool Resize(const std::string& size) const {
        return mount("tmpfs", path_.c_str(), "tmpfs", MS_REMOUNT, ("size=" + size).c_str()) == 0;
    }

private:
    std::filesystem::path path_;
    bool mounted_ = false;
};

}  // namespace zv::support
