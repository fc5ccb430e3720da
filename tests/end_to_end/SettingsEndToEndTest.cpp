// The settings page by real clicks: what its controls change while the replay runs, and the dialogs of the desktop.
#include <gio/gio.h>

#include <csignal>
#include <mutex>
#include <sstream>

#include "support/InterfaceUser.h"
#include "support/NotifierHost.h"
#include "support/TrayUser.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

constexpr int recordings = 0;  // sections
constexpr int audio = 1;
constexpr int galleryLocation = 3;
constexpr int hud = 5;
constexpr Point changeFolder{330, 285};

/// Replaces a part of the expected file.
void Replace(std::string& file, const std::string& part, const std::string& by) {
    const std::size_t at = file.find(part);
    ASSERT_NE(at, std::string::npos) << part;
    file.replace(at, part.size(), by);
}

/// Simulates the portal's dialog for files. Its methods are answered on the thread of the bus connection.
class FilePortal {
public:
    explicit FilePortal(const std::string& address) {
        bus_ = g_dbus_connection_new_for_address_sync(
            address.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        filter_ = g_dbus_connection_add_filter(bus_, Filter, this, nullptr);
        CallBus("RequestName", g_variant_new("(su)", name, 4U));
    }
    ~FilePortal() {
        g_dbus_connection_remove_filter(bus_, filter_);
        g_dbus_connection_close_sync(bus_, nullptr, nullptr);
        g_object_unref(bus_);
    }
    FilePortal(const FilePortal&) = delete;
    FilePortal& operator=(const FilePortal&) = delete;

    /// Of the interface. With version 0 the portal answers no call.
    void SetVersion(std::uint32_t version) {
        const std::lock_guard lock(mutex_);
        version_ = version;
    }
    bool WaitOpened(int count) const {
        return Eventually([&] { return Get(opened_) == count; });
    }
    bool WaitClosed(int count) const {
        return Eventually([&] { return Get(closed_) == count; });
    }
    /// The arguments of the last OpenFile as GVariant text.
    std::string Arguments() const { return Get(arguments_); }

    void Respond(std::uint32_t response, const std::string& uri = {}) const {
        GVariantBuilder results;
        g_variant_builder_init(&results, G_VARIANT_TYPE("a{sv}"));
        if (!uri.empty()) {
            const char* const uris[] = {uri.c_str(), nullptr};
            g_variant_builder_add(&results, "{sv}", "uris", g_variant_new_strv(uris, -1));
        }
        g_dbus_connection_emit_signal(bus_, Get(sender_).c_str(), Get(handle_).c_str(),
                                      "org.freedesktop.portal.Request", "Response",
                                      g_variant_new("(ua{sv})", response, &results), nullptr);
    }
    /// Ends the service as a crash would.
    void ReleaseName() const { CallBus("ReleaseName", g_variant_new("(s)", name)); }

private:
    static constexpr char name[] = "org.freedesktop.portal.Desktop";

    template <class Value>
    Value Get(const Value& value) const {
        const std::lock_guard lock(mutex_);
        return value;
    }
    void CallBus(const char* method, GVariant* arguments) const {
        GVariant* reply =
            g_dbus_connection_call_sync(bus_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                        method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        ASSERT_NE(reply, nullptr);
        g_variant_unref(reply);
    }
    static GDBusMessage* Filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming, void* self) {
        if (incoming == FALSE || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) {
            return message;
        }
        if (static_cast<FilePortal*>(self)->IsSilent()) {
            g_object_unref(message);
            return nullptr;
        }
        GDBusMessage* reply = g_dbus_message_new_method_reply(message);
        g_dbus_message_set_body(reply, static_cast<FilePortal*>(self)->Answer(*message));
        g_dbus_connection_send_message(bus, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
        g_object_unref(reply);
        g_object_unref(message);
        return nullptr;
    }
    bool IsSilent() const { return Get(version_) == 0; }
    GVariant* Answer(GDBusMessage& message) {
        const std::lock_guard lock(mutex_);
        const std::string method = g_dbus_message_get_member(&message);
        if (method == "Get") {
            return g_variant_new("(v)", g_variant_new_uint32(version_));
        }
        if (method == "Close") {
            ++closed_;
            return nullptr;
        }
        GVariant* body = g_dbus_message_get_body(&message);
        char* text = g_variant_print(body, FALSE);
        arguments_ = text;
        g_free(text);
        GVariant* options = g_variant_get_child_value(body, 2);
        const char* token = "";
        g_variant_lookup(options, "handle_token", "&s", &token);
        sender_ = g_dbus_message_get_sender(&message);
        std::string part = sender_.substr(1);
        std::replace(part.begin(), part.end(), '.', '_');
        handle_ = "/org/freedesktop/portal/desktop/request/" + part + "/" + token;
        g_variant_unref(options);
        ++opened_;
        return g_variant_new("(o)", handle_.c_str());
    }

    GDBusConnection* bus_ = nullptr;
    unsigned filter_ = 0;
    mutable std::mutex mutex_;  ///< of all below
    std::uint32_t version_ = 4;
    int opened_ = 0;
    int closed_ = 0;
    std::string arguments_;
    std::string sender_;
    std::string handle_;
};

class SettingsEndToEnd : public testing::Test {
protected:
    SettingsEndToEnd() {
        WriteBytes(zenity_, "#!/bin/sh\necho \"$*\" >>'" + started_.string() + "'\nwhile [ ! -e '" + answer_.string() +
                                "' ]; do sleep 0.05; done\ncat '" + answer_.string() + "'\nrm '" + answer_.string() +
                                "'\n");
        fs::permissions(zenity_, fs::perms::owner_all);
        user_.Cover({0, 0, 1280, 720}, 0x205080);
    }
    ProgramOptions Options(const std::string& replay, const std::string& bus = {}) const {
        return {.display = display_.Name(),
                .settings = {{"instantReplay", replay}},
                .variables = {{"PATH", folder_.Path().string() + ":" + std::getenv("PATH")},
                              {"DBUS_SESSION_BUS_ADDRESS", bus}}};
    }
    /// The arguments of each start of zenity.
    std::vector<std::string> Starts() const {
        std::istringstream lines(ReadBytes(started_));
        std::vector<std::string> starts;
        for (std::string line; std::getline(lines, line);) {
            starts.push_back(line);
        }
        return starts;
    }
    bool WaitStarts(std::size_t count) const {
        return Eventually([&] { return Starts().size() == count; });
    }
    void AnswerZenity(const fs::path& chosen) const {
        const fs::path whole = folder_.Path() / "whole";
        WriteBytes(whole, chosen.string() + "\n");
        fs::rename(whole, answer_);
    }
    void ClickChangeFolder() const { user_.Click(overlayName, changeFolder.x, changeFolder.y); }
    bool OpenGalleryLocation() const { return user_.OpenOverlay() && user_.OpenSettingsSection(galleryLocation); }
    static fs::path SettingsPath(const ProgramRun& run) { return run.DataFolder() / "settings.ini"; }

    TemporaryFolder folder_{"zorvel-dialogs"};
    fs::path zenity_ = folder_.Path() / "zenity";
    fs::path started_ = folder_.Path() / "started";
    fs::path answer_ = folder_.Path() / "answer";
    PrivateDisplay display_{"1280x720"};
    InterfaceUser user_{display_.Name()};
};

TEST_F(SettingsEndToEnd, ControlsWorkWhileTheReplayRunsAndSurviveAKill) {
    ProgramRun run(Options("1"));
    ASSERT_TRUE(run.WaitForBuffer(2));
    std::string file = ReadBytes(SettingsPath(run));
    const std::vector<pid_t> before = run.FfmpegChildren();

    // A clip is saved while the dialog of the desktop is open.
    ASSERT_TRUE(OpenGalleryLocation());
    ClickChangeFolder();
    ASSERT_TRUE(WaitStarts(1));
    user_.TapKey({XK_Alt_L}, XK_F10);
    EXPECT_TRUE(run.WaitForActivity("Replay saved: " + run.CaptureRoot().string()).has_value());
    AnswerZenity(folder_.Path() / "library");
    ASSERT_TRUE(user_.WaitShown(overlayName));
    Replace(file, "captureRoot=" + run.CaptureRoot().string(), "captureRoot=" + (folder_.Path() / "library").string());
    Replace(file, "ffmpegPath=", "previousCaptureRoot0=" + run.CaptureRoot().string() + "\r\nffmpegPath=");
    EXPECT_EQ(ReadBytes(SettingsPath(run)), file);
    EXPECT_EQ(run.FfmpegChildren(), before) << "the replay has restarted";

    ASSERT_TRUE(user_.OpenSettingsSection(recordings));
    user_.Click(overlayName, 544, 338);
    user_.MovePointer(1, 1);
    EXPECT_TRUE(user_.WaitColor(overlayName, 515, 327, color::buttonSelected));
    Replace(file, "bitrateMbps=8\r", "bitrateMbps=20\r");
    EXPECT_EQ(ReadBytes(SettingsPath(run)), file);
    EXPECT_TRUE(Eventually([&] {
        const std::vector<pid_t> now = run.FfmpegChildren();
        return !now.empty() && now != before;
    })) << "the replay has not restarted";
    EXPECT_TRUE(run.WaitForBuffer(1));

    ASSERT_TRUE(user_.OpenSettingsSection(hud));
    user_.Click(overlayName, 504, 360);
    EXPECT_TRUE(WaitSetting(run, "theme", "Zorvel Blue"));
    EXPECT_TRUE(user_.WaitSays(overlayName, {.box = {320, 126, 700, 159},
                                             .text = u"HUD layout",
                                             .color = Rgb(81, 151, 255),
                                             .background = color::overlayPanel,
                                             .font = FontRole::Bold,
                                             .layout = TextLayout::CentredLine}));
    user_.Click(overlayName, 334, 245);
    EXPECT_TRUE(WaitSetting(run, "showFpsOverlay", "1"));
    run.Process().Send(SIGKILL);
    EXPECT_TRUE(run.Process().WaitExit().has_value());
    Replace(file, "theme=ZV Purple\r", "theme=Zorvel Blue\r");
    Replace(file, "showFpsOverlay=0\r", "showFpsOverlay=1\r");
    EXPECT_EQ(ReadBytes(SettingsPath(run)), file);
}

TEST_F(SettingsEndToEnd, TheDialogOfTheDesktopChoosesTheLibraryFolder) {
    ProgramRun run(Options("0"));
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    ASSERT_TRUE(OpenGalleryLocation());
    ClickChangeFolder();
    ASSERT_TRUE(WaitStarts(1));
    EXPECT_EQ(Starts().front(), "--file-selection --title=Choose a folder --directory");
    EXPECT_TRUE(user_.WaitHidden(overlayName));
    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_s);
    EXPECT_TRUE(Eventually([&] { return CapturesOf(run, ".png").size() == 1; }));

    // A second dialog is not opened. The click on the notifications is handled after that on the folder.
    ASSERT_TRUE(user_.OpenOverlay());
    ClickChangeFolder();
    constexpr std::uint32_t betweenClicksMs = 3000;
    const auto off = [&] { return SettingOf(run, "notifications") == "0"; };
    EXPECT_TRUE(Eventually([&] {
        user_.Click(overlayName, 504, 429);
        return Eventually(off, betweenClicksMs);
    }));
    EXPECT_EQ(Starts().size(), 1U);
    ASSERT_TRUE(user_.CloseOverlay());
    const fs::path library = folder_.Path() / "my library";
    AnswerZenity(library);
    EXPECT_TRUE(user_.WaitShown(overlayName));
    EXPECT_EQ(SettingOf(run, "captureRoot"), library.string());
    EXPECT_EQ(SettingOf(run, "previousCaptureRoot0"), run.CaptureRoot().string());
    EXPECT_TRUE(FilesBelow(library).empty()) << "the test file remains";
    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_s);
    EXPECT_TRUE(Eventually([&] {
        const std::vector<fs::path> files = FilesBelow(library);
        return files.size() == 1 && files.front().extension() == ".png" && user_.Shows(overlayName);
    }));

