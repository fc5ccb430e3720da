// Windows, messages, timers and global keys, for the one interface thread.
//
// Messages carry Windows' own numbers on every platform: Windows passes them straight through, X11 translates its
// events into them. A window procedure is a portable function of (window, message, wParam, lParam).
#pragma once

#include <cstdint>

#include "core/Text.h"
#include "platform/Owned.h"

namespace zv {

struct AppWindow;
/// Destroys the window if it still exists; its procedure receives message::destroy.
template <>
void Closer<AppWindow>::operator()(AppWindow* window) const noexcept;

namespace message {
inline constexpr std::uint32_t null = 0x0000;
inline constexpr std::uint32_t create = 0x0001;
inline constexpr std::uint32_t destroy = 0x0002;
inline constexpr std::uint32_t close = 0x0010;
inline constexpr std::uint32_t displayChange = 0x007E;
inline constexpr std::uint32_t timer = 0x0113;   ///< wParam: timer id
inline constexpr std::uint32_t hotKey = 0x0312;  ///< wParam: hot key id
}  // namespace message

namespace keyModifier {
inline constexpr std::uint32_t alt = 1;
inline constexpr std::uint32_t control = 2;
inline constexpr std::uint32_t shift = 4;
inline constexpr std::uint32_t noRepeat = 0x4000;
}  // namespace keyModifier

using WindowProc = std::intptr_t (*)(AppWindow& window, std::uint32_t message, std::uintptr_t wParam,
                                     std::intptr_t lParam);

struct WindowOptions {
    Text className;  ///< what a second copy of the program looks for
    Text title;
    WindowProc procedure = nullptr;
    int width = 0;
    int height = 0;
    bool visible = false;
};

/// Connects to the user's session, makes the process aware of the DPI of each monitor. False when there is no
/// session to show anything in (X11 without a display). Before any other call of this header.
bool OpenSession();

/// Makes a top-level window. Its procedure receives message::create inside this call. Null on failure.
Owned<AppWindow> MakeWindow(const WindowOptions& options);

void ShowWindowPlain(AppWindow& window);
void HideWindow(AppWindow& window);
bool IsWindowShown(AppWindow& window);

/// Waits until what was shown and hidden so far is so on the screen: for a refresh or two.
void FlushScreen();

/// What the system does with a message that the procedure does not handle: message::close destroys the window.
std::intptr_t DefaultProcedure(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

/// Starts or restarts a periodic timer of the window.
void StartTimer(AppWindow& window, std::uintptr_t id, std::uint32_t periodMs);
void StopTimer(AppWindow& window, std::uintptr_t id);

/// Reserves a key for the whole session; pressing it sends message::hotKey with `id`. False when it is taken.
/// `modifiers` are the bits of keyModifier, `virtualKey` is a Windows virtual-key code.
bool RegisterGlobalKey(AppWindow& window, int id, std::uint32_t modifiers, std::uint32_t virtualKey);
void UnregisterGlobalKey(AppWindow& window, int id);

/// Ends RunMessageLoop after the messages that are queued already.
void PostQuit(int code);

/// Dispatches messages until PostQuit; answers its code. SIGTERM, SIGINT and SIGHUP on Linux send `endRequest`, and
/// so does the end of a Windows session.
int RunMessageLoop();

/// Called on the interface thread when the system asks the program to end. Set before RunMessageLoop.
void SetEndRequest(void (*endRequest)());

/// The one copy of the program in this session. `claimed` says whether it is this one; the claim ends with the
/// process at the latest.
struct InstanceClaim;
template <>
void Closer<InstanceClaim>::operator()(InstanceClaim* claim) const noexcept;
/// Null when another copy holds `name` or when it cannot be told.
Owned<InstanceClaim> ClaimSingleInstance(TextView name);

/// Shows and raises the first copy's main window, found by its class name. False when there is none.
bool BringOtherCopyForward(TextView className);

/// A message box without an owner, with an information sign.
void ShowInformation(TextView text, TextView caption);

}  // namespace zv
