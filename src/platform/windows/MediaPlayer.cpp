// The media player of Media Foundation. Its library is loaded when the first file is opened, because some editions of
// Windows come without it.
//
// The player calls its callback from the interface thread's message loop, or from a thread of its own, until it has
// been shut down, and releases it some time later.
#include "platform/MediaPlayer.h"

#include <atomic>
#include <utility>

#include "platform/windows/SdkMediaPlayer.h"
#include "platform/windows/SystemLibrary.h"
#include "platform/windows/WindowHandle.h"

namespace zv {

static_assert(static_cast<int>(PlayerState::Empty) == MFP_MEDIAPLAYER_STATE_EMPTY &&
              static_cast<int>(PlayerState::Stopped) == MFP_MEDIAPLAYER_STATE_STOPPED &&
              static_cast<int>(PlayerState::Playing) == MFP_MEDIAPLAYER_STATE_PLAYING &&
              static_cast<int>(PlayerState::Paused) == MFP_MEDIAPLAYER_STATE_PAUSED &&
              static_cast<int>(PlayerState::Shutdown) == MFP_MEDIAPLAYER_STATE_SHUTDOWN);

struct MediaPlayer {
    HWND window = nullptr;
    Com<IMFPMediaPlayer> player;
};

namespace {

// No interface of the system has a virtual destructor.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

class ViewerCallback final : public IMFPMediaPlayerCallback {
public:
    explicit ViewerCallback(PlayerEvent onEvent) : onEvent_(std::move(onEvent)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        if (id != __uuidof(IUnknown) && id != __uuidof(IMFPMediaPlayerCallback)) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = this;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    /// Exceptions must not cross the system's frames.
    void STDMETHODCALLTYPE OnMediaPlayerEvent(MFP_EVENT_HEADER* header) override {
        try {
            onEvent_(header->hrEvent);
        } catch (...) {
        }
    }

private:
    ~ViewerCallback() = default;

    std::atomic<ULONG> references_ = 1;
    PlayerEvent onEvent_;
};

#pragma GCC diagnostic pop

using CreatePlayer = decltype(MFPCreateMediaPlayer);
using ReadTime = HRESULT (STDMETHODCALLTYPE IMFPMediaPlayer::*)(REFGUID, PROPVARIANT*);

/// Returns 0 if the player fails or answers with another type than an integer of 64 bits.
std::int64_t TimeOf(MediaPlayer& player, ReadTime read) {
    PROPVARIANT value{};
    if (FAILED((player.player.Get()->*read)(GUID_NULL, &value))) {
        return 0;
    }
    const bool known = value.vt == VT_I8 || value.vt == VT_UI8;
    const std::int64_t time = known ? value.hVal.QuadPart : 0;
    PropVariantClear(&value);
    return time;
}

void FillBlack(HWND window) {
    RECT client{};
    GetClientRect(window, &client);
    if (const HDC context = GetDC(window)) {
        FillRect(context, &client, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
        ReleaseDC(window, context);
    }
}

}  // namespace

template <>
void Closer<MediaPlayer>::operator()(MediaPlayer* player) const noexcept {
    if (player->player) {
        player->player->Shutdown();
    }
    delete player;
}

Owned<MediaPlayer> OpenMediaPlayer(const Text& path, AppWindow& video, PlayerEvent onEvent) {
    static const auto create = SystemFunction<CreatePlayer>(L"mfplay.dll", "MFPCreateMediaPlayer");
    if (create == nullptr) {
        return nullptr;
    }
    Owned<MediaPlayer> made(new MediaPlayer{video.handle, {}});
    const Com<ViewerCallback> callback(new ViewerCallback(std::move(onEvent)));
    const HRESULT result =
        create(Native(path), TRUE, MFP_OPTION_NONE, callback.Get(), video.handle, made->player.Out());
    return SUCCEEDED(result) && made->player ? std::move(made) : nullptr;
}

void PlayMedia(MediaPlayer& player) { player.player->Play(); }

void PauseMedia(MediaPlayer& player) { player.player->Pause(); }

PlayerState MediaState(MediaPlayer& player) {
    MFP_MEDIAPLAYER_STATE state{};
    return SUCCEEDED(player.player->GetState(&state)) ? static_cast<PlayerState>(state) : PlayerState::Empty;
}

std::int64_t MediaPosition(MediaPlayer& player) { return TimeOf(player, &IMFPMediaPlayer::GetPosition); }

std::int64_t MediaDuration(MediaPlayer& player) { return TimeOf(player, &IMFPMediaPlayer::GetDuration); }

bool SeekMedia(MediaPlayer& player, std::int64_t position) {
    PROPVARIANT value{};
    value.vt = VT_I8;
    value.hVal.QuadPart = position;
    return SUCCEEDED(player.player->SetPosition(GUID_NULL, &value));
}

void SetMediaVolume(MediaPlayer& player, float volume) { player.player->SetVolume(volume); }

void UpdateVideo(MediaPlayer& player) {
    if (FAILED(player.player->UpdateVideo())) {
        FillBlack(player.window);
    }
}

}  // namespace zv