    ClickChangeFolder();
    ASSERT_TRUE(WaitStarts(2));
    EXPECT_EQ(run.End(), 0) << "the program ends while the dialog is open";
    EXPECT_TRUE(Eventually([&] { return ProcessesWith(zenity_.string()).empty(); })) << "the dialog remains";
    EXPECT_EQ(SettingOf(run, "captureRoot"), library.string());
}

TEST_F(SettingsEndToEnd, ThePortalChoosesTheLibraryFolder) {
    const NotifierHost host;
    FilePortal portal(host.Address());
    ProgramRun run(Options("0", host.Address()));
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    ASSERT_TRUE(OpenGalleryLocation());
    ClickChangeFolder();
    ASSERT_TRUE(portal.WaitOpened(1));
    EXPECT_TRUE(portal.Arguments().starts_with("('x11:")) << portal.Arguments();
    EXPECT_NE(portal.Arguments().find("'directory': <true>"), std::string::npos) << portal.Arguments();
    EXPECT_TRUE(user_.WaitHidden(overlayName));
    portal.Respond(0, "file://" + folder_.Path().string() + "/my%20library");
    EXPECT_TRUE(user_.WaitShown(overlayName));
    EXPECT_EQ(SettingOf(run, "captureRoot"), (folder_.Path() / "my library").string());

    const std::string file = ReadBytes(SettingsPath(run));
    const auto open = [&](int count) {
        ClickChangeFolder();
        return portal.WaitOpened(count) && user_.WaitHidden(overlayName);
    };
    ASSERT_TRUE(open(2));
    portal.Respond(1);
    EXPECT_TRUE(user_.WaitShown(overlayName)) << "cancelled";
    ASSERT_TRUE(open(3));
    portal.Respond(0, "sftp://elsewhere/folder");
    EXPECT_TRUE(user_.WaitShown(overlayName)) << "not a file";
    portal.SetVersion(2);
    ClickChangeFolder();
    ASSERT_TRUE(WaitStarts(1) && user_.WaitHidden(overlayName)) << "a portal that cannot choose folders";
    AnswerZenity("");
    EXPECT_TRUE(user_.WaitShown(overlayName));
    portal.SetVersion(3);
    ASSERT_TRUE(open(4));
    EXPECT_EQ(Starts().size(), 1U);
    portal.ReleaseName();
    EXPECT_TRUE(user_.WaitShown(overlayName)) << "a portal that has crashed";
    EXPECT_EQ(ReadBytes(SettingsPath(run)), file);
    EXPECT_EQ(run.End(), 0);
}

