// A thread that reads a pipe to its end, as FFmpeg does.
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

    /// A time shortly before the pipe was opened.
    std::int64_t Opened() const { return opened_; }
    std::size_t Bytes() const { return bytes_; }
    bool Ended() const { return ended_; }

    void Pause(bool on) { paused_ = on; }
    /// Returns true if an audio pipe has been full for at least 200 ms, so that a write is pending. While the reader
    /// pauses.
    bool WriterWaits() const {
        DWORD waiting = 0;
        PeekNamedPipe(pipe_, nullptr, 0, nullptr, &waiting, nullptr);
        const auto seconds = static_cast<double>(Counter100ns() - opened_) / 1e7;
        constexpr double mixLagSeconds = 0.1;
        const double behindSeconds =
            seconds - mixLagSeconds - static_cast<double>(bytes_ + waiting) / audioBytesPerSecond;
        return waiting >= audioBytesPerSecond && behindSeconds >= 0.2;
    }
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
        pipe_ = pipe;
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

    static constexpr std::size_t audioBytesPerSecond = 384000;  ///< as many as the pipe holds

    std::int64_t opened_;
    std::string raw_;
    std::atomic<HANDLE> pipe_{INVALID_HANDLE_VALUE};
    std::atomic<std::size_t> bytes_{0};
    std::atomic<bool> paused_{false};
    std::atomic<bool> leaves_{false};
    std::atomic<bool> ended_{false};
    std::thread thread_;
};

}  // namespace zv::windows
