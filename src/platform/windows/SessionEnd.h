// The end of the user's session, which reaches the program through its windows.
#pragma once

namespace zv {

/// Calls what SetEndRequest registered, once for all windows. Returns false if nothing is registered any more.
bool EndSession();

}  // namespace zv
