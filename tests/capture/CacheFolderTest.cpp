#include "capture/CacheFolder.h"

#include "EngineFixture.h"

namespace zv {
namespace {

using testing::ElementsAre;

class CacheFolder : public EngineTest {
protected:
    CacheFolder() { fake::TheEnvironment().runningProcesses = {815, 4711}; }
    /// The cache folder of a process: logs, a ring, the copies of a save.
    Text Fill(TextView name) {
        const Text folder = JoinPath(JoinPath(Here(u"cache"), u"ZVReelsMax"), name);
        for (const char16_t* media : {u"replay-1000", u"save-2000"}) {
            std::filesystem::create_directories(ToPath(JoinPath(folder, media)));
            WriteFile(JoinPath(JoinPath(folder, media), u"seg00000001.ts"), "a segment");
        }
        WriteFile(JoinPath(folder, u"replay.log"), "a log");
        WriteFile(JoinPath(folder, u"performance.log"), "another log");
        return folder;
    }
    static void ExpectKept(const Text& folder) {
        EXPECT_THAT(EntriesOf(folder), ElementsAre(u"performance.log", u"replay-1000", u"replay.log", u"save-2000"));
        EXPECT_TRUE(Exists(JoinPath(JoinPath(folder, u"replay-1000"), u"seg00000001.ts")));
    }
    static void ExpectOnlyLogs(const Text& folder) {
        EXPECT_THAT(EntriesOf(folder), ElementsAre(u"performance.log", u"replay.log"));
    }
};

TEST_F(CacheFolder, LosesTheMediaOfEndedProcessesAndKeepsTheirLogs) {
    const Text first = Fill(u"500-1");
    const Text second = Fill(u"4294967-99999999999");
    RemoveLeftovers(Fill(u"4711-77"));
    ExpectOnlyLogs(first);
    ExpectOnlyLogs(second);
}

TEST_F(CacheFolder, KeepsAllOfRunningProcesses) {
    const Text other = Fill(u"815-1");
    const Text own = Fill(u"4711-77");
    RemoveLeftovers(own);
    ExpectKept(other);
    ExpectKept(own);
}

TEST_F(CacheFolder, OfAnEarlierProcessWithTheSameIdIsLeft) {
    const Text earlier = Fill(u"4711-76");
    RemoveLeftovers(Fill(u"4711-77"));
    ExpectOnlyLogs(earlier);
}

TEST_F(CacheFolder, OnlyFoldersWithTheNameOfACacheAreTouched) {
    std::vector<Text> others;
    for (const char16_t* name : {u"500", u"x-1", u"-1", u"notes", u"99999999999-1"}) {
        others.push_back(Fill(name));
    }
    RemoveLeftovers(Fill(u"4711-77"));
    for (const Text& folder : others) {
        ExpectKept(folder);
    }
}

TEST_F(CacheFolder, MissingIsNoFailure) {
    RemoveLeftovers(Here(u"missing/4711-77"));
    RemoveLeftovers(u"");
}

}  // namespace
}  // namespace zv
