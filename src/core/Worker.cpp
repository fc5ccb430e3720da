#include "core/Worker.h"

#include <system_error>
#include <utility>

namespace zv {

bool Worker::Start(WorkerOptions options, std::function<void()> body) {
    Stop();
    {
        const std::lock_guard lock(mutex_);
        error_.clear();
    }
    Result code = resultOk;
    stopEvent_ = MakeEvent(&code);
    readyEvent_ = stopEvent_ ? MakeEvent(&code) : nullptr;
    endedEvent_ = readyEvent_ ? MakeEvent(&code) : nullptr;
    if (!endedEvent_) {
        FailUnlessSilent(options.noEvents, code);
        return false;
    }
    try {
        thread_ = std::thread(
            [this, body = std::move(body), text = std::move(options.exception)]() mutable { Run(body, text); });
    } catch (const std::system_error& failure) {
        FailUnlessSilent(options.noThread, ResultOfSystemError(failure.code().value()));
        return false;
    }
    if (WaitAny({readyEvent_.get(), endedEvent_.get()}, options.readyMs) < 0) {
        FailUnlessSilent(options.timedOut, resultGenericFailure);
        return false;
    }
    return running_;
}

void Worker::Run(const std::function<void()>& body, Text& exceptionText) {
    try {
        body();
    } catch (...) {
        Fail(std::move(exceptionText));
    }
    Signal(*endedEvent_);
}

void Worker::Stop() {
    RequestStop();
    if (thread_.joinable()) {
        thread_.join();
    }
    running_ = false;
    stopEvent_.reset();
    readyEvent_.reset();
    endedEvent_.reset();
}

bool Worker::EndsWithin(std::uint32_t timeoutMs) {
    return !thread_.joinable() || WaitAny({endedEvent_.get()}, timeoutMs) == 0;
}

void Worker::RequestStop() {
    if (stopEvent_) {
        Signal(*stopEvent_);
    }
}

void Worker::ReportReady() {
    running_ = true;
    Signal(*readyEvent_);
}

void Worker::Fail(Text sentence) {
    if (!StopRequested()) {
        const std::lock_guard lock(mutex_);
        if (error_.empty()) {
            error_ = std::move(sentence);
        }
    }
    running_ = false;
}

void Worker::Fail(TextView message, Result code) { Fail(SentenceOf(message, code)); }

void Worker::FailUnlessSilent(TextView message, Result code) {
    if (!message.empty()) {
        Fail(message, code);
    }
}

Text Worker::Error() const {
    const std::lock_guard lock(mutex_);
    return error_;
}

}  // namespace zv
