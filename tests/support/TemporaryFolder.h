// A temporary folder of a test, removed with its content.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

namespace zv::support {

class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::string& name = "zorvel-test",
                             const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
        std::random_device random;
        do {
            path_ = parent / (name + "-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace zv::support
