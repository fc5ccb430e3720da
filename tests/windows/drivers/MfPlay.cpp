// mfplay.dll: the system's media player. It plays nothing, but its position advances with the clock, and it fills the
// window with videoColor. Entries for "fail" and "delay": MFPCreateMediaPlayer and the methods of IMFPMediaPlayer. As
// in Windows, a file is opened after the creation: until then the state is empty, the duration is 0, and SetPosition
// and UpdateVideo fail; a change of the state is visible only some time after its call. Values:
//   set duration UNITS       in units of 100 ns, 30 s unless set
//   set open MS              the time until the file is open, 50 unless set
//   set late MS              the time until a change of the state is visible, 50 unless set
//   set broken CODE          an event with CODE (hexadecimal) instead of an open file
//   set breaks MS CODE       the same after playing for so long; the player stops
//   set type NUMBER          the type of the variants for position and duration, 20 (VT_I8) unless set
//   set thread own           events come from a thread of the player, otherwise from the message loop
//   set farewell CODE        Shutdown sends an event with CODE, and another one comes from another thread 200 ms later
// Notes report calls that change something, and states when they become visible.
//
// It complains about other parameters than the program's, calls from another thread than the creator's, calls after
// Shutdown, a missing Shutdown, a window or a callback that ends before, a callback that the program still holds, and
// one that does not answer as COM demands.
#include <windows.h>

#include <mfplay.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <thread>

#include "windows/drivers/ComWatch.h"

namespace zv::drivers {
namespace {

constexpr HRESULT invalidRequest = static_cast<HRESULT>(0xC00D36B2);
constexpr HRESULT isShutDown = static_cast<HRESULT>(0xC00D3E85);
constexpr COLORREF videoColor = RGB(20, 120, 200);
constexpr UINT pollMs = 10;
constexpr wchar_t hiddenClass[] = L"ZVTestMediaPlayer";

std::int64_t NumberOf(const char* name, const char* fallback, int base = 10) {
    return std::strtoll(Value(name, fallback).c_str(), nullptr, base);
}

class Player;
LRESULT CALLBACK HiddenProc(HWND window, UINT code, WPARAM wParam, LPARAM lParam);

/// A message window on the creator's thread. Its timer is what advances the player.
HWND MakeHiddenWindow(Player* player) {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = HiddenProc;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = hiddenClass;
    RegisterClassW(&windowClass);
    const HWND window =
        CreateWindowExW(0, hiddenClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, windowClass.hInstance, nullptr);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(player));
    SetTimer(window, 1, pollMs, nullptr);
    return window;
}

void Send(IMFPMediaPlayerCallback* callback, MFP_EVENT_TYPE type, HRESULT result, MFP_MEDIAPLAYER_STATE state) {
    MFP_EVENT_HEADER header{};
    header.eEventType = type;
    header.hrEvent = result;
    header.eState = state;
    callback->OnMediaPlayerEvent(&header);
}

/// Sends an event from another thread after some time, and then releases the callback.
void SendLater(IMFPMediaPlayerCallback* callback, MFP_EVENT_TYPE type, HRESULT result, MFP_MEDIAPLAYER_STATE state,
               DWORD delayMs) {
    callback->AddRef();
    std::thread([=] {
        Sleep(delayMs);
        Send(callback, type, result, state);
        callback->Release();
    }).detach();
}

void CheckCallback(IMFPMediaPlayerCallback* callback) {
    void* face = nullptr;
    for (const IID& id : {__uuidof(IUnknown), __uuidof(IMFPMediaPlayerCallback)}) {
        if (FAILED(callback->QueryInterface(id, &face)) || face == nullptr) {
            Complain("the callback does not implement " + TextOfId(id));
        } else {
            static_cast<IUnknown*>(face)->Release();
        }
    }
    face = callback;
    if (callback->QueryInterface(__uuidof(IMFPMediaPlayer), &face) != E_NOINTERFACE || face != nullptr) {
        Complain("the callback implements the player");
    }
}

class Player final : public ComObject<IMFPMediaPlayer> {
public:
    Player(std::wstring path, IMFPMediaPlayerCallback* callback, HWND window)
        : ComObject("IMFPMediaPlayer"), path_(std::move(path)), callback_(callback), window_(window) {
        callback_->AddRef();
        hidden_ = MakeHiddenWindow(this);
    }
    ~Player() override {
        if (!shutDown_) {
            Complain("the player was released without Shutdown");
            End();
        }
    }