TEST_F(SettingsEndToEnd, TheMonitorIsChosenInAMenuThatChecksTheCapturedOne) {
    ProgramRun run(Options("0"));
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    ASSERT_TRUE(user_.OpenOverlay());
    ASSERT_TRUE(user_.OpenSettingsSection(recordings));
    const TrayUser menus(display_.Name(), user_);
    const std::vector<xcb_window_t> before = user_.TopLevels();
    user_.Click(overlayName, 335, 338);
    xcb_window_t menu = XCB_WINDOW_NONE;
    ASSERT_TRUE(Eventually([&] { return (menu = menus.MenuBeside(before)) != XCB_WINDOW_NONE; }));
    const Rectangle bounds = user_.BoundsOf(menu);
    EXPECT_TRUE(Eventually([&] {
        return user_.SaysAt(bounds, 1,
                            {.box = {36, 4, bounds.Width() - 4, 32},
                             .text = u"screen  1280 x 720  Primary",
                             .background = TrayUser::menuColor,
                             .font = FontRole::Body,
                             .look = {36, 8, bounds.Width() - 12, 28}});
    }));
    EXPECT_EQ(user_.PixelAt(bounds.left + 18, bounds.top + 21), ScreenColor(color::primaryText)) << "the check mark";
    user_.TapKey(XK_Down);
    user_.TapKey(XK_Return);
    EXPECT_TRUE(run.WaitForActivity("Settings saved").has_value());
    EXPECT_EQ(SettingOf(run, "monitorDevice"), "screen");
    EXPECT_EQ(run.End(), 0);
}

