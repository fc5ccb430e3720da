// The message loop of the interface thread.
//
// It sleeps in one ppoll on the server's connection, the session bus, the media player, the end signals, the commands
// of later starts and the earliest timer. It converts events to messages in a queue. Each iteration dispatches at most
// one timer, so that timer messages never accumulate.
#include "platform/linux/x11/window/MessageLoop.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>
#include <xcb/randr.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <new>
#include <utility>

#include "platform/Session.h"
#include "platform/Window.h"
#include "platform/linux/dbus/SessionBus.h"
#include "platform/linux/mpv/MpvPlayer.h"
#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/window/Redirection.h"
#include "platform/linux/x11/window/Session.h"
#include "platform/linux/x11/window/TrayIcon.h"
#include "platform/linux/x11/window/WindowGeometry.h"
#include "platform/linux/x11/window/WindowPixels.h"
#include "platform/linux/x11/window/WindowStacking.h"

namespace zv {
namespace x11 {
namespace {

constexpr std::int64_t nsPerMs = 1'000'000;
constexpr std::int64_t displaySettleNs = 200 * nsPerMs;  ///< a server reports one change as several events

void (*endRequest)() = nullptr;
CommandHandler commandHandler = nullptr;

/// A descriptor that is readable after a signal that ends the program. The signals are blocked in this thread and in
/// all threads that it starts later, so that only this descriptor receives them.
int EndSignals() {
    static const int descriptor = [] {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGTERM);
        sigaddset(&signals, SIGINT);
        sigaddset(&signals, SIGHUP);
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    }();
    return descriptor;
}

bool IsKnown(const Session& session, const AppWindow* window) {
    return std::find(session.windows.begin(), session.windows.end(), window) != session.windows.end();
}

void HandleClientMessage(Session& session, const xcb_client_message_event_t& event) {
    if (event.window == session.screen->root && event.type == session.atoms.manager &&
        event.data.data32[1] == session.atoms.traySelection) {
        QueueTaskbarCreated(session);
        return;
    }
    AppWindow* window = WindowOf(session, event.window);
    if (window == nullptr) {
        return;
    }
    if (event.type == session.atoms.comeForward) {
        ShowInFront(*window);
    } else if (event.type == session.atoms.wmProtocols && event.data.data32[0] == session.atoms.wmDeleteWindow) {
        session.loop.queue.push_back({window, message::close, 0, 0});
    } else if (event.type == session.atoms.wmProtocols && event.data.data32[0] == session.atoms.netWmPing) {
        xcb_client_message_event_t answer = event;
        answer.window = session.screen->root;
        xcb_send_event(session.connection.get(), 0, answer.window,
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&answer));
    }
}

void HandleEvent(Session& session, const xcb_generic_event_t& event) {
    const auto handles = [&](auto listener) { return listener(session, event); };
    if (std::any_of(session.listeners.begin(), session.listeners.end(), handles) ||
        HandleKeyboardEvent(session, event) || HandleInputEvent(session, event) ||
        HandleGeometryEvent(session, event)) {
        return;
    }
    const std::uint8_t type = event.response_type & 0x7FU;
    if (type == XCB_CLIENT_MESSAGE) {
        HandleClientMessage(session, reinterpret_cast<const xcb_client_message_event_t&>(event));
    } else if (type == XCB_DESTROY_NOTIFY) {
        AppWindow* window = WindowOf(session, reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window);
        if (window != nullptr) {
            DestroyAppWindow(*window);
        }
    } else if (session.randrEvent != 0 &&
               (type == session.randrEvent || type == session.randrEvent + XCB_RANDR_NOTIFY)) {
        session.loop.displayChangeDueNs = MonotonicNs() + displaySettleNs;
    }
}

void ReadEvents(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
        HandleEvent(session, *event);
    }
    ApplyKeyboardMapping(session);
    RestoreStacking(session);
    xcb_flush(connection);
}

/// Returns false for a mouse leave that the window has not requested. The request may be the answer to a move that was
/// read together with the leave, so this is decided only when the message is dispatched.
bool IsRequested(const Message& next) {
    return next.code != message::mouseLeave || std::exchange(next.window->tracksLeave, false);
}

bool DispatchQueued(Session& session) {
    bool any = false;
    while (!session.loop.queue.empty()) {
        const Message next = session.loop.queue.front();
        session.loop.queue.pop_front();
        if (IsKnown(session, next.window) && IsRequested(next)) {
            session.input.heldModifiers = next.heldModifiers.value_or(session.input.heldModifiers);
            Send(*next.window, next.code, next.wParam, next.lParam);
        }
        any = true;
    }
    return any;
}

void QueueSettledDisplayChange(Session& session, std::int64_t nowNs) {
    if (session.loop.displayChangeDueNs == 0 || nowNs < session.loop.displayChangeDueNs) {
        return;
    }
    session.loop.displayChangeDueNs = 0;
    for (AppWindow* window : session.windows) {
        session.loop.queue.push_back({window, message::displayChange, 0, 0});
    }
}

/// Dispatches the timer that has been due for the longest time. Drops the ticks that a late timer has missed.
bool DispatchTimer(Session& session, std::int64_t nowNs) {
    const auto first = std::min_element(session.loop.timers.begin(), session.loop.timers.end(),
                                        [](const Timer& a, const Timer& b) { return a.dueNs < b.dueNs; });
    if (first == session.loop.timers.end() || first->dueNs > nowNs) {
        return false;
    }
    first->dueNs = std::max(first->dueNs + first->periodNs, nowNs + 1);
    const Timer due = *first;
    Send(*due.window, message::timer, due.id);
    return true;
}

