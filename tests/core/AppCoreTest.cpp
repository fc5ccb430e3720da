#include "core/AppCore.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <thread>

#include "fake/Clock.h"
#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using support::ReadBytes;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class AppCoreFiles : public testing::Test {
protected:
    AppCoreFiles() {
        fake::ResetClock();
        fake::TheClock().localNow = {2026, 1, 5, 5, 9, 8, 42};
        EndSession();
    }
    ~AppCoreFiles() override { EndSession(); }

    static void EndSession() {
        CurrentAppCore().logStream.Close();
        CurrentAppCore().history = {};
    }

    Text Data() const { return FromPath(DataPath()); }
    std::filesystem::path DataPath() const { return folder_.Path() / "data"; }
    std::string Log() const { return ReadBytes(DataPath() / "Logs" / "zv-reels.log"); }
    std::string Activity() const { return ReadBytes(DataPath() / "History" / "activity.log"); }

private:
    support::TemporaryFolder folder_;
};

using AppLog = AppCoreFiles;

TEST_F(AppLog, StartsWithItsFoldersAndAnEmptyFile) {
    AppLogStart(Data());
    EXPECT_TRUE(std::filesystem::exists(DataPath() / "Logs" / "zv-reels.log"));
    EXPECT_EQ(Log(), "");
    EXPECT_TRUE(std::filesystem::is_directory(DataPath() / "History"));
    EXPECT_EQ(CurrentAppCore().logPath, FromPath(DataPath() / "Logs" / "zv-reels.log"));
    EXPECT_EQ(CurrentAppCore().history.path, FromPath(DataPath() / "History" / "activity.log"));
    EXPECT_FALSE(std::filesystem::exists(DataPath() / "History" / "activity.log"));
}

TEST_F(AppLog, ALineHasTimeLevelCategoryAndMessageAndIsOnDiskAtOnce) {
    AppLogStart(Data());
    AppLogInfo(u"App", u"Zorvel starting");
    EXPECT_EQ(Log(), "[05:09:08] [INFO] [App] Zorvel starting\r\n");
    fake::TheClock().localNow = {2026, 11, 15, 23, 59, 58, 0};
    AppLogWrite(u"LEVEL", u"Category", u"\u00FCber");
    EXPECT_EQ(Log(),
              "[05:09:08] [INFO] [App] Zorvel starting\r\n[23:59:58] [LEVEL] [Category] \xFC"
              "ber\r\n");
}

TEST_F(AppLog, TwoSessionsAppendOneLineEach) {
    for (int session = 0; session < 2; ++session) {
        AppLogStart(Data());
        AppLogInfo(u"App", u"Zorvel starting");
        EndSession();
    }
    EXPECT_EQ(Log(), "[05:09:08] [INFO] [App] Zorvel starting\r\n[05:09:08] [INFO] [App] Zorvel starting\r\n");
}

TEST_F(AppLog, ACharacterWithoutAByteMakesItsLineUtf8OrDisablesTheLogForTheRestOfTheSession) {
    const std::string prefix = "[05:09:08] [INFO] [App] ";
    AppLogStart(Data());
    AppLogInfo(u"App", u"a\u0416b");
    AppLogInfo(u"App", u"later");
    const std::string session = namesAreUtf8 ? prefix +
                                                   "a\xD0\x96"
                                                   "b\r\n" +
                                                   prefix + "later\r\n"
                                             : prefix + "a";
    EXPECT_EQ(Log(), session);
    AppLogStart(Data());
    AppLogInfo(u"App", u"next session");
    EXPECT_EQ(Log(), session + prefix + "next session\r\n");
}

TEST_F(AppLog, WithoutAFileItWritesNothing) {
    AppLogInfo(u"App", u"before the start");
    std::filesystem::create_directories(DataPath() / "Logs" / "zv-reels.log");
    AppLogStart(Data());
    AppLogInfo(u"App", u"a folder is in the way");
    EXPECT_TRUE(std::filesystem::is_directory(DataPath() / "Logs" / "zv-reels.log"));
    EXPECT_EQ(CurrentAppCore().history.path, FromPath(DataPath() / "History" / "activity.log"));
}

