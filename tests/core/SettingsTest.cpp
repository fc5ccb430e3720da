#include "core/Settings.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

#include "core/SettingsHome.h"
#include "core/SettingsValidation.h"
#include "core/Theme.h"

namespace zv {
namespace {

using support::ReadBytes;
using support::WriteBytes;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// Numbers and truth values.

TEST(ParseBool, OnlyOneAndZeroAreTruthValues) {
    for (const bool fallback : {false, true}) {
        EXPECT_TRUE(ParseBool(u"1", fallback));
        EXPECT_FALSE(ParseBool(u"0", fallback));
        for (const TextView text : {u"", u"01", u"yes", u"true", u"1 ", u" 1", u"10", u"2", u"-1"}) {
            EXPECT_EQ(ParseBool(text, fallback), fallback) << Narrow(text);
        }
    }
}

TEST(ParseInt, ReadsTheNumberAtTheStart) {
    EXPECT_EQ(ParseInt(u"12abc", 7), 12);
    EXPECT_EQ(ParseInt(u"  60x", 7), 60);
    EXPECT_EQ(ParseInt(u"\t\n\v\f\r 5", 7), 5);
    EXPECT_EQ(ParseInt(u"-3", 7), -3);
    EXPECT_EQ(ParseInt(u"+3", 7), 3);
    EXPECT_EQ(ParseInt(u"007", 1), 7);
    EXPECT_EQ(ParseInt(u"0x10", 7), 0);
    EXPECT_EQ(ParseInt(u"1.9", 7), 1);
    EXPECT_EQ(ParseInt(u"0", 7), 0);
}

TEST(ParseInt, ReturnsTheFallbackWithoutDigits) {
    for (const TextView text : {u"", u" ", u"-", u"+", u"abc", u"x1", u"- 1", u"+-1", u"--1", u"\u00A05"}) {
        EXPECT_EQ(ParseInt(text, 7), 7) << Narrow(text);
    }
}

TEST(ParseInt, ReturnsTheFallbackOutsideOf32Bits) {
    EXPECT_EQ(ParseInt(u"2147483647", 7), 2147483647);
    EXPECT_EQ(ParseInt(u"2147483648", 7), 7);
    EXPECT_EQ(ParseInt(u"-2147483648", 7), -2147483647 - 1);
    EXPECT_EQ(ParseInt(u"-2147483649", 7), 7);
    EXPECT_EQ(ParseInt(u"4294967297", 7), 7);
    EXPECT_EQ(ParseInt(u"99999999999999999999999999", 7), 7);
    EXPECT_EQ(ParseInt(u"-99999999999999999999999999", 7), 7);
    EXPECT_EQ(ParseInt(u"00000000000000000000000005", 7), 5);
}

// The record.

TEST(Settings, BeforeTheFirstLoadTheThemeHasTheOlderNameAndPathsAreEmpty) {
    const Settings& settings = CurrentSettings();
    EXPECT_EQ(settings.theme, u"ZV Purple");
    EXPECT_EQ(settings.captureRoot, u"");
    EXPECT_EQ(settings.clipsFolder, u"");
    EXPECT_EQ(settings.recordingsFolder, u"");
    EXPECT_EQ(settings.screenshotsFolder, u"");
    EXPECT_THAT(settings.bindKeys, ElementsAre(88U, 121U, 82U, 83U));
}

class SettingsReset : public SettingsHome {};

TEST_F(SettingsReset, SetsEveryFieldToItsDefault) {
    const Settings settings = Defaults();
    EXPECT_EQ(settings.width, 1920U);
    EXPECT_EQ(settings.height, 1080U);
    EXPECT_EQ(settings.fps, 120U);
    EXPECT_EQ(settings.bitrateMbps, 40U);
    EXPECT_EQ(settings.replaySeconds, 60U);
    EXPECT_EQ(settings.monitorDevice, u"");
    EXPECT_FALSE(settings.captureCursor);
    EXPECT_TRUE(settings.instantReplay);
    EXPECT_FALSE(settings.micEnabled);
    EXPECT_TRUE(settings.gameAudioEnabled);
    EXPECT_FALSE(settings.startWithWindows);
    EXPECT_TRUE(settings.minimizeToTray);
    EXPECT_FALSE(settings.showFpsOverlay);
    EXPECT_TRUE(settings.performanceMode);
    EXPECT_TRUE(settings.notifications);
    EXPECT_EQ(settings.overlayOpacity, 92U);
    EXPECT_EQ(settings.overlayScale, 100U);
    EXPECT_EQ(settings.codec, u"H264");
    EXPECT_EQ(settings.encoder, u"Auto");
    EXPECT_EQ(settings.theme, u"Zorvel Purple");
    EXPECT_EQ(settings.accent, 0xF65C8BU);
    EXPECT_EQ(settings.captureRoot, Home() + Slashed(u"/Videos/Zorvel"));
    EXPECT_EQ(settings.ffmpegPath, u"");
    EXPECT_THAT(settings.previousCaptureRoots, IsEmpty());
    EXPECT_THAT(settings.bindMods, ElementsAre(1U, 1U, 3U, 3U));
    EXPECT_THAT(settings.bindKeys, ElementsAre(88U, 121U, 82U, 83U));
    EXPECT_EQ(settings.clipsFolder, Home() + Slashed(u"/Videos/Zorvel/Clips"));
    EXPECT_EQ(settings.recordingsFolder, Home() + Slashed(u"/Videos/Zorvel/Recordings"));
    EXPECT_EQ(settings.screenshotsFolder, Home() + Slashed(u"/Pictures/Zorvel"));
}

TEST_F(SettingsReset, ClearsAllEarlierValues) {
    Settings settings = Defaults();
    settings.captureRoot = u"D:\\x";
    settings.previousCaptureRoots = {u"D:\\y"};
    settings.monitorDevice = u"one";
    settings.ffmpegPath = u"two";
    settings.accent = 5;
    settings.theme = u"Zorvel Rose";
    settings.bindMods = {7, 7, 7, 7};
    ResetSettings(settings);
    EXPECT_EQ(settings, Defaults());
}

TEST_F(SettingsReset, CreatesTheLibraryFoldersAndNoOther) {
    Defaults();
    EXPECT_TRUE(std::filesystem::is_directory(HomePath() / "Videos" / "Zorvel" / "Clips"));
    EXPECT_TRUE(std::filesystem::is_directory(HomePath() / "Videos" / "Zorvel" / "Recordings"));
    EXPECT_TRUE(std::filesystem::is_directory(HomePath() / "Pictures" / "Zorvel"));
    EXPECT_FALSE(std::filesystem::exists(HomePath() / "Local"));
}

TEST_F(SettingsReset, IgnoresAFolderThatCannotBeCreated) {
    WriteBytes(HomePath() / "Videos", "a file in the way");
    EXPECT_EQ(Defaults().clipsFolder, Home() + Slashed(u"/Videos/Zorvel/Clips"));
    EXPECT_TRUE(std::filesystem::is_directory(HomePath() / "Pictures" / "Zorvel"));
}

// Writing.

class SettingsFile : public SettingsHome {};

TEST_F(SettingsFile, IsInTheProgramsFolderWhichIsCreated) {
    EXPECT_EQ(SettingsPath(), Home() + Slashed(u"/Local/ZVReelsMax/settings.ini"));
    EXPECT_TRUE(std::filesystem::is_directory(HomePath() / "Local" / "ZVReelsMax"));
    EXPECT_FALSE(std::filesystem::exists(File()));
}

TEST_F(SettingsFile, IsLocatedAgainAtEverySave) {
    SaveSettings(Defaults());
    fake::TheFolders().localData = Home() + Slashed(u"/Other");
    SaveSettings(Defaults());
    EXPECT_TRUE(std::filesystem::exists(HomePath() / "Other" / "ZVReelsMax" / "settings.ini"));
}

TEST_F(SettingsFile, ThrowsIfItsFolderCannotBeCreated) {
    WriteBytes(HomePath() / "Local", "a file in the way");
    Settings settings = Defaults();
    const std::function<void()> calls[] = {[] { SettingsPath(); }, [&] { SaveSettings(settings); },
                                           [&] { LoadSettings(settings); }};
    for (const auto& call : calls) {
        try {
            call();
            FAIL() << "nothing was raised";
        } catch (const std::filesystem::filesystem_error& error) {
            EXPECT_THAT(error.what(), HasSubstr("create_directories"));
        }
    }
}

TEST_F(SettingsFile, HoldsEveryKeyInItsOrder) {
    Settings settings;
    settings.width = 2560;
    settings.height = 1440;
    settings.fps = 60;
    settings.bitrateMbps = 41;
    settings.replaySeconds = 61;
    settings.monitorDevice = u"\\\\.\\DISPLAY1";
    settings.captureCursor = true;
    settings.instantReplay = false;
    settings.micEnabled = true;
    settings.gameAudioEnabled = false;
    settings.startWithWindows = true;
    settings.minimizeToTray = false;
    settings.showFpsOverlay = true;
    settings.performanceMode = false;
    settings.notifications = false;
    settings.overlayOpacity = 93;
    settings.overlayScale = 101;
    settings.codec = u"c";
    settings.encoder = u"e";
    settings.theme = u"t";
    settings.accent = 4294967295U;
    settings.captureRoot = u"D:\\root=1";
    settings.ffmpegPath = u"D:\\ff mpeg.exe";
    settings.previousCaptureRoots = {u"D:\\a", u"", u"D:\\\u00FCb"};
    settings.bindMods = {1, 2, 4, 7};
    settings.bindKeys = {48, 90, 112, 135};
    settings.clipsFolder = u"D:\\clips";
    settings.recordingsFolder = u"D:\\recordings";
    settings.screenshotsFolder = u"D:\\shots";
    EXPECT_EQ(Saved(settings),
              "audioCaptureVersion=1\r\n"
              "replayUiVersion=1\r\n"
              "monitorDevice=\\\\.\\DISPLAY1\r\n"
              "captureCursor=1\r\n"
              "width=2560\r\n"
              "height=1440\r\n"
              "fps=60\r\n"
              "bitrateMbps=41\r\n"
              "replaySeconds=61\r\n"
              "instantReplay=0\r\n"
              "micEnabled=1\r\n"
              "gameAudioEnabled=0\r\n"
              "startWithWindows=1\r\n"
              "minimizeToTray=0\r\n"
              "showFpsOverlay=1\r\n"
              "performanceMode=0\r\n"
              "notifications=0\r\n"
              "overlayOpacity=93\r\n"
              "overlayScale=101\r\n"
              "codec=c\r\n"
              "encoder=e\r\n"
              "theme=t\r\n"
              "accent=4294967295\r\n"
              "clipsFolder=D:\\clips\r\n"
              "recordingsFolder=D:\\recordings\r\n"
              "previousCaptureRoot0=D:\\a\r\n"
              "previousCaptureRoot1=\r\n"
              "previousCaptureRoot2=D:\\\xFC"
              "b\r\n"
              "ffmpegPath=D:\\ff mpeg.exe\r\n"
              "captureRoot=D:\\root=1\r\n"
              "bindMods0=1\r\n"
              "bindKeys0=48\r\n"
              "bindMods1=2\r\n"
              "bindKeys1=90\r\n"
              "bindMods2=4\r\n"
              "bindKeys2=112\r\n"
              "bindMods3=7\r\n"
              "bindKeys3=135\r\n"
              "screenshotsFolder=D:\\shots\r\n");
}

TEST_F(SettingsFile, HasOneLineForEveryKeyWhenThereAreNoEarlierRoots) {
    const std::string bytes = Saved(Defaults());
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\n'), 36);
    EXPECT_THAT(bytes, Not(HasSubstr("previousCaptureRoot")));
}

TEST_F(SettingsFile, IsEmptiedBeforeItIsWritten) {
    WriteFile(std::string(100000, 'x'));
    EXPECT_THAT(Saved(Defaults()), StartsWith("audioCaptureVersion=1\r\n"));
    EXPECT_THAT(Saved(Defaults()), EndsWith("Zorvel\r\n"));
}

TEST_F(SettingsFile, ThatCannotBeOpenedForWritingIsLeftAlone) {
    std::filesystem::create_directories(File());
    EXPECT_NO_THROW(SaveSettings(Defaults()));
    EXPECT_TRUE(std::filesystem::is_directory(File()));
}

TEST_F(SettingsFile, IsReadAsItWasSaved) {
    Settings settings = Defaults();
    settings.monitorDevice = u"\\\\.\\DISPLAY2";
    settings.fps = 240;
    settings.micEnabled = true;
    settings.gameAudioEnabled = false;
    settings.instantReplay = false;
    settings.captureRoot = u"D:\\S\u00E4ve=d";
    settings.previousCaptureRoots = {u"D:\\a", u"D:\\a", u"D:\\b"};
    settings.bindMods = {7, 6, 5, 4};
    settings.bindKeys = {65, 66, 67, 68};
    SaveSettings(settings);
    EXPECT_EQ(Loaded(), settings);
}

TEST_F(SettingsFile, KeepsACyrillicFolderNameOrEndsInsideItAndLosesTheLaterKeys) {
    Settings settings = Defaults();
    settings.fps = 30;
    settings.theme = u"Zorvel Blue";
    settings.clipsFolder = u"D:\\\u0416\u0416";
    settings.recordingsFolder = u"D:\\r";
    settings.captureRoot = u"D:\\c";
    settings.ffmpegPath = u"D:\\f";
    settings.previousCaptureRoots = {u"D:\\p"};
    settings.bindMods = {7, 7, 7, 7};
    settings.bindKeys = {65, 65, 65, 65};
    settings.screenshotsFolder = u"D:\\s";
    if (namesAreUtf8) {
        EXPECT_THAT(Saved(settings), HasSubstr("\r\nclipsFolder=D:\\\xD0\x96\xD0\x96\r\nrecordingsFolder=D:\\r\r\n"));
        EXPECT_EQ(Loaded(), settings);
        return;
    }
    EXPECT_THAT(Saved(settings), EndsWith("\r\nclipsFolder=D:\\"));
    Settings expected = Defaults();
    expected.fps = 30;
    expected.theme = u"Zorvel Blue";
    expected.clipsFolder = u"D:\\";
    EXPECT_EQ(Loaded(), expected);
}

// Reading.

class SettingsLoad : public SettingsHome {};

TEST_F(SettingsLoad, WithoutAFileUsesTheDefaultsAndCreatesNone) {
    Settings settings = Defaults();
    settings.fps = 30;
    LoadSettings(settings);
    EXPECT_EQ(settings, Defaults());
    EXPECT_FALSE(std::filesystem::exists(File()));
}

TEST_F(SettingsLoad, WithAnUnreadableFileUsesTheDefaults) {
    std::filesystem::create_directories(File());
    EXPECT_EQ(Loaded(), Defaults());
}

TEST_F(SettingsLoad, ClearsEarlierValues) {
    Settings settings = Defaults();
    settings.accent = 1;
    settings.previousCaptureRoots = {u"x"};
    WriteFile("fps=30\r\n");
    LoadSettings(settings);
    Settings expected = Defaults();
    expected.fps = 30;
    EXPECT_EQ(settings, expected);
}

struct KeyCase {
    const char* line;
    std::function<void(Settings&)> change;
};

TEST_F(SettingsLoad, EveryKeyIsReadIntoItsOwnField) {
    const KeyCase cases[] = {
        {"width=1", [](Settings& s) { s.width = 1; }},
        {"height=2", [](Settings& s) { s.height = 2; }},
        {"fps=3", [](Settings& s) { s.fps = 3; }},
        {"bitrateMbps=4", [](Settings& s) { s.bitrateMbps = 4; }},
        {"replaySeconds=5", [](Settings& s) { s.replaySeconds = 5; }},
        {"instantReplay=0", [](Settings& s) { s.instantReplay = false; }},
        {"monitorDevice=m", [](Settings& s) { s.monitorDevice = u"m"; }},
        {"captureCursor=1", [](Settings& s) { s.captureCursor = true; }},
        {"micEnabled=1", [](Settings& s) { s.micEnabled = true; }},
        {"gameAudioEnabled=0", [](Settings& s) { s.gameAudioEnabled = false; }},
        {"startWithWindows=1", [](Settings& s) { s.startWithWindows = true; }},
        {"minimizeToTray=0", [](Settings& s) { s.minimizeToTray = false; }},
        {"showFpsOverlay=1", [](Settings& s) { s.showFpsOverlay = true; }},
        {"performanceMode=0", [](Settings& s) { s.performanceMode = false; }},
        {"notifications=0", [](Settings& s) { s.notifications = false; }},
        {"overlayOpacity=6", [](Settings& s) { s.overlayOpacity = 6; }},
        {"overlayScale=7", [](Settings& s) { s.overlayScale = 7; }},
        {"codec=c", [](Settings& s) { s.codec = u"c"; }},
        {"encoder=e", [](Settings& s) { s.encoder = u"e"; }},
        {"theme=t", [](Settings& s) { s.theme = u"t"; }},
        {"accent=8", [](Settings& s) { s.accent = 8; }},
        {"clipsFolder=k", [](Settings& s) { s.clipsFolder = u"k"; }},
        {"recordingsFolder=r", [](Settings& s) { s.recordingsFolder = u"r"; }},
        {"screenshotsFolder=s", [](Settings& s) { s.screenshotsFolder = u"s"; }},
        {"ffmpegPath=f", [](Settings& s) { s.ffmpegPath = u"f"; }},
        {"captureRoot=o", [](Settings& s) { s.captureRoot = u"o"; }},
        {"previousCaptureRoot0=p", [](Settings& s) { s.previousCaptureRoots = {u"p"}; }},
        {"previousCaptureRoot63=p", [](Settings& s) { s.previousCaptureRoots = {u"p"}; }},
        {"bindMods0=4", [](Settings& s) { s.bindMods[0] = 4; }},
        {"bindMods1=4", [](Settings& s) { s.bindMods[1] = 4; }},
        {"bindMods2=4", [](Settings& s) { s.bindMods[2] = 4; }},
        {"bindMods3=4", [](Settings& s) { s.bindMods[3] = 4; }},
        {"bindKeys0=90", [](Settings& s) { s.bindKeys[0] = 90; }},
        {"bindKeys1=90", [](Settings& s) { s.bindKeys[1] = 90; }},
        {"bindKeys2=90", [](Settings& s) { s.bindKeys[2] = 90; }},
        {"bindKeys3=90", [](Settings& s) { s.bindKeys[3] = 90; }},
    };
    for (const KeyCase& row : cases) {
        Settings expected = Defaults();
        row.change(expected);
        EXPECT_NE(expected, Defaults()) << row.line;
        EXPECT_EQ(LoadedFrom(row.line), expected) << row.line;
    }
}

TEST_F(SettingsLoad, AMalformedValueLeavesTheDefault) {
    for (const char* key : {"width", "height", "fps", "bitrateMbps", "replaySeconds", "overlayOpacity", "overlayScale",
                            "accent", "bindMods0", "bindMods3", "bindKeys0", "bindKeys3"}) {
        for (const char* value : {"", "x", "-", "2147483648"}) {
            EXPECT_EQ(LoadedFrom(std::string(key) + "=" + value), Defaults()) << key << "=" << value;
        }
    }
    for (const char* key : {"instantReplay", "captureCursor", "micEnabled", "gameAudioEnabled", "startWithWindows",
                            "minimizeToTray", "showFpsOverlay", "performanceMode", "notifications"}) {
        for (const char* value : {"", "yes", "01", "2", " 1", "00"}) {
            EXPECT_EQ(LoadedFrom(std::string(key) + "=" + value), Defaults()) << key << "=" << value;
        }
    }
}

TEST_F(SettingsLoad, AnEmptyTextValueStaysEmptyExceptForTheCaptureRoot) {
    const Settings settings = LoadedFrom(
        "clipsFolder=\nrecordingsFolder=\nscreenshotsFolder=\ncodec=\nencoder=\ntheme=\n"
        "captureRoot=\n");
    EXPECT_EQ(settings.clipsFolder, u"");
    EXPECT_EQ(settings.recordingsFolder, u"");
    EXPECT_EQ(settings.screenshotsFolder, u"");
    EXPECT_EQ(settings.codec, u"");
    EXPECT_EQ(settings.encoder, u"");
    EXPECT_EQ(settings.theme, u"");
    EXPECT_EQ(settings.captureRoot, Home() + Slashed(u"/Videos/Zorvel"));
}

TEST_F(SettingsLoad, TheValueBeginsAfterTheFirstEqualsSign) {
    EXPECT_EQ(LoadedFrom("theme=b=c").theme, u"b=c");
    EXPECT_EQ(LoadedFrom("theme= b ").theme, u" b ");
}

TEST_F(SettingsLoad, AnEmptyKeyAnEmptyLineAndALineWithoutEqualsAreIgnored) {
    Settings expected = Defaults();
    expected.fps = 30;
    EXPECT_EQ(LoadedFrom("=x\r\n\r\nfps\r\n[fps]\r\nfps=30\r\n=\r\n"), expected);
}

TEST_F(SettingsLoad, KeysAreComparedVerbatim) {
    EXPECT_EQ(LoadedFrom(" fps=30\nfps =30\nFPS=30\nbindMods00=4\nbindMods4=4\nbindMods=4\npreviousCaptureRoot=p\n"
                         "previousCaptureRoot05=p\npreviousCaptureRoot64=p\n"),
              Defaults());
}

TEST_F(SettingsLoad, TheLastOfSeveralLinesWithAKeyCounts) {
    EXPECT_EQ(LoadedFrom("fps=30\nfps=60\n").fps, 60U);
    EXPECT_EQ(LoadedFrom("fps=30\nfps=x\n").fps, 120U);
}

TEST_F(SettingsLoad, BothLineEndsAndALastLineWithoutOneAreRead) {
    EXPECT_EQ(LoadedFrom("theme=a\ncodec=b\r\nencoder=c").theme, u"a");
    EXPECT_EQ(Loaded().codec, u"b");
    EXPECT_EQ(Loaded().encoder, u"c");
}

TEST_F(SettingsLoad, NothingAfterControlZIsRead) {
    const Settings settings = LoadedFrom(
        "codec=a\x1A"
        "b\r\nfps=30\r\n");
    EXPECT_EQ(settings.codec, u"a");
    EXPECT_EQ(settings.fps, 120U);
}

TEST_F(SettingsLoad, AByteAbove127IsTheUnitOfItsValue) {
    EXPECT_EQ(LoadedFrom("captureRoot=D:\\\xC3\xBC\xFF").captureRoot, u"D:\\\u00C3\u00BC\u00FF");
}

TEST_F(SettingsLoad, ANumberIsReadAfterBlanksAndBeforeLetters) { EXPECT_EQ(LoadedFrom("fps=  60x").fps, 60U); }

TEST_F(SettingsLoad, ANegativeNumberBecomesItsUnsignedValue) {
    EXPECT_EQ(LoadedFrom("accent=-5").accent, 4294967291U);
    EXPECT_EQ(LoadedFrom("accent=4294967291").accent, 0xF65C8BU);
}

TEST_F(SettingsLoad, WithoutTheReplayVersionTheReplayIsOnRegardlessOfTheFile) {
    WriteFile("audioCaptureVersion=1\r\ninstantReplay=0\r\nmicEnabled=1\r\n");
    EXPECT_TRUE(Loaded().instantReplay);
    EXPECT_TRUE(Loaded().micEnabled);
    WriteFile("audioCaptureVersion=1\r\nreplayUiVersion=\r\ninstantReplay=0\r\n");
    EXPECT_FALSE(Loaded().instantReplay);
}

TEST_F(SettingsLoad, WithoutTheAudioVersionTheSoundHasItsDefaultsRegardlessOfTheFile) {
    WriteFile("replayUiVersion=1\r\nmicEnabled=1\r\ngameAudioEnabled=0\r\ninstantReplay=0\r\n");
    EXPECT_FALSE(Loaded().micEnabled);
    EXPECT_TRUE(Loaded().gameAudioEnabled);
    EXPECT_FALSE(Loaded().instantReplay);
    WriteFile("replayUiVersion=1\r\naudioCaptureVersion=0\r\nmicEnabled=1\r\ngameAudioEnabled=0\r\n");
    EXPECT_TRUE(Loaded().micEnabled);
    EXPECT_FALSE(Loaded().gameAudioEnabled);
}

TEST_F(SettingsLoad, HotkeyModifiersAreMaskedToThree) {
    EXPECT_EQ(LoadedFrom("bindMods0=15").bindMods[0], 7U);
    EXPECT_EQ(LoadedFrom("bindMods0=8").bindMods[0], 0U);
    EXPECT_EQ(LoadedFrom("bindMods0=-1").bindMods[0], 7U);
}

TEST_F(SettingsLoad, AHotkeyOutsideItsRangeBecomesTheDefaultOfItsSlot) {
    EXPECT_EQ(LoadedFrom("bindKeys2=47").bindKeys[2], 82U);
    EXPECT_EQ(LoadedFrom("bindKeys2=48").bindKeys[2], 48U);
    EXPECT_EQ(LoadedFrom("bindKeys2=135").bindKeys[2], 135U);
    EXPECT_EQ(LoadedFrom("bindKeys2=136").bindKeys[2], 82U);
    EXPECT_THAT(LoadedFrom("bindKeys0=0\nbindKeys1=-1\nbindKeys2=999\nbindKeys3=47").bindKeys,
                ElementsAre(88U, 121U, 82U, 83U));
}

TEST_F(SettingsLoad, AGapInTheEarlierRootsClosesWithTheNextSave) {
    const Settings settings = LoadedFrom("previousCaptureRoot5=D:\\x");
    EXPECT_THAT(settings.previousCaptureRoots, ElementsAre(u"D:\\x"));
    EXPECT_THAT(Saved(settings), HasSubstr("\r\npreviousCaptureRoot0=D:\\x\r\nffmpegPath="));
}

TEST_F(SettingsLoad, EarlierRootsAreReadByIndexWithDuplicatesButWithoutEmptyOnes) {
    const Settings settings = LoadedFrom(
        "captureRoot=a\npreviousCaptureRoot10=c\npreviousCaptureRoot2=b\npreviousCaptureRoot1=\npreviousCaptureRoot0="
        "a\n"
        "previousCaptureRoot3=b\n");
    EXPECT_THAT(settings.previousCaptureRoots, ElementsAre(u"a", u"b", u"b", u"c"));
}

TEST_F(SettingsLoad, OfSeventyEarlierRootsAllAreWrittenAndSixtyFourAreRead) {
    Settings settings = Defaults();
    for (int index = 0; index < 70; ++index) {
        settings.previousCaptureRoots.push_back(u"D:\\" + Decimal(index));
    }
    EXPECT_THAT(Saved(settings), HasSubstr("\r\npreviousCaptureRoot69=D:\\69\r\nffmpegPath="));
    settings.previousCaptureRoots.resize(64);
    EXPECT_EQ(Loaded(), settings);
}

// The theme.

TEST(ApplyTheme, EveryNameHasItsColour) {
    struct Row {
        const char16_t* before;
        const char16_t* after;
        std::uint32_t colour;
    };
    for (const Row& row :
         {Row{u"Zorvel Blue", u"Zorvel Blue", 0xFF9751}, Row{u"Zorvel Rose", u"Zorvel Rose", 0xC061FF},
          Row{u"Zorvel Purple", u"Zorvel Purple", 0xFF7797}, Row{u"ZV Purple", u"Zorvel Purple", 0xFF7797},
          Row{u"Midnight Blue", u"Zorvel Purple", 0xFF7797}, Row{u"zorvel blue", u"Zorvel Purple", 0xFF7797},
          Row{u"", u"Zorvel Purple", 0xFF7797}}) {
        Settings settings;
        settings.theme = row.before;
        EXPECT_EQ(ApplyTheme(settings), row.colour) << Narrow(row.before);
        EXPECT_EQ(settings.theme, row.after) << Narrow(row.before);
    }
}

class SettingsStart : public SettingsHome {
protected:
    /// Prepares the settings as a start of the program does. Returns the accent colour of that session.
    static std::uint32_t Start() {
        Settings settings;
        LoadSettings(settings);
        const std::uint32_t accent = ApplyTheme(settings);
        if (!ValidateSettings(settings).empty()) {
            SaveSettings(settings);
        }
        return accent;
    }
};

TEST_F(SettingsStart, TheFirstOneLeavesAFileWithTheOlderThemeName) {
    EXPECT_EQ(Start(), 0xFF7797U);
    EXPECT_THAT(ReadBytes(File()), HasSubstr("\r\ntheme=ZV Purple\r\n"));
}

TEST_F(SettingsStart, AChosenColourLastsForOneStart) {
    Settings settings = Defaults();
    settings.theme = u"Zorvel Blue";
    SaveSettings(settings);
    EXPECT_EQ(Start(), 0xFF9751U);
    EXPECT_THAT(ReadBytes(File()), HasSubstr("\r\ntheme=ZV Purple\r\n"));
    EXPECT_EQ(Start(), 0xFF7797U);
    EXPECT_THAT(ReadBytes(File()), HasSubstr("\r\ntheme=ZV Purple\r\n"));
}

}  // namespace
}  // namespace zv
