// The messages, the timers and the loop that dispatches them.
#pragma once

#include <poll.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "platform/CommandOutcome.h"
#include "platform/Window.h"

namespace zv::x11 {

struct Session;

struct Timer {
    AppWindow* window = nullptr;
    std::uintptr_t id = 0;
    std::int64_t periodNs = 0;
    std::int64_t dueNs = 0;
};

struct Message {
    AppWindow* window = nullptr;
    std::uint32_t code = message::null;
    std::uintptr_t wParam = 0;
    std::intptr_t lParam = 0;
    /// Bits of keyModifier at the time of the user's input, which may be earlier than the last event that was read.
    std::optional<std::uint32_t> heldModifiers = std::nullopt;
};

struct MessageLoop {
    std::deque<Message> queue;
    std::vector<Timer> timers;
    std::vector<pollfd> sources;          ///< of the last wait
    int dialogEnd = -1;                   ///< readable once the dialog's program has ended; -1 if there is none
    std::int64_t displayChangeDueNs = 0;  ///< 0: none is pending
    bool serverLost = false;
    bool quitting = false;
    int quitCode = 0;
};

/// Two coordinates in an lParam.
inline std::intptr_t MakeLParam(int low, int high) {
    return static_cast<std::intptr_t>(static_cast<std::uint32_t>(low & 0xFFFF) |
                                      static_cast<std::uint32_t>(high & 0xFFFF) << 16U);
}

/// Calls the window's procedure. Catches its exceptions; a procedure that throws counts as one that did not handle the
/// message.
std::intptr_t Send(AppWindow& window, std::uint32_t code, std::uintptr_t wParam = 0, std::intptr_t lParam = 0);

/// Removes the window's messages and timers.
void RemoveMessages(MessageLoop& loop, const AppWindow& window);

/// Blocks the signals that end the program, in this thread and in all threads that it starts later. The loop reads
/// them.
void BlockEndSignals();

/// The handler of commands from later starts of the program.
void SetCommandHandler(CommandHandler handler);

/// Runs one iteration, which waits if nothing is due. Returns false if the loop must end.
bool RunLoopOnce(Session& session);

}  // namespace zv::x11
