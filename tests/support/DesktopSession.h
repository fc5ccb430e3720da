// Real desktops on a private display: Xfce's window manager, desktop and panel, or mutter alone. Each session has a
// message bus, settings and caches of its own.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/InterfaceUser.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv::support {

/// The properties of a channel, nested as the settings daemon stores them.
inline std::string XfceChannel(const std::string& name, const std::string& properties) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<channel name=\"" + name + "\" version=\"1.0\">" + properties +
           "</channel>\n";
}

class DesktopSession {
public:
    explicit DesktopSession(const std::string& display, const InterfaceUser& user) : user_(user) {
        for (const char* name : {"config/xfce4/xfconf/xfce-perchannel-xml", "cache", "data", "runtime"}) {
            std::filesystem::create_directories(folder_.Path() / name);
        }
        const std::filesystem::path runtime = folder_.Path() / "runtime";
        std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
        variables_ = {{"DISPLAY", display},
                      {"HOME", folder_.Path().string()},
                      {"XDG_CONFIG_HOME", (folder_.Path() / "config").string()},
                      {"XDG_CACHE_HOME", (folder_.Path() / "cache").string()},
                      {"XDG_DATA_HOME", (folder_.Path() / "data").string()},
                      {"XDG_RUNTIME_DIR", runtime.string()},
                      {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (runtime / "bus").string()},
                      {"GSETTINGS_BACKEND", "memory"},
                      {"GIO_USE_VFS", "local"},
                      {"NO_AT_BRIDGE", "1"},
                      {"WAYLAND_DISPLAY", ""},
                      {"XDG_SESSION_TYPE", "x11"},
                      {"XDG_CURRENT_DESKTOP", ""},
                      {"SESSION_MANAGER", ""}};
        Start({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + BusAddress()});
        EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(runtime / "bus"); })) << Log();
    }

    /// Xfce with one panel at the upper edge, which contains only the notification area. `wallpaper` is a picture of
    /// the screen's size.
    void StartXfce(const std::filesystem::path& wallpaper) {
        WriteChannel("xfce4-panel", R"(<property name="configver" type="int" value="2"/>
<property name="panels" type="array"><value type="int" value="1"/><property name="panel-1" type="empty">
<property name="position" type="string" value="p=6;x=0;y=0"/><property name="length" type="uint" value="100"/>
<property name="position-locked" type="bool" value="true"/><property name="size" type="uint" value="26"/>
<property name="plugin-ids" type="array"><value type="int" value="1"/></property></property></property>
<property name="plugins" type="empty"><property name="plugin-1" type="string" value="systray"/></property>)");
        WriteChannel("xfce4-desktop", R"(<property name="desktop-icons" type="empty">
<property name="style" type="int" value="0"/></property><property name="backdrop" type="empty">
<property name="screen0" type="empty"><property name="monitorscreen" type="empty">
<property name="workspace0" type="empty"><property name="image-style" type="int" value="1"/>
<property name="last-image" type="string" value=")" +
                                          wallpaper.string() + R"("/></property></property></property></property>)");
        Start({"xfwm4"});
        ASSERT_TRUE(WaitCompositor()) << Log();
        Start({"xfdesktop"});
        Start({"xfce4-panel"});
        // The panel serves icons of both protocols.
        ASSERT_TRUE(Eventually([&] {
            return HasSelection("_NET_SYSTEM_TRAY_S0") && HasBusName("org.kde.StatusNotifierWatcher");
        })) << Log();
    }

    /// The window manager and compositor of a desktop without a notification area.
    void StartMutter() {
        Start({"mutter", "--x11"});
        ASSERT_TRUE(WaitCompositor()) << Log();
    }

    std::string BusAddress() const { return variables_.at("DBUS_SESSION_BUS_ADDRESS"); }
    std::string Log() const { return ReadBytes(folder_.Path() / "session.log"); }

private:
    void WriteChannel(const std::string& name, const std::string& properties) const {
        WriteBytes(folder_.Path() / "config/xfce4/xfconf/xfce-perchannel-xml" / (name + ".xml"),
                   XfceChannel(name, properties));
    }
    void Start(const Arguments& command) {
        programs_.emplace_back(command, variables_, folder_.Path() / "session.log");
    }
    bool HasSelection(const std::string& name) const {
        const Reply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
            user_.Get(), xcb_get_selection_owner(user_.Get(), user_.Atom(name)), nullptr));
        return reply && reply->owner != XCB_WINDOW_NONE;
    }
    bool HasBusName(const std::string& name) const {
        return OutputOf({"dbus-send", "--bus=" + BusAddress(), "--print-reply", "--dest=org.freedesktop.DBus",
                         "/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner", "string:" + name})
            .ends_with("boolean true\n");
    }
    bool WaitCompositor() const {
        return Eventually([&] {
            return HasSelection("_NET_WM_CM_S0") && !user_.Property(user_.Root(), "_NET_SUPPORTING_WM_CHECK").empty();
        });
    }

    const InterfaceUser& user_;
    TemporaryFolder folder_{"zorvel-session"};
    Variables variables_;
    std::vector<Spawned> programs_;
};

}  // namespace zv::support
