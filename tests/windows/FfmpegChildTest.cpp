// A real FFmpeg as the engine's child: how it is found, started in its job, asked to quit and killed.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "capture/CaptureEngine.h"
#include "capture/CaptureFiles.h"
#include "core/CommandLine.h"
#include "core/FfmpegRuntime.h"
#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"
#include "windows/Processes.h"

namespace zv {
namespace {

using support::Eventually;
using support::generousMs;

class FfmpegChild : public testing::Test {
protected:
    void SetUp() override {
        engine_.ffmpegPath = EnvironmentValue(u"ZV_TEST_FFMPEG");
        ASSERT_FALSE(engine_.ffmpegPath.empty()) << "tests/windows/fetch_ffmpeg gets it";
        std::filesystem::create_directory(userFolder_);
        std::filesystem::remove(ToPath(JoinPath(ExecutableFolder(), u"ffmpeg.exe")));
    }
    void TearDown() override { SetEnvironmentValue(u"ZV_FFMPEG", u""); }

    Text PathOf(const wchar_t* name) const { return FromPath(userFolder_ / name); }
    Text LogPath() const { return PathOf(L"child.log"); }
    std::string Log() const { return ReadFileCapped(LogPath()); }

    /// Starts a child that encodes in real time without an end, and waits for its first output.
    bool StartEndless(const Text& options, const Text& output) {
        return engine_.StartChild(
                   child_,
                   options + u"-re -f lavfi -i testsrc2=s=320x180:r=30 -c:v mpeg2video -flush_packets 1 -f mpegts " +
                       QuoteArgument(output),
                   LogPath()) &&
               Eventually([&] { return HasMediaData(output); });
    }

