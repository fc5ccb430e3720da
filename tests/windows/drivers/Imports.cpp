#include "windows/drivers/Imports.h"

#include <windows.h>
//
#include <objbase.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <utility>

#include "windows/DirectoryEntries.h"
#include "windows/drivers/CallChecker.h"
#include "windows/drivers/ShellImages.h"

namespace zv::drivers {
namespace {

std::atomic<DWORD> starvedThread = 0;
std::atomic<std::size_t> starvedBytes = 0;
std::atomic<DWORD> countedThread = 0;
std::atomic<unsigned> requests = 0;
std::atomic<DWORD> starvedPaint = 0;  ///< the thread that paints the main window with little memory
constexpr std::size_t paintBytes = 256;

std::pair<unsigned long, unsigned long> TwoNumbers(const std::string& text) {
    char* rest = nullptr;
    const unsigned long first = std::strtoul(text.c_str(), &rest, 10);
    return {first, std::strtoul(rest, nullptr, 10)};
}

/// Returns true, with the last error set, if the script makes this call fail.
bool Fails(const std::string& entry) {
    const ScriptedResult scripted = CountCall(entry.c_str());
    if (scripted.fails) {
        SetLastError(static_cast<DWORD>(scripted.code));
    }
    return scripted.fails;
}

// Memory

bool IsGranted(std::size_t size) {
    const DWORD thread = GetCurrentThreadId();
    if (thread == countedThread) {
        ++requests;
    }
    const bool painting = thread == starvedPaint && size >= paintBytes;
    const bool working = thread == starvedThread && size >= starvedBytes;
    return !painting && !working;
}

void* Allocate(std::size_t size) { return IsGranted(size) ? std::malloc(size) : nullptr; }
void* AllocateZeroed(std::size_t count, std::size_t size) {
    return IsGranted(count * size) ? std::calloc(count, size) : nullptr;
}
void* Reallocate(void* memory, std::size_t size) { return IsGranted(size) ? std::realloc(memory, size) : nullptr; }

// Pipes, known by their handles

struct KnownPipe {
    HANDLE handle = nullptr;
    std::string stem;
};

/// The last 16 pipes. A closed pipe's handle may belong to a later pipe. The lock has no handle, because tests count
/// handles.
class KnownPipes {
public:
    void Add(HANDLE handle, const std::string& stem) {
        AcquireSRWLockExclusive(&lock_);
        std::replace_if(
            pipes_.begin(), pipes_.end(), [handle](const KnownPipe& pipe) { return pipe.handle == handle; },
            KnownPipe());
        pipes_[next_++ % pipes_.size()] = {handle, stem};
        ReleaseSRWLockExclusive(&lock_);
    }
    std::string StemOf(HANDLE handle) {
        AcquireSRWLockShared(&lock_);
        const auto* found = std::find_if(pipes_.begin(), pipes_.end(),
                                         [handle](const KnownPipe& pipe) { return pipe.handle == handle; });
        std::string stem = found == pipes_.end() ? std::string() : found->stem;
        ReleaseSRWLockShared(&lock_);
        return stem;
    }

private:
    SRWLOCK lock_ = SRWLOCK_INIT;
    std::array<KnownPipe, 16> pipes_;
    std::size_t next_ = 0;
};

KnownPipes& ThePipes() {
    static auto* pipes = new KnownPipes;
    return *pipes;
}

std::string StemOfName(const wchar_t* name) {
    std::string stem;
    for (const wchar_t* unit = name; *unit != 0 && *unit != L'-'; ++unit) {
        stem = *unit == L'\\' ? std::string() : stem + static_cast<char>(*unit);
    }
    return stem;
}

HANDLE WINAPI MakePipe(const wchar_t* name, DWORD open, DWORD mode, DWORD count, DWORD outBytes, DWORD inBytes,
                       DWORD timeout, SECURITY_ATTRIBUTES* security) {
    const std::string stem = StemOfName(name);
    if (Fails("CreateNamedPipeW:" + stem)) {
        return INVALID_HANDLE_VALUE;
    }
    const HANDLE pipe = CreateNamedPipeW(name, open, mode, count, outBytes, inBytes, timeout, security);
    const DWORD code = GetLastError();
    ThePipes().Add(pipe, stem);
    SetLastError(code);
    return pipe;
}

BOOL WINAPI Connect(HANDLE pipe, OVERLAPPED* overlapped) {
    return Fails("ConnectNamedPipe:" + ThePipes().StemOf(pipe)) ? FALSE : ConnectNamedPipe(pipe, overlapped);
}

// The rest

HANDLE WINAPI MakeEvent(SECURITY_ATTRIBUTES* security, BOOL manual, BOOL set, const wchar_t* name) {
    return Fails("CreateEventW") ? nullptr : CreateEventW(security, manual, set, name);
}

HANDLE WINAPI MakePreciseTimer(SECURITY_ATTRIBUTES* security, const wchar_t* name, DWORD flags, DWORD access) {
    if (flags != 2 || access != 0x1F0003) {
        Complain("CreateWaitableTimerExW with other flags");
    }
    return Fails("CreateWaitableTimerExW") ? nullptr : CreateWaitableTimerExW(security, name, flags, access);
}

HANDLE WINAPI MakeTimer(SECURITY_ATTRIBUTES* security, BOOL manual, const wchar_t* name) {
    if (manual != FALSE) {
        Complain("CreateWaitableTimerW that has to be reset by hand");
    }
    return Fails("CreateWaitableTimerW") ? nullptr : CreateWaitableTimerW(security, manual, name);
}

// Waits

std::atomic<int> fineTimers = 0;  ///< requests of a resolution that have not ended

/// The length of a wait that ends at a tick of the timer.
DWORD UntilTick(DWORD milliseconds) {
    constexpr DWORD tickMs = 16;
    const bool exact = fineTimers > 0 || milliseconds == 0 || milliseconds == INFINITE;
    return exact ? milliseconds : (milliseconds + tickMs - 1) / tickMs * tickMs;
}

/// Calls `wait` with the script's milliseconds instead of the program's.
template <class Wait>
DWORD ScriptedWait(DWORD milliseconds, Wait wait) {
    for (const std::string& value : Values("wait")) {
        const auto [asked, instead] = TwoNumbers(value);
        if (asked != milliseconds) {
            continue;
        }
        const DWORD answer = wait(instead);
        if (answer == WAIT_TIMEOUT) {
            Note("a wait of " + std::to_string(milliseconds) + " ms timed out");
        }
        return answer;
    }
    return wait(UntilTick(milliseconds));
}

DWORD WINAPI WaitForOne(HANDLE handle, DWORD milliseconds) {
    return ScriptedWait(milliseconds, [&](DWORD scripted) { return WaitForSingleObject(handle, scripted); });
}

DWORD WINAPI WaitForSeveral(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds) {
    const std::string entry = "WaitForMultipleObjects:" + std::to_string(milliseconds);
    if (Fails(entry)) {
        Note(entry + " has failed");
        return WAIT_FAILED;
    }
    return ScriptedWait(milliseconds,
                        [&](DWORD scripted) { return WaitForMultipleObjects(count, handles, all, scripted); });
}

// The timer

UINT WINAPI BeginFineTimer(UINT milliseconds) {
    const ScriptedResult scripted = CountCall("timeBeginPeriod");
    if (scripted.fails) {
        return static_cast<UINT>(scripted.code);
    }
    if (milliseconds != 1) {
        Complain("timeBeginPeriod with another resolution");
    }
    ++fineTimers;
    Note("timer of 1 ms begun");
    return 0;
}

UINT WINAPI EndFineTimer(UINT milliseconds) {
    if (milliseconds != 1 || --fineTimers < 0) {
        Complain("timeEndPeriod without its timeBeginPeriod");
    }
    Note("timer of 1 ms ended");
    return 0;
}

BOOL WINAPI SetProcess(HANDLE process, PROCESS_INFORMATION_CLASS kind, void* information, DWORD bytes) {
    const auto* state = static_cast<const PROCESS_POWER_THROTTLING_STATE*>(information);
    if (process != GetCurrentProcess() || kind != ProcessPowerThrottling || bytes != sizeof(*state) ||
        state->Version != 1 || state->ControlMask != 4 || state->StateMask != 0) {
        Complain("SetProcessInformation with another state");
    }
    return Fails("SetProcessInformation") ? FALSE : TRUE;
}

HRESULT WINAPI EnterCom(void* reserved, DWORD kind) {
    const ScriptedResult scripted = CountCall("CoInitializeEx");
    const unsigned long bytes = std::strtoul(Value("starve-sound", "0").c_str(), nullptr, 10);
    if (bytes != 0 && kind == COINIT_MULTITHREADED) {
        starvedBytes = bytes;
        starvedThread = GetCurrentThreadId();
    }
    if (scripted.fails) {
        return static_cast<HRESULT>(scripted.code);
    }
    const HRESULT result = CoInitializeEx(reserved, kind);
    if (SUCCEEDED(result)) {
        OnComEntered();
    }
    return result;
}

/// Wine has no compositor that could leave the window out.
BOOL WINAPI SetAffinity(HWND window, DWORD affinity) {
    wchar_t name[64] = {};
    GetClassNameW(window, name, 64);
    const std::wstring text = name;
    Note("display affinity of " + std::string(text.begin(), text.end()) + " is " + std::to_string(affinity));
    return TRUE;
}

HRESULT WINAPI SetIdentity(const wchar_t* identity) {
    const std::wstring text = identity;
    Note("taskbar identity " + std::string(text.begin(), text.end()));
    // The taskbar uses the identity that was set before the first window.
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM) -> BOOL {
            wchar_t name[16] = {};
            GetClassNameW(window, name, 16);
            if (std::wcsncmp(name, L"ZV", 2) == 0) {
                Complain("a taskbar identity after a window");
            }
            return TRUE;
        },
        0);
    return S_OK;
}

