#include "platform/linux/dbus/StatusNotifier.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "platform/linux/dbus/SessionBus.h"

namespace zv::dbus {
namespace {

constexpr char watcher[] = "org.kde.StatusNotifierWatcher";
constexpr char watcherPath[] = "/StatusNotifierWatcher";
constexpr char itemPath[] = "/StatusNotifierItem";
constexpr char menuPath[] = "/MenuBar";
constexpr int firstSeparatorId = 1000;

constexpr char interfaces[] = R"xml(<node>
<interface name="org.kde.StatusNotifierItem">
<property name="Category" type="s" access="read"/>
<property name="Id" type="s" access="read"/>
<property name="Title" type="s" access="read"/>
<property name="Status" type="s" access="read"/>
<property name="WindowId" type="i" access="read"/>
<property name="IconName" type="s" access="read"/>
<property name="IconPixmap" type="a(iiay)" access="read"/>
<property name="ToolTip" type="(sa(iiay)ss)" access="read"/>
<property name="ItemIsMenu" type="b" access="read"/>
<property name="Menu" type="o" access="read"/>
<method name="ContextMenu"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
<method name="Activate"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
<method name="SecondaryActivate"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
<method name="Scroll"><arg type="i" direction="in"/><arg type="s" direction="in"/></method>
</interface>
<interface name="com.canonical.dbusmenu">
<property name="Version" type="u" access="read"/>
<property name="TextDirection" type="s" access="read"/>
<property name="Status" type="s" access="read"/>
<property name="IconThemePath" type="as" access="read"/>
<method name="GetLayout"><arg type="i" direction="in"/><arg type="i" direction="in"/><arg type="as" direction="in"/>
<arg type="u" direction="out"/><arg type="(ia{sv}av)" direction="out"/></method>
<method name="GetGroupProperties"><arg type="ai" direction="in"/><arg type="as" direction="in"/>
<arg type="a(ia{sv})" direction="out"/></method>
<method name="GetProperty"><arg type="i" direction="in"/><arg type="s" direction="in"/>
<arg type="v" direction="out"/></method>
<method name="Event"><arg type="i" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="in"/>
<arg type="u" direction="in"/></method>
<method name="EventGroup"><arg type="a(isvu)" direction="in"/><arg type="ai" direction="out"/></method>
<method name="AboutToShow"><arg type="i" direction="in"/><arg type="b" direction="out"/></method>
<method name="AboutToShowGroup"><arg type="ai" direction="in"/><arg type="ai" direction="out"/>
<arg type="ai" direction="out"/></method>
<signal name="LayoutUpdated"><arg type="u"/><arg type="i"/></signal>
<signal name="ItemsPropertiesUpdated"><arg type="a(ia{sv})"/><arg type="a(ias)"/></signal>
</interface>
</node>)xml";

GDBusInterfaceInfo* InterfaceOf(const char* name) {
    static GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(interfaces, nullptr);
    return g_dbus_node_info_lookup_interface(node, name);
}

const NotifierOptions& OptionsOf(void* data) { return *static_cast<const NotifierOptions*>(data); }

GVariant* StringVariant(std::string_view text) { return g_variant_new_string(std::string(text).c_str()); }

/// The icon in network byte order.
GVariant* Pixmaps(const NotifierOptions& options) {
    std::vector<std::uint8_t> bytes;
    for (const std::uint32_t pixel : options.iconPixels) {
        for (const unsigned shift : {24U, 16U, 8U, 0U}) {
            bytes.push_back(static_cast<std::uint8_t>(pixel >> shift));
        }
    }
    GVariantBuilder pixmaps;
    g_variant_builder_init(&pixmaps, G_VARIANT_TYPE("a(iiay)"));
    if (!bytes.empty()) {
        g_variant_builder_add(&pixmaps, "(ii@ay)", options.iconSize, options.iconSize,
                              g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, bytes.data(), bytes.size(), 1));
    }
    return g_variant_builder_end(&pixmaps);
}

/// Exceptions must not reach the library. Returns `failure` instead.
template <class Function, class Result>
Result Guarded(Function function, Result failure) noexcept {
    try {
        return function();
    } catch (...) {
        return failure;
    }
}

GVariant* ItemValue(const NotifierOptions& options, std::string_view name) {
    if (name == "IconPixmap") {
        return Pixmaps(options);
    }
    if (name == "ToolTip") {
        return g_variant_new("(s@a(iiay)ss)", "", Pixmaps(options), options.title.c_str(), "");
    }
    if (name == "ItemIsMenu") {
        return g_variant_new_boolean(FALSE);
    }
    if (name == "WindowId") {
        return g_variant_new_int32(0);
    }
    if (name == "Menu") {
        return g_variant_new_object_path(menuPath);
    }
    return StringVariant(name == "Category" ? "ApplicationStatus"
                         : name == "Id"     ? "zorvel"
                         : name == "Title"  ? options.title
                         : name == "Status" ? "Active"
                                            : "");
}

