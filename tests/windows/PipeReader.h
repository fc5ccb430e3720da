// The reader of an audio pipe as the encoder is one: a thread that takes what comes until the stream ends.
#pragma once

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "core/Text.h"
#include "platform/Clock.h"
// After the program's own headers, whose names its macros would change.
#include <windows.h>

namespace zv::windows {

class PipeReader {
public:
    explicit PipeReader(const Text& pipeName)
        : opened_(Counter100ns()),
          thread_([this, name = std::wstring(pipeName.begin(), pipeName.end())] { Read(name); }) {}
    ~PipeReader() {
        Leave();
        Join();
    }
    PipeReader(const PipeReader&) = delete;
    PipeReader& operator=(const PipeReader&) = delete;

    /// A moment before the pipe was opened.
    std::int64_t Opened() const { return opened_; }
    std::size_t Bytes() const { return bytes_; }
    bool Ended() const { return ended_; }

    void Pause(bool on) { paused_ = on; }
    void Leave() { leaves_ = true; }
    void Join() {
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    /// After Join.
    std::vector<float> Samples() const {
        std::vector<float> samples(raw_.size() / sizeof(float));
        std::memcpy(samples.data(), raw_.data(), samples.size() * sizeof(float));
        return samples;
    }

private:
    void Read(const std::wstring& name) {
        const HANDLE pipe = CreateFileW(name.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        std::vector<char> block(3840);
        DWORD count = 0;
        while (!leaves_) {
            if (paused_) {
                SleepMs(1);
                continue;
            }
            if (!ReadFile(pipe, block.data(), static_cast<DWORD>(block.size()), &count, nullptr)) {
                break;
            }
            raw_.append(block.data(), count);
            bytes_ += count;
        }
        CloseHandle(pipe);
        ended_ = true;
    }

    std::int64_t opened_;
    std::string raw_;
    std::atomic<std::size_t> bytes_{0};
    std::atomic<bool> paused_{false};
    std::atomic<bool> leaves_{false};
    std::atomic<bool> ended_{false};
    std::thread thread_;
};

}  // namespace zv::windows
