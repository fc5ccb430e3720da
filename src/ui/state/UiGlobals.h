// The state that the windows share. Owned by the interface thread.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <stop_token>
#include <vector>

#include "capture/CaptureEngine.h"
#include "core/Text.h"
#include "feeds/Recommendations.h"
#include "feeds/UpdateCheck.h"
#include "library/LibraryScan.h"
#include "library/Thumbnails.h"
#include "platform/AppIcon.h"
#include "platform/AudioDevices.h"
#include "platform/CommandOutcome.h"
#include "platform/MediaPlayer.h"
#include "platform/Window.h"
#include "ui/kit/UiState.h"
#include "ui/state/FutureSlot.h"
#include "ui/state/Toast.h"

namespace zv {

/// The owner of what lives as long as the program. The start creates the windows, the shutdown releases them in its own
/// order.
struct ProgramWindows {
    Owned<AppIcon> bigIcon;
    Owned<AppIcon> smallIcon;
    Owned<AppWindow> main;
    Owned<AppWindow> overlay;
    Owned<AppWindow> badge;
    Owned<AppWindow> toast;
};

/// The engine's jobs and what the last of them reported.
struct CaptureRecord {
    FutureSlot<Text> captureJobSlot;  ///< the text to show
    FutureSlot<CapturePollResult> capturePollSlot;
    std::int32_t secondsReady = 0;        ///< in the replay buffer at the last collected poll
    bool slownessReported = false;        ///< of the running capture
    std::int64_t recordingStartTime = 0;  ///< SteadyNs() at the latest recording command
    bool displayChangePending = false;
    CommandReply captureReply;  ///< of the remote command that has started the job; else empty
};

struct ScreenshotRecord {
    FutureSlot<Text> screenshotSlot;  ///< the text to show
    bool reopenOverlayAfterScreenshot = false;
    CommandReply screenshotReply;  ///< as captureReply
};

struct LibraryRecord {
    FutureSlot<MediaResult> mediaRefreshSlot;
    MediaResult found;          ///< by the last collected scan, which replaces it as a whole
    bool refreshAgain = false;  ///< a scan was requested while one runs
    FutureSlot<std::vector<KeyedThumbnail>> thumbnailSlot;
    std::map<Text, std::shared_ptr<MediaThumbnail>> thumbnailCache;  ///< by ThumbnailKey
};

/// The feeds of the publisher. Each result stays until the next one replaces it as a whole.
struct FeedsRecord {
    FutureSlot<std::vector<Recommendation>> recommendationsSlot;
    FutureSlot<PublishedUpdate> updateSlot;
    std::vector<Recommendation> recommendations;
    PublishedUpdate update;                 ///< all empty: not checked yet
    bool recommendationsRequested = false;  ///< the page has been drawn in this session
};

struct GalleryRecord {
    std::int32_t galleryFilter = 0;      ///< 0 all, 1 replays, 2 screenshots, 3 recordings
    std::int32_t galleryFirstIndex = 0;  ///< of the filtered captures
    Text galleryGame;                    ///< empty: all games
};

/// What the player of one session has reported. Shared with the player's thread.
struct PlayerReport {
    std::mutex lock;
    bool current = true;  ///< false: the session has ended, events are ignored
    Result failure = resultOk;
};

struct ViewerImage {
    std::uint32_t viewerGeneration = 0;     ///< of the session that requested it
    std::shared_ptr<MediaThumbnail> image;  ///< without a picture on failure
};

/// The file that the media viewer shows, from OpenMediaViewer to CloseMediaViewer.
struct ViewerSession {
    MediaFile viewerFile;
    std::uint32_t viewerGeneration = 0;  ///< number of CloseMediaViewer calls
    Owned<AppWindow> videoWindow;        ///< of a video; outlives the player
    Owned<MediaPlayer> player;           ///< null: no video, or none that could be opened
    std::shared_ptr<PlayerReport> report;
    std::shared_ptr<MediaThumbnail> viewerImage;  ///< null: no image, or not yet loaded
    FutureSlot<ViewerImage> viewerImageSlot;
    Text viewerError;  ///< empty: none
    bool viewerFullscreen = false;
    float viewerVolume = 0.6F;  ///< 0 to 1; kept between files
};

struct SoundDevicesRecord {
    FutureSlot<std::vector<AudioDeviceName>> listSlot;
    std::vector<AudioDeviceName> devices;  ///< of the last collected list
    bool known = false;                    ///< a list has been collected
    std::uint64_t collectedAt = 0;         ///< TickMs()
};

struct BadgeRecord {
    std::uint32_t badgeState = ~0U;   ///< a BadgeState, as painted last; all ones before the first paint
    std::uint32_t processId = 0;      ///< the process in front at the last decision
    bool processIsKnownGame = false;  ///< whether that process is a known game
};

inline constexpr int noShortcut = -1;

struct ShortcutEditorRecord {
    Owned<AppWindow> window;  ///< null while no editor is open
    int index = noShortcut;   ///< the action that is edited
    bool hasKeyboard = false;
    Text error;  ///< why the last rebinding was refused
};

enum class ProgramPhase {
    Running,
    Closing,  ///< the main window is being destroyed or has been: no capture job starts
    Ended     ///< every job has ended, the settings are saved
};

struct UiGlobals {
    ProgramPhase phase = ProgramPhase::Running;

    // The windows of `programWindows`, each from its creation to its end, and null otherwise.
    AppWindow* mainWindow = nullptr;
    AppWindow* overlayWindow = nullptr;
    AppWindow* badgeWindow = nullptr;
    AppWindow* toastWindow = nullptr;
    ProgramWindows programWindows;

    bool mainWindowPutAway = false;  ///< hidden, or minimized while there is no notification icon that shows it

    // The windows of pages.
    UiState mainState;
    UiState overlayState;
    std::int32_t desktopPage = 0;       ///< a value of desktopPage
    std::int32_t overlayPage = 0;       ///< a value of overlayPage; any other shows the gallery
    std::int32_t settingsSection = -1;  ///< -1 all of them, else 0 to 8
    bool replayPopoverOpen = false;
    std::uint32_t overlaySignature = ~0U;   ///< of the overlay's last paint
    std::uint64_t lastOverlayActivity = 0;  ///< TickMs(); nothing reads it

    Text statusText = u"Ready";  ///< the status line; the engine has one of its own
    Text gameName = u"Desktop";  ///< only RefreshGameName changes it
    Text monitorLabel;           ///< empty: not looked up
    std::array<bool, 4> hotkeyRegistered{};
    std::array<bool, 4> busyHotkeyPending{};  ///< the notification has not been shown yet

    std::stop_source pictureStop;  ///< of all jobs that read pictures; requested at the end of the program

    CaptureRecord capture;
    ScreenshotRecord screenshot;
    LibraryRecord library;
    FeedsRecord feeds;
    GalleryRecord gallery;
    ViewerSession viewer;
    SoundDevicesRecord soundDevices;
    Toast toast;  ///< the notification that was shown last
    BadgeRecord badge;
    ShortcutEditorRecord shortcutEditor;
};

/// The one record of the process.
UiGlobals& Ui();

/// Repaints the main window and the overlay, as far as they exist.
void InvalidatePages();

}  // namespace zv
