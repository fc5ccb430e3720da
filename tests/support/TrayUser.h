// Simulates the user of a real notification area: the program's icon and its menu.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "support/Eventually.h"
#include "support/InterfaceUser.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv::support {

class TrayUser {
public:
    TrayUser(const std::string& display, const InterfaceUser& user) : display_(display), user_(user) {}

    void StartTray(const std::string& edge = "bottom") {
        tray_ = StartOnDisplay(display_,
                               {"trayer", "--edge", edge, "--align", "left", "--widthtype", "request", "--height", "24",
                                "--SetDockType", "false"},
                               folder_.Path());
    }
    /// Kills the notification area, as a crash would.
    void KillTray() {
        tray_.Send(SIGKILL);
        tray_.WaitExit();
    }

    /// The bounds of the icon, found by its tooltip.
    std::optional<Rectangle> Icon() const {
        const xcb_window_t icon = user_.FindBelow(user_.Root(), "_NET_WM_NAME", "ZV Reels Max");
        return icon != XCB_WINDOW_NONE && user_.IsViewable(icon) ? std::optional(user_.OnScreen(icon)) : std::nullopt;
    }
    /// Waits until the notification area has given the icon a size.
    bool WaitIcon() {
        return Eventually([&] { return (icon_ = Icon()).has_value() && icon_->Width() > 8; });
    }
    bool WaitNoIcon() const {
        return Eventually([&] { return !Icon(); });
    }
    void ClickIcon(std::uint8_t button = 1) const {
        user_.ClickAt((icon_->left + icon_->right) / 2, (icon_->top + icon_->bottom) / 2, button);
    }

    /// A click that a bridge sends, without a time.
    void ForwardClick() const {
        const xcb_window_t icon = user_.FindBelow(user_.Root(), "_NET_WM_NAME", "ZV Reels Max");
        for (const std::uint8_t type : {std::uint8_t{XCB_BUTTON_PRESS}, std::uint8_t{XCB_BUTTON_RELEASE}}) {
            xcb_button_press_event_t event{};
            event.response_type = type;
            event.detail = XCB_BUTTON_INDEX_1;
            event.root = user_.Root();
            event.event = icon;
            event.same_screen = 1;
            xcb_send_event(user_.Get(), 0, icon, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
        }
        user_.Sync();
    }

    bool OpenMenu(std::uint8_t button) {
        return OpenMenuAt({(icon_->left + icon_->right) / 2, (icon_->top + icon_->bottom) / 2}, button);
    }
    bool OpenMenuAt(const Point& icon, std::uint8_t button) {
        const std::vector<xcb_window_t> before = user_.TopLevels();
        user_.ClickAt(icon.x, icon.y, button);
        return Eventually([&] { return (menu_ = MenuBeside(before)) != XCB_WINDOW_NONE; });
    }
    /// The visible menu, which is not one of the windows in `before`. 0 if there is none.
    xcb_window_t MenuBeside(const std::vector<xcb_window_t>& before) const {
        for (const xcb_window_t top : user_.TopLevels()) {
            const bool fresh = std::find(before.begin(), before.end(), top) == before.end();
            const Rectangle bounds = user_.BoundsOf(top);
            if (fresh && user_.IsViewable(top) &&
                user_.PixelAt(bounds.right - 3, bounds.top + 3) == ScreenColor(menuColor)) {
                return top;
            }
        }
        return XCB_WINDOW_NONE;
    }
    bool WaitNoMenu() const {
        return Eventually([&] { return !user_.IsViewable(menu_); });
    }
    Rectangle Menu() const { return user_.BoundsOf(menu_); }
    void ClickMenuRow(int row) const {
        const Rectangle place = Menu();
        user_.ClickAt(place.left + 30, place.top + 4 + 28 * row + 14 - (row > 5 ? 19 : 0));
    }
    bool MenuSays(int row, const Text& text, Color background = menuColor) const {
        const Rectangle place = Menu();
        const int top = 4 + 28 * row;
        return user_.SaysAt(place, 1,
                            {.box = {16, top, place.Width() - 4, top + 28},
                             .text = text,
                             .background = background,
                             .font = FontRole::Body,
                             .look = {16, top + 4, place.Width() - 12, top + 24}});
    }

    static constexpr Color menuColor = Rgb(26, 28, 38);
    static constexpr Color chosenColor = Rgb(57, 47, 84);

private:
    std::string display_;
    const InterfaceUser& user_;
    TemporaryFolder folder_{"zorvel-tray"};
    Spawned tray_;
    std::optional<Rectangle> icon_;
    xcb_window_t menu_ = XCB_WINDOW_NONE;
};

}  // namespace zv::support
