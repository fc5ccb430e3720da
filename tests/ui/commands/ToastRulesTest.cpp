// The words that trigger each rule, the order of the rules, all sentences of the program, and the notification's
// bounds.
#include "ui/commands/ToastRules.h"

#include <gmock/gmock.h>

#include <iterator>
#include <ostream>
#include <span>

#include "platform/Files.h"

namespace zv {

void PrintTo(const Toast& toast, std::ostream* out) {
    *out << ToPath(toast.text) << " / " << static_cast<int>(toast.kind);
}

namespace {

using testing::IsEmpty;

struct StatusRow {
    TextView status;
    TextView text;
    ToastKind kind = ToastKind::Replay;
};

constexpr TextView attention = u"Capture needs attention - check Status";
constexpr TextView paused = u"Instant replay is paused";
constexpr TextView warmingUp = u"Replay is warming up - try again shortly";
constexpr TextView busy = u"Capture is busy - please wait";
constexpr TextView tooSlow = u"Capture is too slow - lower quality in Settings";
constexpr TextView notAvailable = u"This feature is not available";
constexpr TextView stopFirst = u"Stop recording before changing capture settings";
constexpr TextView runtimeMissing = u"Capture runtime missing - check Status";
constexpr TextView none = u"";

void ExpectToasts(std::span<const StatusRow> rows) {
    for (const StatusRow& row : rows) {
        EXPECT_EQ(ToastTextForStatus(row.status), (Toast{Text(row.text), row.kind})) << ToPath(row.status);
    }
}

/// One status for each rule, in the order of the rules, which no other rule matches.
constexpr StatusRow samples[] = {
    {u"Screenshot saved: a.png", u"Screenshot saved", ToastKind::Camera},
    {u"The Recording saved a", u"Recording saved", ToastKind::Record},
    {u"The Replay saved a", u"Clip saved"},
    {u"The Clip saved a", u"Clip saved"},
    {u"The Recording started a", u"Recording has started", ToastKind::Record},
    {u"This has failed now", attention},
    {u"This is paused now", paused},
    {u"This is warming up now", warmingUp},
    {u"A job is in progress now", busy},
    {u"The speed check is over", tooSlow},
    {u"This is not available here", notAvailable},
    {u"Do stop that before this", stopFirst},
    {u"A file is missing here", runtimeMissing},
};

TEST(ToastRules, EveryRuleHasItsTextAndIcon) { ExpectToasts(samples); }

TEST(ToastRules, EachOfARulesWordsMatches) {
    const StatusRow rows[] = {
        {u"it could not be", attention}, {u"it cannot be", attention},  {u"an error there", attention},
        {u"the replay stopped", paused}, {u"please wait for it", busy},
    };
    ExpectToasts(rows);
}

TEST(ToastRules, TheFirstOfTwoMatchingRulesWins) {
    for (std::size_t first = 0; first < std::size(samples); ++first) {
        for (std::size_t second = first + 1; second < std::size(samples); ++second) {
            const Text before = Text(samples[first].status) + u" " + Text(samples[second].status);
            const Text after = Text(samples[second].status) + u" " + Text(samples[first].status);
            const Toast expected{Text(samples[first].text), samples[first].kind};
            EXPECT_EQ(ToastTextForStatus(before), expected) << ToPath(before);
            if (first > 0) {  // whose words have to stand at the beginning
                EXPECT_EQ(ToastTextForStatus(after), expected) << ToPath(after);
            }
        }
    }
}

TEST(ToastRules, SavedAndStartedAreMatchedInTheirOwnCaseOnly) {
    const StatusRow rows[] = {
        {u"screenshot saved: a.png", none},
        {u"recording saved: a.mp4", none},
        {u"REPLAY SAVED", none},
        {u"clip saved", none},
        {u"recording Started", none},
    };
    ExpectToasts(rows);
}

TEST(ToastRules, TheOtherWordsAreMatchedInAnyCase) {
    const StatusRow rows[] = {
        {u"IT FAILED", attention},
        {u"Could Not", attention},
        {u"Cannot", attention},
        {u"ERROR", attention},
        {u"PAUSED", paused},
        {u"Replay Stopped", paused},
        {u"Warming Up", warmingUp},
        {u"In PROGRESS", busy},
        {u"Please Wait", busy},
        {u"Speed Check", tooSlow},
        {u"Not Available", notAvailable},
        {u"STOP it BEFORE that", stopFirst},
        {u"MISSING", runtimeMissing},
    };
    ExpectToasts(rows);
}

TEST(ToastRules, AScreenshotIsSavedOnlyWithTheColonAndAtTheBeginning) {
    const StatusRow rows[] = {
        {u"Screenshot saved", none},
        {u"Screenshot saved to a.png", none},
        {u" Screenshot saved: a.png", none},
        {u"The Screenshot saved: a.png", none},
        {u"Screenshot saved:", u"Screenshot saved", ToastKind::Camera},
    };
    ExpectToasts(rows);
}

TEST(ToastRules, StopAloneAndBeforeAloneDoNotMatch) {
    const StatusRow rows[] = {{u"Stop it", none},
                              {u"Before that", none},
                              {u"Before that, stop it", stopFirst},
                              {u"unstoppable before", stopFirst}};
    ExpectToasts(rows);
}

TEST(ToastRules, AnEmptyStatusHasNoNotification) { EXPECT_THAT(ToastTextForStatus(u"").text, IsEmpty()); }

TEST(ToastRules, EverySentenceOfTheCommandsGivesItsNotification) {
    const StatusRow rows[] = {
        {u"Ready", none},
        {u"Replay is paused. Turn on automatic replay in Settings > Capture.", paused},
        {u"Please wait for the current capture operation.", busy},
        {u"Please wait for the capture operation.", busy},
        {u"Capture operation in progress - please wait.", busy},
        {u"Capture operation failed. Check disk space and runtime files.", attention},
        {u"Capture check failed. Try restarting replay.", attention},
        {u"Saving screenshot...", none},
        {u"Screenshot saved: C:\\Videos\\error\\a.png", u"Screenshot saved", ToastKind::Camera},
        {u"Screenshot failed. Check Gallery > Folders and disk space.", attention},
        {u"Screenshot failed. Check Gallery > Folders.", attention},
        {u"Choose a screenshot folder in Gallery > Folders.", none},
        {u"Settings saved", none},
        {u"Zorvel settings restored to defaults", none},
        {u"Display layout changed. Updating the selected monitor...", none},
        {u"Applying a capture change. Navigation is still available.", none},
        {u"Stop the manual recording before changing capture settings.", stopFirst},
        {u"Wait for capture changes, or stop manual recording, before switching monitor.", stopFirst},
        {u"Finish the capture operation before choosing a runtime.", none},
        {u"Stop the current capture before resetting settings.", stopFirst},
        {u"Broadcast LIVE is not available in this version.", notAvailable},
        {u"Choose a folder in Gallery > Folders.", none},
        {u"Cannot open folder: C:\\Videos", attention},
        {u"Windows could not open folder: C:\\Videos", attention},
    };
    ExpectToasts(rows);
}

TEST(ToastRules, EverySentenceOfTheEngineGivesItsNotification) {
    const StatusRow rows[] = {
        {u"Ready: H.264 desktop capture with selected resolution, FPS and audio.", none},
        {u"FFmpeg missing. Run the build script to configure the runtime.", runtimeMissing},
        {u"FFmpeg missing. Run BUILD-ZV-REELS-MAX.bat.", runtimeMissing},
        {u"FFmpeg is missing. Run the launcher.", runtimeMissing},
        {u"Stop recording before changing resolution, FPS or audio.", stopFirst},
        {u"Choose 1080p, 1440p or 4K at 30, 60, 120 or 240 FPS.", none},
        {u"Cannot create capture cache.", attention},
        {u"Stop manual recording before starting replay.", stopFirst},
        {u"Replay stopped.", paused},
        {u"Cannot create replay cache.", attention},
        {u"Replay is buffering video and selected audio. Allow 2 seconds before saving.", none},
        {u"Replay is not running. Enable Instant Replay first.", none},
        {u"Replay is warming up. Wait 2 seconds and try again.", warmingUp},
        {u"Cannot create replay output file.", attention},
        {u"Replay saved: C:\\Videos\\Failed State\\ZV_Replay.mp4", u"Clip saved"},
        {u"Replay save failed. Try again; details: C:\\replay.log", attention},
        {u"Cannot create recording file (folder denied or file exists).", attention},
        {u"Replay is still warming up. Try Record again in a moment.", warmingUp},
        {u"Recording could not start from replay. Check the recording folder and audio device; details are in a.log",
         attention},
        {u"Recording started. Stop Recording to finalize video and selected audio.", u"Recording has started",
         ToastKind::Record},
        {u"Recording saved: C:\\Videos\\Replay saved.mp4", u"Recording saved", ToastKind::Record},
        {u"Recording failed or did not finalize. See C:\\recording.log", attention},
        {u"Recording audio stopped unexpectedly.", none},
        {u"Replay audio stopped unexpectedly.", none},
        {u"Recording encoder stopped unexpectedly. Logs: C:\\cache", none},
        {u"Replay encoder stopped unexpectedly. Logs: C:\\cache", none},
        {u"GPU recording could not start. No slow GDI fallback was used. Details: C:\\a.log", attention},
        {u"Cannot start NVENC encoder. See C:\\a.log", attention},
        {u"Capture stopped during speed check: Encoder exited. See C:\\a.log", tooSlow},
        {u"Speed check: 41 / 60 FPS. Paused: choose Game friendly (60 FPS) in Settings > Capture.", paused},
    };
    ExpectToasts(rows);
}

TEST(ToastRules, EverySentenceOfTheCapturesGivesItsNotification) {
    const StatusRow rows[] = {
        {u"Cannot enumerate graphics adapters (0x887A0004)", attention},
        {u"No graphics adapter is available", none},
        {u"Selected monitor is not connected (0x80070490)", none},
        {u"Rotate this monitor to landscape before capturing (0x80004001)", none},
        {u"Cannot initialize GPU desktop capture (0x80004005)", attention},
        {u"GPU desktop capture is unavailable. Use a local, unlocked desktop (0x80070005)", none},
        {u"GPU video processing is unavailable (0x80004002)", none},
        {u"Cannot create the GPU video scaler (0x80004005)", attention},
        {u"Cannot create capture surface (0x80004005)", attention},
        {u"Cannot create NV12 video surface (0x80004005)", attention},
        {u"Cannot create video processor views (0x80004005)", attention},
        {u"Cannot create video pipe (0x80004005)", attention},
        {u"Video consumer did not connect", none},
        {u"Desktop capture was interrupted. Unlock the desktop, then restart replay (0x887A0026)", none},
        {u"Desktop capture could not allocate resources (0x80004005)", attention},
        {u"Cannot read desktop texture (0x80004005)", attention},
        {u"GPU video conversion failed (0x80004005)", attention},
        {u"Video muxer disconnected", none},
        {u"Video encoder stopped accepting frames", none},
        {u"NVIDIA encoder driver is unavailable. Install the NVIDIA graphics driver.", none},
        {u"NVIDIA encoder entry point is unavailable.", none},
        {u"Audio capture stopped; a device or encoder disconnected (0x88890004)", none},
        {u"Cannot open default audio device at device enumeration (0x80070490)", attention},
        {u"Cannot initialize Windows audio (0x80004005)", attention},
        {u"Cannot create the audio pipe (0x80004005)", attention},
        {u"Encoder could not connect to the audio stream (0x80004005)", attention},
        {u"Cannot create audio synchronization events (0x80004005)", attention},
        {u"Audio initialization timed out (0x80004005)", none},
    };
    ExpectToasts(rows);
}

// Bounds.

struct BoundsRow {
    Rectangle work;
    std::int32_t dpi;
    Rectangle bounds;
};

TEST(ToastRules, TheNotificationIsBelowTheUpperRightCorner) {
    const BoundsRow rows[] = {
        {{0, 0, 1920, 1040}, 96, {1574, 80, 1904, 156}},
        {{0, 0, 1920, 1040}, 144, {1401, 120, 1896, 234}},
        {{0, 0, 3840, 2112}, 192, {3148, 160, 3808, 312}},
        {{0, 48, 1920, 1080}, 96, {1574, 128, 1904, 204}},  // a taskbar above
        {{0, 0, 1858, 1080}, 96, {1512, 80, 1842, 156}},    // and one at the right
        {{-1280, 40, 0, 1000}, 96, {-346, 120, -16, 196}},  // a monitor left of the first
    };
    for (const BoundsRow& row : rows) {
        EXPECT_EQ(ToastBounds(row.work, row.dpi), row.bounds) << row.dpi << " " << row.work.left << " " << row.work.top;
    }
}

TEST(ToastRules, FractionsOfAPixelAreTruncated) {
    // 1.25 times 330 is 412.5; 25 / 24 times 330, 16, 76 and 64 are 343.75, 16.67, 79.17 and 66.67.
    EXPECT_EQ(ToastBounds({0, 0, 1920, 1040}, 120), (Rectangle{1488, 100, 1900, 195}));
    EXPECT_EQ(ToastBounds({-1280, 40, 0, 1000}, 100), (Rectangle{-359, 122, -16, 201}));
}

TEST(ToastRules, ALowDpiDoesNotShrinkTheNotification) {
    EXPECT_EQ(ToastBounds({0, 0, 1920, 1040}, 72), (Rectangle{1574, 80, 1904, 156}));
}

}  // namespace
}  // namespace zv
