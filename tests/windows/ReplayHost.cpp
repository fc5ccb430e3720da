// A program with a running replay, for a test that kills it: ReplayHost FILE. Writes a line into FILE once it runs.
#include <fstream>

#include "platform/Clock.h"
#include "platform/Files.h"
#include "windows/ReplayScene.h"

extern "C" int wmain(int, wchar_t** values);

extern "C" int wmain(int, wchar_t** values) {
    zv::windows::SetReplayScene(u"");
    zv::CaptureEngine engine;
    const bool runs = engine.Configure(zv::windows::SceneConfig()) && engine.StartReplay(true, 15);
    std::ofstream(std::filesystem::path(values[1])) << (runs ? "running" : zv::Narrow(engine.statusText)) << "\n";
    zv::SleepMs(600000);
    return 0;
}
