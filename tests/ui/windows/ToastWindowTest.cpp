// What the notification's window does: when it appears, for how long, what it paints.
#include "ui/commands/Notifications.h"

#include "ui/Notices.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/Icons.h"
#include "ui/windows/ToastWindow.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::RecordOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class Notifications : public Notices {
protected:
    Notifications() { CurrentSettings().notifications = true; }

    fake::WindowRecord& Record() { return Of(toast_); }
    std::intptr_t Ask(std::uint32_t code, std::uintptr_t wParam = 0) { return ToastProc(*toast_, code, wParam, 0); }
};

TEST_F(Notifications, AStatusIsShownOverTheGameForThreeSeconds) {
    ShowToastForStatus(u"Replay saved: a.mp4");
    EXPECT_TRUE(Record().shown);
    EXPECT_TRUE(Record().topmost);
    EXPECT_EQ(Record().bounds, (Rectangle{1574, 80, 1904, 156}));
    EXPECT_THAT(Record().timers, ElementsAre(Pair(1U, 3000U)));
    EXPECT_EQ(Ui().toast, (Toast{u"Clip saved", IconKind::Replay}));
    Ask(message::timer, 1);
    EXPECT_FALSE(Record().shown);
    EXPECT_THAT(Record().timers, IsEmpty());
}

TEST_F(Notifications, OtherTimersDoNotHideIt) {
    ShowToastForStatus(u"Replay saved: a.mp4");
    Ask(message::timer, 2);
    EXPECT_TRUE(Record().shown);
    EXPECT_THAT(Record().timers, ElementsAre(Pair(1U, 3000U)));
}

TEST_F(Notifications, ASecondOneReplacesTheFirstAndRestartsTheTime) {
    ShowToastForStatus(u"Replay saved: a.mp4");
    const int invalidations = Record().invalidations;
    const int timers = CountOf("StartTimer");
    ShowToastForStatus(u"Recording started.");
    EXPECT_EQ(Ui().toast, (Toast{u"Recording has started", IconKind::Record}));
    EXPECT_GT(Record().invalidations, invalidations);
    EXPECT_EQ(CountOf("StartTimer"), timers + 1);  // which restarts it
    EXPECT_THAT(Record().timers, ElementsAre(Pair(1U, 3000U)));
    Ask(message::timer, 1);
    EXPECT_FALSE(Record().shown);
}

TEST_F(Notifications, AStatusWithoutANotificationChangesNothing) {
    ShowToastForStatus(u"Replay saved: a.mp4");
    const int timers = CountOf("StartTimer");
    const int invalidations = Record().invalidations;
    for (const TextView status : {u"", u"Saving screenshot...", u"Settings saved"}) {
        ShowToastForStatus(Text(status));
    }
    EXPECT_TRUE(Record().shown);
    EXPECT_EQ(Ui().toast.text, u"Clip saved");
    EXPECT_EQ(CountOf("StartTimer"), timers);
    EXPECT_EQ(Record().invalidations, invalidations);
}

TEST_F(Notifications, AnEmptyStatusShowsNothing) {
    ShowToastForStatus(u"");
    EXPECT_FALSE(Record().shown);
    EXPECT_THAT(Record().timers, IsEmpty());
}

TEST_F(Notifications, NothingIsShownWhileTheyAreDisabled) {
    CurrentSettings().notifications = false;
    ShowToastForStatus(u"Replay saved: a.mp4");
    EXPECT_FALSE(Record().shown);
    EXPECT_THAT(Record().timers, IsEmpty());
    EXPECT_EQ(Ui().toast.text, u"");
}

TEST_F(Notifications, WithoutItsWindowNothingHappens) {
    EXPECT_EQ(Ui().toastWindow, toast_.get());
    toast_.reset();
    EXPECT_EQ(Ui().toastWindow, nullptr);
    ShowToastForStatus(u"Replay saved: a.mp4");
    HideToast();
    EXPECT_EQ(Ui().toast.text, u"");
}

TEST_F(Notifications, HidingStopsTheTimer) {
    ShowToastForStatus(u"Replay saved: a.mp4");
    HideToast();
    EXPECT_FALSE(Record().shown);
    EXPECT_THAT(Record().timers, IsEmpty());
}

TEST_F(Notifications, ItIsShownOnTheCapturedMonitor) {
    CurrentSettings().monitorDevice = u"Side";
    ShowToastForStatus(u"Replay saved: a.mp4");
    EXPECT_EQ(Record().bounds, (Rectangle{4134, 80, 4464, 156}));
}

