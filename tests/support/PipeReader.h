// A thread that reads a pipe to its end, as FFmpeg does.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "core/Utf8.h"
#include "platform/Clock.h"

namespace zv::support {

class PipeReader {
public:
    static constexpr std::size_t audioBlockBytes = 3840;  ///< 10 ms of the mix

    explicit PipeReader(const Text& pipeName, std::size_t blockBytes = audioBlockBytes)
        : opened_(Counter100ns()), thread_([this, pipeName, blockBytes] { Read(ToUtf8(pipeName), blockBytes); }) {}
    ~PipeReader() {
        Leave();
        Join();
    }
    PipeReader(const PipeReader&) = delete;
    PipeReader& operator=(const PipeReader&) = delete;

    /// A time shortly before the pipe was opened.
    std::int64_t Opened() const { return opened_; }
    /// The bytes of the blocks that are complete.
    std::size_t Bytes() const { return bytes_; }
    bool Ended() const { return ended_; }
    /// The open pipe, or null.
    std::FILE* File() const { return file_; }

    /// Stops or resumes reading after the current block.
    void Pause(bool on) { paused_ = on; }
    /// Closes the pipe after the current block.
    void Leave() { leaves_ = true; }
    void Join() {
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    /// Everything that was read. Called after the end.
    const std::string& Content() const { return content_; }
    std::vector<float> Samples() const {
        std::vector<float> samples(content_.size() / sizeof(float));
        std::memcpy(samples.data(), content_.data(), samples.size() * sizeof(float));
        return samples;
    }

private:
    void Read(const std::string& name, std::size_t blockBytes) {
        std::FILE* const file = std::fopen(name.c_str(), "rb");
        if (file != nullptr) {
            std::setvbuf(file, nullptr, _IONBF, 0);
            file_ = file;
            ReadBlocks(file, blockBytes);
            file_ = nullptr;
            std::fclose(file);
        }
        ended_ = true;
    }
    void ReadBlocks(std::FILE* file, std::size_t blockBytes) {
        std::vector<char> block(blockBytes);
        for (std::size_t count = blockBytes; count == blockBytes && !leaves_;) {
            if (paused_) {
                SleepMs(1);
                continue;
            }
            count = std::fread(block.data(), 1, blockBytes, file);
            content_.append(block.data(), count);
            bytes_ += count;
        }
    }

    std::int64_t opened_;
    std::string content_;
    std::atomic<std::FILE*> file_{nullptr};
    std::atomic<std::size_t> bytes_{0};
    std::atomic<bool> paused_{false};
    std::atomic<bool> leaves_{false};
    std::atomic<bool> ended_{false};
    std::thread thread_;
};

}  // namespace zv::support
