#include "platform/linux/dbus/SessionBus.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>

namespace zv::dbus {
namespace {

/// Empty if there is no bus. The library would start one.
std::string BusAddress() {
    const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (address != nullptr && *address != '\0') {
        return address;
    }
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    std::error_code ignored;
    const std::filesystem::path socket = std::filesystem::path(runtime != nullptr ? runtime : "") / "bus";
    return socket.is_absolute() && std::filesystem::exists(socket, ignored) ? "unix:path=" + socket.string() : "";
}

/// Null until OpenSessionBus has connected.
GDBusConnection* connection = nullptr;

void Connect() {
    const std::string address = BusAddress();
    if (address.empty()) {
        return;
    }
    // Other threads wake the context up only if it has an owner.
    g_main_context_acquire(g_main_context_default());
    constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    connection = g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, nullptr);
}

}  // namespace

GDBusConnection* OpenSessionBus() {
    static std::once_flag tried;
    std::call_once(tried, Connect);
    return connection;
}

Owned<GVariant> Call(const char* service, const char* path, const char* interface, const char* method,
                     GVariant* arguments) {
    return Owned<GVariant>(g_dbus_connection_call_sync(connection, service, path, interface, method, arguments, nullptr,
                                                       G_DBUS_CALL_FLAGS_NO_AUTO_START, callTimeoutMs, nullptr,
                                                       nullptr));
}

void AddBusDescriptors(std::vector<pollfd>& sources) {
    if (connection == nullptr) {
        return;
    }
    int ignoredTimeout = 0;
    std::array<GPollFD, 8> wanted{};
    const int count = g_main_context_query(g_main_context_default(), G_MAXINT, &ignoredTimeout, wanted.data(),
                                           static_cast<int>(wanted.size()));
    for (int i = 0; i < std::min(count, static_cast<int>(wanted.size())); ++i) {
        const GPollFD& each = wanted[static_cast<std::size_t>(i)];
        sources.push_back({each.fd, static_cast<short>(each.events), 0});
    }
}

void DispatchBus() {
    while (connection != nullptr && g_main_context_iteration(g_main_context_default(), FALSE) != FALSE) {
    }
}

}  // namespace zv::dbus
