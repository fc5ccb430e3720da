#include "library/Screenshot.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "fake/Calls.h"
#include "fake/Clock.h"
#include "fake/Monitors.h"
#include "fake/ScreenGrab.h"
#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

namespace fs = std::filesystem;

constexpr char16_t fileName[] = u"ZV_Screenshot_2026-11-15_05-09-18-042.png";
constexpr char16_t failed[] = u"Screenshot failed. Check Gallery > Folders and disk space.";
constexpr std::int32_t diskFull = -2147024784;  // 0x80070070

class Screenshot : public testing::Test {
protected:
    void SetUp() override {
        fake::ResetCalls();
        fake::ResetScreenGrab();
        fake::ResetClock();
        fake::TheClock().localNow = {2026, 11, 15, 5, 9, 18, 42};
        fake::TheMonitors() = {};
        fake::TheMonitors().monitors = {{u"LEFT", -1280, 56, 1280, 1024, -1, false},
                                        {u"MAIN", 0, 0, 1920, 1080, -1, true},
                                        {u"FLAT", 1920, 0, 1000, 0, -1, false},
                                        {u"THIN", 1920, 0, 0, 700, -1, false},
                                        {u"TURNED", 5, 5, -4, -4, -1, false}};
    }

    Text FolderText() const { return FromPath(folder_.Path()); }
    fs::path Picture() const { return folder_.Path() / fs::path(fileName); }
    std::size_t FilesLeft() const {
        std::size_t count = 0;
        for (const auto& entry : fs::recursive_directory_iterator(folder_.Path())) {
            count += entry.is_directory() ? 0U : 1U;
        }
        return count;
    }

    support::TemporaryFolder folder_;
};

TEST_F(Screenshot, IsNamedByStemAndLocalTimeAndReturnsItsPath) {
    EXPECT_EQ(SaveScreenshot(FolderText(), u"MAIN"), u"Screenshot saved: " + FromPath(Picture()));
    EXPECT_EQ(support::ReadBytes(Picture()), fake::screenBytes);
    EXPECT_EQ(FilesLeft(), 1U);
}

TEST_F(Screenshot, WithoutAFolderAsksForOneAndSavesNothing) {
    EXPECT_EQ(SaveScreenshot(u"", u"MAIN"), u"Choose a screenshot folder in Gallery > Folders.");
    EXPECT_TRUE(fake::Grabs().empty());
}

TEST_F(Screenshot, ShowsTheWholeChosenMonitor) {
    SaveScreenshot(FolderText(), u"LEFT");
    ASSERT_EQ(fake::Grabs().size(), 1U);
    EXPECT_EQ(fake::Grabs()[0].area, (Rectangle{-1280, 56, 0, 1080}));
}

TEST_F(Screenshot, WithoutAChosenMonitorShowsThePrimaryOne) {
    SaveScreenshot(FolderText(), u"");
    ASSERT_EQ(fake::Grabs().size(), 1U);
    EXPECT_EQ(fake::Grabs()[0].area, (Rectangle{0, 0, 1920, 1080}));
}

TEST_F(Screenshot, HasAWorkingNameWithoutAnImageExtensionUntilItIsComplete) {
    bool wholeNameTaken = true;
    fake::TheCalls().hook = [&](const char*, int) { wholeNameTaken = fs::exists(Picture()); };
    SaveScreenshot(FolderText(), u"MAIN");
    EXPECT_FALSE(wholeNameTaken);
    ASSERT_EQ(fake::Grabs().size(), 1U);
    EXPECT_EQ(fake::Grabs()[0].path, FromPath(Picture()) + u".partial");
}

TEST_F(Screenshot, OfAMissingMonitorFails) {
    EXPECT_EQ(SaveScreenshot(FolderText(), u"GONE"), failed);
    EXPECT_TRUE(fake::Grabs().empty());
    EXPECT_EQ(FilesLeft(), 0U);
}

TEST_F(Screenshot, OfAMonitorWithoutASizeFails) {
    for (const TextView name : {u"FLAT", u"THIN", u"TURNED"}) {
        EXPECT_EQ(SaveScreenshot(FolderText(), Text(name)), failed);
    }
    EXPECT_TRUE(fake::Grabs().empty());
}

TEST_F(Screenshot, WithoutAnyMonitorFails) {
    fake::TheMonitors().monitors.clear();
    EXPECT_EQ(SaveScreenshot(FolderText(), u""), failed);
}

TEST_F(Screenshot, OnAFullDiskFailsAndLeavesNoFile) {
    fake::FailCall("SaveScreenAsPng", 1, diskFull);
    EXPECT_EQ(SaveScreenshot(FolderText(), u"MAIN"), failed);
    EXPECT_EQ(fake::Grabs().size(), 1U);
    EXPECT_EQ(FilesLeft(), 0U);
}

TEST_F(Screenshot, LeavesNoFileAfterAnException) {
    fake::ThrowInCall("SaveScreenAsPng", 1);
    EXPECT_THROW(SaveScreenshot(FolderText(), u"MAIN"), std::bad_alloc);
    EXPECT_EQ(fake::Grabs().size(), 1U);
    EXPECT_EQ(FilesLeft(), 0U);
}

TEST_F(Screenshot, ThatCannotBeRenamedFailsAndLeavesNoFile) {
    // A folder that is not empty has the picture's name.
    fs::create_directories(Picture() / "inside");
    EXPECT_EQ(SaveScreenshot(FolderText(), u"MAIN"), failed);
    EXPECT_EQ(fake::Grabs().size(), 1U);
    EXPECT_EQ(FilesLeft(), 0U);
}

TEST_F(Screenshot, CreatesItsFolderWithAllParents) {
    const fs::path deep = folder_.Path() / "Apex Legends" / "today";
    EXPECT_EQ(SaveScreenshot(FromPath(deep), u"MAIN"), u"Screenshot saved: " + FromPath(deep / fs::path(fileName)));
    EXPECT_TRUE(fs::exists(deep / fs::path(fileName)));
}

TEST_F(Screenshot, FailsBeforeTheScreenIsReadIfItsFolderIsAFile) {
    support::WriteBytes(folder_.Path() / "file", "x");
    EXPECT_EQ(SaveScreenshot(FromPath(folder_.Path() / "file"), u"MAIN"), failed);
    EXPECT_EQ(SaveScreenshot(FromPath(folder_.Path() / "file" / "deeper"), u"MAIN"), failed);
    EXPECT_TRUE(fake::Grabs().empty());
    EXPECT_EQ(support::ReadBytes(folder_.Path() / "file"), "x");
}

TEST_F(Screenshot, NeedsAPathWithAFolder) {
    EXPECT_FALSE(GrabMonitor(u"MAIN", u""));
    EXPECT_FALSE(GrabMonitor(u"MAIN", u"picture.png"));
    EXPECT_TRUE(fake::Grabs().empty());
}

TEST_F(Screenshot, ReplacesAPictureOfTheSameMillisecond) {
    support::WriteBytes(Picture(), "older");
    EXPECT_EQ(SaveScreenshot(FolderText(), u"MAIN"), u"Screenshot saved: " + FromPath(Picture()));
    EXPECT_EQ(support::ReadBytes(Picture()), fake::screenBytes);
}

}  // namespace
}  // namespace zv