TEST_F(AppLog, LinesOfSeveralThreadsStayWhole) {
    AppLogStart(Data());
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back([] {
            for (int line = 0; line < 200; ++line) {
                AppLogInfo(u"App", u"a line");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::string expected;
    for (int line = 0; line < 800; ++line) {
        expected += "[05:09:08] [INFO] [App] a line\r\n";
    }
    EXPECT_EQ(Log(), expected);
}

using ActivityLog = AppCoreFiles;

TEST_F(ActivityLog, ARowHasTimeCategoryAndTextBetweenTabs) {
    AppLogStart(Data());
    AddActivity(u"Capture", u"Replay saved: x");
    AddActivity(u"Settings", u"");
    EXPECT_EQ(Activity(), "2026-01-05 05:09:08\tCapture\tReplay saved: x\r\n2026-01-05 05:09:08\tSettings\t\r\n");
    ASSERT_THAT(CurrentAppCore().history.rows, SizeIs(2));
    EXPECT_EQ(CurrentAppCore().history.rows[0], (ActivityRow{u"2026-01-05 05:09:08", u"Capture", u"Replay saved: x"}));
}

TEST_F(ActivityLog, TabsAndLineBreaksOfATextAreWrittenAsTheyAre) {
    AppLogStart(Data());
    AddActivity(u"Capture", u"a\tb\nc");
    EXPECT_EQ(Activity(), "2026-01-05 05:09:08\tCapture\ta\tb\r\nc\r\n");
}

TEST_F(ActivityLog, TheListKeepsTheLast200RowsAndTheFileAll) {
    AppLogStart(Data());
    for (int index = 0; index < 200; ++index) {
        AddActivity(u"Capture", Decimal(index));
    }
    EXPECT_THAT(CurrentAppCore().history.rows, SizeIs(200));
    EXPECT_EQ(CurrentAppCore().history.rows.front().text, u"0");
    AddActivity(u"Capture", u"200");
    EXPECT_THAT(CurrentAppCore().history.rows, SizeIs(200));
    EXPECT_EQ(CurrentAppCore().history.rows.front().text, u"1");
    EXPECT_EQ(CurrentAppCore().history.rows.back().text, u"200");
    const std::string bytes = Activity();
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\n'), 201);
}

TEST_F(ActivityLog, ACharacterWithoutAByteMakesItsRowUtf8OrEndsIt) {
    AppLogStart(Data());
    AddActivity(u"Capture", u"a\u0416b");
    AddActivity(u"Capture", u"c");
    EXPECT_EQ(Activity(), std::string("2026-01-05 05:09:08\tCapture\ta") +
                              (namesAreUtf8 ? "\xD0\x96"
                                              "b\r\n"
                                            : "") +
                              "2026-01-05 05:09:08\tCapture\tc\r\n");
    EXPECT_EQ(CurrentAppCore().history.rows[0].text, u"a\u0416b");
}

TEST_F(ActivityLog, WithoutAPathRowsAreKeptInMemoryOnly) {
    AddActivity(u"Capture", u"text");
    EXPECT_THAT(CurrentAppCore().history.rows, SizeIs(1));
    EXPECT_FALSE(std::filesystem::exists(DataPath()));
}

TEST_F(ActivityLog, WithoutAFileItReportsNothing) {
    AppLogStart(Data());
    std::filesystem::create_directory(DataPath() / "History" / "activity.log");
    AddActivity(u"Capture", u"text");
    EXPECT_THAT(CurrentAppCore().history.rows, SizeIs(1));
}

TEST(AppCore, KeepsItsFourTexts) {
    EXPECT_EQ(CurrentAppCore().releaseVersion, u"0.3.0");
    EXPECT_EQ(CurrentAppCore().releaseStatus, u"Not checked");
    EXPECT_EQ(CurrentAppCore().releaseTitle, u"");
    EXPECT_EQ(CurrentAppCore().releaseNotes, u"");
}

}  // namespace
}  // namespace zv
