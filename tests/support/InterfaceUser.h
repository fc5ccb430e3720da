// Simulates the user of the program's windows: finds them by class, clicks at design coordinates, and reads pixels and
// words from the screen.
#pragma once

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "platform/Canvas.h"
#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/XClient.h"
#include "ui/kit/Colors.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/Fonts.h"

namespace zv::support {

inline constexpr char mainWindowName[] = "ZVReelsMainV3";
inline constexpr char overlayName[] = "ZVReelsOverlayV3";
inline constexpr char badgeName[] = "ZVGameStatusBadge";
inline constexpr char toastName[] = "ZVCaptureNotification315";
inline constexpr char editorName[] = "ZVShortcutEditor315";

/// 0x00RRGGBB of a colour of the interface.
constexpr std::uint32_t ScreenColor(Color color) {
    return (color & 0xFFU) << 16U | (color & 0xFF00U) | (color >> 16U & 0xFFU);
}

/// Part of the screen, 0x00RRGGBB, row after row.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;

    std::uint32_t At(int x, int y) const { return pixels[static_cast<std::size_t>(y * width + x)]; }
    std::size_t CountOf(std::uint32_t color) const {
        return static_cast<std::size_t>(std::count(pixels.begin(), pixels.end(), color));
    }
};

/// A line of text as a page draws it.
struct Words {
    Rectangle box;  ///< in design pixels
    Text text;
    Color color = color::primaryText;
    Color background = color::windowBackground;
    FontRole font = FontRole::Small;
    TextLayout layout = TextLayout::Line;
    Rectangle look = {};  ///< the part of the box to compare; empty: all of it
};

/// The text of a notification. The badge may cover its upper right corner; `top` is below what covers its upper edge.
inline Words ToastWords(const Text& text, std::int32_t top = 8) {
    return {.box = {68, 8, 314, 68}, .text = text, .background = color::toast, .look = {68, top, 234, 68}};
}

class InterfaceUser : public OtherClient {
public:
    explicit InterfaceUser(const std::string& display) : OtherClient(display) {
        if (FontOf(FontRole::Small) == nullptr) {
            CreateFonts();
        }
    }

    /// The program's window of that class, with or without a window manager's frame. 0 if there is none.
    xcb_window_t WindowOf(const std::string& name) const { return FindBelow(Root(), "_ZORVEL_WINDOW_CLASS", name); }
    bool IsViewable(xcb_window_t window) const {
        const Reply<xcb_get_window_attributes_reply_t> reply(
            xcb_get_window_attributes_reply(Get(), xcb_get_window_attributes(Get(), window), nullptr));
        return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
    }
    /// Returns true if the window is visible.
    bool Shows(const std::string& name) const {
        const xcb_window_t window = WindowOf(name);
        return window != XCB_WINDOW_NONE && IsViewable(window);
    }
    bool WaitShown(const std::string& name) const {
        return Eventually([&] { return Shows(name); });
    }
    bool WaitHidden(const std::string& name) const {
        return Eventually([&] { return !Shows(name); });
    }
    /// The bounds in screen coordinates.
    Rectangle OnScreen(xcb_window_t window) const {
        const Rectangle own = BoundsOf(window);
        const Reply<xcb_translate_coordinates_reply_t> at(
            xcb_translate_coordinates_reply(Get(), xcb_translate_coordinates(Get(), window, Root(), 0, 0), nullptr));
        return at ? Rectangle{at->dst_x, at->dst_y, at->dst_x + own.Width(), at->dst_y + own.Height()} : Rectangle{};
    }
    /// The client area in screen coordinates.
    Rectangle Client(const std::string& name) const { return OnScreen(WindowOf(name)); }
    /// Device pixels of a design pixel.
    double Scale(const std::string& name) const {
        UiState state;
        const Rectangle client = Client(name);
        if (name == overlayName) {
            FitOverlay(state, client.Width(), client.Height());
        } else if (name == mainWindowName) {
            FitMainWindow(state, client.Width(), client.Height(), dpi);
        } else if (name == toastName) {
            state.scale = client.Width() / 330.0;
        }
        return state.scale;
    }
    /// Converts a design point to screen coordinates.
    Point ScreenPointOf(const std::string& name, int x, int y) const {
        const Rectangle client = Client(name);
        const double scale = Scale(name);
        return {client.left + static_cast<int>(x * scale), client.top + static_cast<int>(y * scale)};
    }
    void Click(const std::string& name, int x, int y, std::uint8_t button = 1) const {
        const Point at = ScreenPointOf(name, x, y);
        ClickAt(at.x, at.y, button);
    }
    std::uint32_t ColorOf(const std::string& name, int x, int y) const {
        const Point at = ScreenPointOf(name, x, y);
        return PixelAt(at.x, at.y);
    }
    bool WaitColor(const std::string& name, int x, int y, Color color) const {
        return Eventually([&] { return ColorOf(name, x, y) == ScreenColor(color); });
    }

