// The open menu.
#pragma once

namespace zv::x11 {

/// Closes the menu without a choice. Does nothing if no menu is open.
void CloseMenu();

}  // namespace zv::x11
