// Selects the folder that new captures are saved in. Interface thread only.
#pragma once

namespace zv {

/// Asks the user for a folder and uses it for new captures if a file can be created in it. Nothing is moved: the
/// library still lists the captures in the old folder. The engine continues to run, because each capture command reads
/// the folder. Returns when the dialog is closed; messages are dispatched meanwhile.
void ChooseLibraryFolder();

}  // namespace zv
