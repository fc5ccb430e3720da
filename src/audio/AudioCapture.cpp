// The worker's thread: initialize sound, open the sources, make the pipe, wait for the reader, pump, release.
//
// Every failure becomes one sentence with its code; a stop never does. The stop event ends each of the three waits: for
// the reader, for packets, for a pending write.
#include "audio/AudioCapture.h"

#include <memory>
#include <span>
#include <utility>

#include "audio/AudioClock.h"
#include "audio/AudioMix.h"
#include "audio/AudioSource.h"
#include "platform/BytePipe.h"
#include "platform/Clock.h"
#include "platform/Event.h"
#include "platform/MediaThread.h"

namespace zv {
namespace {

constexpr std::uint32_t startUpWaitMs = 8000;
constexpr std::uint32_t pipeBufferBytes = 384000;  ///< 1 s of audio
constexpr TextView captureStopped = u"Audio capture stopped; a device or encoder disconnected";
constexpr Result resultOutOfMemory = ResultOf(0x8007000EU);

std::atomic<std::uint32_t> pipeCounter{0};

/// What the thread owns. It is released in reverse order, the pipe first.
struct AudioRun {
    explicit AudioRun(Event& stopEvent) : stop(stopEvent) {}
    ~AudioRun() {
        if (write) {
            CancelWrite(*write);
            DisconnectPipe(*pipe);
        }
    }
    AudioRun(const AudioRun&) = delete;
    AudioRun& operator=(const AudioRun&) = delete;

    Event& stop;
    Owned<AudioThread> thread;
    std::unique_ptr<AudioSource> system;
    std::unique_ptr<AudioSource> microphone;
    Owned<AudioEnumerator> enumerator;
    Owned<BytePipe> pipe;
    Owned<PipeWrite> write;
    std::int64_t captureStartTime = 0;
    AudioMix mix;
};

Result OpenSource(AudioRun& run, std::unique_ptr<AudioSource>& source, bool loopback) {
    source = std::make_unique<AudioSource>();
    return OpenEndpoint(*source, *run.enumerator, loopback);
}

Result OpenSources(AudioRun& run, bool gameAudio, bool microphone) {
    Result result = MakeAudioEnumerator(*run.thread, run.enumerator);
    if (Succeeded(result) && gameAudio) {
        result = OpenSource(run, run.system, true);
    }
    if (Succeeded(result) && microphone) {
        result = OpenSource(run, run.microphone, false);
    }
    run.mix.system = run.system ? &run.system->ring : nullptr;
    run.mix.microphone = run.microphone ? &run.microphone->ring : nullptr;
    return result;
}

Text OpeningFailure(const AudioRun& run) {
    const AudioSource* source = run.microphone ? run.microphone.get() : run.system.get();
    return u"Cannot open default audio device at " + (source != nullptr ? source->stage : Text(u"device enumeration")) +
           u". Check Windows audio devices and microphone permission";
}

Result MakePipe(AudioRun& run, TextView name) {
    Result result = MakeBytePipe(name, {pipeBufferBytes, true}, run.pipe);
    if (Succeeded(result)) {
        run.write = MakePipeWrite(*run.pipe, &result);
    }
    return result;
}

Result StartSources(AudioRun& run) {
    Result result = resultOk;
    if (run.system) {
        result = StartSource(*run.system);
    }
    if (Succeeded(result) && run.microphone) {
        result = StartSource(*run.microphone);
    }
    return result;
}

Result DrainSources(AudioRun& run) {
    Result result = resultOk;
    if (run.system) {
        result = DrainSource(*run.system, run.captureStartTime);
    }
    if (Succeeded(result) && run.microphone) {
        result = DrainSource(*run.microphone, run.captureStartTime);
    }
    return result;
}

/// Stores the sound that has arrived while a write waited for the reader: a device keeps as little as 20 ms. Sound that
/// the ring would drop, because the writer is two seconds behind, stays in the device.
Result DrainBetweenBlocks(AudioRun& run) {
    const std::int64_t newest = TargetFrame(Counter100ns() + outputLag, run.captureStartTime);
    if (newest >= run.mix.nextBlockFrame + ringFrames) {
        return resultOk;
    }
    ReceivePackets(*run.enumerator);
    return DrainSources(run);
}

Result WriteBlock(AudioRun& run) {
    const auto bytes = std::as_bytes(std::span(run.mix.block));
    const WriteBegin begun = BeginWrite(*run.write, bytes.data(), bytes.size());
    if (begun == WriteBegin::Pending && FinishWrite(*run.write, run.stop, waitForever) == WriteEnd::Done) {
        return DrainBetweenBlocks(run);
    }
    return begun == WriteBegin::Done ? resultOk : WriteFailure(*run.write);
}

/// Writes all blocks that are due by the wall clock: after a stall, the whole backlog.
Result WriteDueBlocks(AudioRun& run) {
    const std::int64_t target = TargetFrame(Counter100ns(), run.captureStartTime);
    while (BlockIsDue(run.mix, target) && !IsSignalled(run.stop)) {
        FillBlock(run.mix);
        const Result result = WriteBlock(run);
        if (Failed(result)) {
            return result;
        }
        FinishBlock(run.mix);
    }
    return resultOk;
}

Result Pump(AudioRun& run) {
    while (WaitForPackets(*run.enumerator, run.stop)) {
        Result result = DrainSources(run);
        if (Succeeded(result)) {
            result = WriteDueBlocks(run);
        }
        if (Failed(result)) {
            return result;
        }
    }
    return resultOk;
}

Result StartAndPump(AudioRun& run) {
    // Output frame 0 is the moment at which the reader connected, not the first sound.
    run.captureStartTime = Counter100ns();
    const Result result = StartSources(run);
    return Failed(result) ? result : Pump(run);
}

}  // namespace

struct AudioWorker {
    AudioCapture& owner;
    const bool gameAudio;
    const bool microphone;

