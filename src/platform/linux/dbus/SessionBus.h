// The program's connection to the session bus of D-Bus.
//
// Interface thread only. Objects that are exported here are called from DispatchBus, which the message loop runs when
// BusDescriptors are readable.
#pragma once

#include <gio/gio.h>
#include <poll.h>

#include <vector>

#include "platform/Owned.h"

namespace zv {

template <>
inline void Closer<GVariant>::operator()(GVariant* value) const noexcept {
    g_variant_unref(value);
}

namespace dbus {

/// No call to another program waits longer.
inline constexpr int callTimeoutMs = 2000;

/// Connects if that has not been tried yet. Null if there is no bus. Never starts a bus or a service.
GDBusConnection* OpenSessionBus();

/// Calls a method over the open bus and waits for its result. Returns null on failure. Sinks `arguments`.
Owned<GVariant> Call(const char* service, const char* path, const char* interface, const char* method,
                     GVariant* arguments);

/// Adds what to wait for. Nothing before the bus is open.
void AddBusDescriptors(std::vector<pollfd>& sources);

/// Handles the calls and changes that have arrived.
void DispatchBus();

}  // namespace dbus
}  // namespace zv