    support::TemporaryFolder folder_;
    std::filesystem::path userFolder_ = folder_.Path() / L"a folder of Zo\u00EB's";
    CaptureEngine engine_;
    EncoderProcess child_;
};

TEST_F(FfmpegChild, IsTheFileNamedByTheVariable) {
    const Text chosen = PathOf(L"my encoder.exe");
    std::ofstream(ToPath(chosen)) << "x";
    SetEnvironmentValue(u"ZV_FFMPEG", chosen);
    EXPECT_EQ(FindFfmpeg(), chosen);
}

TEST_F(FfmpegChild, IsBesideTheProgramWhenTheVariableNamesAFolderOrNothing) {
    const Text beside = JoinPath(ExecutableFolder(), u"ffmpeg.exe");
    std::ofstream(ToPath(beside)) << "x";
    SetEnvironmentValue(u"ZV_FFMPEG", FromPath(userFolder_));
    EXPECT_EQ(FindFfmpeg(), beside);
    SetEnvironmentValue(u"ZV_FFMPEG", PathOf(L"missing.exe"));
    EXPECT_EQ(FindFfmpeg(), beside);
    std::filesystem::remove(ToPath(beside));
    EXPECT_NE(FindFfmpeg(), beside);
}

TEST_F(FfmpegChild, IsSearchedOnThePathLast) {
    EXPECT_EQ(FindFfmpeg(), u"");
    const Text before = EnvironmentValue(u"PATH");
    SetEnvironmentValue(u"PATH", before + u";" + FromPath(userFolder_));
    const Text onPath = PathOf(L"ffmpeg.exe");
    std::ofstream(ToPath(onPath)) << "x";
    EXPECT_EQ(FindFfmpeg(), onPath);
    SetEnvironmentValue(u"PATH", before);
}

TEST_F(FfmpegChild, WritesAFileNameWithBlanksAndQuotes) {
    const Text output = PathOf(L"clip of 'today', 100% \u00E9.mp4");
    ASSERT_TRUE(engine_.StartChild(
        child_, u"-f lavfi -i testsrc2=s=320x180:r=30 -frames:v 30 -c:v mpeg4 " + QuoteArgument(output), LogPath()));
    ASSERT_TRUE(WaitForExit(*child_.process, generousMs));
    EXPECT_TRUE(engine_.StopChild(child_, generousMs)) << Log();
    EXPECT_TRUE(HasMediaData(output)) << Log();
    EXPECT_EQ(Log(), "");
}

TEST_F(FfmpegChild, LogsItsErrorsAndReportsFailure) {
    std::ofstream(ToPath(LogPath())) << "of an earlier child";
    ASSERT_TRUE(engine_.StartChild(child_, u"-i " + QuoteArgument(PathOf(L"missing.mp4")) + u" -f null -", LogPath()));
    ASSERT_TRUE(WaitForExit(*child_.process, generousMs));
    EXPECT_NE(Log().find("No such file or directory"), std::string::npos) << Log();
    EXPECT_EQ(Log().find("of an earlier child"), std::string::npos);
    EXPECT_FALSE(engine_.StopChild(child_, generousMs));
}

TEST_F(FfmpegChild, ExitsCleanlyWhenAskedToQuit) {
    ASSERT_TRUE(StartEndless(u"", PathOf(L"endless.ts"))) << Log();
    EXPECT_TRUE(IsChildRunning(child_));
    const std::uint64_t begin = TickMs();
    EXPECT_TRUE(engine_.StopChild(child_, 30000)) << Log();
    EXPECT_LT(TickMs() - begin, 30000U);
    EXPECT_FALSE(child_.process);
    EXPECT_FALSE(child_.stdinWrite);
    EXPECT_FALSE(child_.job);
}

TEST_F(FfmpegChild, IsKilledByItsJobIfItDoesNotQuit) {
    ASSERT_TRUE(StartEndless(u"-nostdin ", PathOf(L"endless.ts"))) << Log();
    const std::uint64_t begin = TickMs();
    EXPECT_FALSE(engine_.StopChild(child_, 500));
    EXPECT_GE(TickMs() - begin, 500U);
    EXPECT_TRUE(windows::ProcessesNamed(L"ffmpeg.exe").empty());
}

TEST_F(FfmpegChild, DiesWithItsRecord) {
    ASSERT_TRUE(StartEndless(u"", PathOf(L"endless.ts"))) << Log();
    EXPECT_EQ(windows::ProcessesNamed(L"ffmpeg.exe").size(), 1U);
    ResetProcess(child_);
    EXPECT_TRUE(Eventually([] { return windows::ProcessesNamed(L"ffmpeg.exe").empty(); }));
}

TEST_F(FfmpegChild, LeavesNothingBehindWhenItCannotBeStarted) {
    const int before = windows::OpenHandles();
    ASSERT_GT(before, 0);
    const Text real = engine_.ffmpegPath;
    engine_.ffmpegPath = PathOf(L"missing.exe");
    EXPECT_FALSE(engine_.StartChild(child_, u"-version", LogPath()));
    engine_.ffmpegPath = real;
    EXPECT_FALSE(engine_.StartChild(child_, u"-version", PathOf(L"no folder\\child.log")));
    EXPECT_FALSE(child_.process);
    EXPECT_FALSE(child_.stdinWrite);
    EXPECT_FALSE(child_.job);
    EXPECT_EQ(windows::OpenHandles(), before);
}

TEST_F(FfmpegChild, InheritsNothingButItsInputAndItsLog) {
    SECURITY_ATTRIBUTES inheritable = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    ASSERT_TRUE(CreatePipe(&read, &write, &inheritable, 0));
    ASSERT_TRUE(StartEndless(u"", PathOf(L"endless.ts"))) << Log();
    CloseHandle(write);
    // That was the last write handle, unless the child has inherited one.
    DWORD available = 0;
    EXPECT_FALSE(PeekNamedPipe(read, nullptr, 0, nullptr, &available, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BROKEN_PIPE));
    EXPECT_TRUE(IsChildRunning(child_));
    CloseHandle(read);
}

TEST_F(FfmpegChild, ManyOfThemLeakNoHandle) {
    const auto run = [&] {
        ASSERT_TRUE(engine_.StartChild(child_, u"-version", LogPath()));
        EXPECT_TRUE(engine_.StopChild(child_, generousMs));
    };
    run();
    const int before = windows::OpenHandles();
    ASSERT_GT(before, 0);
    for (int i = 0; i < 5; ++i) {
        run();
    }
    EXPECT_EQ(windows::OpenHandles(), before);
}

}  // namespace
}  // namespace zv