    Picture Grab(const Rectangle& area) const {
        Picture picture{area.Width(), area.Height(), {}};
        picture.pixels.resize(static_cast<std::size_t>(picture.width * picture.height));
        constexpr int rows = 64;  // the size of a reply is limited
        for (int top = 0; top < picture.height; top += rows) {
            const int count = std::min(rows, picture.height - top);
            const Reply<xcb_get_image_reply_t> image(xcb_get_image_reply(
                Get(),
                xcb_get_image(Get(), XCB_IMAGE_FORMAT_Z_PIXMAP, Root(), static_cast<std::int16_t>(area.left),
                              static_cast<std::int16_t>(area.top + top), static_cast<std::uint16_t>(picture.width),
                              static_cast<std::uint16_t>(count), ~0U),
                nullptr));
            if (!image) {
                return {};
            }
            std::memcpy(picture.pixels.data() + static_cast<std::size_t>(top * picture.width),
                        xcb_get_image_data(image.get()), static_cast<std::size_t>(picture.width * count) * 4);
        }
        for (std::uint32_t& pixel : picture.pixels) {
            pixel &= 0xFFFFFFU;
        }
        return picture;
    }
    Picture Grab(const std::string& name) const { return Grab(Client(name)); }

    /// Returns true if the window shows these words. Draws them into a canvas and compares all pixels.
    bool Says(const std::string& name, const Words& words) const { return SaysAt(Client(name), Scale(name), words); }
    bool SaysAt(const Rectangle& client, double scale, const Words& words) const {
        const Owned<Canvas> canvas = MakeCanvas(std::max(client.Width(), 1), std::max(client.Height(), 1));
        FillBox(*canvas, {0, 0, client.Width(), client.Height()}, words.background);
        PushTransform(*canvas, {}, scale);
        DrawTextInBox(*canvas, words.box, words.text, words.color, *FontOf(words.font), words.layout);
        PopTransform(*canvas);
        const PixelView wanted = PixelsOf(*canvas);
        const Rectangle& look = words.look == Rectangle{} ? words.box : words.look;
        const Rectangle box{static_cast<int>(look.left * scale) + 1, static_cast<int>(look.top * scale) + 1,
                            static_cast<int>(look.right * scale) - 1, static_cast<int>(look.bottom * scale) - 1};
        const Picture found = Grab(
            Rectangle{client.left + box.left, client.top + box.top, client.left + box.right, client.top + box.bottom});
        bool any = false;
        for (int y = 0; y < found.height; ++y) {
            for (int x = 0; x < found.width; ++x) {
                const std::uint32_t pixel = wanted.pixels[(box.top + y) * wanted.width + box.left + x] & 0xFFFFFFU;
                any = any || pixel != ScreenColor(words.background);
                if (found.At(x, y) != pixel) {
                    return false;
                }
            }
        }
        return any;  // an empty box has no words
    }
    bool WaitSays(const std::string& name, const Words& words) const {
        return Eventually([&] { return Says(name, words); });
    }

    void TapKey(xcb_keysym_t symbol) const { Tap(CodeOf(symbol)); }
    /// Holds the modifiers.
    void TapKey(std::vector<xcb_keysym_t> modifiers, xcb_keysym_t symbol) const {
        for (const xcb_keysym_t modifier : modifiers) {
            Press(CodeOf(modifier));
        }
        TapKey(symbol);
        for (const xcb_keysym_t modifier : modifiers) {
            Release(CodeOf(modifier));
        }
    }
    /// The default shortcut.
    void PressOverlayKey() const { TapKey({XK_Alt_L}, XK_x); }
    bool OpenOverlay() const {
        if (Shows(overlayName)) {
            return true;
        }
        PressOverlayKey();
        // The header is black once the overlay is painted.
        return WaitShown(overlayName) && WaitColor(overlayName, 500, 45, color::black);
    }
    /// Opens a section of the settings page from the tiles, the hub or another section.
    bool OpenSettingsSection(int section) const {
        constexpr Point allSettings{168, 140};
        const int dx = 226 * (section % 3);
        const int dy = 122 * (section / 3);
        const auto atSection = [&] { return ColorOf(overlayName, allSettings.x, allSettings.y); };
        if (ColorOf(overlayName, 160, 530) != ScreenColor(color::overlayPanel)) {
            Click(overlayName, 832, 190);
        } else if (atSection() != ScreenColor(color::overlayPanel)) {
            Click(overlayName, 236, 142);
        }
        MovePointer(1, 1);
        if (!WaitColor(overlayName, 172 + dx, 180 + dy, color::card) ||
            !WaitColor(overlayName, 190 + dx, 217 + dy, color::button)) {
            return false;
        }
        Click(overlayName, 272 + dx, 224 + dy);
        MovePointer(1, 1);
        return WaitColor(overlayName, 170, 140, color::button);
    }
    bool CloseOverlay() const {
        if (Shows(overlayName)) {
            PressOverlayKey();
        }
        return WaitHidden(overlayName);
    }