/// Opens nothing.
HINSTANCE WINAPI OpenOnDesktop(HWND, const wchar_t* verb, const wchar_t* target, const wchar_t* arguments,
                               const wchar_t* folder, INT show) {
    if (std::wcscmp(verb, L"open") != 0 || arguments != nullptr || folder != nullptr || show != SW_SHOWNORMAL) {
        Complain("ShellExecuteW with other arguments");
    }
    const std::wstring text = target;
    Note("opened " + std::string(text.begin(), text.end()));
    constexpr INT_PTR opened = 33;
    const ScriptedResult scripted = CountCall("ShellExecuteW");
    return reinterpret_cast<HINSTANCE>(scripted.fails ? INT_PTR{scripted.code} : opened);
}

/// Fails while another menu is open, as in Windows but not in Wine.
BOOL WINAPI TrackMenu(HMENU menu, UINT flags, int x, int y, int reserved, HWND owner, const RECT* area) {
    static bool open = false;
    if (open) {
        SetLastError(ERROR_POPUP_ALREADY_ACTIVE);
        return FALSE;
    }
    open = true;
    const BOOL chosen = TrackPopupMenu(menu, flags, x, y, reserved, owner, area);
    open = false;
    return chosen;
}

// A paint of the main window begins with a query of its size. An aborted one ends in the system's default handling.

