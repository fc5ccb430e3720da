// A child is created suspended, assigned to its job and then resumed, so that it never runs outside the job. The job
// kills its processes when its only handle is closed. The kernel closes that handle however this process ends.
#include "platform/ChildProcess.h"

#include <array>
#include <new>
#include <vector>

#include "platform/windows/Native.h"

namespace zv {

struct Process {
    Handle handle;
};
struct ProcessInput {
    Handle handle;
};
struct Job {
    Handle handle;
};

template <>
void Closer<Process>::operator()(Process* process) const noexcept {
    delete process;
}
template <>
void Closer<ProcessInput>::operator()(ProcessInput* input) const noexcept {
    delete input;
}
template <>
void Closer<Job>::operator()(Job* job) const noexcept {
    delete job;
}

namespace {

SECURITY_ATTRIBUTES Inheritable() { return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE}; }

/// Only the child's end is inheritable. A child that inherited our end would keep its own input open.
bool MakeInputPipe(Handle& childEnd, Handle& ownEnd) {
    SECURITY_ATTRIBUTES attributes = Inheritable();
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    if (!CreatePipe(&read, &write, &attributes, 0)) {
        return false;
    }
    childEnd = Handle(read);
    ownEnd = Handle(write);
    return SetHandleInformation(write, HANDLE_FLAG_INHERIT, 0) != 0;
}

Handle MakeLog(const Text& path) {
    SECURITY_ATTRIBUTES attributes = Inheritable();
    return Handle(CreateFileW(Native(path), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &attributes,
                              CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

Handle MakeKillOnCloseJob() {
    Handle job(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (job && !SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits))) {
        job.Close();
    }
    return job;
}

/// The handles that a new process inherits. Other inheritable handles may exist at the same time; it does not inherit
/// them.
class InheritedHandles {
public:
    explicit InheritedHandles(std::vector<HANDLE> handles) : handles_(std::move(handles)) {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        memory_.resize(size);
        auto* list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
        if (!InitializeProcThreadAttributeList(list, 1, 0, &size)) {
            return;
        }
        list_ = list;
        filled_ = UpdateProcThreadAttribute(list_, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                            handles_.size() * sizeof(HANDLE), nullptr, nullptr) != 0;
    }
    ~InheritedHandles() {
        if (list_ != nullptr) {
            DeleteProcThreadAttributeList(list_);
        }
    }
    InheritedHandles(const InheritedHandles&) = delete;
    InheritedHandles& operator=(const InheritedHandles&) = delete;

    LPPROC_THREAD_ATTRIBUTE_LIST List() const { return filled_ ? list_ : nullptr; }

private:
    std::vector<HANDLE> handles_;
    std::vector<std::byte> memory_;
    LPPROC_THREAD_ATTRIBUTE_LIST list_ = nullptr;
    bool filled_ = false;
};

bool StartSuspended(const ChildOptions& options, HANDLE input, HANDLE log, PROCESS_INFORMATION& made) {
    const InheritedHandles inherited({input, log});
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = input;
    startup.StartupInfo.hStdOutput = log;
    startup.StartupInfo.hStdError = log;
    startup.lpAttributeList = inherited.List();
    std::wstring line(options.commandLine.begin(), options.commandLine.end());  // the call may modify it
    return startup.lpAttributeList != nullptr &&
           CreateProcessW(Native(options.executable), line.data(), nullptr, nullptr, TRUE,
                          CREATE_SUSPENDED | CREATE_NO_WINDOW | NORMAL_PRIORITY_CLASS | EXTENDED_STARTUPINFO_PRESENT,
                          nullptr, nullptr, &startup.StartupInfo, &made);
}

/// Moves the handles to the heap. Returns false if there is not enough memory; then all of them are closed.
bool Publish(Handle process, Handle input, Handle job, Child& child) {
    Child made{Owned<Process>(new (std::nothrow) Process{std::move(process)}),
               Owned<ProcessInput>(new (std::nothrow) ProcessInput{std::move(input)}),
               Owned<Job>(new (std::nothrow) Job{std::move(job)})};
    if (!made.process || !made.input || !made.job) {
        return false;
    }
    child = std::move(made);
    return true;
}

}  // namespace

bool SpawnChild(const ChildOptions& options, Child& child) {
    Handle input;
    Handle ownInput;
    if (!MakeInputPipe(input, ownInput)) {
        return false;
    }
    const Handle log = MakeLog(options.logPath);
    Handle job = log ? MakeKillOnCloseJob() : Handle();
    PROCESS_INFORMATION made{};
    if (!job || !StartSuspended(options, input.Get(), log.Get(), made)) {
        return false;
    }
    Handle process(made.hProcess);
    const Handle thread(made.hThread);
    const HANDLE suspended = process.Get();
    if (!AssignProcessToJobObject(job.Get(), suspended)) {
        TerminateProcess(suspended, 1);
        return false;
    }
    if (!Publish(std::move(process), std::move(ownInput), std::move(job), child)) {
        return false;
    }
    ResumeThread(thread.Get());
    return true;
}

bool IsRunning(Process& process) { return WaitForSingleObject(process.handle.Get(), 0) == WAIT_TIMEOUT; }

bool WaitForExit(Process& process, std::uint32_t timeoutMs) {
    return WaitForSingleObject(process.handle.Get(), timeoutMs) == WAIT_OBJECT_0;
}

std::uint32_t ExitCode(Process& process) {
    DWORD code = 1;
    return GetExitCodeProcess(process.handle.Get(), &code) ? code : 1;
}

void WriteInput(ProcessInput& input, std::string_view bytes) {
    DWORD written = 0;
    WriteFile(input.handle.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void TerminateJob(Job& job) { TerminateJobObject(job.handle.Get(), 1); }

}  // namespace zv
