// Steps: read the version of the interface, call OpenFile, wait for the signal Response of the request.
//
// The calls do not block. Each callback owns a reference to the state, because it may run after the FileChooser is
// gone.
#include "platform/linux/dbus/FileChooser.h"

#include <algorithm>
#include <utility>

#include "platform/linux/dbus/SessionBus.h"

namespace zv::dbus {

struct FileChooserState {
    FileChooserOptions options;
    bool abandoned = false;  ///< the FileChooser is gone
    bool ended = false;
    bool shown = false;
    std::optional<std::string> path;
    std::string request;  ///< the object path of the open dialog
    unsigned responseWatch = 0;
    unsigned portalWatch = 0;
};

namespace {

constexpr char portal[] = "org.freedesktop.portal.Desktop";
constexpr char portalPath[] = "/org/freedesktop/portal/desktop";
constexpr char chooser[] = "org.freedesktop.portal.FileChooser";
constexpr char requestInterface[] = "org.freedesktop.portal.Request";
constexpr std::uint32_t firstVersionWithFolders = 3;
/// The portal may have to start first. Later the dialog has no time limit.
constexpr int answerTimeoutMs = 10'000;

using Shared = std::shared_ptr<FileChooserState>;

void* Reference(const Shared& state) { return new Shared(state); }
void Release(void* reference) { delete static_cast<Shared*>(reference); }

/// The result of an asynchronous call, and the state that its callback owned.
struct Reply {
    Shared state;
    Owned<GVariant> value;  ///< null if the call has failed

    Reply(GObject* bus, GAsyncResult* result, void* reference)
        : state(*static_cast<Shared*>(reference)),
          value(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, nullptr)) {
        Release(reference);
    }
};

void CallLater(const Shared& state, const char* interface, const char* method, GVariant* arguments,
               GAsyncReadyCallback callback) {
    g_dbus_connection_call(OpenSessionBus(), portal, portalPath, interface, method, arguments, nullptr,
                           G_DBUS_CALL_FLAGS_NONE, answerTimeoutMs, nullptr, callback, Reference(state));
}

std::optional<std::string> FirstFile(GVariant* results) {
    const Owned<GVariant> uris(g_variant_lookup_value(results, "uris", G_VARIANT_TYPE("as")));
    if (!uris || g_variant_n_children(uris.get()) == 0) {
        return std::nullopt;
    }
    const char* uri = nullptr;
    g_variant_get_child(uris.get(), 0, "&s", &uri);
    char* name = g_filename_from_uri(uri, nullptr, nullptr);
    std::optional<std::string> path = name != nullptr ? std::optional<std::string>(name) : std::nullopt;
    g_free(name);
    return path;
}

void OnResponse(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments,
                void* reference) {
    FileChooserState& state = **static_cast<Shared*>(reference);
    if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(ua{sv})")) != FALSE) {
        std::uint32_t response = 0;
        GVariant* results = nullptr;
        g_variant_get(arguments, "(u@a{sv})", &response, &results);
        const Owned<GVariant> owned(results);
        state.path = response == 0 ? FirstFile(results) : std::nullopt;
    }
    state.shown = true;
    state.ended = true;
}

/// A portal that has died sends no response.
void OnPortalOwner(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments,
                   void* reference) {
    FileChooserState& state = **static_cast<Shared*>(reference);
    const char* owner = nullptr;
    g_variant_get(arguments, "(&s&s&s)", nullptr, nullptr, &owner);
    state.ended |= state.shown && *owner == '\0';
}

void OnOpened(GObject* bus, GAsyncResult* result, void* reference) {
    const Reply reply(bus, result, reference);
    reply.state->shown |= reply.value != nullptr;
    reply.state->ended |= reply.value == nullptr;
}

