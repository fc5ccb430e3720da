// The player is the program mpv, which draws in a child of our window.
#include "platform/MediaPlayer.h"

#include <utility>

#include "platform/linux/mpv/MpvPlayer.h"
#include "platform/linux/x11/window/Session.h"

namespace zv {

struct MediaPlayer {
    AppWindow* window = nullptr;
    std::unique_ptr<mpv::Player> player;
};

template <>
void Closer<MediaPlayer>::operator()(MediaPlayer* player) const noexcept {
    delete player;
}

Owned<MediaPlayer> OpenMediaPlayer(const Text& path, AppWindow& video, PlayerEvent onEvent) {
    // Shown before the first frame.
    x11::Session& session = x11::CurrentSession();
    const std::uint32_t black = session.screen->black_pixel;
    xcb_change_window_attributes(session.connection.get(), video.id, XCB_CW_BACK_PIXEL, &black);
    // mpv, another client, must find the window.
    x11::Synchronize(session);
    std::unique_ptr<mpv::Player> player = mpv::Player::Open(path, video.id, std::move(onEvent));
    return Owned<MediaPlayer>(player ? new MediaPlayer{&video, std::move(player)} : nullptr);
}

void PlayMedia(MediaPlayer& player) { player.player->Pause(false); }

void PauseMedia(MediaPlayer& player) { player.player->Pause(true); }

PlayerState MediaState(MediaPlayer& player) {
    const bool playing = player.player->IsPlaying();
    return !player.player->IsLoaded() ? PlayerState::Empty : playing ? PlayerState::Playing : PlayerState::Paused;
}

std::int64_t MediaPosition(MediaPlayer& player) { return player.player->Position(); }

std::int64_t MediaDuration(MediaPlayer& player) { return player.player->Duration(); }

bool SeekMedia(MediaPlayer& player, std::int64_t position) { return player.player->Seek(position); }

void SetMediaVolume(MediaPlayer& player, float volume) { player.player->SetVolume(volume); }

/// mpv draws its own window again when the server or the user asks for it.
void UpdateVideo(MediaPlayer& player) {
    xcb_connection_t* connection = x11::CurrentSession().connection.get();
    xcb_clear_area(connection, 0, player.window->id, 0, 0, 0, 0);
    xcb_flush(connection);
}

}  // namespace zv
