// The system's media player, which plays one file in a window of ours. Interface thread only.
//
// Positions are in units of 100 ns from the beginning of the file. No function waits for the player.
#pragma once

#include <cstdint>
#include <functional>

#include "core/Text.h"
#include "platform/Owned.h"
#include "platform/Result.h"
#include "platform/Window.h"

namespace zv {

struct MediaPlayer;
/// Ends playback and shuts the player down. Events may still arrive during this call.
template <>
void Closer<MediaPlayer>::operator()(MediaPlayer* player) const noexcept;

/// Values of Windows.
enum class PlayerState { Empty = 0, Stopped = 1, Playing = 2, Paused = 3, Shutdown = 4 };

/// Receives the player's events: a change of its state, or a failure that ends playback. Linux calls it from the
/// message loop. Windows may call it on the player's own thread, also after the player has been shut down, so it must
/// own what it uses.
using PlayerEvent = std::function<void(Result result)>;

/// Opens a file in the client area of `video`, which must outlive the player, and starts playing as soon as the file is
/// open. Returns null if the player is not installed or refuses at once. A file that turns out to be unreadable causes
/// an event.
Owned<MediaPlayer> OpenMediaPlayer(const Text& path, AppWindow& video, PlayerEvent onEvent);

void PlayMedia(MediaPlayer& player);
void PauseMedia(MediaPlayer& player);
PlayerState MediaState(MediaPlayer& player);

/// 0 if it is not known.
std::int64_t MediaPosition(MediaPlayer& player);
/// 0 if it is not known, as before the file is open.
std::int64_t MediaDuration(MediaPlayer& player);
/// Shows the frame at this position. Returns false if the player refuses.
bool SeekMedia(MediaPlayer& player, std::int64_t position);

/// 0 is silent, 1 is the file's own volume.
void SetMediaVolume(MediaPlayer& player, float volume);

/// Draws the current frame again, black if there is none. Called while the window handles message::paint, and after
/// message::size.
void UpdateVideo(MediaPlayer& player);

}  // namespace zv
