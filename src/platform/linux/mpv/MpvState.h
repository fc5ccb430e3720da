// What mpv has reported about the file that it plays. Rules only: lines of its JSON protocol in, a record out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Result.h"

namespace zv::mpv {

struct MpvState {
    bool loaded = false;
    bool paused = false;        ///< also while a request to pause or play is on its way
    bool ended = false;         ///< the last frame is shown
    bool seeking = false;       ///< `position` is the target of a seek that mpv has not finished
    bool seekable = true;       ///< mpv knows only once the file is loaded
    std::int64_t position = 0;  ///< in units of 100 ns
    std::int64_t duration = 0;  ///< the same; 0 before the file is loaded
};

inline constexpr double unitsPerSecond = 1e7;  ///< of positions and durations; mpv reports seconds

/// The ids of our requests.
inline constexpr int signOfLifeRequest = 1;
inline constexpr int seekRequest = 2;

/// What follows from a line.
struct MpvReport {
    bool changed = false;     ///< of what a page shows, besides the position
    bool signOfLife = false;  ///< the reply to signOfLifeRequest
    Result failure = resultOk;
};

/// Applies one line to the state. Ignores a line that it does not understand.
MpvReport ApplyLine(MpvState& state, std::string_view line);

/// Returns the value of a member of a JSON object as it is written, a string without its quotes. Empty if the object
/// has no such member or is no object. Does not decode escapes: mpv needs none in the values that are used here.
std::string_view JsonMember(std::string_view object, std::string_view name);

/// The requests of the properties in MpvState, which mpv then reports at each change.
std::string ObserveRequests();

}  // namespace zv::mpv