/// A null value is reported to the caller as an error.
GVariant* ItemProperty(GDBusConnection*, const char*, const char*, const char*, const char* property, GError** error,
                       void* data) {
    auto* const value = Guarded([&] { return ItemValue(OptionsOf(data), property); }, static_cast<GVariant*>(nullptr));
    if (value == nullptr) {
        g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_FAILED, "out of memory");
    }
    return value;
}

void CallItem(GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant*,
              GDBusMethodInvocation* call, void* data) {
    const NotifierOptions& options = OptionsOf(data);
    const std::string_view name = method;
    g_dbus_method_invocation_return_value(call, nullptr);
    Guarded(
        [&] {
            if (name == "Activate") {
                options.activate();
            } else if (name == "ContextMenu") {
                options.openMenu();
            }
            return true;
        },
        false);
}

/// The items of the menu as the host addresses them. A separator has an id too.
std::vector<NotifierMenuItem> AddressedItems(const NotifierOptions& options) {
    std::vector<NotifierMenuItem> items = options.items();
    int separators = 0;
    for (NotifierMenuItem& item : items) {
        if (item.id == 0) {
            item = {firstSeparatorId + separators++, ""};
        }
    }
    return items;
}

/// An underscore would mark the next letter as the item's key.
std::string Escaped(const std::string& label) {
    std::string text;
    for (const char unit : label) {
        text += unit == '_' ? "__" : std::string(1, unit);
    }
    return text;
}

GVariant* PropertiesOf(const NotifierMenuItem& item) {
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
    if (item.id == 0) {
        g_variant_builder_add(&properties, "{sv}", "children-display", StringVariant("submenu"));
    } else if (item.id >= firstSeparatorId) {
        g_variant_builder_add(&properties, "{sv}", "type", StringVariant("separator"));
    } else {
        g_variant_builder_add(&properties, "{sv}", "label", StringVariant(Escaped(item.label)));
    }
    return g_variant_builder_end(&properties);
}

GVariant* Layout(const NotifierOptions& options, GVariant* arguments) {
    int parent = 0;
    int depth = 0;
    g_variant_get(arguments, "(iias)", &parent, &depth, nullptr);
    GVariantBuilder children;
    g_variant_builder_init(&children, G_VARIANT_TYPE("av"));
    if (parent == 0 && depth != 0) {
        for (const NotifierMenuItem& item : AddressedItems(options)) {
            g_variant_builder_add(&children, "v", g_variant_new("(i@a{sv}av)", item.id, PropertiesOf(item), nullptr));
        }
    }
    constexpr std::uint32_t revision = 1;
    return g_variant_new("(u(i@a{sv}@av))", revision, parent, PropertiesOf({parent, ""}),
                         g_variant_builder_end(&children));
}

GVariant* GroupProperties(const NotifierOptions& options, GVariant* arguments) {
    const Owned<GVariant> ids(g_variant_get_child_value(arguments, 0));
    gsize count = 0;
    const auto* first = static_cast<const std::int32_t*>(g_variant_get_fixed_array(ids.get(), &count, 4));
    GVariantBuilder rows;
    g_variant_builder_init(&rows, G_VARIANT_TYPE("a(ia{sv})"));
    for (const NotifierMenuItem& item : AddressedItems(options)) {
        if (count == 0 || std::find(first, first + count, item.id) != first + count) {
            g_variant_builder_add(&rows, "(i@a{sv})", item.id, PropertiesOf(item));
        }
    }
    return g_variant_new("(@a(ia{sv}))", g_variant_builder_end(&rows));
}

GVariant* OneProperty(const NotifierOptions& options, GVariant* arguments) {
    int id = 0;
    const char* name = nullptr;
    g_variant_get(arguments, "(i&s)", &id, &name);
    for (const NotifierMenuItem& item : AddressedItems(options)) {
        const Owned<GVariant> properties(g_variant_ref_sink(PropertiesOf(item)));
        const Owned<GVariant> value(item.id == id ? g_variant_lookup_value(properties.get(), name, nullptr) : nullptr);
        if (value) {
            return g_variant_new("(v)", value.get());
        }
    }
    return nullptr;
}

/// An event in the form (isvu).
void HandleMenuEvent(const NotifierOptions& options, GVariant* event) {
    int id = 0;
    const char* name = nullptr;
    g_variant_get(event, "(i&svu)", &id, &name, nullptr, nullptr);
    if (std::string_view(name) == "clicked" && id > 0 && id < firstSeparatorId) {
        options.choose(id);
    }
}

GVariant* OneEvent(const NotifierOptions& options, GVariant* arguments) {
    HandleMenuEvent(options, arguments);
    return g_variant_new("()");
}

GVariant* SeveralEvents(const NotifierOptions& options, GVariant* arguments) {
    const Owned<GVariant> events(g_variant_get_child_value(arguments, 0));
    for (gsize i = 0; i < g_variant_n_children(events.get()); ++i) {
        HandleMenuEvent(options, Owned<GVariant>(g_variant_get_child_value(events.get(), i)).get());
    }
    return g_variant_new("(ai)", nullptr);
}