    /// Called by the timer.
    void Advance() {
        const std::uint64_t now = GetTickCount64();
        if (!opened_ && now >= openAt_) {
            Open();
        }
        if (next_ != state_ && now >= nextAt_) {
            Show(next_);
            Notify(state_ == MFP_MEDIAPLAYER_STATE_PLAYING ? MFP_EVENT_TYPE_PLAY : MFP_EVENT_TYPE_PAUSE, S_OK);
        }
        if (state_ == MFP_MEDIAPLAYER_STATE_PLAYING && !shutDown_) {
            Continue(now);
        }
    }

    HRESULT STDMETHODCALLTYPE Play() override { return Change("Play", MFP_MEDIAPLAYER_STATE_PLAYING); }
    HRESULT STDMETHODCALLTYPE Pause() override { return Change("Pause", MFP_MEDIAPLAYER_STATE_PAUSED); }

    HRESULT STDMETHODCALLTYPE SetPosition(REFGUID type, const PROPVARIANT* value) override {
        if (const HRESULT answer = Enter("SetPosition"); answer != S_OK) {
            return answer;
        }
        if (type != GUID_NULL || value == nullptr || value->vt != VT_I8) {
            Complain("SetPosition with another type");
            return E_INVALIDARG;
        }
        if (!opened_) {
            return invalidRequest;
        }
        if (value->hVal.QuadPart < 0 || value->hVal.QuadPart > duration_) {
            Complain("SetPosition outside the file");
        }
        Note("SetPosition " + std::to_string(value->hVal.QuadPart));
        position_ = value->hVal.QuadPart;
        since_ = GetTickCount64();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetPosition(REFGUID type, PROPVARIANT* value) override {
        return Time("GetPosition", type, value, opened_ ? Position() : 0);
    }
    HRESULT STDMETHODCALLTYPE GetDuration(REFGUID type, PROPVARIANT* value) override {
        return Time("GetDuration", type, value, opened_ ? duration_ : 0);
    }
    HRESULT STDMETHODCALLTYPE GetState(MFP_MEDIAPLAYER_STATE* state) override {
        const HRESULT answer = Enter("GetState");
        if (answer == S_OK) {
            *state = state_;
        }
        return answer;
    }
    HRESULT STDMETHODCALLTYPE SetVolume(float volume) override {
        if (const HRESULT answer = Enter("SetVolume"); answer != S_OK) {
            return answer;
        }
        if (!(volume >= 0 && volume <= 1)) {
            Complain("SetVolume outside 0 to 1");
        }
        Note("SetVolume " + std::to_string(static_cast<int>(volume * 100 + 0.5F)));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE UpdateVideo() override {
        if (const HRESULT answer = Enter("UpdateVideo"); answer != S_OK) {
            return answer;
        }
        if (!opened_) {
            return invalidRequest;
        }
        RECT client{};
        GetClientRect(window_, &client);
        const HDC context = GetDC(window_);
        SetDCBrushColor(context, videoColor);
        FillRect(context, &client, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
        ReleaseDC(window_, context);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Shutdown() override {
        const HRESULT answer = Enter("Shutdown");
        Note("Shutdown");
        if (IsWindow(window_) == FALSE) {
            Complain("Shutdown after the end of the window");
        }
        const std::string farewell = Value("farewell", "");
        if (!farewell.empty()) {
            const auto code = static_cast<HRESULT>(std::strtoul(farewell.c_str(), nullptr, 16));
            Send(callback_, MFP_EVENT_TYPE_ERROR, code, state_);
            SendLater(callback_, MFP_EVENT_TYPE_ERROR, code, state_, 200);
        }
        End();
        return answer;
    }

    // The program uses none of these.
    HRESULT STDMETHODCALLTYPE Stop() override { return Unknown("Stop"); }
    HRESULT STDMETHODCALLTYPE FrameStep() override { return Unknown("FrameStep"); }
    HRESULT STDMETHODCALLTYPE SetRate(float) override { return Unknown("SetRate"); }
    HRESULT STDMETHODCALLTYPE GetRate(float*) override { return Unknown("GetRate"); }
    HRESULT STDMETHODCALLTYPE GetSupportedRates(WINBOOL, float*, float*) override {
        return Unknown("GetSupportedRates");
    }
    HRESULT STDMETHODCALLTYPE CreateMediaItemFromURL(LPCWSTR, WINBOOL, DWORD_PTR, IMFPMediaItem**) override {
        return Unknown("CreateMediaItemFromURL");
    }
    HRESULT STDMETHODCALLTYPE CreateMediaItemFromObject(IUnknown*, WINBOOL, DWORD_PTR, IMFPMediaItem**) override {
        return Unknown("CreateMediaItemFromObject");
    }
    HRESULT STDMETHODCALLTYPE SetMediaItem(IMFPMediaItem*) override { return Unknown("SetMediaItem"); }
    HRESULT STDMETHODCALLTYPE ClearMediaItem() override { return Unknown("ClearMediaItem"); }
    HRESULT STDMETHODCALLTYPE GetMediaItem(IMFPMediaItem**) override { return Unknown("GetMediaItem"); }
    HRESULT STDMETHODCALLTYPE GetVolume(float*) override { return Unknown("GetVolume"); }
    HRESULT STDMETHODCALLTYPE GetBalance(float*) override { return Unknown("GetBalance"); }
    HRESULT STDMETHODCALLTYPE SetBalance(float) override { return Unknown("SetBalance"); }
    HRESULT STDMETHODCALLTYPE GetMute(WINBOOL*) override { return Unknown("GetMute"); }
    HRESULT STDMETHODCALLTYPE SetMute(WINBOOL) override { return Unknown("SetMute"); }
    HRESULT STDMETHODCALLTYPE GetNativeVideoSize(SIZE*, SIZE*) override { return Unknown("GetNativeVideoSize"); }
    HRESULT STDMETHODCALLTYPE GetIdealVideoSize(SIZE*, SIZE*) override { return Unknown("GetIdealVideoSize"); }
    HRESULT STDMETHODCALLTYPE SetVideoSourceRect(const MFVideoNormalizedRect*) override {
        return Unknown("SetVideoSourceRect");
    }
    HRESULT STDMETHODCALLTYPE GetVideoSourceRect(MFVideoNormalizedRect*) override {
        return Unknown("GetVideoSourceRect");
    }
    HRESULT STDMETHODCALLTYPE SetAspectRatioMode(DWORD) override { return Unknown("SetAspectRatioMode"); }
    HRESULT STDMETHODCALLTYPE GetAspectRatioMode(DWORD*) override { return Unknown("GetAspectRatioMode"); }
    HRESULT STDMETHODCALLTYPE GetVideoWindow(HWND*) override { return Unknown("GetVideoWindow"); }
    HRESULT STDMETHODCALLTYPE SetBorderColor(COLORREF) override { return Unknown("SetBorderColor"); }
    HRESULT STDMETHODCALLTYPE GetBorderColor(COLORREF*) override { return Unknown("GetBorderColor"); }
    HRESULT STDMETHODCALLTYPE InsertEffect(IUnknown*, WINBOOL) override { return Unknown("InsertEffect"); }
    HRESULT STDMETHODCALLTYPE RemoveEffect(IUnknown*) override { return Unknown("RemoveEffect"); }
    HRESULT STDMETHODCALLTYPE RemoveAllEffects() override { return Unknown("RemoveAllEffects"); }

private:
    /// The code that a call must return at once, or 0.
    HRESULT Enter(const char* call) const {
        if (GetCurrentThreadId() != thread_) {
            Complain(std::string(call) + " from a second thread");
        }
        if (shutDown_) {
            Complain(std::string(call) + " after Shutdown");
            return isShutDown;
        }
        const ScriptedResult scripted = CountCall(call);
        return scripted.fails ? scripted.code : S_OK;
    }

    HRESULT Change(const char* call, MFP_MEDIAPLAYER_STATE state) {
        if (const HRESULT answer = Enter(call); answer != S_OK) {
            return answer;
        }
        Note(call);
        if (!opened_) {
            // The file plays, or not, once it is open.
            start_ = state;
            return S_OK;
        }
        next_ = state;
        nextAt_ = GetTickCount64() + static_cast<std::uint64_t>(NumberOf("late", "50"));
        return S_OK;
    }

    HRESULT Time(const char* call, REFGUID type, PROPVARIANT* value, std::int64_t time) const {
        if (const HRESULT answer = Enter(call); answer != S_OK) {
            return answer;
        }
        if (type != GUID_NULL || value == nullptr || value->vt != VT_EMPTY) {
            Complain(std::string(call) + " with another type, or a variant with a value");
            return E_INVALIDARG;
        }
        value->vt = static_cast<VARTYPE>(NumberOf("type", "20"));
        value->hVal.QuadPart = time;
        return S_OK;
    }

    std::int64_t Position() const {
        const bool plays = state_ == MFP_MEDIAPLAYER_STATE_PLAYING;
        const std::int64_t played = plays ? static_cast<std::int64_t>(GetTickCount64() - since_) * 10000 : 0;
        return std::min(position_ + played, duration_);
    }

    void Show(MFP_MEDIAPLAYER_STATE state) {
        position_ = Position();
        since_ = GetTickCount64();
        state_ = state;
        Note("state " + std::to_string(state));
    }

    /// Fails if the file is missing or the script says so.
    void Open() {
        openAt_ = ~std::uint64_t{0};
        const bool missing = GetFileAttributesW(path_.c_str()) == INVALID_FILE_ATTRIBUTES;
        const auto broken = static_cast<HRESULT>(NumberOf("broken", "0", 16));
        const HRESULT result = missing ? HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) : broken;
        opened_ = SUCCEEDED(result);
        if (opened_) {
            duration_ = NumberOf("duration", "300000000");
            next_ = start_;
            nextAt_ = GetTickCount64() + static_cast<std::uint64_t>(NumberOf("late", "50"));
            InvalidateRect(window_, nullptr, FALSE);
        }
        Notify(MFP_EVENT_TYPE_MEDIAITEM_SET, result);
    }

    void Continue(std::uint64_t now) {
        const std::string value = Value("breaks", "");
        char* rest = nullptr;
        const std::uint64_t breaksAfter = std::strtoull(value.c_str(), &rest, 10);
        if (!value.empty() && now - since_ >= breaksAfter) {
            next_ = MFP_MEDIAPLAYER_STATE_STOPPED;
            Show(next_);
            Notify(MFP_EVENT_TYPE_ERROR, static_cast<HRESULT>(std::strtoul(rest, nullptr, 16)));
        } else if (Position() >= duration_) {
            next_ = MFP_MEDIAPLAYER_STATE_STOPPED;
            Show(next_);
            Notify(MFP_EVENT_TYPE_PLAYBACK_ENDED, S_OK);
        }
    }

    void Notify(MFP_EVENT_TYPE type, HRESULT result) {
        if (Value("thread", "") == "own") {
            SendLater(callback_, type, result, state_, 0);
        } else {
            Send(callback_, type, result, state_);
        }
    }

    void End() {
        shutDown_ = true;
        DestroyWindow(hidden_);
        const bool alone = Value("farewell", "").empty() && Value("thread", "").empty();
        callback_->AddRef();
        if (callback_->Release() != 1 && alone) {
            Complain("the program still holds the callback");
        }
        callback_->Release();
    }

    std::wstring path_;
    IMFPMediaPlayerCallback* callback_;
    HWND window_;
    HWND hidden_ = nullptr;
    DWORD thread_ = GetCurrentThreadId();
    bool shutDown_ = false;
    bool opened_ = false;
    std::uint64_t openAt_ = GetTickCount64() + static_cast<std::uint64_t>(NumberOf("open", "50"));
    MFP_MEDIAPLAYER_STATE state_ = MFP_MEDIAPLAYER_STATE_EMPTY;
    MFP_MEDIAPLAYER_STATE start_ = MFP_MEDIAPLAYER_STATE_PLAYING;
    MFP_MEDIAPLAYER_STATE next_ = MFP_MEDIAPLAYER_STATE_EMPTY;  ///< the state from nextAt_ on
    std::uint64_t nextAt_ = 0;
    std::int64_t duration_ = 0;
    std::int64_t position_ = 0;  ///< at since_
    std::uint64_t since_ = 0;
};

LRESULT CALLBACK HiddenProc(HWND window, UINT code, WPARAM wParam, LPARAM lParam) {
    if (code == WM_TIMER) {
        auto* player = reinterpret_cast<Player*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        player->AddRef();
        player->Advance();
        player->Release();
        return 0;
    }
    return DefWindowProcW(window, code, wParam, lParam);
}

void CheckCreation(LPCWSTR path, WINBOOL start, MFP_CREATION_OPTIONS options, HWND window) {
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    if (FAILED(CoGetApartmentType(&type, &qualifier)) || (type != APTTYPE_STA && type != APTTYPE_MAINSTA)) {
        Complain("MFPCreateMediaPlayer outside a single-threaded apartment");
    }
    if (path == nullptr || start == FALSE || options != MFP_OPTION_NONE) {
        Complain("MFPCreateMediaPlayer without a path, without a start, or with options");
    }
    wchar_t name[64] = {};
    GetClassNameW(window, name, 64);
    if (std::wstring(name) != L"ZVInternalVideo317" ||
        GetWindowThreadProcessId(window, nullptr) != GetCurrentThreadId()) {
        Complain("MFPCreateMediaPlayer with another window");
    }
}

}  // namespace
}  // namespace zv::drivers

using namespace zv::drivers;

extern "C" HRESULT WINAPI MFPCreateMediaPlayer(LPCWSTR path, WINBOOL start, MFP_CREATION_OPTIONS options,
                                               IMFPMediaPlayerCallback* callback, HWND window,
                                               IMFPMediaPlayer** player) {
    ReadScript();
    CheckCreation(path, start, options, window);
    if (callback == nullptr || player == nullptr) {
        Complain("MFPCreateMediaPlayer without a callback or an output pointer");
        return E_INVALIDARG;
    }
    *player = nullptr;
    CheckCallback(callback);
    const ScriptedResult scripted = CountCall("MFPCreateMediaPlayer");
    if (scripted.fails) {
        return scripted.code;
    }
    const std::wstring name = path;
    Note("MFPCreateMediaPlayer " + std::string(name.begin(), name.end()));
    *player = new Player(name, callback, window);
    return S_OK;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        NameModule("mfplay");
    }
    if (reason == DLL_PROCESS_DETACH) {
        if (const std::string left = LiveObjects(); !left.empty()) {
            Complain("the process ended with these held: " + left);
        }
        Note("ends");
    }
    return TRUE;
}