GVariant* DialogOptions(const FileChooserOptions& options, const std::string& token) {
    GVariantBuilder entries;
    g_variant_builder_init(&entries, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&entries, "{sv}", "handle_token", g_variant_new_string(token.c_str()));
    if (options.folder) {
        g_variant_builder_add(&entries, "{sv}", "directory", g_variant_new_boolean(TRUE));
    } else {
        constexpr std::uint32_t globPattern = 0;
        GVariantBuilder filters;
        g_variant_builder_init(&filters, G_VARIANT_TYPE("a(sa(us))"));
        g_variant_builder_open(&filters, G_VARIANT_TYPE("(sa(us))"));
        g_variant_builder_add(&filters, "s", options.filterName.c_str());
        g_variant_builder_open(&filters, G_VARIANT_TYPE("a(us)"));
        g_variant_builder_add(&filters, "(us)", globPattern, options.pattern.c_str());
        g_variant_builder_close(&filters);
        g_variant_builder_close(&filters);
        g_variant_builder_add(&entries, "{sv}", "filters", g_variant_builder_end(&filters));
    }
    return g_variant_builder_end(&entries);
}

/// The object path that the portal gives to the request of `token`.
std::string RequestPath(GDBusConnection* bus, const std::string& token) {
    std::string sender = g_dbus_connection_get_unique_name(bus) + 1;  // without its colon
    std::replace(sender.begin(), sender.end(), '.', '_');
    // Not one sum: GCC 12 warns of its move wrongly.
    std::string path = portalPath;
    path.append("/request/").append(sender).append("/").append(token);
    return path;
}

void OpenDialog(const Shared& state) {
    static int count = 0;
    GDBusConnection* bus = OpenSessionBus();
    const std::string token = "zorvel" + std::to_string(++count);
    state->request = RequestPath(bus, token);
    state->responseWatch =
        g_dbus_connection_signal_subscribe(bus, portal, requestInterface, "Response", state->request.c_str(), nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, OnResponse, Reference(state), Release);
    state->portalWatch = g_dbus_connection_signal_subscribe(
        bus, "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", "/org/freedesktop/DBus", portal,
        G_DBUS_SIGNAL_FLAGS_NONE, OnPortalOwner, Reference(state), Release);
    const FileChooserOptions& options = state->options;
    CallLater(state, chooser, "OpenFile",
              g_variant_new("(ss@a{sv})", options.parent.c_str(), options.title.c_str(), DialogOptions(options, token)),
              OnOpened);
}

void OnVersion(GObject* bus, GAsyncResult* result, void* reference) {
    const Reply reply(bus, result, reference);
    std::uint32_t version = 0;
    if (reply.value && g_variant_is_of_type(reply.value.get(), G_VARIANT_TYPE("(v)")) != FALSE) {
        GVariant* content = nullptr;
        g_variant_get(reply.value.get(), "(v)", &content);
        const Owned<GVariant> owned(content);
        version = g_variant_is_of_type(content, G_VARIANT_TYPE_UINT32) != FALSE ? g_variant_get_uint32(content) : 0;
    }
    if (version < firstVersionWithFolders) {
        reply.state->ended = true;
    } else if (!reply.state->abandoned) {
        OpenDialog(reply.state);
    }
}

}  // namespace

FileChooser::FileChooser(FileChooserOptions options) : state_(std::make_shared<FileChooserState>()) {
    state_->options = std::move(options);
    if (OpenSessionBus() == nullptr) {
        state_->ended = true;
        return;
    }
    CallLater(state_, "org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", chooser, "version"), OnVersion);
}

FileChooser::~FileChooser() {
    state_->abandoned = true;
    GDBusConnection* bus = OpenSessionBus();
    for (const unsigned watch : {state_->responseWatch, state_->portalWatch}) {
        if (watch != 0) {
            g_dbus_connection_signal_unsubscribe(bus, watch);
        }
    }
    if (!state_->request.empty() && !state_->ended) {
        g_dbus_connection_call(bus, portal, state_->request.c_str(), requestInterface, "Close", nullptr, nullptr,
                               G_DBUS_CALL_FLAGS_NO_AUTO_START, callTimeoutMs, nullptr, nullptr, nullptr);
        g_dbus_connection_flush_sync(bus, nullptr, nullptr);
    }
}

bool FileChooser::HasEnded() const { return state_->ended; }
bool FileChooser::WasShown() const { return state_->shown; }
const std::optional<std::string>& FileChooser::Path() const { return state_->path; }

}  // namespace zv::dbus
