// Records when the pipes of a program are opened for reading. Linux only.
#pragma once

#include <atomic>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace zv::support {

/// Watches the folder of the pipes below a runtime folder from its creation.
class PipeWatch {
public:
    explicit PipeWatch(std::filesystem::path runtimeFolder);
    ~PipeWatch();
    PipeWatch(const PipeWatch&) = delete;
    PipeWatch& operator=(const PipeWatch&) = delete;

    /// The time of the first opening of the newest pipe with that prefix, in seconds of CLOCK_MONOTONIC.
    std::optional<double> Opened(const std::string& stem) const;

private:
    void Run();
    int WaitForFolder() const;
    void RecordOpening(const std::string& name);

    std::filesystem::path runtime_;
    mutable std::mutex mutex_;
    std::map<std::string, double> opened_;  ///< by the pipe's name, under mutex_
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

}  // namespace zv::support
