#include "fake/MediaPlayer.h"

#include <string>
#include <utility>

namespace zv {

using fake::Call;
using fake::ThePlayer;

struct MediaPlayer {};

template <>
void Closer<MediaPlayer>::operator()(MediaPlayer* player) const noexcept {
    const Call call("ShutdownPlayer");
    --ThePlayer().live;
    delete player;
}

Owned<MediaPlayer> OpenMediaPlayer(const Text& path, AppWindow& video, PlayerEvent onEvent) {
    const Call call("OpenMediaPlayer");
    ThePlayer().path = path;
    ThePlayer().video = &video;
    if (call.Fails()) {
        return nullptr;
    }
    ThePlayer().events.push_back(std::move(onEvent));
    ++ThePlayer().live;
    return Owned<MediaPlayer>(new MediaPlayer);
}

void PlayMedia(MediaPlayer&) {
    const Call call("PlayMedia");
    ThePlayer().state = PlayerState::Playing;
}

void PauseMedia(MediaPlayer&) {
    const Call call("PauseMedia");
    ThePlayer().state = PlayerState::Paused;
}

PlayerState MediaState(MediaPlayer&) { return ThePlayer().state; }

std::int64_t MediaPosition(MediaPlayer&) { return ThePlayer().position; }

std::int64_t MediaDuration(MediaPlayer&) { return ThePlayer().duration; }

bool SeekMedia(MediaPlayer&, std::int64_t position) {
    const Call call("SeekMedia", std::to_string(position));
    if (call.Fails()) {
        return false;
    }
    ThePlayer().position = position;
    return true;
}

void SetMediaVolume(MediaPlayer&, float volume) {
    const Call call("SetMediaVolume");
    ThePlayer().volume = volume;
}

void UpdateVideo(MediaPlayer&) { const Call call("UpdateVideo"); }

namespace fake {

PlayerControls& ThePlayer() {
    static PlayerControls controls;
    return controls;
}

void ResetPlayer() { ThePlayer() = {}; }

}  // namespace fake
}  // namespace zv
