// Windows, timers and the message loop of the interface thread, over XCB.
//
// The loop sleeps in one ppoll on the server's connection, the end signals and the earliest timer, and nothing wakes
// it while none of them has something to say. Events become messages in a queue; a timer is answered from the loop
// itself, at most once a turn, so that a slow handler never piles them up.
#include "platform/Window.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>
#include <xcb/randr.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <ctime>
#include <new>

#include "platform/Files.h"
#include "platform/Keyboard.h"
#include "platform/Session.h"
#include "platform/TrayIcon.h"
#include "platform/linux/posix/Posix.h"
#include "platform/linux/x11/PixelFormat.h"
#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/window/WindowSession.h"

namespace zv {
namespace x11 {
namespace {

constexpr std::int64_t nsPerMs = 1'000'000;
constexpr std::int64_t displaySettleNs = 200 * nsPerMs;  ///< one change comes as several events
constexpr std::uint32_t background = 0x111219;           ///< of a window that has not been painted

void (*endRequest)() = nullptr;

/// Readable when the user's session or the user asks the program to end. The signals are blocked in this thread and
/// in all that it starts later, so that nothing else takes them.
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

void InternAtoms(Session& session) {
    struct Row {
        xcb_atom_t Atoms::*atom;
        const char* name;
    };
    static constexpr Row rows[] = {
        {&Atoms::wmProtocols, "WM_PROTOCOLS"},
        {&Atoms::wmDeleteWindow, "WM_DELETE_WINDOW"},
        {&Atoms::netWmPing, "_NET_WM_PING"},
        {&Atoms::netWmName, "_NET_WM_NAME"},
        {&Atoms::netWmPid, "_NET_WM_PID"},
        {&Atoms::netActiveWindow, "_NET_ACTIVE_WINDOW"},
        {&Atoms::utf8String, "UTF8_STRING"},
        {&Atoms::windowClass, "_ZORVEL_WINDOW_CLASS"},
        {&Atoms::comeForward, "_ZORVEL_COME_FORWARD"},
        {&Atoms::netWmState, "_NET_WM_STATE"},
        {&Atoms::netWmStateAbove, "_NET_WM_STATE_ABOVE"},
        {&Atoms::netWmStateSkipTaskbar, "_NET_WM_STATE_SKIP_TASKBAR"},
        {&Atoms::netWmWindowType, "_NET_WM_WINDOW_TYPE"},
        {&Atoms::netWmWindowTypeDialog, "_NET_WM_WINDOW_TYPE_DIALOG"},
        {&Atoms::netWmWindowTypeNotification, "_NET_WM_WINDOW_TYPE_NOTIFICATION"},
        {&Atoms::netWmWindowOpacity, "_NET_WM_WINDOW_OPACITY"},
        {&Atoms::netWmIcon, "_NET_WM_ICON"},
        {&Atoms::netWorkarea, "_NET_WORKAREA"},
        {&Atoms::gtkThemeVariant, "_GTK_THEME_VARIANT"},
        {&Atoms::netWmWindowTypeDesktop, "_NET_WM_WINDOW_TYPE_DESKTOP"},
        {&Atoms::netWmWindowTypeDock, "_NET_WM_WINDOW_TYPE_DOCK"},
        {&Atoms::netSupportingWmCheck, "_NET_SUPPORTING_WM_CHECK"},
        {&Atoms::wmState, "WM_STATE"},
        {&Atoms::manager, "MANAGER"},
    };
    for (const Row& row : rows) {
        session.atoms.*row.atom = InternAtom(session.connection.get(), row.name);
    }
    const std::string number = std::to_string(session.screenNumber);
    session.atoms.traySelection = InternAtom(session.connection.get(), "_NET_SYSTEM_TRAY_S" + number);
    session.atoms.compositorSelection = InternAtom(session.connection.get(), "_NET_WM_CM_S" + number);
}

void WatchDisplay(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xcb_randr_id);
    if (extension == nullptr || extension->present == 0) {
        return;
    }
    session.randrEvent = extension->first_event;
    std::free(xcb_randr_query_version_reply(connection, xcb_randr_query_version(connection, 1, 5), nullptr));
    xcb_randr_select_input(
        connection, session.screen->root,
        XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

/// Its properties tell the DPI, and it is told of a new notification area.
void WatchRoot(Session& session) {
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(session.connection.get(), session.screen->root, XCB_CW_EVENT_MASK, &events);
    FollowDpi(session);
}

bool IsKnown(const Session& session, const AppWindow* window) {
    return std::find(session.windows.begin(), session.windows.end(), window) != session.windows.end();
}

void SetTextProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, const std::string& text) {
    xcb_change_property(CurrentSession().connection.get(), XCB_PROP_MODE_REPLACE, window, property, type, 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
}

void SetNumbers(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, const std::vector<std::uint32_t>& numbers) {
    xcb_change_property(CurrentSession().connection.get(), XCB_PROP_MODE_REPLACE, window, property, type, 32,
                        static_cast<std::uint32_t>(numbers.size()), numbers.data());
}

/// WM_NORMAL_HINTS: place and least size, as far as they are asked for.
void SetSizeHints(xcb_window_t window, const WindowOptions& options, Point least) {
    constexpr std::uint32_t userPosition = 1;
    constexpr std::uint32_t minimumSize = 16;
    std::vector<std::uint32_t> hints(18, 0);
    hints[0] =
        (options.frame == WindowFrame::Full ? 0U : userPosition) | (least.x > 0 || least.y > 0 ? minimumSize : 0U);
    hints[5] = static_cast<std::uint32_t>(std::max(least.x, 0));
    hints[6] = static_cast<std::uint32_t>(std::max(least.y, 0));
    SetNumbers(window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, hints);
}

/// What a window manager and a compositor make of the window.
void SetKind(const Atoms& atoms, xcb_window_t window, const WindowOptions& options) {
    if (options.frame == WindowFrame::Bare) {
        SetNumbers(window, atoms.netWmWindowType, XCB_ATOM_ATOM, {atoms.netWmWindowTypeNotification});
    } else if (options.frame == WindowFrame::Caption) {
        SetNumbers(window, atoms.netWmWindowType, XCB_ATOM_ATOM, {atoms.netWmWindowTypeDialog});
    }
    std::vector<std::uint32_t> states;
    if (options.topmost) {
        states.push_back(atoms.netWmStateAbove);
    }
    if (options.toolWindow) {
        states.push_back(atoms.netWmStateSkipTaskbar);
    }
    SetNumbers(window, atoms.netWmState, XCB_ATOM_ATOM, states);
    if (options.owner != nullptr) {
        SetNumbers(window, XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW, {options.owner->id});
    }
    if (options.noActivate) {
        constexpr std::uint32_t inputHint = 1;
        SetNumbers(window, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, {inputHint, 0, 0, 0, 0, 0, 0, 0, 0});
    }
}

void SetWindowProperties(Session& session, xcb_window_t window, const WindowOptions& options) {
    using namespace std::string_literals;
    xcb_connection_t* connection = session.connection.get();
    const Atoms& atoms = session.atoms;
    const std::string title = ToPath(options.title).string();
    SetTextProperty(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, title);
    SetTextProperty(window, atoms.netWmName, atoms.utf8String, title);
    SetTextProperty(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, "zorvel\0Zorvel\0"s);
    SetTextProperty(window, atoms.windowClass, atoms.utf8String, ToPath(options.className).string());
    std::array<char, HOST_NAME_MAX + 1> host{};
    if (gethostname(host.data(), host.size() - 1) == 0) {
        SetTextProperty(window, XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, host.data());
    }
    const auto processId = static_cast<std::uint32_t>(getpid());
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atoms.netWmPid, XCB_ATOM_CARDINAL, 32, 1,
                        &processId);
    const std::array<xcb_atom_t, 2> protocols{atoms.wmDeleteWindow, atoms.netWmPing};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atoms.wmProtocols, XCB_ATOM_ATOM, 32,
                        static_cast<std::uint32_t>(protocols.size()), protocols.data());
}

xcb_window_t MakeServerWindow(Session& session, const WindowOptions& options) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_window_t id = xcb_generate_id(connection);
    const bool bare = options.frame == WindowFrame::Bare;
    constexpr std::uint32_t events =
        XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_POINTER_MOTION |
        XCB_EVENT_MASK_LEAVE_WINDOW | XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
        XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_FOCUS_CHANGE;
    // A window that grows keeps its picture until it is painted anew. One that comes up over a game shows what lies
    // beneath until then, not an empty box.
    const std::array<std::uint32_t, 4> values{bare ? std::uint32_t{XCB_BACK_PIXMAP_NONE} : background,
                                              XCB_GRAVITY_NORTH_WEST, bare ? 1U : 0U, events};
    const xcb_void_cookie_t made = xcb_create_window_checked(
        connection, XCB_COPY_FROM_PARENT, id, session.screen->root, static_cast<std::int16_t>(options.left),
        static_cast<std::int16_t>(options.top), static_cast<std::uint16_t>(options.width),
        static_cast<std::uint16_t>(options.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
        (bare ? XCB_CW_BACK_PIXMAP : XCB_CW_BACK_PIXEL) | XCB_CW_BIT_GRAVITY | XCB_CW_OVERRIDE_REDIRECT |
            XCB_CW_EVENT_MASK,
        values.data());
    const Reply<xcb_generic_error_t> error(xcb_request_check(connection, made));
    return error || xcb_connection_has_error(connection) != 0 ? xcb_window_t{XCB_WINDOW_NONE} : id;
}

/// The window hears of its end while it, its timers and its keys still stand, as its procedure may release them.
void EndWindow(AppWindow& window) {
    if (window.ended) {
        return;
    }
    window.ended = true;
    Session& session = CurrentSession();
    Send(window, message::destroy);
    std::erase_if(session.timers, [&](const Timer& timer) { return timer.window == &window; });
    std::erase_if(session.queue, [&](const Message& waiting) { return waiting.window == &window; });
    const std::vector<GlobalKey>& keys = session.keyboard.keys;
    const auto isOfWindow = [&](const GlobalKey& key) { return key.window == &window; };
    const auto first = [&] { return std::find_if(keys.begin(), keys.end(), isOfWindow); };
    for (auto key = first(); key != keys.end(); key = first()) {
        UnregisterGlobalKey(window, key->id);
    }
    std::erase(session.windows, &window);
    if (session.connection) {
        ForgetWindow(session, window);
        ReleasePixels(session, window);
        xcb_destroy_window(session.connection.get(), window.id);
        xcb_flush(session.connection.get());
    }
}

void HandleClientMessage(Session& session, const xcb_client_message_event_t& event) {
    if (event.window == session.screen->root && event.type == session.atoms.manager &&
        event.data.data32[1] == session.atoms.traySelection) {
        for (AppWindow* each : session.windows) {
            session.queue.push_back({each, TaskbarCreatedMessage(), 0, 0});
        }
        return;
    }
    AppWindow* window = WindowOf(session, event.window);
    if (window == nullptr) {
        return;
    }
    if (event.type == session.atoms.comeForward) {
        ShowInFront(*window);
    } else if (event.type == session.atoms.wmProtocols && event.data.data32[0] == session.atoms.wmDeleteWindow) {
        session.queue.push_back({window, message::close, 0, 0});
    } else if (event.type == session.atoms.wmProtocols && event.data.data32[0] == session.atoms.netWmPing) {
        xcb_client_message_event_t answer = event;
        answer.window = session.screen->root;
        xcb_send_event(session.connection.get(), 0, answer.window,
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&answer));
    }
}

void HandleEvent(Session& session, const xcb_generic_event_t& event) {
    const auto isTheirs = [&](auto listener) { return listener(session, event); };
    if (std::any_of(session.listeners.begin(), session.listeners.end(), isTheirs) ||
        HandleKeyboardEvent(session, event) || HandleInputEvent(session, event) || HandlePlaceEvent(session, event)) {
        return;
    }
    const std::uint8_t type = event.response_type & 0x7FU;
    if (type == XCB_CLIENT_MESSAGE) {
        HandleClientMessage(session, reinterpret_cast<const xcb_client_message_event_t&>(event));
    } else if (type == XCB_DESTROY_NOTIFY) {
        AppWindow* window = WindowOf(session, reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window);
        if (window != nullptr) {
            EndWindow(*window);
        }
    } else if (session.randrEvent != 0 &&
               (type == session.randrEvent || type == session.randrEvent + XCB_RANDR_NOTIFY)) {
        session.displayChangeDueNs = MonotonicNs() + displaySettleNs;
    }
}

void ReadEvents(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
        HandleEvent(session, *event);
    }
    FollowKeyboardMapping(session);
    FollowStack(session);
    xcb_flush(connection);
}

