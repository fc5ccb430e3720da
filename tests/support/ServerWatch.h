// An X server's records of one client: the requests that it sends and the number of its resources. The requests of the
// two extensions are encoded here.
#pragma once

#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "support/XClient.h"

namespace zv::support {

inline xcb_extension_t resourceExtension = {"X-Resource", 0};
inline xcb_extension_t recordExtension = {"RECORD", 0};

/// Sends a request; `words` follow its opcodes and its length. Returns the sequence number.
inline unsigned SendExtension(xcb_connection_t* connection, xcb_extension_t& extension, std::uint8_t opcode,
                              bool hasReply, std::span<const std::uint32_t> words) {
    std::vector<std::uint32_t> request(1 + words.size());
    std::copy(words.begin(), words.end(), request.begin() + 1);
    std::array<iovec, 4> parts{};
    parts[2] = {request.data(), request.size() * 4};
    const xcb_protocol_request_t protocol{2, &extension, opcode, static_cast<std::uint8_t>(hasReply ? 0 : 1)};
    const unsigned sequence = xcb_send_request(connection, hasReply ? XCB_REQUEST_CHECKED : 0, &parts[2], &protocol);
    xcb_flush(connection);
    return sequence;
}

/// The number of windows, pixmaps, contexts and other resources of the client that made `window`.
inline std::uint32_t ResourcesOf(xcb_connection_t* connection, xcb_window_t window) {
    constexpr std::uint8_t queryClientResources = 2;
    const std::array<std::uint32_t, 1> words{window};
    const unsigned sequence = SendExtension(connection, resourceExtension, queryClientResources, true, words);
    const Reply<void> reply(xcb_wait_for_reply(connection, sequence, nullptr));
    if (!reply) {
        return 0;
    }
    const auto* bytes = static_cast<const std::uint8_t*>(reply.get());
    std::uint32_t types = 0;
    std::memcpy(&types, bytes + 8, 4);
    std::uint32_t sum = 0;
    for (std::uint32_t type = 0; type < types; ++type) {
        std::uint32_t count = 0;
        std::memcpy(&count, bytes + 32 + 8 * type + 4, 4);
        sum += count;
    }
    return sum;
}

/// Counts the requests of the client that made `window`, or whose resource base it is, from now on.
class RequestWatch {
public:
    RequestWatch(const std::string& display, xcb_window_t window)
        : control_(display), data_(display), context_(xcb_generate_id(control_.Get())) {
        constexpr std::uint8_t createContext = 1;
        constexpr std::uint8_t enableContext = 5;
        // One client, one range: core requests 1 to 127, and all requests of extensions.
        std::array<std::uint8_t, 24> range{};
        range[0] = 1;
        range[1] = 127;
        range[4] = 128;
        range[5] = 255;
        range[8] = range[9] = 0xFF;  // minor 0 to 65535
        std::vector<std::uint32_t> request{context_, 0, 1, 1, window};
        request.resize(request.size() + range.size() / 4);
        std::memcpy(&request[5], range.data(), range.size());
        SendExtension(control_.Get(), recordExtension, createContext, false, request);
        control_.Sync();
        const std::array<std::uint32_t, 1> enable{context_};
        sequence_ = SendExtension(data_.Get(), recordExtension, enableContext, true, enable);
    }
    /// How often each request came: major and minor opcode.
    const std::map<std::pair<int, int>, int>& Requests() {
        control_.Sync();
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        while (xcb_poll_for_reply(data_.Get(), sequence_, &reply, &error) != 0 && reply != nullptr) {
            Count(static_cast<const std::uint8_t*>(reply));
            std::free(reply);
            reply = nullptr;
        }
        return requests_;
    }
    /// The number of requests that change the content of a window.
    int Paintings() {
        Requests();
        constexpr int clearArea = 61;
        constexpr int putImage = 72;
        constexpr int shmPutImage = 3;
        const int shm = MajorOf("MIT-SHM");
        const int render = MajorOf("RENDER");
        int sum = 0;
        for (const auto& [code, count] : requests_) {
            const bool paints = (code.first >= clearArea && code.first <= putImage) || code.first == render ||
                                (code.first == shm && code.second == shmPutImage);
            sum += paints ? count : 0;
        }
        return sum;
    }

private:
    int MajorOf(const char* name) const {
        const Reply<xcb_query_extension_reply_t> reply(xcb_query_extension_reply(
            control_.Get(), xcb_query_extension(control_.Get(), static_cast<std::uint16_t>(std::strlen(name)), name),
            nullptr));
        return reply ? reply->major_opcode : -1;
    }
    void Count(const std::uint8_t* reply) {
        constexpr std::uint8_t fromClient = 1;
        std::uint32_t words = 0;
        std::memcpy(&words, reply + 4, 4);
        std::size_t at = 32;
        const std::size_t end = 32 + std::size_t{words} * 4;
        while (reply[1] == fromClient && at + 4 <= end) {
            std::uint16_t units = 0;
            std::memcpy(&units, reply + at + 2, 2);
            std::uint32_t size = units;
            if (units == 0) {
                std::memcpy(&size, reply + at + 4, 4);
            }
            const int minor = reply[at] >= 128 ? reply[at + 1] : 0;
            ++requests_[{reply[at], minor}];
            at += std::size_t{std::max(size, std::uint32_t{1})} * 4;
        }
    }

    OtherClient control_;
    OtherClient data_;
    std::uint32_t context_;
    unsigned sequence_ = 0;
    std::map<std::pair<int, int>, int> requests_;
};

}  // namespace zv::support