/// Nanoseconds until the next timer, display change or release is due; -1 if there is none.
std::int64_t NextDueNs(const Session& session, std::int64_t nowNs) {
    std::int64_t due = session.loop.displayChangeDueNs == 0 ? INT64_MAX : session.loop.displayChangeDueNs;
    if (session.redirection.releaseDueNs != 0) {
        due = std::min(due, session.redirection.releaseDueNs);
    }
    for (const Timer& timer : session.loop.timers) {
        due = std::min(due, timer.dueNs);
    }
    return due == INT64_MAX ? -1 : std::max<std::int64_t>(due - nowNs, 0);
}

void RequestEnd() {
    if (endRequest != nullptr) {
        endRequest();
    } else {
        PostQuit(0);
    }
}

void ReadEndSignals() {
    signalfd_siginfo signal{};
    bool any = false;
    while (read(EndSignals(), &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal)) {
        any = true;
    }
    if (any) {
        RequestEnd();
    }
}

/// Requests the end of the program if the connection to the server is lost, with exit code 1 unless the program sets
/// another one.
bool EndOnLostServer(Session& session) {
    if (session.loop.serverLost || xcb_connection_has_error(session.connection.get()) == 0) {
        return false;
    }
    session.loop.serverLost = true;
    PostQuit(1);
    RequestEnd();
    return true;
}

void WaitForWork(Session& session) {
    const std::int64_t waitNs = NextDueNs(session, MonotonicNs());
    const timespec wait{waitNs / 1'000'000'000, waitNs % 1'000'000'000};
    std::vector<pollfd>& sources = session.loop.sources;
    sources.assign(
        {pollfd{xcb_get_file_descriptor(session.connection.get()), POLLIN, 0}, pollfd{EndSignals(), POLLIN, 0}});
    if (session.loop.dialogEnd >= 0) {
        sources.push_back({session.loop.dialogEnd, POLLIN, 0});
    }
    dbus::AddBusDescriptors(sources);
    mpv::AddPlayerDescriptors(sources);
    if (session.commands) {
        session.commands->AddDescriptors(sources);
    }
    if (ppoll(sources.data(), sources.size(), waitNs < 0 ? nullptr : &wait, nullptr) > 0 && sources[1].revents != 0) {
        ReadEndSignals();
    }
}

bool RunStep(Session& session) {
    if (DispatchQueued(session)) {
        return true;
    }
    if (session.loop.quitting) {
        return false;
    }
    MapNewWindows(session);
    ReadEvents(session);
    dbus::DispatchBus();
    mpv::DispatchPlayers();
    const std::int64_t nowNs = MonotonicNs();
    if (session.commands && commandHandler != nullptr) {
        session.commands->Dispatch(commandHandler, nowNs);
    }
    QueueSettledDisplayChange(session, nowNs);
    ReleaseOccludedContent(session, nowNs);
    if (session.loop.queue.empty() && !EndOnLostServer(session) && !DispatchTimer(session, nowNs) &&
        !DispatchPaint(session)) {
        WaitForWork(session);
    }
    return true;
}

}  // namespace

std::intptr_t Send(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (window.procedure == nullptr) {
        return 0;
    }
    try {
        return window.procedure(window, code, wParam, lParam);
    } catch (...) {
        // The message counts as not handled, except that message::close is ignored. The procedure may have destroyed
        // the window.
        return code == message::hitTest ? hitCode::client : 0;
    }
}

void RemoveMessages(MessageLoop& loop, const AppWindow& window) {
    std::erase_if(loop.timers, [&](const Timer& timer) { return timer.window == &window; });
    std::erase_if(loop.queue, [&](const Message& waiting) { return waiting.window == &window; });
}

void BlockEndSignals() { EndSignals(); }

void SetCommandHandler(CommandHandler handler) { commandHandler = handler; }

bool RunLoopOnce(Session& session) {
    try {
        return RunStep(session);
    } catch (const std::bad_alloc&) {
        // An event is lost if memory is exhausted; the program continues.
        constexpr timespec pause{0, 10 * nsPerMs};
        clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, nullptr);
        return true;
    }
}

}  // namespace x11

void StartTimer(AppWindow& window, std::uintptr_t id, std::uint32_t periodMs) {
    StopTimer(window, id);
    const std::int64_t periodNs = std::max<std::int64_t>(periodMs, 1) * x11::nsPerMs;
    x11::CurrentSession().loop.timers.push_back({&window, id, periodNs, MonotonicNs() + periodNs});
}

void StopTimer(AppWindow& window, std::uintptr_t id) {
    std::erase_if(x11::CurrentSession().loop.timers,
                  [&](const x11::Timer& timer) { return timer.window == &window && timer.id == id; });
}

void PostQuit(int code) {
    x11::CurrentSession().loop.quitting = true;
    x11::CurrentSession().loop.quitCode = code;
}

void SetEndRequest(void (*request)()) { x11::endRequest = request; }

int RunMessageLoop() {
    x11::Session& session = x11::CurrentSession();
    while (x11::RunLoopOnce(session)) {
    }
    session.loop.quitting = false;
    return session.loop.quitCode;
}

}  // namespace zv
