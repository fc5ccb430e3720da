// Access to a named pipe for other programs that know its name.
#include <gtest/gtest.h>

#include "platform/BytePipe.h"
// After the program's own headers, whose names its macros would change.
#include <windows.h>

namespace zv {
namespace {

const wchar_t* Native(const Text& name) { return reinterpret_cast<const wchar_t*>(name.c_str()); }

TEST(WindowsPipe, AllowsOneReaderAndNoWriter) {
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
