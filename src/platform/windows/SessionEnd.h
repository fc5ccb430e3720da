// The end of the user's session, which Windows reports to the program's windows.
#pragma once

namespace zv {

/// Calls the function that SetEndRequest has registered, and unregisters it. Returns false if none is registered.
bool EndSession();

}  // namespace zv