bool DispatchQueued(Session& session) {
    bool any = false;
    while (!session.queue.empty()) {
        const Message next = session.queue.front();
        session.queue.pop_front();
        if (IsKnown(session, next.window)) {
            session.heldModifiers = next.heldModifiers.value_or(session.heldModifiers);
            Send(*next.window, next.code, next.wParam, next.lParam);
        }
        any = true;
    }
    return any;
}

void QueueSettledDisplayChange(Session& session, std::int64_t nowNs) {
    if (session.displayChangeDueNs == 0 || nowNs < session.displayChangeDueNs) {
        return;
    }
    session.displayChangeDueNs = 0;
    for (AppWindow* window : session.windows) {
        session.queue.push_back({window, message::displayChange, 0, 0});
    }
}

/// Answers the one timer that has been due the longest. A timer that is late loses the ticks that it missed.
bool DispatchTimer(Session& session, std::int64_t nowNs) {
    const auto first = std::min_element(session.timers.begin(), session.timers.end(),
                                        [](const Timer& a, const Timer& b) { return a.dueNs < b.dueNs; });
    if (first == session.timers.end() || first->dueNs > nowNs) {
        return false;
    }
    first->dueNs = std::max(first->dueNs + first->periodNs, nowNs + 1);
    const Timer due = *first;
    Send(*due.window, message::timer, due.id);
    return true;
}

