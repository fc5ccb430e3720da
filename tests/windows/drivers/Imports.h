// The calls of the system that the program under test makes itself, so that a script may let them fail.
//
// The program's table of imports is changed in memory; its file and all other modules are left alone. Entries:
//   CreateEventW, CreateWaitableTimerExW, CreateWaitableTimerW, CoInitializeEx
//   CreateNamedPipeW:STEM, ConnectNamedPipe:STEM     STEM is the pipe's name up to its first "-"
// CODE is what GetLastError answers then, and the result of CoInitializeEx. Besides
//   set starve N BYTES            from round N on, the thread that captures gets no memory in pieces of BYTES or more
//   set starve-sound BYTES        the thread of the sound gets none from its start
//   set starve-paints N LAST      the interface gets none at all in these paintings of the main window, and notes it
//   set count N LAST              notes how often the thread that captures asks for memory between these rounds
// A round is a request for a desktop image, counted from 1 for each duplication. The taskbar identity that the program
// gives itself is noted.
#pragma once

namespace zv::drivers {

/// Once a process; later calls only end what `Round` has begun.
void WatchImports();

/// To be called on the thread that captures.
void Round(unsigned number);

}  // namespace zv::drivers
