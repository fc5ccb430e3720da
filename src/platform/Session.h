// The program's connection to the user's session, and the message loop. Interface thread only.
#pragma once

#include "core/Text.h"
#include "platform/Owned.h"

namespace zv {

/// Connects to the session and makes the process aware of the DPI of each monitor. Returns false if there is no session
/// to show windows in (X11 without a display). Called before everything else that concerns windows, keys and monitors.
bool OpenSession();

/// What the system's shell services need of the interface thread: COM on Windows, nothing on Linux.
struct ShellServices;
template <>
void Closer<ShellServices>::operator()(ShellServices* services) const noexcept;
/// Called once the program is known to be the only copy in the session. Kept until the interface thread ends.
Owned<ShellServices> OpenShellServices();

/// The id by which the taskbar groups the windows that are made from now on. Does nothing on X11, where the class that
/// every window of the program carries has that effect.
void SetTaskbarIdentity(TextView id);

/// Registers what is called on the interface thread when the system asks the program to end: at the end of a Windows
/// session, on SIGTERM, SIGINT and SIGHUP on Linux. Set before RunMessageLoop.
void SetEndRequest(void (*endRequest)());

/// Dispatches messages until PostQuit, and returns its code.
int RunMessageLoop();

/// Ends RunMessageLoop after the messages that are queued already.
void PostQuit(int code);

}  // namespace zv