/// Nanoseconds until something is due, -1 when nothing is.
std::int64_t NextDueNs(const Session& session, std::int64_t nowNs) {
    std::int64_t due = session.displayChangeDueNs == 0 ? INT64_MAX : session.displayChangeDueNs;
    for (const Timer& timer : session.timers) {
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

/// Without a server nothing can be shown any more: the program ends as if it had been asked to, with code 1 should
/// nothing else have ended it.
bool LeaveLostServer(Session& session) {
    if (session.serverLost || xcb_connection_has_error(session.connection.get()) == 0) {
        return false;
    }
    session.serverLost = true;
    PostQuit(1);
    RequestEnd();
    return true;
}

void WaitForWork(Session& session) {
    const std::int64_t waitNs = NextDueNs(session, MonotonicNs());
    const timespec wait{waitNs / 1'000'000'000, waitNs % 1'000'000'000};
    std::array<pollfd, 2> sources{pollfd{xcb_get_file_descriptor(session.connection.get()), POLLIN, 0},
                                  pollfd{EndSignals(), POLLIN, 0}};
    if (ppoll(sources.data(), sources.size(), waitNs < 0 ? nullptr : &wait, nullptr) > 0 && sources[1].revents != 0) {
        ReadEndSignals();
    }
}

}  // namespace

Session& CurrentSession() {
    static Session session;
    return session;
}

AppWindow* WindowOf(Session& session, xcb_window_t id) {
    const auto found = std::find_if(session.windows.begin(), session.windows.end(),
                                    [id](const AppWindow* window) { return window->id == id; });
    return found == session.windows.end() ? nullptr : *found;
}

std::intptr_t Send(AppWindow& window, std::uint32_t code, std::uintptr_t wParam, std::intptr_t lParam) {
    if (window.procedure == nullptr) {
        return 0;
    }
    try {
        return window.procedure(window, code, wParam, lParam);
    } catch (...) {
        // As if nobody had handled it, except that no window closes for want of an answer. It may be gone by now.
        return code == message::hitTest ? hitCode::client : 0;
    }
}

std::optional<xcb_window_t> SelectionOwner(const Session& session, xcb_atom_t selection) {
    xcb_connection_t* connection = session.connection.get();
    const Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection), nullptr));
    return reply ? std::optional(reply->owner) : std::nullopt;
}

