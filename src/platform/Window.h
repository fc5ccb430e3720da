// The program's own windows: messages, attributes, bounds, pixels and timers. Interface thread only, after
// OpenSession.
//
// Messages carry the numbers of Windows on every platform: Windows passes them through, X11 translates its events into
// them. A window procedure is a portable function of (window, message, wParam, lParam). Coordinates are pixels.
#pragma once

#include <cstdint>
#include <optional>

#include "core/Text.h"
#include "platform/AppIcon.h"
#include "platform/Owned.h"
#include "platform/Rectangle.h"

namespace zv {

struct AppWindow;
/// Destroys the window if it exists; its procedure receives message::destroy.
template <>
void Closer<AppWindow>::operator()(AppWindow* window) const noexcept;

/// Coordinates in lParam are relative to the client area unless stated otherwise: x in the low word, y in the high
/// word.
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
inline constexpr std::uint32_t showWindow = 0x0018;  ///< wParam: 1 shown, 0 hidden
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
inline constexpr std::uint32_t mouseWheel = 0x020A;  ///< high word of wParam: 120 a notch; lParam: on the screen
inline constexpr std::uint32_t captureChanged = 0x0215;
inline constexpr std::uint32_t mouseLeave = 0x02A3;
inline constexpr std::uint32_t dpiChanged = 0x02E0;  ///< low word of wParam: DPI; lParam: the suggested Rectangle
inline constexpr std::uint32_t hotKey = 0x0312;      ///< wParam: hot key id
}  // namespace message

/// Bits of wParam of mouse messages: what is held.
namespace mouseState {
inline constexpr std::uintptr_t leftButton = 0x0001;
inline constexpr std::uintptr_t shift = 0x0004;
inline constexpr std::uintptr_t control = 0x0008;
}  // namespace mouseState

namespace hitCode {
inline constexpr std::intptr_t transparent = -1;
inline constexpr std::intptr_t client = 1;
}  // namespace hitCode

inline constexpr std::intptr_t activateNo = 3;  ///< answer to message::mouseActivate

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

enum class CursorShape { Arrow, Hand };

enum class WindowFrame {
    Full,     ///< caption, sizing border, all boxes; the system chooses its position
    Caption,  ///< caption and close box
    Bare      ///< client area only
};

struct WindowOptions {
    Text className;  ///< a second copy of the program finds the window by it
    Text title;
    WindowProc procedure = nullptr;
    int width = 0;
    int height = 0;
    bool visible = false;
    WindowFrame frame = WindowFrame::Full;
    int left = 0;  ///< for frames other than Full
    int top = 0;
    bool topmost = false;
    bool toolWindow = false;     ///< not in the taskbar
    bool noActivate = false;     ///< never receives the focus
    bool layered = false;        ///< hidden until SetColorKey or SetConstantAlpha has been called
    bool clickThrough = false;   ///< on Windows only together with `layered` for windows of other programs
    AppWindow* owner = nullptr;  ///< stays below this window
    std::optional<CursorShape> cursor = CursorShape::Arrow;  ///< null: the class has none
    const AppIcon* bigIcon = nullptr;
    const AppIcon* littleIcon = nullptr;
};

/// Makes a top-level window. Its procedure receives message::create during this call. Returns null on failure.
Owned<AppWindow> MakeWindow(const WindowOptions& options);

// Attributes.

/// Makes pixels of this colour (0x00BBGGRR) transparent, also to clicks, from the next PutPixels on. A later call
/// replaces the colour; the same colour again changes nothing.
void SetColorKey(AppWindow& window, std::uint32_t color);
/// 255 is opaque. Needs a compositor on X11.
void SetConstantAlpha(AppWindow& window, std::uint8_t alpha);
/// Excludes the window from captures and screenshots: of all programs on Windows; of this program on X11, where the
/// window must be bare.
void ExcludeFromCapture(AppWindow& window);
void SetDarkFrame(AppWindow& window);
/// Either icon may be null. The icons must outlive the window.
void SetWindowIcons(AppWindow& window, const AppIcon* big, const AppIcon* little);

// Visibility and bounds. Rectangles are those of whole windows, in coordinates of the desktop.

void ShowWindowPlain(AppWindow& window);
/// Raises a topmost window above all windows that are not topmost.
void ShowWithoutActivating(AppWindow& window);
/// Shows or restores the window in front of the others and gives it the focus.
void ShowInFront(AppWindow& window);
void HideWindow(AppWindow& window);
/// Shows the window in the taskbar alone, also if it is hidden. On X11 without a window manager, which could restore
/// it, hides it.
void MinimizeWindow(AppWindow& window);
/// A minimized window counts as shown.
bool IsWindowShown(AppWindow& window);
bool IsWindowMinimized(AppWindow& window);
/// Shows the window at these bounds, above all windows that are not topmost, without activating it.
void ShowTopmostAt(AppWindow& window, const Rectangle& bounds);
/// Moves and sizes the window without showing or raising it.
void PlaceWindow(AppWindow& window, const Rectangle& bounds);
Rectangle WindowBounds(AppWindow& window);
/// The client area, in coordinates of the desktop.
Rectangle ClientBounds(AppWindow& window);
/// 96 if a design pixel is one device pixel.
int DpiOfWindow(AppWindow& window);

// Painting.

/// Requests a message::paint. Several calls result in one message. Erases nothing.
void InvalidateWindow(AppWindow& window);
/// Sends message::paint at once if the window is visible and a paint is due.
void PaintNow(AppWindow& window);
/// Called only while message::paint is handled: copies `pixels` to the client area's upper left. Rows from the top
/// without padding, 0xXXRRGGBB each.
void PutPixels(AppWindow& window, const std::uint32_t* pixels, int width, int height);
/// The same for the rows from `top` on, if there is not enough memory for a whole picture: one call for each strip.
/// Transparent parts of a colour key do not change.
void PutPixelRows(AppWindow& window, const std::uint32_t* pixels, int width, int rows, int top);

// Mouse and keyboard.

/// Requests one message::mouseLeave when the pointer leaves the window.
void TrackMouseLeave(AppWindow& window);
/// Sends all mouse messages to the window, wherever the pointer is, until ReleaseMouse or the system ends the capture.
/// Then the window receives message::captureChanged. On Windows a window that is not in front receives no message of a
/// pointer outside it in spite of the capture, not even the button's release.
void CaptureMouse(AppWindow& window);
bool HasMouseCapture(AppWindow& window);
void ReleaseMouse(AppWindow& window);
/// Sets the pointer's shape over the window. Called while message::setCursor is handled.
void SetCursorShape(AppWindow& window, CursorShape shape);
/// The pointer's position, in coordinates of the desktop.
Point CursorPosition();

// Messages and timers.

/// Waits until the screen shows all changes so far: one or two refreshes.
void FlushScreen();

/// The system's handling of a message that the procedure does not handle: message::close destroys the window.
std::intptr_t DefaultProcedure(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

/// Starts or restarts a periodic timer of the window.
void StartTimer(AppWindow& window, std::uintptr_t id, std::uint32_t periodMs);
void StopTimer(AppWindow& window, std::uintptr_t id);

}  // namespace zv
