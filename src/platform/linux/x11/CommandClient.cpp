#include "platform/linux/x11/CommandClient.h"

#include <cstdint>
#include <string>

#include "platform/Files.h"
#include "platform/linux/posix/CommandSocket.h"
#include "platform/linux/x11/Xcb.h"

namespace zv::x11 {
namespace {

xcb_atom_t ExistingAtom(xcb_connection_t* connection, const std::string& name) {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// The window that holds the claim of the running copy.
xcb_window_t ClaimHolder(xcb_connection_t* connection, TextView instanceName) {
    const xcb_atom_t selection = ExistingAtom(connection, ToPath(instanceName).string());
    if (selection == XCB_ATOM_NONE) {
        return XCB_WINDOW_NONE;
    }
    const Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection), nullptr));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

std::string SocketPath(xcb_connection_t* connection, xcb_window_t holder) {
    constexpr std::uint32_t maxUnits = 1024;  // of 4 bytes
    const xcb_atom_t property = ExistingAtom(connection, commandSocketProperty);
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, holder, property, XCB_GET_PROPERTY_TYPE_ANY, 0, maxUnits),
        nullptr));
    if (!reply || reply->format != 8) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

}  // namespace

int RunInOtherCopy(TextView instanceName, TextView command, CommandOutcome& outcome) {
    const Connection connection(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(connection.get()) != 0) {
        outcome.sentence = u"There is no X display to look for Zorvel on. Set DISPLAY.";
        return commandExit::noCopy;
    }
    const xcb_window_t holder = ClaimHolder(connection.get(), instanceName);
    if (holder == XCB_WINDOW_NONE) {
        outcome.sentence = u"Zorvel is not running in this session.";
        return commandExit::noCopy;
    }
    const std::string path = SocketPath(connection.get(), holder);
    if (path.empty()) {
        outcome.sentence = u"The running copy of Zorvel accepts no commands.";
        return commandExit::failed;
    }
    switch (SendCommand(path, command, outcome)) {
        case CommandDelivery::OtherUser:
            outcome.sentence = u"Zorvel runs in this session for another user only.";
            return commandExit::noCopy;
        case CommandDelivery::Lost:
            outcome.sentence = u"Zorvel ended before it answered.";
            return commandExit::failed;
        case CommandDelivery::Answered:
            break;
    }
    return outcome.done ? commandExit::done : commandExit::failed;
}

}  // namespace zv::x11
