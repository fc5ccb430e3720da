#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "support/Eventually.h"
#include "support/PlatformChild.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using support::ContentOf;
using support::Eventually;
using support::generousMs;
using support::PlatformChild;

class ChildProcess : public testing::Test {
protected:
    std::filesystem::path Log() const { return folder_.Path() / "child.log"; }
    std::filesystem::path TickFile() const { return folder_.Path() / "ticks"; }
    Text TickArguments() const { return u"tick \"" + FromPath(TickFile()) + u"\""; }

    bool HasTicked() const { return ContentOf(TickFile()).find("\n.") != std::string::npos; }

    /// Returns true if the tick file has not grown for a second.
    bool TicksHaveEnded() const {
        return Eventually([this] {
            const std::size_t before = ContentOf(TickFile()).size();
            SleepMs(1000);
            return ContentOf(TickFile()).size() == before;
        });
    }

    support::TemporaryFolder folder_;
};

TEST_F(ChildProcess, HasTheExitCodeOfTheChild) {
    for (const auto& [arguments, code] : {std::pair{u"exit 0", 0U}, {u"exit 1", 1U}, {u"exit 123", 123U}}) {
        Child child;
        ASSERT_TRUE(SpawnChild(PlatformChild(arguments, Log()), child));
        ASSERT_TRUE(WaitForExit(*child.process, generousMs));
        EXPECT_FALSE(IsRunning(*child.process));
        EXPECT_EQ(ExitCode(*child.process), code);
        EXPECT_EQ(ExitCode(*child.process), code);
    }
}

TEST_F(ChildProcess, EveryArgumentIsQuotedByTheWindowsRule) {
    Child child;
    const Text line =
        u"arguments plain \"with blank\" \"\" \"a\\\\\" \"a\\\"b\" a\\\\b \"a\\b\" \"C:\\dir\\\\\" \"\\\\\\\"\" x\"y "
        u"z\"w \"Zürich\" a\\\"b \"say \"\"hi\"\"\"";
    ASSERT_TRUE(SpawnChild(PlatformChild(line, Log()), child));
    ASSERT_TRUE(WaitForExit(*child.process, generousMs));
    const std::string printed = ContentOf(Log());
    EXPECT_EQ(printed.substr(printed.find('\n') + 1),
              "[arguments]\n[plain]\n[with blank]\n[]\n[a\\]\n[a\"b]\n[a\\\\b]\n[a\\b]\n[C:\\dir\\]\n[\\\"]\n[xy zw]\n"
              "[Z\xC3\xBCrich]\n[a\"b]\n[say \"hi\"]\n");
}

TEST_F(ChildProcess, OutputAndErrorAreWrittenToANewLog) {
    std::ofstream(Log()) << "what an earlier child said, at some length, so that a rest of it would show";
    Child child;
    ASSERT_TRUE(SpawnChild(PlatformChild(u"outputs", Log()), child));
    ASSERT_TRUE(WaitForExit(*child.process, generousMs));
    EXPECT_EQ(ContentOf(Log()), "to the output\nto the error\n");
}

TEST_F(ChildProcess, TheLogCanBeReadWhileTheChildRuns) {
    Child child;
    ASSERT_TRUE(SpawnChild(
        PlatformChild(
            u"spawn \"" + FromPath(TickFile()) + u"\" \"" + FromPath(folder_.Path() / "inner.log") + u"\" wait", Log()),
        child));
    EXPECT_TRUE(Eventually([this] { return ContentOf(Log()) == "started\n"; }));
    EXPECT_TRUE(IsRunning(*child.process));
}

TEST_F(ChildProcess, AWaitForARunningChildTimesOut) {
    Child child;
    ASSERT_TRUE(SpawnChild(PlatformChild(TickArguments(), Log()), child));
    EXPECT_TRUE(IsRunning(*child.process));
    const std::int64_t begin = SteadyNs();
    EXPECT_FALSE(WaitForExit(*child.process, 50));
    EXPECT_GE(SteadyNs() - begin, 30'000'000);
    EXPECT_FALSE(WaitForExit(*child.process, 0));
}

TEST_F(ChildProcess, TheChildReceivesWhatIsWrittenToItsInput) {
    Child child;
    ASSERT_TRUE(SpawnChild(PlatformChild(u"quit", Log()), child));
    EXPECT_TRUE(IsRunning(*child.process));
    WriteInput(*child.input, "q\n");
    ASSERT_TRUE(WaitForExit(*child.process, generousMs));
    EXPECT_EQ(ExitCode(*child.process), 7U);
}

TEST_F(ChildProcess, ClosingTheInputEndsTheInputOfTheChild) {
    Child child;
    ASSERT_TRUE(SpawnChild(PlatformChild(u"quit", Log()), child));
    child.input.reset();
    ASSERT_TRUE(WaitForExit(*child.process, generousMs));
    EXPECT_EQ(ExitCode(*child.process), 8U);
}

