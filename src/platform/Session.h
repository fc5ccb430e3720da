// The program's connection to the user's session, and the message loop. Interface thread only.
#pragma once

#include "core/Text.h"
#include "platform/Owned.h"

namespace zv {

/// Connects to the session and makes the process aware of the DPI of each monitor. Returns false if there is no session
/// to show windows in (X11 without a display). Must be called before all other functions of windows, keys and monitors.
bool OpenSession();

/// Why no program can capture the screen of this session, as a sentence for the user; empty if programs can. Called
/// after OpenSession.
TextView CaptureObstacle();

/// Initializes the interface thread for the system's shell services: COM on Windows, nothing on Linux.
struct ShellServices;
template <>
void Closer<ShellServices>::operator()(ShellServices* services) const noexcept;
/// Called after ClaimSingleInstance has succeeded. The caller keeps the result until the interface thread ends.
Owned<ShellServices> OpenShellServices();

/// Sets the id by which the taskbar groups windows that are made later. Does nothing on X11, where desktops group
/// windows by their class.
void SetTaskbarIdentity(TextView id);

/// Registers the function that is called on the interface thread when the system requests the end of the program: at
/// the end of a Windows session; on SIGTERM, SIGINT and SIGHUP on Linux. Called before RunMessageLoop.
void SetEndRequest(void (*endRequest)());

/// Dispatches messages until PostQuit is called, and returns its code.
int RunMessageLoop();

/// Ends RunMessageLoop after all queued messages have been dispatched.
void PostQuit(int code);

}  // namespace zv
