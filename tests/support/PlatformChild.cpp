// The child process of the platform tests. The first argument selects what it does:
//
//   arguments A...         prints every argument in brackets, one a line
//   outputs                writes to the standard output and to the standard error
//   exit N                 ends with exit code N
//   tick FILE              writes its process id and a line feed into FILE, then a dot every few milliseconds
//   variable NAME          prints the value of a variable
//   quit                   reads its input up to "q" (exit code 7) or its end (exit code 8)
//   spawn FILE LOG HOW     starts "tick FILE" as its own child, then HOW: "vanish" exits without cleaning up, "wait"
//   spawn FILE LOG HOW SCRIPT   the same through a script that runs its arguments
//   pipe                   makes a byte pipe that nobody reads, prints its name and stalls
//   read PIPE COUNT THEN   reads COUNT bytes, or all, prints how many and their sum; THEN: "exit" or "stall"
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "core/ReadSharedFile.h"
#include "platform/BytePipe.h"
#include "platform/ChildProcess.h"
#include "platform/Environment.h"
#include "platform/Files.h"

namespace {

using Arguments = std::vector<std::filesystem::path>;

void Pause(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

[[noreturn]] void Stall() {
    for (;;) {
        Pause(1000);
    }
}

std::string Utf8(const std::filesystem::path& argument) {
    const std::u8string text = argument.u8string();
    return {text.begin(), text.end()};
}

int PrintArguments(const Arguments& arguments) {
    for (const std::filesystem::path& argument : arguments) {
        std::printf("[%s]\n", Utf8(argument).c_str());
    }
    return 0;
}

int Tick(const Arguments& arguments) {
    std::ofstream file(arguments[2], std::ios::binary);
    file << zv::OwnProcessId() << "\n" << std::flush;
    for (;;) {
        file << "." << std::flush;
        Pause(5);
    }
}

int Quit() {
    int unit = 0;
    do {
        unit = std::getchar();
    } while (unit != EOF && unit != 'q');
    return unit == EOF ? 8 : 7;
}

int Spawn(const Arguments& arguments) {
    const zv::Text own = zv::FromPath(arguments[0]);
    const zv::Text file = zv::FromPath(arguments[2]);
    const bool wrapped = arguments.size() > 5;
    const zv::Text executable = wrapped ? zv::FromPath(arguments[5]) : own;
    const zv::Text command = (wrapped ? u"script \"" : u"\"") + own + u"\" tick \"" + file + u"\"";
    zv::Child child;
    if (!zv::SpawnChild({executable, command, zv::FromPath(arguments[3])}, child)) {
        return 9;
    }
    while (zv::ReadSharedFile(file, 100).find("\n.") == std::string::npos) {
        Pause(5);
    }
    std::puts("started");
    std::fflush(stdout);
    if (arguments[4] == "wait") {
        Stall();
    }
    std::_Exit(5);
}

int HoldPipe() {
    zv::Owned<zv::BytePipe> pipe;
    const zv::Text name = zv::PipeName(u"ZVVideo-", 1);
    if (zv::Failed(zv::MakeBytePipe(name, {}, pipe))) {
        return 4;
    }
    std::puts(Utf8(zv::ToPath(name)).c_str());
    std::fflush(stdout);
    Stall();
}

int Read(const Arguments& arguments) {
    std::filebuf pipe;
    if (pipe.open(arguments[2], std::ios::in | std::ios::binary) == nullptr) {
        std::puts("cannot open");
        return 3;
    }
    std::puts("opened");
    std::fflush(stdout);
    const bool all = arguments[3] == "all";
    std::size_t left = all ? 0 : std::stoul(Utf8(arguments[3]));
    std::size_t count = 0;
    unsigned long long sum = 0;
    std::vector<char> block(65536);
    while (all || left > 0) {
        const std::size_t want = all ? block.size() : std::min(left, block.size());
        const auto got = static_cast<std::size_t>(pipe.sgetn(block.data(), static_cast<std::streamsize>(want)));
        for (std::size_t i = 0; i < got; ++i) {
            sum = sum * 31 + static_cast<unsigned char>(block[i]);
        }
        count += got;
        left -= all ? 0 : got;
        if (got < want) {
            break;
        }
    }
    std::printf("read %zu sum %llu\n", count, sum);
    std::fflush(stdout);
    if (arguments[4] == "stall") {
        Stall();
    }
    return 0;
}

int Run(const Arguments& arguments) {
    const std::string what = arguments.size() > 1 ? Utf8(arguments[1]) : "";
    if (what == "arguments") {
        return PrintArguments(arguments);
    }
    if (what == "outputs") {
        std::fputs("to the output\n", stdout);
        std::fflush(stdout);
        std::fputs("to the error\n", stderr);
        return 0;
    }
    if (what == "exit") {
        return std::stoi(Utf8(arguments[2]));
    }
    if (what == "variable") {
        std::puts(Utf8(zv::ToPath(zv::EnvironmentValue(zv::FromPath(arguments[2])))).c_str());
        return 0;
    }
    if (what == "tick") {
        return Tick(arguments);
    }
    if (what == "quit") {
        return Quit();
    }
    if (what == "spawn") {
        return Spawn(arguments);
    }
    if (what == "pipe") {
        return HoldPipe();
    }
    return what == "read" ? Read(arguments) : 99;
}

}  // namespace

#if defined(__MINGW32__)
extern "C" int wmain(int, wchar_t**);
extern "C" int wmain(int count, wchar_t** values) { return Run(Arguments(values, values + count)); }
#else
int main(int count, char** values) { return Run(Arguments(values, values + count)); }
#endif