namespace {

bool Turn(Session& session) {
    if (DispatchQueued(session)) {
        return true;
    }
    if (session.quitting) {
        return false;
    }
    ReadEvents(session);
    const std::int64_t nowNs = MonotonicNs();
    QueueSettledDisplayChange(session, nowNs);
    if (session.queue.empty() && !LeaveLostServer(session) && !DispatchTimer(session, nowNs) &&
        !DispatchPaint(session)) {
        WaitForWork(session);
    }
    return true;
}

}  // namespace

bool RunOneTurn(Session& session) {
    try {
        return Turn(session);
    } catch (const std::bad_alloc&) {
        // An event is lost for want of memory, but not the program.
        constexpr timespec pause{0, 10 * nsPerMs};
        clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, nullptr);
        return true;
    }
}

xcb_atom_t InternAtom(xcb_connection_t* connection, const std::string& name) {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::string ReadTextProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property) {
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 256), nullptr));
    if (!reply || reply->format != 8) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

void SendClientMessage(xcb_window_t target, xcb_window_t subject, xcb_atom_t type, std::uint32_t eventMask,
                       std::uint32_t firstDatum) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = subject;
    event.type = type;
    event.data.data32[0] = firstDatum;
    xcb_connection_t* connection = CurrentSession().connection.get();
    xcb_send_event(connection, 0, target, eventMask, reinterpret_cast<const char*>(&event));
    xcb_flush(connection);
}

}  // namespace x11

