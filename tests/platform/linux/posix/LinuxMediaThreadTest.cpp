// The nice value of a thread that captures.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <thread>

#include "platform/MediaThread.h"

namespace zv {
namespace {

int NiceValue() { return getpriority(PRIO_PROCESS, 0); }

TEST(LinuxMediaThread, RaisesItsOwnThreadForSoundAsFarAsTheSystemAllows) {
    const int before = NiceValue();
    bool allowed = false;
    std::thread([&] { allowed = setpriority(PRIO_PROCESS, 0, -11) == 0; }).join();
    std::thread([&] {
        Owned<MediaThread> sound = ScheduleForMedia(MediaTask::Sound);
        EXPECT_EQ(NiceValue(), allowed ? -11 : before);
        sound.reset();
        EXPECT_EQ(NiceValue(), before);
        const Owned<MediaThread> video = ScheduleForMedia(MediaTask::Video);
        EXPECT_EQ(NiceValue(), before);
    }).join();
    EXPECT_EQ(NiceValue(), before);
}

}  // namespace
}  // namespace zv
