// The nice value of a thread. Timers have no coarse resolution to refine.
#include "platform/MediaThread.h"

#include <sys/resource.h>

#include <new>

namespace zv {
namespace {

/// The value that desktops give to the threads of players and recorders.
constexpr int soundNice = -11;

}  // namespace

struct MediaThread {
    bool raised = false;
    int before = 0;  ///< the thread's nice value
};

template <>
void Closer<MediaThread>::operator()(MediaThread* thread) const noexcept {
    if (thread->raised) {
        setpriority(PRIO_PROCESS, 0, thread->before);
    }
    delete thread;
}

/// Video keeps its nice value: its thread and the encoder's threads, which inherit it, compute for as long as the
/// game's.
Owned<MediaThread> ScheduleForMedia(MediaTask task) {
    Owned<MediaThread> thread(new (std::nothrow) MediaThread);
    if (thread && task == MediaTask::Sound) {
        // On Linux the calling thread's value, not the process's.
        thread->before = getpriority(PRIO_PROCESS, 0);
        thread->raised = setpriority(PRIO_PROCESS, 0, soundNice) == 0;
    }
    return thread;
}

}  // namespace zv
