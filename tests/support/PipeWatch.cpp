#include "support/PipeWatch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <system_error>
#include <utility>

namespace zv::support {

namespace fs = std::filesystem;

namespace {

double NowSeconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace

PipeWatch::PipeWatch(fs::path runtimeFolder) : runtime_(std::move(runtimeFolder)), thread_([this] { Run(); }) {}

PipeWatch::~PipeWatch() {
    ending_ = true;
    thread_.join();
}

std::optional<double> PipeWatch::Opened(const std::string& stem) const {
    const std::lock_guard lock(mutex_);
    std::optional<double> newest;
    for (const auto& [name, time] : opened_) {
        if (name.starts_with(stem) && (!newest || time > *newest)) {
            newest = time;
        }
    }
    return newest;
}

/// Returns an inotify descriptor for openings in the folder, or -1 if the watch ended first.
int PipeWatch::WaitForFolder() const {
    while (!ending_) {
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator(runtime_, ignored)) {
            if (entry.path().filename().string().starts_with("zorvel-")) {
                const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
                inotify_add_watch(watch, entry.path().c_str(), IN_OPEN);
                return watch;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return -1;
}

void PipeWatch::RecordOpening(const std::string& name) {
    const std::lock_guard lock(mutex_);
    opened_.emplace(name, NowSeconds());  // keeps the first opening
}

void PipeWatch::Run() {
    const int watch = WaitForFolder();
    while (watch >= 0 && !ending_) {
        pollfd entry{watch, POLLIN, 0};
        poll(&entry, 1, 50);
        alignas(inotify_event) std::array<char, 4096> buffer;
        const ssize_t count = read(watch, buffer.data(), buffer.size());
        for (ssize_t at = 0; at < count;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
            if (event->len > 0) {
                RecordOpening(event->name);
            }
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }
    close(watch);
}

}  // namespace zv::support