TEST_F(SettingsEndToEnd, TheSoundSettingsAreThoseOfTheDesktop) {
    const auto install = [&](const std::string& name, const std::string& keys) {
        const fs::path program = folder_.Path() / name;
        WriteBytes(program, "#!/bin/sh\necho \"" + name + " $*\" >>'" + started_.string() + "'\n");
        fs::permissions(program, fs::perms::owner_all);
        fs::create_directories(folder_.Path() / "share/applications");
        WriteBytes(folder_.Path() / "share/applications" / (name + ".desktop"),
                   "[Desktop Entry]\nType=Application\nName=x\n" + keys + "\n");
    };
    install("gnome-sound-panel", "Exec=gnome-sound-panel 'a b'\nOnlyShowIn=GNOME;\nNoDisplay=true");
    install("player", "Exec=player\nCategories=Audio;Player;");
    install("volumes", "Exec=volumes %U --tab 3\nCategories=AudioVideo;Audio;Mixer;");
    std::size_t count = 0;
    for (const auto& [desktop, command] :
         {std::pair("GNOME", "gnome-sound-panel a b"), std::pair("XFCE", "volumes --tab 3")}) {
        ProgramOptions options = Options("0");
        options.variables["XDG_CURRENT_DESKTOP"] = desktop;
        options.variables["XDG_DATA_DIRS"] = (folder_.Path() / "share").string();
        options.variables["XDG_DATA_HOME"] = (folder_.Path() / "none").string();
        ProgramRun run(options);
        ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
        ASSERT_TRUE(user_.OpenOverlay());
        ASSERT_TRUE(user_.OpenSettingsSection(audio));
        user_.Click(overlayName, 504, 392);
        ASSERT_TRUE(WaitStarts(++count));
        EXPECT_EQ(Starts().back(), command);
        EXPECT_EQ(run.End(), 0);
    }
}

TEST_F(SettingsEndToEnd, AfterTenSecondsASilentPortalIsReplaced) {
    const NotifierHost host;
    FilePortal portal(host.Address());
    portal.SetVersion(0);
    ProgramRun run(Options("0", host.Address()));
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    ASSERT_TRUE(OpenGalleryLocation());
    ClickChangeFolder();
    ASSERT_TRUE(WaitStarts(1));
    AnswerZenity(folder_.Path() / "library");
    EXPECT_TRUE(user_.WaitShown(overlayName));
    EXPECT_EQ(SettingOf(run, "captureRoot"), (folder_.Path() / "library").string());
    EXPECT_EQ(run.End(), 0);
}

TEST_F(SettingsEndToEnd, TheDialogOfThePortalIsClosedIfTheProgramEnds) {
    const NotifierHost host;
    FilePortal portal(host.Address());
    ProgramRun run(Options("0", host.Address()));
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    ASSERT_TRUE(OpenGalleryLocation());
    ClickChangeFolder();
    ASSERT_TRUE(portal.WaitOpened(1));
    EXPECT_EQ(run.End(), 0);
    EXPECT_TRUE(portal.WaitClosed(1));
}

}  // namespace
}  // namespace zv
