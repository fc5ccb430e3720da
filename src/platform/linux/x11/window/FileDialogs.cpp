// The desktop's own dialogs: the portal's if one is on the session bus, else zenity's, else kdialog's. The message loop
// runs while a dialog is open.
#include "platform/FileDialogs.h"

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "platform/Files.h"
#include "platform/linux/dbus/FileChooser.h"
#include "platform/linux/posix/DialogProgram.h"
#include "platform/linux/x11/window/Session.h"

namespace zv {
namespace x11 {
namespace {

using Path = std::optional<std::string>;
using Arguments = std::vector<std::string>;

bool dialogOpen = false;

template <class Condition>
void RunLoopUntil(Session& session, const Condition& ended) {
    while (!ended() && !session.loop.serverLost && RunLoopOnce(session)) {
    }
}

Arguments ZenityArguments(const dbus::FileChooserOptions& options) {
    Arguments arguments{"zenity", "--file-selection", "--title=" + options.title};
    if (options.folder) {
        arguments.emplace_back("--directory");
    } else {
        arguments.push_back("--file-filter=" + options.filterName + " | " + options.pattern);
    }
    return arguments;
}

Arguments KdialogArguments(const dbus::FileChooserOptions& options) {
    Arguments arguments{"kdialog", "--title", options.title};
    if (options.folder) {
        arguments.insert(arguments.end(), {"--getexistingdirectory", "."});
    } else {
        arguments.insert(arguments.end(), {"--getopenfilename", ".", options.pattern + "|" + options.filterName});
    }
    return arguments;
}

/// Returns false if the program cannot be started.
bool RunProgram(Session& session, const Arguments& arguments, Path& chosen) {
    DialogProgram program;
    if (!program.Start(arguments)) {
        return false;
    }
    session.loop.dialogEnd = program.EndDescriptor();
    RunLoopUntil(session, [&] { return program.HasEnded(); });
    session.loop.dialogEnd = -1;
    chosen = program.Output();
    return true;
}

/// Returns false if no portal shows a dialog.
bool RunPortal(Session& session, const dbus::FileChooserOptions& options, Path& chosen) {
    const dbus::FileChooser dialog(options);
    RunLoopUntil(session, [&] { return dialog.HasEnded(); });
    chosen = dialog.Path();
    return dialog.WasShown() || !dialog.HasEnded();
}

/// The portal's name of a window of X11.
std::string PortalName(const AppWindow& window) {
    char name[16] = {};
    std::snprintf(name, sizeof name, "x11:%x", window.id);
    return name;
}

std::optional<Text> Run(const dbus::FileChooserOptions& options) {
    if (std::exchange(dialogOpen, true)) {
        return std::nullopt;
    }
    Session& session = CurrentSession();
    Path chosen;
    static_cast<void>(RunPortal(session, options, chosen) || RunProgram(session, ZenityArguments(options), chosen) ||
                      RunProgram(session, KdialogArguments(options), chosen));
    dialogOpen = false;
    return chosen && !chosen->empty() ? std::optional(FromPath(*chosen)) : std::nullopt;
}

}  // namespace
}  // namespace x11

std::optional<Text> ChooseFolder(AppWindow& owner) {
    return x11::Run({.parent = x11::PortalName(owner), .title = "Choose a folder", .folder = true});
}

std::optional<Text> ChooseFile(AppWindow& owner, const Text& filterName, const Text& pattern) {
    return x11::Run({.parent = x11::PortalName(owner),
                     .title = "Choose a file",
                     .filterName = ToPath(filterName).string(),
                     .pattern = ToPath(pattern).string()});
}

}  // namespace zv
