// Notes when the readers of a program's pipes come. Linux only.
#pragma once

#include <atomic>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace zv::support {

/// Watches the folder of the pipes below a runtime folder from the moment that it appears.
class PipeWatch {
public:
    explicit PipeWatch(std::filesystem::path runtimeFolder);
    ~PipeWatch();
    PipeWatch(const PipeWatch&) = delete;
    PipeWatch& operator=(const PipeWatch&) = delete;

    /// When the newest pipe whose name begins so was opened first, in seconds of CLOCK_MONOTONIC.
    std::optional<double> Opened(const std::string& stem) const;

private:
    void Run();
    int WaitForFolder() const;
    void Note(const std::string& name);

    std::filesystem::path runtime_;
    mutable std::mutex mutex_;
    std::map<std::string, double> opened_;  ///< by the pipe's name, under mutex_
    std::atomic<bool> over_{false};
    std::thread thread_;
};

}  // namespace zv::support
