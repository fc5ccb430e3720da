// The entry point of every test program.
#include <gmock/gmock.h>

#if defined(__MINGW32__)
extern "C" int wmain(int, wchar_t**);
extern "C" int wmain(int argumentCount, wchar_t** arguments) {
    testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
#else
int main(int argumentCount, char** arguments) {
    testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
#endif