    void Run();
    bool Open(AudioRun& run);
    void Serve(AudioRun& run);
    bool Check(Result result, TextView message);
};

void AudioWorker::Run() {
    const Owned<MediaThread> scheduling = ScheduleForMedia(MediaTask::Sound);
    AudioRun run(owner.worker_.StopEvent());
    if (Open(run)) {
        owner.worker_.ReportReady();
        Serve(run);
    }
    owner.running = false;
}

bool AudioWorker::Open(AudioRun& run) {
    if (!Check(EnterAudioThread(run.thread), u"Cannot initialize Windows audio")) {
        return false;
    }
    const Result opened = OpenSources(run, gameAudio, microphone);
    return Check(opened, OpeningFailure(run)) && Check(MakePipe(run, owner.pipeName_), u"Cannot create the audio pipe");
}

void AudioWorker::Serve(AudioRun& run) {
    const PipeConnect connected = ConnectPipe(*run.pipe, run.stop, waitForever);
    if (IsSignalled(run.stop)) {
        return;
    }
    if (connected != PipeConnect::Connected) {
        Check(resultGenericFailure, u"Encoder could not connect to the audio stream");
        return;
    }
    Check(StartAndPump(run), captureStopped);
}

bool AudioWorker::Check(Result result, TextView message) {
    if (Failed(result)) {
        owner.worker_.Fail(message, result);
    }
    return Succeeded(result);
}

AudioCapture::AudioCapture() = default;

AudioCapture::~AudioCapture() { Stop(); }

bool AudioCapture::Start(bool gameAudio, bool microphone) {
    Stop();
    if (!gameAudio && !microphone) {
        return false;
    }
    pipeName_ = zv::PipeName(u"ZVReelsAudio-", ++pipeCounter);
    WorkerOptions options;
    options.readyMs = startUpWaitMs;
    options.noEvents = u"Cannot create audio synchronization events";
    options.noThread = u"Cannot initialize Windows audio";
    options.timedOut = u"Audio initialization timed out";
    options.exception = SentenceOf(captureStopped, resultOutOfMemory);
    const bool ready = worker_.Start(std::move(options), [this, gameAudio, microphone] {
        AudioWorker{*this, gameAudio, microphone}.Run();
    });
    if (!ready) {
        Stop();
    }
    return ready;
}

void AudioCapture::Stop() { worker_.Stop(); }

}  // namespace zv