template <>
void Closer<AppWindow>::operator()(AppWindow* window) const noexcept {
    x11::EndWindow(*window);
    delete window;
}

bool OpenSession() {
    x11::EndSignals();
    int number = 0;
    x11::Connection connection(xcb_connect(nullptr, &number));
    const xcb_screen_t* screen = x11::ScreenOf(connection.get(), number);
    if (screen == nullptr) {
        std::fputs("Zorvel needs an X display. Set DISPLAY and start it again.\n", stderr);
        return false;
    }
    if (!x11::IsSupported(connection.get(), *screen)) {
        std::fputs(x11::unsupportedScreen, stderr);
        return false;
    }
    x11::Session& session = x11::CurrentSession();
    session = {};
    session.connection = std::move(connection);
    session.screen = screen;
    session.screenNumber = number;
    x11::InternAtoms(session);
    x11::WatchRoot(session);
    x11::WatchDisplay(session);
    x11::OpenKeyboard(session);
    return true;
}

Owned<AppWindow> MakeWindow(const WindowOptions& options) {
    x11::Session& session = x11::CurrentSession();
    const xcb_window_t id = x11::MakeServerWindow(session, options);
    if (id == XCB_WINDOW_NONE) {
        return nullptr;
    }
    x11::SetWindowProperties(session, id, options);
    x11::SetKind(session.atoms, id, options);
    Owned<AppWindow> window(new AppWindow);
    window->id = id;
    window->procedure = options.procedure;
    window->bare = options.frame == WindowFrame::Bare;
    window->topmost = options.topmost;
    window->width = options.width;
    window->height = options.height;
    window->place = {options.left, options.top, options.left + options.width, options.top + options.height};
    session.windows.push_back(window.get());
    if (options.clickThrough) {
        x11::LetClicksThrough(session, *window);
    }
    if (options.arrowCursor) {
        SetCursorShape(*window, CursorShape::Arrow);
    }
    SetWindowIcons(*window, options.bigIcon, options.littleIcon);
    MinMaxInfo limits{};
    x11::Send(*window, message::getMinMaxInfo, 0, reinterpret_cast<std::intptr_t>(&limits));
    x11::SetSizeHints(id, options, limits.minTrackSize);
    x11::Send(*window, message::create);
    if (options.visible) {
        ShowWindowPlain(*window);
    }
    xcb_flush(session.connection.get());
    return window;
}

void FlushScreen() {
    xcb_connection_t* connection = x11::CurrentSession().connection.get();
    if (connection == nullptr) {
        return;
    }
    const x11::Reply<xcb_get_input_focus_reply_t> answer(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    if (answer) {
        // The server has carried it out. What lies beneath is painted by other programs, which cannot be asked.
        constexpr timespec twoRefreshes{0, 34 * x11::nsPerMs};
        clock_nanosleep(CLOCK_MONOTONIC, 0, &twoRefreshes, nullptr);
    }
}

std::intptr_t DefaultProcedure(AppWindow& window, std::uint32_t code, std::uintptr_t, std::intptr_t) {
    if (code == message::close) {
        x11::EndWindow(window);
    }
    return code == message::hitTest ? hitCode::client : 0;
}

void StartTimer(AppWindow& window, std::uintptr_t id, std::uint32_t periodMs) {
    StopTimer(window, id);
    const std::int64_t periodNs = std::max<std::int64_t>(periodMs, 1) * x11::nsPerMs;
    x11::CurrentSession().timers.push_back({&window, id, periodNs, MonotonicNs() + periodNs});
}

void StopTimer(AppWindow& window, std::uintptr_t id) {
    std::erase_if(x11::CurrentSession().timers,
                  [&](const x11::Timer& timer) { return timer.window == &window && timer.id == id; });
}

void PostQuit(int code) {
    x11::CurrentSession().quitting = true;
    x11::CurrentSession().quitCode = code;
}

void SetTaskbarIdentity(TextView) {}

void SetEndRequest(void (*request)()) { x11::endRequest = request; }

int RunMessageLoop() {
    x11::Session& session = x11::CurrentSession();
    while (x11::RunOneTurn(session)) {
    }
    session.quitting = false;
    return session.quitCode;
}

}  // namespace zv
