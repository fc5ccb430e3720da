// One copy of the program per display, and the message of a second copy to the first one's window.
//
// The claim is a selection that a small hidden window owns. The server releases it when the connection ends, however
// the process ends. A second copy finds the first one's window by its class name, which is a property of each of our
// windows. A start with a command finds the first copy's socket by a property of the selection's owner.
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/Files.h"
#include "platform/SingleInstance.h"
#include "platform/Window.h"
#include "platform/linux/x11/window/Session.h"

namespace zv {

struct InstanceClaim {
    xcb_window_t holder = XCB_WINDOW_NONE;
    bool servesCommands = false;
};

template <>
void Closer<InstanceClaim>::operator()(InstanceClaim* claim) const noexcept {
    xcb_connection_t* connection = x11::CurrentSession().connection.get();
    if (connection != nullptr) {
        xcb_destroy_window(connection, claim->holder);
        xcb_flush(connection);
    }
    if (claim->servesCommands) {
        x11::CurrentSession().commands.reset();
    }
    delete claim;
}

namespace x11 {
namespace {

xcb_window_t MakeHolder(Session& session) {
    xcb_connection_t* connection = session.connection.get();
    const xcb_window_t holder = xcb_generate_id(connection);
    xcb_create_window(connection, 0, holder, session.screen->root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    return holder;
}

/// Opens the socket for commands and publishes its path as a property of the holder.
void ServeCommands(Session& session, InstanceClaim& claim) {
    session.commands = std::make_unique<CommandServer>(getuid());
    const std::string& path = session.commands->Path();
    xcb_change_property(session.connection.get(), XCB_PROP_MODE_REPLACE, claim.holder, session.atoms.commandSocket,
                        session.atoms.utf8String, 8, static_cast<std::uint32_t>(path.size()), path.data());
    claim.servesCommands = true;
}

/// Searches the descendants of `parent`, because a window manager may have framed the window.
xcb_window_t FindByClass(Session& session, xcb_window_t parent, const std::string& className, int depth) {
    xcb_connection_t* connection = session.connection.get();
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(connection, xcb_query_tree(connection, parent), nullptr));
    if (!tree) {
        return XCB_WINDOW_NONE;
    }
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    const int count = xcb_query_tree_children_length(tree.get());
    for (int i = 0; i < count; ++i) {
        if (ReadTextProperty(connection, children[i], session.atoms.windowClass) == className) {
            return children[i];
        }
    }
    for (int i = 0; i < count && depth > 1; ++i) {
        const xcb_window_t found = FindByClass(session, children[i], className, depth - 1);
        if (found != XCB_WINDOW_NONE) {
            return found;
        }
    }
    return XCB_WINDOW_NONE;
}

}  // namespace
}  // namespace x11

Owned<InstanceClaim> ClaimSingleInstance(TextView name) {
    x11::Session& session = x11::CurrentSession();
    xcb_connection_t* connection = session.connection.get();
    const xcb_atom_t selection = x11::InternAtom(connection, ToPath(name).string());
    if (x11::SelectionOwner(session, selection) != XCB_WINDOW_NONE) {
        return nullptr;
    }
    Owned<InstanceClaim> claim(new InstanceClaim{x11::MakeHolder(session)});
    // A later start that finds the owner also finds the socket.
    x11::ServeCommands(session, *claim);
    // Prevents other clients from claiming it between the query and the claim.
    xcb_grab_server(connection);
    const bool isFree = x11::SelectionOwner(session, selection) == XCB_WINDOW_NONE;
    if (isFree) {
        xcb_set_selection_owner(connection, claim->holder, selection, XCB_CURRENT_TIME);
    }
    xcb_ungrab_server(connection);
    const bool owned = isFree && x11::SelectionOwner(session, selection) == claim->holder;
    return owned ? std::move(claim) : nullptr;
}

bool BringOtherCopyForward(TextView className) {
    x11::Session& session = x11::CurrentSession();
    constexpr int framesDeep = 4;
    const xcb_window_t window = x11::FindByClass(session, session.screen->root, ToPath(className).string(), framesDeep);
    if (window == XCB_WINDOW_NONE) {
        return false;
    }
    x11::SendClientMessage(window, window, session.atoms.comeForward, 0, 0);
    // The server must have the message before this process ends.
    x11::Synchronize(session);
    return true;
}

}  // namespace zv
