// The ids of all targets. Those of the main window and those of the overlay are separate.
#pragma once

#include <cstdint>

/// Of the main window.
namespace zv::desktopTarget {

inline constexpr std::int32_t firstPage = 10;  ///< plus a value of desktopPage
/// The same as the sidebar's last page, which is registered first and so receives the clicks on both.
inline constexpr std::int32_t quickOverlay = 14;
inline constexpr std::int32_t openOverlay = 1200;
inline constexpr std::int32_t openGallery = 1201;
inline constexpr std::int32_t recommended = 1202;
inline constexpr std::int32_t refreshRecommendations = 1210;
inline constexpr std::int32_t firstLearnMore = 1220;  ///< plus the index of a recommendation
inline constexpr std::int32_t firstCustomize = 1240;  ///< plus the index of a settings section
inline constexpr std::int32_t keepReplay = 1244;
inline constexpr std::int32_t chooseRuntime = 1245;
inline constexpr std::int32_t restoreDefaults = 1246;
inline constexpr std::int32_t captureLogs = 1250;
inline constexpr std::int32_t about = 1251;
inline constexpr std::int32_t checkForUpdates = 1260;
inline constexpr std::int32_t downloadUpdate = 1261;

}  // namespace zv::desktopTarget

/// Of the quick overlay.
namespace zv::overlayTarget {

inline constexpr std::int32_t close = 901;
inline constexpr std::int32_t record = 902;
inline constexpr std::int32_t screenshot = 903;
inline constexpr std::int32_t replay = 904;
inline constexpr std::int32_t microphone = 905;
inline constexpr std::int32_t openApp = 906;
inline constexpr std::int32_t gallery = 908;
inline constexpr std::int32_t systemSound = 909;
inline constexpr std::int32_t settings = 910;
inline constexpr std::int32_t photoGallery = 913;
inline constexpr std::int32_t broadcast = 914;
inline constexpr std::int32_t galleryBack = 920;
inline constexpr std::int32_t librarySettings = 921;
inline constexpr std::int32_t firstGalleryFilter = 922;  ///< plus a value of GalleryRecord::galleryFilter
inline constexpr std::int32_t galleryRefresh = 926;
inline constexpr std::int32_t galleryPrevious = 927;
inline constexpr std::int32_t galleryNext = 928;
inline constexpr std::int32_t galleryGame = 929;
inline constexpr std::int32_t firstCapture = 930;  ///< plus the index on the page
inline constexpr std::int32_t saveReplay = 960;
inline constexpr std::int32_t switchReplay = 961;
inline constexpr std::int32_t replaySettings = 962;
inline constexpr std::int32_t closePopover = 965;
inline constexpr std::int32_t settingsBack = 970;
inline constexpr std::int32_t allSettings = 971;
inline constexpr std::int32_t firstResolution = 980;
inline constexpr std::int32_t firstFrameRate = 983;
inline constexpr std::int32_t firstReplayLength = 987;
inline constexpr std::int32_t changeMonitor = 991;
inline constexpr std::int32_t recordSystemSound = 992;
inline constexpr std::int32_t recordMicrophone = 993;
inline constexpr std::int32_t autoReplay = 994;
inline constexpr std::int32_t firstShortcut = 1000;  ///< plus a value of shortcutAction
inline constexpr std::int32_t changeLibraryFolder = 1010;
inline constexpr std::int32_t openLibraryFolder = 1011;
inline constexpr std::int32_t notifications = 1012;
inline constexpr std::int32_t firstBitrate = 1013;
inline constexpr std::int32_t audioSystemSound = 1020;
inline constexpr std::int32_t audioMicrophone = 1021;
inline constexpr std::int32_t soundSettings = 1022;
inline constexpr std::int32_t firstSection = 1040;  ///< plus the index of a settings section
inline constexpr std::int32_t openSite = 1060;
inline constexpr std::int32_t openUpdates = 1061;
inline constexpr std::int32_t performanceIndicator = 1062;
inline constexpr std::int32_t hudCursor = 1063;
inline constexpr std::int32_t photoScreenshot = 1064;
inline constexpr std::int32_t photoCursor = 1065;
inline constexpr std::int32_t firstTheme = 1066;
inline constexpr std::int32_t viewerBack = 1100;
inline constexpr std::int32_t viewerPlay = 1101;
inline constexpr std::int32_t viewerBackward = 1102;
inline constexpr std::int32_t viewerForward = 1103;
inline constexpr std::int32_t viewerQuieter = 1104;
inline constexpr std::int32_t viewerLouder = 1105;
inline constexpr std::int32_t viewerMute = 1106;
inline constexpr std::int32_t viewerFullscreen = 1107;
inline constexpr std::int32_t firstSeek = 1150;  ///< 32 of them

}  // namespace zv::overlayTarget