BOOL WINAPI GetSize(HWND window, RECT* size) {
    static unsigned paints = 0;
    wchar_t name[16] = {};
    GetClassNameW(window, name, 16);
    const auto [first, last] = TwoNumbers(Value("starve-paints", "0 0"));
    if (first != 0 && std::wcscmp(name, L"ZVReelsMainV3") == 0 && ++paints >= first && paints <= last) {
        starvedPaint = GetCurrentThreadId();
    }
    return GetClientRect(window, size);
}

LRESULT WINAPI HandleByDefault(HWND window, UINT code, WPARAM wParam, LPARAM lParam) {
    if (code == WM_PAINT && starvedPaint.exchange(0) != 0) {
        Note("a paint was aborted");
    }
    return DefWindowProcW(window, code, wParam, lParam);
}

// The table of imports

struct Import {
    const char* name;
    void* function;
};

const Import* ImportNamed(const char* name) {
    static const std::array<Import, 23> imports = {{
        {"malloc", reinterpret_cast<void*>(Allocate)},
        {"calloc", reinterpret_cast<void*>(AllocateZeroed)},
        {"realloc", reinterpret_cast<void*>(Reallocate)},
        {"CreateNamedPipeW", reinterpret_cast<void*>(MakePipe)},
        {"ConnectNamedPipe", reinterpret_cast<void*>(Connect)},
        {"CreateEventW", reinterpret_cast<void*>(MakeEvent)},
        {"CreateWaitableTimerExW", reinterpret_cast<void*>(MakePreciseTimer)},
        {"CreateWaitableTimerW", reinterpret_cast<void*>(MakeTimer)},
        {"WaitForSingleObject", reinterpret_cast<void*>(WaitForOne)},
        {"WaitForMultipleObjects", reinterpret_cast<void*>(WaitForSeveral)},
        {"timeBeginPeriod", reinterpret_cast<void*>(BeginFineTimer)},
        {"timeEndPeriod", reinterpret_cast<void*>(EndFineTimer)},
        {"SetProcessInformation", reinterpret_cast<void*>(SetProcess)},
        {"CoInitializeEx", reinterpret_cast<void*>(EnterCom)},
        {"CoUninitialize", reinterpret_cast<void*>(LeaveCom)},
        {"SHCreateItemFromParsingName", reinterpret_cast<void*>(MakeShellItem)},
        {"SetWindowDisplayAffinity", reinterpret_cast<void*>(SetAffinity)},
        {"SetCurrentProcessExplicitAppUserModelID", reinterpret_cast<void*>(SetIdentity)},
        {"ShellExecuteW", reinterpret_cast<void*>(OpenOnDesktop)},
        {"TrackPopupMenu", reinterpret_cast<void*>(TrackMenu)},
        {"GetClientRect", reinterpret_cast<void*>(GetSize)},
        {"DefWindowProcW", reinterpret_cast<void*>(HandleByDefault)},
        {"_wstat64", reinterpret_cast<void*>(windows::StatOfEntry)},
    }};
    const auto* found = std::find_if(imports.begin(), imports.end(),
                                     [name](const Import& import) { return std::strcmp(import.name, name) == 0; });
    return found == imports.end() ? nullptr : found;
}

