// Replaces functions of the system in the program under test, so that a script can make the program's own calls fail.
//
// Only the program's import table in memory changes; its file and all other modules stay as they are. Entries:
//   CreateEventW, CreateWaitableTimerExW, CreateWaitableTimerW, CoInitializeEx
//   WaitForMultipleObjects:MS                        a wait of exactly MS milliseconds
//   timeBeginPeriod, SetProcessInformation, ShellExecuteW
//   CreateNamedPipeW:STEM, ConnectNamedPipe:STEM     STEM is the pipe's name up to its first "-"
// A call that fails sets CODE as the last error; CoInitializeEx, timeBeginPeriod and
// ShellExecuteW return it. ShellExecuteW opens nothing; notes report its targets. Values:
//   set wait MS INSTEAD           a wait of exactly MS milliseconds for handles ends after INSTEAD milliseconds; a note
//                                 reports every one that times out
//   set starve N BYTES            from round N on, allocations of BYTES or more fail on the capture thread
//   set starve-sound BYTES        the same on the audio thread, from its start on
//   set starve-paints N LAST      allocations of 256 bytes or more fail while the main window is painted for the N-th
//                                 to the LAST time; a note reports every paint that is aborted
//   set count N LAST              a note reports how many allocations the capture thread makes between these rounds
// Waits end at the ticks of a timer of 16 ms, as in Windows but not in Wine, unless the program has requested a finer
// one. Notes report that.
// A round is a request for a desktop image, counted from 1 for each duplication. A note reports the taskbar identity
// that the program sets, and the display affinity of each window. A second menu cannot be opened while one is open. The
// standard library reads sizes of files from the entries of their folder (DirectoryEntries.h). The shell's images come
// from ShellImages.h.
#pragma once

namespace zv::drivers {

/// Replaces the imports at the first call; every call resets what `Round` started.
void WatchImports();

/// Called on the capture thread at every request for a desktop image.
void Round(unsigned number);

}  // namespace zv::drivers