    int dpi = 96;  ///< of the display

    /// The window whose property has that value, up to `depth` levels below `parent`. 0 if there is none.
    xcb_window_t FindBelow(xcb_window_t parent, const std::string& property, const std::string& value,
                           int depth = 5) const {
        const std::vector<xcb_window_t> children = ChildrenOf(parent);
        for (const xcb_window_t child : children) {
            if (Property(child, property) == value) {
                return child;
            }
        }
        for (const xcb_window_t child : children) {
            const xcb_window_t found =
                depth > 1 ? FindBelow(child, property, value, depth - 1) : xcb_window_t{XCB_WINDOW_NONE};
            if (found != XCB_WINDOW_NONE) {
                return found;
            }
        }
        return XCB_WINDOW_NONE;
    }
};

/// The value of a key of settings.ini.
inline std::string SettingOf(const ProgramRun& run, const std::string& key) {
    const std::string text = "\n" + ReadBytes(run.DataFolder() / "settings.ini");
    const std::size_t at = text.find("\n" + key + "=");
    if (at == std::string::npos) {
        return "(none)";
    }
    const std::size_t begin = at + key.size() + 2;
    return text.substr(begin, text.find_first_of("\r\n", begin) - begin);
}

inline bool WaitSetting(const ProgramRun& run, const std::string& key, const std::string& value) {
    return Eventually([&] { return SettingOf(run, key) == value; });
}

/// The files that a run has captured, including working files.
inline std::vector<std::filesystem::path> CapturesOf(const ProgramRun& run, const std::string& extension) {
    std::vector<std::filesystem::path> files = FilesBelow(run.CaptureRoot());
    std::erase_if(files, [&](const std::filesystem::path& file) { return file.extension() != extension; });
    return files;
}

/// Waits until the running recording has some seconds, at 8 Mbit/s.
inline bool WaitRecorded(const ProgramRun& run) {
    constexpr std::uintmax_t bytes = 2'500'000;
    return Eventually([&] {
        const std::vector<std::filesystem::path> files = CapturesOf(run, ".mp4");
        return std::any_of(files.begin(), files.end(), [](const std::filesystem::path& file) {
            std::error_code ignored;
            return file.string().ends_with(".partial.mp4") && std::filesystem::file_size(file, ignored) > bytes &&
                   !ignored;
        });
    });
}

/// The number of pixels of a saved picture that have another colour. Empty if the picture has another size.
inline std::optional<std::size_t> PixelsUnlike(const std::filesystem::path& picture, const Point& size,
                                               std::uint32_t color) {
    const std::string rgb =
        OutputOf({"ffmpeg", "-v", "error", "-i", picture.string(), "-f", "rawvideo", "-pix_fmt", "rgb24", "-"});
    if (rgb.size() != static_cast<std::size_t>(size.x) * static_cast<std::size_t>(size.y) * 3) {
        return std::nullopt;
    }
    std::size_t different = 0;
    for (std::size_t at = 0; at < rgb.size(); at += 3) {
        const std::uint32_t found = std::uint32_t{static_cast<std::uint8_t>(rgb[at])} << 16U |
                                    std::uint32_t{static_cast<std::uint8_t>(rgb[at + 1])} << 8U |
                                    static_cast<std::uint8_t>(rgb[at + 2]);
        different += found == color ? 0 : 1;
    }
    return different;
}

/// A helper program of the desktop (a window manager, a compositor, a notification area).
inline Spawned StartOnDisplay(const std::string& display, const Arguments& command,
                              const std::filesystem::path& folder) {
    return Spawned(command, {{"DISPLAY", display}, {"HOME", folder.string()}}, folder / "desktop-program.log");
}

}  // namespace zv::support