/// The items depend on the program's state, so the host reads them again.
GVariant* OneOpening(const NotifierOptions&, GVariant*) { return g_variant_new("(b)", TRUE); }

GVariant* SeveralOpenings(const NotifierOptions&, GVariant* arguments) {
    const Owned<GVariant> ids(g_variant_get_child_value(arguments, 0));
    return g_variant_new("(@aiai)", ids.get(), nullptr);
}

struct MenuMethod {
    std::string_view name;
    /// Returns the result, or null if the arguments are wrong.
    GVariant* (*answer)(const NotifierOptions& options, GVariant* arguments);
};
constexpr MenuMethod menuMethods[] = {
    {"GetLayout", Layout},
    {"GetGroupProperties", GroupProperties},
    {"GetProperty", OneProperty},
    {"Event", OneEvent},
    {"EventGroup", SeveralEvents},
    {"AboutToShow", OneOpening},
    {"AboutToShowGroup", SeveralOpenings},
};

void CallMenu(GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant* arguments,
              GDBusMethodInvocation* call, void* data) {
    GVariant* result = nullptr;
    for (const MenuMethod& each : menuMethods) {
        if (each.name == method) {
            result = Guarded([&] { return each.answer(OptionsOf(data), arguments); }, static_cast<GVariant*>(nullptr));
        }
    }
    if (result != nullptr) {
        g_dbus_method_invocation_return_value(call, result);
    } else {
        g_dbus_method_invocation_return_dbus_error(call, "org.freedesktop.DBus.Error.InvalidArgs",
                                                   "There is no such item or property.");
    }
}

GVariant* MenuProperty(GDBusConnection*, const char*, const char*, const char*, const char* property, GError**, void*) {
    const std::string_view name = property;
    constexpr std::uint32_t version = 3;
    return name == "Version"         ? g_variant_new_uint32(version)
           : name == "IconThemePath" ? g_variant_new("as", nullptr)
                                     : StringVariant(name == "Status" ? "normal" : "ltr");
}

constexpr GDBusInterfaceVTable itemFunctions{CallItem, ItemProperty, nullptr, {}};
constexpr GDBusInterfaceVTable menuFunctions{CallMenu, MenuProperty, nullptr, {}};

/// Returns false if the watcher says that no host has registered.
bool HasHost() {
    const Owned<GVariant> reply = Call(watcher, watcherPath, "org.freedesktop.DBus.Properties", "Get",
                                       g_variant_new("(ss)", watcher, "IsStatusNotifierHostRegistered"));
    if (!reply) {
        return false;
    }
    Owned<GVariant> value;
    GVariant* content = nullptr;
    g_variant_get(reply.get(), "(v)", &content);
    value.reset(content);
    return g_variant_is_of_type(content, G_VARIANT_TYPE_BOOLEAN) == FALSE || g_variant_get_boolean(content) != FALSE;
}

std::function<void()> hostsChanged;

void ReportOwner(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*, void*) {
    Guarded(
        [] {
            hostsChanged();
            return true;
        },
        false);
}

}  // namespace

StatusNotifier::~StatusNotifier() {
    GDBusConnection* bus = OpenSessionBus();
    for (const unsigned object : {item_, menu_}) {
        if (object != 0) {
            g_dbus_connection_unregister_object(bus, object);
        }
    }
}

bool StatusNotifier::Show(NotifierOptions options) {
    GDBusConnection* bus = OpenSessionBus();
    if (bus == nullptr || !HasHost()) {
        return false;
    }
    options_ = std::move(options);
    item_ = g_dbus_connection_register_object(bus, itemPath, InterfaceOf("org.kde.StatusNotifierItem"), &itemFunctions,
                                              &options_, nullptr, nullptr);
    menu_ = g_dbus_connection_register_object(bus, menuPath, InterfaceOf("com.canonical.dbusmenu"), &menuFunctions,
                                              &options_, nullptr, nullptr);
    return item_ != 0 && menu_ != 0 &&
           Call(watcher, watcherPath, watcher, "RegisterStatusNotifierItem",
                g_variant_new("(s)", g_dbus_connection_get_unique_name(bus))) != nullptr;
}

void WatchNotifierHosts(std::function<void()> changed) {
    GDBusConnection* bus = OpenSessionBus();
    if (bus == nullptr) {
        return;
    }
    hostsChanged = std::move(changed);
    g_dbus_connection_signal_subscribe(bus, "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                                       "/org/freedesktop/DBus", watcher, G_DBUS_SIGNAL_FLAGS_NONE, ReportOwner, nullptr,
                                       nullptr);
    for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        g_dbus_connection_signal_subscribe(bus, watcher, watcher, signal, watcherPath, nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, ReportOwner, nullptr, nullptr);
    }
}

}  // namespace zv::dbus
