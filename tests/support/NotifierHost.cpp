#include "support/NotifierHost.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/Eventually.h"

namespace zv::support {
namespace {

constexpr char watcher[] = "org.kde.StatusNotifierWatcher";
constexpr char watcherPath[] = "/StatusNotifierWatcher";
constexpr char itemInterface[] = "org.kde.StatusNotifierItem";
constexpr int callTimeoutMs = 30000;

constexpr char watcherInterface[] = R"(<node><interface name="org.kde.StatusNotifierWatcher">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
<property name="ProtocolVersion" type="i" access="read"/>
<signal name="StatusNotifierHostRegistered"/>
</interface></node>)";

}  // namespace

NotifierHost::NotifierHost() : context_(g_main_context_new()), loop_(g_main_loop_new(context_, FALSE)) {
    const std::filesystem::path socket = folder_.Path() / "bus";
    address_ = "unix:path=" + socket.string();
    daemon_ = Spawned({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address_}, {},
                      folder_.Path() / "bus.log");
    // Connects as soon as the daemon listens.
    g_main_context_push_thread_default(context_);
    EXPECT_TRUE(Eventually([&] {
        bus_ = g_dbus_connection_new_for_address_sync(
            address_.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        return bus_ != nullptr;
    }));
    Export();
    g_main_context_pop_thread_default(context_);
    thread_ = std::thread([this] {
        g_main_context_push_thread_default(context_);
        g_main_loop_run(loop_);
        g_main_context_pop_thread_default(context_);
    });
}

NotifierHost::~NotifierHost() {
    // The loop may not run yet.
    const auto quit = [](void* loop) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(loop));
        return G_SOURCE_REMOVE;
    };
    GSource* source = g_idle_source_new();
    g_source_set_callback(source, quit, loop_, nullptr);
    g_source_attach(source, context_);
    g_source_unref(source);
    thread_.join();
    g_object_unref(bus_);
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
}

void NotifierHost::Export() {
    static GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(watcherInterface, nullptr);
    static constexpr GDBusInterfaceVTable functions{HandleCall, HandleProperty, nullptr, {}};
    EXPECT_NE(
        g_dbus_connection_register_object(bus_, watcherPath, node->interfaces[0], &functions, this, nullptr, nullptr),
        0U);
}

void NotifierHost::HandleCall(GDBusConnection*, const char*, const char*, const char*, const char* method,
                              GVariant* arguments, GDBusMethodInvocation* call, void* self) {
    auto& host = *static_cast<NotifierHost*>(self);
    const char* name = "";
    g_variant_get(arguments, "(&s)", &name);
    if (std::string(method) == "RegisterStatusNotifierItem") {
        const std::lock_guard lock(host.mutex_);
        host.item_ = name;
    }
    g_dbus_method_invocation_return_value(call, nullptr);
}

GVariant* NotifierHost::HandleProperty(GDBusConnection*, const char*, const char*, const char*, const char* property,
                                       GError**, void* self) {
    return std::string(property) == "ProtocolVersion"
               ? g_variant_new_int32(0)
               : g_variant_new_boolean(static_cast<NotifierHost*>(self)->hasHost_ ? TRUE : FALSE);
}

void NotifierHost::Emit(const char* signal) const {
    g_dbus_connection_emit_signal(bus_, nullptr, watcherPath, watcher, signal, nullptr, nullptr);
}

void NotifierHost::StartWatcher(bool withHost) {
    hasHost_ = withHost;
    {
        const std::lock_guard lock(mutex_);
        item_.clear();
    }
    constexpr std::uint32_t replace = 4;  // do not queue
    EXPECT_EQ(Call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                   g_variant_new("(su)", watcher, replace)),
              "(uint32 1,)");
}

void NotifierHost::StopWatcher() {
    EXPECT_EQ(Call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReleaseName",
                   g_variant_new("(s)", watcher)),
              "(uint32 1,)");
}

void NotifierHost::RegisterHost() {
    hasHost_ = true;
    Emit("StatusNotifierHostRegistered");
}

std::string NotifierHost::Item() const {
    const std::lock_guard lock(mutex_);
    return item_;
}

bool NotifierHost::WaitItem() const {
    return Eventually([&] { return !Item().empty(); });
}

std::string NotifierHost::Call(const std::string& service, const char* path, const char* interface, const char* method,
                               GVariant* arguments) const {
    GVariant* result = g_dbus_connection_call_sync(bus_, service.c_str(), path, interface, method, arguments, nullptr,
                                                   G_DBUS_CALL_FLAGS_NO_AUTO_START, callTimeoutMs, nullptr, nullptr);
    if (result == nullptr) {
        return {};
    }
    char* text = g_variant_print(result, TRUE);
    const std::string copy = text;
    g_free(text);
    g_variant_unref(result);
    return copy;
}

std::string NotifierHost::Property(const std::string& name) const {
    return Call(Item(), "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                g_variant_new("(ss)", itemInterface, name.c_str()));
}

std::string NotifierHost::CallItem(const std::string& method, GVariant* arguments) const {
    return Call(Item(), "/StatusNotifierItem", itemInterface, method.c_str(), arguments);
}

std::string NotifierHost::CallMenu(const std::string& method, GVariant* arguments) const {
    std::string path = Property("Menu");  // (<objectpath '/...'>,)
    const std::size_t begin = path.find('\'') + 1;
    path = path.substr(begin, path.rfind('\'') - begin);
    return Call(Item(), path.c_str(), "com.canonical.dbusmenu", method.c_str(), arguments);
}

std::string NotifierHost::MenuRows() const {
    const std::string layout = CallMenu("GetLayout", g_variant_new("(iias)", 0, -1, nullptr));
    std::string rows;
    // <(1, {'label': <'Open'>}, @av [])>
    for (std::size_t at = layout.find("<("); at != std::string::npos; at = layout.find("<(", at + 1)) {
        const std::string id = layout.substr(at + 2, layout.find(',', at) - at - 2);
        const std::size_t value = layout.find("<'", at) + 2;
        rows += id + " " + layout.substr(value, layout.find('\'', value) - value) + "\n";
    }
    return rows;
}

void NotifierHost::ClickMenu(int id) const {
    CallMenu("Event", g_variant_new("(isvu)", id, "clicked", g_variant_new_int32(0), 0U));
}

}  // namespace zv::support
