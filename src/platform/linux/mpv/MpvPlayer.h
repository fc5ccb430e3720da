// One run of the program mpv, which plays one file in a window of this process.
//
// mpv is a child for each file, so that a decoder that crashes or hangs costs the video alone. It ends with the player
// and with this process. Requests and replies are lines of JSON on a socket. No function waits for a reply: positions
// are those that mpv reported last. Interface thread only; the message loop waits on PlayerDescriptors.
#pragma once

#include <poll.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/Text.h"
#include "platform/Result.h"
#include "platform/linux/mpv/MpvState.h"
#include "platform/linux/posix/GuardedChild.h"
#include "platform/linux/posix/Posix.h"

namespace zv::mpv {

/// A child that answers no request for so long counts as hung.
inline constexpr std::int64_t answerLimitNs = 10'000'000'000;

class Player {
public:
    /// Starts mpv, silent. `window` is the X window that it draws in. `onEvent` must not destroy the player. Returns
    /// null if mpv is not installed or does not start.
    static std::unique_ptr<Player> Open(const Text& path, std::uint32_t window, std::function<void(Result)> onEvent);

    /// Kills mpv.
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    void Pause(bool paused);
    /// Returns false if the file cannot seek.
    bool Seek(std::int64_t position);
    /// 0 to 1.
    void SetVolume(float volume);

    /// Whether frames are being shown. Also detects a child that hangs.
    bool IsPlaying();
    bool IsLoaded() const { return state_.loaded; }
    std::int64_t Position() const;
    std::int64_t Duration() const { return state_.duration; }

    /// The socket, for the message loop; -1 after a failure.
    int Socket() const { return socket_.Get(); }
    /// Handles what mpv has sent.
    void ReadLines();

private:
    Player() = default;
    void Send(const std::string& line);
    void HandleLine(std::string_view line);
    void CheckSignOfLife();
    void Fail(Result result);

    std::shared_ptr<GuardedChild> child_;
    Descriptor socket_;
    std::function<void(Result)> onEvent_;
    std::string path_;    ///< of the file, in the system's encoding
    std::string unread_;  ///< the beginning of a line
    MpvState state_;
    std::int64_t askedNs_ = 0;  ///< when a sign of life was requested last
    bool awaitsSign_ = false;
};

/// Adds the sockets of all players to what the message loop waits on.
void AddPlayerDescriptors(std::vector<pollfd>& sources);

/// Handles what the players have sent.
void DispatchPlayers();

}  // namespace zv::mpv
