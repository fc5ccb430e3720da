#include "core/SettingsValidation.h"

#include <gmock/gmock.h>

#include "core/SettingsHome.h"

namespace zv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char16_t* const outOfRange = u"Value was outside the supported range and was repaired.";
const char16_t* const noFolder = u"Folder could not be created. Check permissions.";

/// Settings that need no repair.
Settings Good() {
    Settings settings;
    settings.theme = u"ZV Purple";
    return settings;
}

TEST(SettingsValidation, GoodSettingsStayAsTheyAre) {
    Settings settings = Good();
    EXPECT_THAT(ValidateSettings(settings), IsEmpty());
    EXPECT_EQ(settings, Good());
}

TEST(SettingsValidation, EveryRangeHasItsBoundsAndItsIssue) {
    struct Row {
        const char16_t* key;
        std::uint32_t Settings::*field;
        std::uint32_t minimum;
        std::uint32_t maximum;
    };
    for (const Row& row :
         {Row{u"bitrateMbps", &Settings::bitrateMbps, 5, 200}, Row{u"replaySeconds", &Settings::replaySeconds, 15, 300},
          Row{u"overlayOpacity", &Settings::overlayOpacity, 20, 100},
          Row{u"overlayScale", &Settings::overlayScale, 75, 150}}) {
        const struct {
            std::uint32_t before;
            std::uint32_t after;
        } values[] = {{row.minimum - 1, row.minimum}, {0, row.minimum},          {4294967291U, row.minimum},
                      {row.maximum + 1, row.maximum}, {0x7FFFFFFF, row.maximum}, {row.minimum, row.minimum},
                      {row.maximum, row.maximum}};
        for (const auto& value : values) {
            Settings settings = Good();
            settings.*row.field = value.before;
            const auto issues = ValidateSettings(settings);
            EXPECT_EQ(settings.*row.field, value.after) << Narrow(row.key) << " " << value.before;
            if (value.before == value.after) {
                EXPECT_THAT(issues, IsEmpty()) << Narrow(row.key) << " " << value.before;
            } else {
                EXPECT_THAT(issues, ElementsAre(SettingsIssue{row.key, outOfRange, true}))
                    << Narrow(row.key) << " " << value.before;
            }
        }
    }
}

TEST(SettingsValidation, TheSizeIsClampedWithAnIssueAndThenSnappedWithout) {
    struct Row {
        std::uint32_t width;
        std::uint32_t height;
        std::uint32_t snappedWidth;
        std::uint32_t snappedHeight;
        std::vector<Text> issues;
    };
    const Row rows[] = {
        {1920, 1080, 1920, 1080, {}},
        {2560, 1440, 2560, 1440, {}},
        {3840, 2160, 3840, 2160, {}},
        {640, 360, 2560, 1440, {}},
        {639, 360, 2560, 1440, {u"width"}},
        {7680, 4320, 2560, 1440, {}},
        {7681, 4321, 2560, 1440, {u"width", u"height"}},
        {1921, 1080, 2560, 1440, {}},
        {1280, 720, 2560, 1440, {}},
        {1920, 1200, 1920, 1080, {}},
        {1920, 5000, 1920, 1080, {u"height"}},
        {3840, 359, 3840, 2160, {u"height"}},
        {4294967295U, 4294967295U, 2560, 1440, {u"width", u"height"}},
    };
    for (const Row& row : rows) {
        Settings settings = Good();
        settings.width = row.width;
        settings.height = row.height;
        std::vector<Text> keys;
        for (const SettingsIssue& issue : ValidateSettings(settings)) {
            EXPECT_EQ(issue.message, outOfRange);
            EXPECT_TRUE(issue.repaired);
            keys.push_back(issue.key);
        }
        EXPECT_EQ(keys, row.issues) << row.width << " x " << row.height;
        EXPECT_EQ(settings.width, row.snappedWidth) << row.width << " x " << row.height;
        EXPECT_EQ(settings.height, row.snappedHeight) << row.width << " x " << row.height;
    }
}

