// The publisher's feeds from the command to the collection of the result, and at the program's end.
#include "ui/commands/Feeds.h"

#include <algorithm>
#include <thread>

#include "ui/Interface.h"
#include "ui/commands/Commands.h"
#include "ui/windows/MainWindow.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::TheProfiles;
using testing::ElementsAre;
using testing::IsEmpty;

class FeedCommands : public Interface {
protected:
    FeedCommands() {
        fake::TheEnvironment().executableFolder = u"/app";
        TheProfiles().values[{JoinPath(u"/app", u"updates.ini"), u"Updates", u"Feed"}] = u"https://a.example";
        fake::TheWeb().body = "Version=4\nDownload=https://d";
        SetCard(u"first");
        OpenMainWindow();
    }
    static void SetCard(TextView title) {
        TheProfiles().values[{JoinPath(u"/app", u"recommended.ini"), u"Card1", u"Title"}] = title;
    }
    void FinishFeeds() {
        AwaitFeeds();
        Tick();
    }
    int& Invalidations() { return fake::RecordOf(*window_).invalidations; }
    /// Ends the program while the worker is held. Returns true if the worker has ended before the first step of the
    /// end.
    bool ShutdownWaitsFor(const JobSlot& slot) {
        bool ended = false;
        onCall_ = [&](const std::string& name, int nth) {
            if (name == "StopTimer" && nth == 1) {
                ended = slot.IsFinished();
            }
        };
        std::thread opener = OpenGateUnless("StopTimer");
        ExitProgram();
        opener.join();
        return ended;
    }
    const FeedsRecord& feeds_ = Ui().feeds;
};

TEST_F(FeedCommands, AreCollectedByTheHousekeepingTimer) {
    CheckForUpdates();
    RefreshRecommendations();
    EXPECT_EQ(fake::TheWindows().timers.count(43), 0U);
    AwaitFeeds();
    Collect();
    EXPECT_TRUE(feeds_.updateSlot.IsBusy());
    EXPECT_TRUE(feeds_.recommendationsSlot.IsBusy());
    Tick();
    EXPECT_FALSE(feeds_.updateSlot.IsBusy());
    EXPECT_FALSE(feeds_.recommendationsSlot.IsBusy());
    EXPECT_EQ(feeds_.update, (PublishedUpdate{u"4", u"", u"", u"https://d", u""}));
    EXPECT_THAT(feeds_.recommendations, ElementsAre(Recommendation{u"first", u"", u"", u""}));
}

TEST_F(FeedCommands, NothingStartsThemByItself) {
    Tick();
    Collect();
    EXPECT_EQ(CountOf("OpenHttpsGet") + CountOf("ReadProfileText"), 0);
}

TEST_F(FeedCommands, AnEarlierResultStaysUntilTheNextOne) {
    CheckForUpdates();
    RefreshRecommendations();
    FinishFeeds();
    SetCard(u"second");
    fake::TheWeb().body = "Version=5\nDownload=https://d";
    gate_.Hold("OpenHttpsGet");
    gate_.Hold("ReadProfileText");
    CheckForUpdates();
    RefreshRecommendations();
    Tick();
    EXPECT_EQ(feeds_.update.version, u"4");
    EXPECT_EQ(feeds_.recommendations.at(0).title, u"first");
    gate_.Open();
    FinishFeeds();
    EXPECT_EQ(feeds_.update.version, u"5");
    EXPECT_EQ(feeds_.recommendations.at(0).title, u"second");
}

TEST_F(FeedCommands, OneRunsAtATime) {
    gate_.Hold("ReadProfileText");
    CheckForUpdates();
    RefreshRecommendations();
    RunTo("ReadProfileText");
    CheckForUpdates();
    RefreshRecommendations();
    gate_.Open();
    FinishFeeds();
    EXPECT_EQ(CountOf("OpenHttpsGet"), 1);
    EXPECT_EQ(std::ranges::count(fake::CallLog(), "ReadProfileText Card6"), 1);
}

TEST_F(FeedCommands, StartAgainOnceTheWorkerHasEnded) {
    CheckForUpdates();
    AwaitFeeds();
    CheckForUpdates();
    FinishFeeds();
    EXPECT_EQ(CountOf("OpenHttpsGet"), 2);
}

TEST_F(FeedCommands, RepaintTheMainWindow) {
    for (const auto command : {CheckForUpdates, RefreshRecommendations}) {
        MinimizeWindow(*window_);
        Tick();
        Invalidations() = 0;
        command();
        FinishFeeds();
        EXPECT_EQ(Invalidations(), 1);
        Tick();
        EXPECT_EQ(Invalidations(), 1);
    }
}

TEST_F(FeedCommands, AnExceptionGivesASentenceAndNoCards) {
    RefreshRecommendations();
    FinishFeeds();
    fake::ThrowInCall("OpenHttpsGet", 1);
    CheckForUpdates();
    FinishFeeds();
    EXPECT_EQ(feeds_.update, FailedUpdateCheck(u"Could not start the update check."));
    fake::ThrowInCall("ReadProfileText", CountOf("ReadProfileText") + 1);
    RefreshRecommendations();
    FinishFeeds();
    EXPECT_THAT(feeds_.recommendations, IsEmpty());
}

TEST_F(FeedCommands, TheShutdownWaitsForTheUpdateCheck) {
    gate_.Hold("OpenHttpsGet");
    CheckForUpdates();
    RunTo("OpenHttpsGet");
    EXPECT_TRUE(ShutdownWaitsFor(feeds_.updateSlot));
}

TEST_F(FeedCommands, TheShutdownWaitsForTheCards) {
    gate_.Hold("ReadProfileText");
    RefreshRecommendations();
    RunTo("ReadProfileText");
    EXPECT_TRUE(ShutdownWaitsFor(feeds_.recommendationsSlot));
}

}  // namespace
}  // namespace zv
