// Simulates a notification area that is reached over D-Bus: a private session bus, the watcher on it and its host.
// Linux only.
#pragma once

#include <gio/gio.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv::support {

class NotifierHost {
public:
    NotifierHost();
    ~NotifierHost();
    NotifierHost(const NotifierHost&) = delete;
    NotifierHost& operator=(const NotifierHost&) = delete;

    /// The value of DBUS_SESSION_BUS_ADDRESS.
    const std::string& Address() const { return address_; }

    void StartWatcher(bool withHost = true);
    void StopWatcher();
    void RegisterHost();

    /// The bus name of the item that has registered since the watcher was started; empty if none has.
    std::string Item() const;
    bool WaitItem() const;

    /// A property of the item as GVariant text; empty if the item does not respond.
    std::string Property(const std::string& name) const;
    /// Calls a method of the item or of its menu. Returns the result as GVariant text; empty on failure.
    std::string CallItem(const std::string& method, GVariant* arguments) const;
    std::string CallMenu(const std::string& method, GVariant* arguments) const;
    /// The labels of the menu's layout in their order, each with its number, for example "1 Open\n".
    std::string MenuRows() const;
    void ClickMenu(int id) const;

private:
    static void HandleCall(GDBusConnection* bus, const char* sender, const char* path, const char* interface,
                           const char* method, GVariant* arguments, GDBusMethodInvocation* call, void* self);
    static GVariant* HandleProperty(GDBusConnection* bus, const char* sender, const char* path, const char* interface,
                                    const char* property, GError** error, void* self);
    void Export();
    void Emit(const char* signal) const;
    std::string Call(const std::string& service, const char* path, const char* interface, const char* method,
                     GVariant* arguments) const;

    TemporaryFolder folder_{"zorvel-bus"};
    std::string address_;
    Spawned daemon_;
    GMainContext* context_;
    GMainLoop* loop_;
    GDBusConnection* bus_ = nullptr;
    std::atomic<bool> hasHost_ = false;
    mutable std::mutex mutex_;
    std::string item_;  ///< under mutex_
    std::thread thread_;
};

}  // namespace zv::support
