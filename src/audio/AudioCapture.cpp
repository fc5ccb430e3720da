// The thread's life: initialise sound, open the sources, offer the pipe, wait for the reader, pump, let go of all.
//
// Every failure becomes one sentence with its code; a stop never does. The stop event is looked at in each of the
// three waits: for the reader, for the next round, for a pending write.
#include "audio/AudioCapture.h"

#include <mutex>
#include <span>
#include <system_error>
#include <thread>
#include <utility>

#include "audio/AudioClock.h"
#include "audio/AudioMix.h"
#include "audio/AudioSource.h"
#include "core/ThreadStart.h"
#include "platform/BytePipe.h"
#include "platform/Clock.h"
#include "platform/Event.h"

namespace zv {
namespace {

constexpr std::uint32_t pollMs = 3;
constexpr std::uint32_t startUpWaitMs = 8000;
constexpr std::uint32_t pipeBufferBytes = 384000;  ///< 1 s of audio
constexpr TextView captureStopped = u"Audio capture stopped; a device or encoder disconnected";
constexpr Result resultOutOfMemory = ResultOf(0x8007000EU);

std::atomic<std::uint32_t> pipeCounter{0};

Text SentenceOf(TextView message, Result code) { return Text(message) + CodeSuffix(CodeOf(code)); }

/// What the thread holds while it runs. The members are let go of in the order of TearDown.
struct AudioRun {
    explicit AudioRun(Event& stopEvent) : stop(stopEvent) {}

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

Result WriteBlock(AudioRun& run) {
    const auto bytes = std::as_bytes(std::span(run.mix.block));
    const WriteBegin begun = BeginWrite(*run.write, bytes.data(), bytes.size());
    if (begun == WriteBegin::Done) {
        return resultOk;
    }
    const bool done = begun == WriteBegin::Pending && FinishWrite(*run.write, run.stop, waitForever) == WriteEnd::Done;
    return done ? resultOk : WriteFailure(*run.write);
}

/// Writes as many blocks as the wall clock says should exist. After a stall that is the whole backlog.
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
    while (WaitAny({&run.stop}, pollMs) == waitTimedOut) {
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

void TearDown(AudioRun& run) {
    if (run.write) {
        CancelWrite(*run.write);
        DisconnectPipe(*run.pipe);
    }
    run.write.reset();
    run.pipe.reset();
    run.enumerator.reset();
    run.microphone.reset();
    run.system.reset();
}

}  // namespace

struct AudioCapture::Worker {
    explicit Worker(std::atomic<bool>& runningFlag) : running(runningFlag) {}

    std::atomic<bool>& running;
    Owned<Event> stopEvent;
    Owned<Event> readyEvent;
    std::thread thread;
    Text pipeName;
    bool gameAudio = false;  ///< as this and the next were at Start, for the thread
    bool microphone = false;

    Text outOfMemory;  ///< made beforehand, since there may be no memory for it when it is needed

    mutable std::mutex mutex;
    Text error;  ///< under mutex

    void Prepare(bool wantsGameAudio, bool wantsMicrophone);
    bool LaunchThread();
    bool BecomesReady();
    void Record(TextView message, Result code) { Record(SentenceOf(message, code)); }
    void Record(Text sentence);
    void Main() noexcept;
    void Work(AudioRun& run);
    bool Open(AudioRun& run);
    void Serve(AudioRun& run);
};

/// The first failure's sentence stays: what fails later fails because of it.
void AudioCapture::Worker::Record(Text sentence) {
    const std::lock_guard lock(mutex);
    if (error.empty()) {
        error = std::move(sentence);
    }
    running = false;
}

bool AudioCapture::Worker::Open(AudioRun& run) {
    Result result = EnterAudioThread(run.thread);
    if (Failed(result)) {
        Record(u"Cannot initialize Windows audio", result);
        return false;
    }
    result = OpenSources(run, gameAudio, microphone);
    if (Failed(result)) {
        Record(OpeningFailure(run), result);
        return false;
    }
    result = MakePipe(run, pipeName);
    if (Failed(result)) {
        Record(u"Cannot create the audio pipe", result);
        return false;
    }
    return true;
}

void AudioCapture::Worker::Serve(AudioRun& run) {
    const PipeConnect connected = ConnectPipe(*run.pipe, run.stop, waitForever);
    if (IsSignalled(run.stop)) {
        return;
    }
    if (connected != PipeConnect::Connected) {
        Record(u"Encoder could not connect to the audio stream", resultGenericFailure);
        return;
    }
    const Result result = StartAndPump(run);
    if (Failed(result) && !IsSignalled(run.stop)) {
        Record(captureStopped, result);
    }
}

void AudioCapture::Worker::Work(AudioRun& run) {
    if (!Open(run)) {
        return;
    }
    running = true;
    Signal(*readyEvent);
    Serve(run);
}

void AudioCapture::Worker::Main() noexcept {
    PrepareForExceptions();
    AudioRun run(*stopEvent);
    try {
        Work(run);
    } catch (...) {
        Record(std::move(outOfMemory));
    }
    TearDown(run);
    running = false;
    run.thread.reset();
    Signal(*readyEvent);
}

void AudioCapture::Worker::Prepare(bool wantsGameAudio, bool wantsMicrophone) {
    {
        const std::lock_guard lock(mutex);
        error.clear();
    }
    outOfMemory = SentenceOf(captureStopped, resultOutOfMemory);
    gameAudio = wantsGameAudio;
    microphone = wantsMicrophone;
    pipeName = zv::PipeName(u"ZVReelsAudio-", ++pipeCounter);
}

bool AudioCapture::Worker::LaunchThread() {
    Result result = resultOk;
    stopEvent = MakeEvent(&result);
    readyEvent = stopEvent ? MakeEvent(&result) : nullptr;
    if (!readyEvent) {
        Record(u"Cannot create audio synchronization events", result);
        return false;
    }
    try {
        thread = std::thread([this] { Main(); });
        return true;
    } catch (const std::system_error& failure) {
        Record(u"Cannot initialize Windows audio", ResultOfSystemError(failure.code().value()));
        return false;
    }
}

bool AudioCapture::Worker::BecomesReady() {
    if (WaitAny({readyEvent.get()}, startUpWaitMs) == waitTimedOut) {
        Record(u"Audio initialization timed out", resultGenericFailure);
        return false;
    }
    return running;
}

AudioCapture::AudioCapture() : worker_(std::make_unique<Worker>(running)) {}

AudioCapture::~AudioCapture() { Stop(); }

bool AudioCapture::Start(bool gameAudio, bool microphone) {
    Stop();
    if (!gameAudio && !microphone) {
        return false;
    }
    worker_->Prepare(gameAudio, microphone);
    if (worker_->LaunchThread() && worker_->BecomesReady()) {
        return true;
    }
    Stop();
    return false;
}

void AudioCapture::Stop() {
    Worker& worker = *worker_;
    if (worker.stopEvent) {
        Signal(*worker.stopEvent);
    }
    if (worker.thread.joinable()) {
        worker.thread.join();
    }
    worker.stopEvent.reset();
    worker.readyEvent.reset();
    running = false;
}

Text AudioCapture::Error() const {
    const std::lock_guard lock(worker_->mutex);
    return worker_->error;
}

const Text& AudioCapture::PipeName() const { return worker_->pipeName; }

}  // namespace zv
