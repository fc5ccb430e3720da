// The cost of the sound of a capture: the audio worker with the default speakers and the default microphone, read as
// the encoder reads it. Prints the share of a core that its thread used, with the sum of the samples' squares as a
// checksum of the work. The peer is a thread that only waits, like the worker for 10 ms at a time.
//
//   AudioCost [SECONDS]     (10 by default; needs a sound server with a microphone)
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "audio/AudioCapture.h"
#include "platform/Event.h"

namespace {

namespace fs = std::filesystem;

std::set<std::string> Threads() {
    std::set<std::string> threads;
    for (const auto& entry : fs::directory_iterator("/proc/self/task")) {
        threads.insert(entry.path().string());
    }
    return threads;
}

/// The first figure of schedstat: nanoseconds on a core.
double SecondsOnCore(const std::string& thread) {
    double nanoseconds = 0;
    std::ifstream(thread + "/schedstat") >> nanoseconds;
    return nanoseconds / 1e9;
}

/// The share of a core that the waits alone use, in percent.
double ShareOfWaits(double seconds) {
    const zv::Owned<zv::Event> never = zv::MakeEvent();
    const double used = SecondsOnCore("/proc/thread-self");
    const auto begin = std::chrono::steady_clock::now();
    const auto end = begin + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
        zv::WaitAny({never.get()}, 10);
    }
    const double passed = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return (SecondsOnCore("/proc/thread-self") - used) / passed * 100;
}

/// Reads for `seconds` and returns the sum of the squares of the samples.
double ReadFor(int pipe, double seconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    double sum = 0;
    char block[3840];
    for (ssize_t count = 1; count > 0 && std::chrono::steady_clock::now() < end;) {
        count = read(pipe, block, sizeof block);
        for (ssize_t at = 0; at + 4 <= count; at += 4) {
            float sample = 0;
            std::memcpy(&sample, block + at, sizeof sample);
            sum += static_cast<double>(sample) * static_cast<double>(sample);
        }
    }
    return sum;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const double seconds = argumentCount > 1 ? std::atof(arguments[1]) : 10;
    const std::set<std::string> before = Threads();
    zv::AudioCapture capture;
    if (!capture.Start(true, true)) {
        std::fprintf(stderr, "%s\n", fs::path(capture.Error()).c_str());
        return 1;
    }
    std::string worker;
    for (const std::string& thread : Threads()) {
        if (!before.contains(thread)) {
            worker = thread;
        }
    }
    const int pipe = open(fs::path(capture.PipeName()).c_str(), O_RDONLY | O_CLOEXEC);
    if (pipe < 0 || worker.empty()) {
        return 1;
    }
    ReadFor(pipe, 3);  // until the server is steady
    const double used = SecondsOnCore(worker);
    const auto begin = std::chrono::steady_clock::now();
    const double sum = ReadFor(pipe, seconds);
    const double passed = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    std::printf("audio worker, both sources: %.2f %% of a core over %.0f s (sum of squares %.0f)\n",
                (SecondsOnCore(worker) - used) / passed * 100, passed, sum);
    capture.Stop();
    close(pipe);
    std::printf("the waits alone: %.2f %%\n", ShareOfWaits(seconds));
    return 0;
}