TEST_F(ChildProcess, AnotherChildDoesNotKeepTheInputOfTheFirstOpen) {
    Child first;
    ASSERT_TRUE(SpawnChild(PlatformChild(u"quit", Log()), first));
    Child second;
    ASSERT_TRUE(SpawnChild(PlatformChild(TickArguments(), folder_.Path() / "second.log"), second));
    first.input.reset();
    EXPECT_TRUE(WaitForExit(*first.process, generousMs));
}

TEST_F(ChildProcess, WritingToAnEndedChildIsHarmless) {
    Child child;
    ASSERT_TRUE(SpawnChild(PlatformChild(u"exit 0", Log()), child));
    ASSERT_TRUE(WaitForExit(*child.process, generousMs));
    WriteInput(*child.input, "q\n");
    WriteInput(*child.input, "q\n");
    EXPECT_EQ(ExitCode(*child.process), 0U);
}

TEST_F(ChildProcess, TerminatingTheJobEndsTheChildWithExitCodeOne) {
    Child child;
    ASSERT_TRUE(SpawnChild(PlatformChild(TickArguments(), Log()), child));
    ASSERT_TRUE(Eventually([this] { return HasTicked(); }));
    TerminateJob(*child.job);
    ASSERT_TRUE(WaitForExit(*child.process, generousMs));
    EXPECT_EQ(ExitCode(*child.process), 1U);
    TerminateJob(*child.job);
}

TEST_F(ChildProcess, TerminatingTheJobAlsoEndsTheChildrenOfTheChild) {
    Child child;
    ASSERT_TRUE(SpawnChild(
        PlatformChild(
            u"spawn \"" + FromPath(TickFile()) + u"\" \"" + FromPath(folder_.Path() / "inner.log") + u"\" wait", Log()),
        child));
    ASSERT_TRUE(Eventually([this] { return HasTicked(); }));
    TerminateJob(*child.job);
    EXPECT_TRUE(WaitForExit(*child.process, generousMs));
    EXPECT_TRUE(TicksHaveEnded());
}

TEST_F(ChildProcess, ClosingTheJobKillsTheChild) {
    Child child;
    ASSERT_TRUE(SpawnChild(PlatformChild(TickArguments(), Log()), child));
    ASSERT_TRUE(Eventually([this] { return HasTicked(); }));
    child.job.reset();
    EXPECT_TRUE(WaitForExit(*child.process, generousMs));
    EXPECT_TRUE(TicksHaveEnded());
}

TEST_F(ChildProcess, DestroyingAllHandlesKillsTheChild) {
    {
        Child child;
        ASSERT_TRUE(SpawnChild(PlatformChild(TickArguments(), Log()), child));
        ASSERT_TRUE(Eventually([this] { return HasTicked(); }));
    }
    EXPECT_TRUE(TicksHaveEnded());
}

TEST_F(ChildProcess, AChildOutlivesTheThreadThatStartedIt) {
    Child child;
    bool spawned = false;
    std::thread([&] { spawned = SpawnChild(PlatformChild(TickArguments(), Log()), child); }).join();
    ASSERT_TRUE(spawned);
    ASSERT_TRUE(Eventually([this] { return HasTicked(); }));
    EXPECT_FALSE(WaitForExit(*child.process, 100));
}

TEST_F(ChildProcess, AChildDiesWithAParentThatDoesNotCleanUp) {
    Child parent;
    ASSERT_TRUE(SpawnChild(PlatformChild(u"spawn \"" + FromPath(TickFile()) + u"\" \"" +
                                             FromPath(folder_.Path() / "inner.log") + u"\" vanish",
                                         Log()),
                           parent));
    ASSERT_TRUE(WaitForExit(*parent.process, generousMs));
    ASSERT_EQ(ExitCode(*parent.process), 5U);
    ASSERT_TRUE(HasTicked());
    // The job of this process is still open, so only the parent's end can have killed the child.
    EXPECT_TRUE(TicksHaveEnded());
}

TEST_F(ChildProcess, AFailedStartOwnsNothing) {
    Child child;
    ChildOptions missing = PlatformChild(u"exit 0", Log());
    missing.executable += u"-missing";
    EXPECT_FALSE(SpawnChild(missing, child));
    EXPECT_FALSE(child.process);
    EXPECT_FALSE(child.input);
    EXPECT_FALSE(child.job);

    EXPECT_FALSE(SpawnChild(PlatformChild(u"exit 0", folder_.Path() / "no such folder" / "child.log"), child));
    EXPECT_FALSE(child.process);
    EXPECT_FALSE(child.input);
    EXPECT_FALSE(child.job);
}

TEST_F(ChildProcess, LaterChildrenInheritAVariableThatWasSet) {
    const Text place = FromPath(folder_.Path());
    SetEnvironmentValue(u"ZV_TEST_FOR_CHILD", place);
    EXPECT_EQ(EnvironmentValue(u"ZV_TEST_FOR_CHILD"), place);
    Child child;
    ASSERT_TRUE(SpawnChild(PlatformChild(u"variable ZV_TEST_FOR_CHILD", Log()), child));
    ASSERT_TRUE(WaitForExit(*child.process, generousMs));
    EXPECT_EQ(ContentOf(Log()), folder_.Path().string() + "\n");
}

}  // namespace
}  // namespace zv
