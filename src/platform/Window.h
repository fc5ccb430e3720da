// Windows, messages, timers and global keys, for the one interface thread.
//
// Messages carry Windows' own numbers on every platform: Windows passes them straight through, X11 translates its
// events into them. A window procedure is a portable function of (window, message, wParam, lParam).
#pragma once

#include <cstdint>
#include <optional>

#include "core/Text.h"
#include "platform/AppIcon.h"
#include "platform/Owned.h"
#include "platform/Rectangle.h"

namespace zv {

struct AppWindow;
/// Destroys the window if it still exists; its procedure receives message::destroy.
template <>
void Closer<AppWindow>::operator()(AppWindow* window) const noexcept;

/// Coordinates in lParam are those of the client area, x in the low word and y in the high word, unless it says so.
namespace message {
inline constexpr std::uint32_t null = 0x0000;
inline constexpr std::uint32_t create = 0x0001;
inline constexpr std::uint32_t destroy = 0x0002;
inline constexpr std::uint32_t size = 0x0005;  ///< lParam: width and height of the client area
inline constexpr std::uint32_t setFocus = 0x0007;
inline constexpr std::uint32_t killFocus = 0x0008;
inline constexpr std::uint32_t paint = 0x000F;  ///< answered by PutPixels
inline constexpr std::uint32_t close = 0x0010;
inline constexpr std::uint32_t eraseBackground = 0x0014;
inline constexpr std::uint32_t showWindow = 0x0018;  ///< wParam: 1 is being shown, 0 is being hidden
inline constexpr std::uint32_t cancelMode = 0x001F;
inline constexpr std::uint32_t setCursor = 0x0020;      ///< lParam: hit code in the low word
inline constexpr std::uint32_t mouseActivate = 0x0021;  ///< answer: activateNo
inline constexpr std::uint32_t getMinMaxInfo = 0x0024;  ///< lParam: a MinMaxInfo to change
inline constexpr std::uint32_t displayChange = 0x007E;
inline constexpr std::uint32_t hitTest = 0x0084;  ///< answer: a hit code
inline constexpr std::uint32_t keyDown = 0x0100;  ///< wParam: virtual-key code
inline constexpr std::uint32_t keyUp = 0x0101;
inline constexpr std::uint32_t systemKeyDown = 0x0104;  ///< a key with Alt held, or F10
inline constexpr std::uint32_t systemKeyUp = 0x0105;
inline constexpr std::uint32_t timer = 0x0113;  ///< wParam: timer id
inline constexpr std::uint32_t mouseMove = 0x0200;
inline constexpr std::uint32_t leftButtonDown = 0x0201;
inline constexpr std::uint32_t leftButtonUp = 0x0202;
inline constexpr std::uint32_t leftButtonDoubleClick = 0x0203;
inline constexpr std::uint32_t rightButtonDown = 0x0204;
inline constexpr std::uint32_t rightButtonUp = 0x0205;
inline constexpr std::uint32_t mouseWheel = 0x020A;  ///< high word of wParam: 120 a notch; lParam: of the screen
inline constexpr std::uint32_t captureChanged = 0x0215;
inline constexpr std::uint32_t mouseLeave = 0x02A3;
inline constexpr std::uint32_t dpiChanged = 0x02E0;  ///< low word of wParam: DPI; lParam: the suggested Rectangle
inline constexpr std::uint32_t hotKey = 0x0312;      ///< wParam: hot key id
}  // namespace message

namespace hitCode {
inline constexpr std::intptr_t transparent = -1;
inline constexpr std::intptr_t client = 1;
}  // namespace hitCode

inline constexpr std::intptr_t activateNo = 3;  ///< answer to message::mouseActivate

namespace keyModifier {
inline constexpr std::uint32_t alt = 1;
inline constexpr std::uint32_t control = 2;
inline constexpr std::uint32_t shift = 4;
inline constexpr std::uint32_t noRepeat = 0x4000;
}  // namespace keyModifier

/// What lParam of message::getMinMaxInfo points to.
struct MinMaxInfo {
    Point reserved;
    Point maxSize;
    Point maxPosition;
    Point minTrackSize;  ///< of the whole window
    Point maxTrackSize;
};

using WindowProc = std::intptr_t (*)(AppWindow& window, std::uint32_t message, std::uintptr_t wParam,
                                     std::intptr_t lParam);

enum class WindowFrame {
    Full,     ///< caption, border to size it by, all boxes; wherever the system puts it
    Caption,  ///< caption and close box
    Bare      ///< nothing but its client area
};

struct WindowOptions {
    Text className;  ///< what a second copy of the program looks for
    Text title;
    WindowProc procedure = nullptr;
    int width = 0;
    int height = 0;
    bool visible = false;
    WindowFrame frame = WindowFrame::Full;
    int left = 0;  ///< of a window whose frame is not full
    int top = 0;
    bool topmost = false;
    bool toolWindow = false;  ///< not in the taskbar
    bool noActivate = false;  ///< never takes the focus
    bool layered = false;     ///< hidden until SetColorKey or SetConstantAlpha has been called
    bool clickThrough = false;
    AppWindow* owner = nullptr;
    bool arrowCursor = true;  ///< false: the class has no cursor
    const AppIcon* bigIcon = nullptr;
    const AppIcon* littleIcon = nullptr;
};

/// Connects to the user's session, makes the process aware of the DPI of each monitor. False when there is no
/// session to show anything in (X11 without a display). Before any other call of this header.
bool OpenSession();

/// Makes a top-level window. Its procedure receives message::create inside this call. Null on failure.
Owned<AppWindow> MakeWindow(const WindowOptions& options);

// Attributes.

/// Pixels of this colour (0x00BBGGRR) are not there: what lies beneath shows and is clicked.
void SetColorKey(AppWindow& window, std::uint32_t color);
/// 255 is opaque. On X11 a compositor is what carries it out.
void SetConstantAlpha(AppWindow& window, std::uint8_t alpha);
/// Keeps the window out of captures and screenshots: of everybody's on Windows, of the program's own on X11, where the
/// window has to be bare.
void ExcludeFromCapture(AppWindow& window);
void SetDarkFrame(AppWindow& window);
/// Either may be null. The icons have to outlive the window.
void SetWindowIcons(AppWindow& window, const AppIcon* big, const AppIcon* little);

// Showing and placing. Rectangles are those of whole windows, in coordinates of the desktop.

void ShowWindowPlain(AppWindow& window);
void ShowWithoutActivating(AppWindow& window);
/// Shows the window, back from an icon too, in front of the others and with the focus.
void ShowInFront(AppWindow& window);
void HideWindow(AppWindow& window);
/// A window that is an icon counts as shown.
bool IsWindowShown(AppWindow& window);
bool IsWindowIcon(AppWindow& window);
/// Shows the window there, in front of all that are not topmost, without activating it.
void ShowTopmostAt(AppWindow& window, const Rectangle& bounds);
/// Moves and sizes the window, no more.
void PlaceWindow(AppWindow& window, const Rectangle& bounds);
Rectangle WindowBounds(AppWindow& window);
/// The client area, in coordinates of the desktop.
Rectangle ClientBounds(AppWindow& window);
/// 96 is one device pixel to a design pixel.
int DpiOfWindow(AppWindow& window);

// Painting.

/// Has message::paint sent soon, once however often this was called. Nothing is erased.
void InvalidateWindow(AppWindow& window);
/// Sends message::paint at once if the window is visible and has to be painted.
void PaintNow(AppWindow& window);
/// The answer to message::paint, and only to it: `pixels` go to the client area's upper left, row after row from the
/// top without padding, 0xXXRRGGBB each. What they are is copied.
void PutPixels(AppWindow& window, const std::uint32_t* pixels, int width, int height);
/// The same for rows from `top` on, where there is no memory for a whole picture: one call for each strip. A colour
/// key's holes stay where they were.
void PutPixelRows(AppWindow& window, const std::uint32_t* pixels, int width, int rows, int top);

// Mouse and keyboard.

/// Asks for one message::mouseLeave when the pointer leaves the window.
void TrackMouseLeave(AppWindow& window);
/// Mouse messages go to the window wherever the pointer is, until ReleaseMouse or something else ends it. Then the
/// window receives message::captureChanged.
void CaptureMouse(AppWindow& window);
bool HasMouse(AppWindow& window);
void ReleaseMouse(AppWindow& window);
enum class CursorShape { Arrow, Hand };
/// Of the pointer while it is over the window; asked for by message::setCursor.
void SetCursorShape(AppWindow& window, CursorShape shape);
/// In coordinates of the desktop.
Point CursorPosition();
/// Bits of keyModifier, as they were at the message that is being handled.
std::uint32_t HeldModifiers();
/// What the keyboard calls a key of a virtual-key code. Empty when it has no name for it.
Text KeyName(std::uint32_t virtualKey);

// Monitors, and other programs' windows.

struct MonitorArea {
    Rectangle bounds;
    Rectangle work;   ///< without taskbars
    Text deviceName;  ///< as in MonitorRecord
};
/// The monitor that holds the point, else the primary one.
MonitorArea MonitorAt(Point point);

struct FrontWindow {
    std::uint32_t processId = 0;  ///< 0 when it cannot be told
    bool ours = false;
    Rectangle bounds;
    Text className;
    int dpi = 96;
    MonitorArea monitor;  ///< the one that shows most of it, else the primary one
};
/// The window in front. Nothing when there is none.
std::optional<FrontWindow> LookUpFrontWindow();

// The rest.

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

/// The id by which the taskbar groups the windows that are made from now on. On X11 the class that every window of the
/// program carries does that already.
void SetTaskbarIdentity(TextView id);

/// Held by the one copy of the program in this session. The claim ends with the process at the latest.
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
