#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "fake/Allocations.h"
#include "platform/BytePipe.h"
#include "platform/FfmpegInput.h"
#include "support/Eventually.h"
#include "support/PlatformChild.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using support::ContentOf;
using support::Eventually;
using support::PlatformChild;

unsigned ModeOf(const std::filesystem::path& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
}

std::size_t OpenDescriptors() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

TEST(LinuxBytePipe, NeedsNoFfmpegFlagsForARawPipe) { EXPECT_EQ(Text(rawPipeInputFlags), u""); }

TEST(LinuxBytePipe, PipesAndTheirFolderArePrivateAndRemovedWithTheLastPipe) {
    const std::size_t before = OpenDescriptors();
    Owned<BytePipe> first;
    Owned<BytePipe> second;
    ASSERT_EQ(MakeBytePipe(PipeName(u"ZVVideo-", 1), {}, first), resultOk);
    ASSERT_EQ(MakeBytePipe(PipeName(u"ZVVideo-", 2), {}, second), resultOk);
    const std::filesystem::path path = ToPath(PipeName(u"ZVVideo-", 1));
    EXPECT_TRUE(std::filesystem::is_fifo(path));
    EXPECT_EQ(ModeOf(path), 0600U);
    EXPECT_EQ(ModeOf(path.parent_path()), 0700U);
    first.reset();
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(std::filesystem::exists(path.parent_path()));
    second.reset();
    EXPECT_FALSE(std::filesystem::exists(path.parent_path()));
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(LinuxBytePipe, IgnoresTheSignalOfABrokenPipe) {
    Owned<BytePipe> pipe;
    ASSERT_EQ(MakeBytePipe(PipeName(u"ZVVideo-", 6), {}, pipe), resultOk);
    struct sigaction action {};
    ASSERT_EQ(sigaction(SIGPIPE, nullptr, &action), 0);
    EXPECT_EQ(action.sa_handler, SIG_IGN);
}

TEST(LinuxBytePipe, FailsWithTheSystemsErrorNumber) {
    Owned<BytePipe> pipe;
    EXPECT_EQ(CodeOf(MakeBytePipe(u"/no such folder/pipe", {}, pipe)), 0x80070000U | ENOENT);
    EXPECT_FALSE(pipe);
    EXPECT_FALSE(std::filesystem::exists(ToPath(PipeName(u"", 1)).parent_path()));
}

TEST(LinuxBytePipe, RemovesTheFoldersOfKilledProcessesButNotOfRunningOnes) {
    const support::TemporaryFolder folder;
    setenv("XDG_RUNTIME_DIR", folder.Path().c_str(), 1);
    // Begins like a folder of pipes but is not one.
    const std::filesystem::path own = folder.Path() / ("zorvel-" + std::to_string(getuid()) + "-7-backup");
    std::filesystem::create_directory(own);
    std::filesystem::permissions(own, std::filesystem::perms::owner_all);
    std::ofstream(own / "mine") << "mine";
    const auto start = [&folder](const char* log, Child& child) {
        ASSERT_TRUE(SpawnChild(PlatformChild(u"pipe", folder.Path() / log), child));
        ASSERT_TRUE(Eventually([&] { return ContentOf(folder.Path() / log).ends_with("\n"); }));
    };
    const auto pipeOf = [&folder](const char* log) {
        std::string name = ContentOf(folder.Path() / log);
        name.pop_back();
        return std::filesystem::path(name);
    };
    Child killed;
    Child living;
    Child next;
    start("killed.log", killed);
    start("living.log", living);
    EXPECT_EQ(pipeOf("killed.log").parent_path().parent_path(), folder.Path());
    TerminateJob(*killed.job);
    ASSERT_TRUE(WaitForExit(*killed.process, 60000));
    ASSERT_TRUE(std::filesystem::exists(pipeOf("killed.log")));
    start("next.log", next);
    EXPECT_FALSE(std::filesystem::exists(pipeOf("killed.log").parent_path()));
    EXPECT_TRUE(std::filesystem::is_fifo(pipeOf("living.log")));
    EXPECT_TRUE(std::filesystem::is_fifo(pipeOf("next.log")));
    EXPECT_EQ(ContentOf(own / "mine"), "mine");
}

TEST(LinuxBytePipe, ClosingReleasesAReaderThatWaitsForAWriter) {
    Owned<BytePipe> pipe;
    const Text name = PipeName(u"ZVVideo-", 3);
    ASSERT_EQ(MakeBytePipe(name, {}, pipe), resultOk);
    std::atomic<int> got{-1};
    std::thread reader([&] {
        const int descriptor = open(ToPath(name).c_str(), O_RDONLY | O_CLOEXEC);
        char byte = 0;
        got = static_cast<int>(read(descriptor, &byte, 1));
        close(descriptor);
    });
    SleepMs(50);
    pipe.reset();
    reader.join();
    EXPECT_EQ(got, 0);
}

TEST(LinuxBytePipe, ClosingReleasesAReaderThatIsJustOpening) {
    for (int round = 0; round < 200; ++round) {
        Owned<BytePipe> pipe;
        const Text name = PipeName(u"ZVVideo-", 4);
        ASSERT_EQ(MakeBytePipe(name, {}, pipe), resultOk);
        const std::filesystem::path path = ToPath(name);
        std::thread reader([&] {
            const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
            char byte = 0;
            EXPECT_LE(descriptor < 0 ? 0 : read(descriptor, &byte, 1), 0);
            close(descriptor);
        });
        for (int i = 0; i < round % 20; ++i) {
            std::this_thread::yield();
        }
        pipe.reset();
        reader.join();
    }
}

TEST(LinuxBytePipe, WritesStayInOrderWhenThePipeIsFull) {
    Owned<BytePipe> pipe;
    const Text name = PipeName(u"ZVVideo-", 7);
    PipeOptions options;
    options.bufferBytes = 4096;
    ASSERT_EQ(MakeBytePipe(name, options, pipe), resultOk);
    const int reader = open(ToPath(name).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const Owned<Event> stop = MakeEvent();
    ASSERT_EQ(ConnectPipe(*pipe, *stop, 60000), PipeConnect::Connected);
    // The system writes a page or less completely or not at all.
    const std::vector<std::byte> first(100, std::byte{1});
    const std::vector<std::byte> second(4050, std::byte{2});
    const std::vector<std::byte> third(10, std::byte{3});
    const Owned<PipeWrite> writes[3] = {MakePipeWrite(*pipe), MakePipeWrite(*pipe), MakePipeWrite(*pipe)};
    EXPECT_EQ(BeginWrite(*writes[0], first.data(), first.size()), WriteBegin::Done);
    EXPECT_EQ(BeginWrite(*writes[1], second.data(), second.size()), WriteBegin::Pending);
    EXPECT_EQ(BeginWrite(*writes[2], third.data(), third.size()), WriteBegin::Pending);
    std::vector<char> block(4096);
    EXPECT_EQ(read(reader, block.data(), block.size()), 100);
    EXPECT_EQ(FinishWrite(*writes[1], *stop, 60000), WriteEnd::Done);
    EXPECT_EQ(FinishWrite(*writes[2], *stop, 60000), WriteEnd::Done);
    EXPECT_EQ(read(reader, block.data(), block.size()), 4060);
    EXPECT_EQ(block[4049], 2);
    EXPECT_EQ(block[4050], 3);
    close(reader);
}

TEST(LinuxBytePipe, HoldsTwoSecondsOfSound) {
    Owned<BytePipe> pipe;
    const Text name = PipeName(u"ZVReelsAudio-", 9);
    PipeOptions options;
    options.bufferBytes = 384000;
    ASSERT_EQ(MakeBytePipe(name, options, pipe), resultOk);
    const int reader = open(ToPath(name).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const Owned<Event> stop = MakeEvent();
    ASSERT_EQ(ConnectPipe(*pipe, *stop, 60000), PipeConnect::Connected);
    const std::vector<std::byte> block(3840);
    const Owned<PipeWrite> write = MakePipeWrite(*pipe);
    int blocks = 0;
    while (blocks < 1000 && BeginWrite(*write, block.data(), block.size()) == WriteBegin::Done) {
        ++blocks;
    }
    EXPECT_GE(blocks, 200);
    close(reader);
}

TEST(LinuxBytePipe, WritingAllocatesNothing) {
    Owned<BytePipe> pipe;
    const Text name = PipeName(u"ZVVideo-", 5);
    PipeOptions options;
    options.bufferBytes = 65536;
    ASSERT_EQ(MakeBytePipe(name, options, pipe), resultOk);
    const Owned<Event> stop = MakeEvent();
    std::thread reader([path = ToPath(name)] {
        const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        std::vector<char> block(65536);
        while (read(descriptor, block.data(), block.size()) > 0) {
        }
        close(descriptor);
    });
    ASSERT_EQ(ConnectPipe(*pipe, *stop, 60000), PipeConnect::Connected);
    const std::vector<std::byte> bytes(200000);
    Owned<PipeWrite> writes[2] = {MakePipeWrite(*pipe), MakePipeWrite(*pipe)};
    SleepMs(20);
    fake::CountAllocationsHere(true);
    fake::ResetCountedAllocations();
    int pending = 0;
    for (int i = 0; i < 100; ++i) {
        for (const Owned<PipeWrite>& write : writes) {
            pending += BeginWrite(*write, bytes.data(), bytes.size()) == WriteBegin::Pending ? 1 : 0;
        }
        for (const Owned<PipeWrite>& write : writes) {
            ASSERT_EQ(FinishWrite(*write, *stop, 60000), WriteEnd::Done);
        }
    }
    const std::uint64_t allocations = fake::CountedAllocations();
    fake::CountAllocationsHere(false);
    EXPECT_EQ(allocations, 0U);
    EXPECT_GT(pending, 0);
    pipe.reset();
    reader.join();
}

}  // namespace
}  // namespace zv