TEST(SettingsValidation, AnUnknownFrameRateBecomesSixtyWithoutAnIssue) {
    for (const std::uint32_t fps : {30U, 60U, 120U, 240U}) {
        Settings settings = Good();
        settings.fps = fps;
        EXPECT_THAT(ValidateSettings(settings), IsEmpty());
        EXPECT_EQ(settings.fps, fps);
    }
    for (const std::uint32_t fps : {0U, 29U, 31U, 59U, 61U, 119U, 121U, 144U, 239U, 241U, 4294967295U}) {
        Settings settings = Good();
        settings.fps = fps;
        EXPECT_THAT(ValidateSettings(settings), IsEmpty());
        EXPECT_EQ(settings.fps, 60U);
    }
}

TEST(SettingsValidation, EveryOtherCodecBecomesH264) {
    for (const char16_t* codec : {u"H265", u"h264", u"H264 ", u""}) {
        Settings settings = Good();
        settings.codec = codec;
        EXPECT_THAT(ValidateSettings(settings),
                    ElementsAre(SettingsIssue{u"codec", u"This backend encodes H.264.", true}));
        EXPECT_EQ(settings.codec, u"H264");
    }
}

TEST(SettingsValidation, FiveOlderThemesAreKeptAndTheOthersAreReset) {
    for (const char16_t* theme : {u"ZV Purple", u"Midnight Blue", u"Crimson", u"Emerald", u"Pure Black"}) {
        Settings settings = Good();
        settings.theme = theme;
        EXPECT_THAT(ValidateSettings(settings), IsEmpty());
        EXPECT_EQ(settings.theme, theme);
    }
    for (const char16_t* theme : {u"Zorvel Purple", u"Zorvel Blue", u"Zorvel Rose", u"crimson", u""}) {
        Settings settings = Good();
        settings.theme = theme;
        EXPECT_THAT(ValidateSettings(settings),
                    ElementsAre(SettingsIssue{u"theme", u"Unknown theme was reset to ZV Purple.", true}));
        EXPECT_EQ(settings.theme, u"ZV Purple");
    }
}

TEST(SettingsValidation, TheEncoderIsNotChecked) {
    Settings settings = Good();
    settings.encoder = u"Something";
    EXPECT_THAT(ValidateSettings(settings), IsEmpty());
    EXPECT_EQ(settings.encoder, u"Something");
}

TEST(SettingsValidation, SeveralRepairsAreListedInTheirOrder) {
    Settings settings = Good();
    settings.width = settings.height = settings.bitrateMbps = settings.replaySeconds = 0;
    settings.overlayOpacity = settings.overlayScale = 0;
    settings.codec = settings.theme = u"?";
    std::vector<Text> keys;
    for (const SettingsIssue& issue : ValidateSettings(settings)) {
        keys.push_back(issue.key);
    }
    EXPECT_THAT(keys, ElementsAre(u"width", u"height", u"bitrateMbps", u"replaySeconds", u"overlayOpacity",
                                  u"overlayScale", u"codec", u"theme"));
}

class LibraryFolders : public SettingsHome {};

TEST_F(LibraryFolders, AreCreatedIfTheyAreMissing) {
    Settings settings = Good();
    settings.clipsFolder = Home() + Slashed(u"/a/b");
    settings.recordingsFolder = Home();
    settings.screenshotsFolder = u"";
    EXPECT_THAT(ValidateSettings(settings), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_directory(HomePath() / "a" / "b"));
    EXPECT_EQ(settings.clipsFolder, Home() + Slashed(u"/a/b"));
}

TEST_F(LibraryFolders, ThatCannotBeCreatedAreReported) {
    support::WriteBytes(HomePath() / "file", "in the way");
    Settings settings = Good();
    settings.clipsFolder = Home() + Slashed(u"/file/c");
    settings.recordingsFolder = Home() + Slashed(u"/file/r");
    settings.screenshotsFolder = Home() + Slashed(u"/file");
    settings.captureRoot = Home() + Slashed(u"/file/root");
    EXPECT_THAT(ValidateSettings(settings), ElementsAre(SettingsIssue{u"clipsFolder", noFolder, false},
                                                        SettingsIssue{u"recordingsFolder", noFolder, false},
                                                        SettingsIssue{u"screenshotsFolder", noFolder, false}));
    EXPECT_EQ(settings.clipsFolder, Home() + Slashed(u"/file/c"));
}

TEST_F(LibraryFolders, TheCaptureRootIsNotAmongThem) {
    Settings settings = Good();
    settings.captureRoot = Home() + Slashed(u"/root");
    EXPECT_THAT(ValidateSettings(settings), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(HomePath() / "root"));
}

}  // namespace
}  // namespace zv
