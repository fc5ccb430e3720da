#include "platform/MediaPlayer.h"

namespace zv {

struct MediaPlayer {};

template <>
void Closer<MediaPlayer>::operator()(MediaPlayer* player) const noexcept {
    delete player;
}

Owned<MediaPlayer> OpenMediaPlayer(const Text&, AppWindow&, PlayerEvent) { return nullptr; }

void PlayMedia(MediaPlayer&) {}
void PauseMedia(MediaPlayer&) {}
PlayerState MediaState(MediaPlayer&) { return PlayerState::Empty; }
std::int64_t MediaPosition(MediaPlayer&) { return 0; }
std::int64_t MediaDuration(MediaPlayer&) { return 0; }
bool SeekMedia(MediaPlayer&, std::int64_t) { return false; }
void SetMediaVolume(MediaPlayer&, float) {}
void UpdateVideo(MediaPlayer&) {}

}  // namespace zv
