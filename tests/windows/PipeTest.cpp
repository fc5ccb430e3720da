// What a named pipe of ours is to somebody who knows its name.
#include <gtest/gtest.h>

#include "platform/BytePipe.h"
// After the program's own headers, whose names its macros would change.
#include <windows.h>

namespace zv {
namespace {

const wchar_t* Native(const Text& name) { return reinterpret_cast<const wchar_t*>(name.c_str()); }

TEST(WindowsPipe, IsRefusedWhereSomebodyHasTakenItsNameAndOnlyTheFirstMayHaveIt) {
    const Text name = PipeName(u"ZVReelsAudio-", 1);
    const HANDLE other =
        CreateNamedPipeW(Native(name), PIPE_ACCESS_OUTBOUND, PIPE_REJECT_REMOTE_CLIENTS, 2, 0x1000, 0, 0, nullptr);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    PipeOptions options;
    Owned<BytePipe> pipe;
    options.firstInstanceOnly = true;
    EXPECT_EQ(CodeOf(MakeBytePipe(name, options, pipe)), 0x80070005U);
    EXPECT_FALSE(pipe);
    options.firstInstanceOnly = false;
    EXPECT_EQ(MakeBytePipe(name, options, pipe), resultOk);
    CloseHandle(other);
}

TEST(WindowsPipe, CanOnlyBeReadAndOnlyByOne) {
    const Text name = PipeName(u"ZVVideo-", 1);
    Owned<BytePipe> pipe;
    ASSERT_EQ(MakeBytePipe(name, {}, pipe), resultOk);
    EXPECT_EQ(CreateFileW(Native(name), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr), INVALID_HANDLE_VALUE);
    const HANDLE reader = CreateFileW(Native(name), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    EXPECT_EQ(CreateFileW(Native(name), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PIPE_BUSY));
    const Owned<Event> stop = MakeEvent();
    EXPECT_EQ(ConnectPipe(*pipe, *stop, 10000), PipeConnect::Connected);
    CloseHandle(reader);
}

}  // namespace
}  // namespace zv
