// A media player that exists only as a record. The test sets what it answers and raises its events.
#pragma once

#include <vector>

#include "fake/Calls.h"
#include "platform/MediaPlayer.h"

namespace zv::fake {

struct PlayerControls {
    int live = 0;  ///< players that are open
    Text path;     ///< of the last one
    AppWindow* video = nullptr;
    std::vector<PlayerEvent> events;  ///< of all players so far; may be called at any time
    PlayerState state = PlayerState::Playing;
    std::int64_t position = 0;
    std::int64_t duration = 0;
    float volume = -1;
};

PlayerControls& ThePlayer();
void ResetPlayer();

}  // namespace zv::fake
