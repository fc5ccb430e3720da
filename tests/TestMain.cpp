// The entry point of every test program.
#include <gmock/gmock.h>

#if defined(__MINGW32__)
extern "C" int wmain(int, wchar_t**);
extern "C" int wmain(int argumentCount, wchar_t** arguments) {
    testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
#else
/// The font library keeps its caches until the process ends, in a form that the leak check does not follow.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }

/// Letters are matched on a thread of the text library's own, whose locks the thread check does not see.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() { return "race:libfontconfig\nrace:libpango\nrace:libglib-2.0\n"; }

int main(int argumentCount, char** arguments) {
    testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
#endif
