// A ring of segments on disk like FFmpeg's: a segment is complete before it is listed, and the list is replaced
// atomically.
#pragma once

#include <chrono>
#include <deque>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "core/Text.h"
#include "platform/Files.h"
#include "support/TemporaryFolder.h"

namespace zv {

class SegmentRing {
public:
    Text Folder() const { return FromPath(folder_.Path()); }

    /// Writes the next segment; Publish lists it.
    void Add(const std::string& content) {
        listed_.push_back(Name(next_++));
        std::ofstream(folder_.Path() / listed_.back(), std::ios::binary) << content;
    }

    /// Lists the newest `size` segments and deletes those that left the list three or more segments ago.
    void Publish(std::size_t size) {
        while (listed_.size() > size) {
            leaving_.push_back(listed_.front());
            listed_.pop_front();
        }
        while (leaving_.size() > 3) {
            std::error_code ignored;
            std::filesystem::remove(folder_.Path() / leaving_.front(), ignored);
            leaving_.pop_front();
        }
        {
            std::ofstream file(folder_.Path() / "live.m3u8.tmp", std::ios::binary);
            file << "#EXTM3U\n";
            for (const std::string& name : listed_) {
                file << "#EXTINF:1.000000,\n" << name << "\n";
            }
        }
        ReplacePlaylist();
    }

    void Delete(int number) { std::filesystem::remove(folder_.Path() / Name(number)); }

    static std::string Name(int number) {
        const std::string digits = std::to_string(number);
        return "seg" + std::string(8 - digits.size(), '0') + digits + ".ts";
    }

private:
    /// Retries until the reader has closed the file: some systems cannot replace an open file.
    void ReplacePlaylist() {
        std::error_code error;
        do {
            std::filesystem::rename(folder_.Path() / "live.m3u8.tmp", folder_.Path() / "live.m3u8", error);
            if (error) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        } while (error);
    }

    support::TemporaryFolder folder_;
    std::deque<std::string> listed_;
    std::deque<std::string> leaving_;
    int next_ = 0;
};

}  // namespace zv