void Replace(void** slot, void* function) {
    DWORD before = 0;
    VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &before);
    *slot = function;
    VirtualProtect(slot, sizeof(*slot), before, &before);
}

/// The program's image in memory.
class Image {
public:
    Image() : base_(reinterpret_cast<std::byte*>(GetModuleHandleW(nullptr))) {}

    template <class Record>
    Record* At(std::size_t offset) const {
        return reinterpret_cast<Record*>(base_ + offset);
    }
    const IMAGE_IMPORT_DESCRIPTOR* Imports() const {
        const auto* headers = At<IMAGE_NT_HEADERS64>(static_cast<std::size_t>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
        return At<IMAGE_IMPORT_DESCRIPTOR>(
            headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    }

private:
    std::byte* base_;
};

void ReplaceImportsOf(const Image& image, const IMAGE_IMPORT_DESCRIPTOR& library) {
    const auto* names = image.At<IMAGE_THUNK_DATA64>(library.OriginalFirstThunk);
    void** slots = image.At<void*>(library.FirstThunk);
    for (; names->u1.AddressOfData != 0; ++names, ++slots) {
        if (IMAGE_SNAP_BY_ORDINAL64(names->u1.Ordinal)) {
            continue;
        }
        const auto* byName = image.At<IMAGE_IMPORT_BY_NAME>(names->u1.AddressOfData);
        if (const Import* import = ImportNamed(reinterpret_cast<const char*>(byName->Name))) {
            Replace(slots, import->function);
        }
    }
}

}  // namespace

void WatchImports() {
    starvedThread = 0;
    countedThread = 0;
    static bool replaced = false;
    if (std::exchange(replaced, true)) {
        return;
    }
    BeginComChecks();
    const Image image;
    for (const IMAGE_IMPORT_DESCRIPTOR* library = image.Imports(); library->Name != 0; ++library) {
        ReplaceImportsOf(image, *library);
    }
}

void Round(unsigned number) {
    const auto [first, last] = TwoNumbers(Value("count", "0 0"));
    if (number == first) {
        requests = 0;
        countedThread = GetCurrentThreadId();
    } else if (number == last) {
        countedThread = 0;
        Note("allocated memory " + std::to_string(requests) + " times in " + std::to_string(last - first) + " rounds");
    }
    const auto [round, bytes] = TwoNumbers(Value("starve", "0 0"));
    if (number == round) {
        starvedBytes = bytes;
        starvedThread = GetCurrentThreadId();
    }
}

}  // namespace zv::drivers