TEST_F(Notifications, IfTheCapturedMonitorIsUnpluggedTheOneAtTheOriginShowsIt) {
    CurrentSettings().monitorDevice = u"Gone";
    ShowToastForStatus(u"Replay saved: a.mp4");
    EXPECT_EQ(Record().bounds, (Rectangle{1574, 80, 1904, 156}));
}

TEST_F(Notifications, ItScalesWithTheMainWindowsDpi) {
    RecordOf(*window_).dpi = 144;
    ShowToastForStatus(u"Replay saved: a.mp4");
    EXPECT_EQ(Record().bounds, (Rectangle{1401, 120, 1896, 234}));
}

TEST_F(Notifications, ClicksPassThroughAndActivateNothing) {
    EXPECT_EQ(Ask(message::hitTest), -1);
    EXPECT_EQ(Ask(message::mouseActivate), 3);
    EXPECT_EQ(Ask(message::eraseBackground), 1);
}

TEST_F(Notifications, OtherMessagesAreLeftToTheSystem) {
    const int before = CountOf("DefaultProcedure");
    Ask(message::setFocus);
    EXPECT_EQ(CountOf("DefaultProcedure"), before + 1);
}

/// The lines of an icon that is drawn around the origin.
std::vector<std::string> IconLines(IconKind kind, Color color) {
    const Owned<Canvas> canvas = MakeCanvas(1, 1);
    DrawVectorIcon(*canvas, 0, 0, kind, color);
    return fake::Drawn(*canvas);
}

TEST_F(Notifications, TheDesignIsScaledIntoTheWindow) {
    RecordOf(*window_).dpi = 144;
    ShowToastForStatus(u"Replay saved: a.mp4");
    std::vector<std::string> expected = {"push 0,0 scale 1.5", "fill 0,0,330,76 35,34,39", "fill 0,0,4,76 151,119,255",
                                         "push 37,38 scale 0.48"};
    for (const std::string& line : IconLines(IconKind::Replay, Rgb(151, 119, 255))) {
        expected.push_back(line);
    }
    expected.insert(expected.end(), {"pop", "text 68,8,314,68 15/400 241,242,250 \"Clip saved\"", "pop"});
    EXPECT_EQ(Paint(*toast_), expected);
    EXPECT_EQ(Record().pixelWidth, 495);
    EXPECT_EQ(Record().pixelHeight, 114);
}

TEST_F(Notifications, ALongTextHasSeveralLines) {
    ShowToast({u"Ctrl + Alt + S is busy.", IconKind::Camera, true});
    EXPECT_TRUE(IsToastShown());
    const std::vector<std::string> lines = Paint(*toast_);
    EXPECT_THAT(lines, Contains("text 68,14,314,74 15/400 wrapped 241,242,250 \"Ctrl + Alt + S is busy.\""));
    HideToast();
    EXPECT_FALSE(IsToastShown());
}

TEST_F(Notifications, TheIconIsThatOfItsKindInTheAccent) {
    Drawing().accentColor = Rgb(255, 97, 192);
    struct Row {
        TextView status;
        IconKind icon;
    };
    for (const Row& row : {Row{u"Replay saved: a", IconKind::Replay}, Row{u"Recording started.", IconKind::Record},
                           Row{u"Screenshot saved: a", IconKind::Camera}}) {
        ShowToastForStatus(Text(row.status));
        const std::vector<std::string> icon = IconLines(row.icon, Rgb(255, 97, 192));
        const std::vector<std::string> lines = Paint(*toast_);
        ASSERT_EQ(lines.size(), icon.size() + 7);
        EXPECT_EQ(std::vector<std::string>(lines.begin() + 4, lines.end() - 3), icon) << static_cast<int>(row.icon);
        EXPECT_THAT(lines, Contains("fill 0,0,4,76 255,97,192"));
    }
}

TEST_F(Notifications, WithoutMemoryThePaintIsStillHandled) {
    ShowToastForStatus(u"Replay saved: a.mp4");
    fake::FailCall("MakeCanvas", CountOf("MakeCanvas") + 1, -1);
    EXPECT_THAT(Paint(*toast_), IsEmpty());
    EXPECT_FALSE(Record().mustPaint);
}

}  // namespace
}  // namespace zv
