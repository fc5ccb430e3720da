// The overlay's pages as text: every control in every state, and what a click on it does.
#include "ui/pages/OverlayTiles.h"

#include <algorithm>
#include <cstdio>

#include "core/AppCore.h"
#include "ui/QuickOverlay.h"
#include "ui/kit/DrawingContext.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/TargetIds.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::ReplayStart;
using fake::TheEngine;
using fake::TheWindows;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const std::string purple = "151,119,255";
const std::string primary = "241,242,250";
const std::string muted = "158,164,187";
const std::string black = "0,0,0";
const std::string pressed = "38,25,58";

/// The state that the tiles depend on. `job` and `screenshot` store a finished result that is never collected.
struct States {
    bool job = false;
    bool recording = false;
    bool replay = false;
    bool screenshot = false;
    bool microphone = false;
    bool sound = false;
    bool popover = false;
    std::int32_t seconds = 0;
};

class OverlayTiles : public QuickOverlay {
protected:
    OverlayTiles() { Set({}); }

    void Set(const States& states) {
        Ui().capture.captureJobSlot.Release();
        Ui().screenshot.screenshotSlot.Release();
        if (states.job) {
            Ui().capture.captureJobSlot.Start([] { return Text(); }, Text());
        }
        if (states.screenshot) {
            Ui().screenshot.screenshotSlot.Start([] { return Text(); }, Text());
        }
        Engine().state = states.recording ? EngineState::Recording : EngineState::Ready;
        Engine().replayRunning = states.replay;
        CurrentSettings().micEnabled = states.microphone;
        CurrentSettings().gameAudioEnabled = states.sound;
        Ui().replayPopoverOpen = states.popover;
        Ui().capture.secondsReady = states.seconds;
    }

    /// A drawing pass in which each icon is one line, "icon x,y scale s".
    std::vector<std::string> Page() {
        std::vector<std::string> flat;
        int depth = 0;
        for (const std::string& line : Render()) {
            if (line.starts_with("push")) {
                if (depth++ == 0) {
                    flat.push_back("icon" + line.substr(4));
                }
            } else if (line == "pop") {
                --depth;
            } else if (depth == 0) {
                flat.push_back(line);
            }
        }
        return flat;
    }

    static std::string Label(const std::string& box, const std::string& color, const std::string& text) {
        return "text " + box + " 15/400 centred " + color + " \"" + text + "\"";
    }
    static std::string BoldLabel(const std::string& box, const std::string& color, const std::string& text) {
        return "text " + box + " 17/600 centred " + color + " \"" + text + "\"";
    }

    /// The words of the first text whose box lies within `box`.
    static std::string FirstTextWithin(const std::vector<std::string>& page, const Rectangle& box) {
        for (const std::string& line : page) {
            Rectangle at;
            if (std::sscanf(line.c_str(), "text %d,%d,%d,%d ", &at.left, &at.top, &at.right, &at.bottom) == 4 &&
                at.left >= box.left && at.top >= box.top && at.right <= box.right && at.bottom <= box.bottom) {
                const std::size_t quote = line.find('"');
                return line.substr(quote + 1, line.size() - quote - 2);
            }
        }
        return "no text";
    }

    bool IsRegistered(std::int32_t id) const { return TargetOf(id) != nullptr; }
    const HitTarget* TargetOf(std::int32_t id) const {
        const auto& targets = State().targets;
        const auto found =
            std::find_if(targets.begin(), targets.end(), [id](const HitTarget& target) { return target.id == id; });
        return found == targets.end() ? nullptr : &*found;
    }

    /// Shows the overlay at one device pixel to a design pixel and paints it.
    void Open() {
        fake::TheMonitors().workAreas = {{{0, 0, 1010, 568}, {0, 0, 1010, 568}}};
        if (!IsOverlayShown()) {
            ToggleQuickOverlay();
        }
        fake::PaintIfNeeded(*overlay_);
    }
    /// Clicks a target of the last paint, without painting again.
    void ClickAsPainted(std::int32_t id) {
        Open();
        const HitTarget* target = TargetOf(id);
        ASSERT_NE(target, nullptr) << id;
        const auto point = At((target->box.left + target->box.right) / 2, (target->box.top + target->box.bottom) / 2);
        SendToOverlay(message::leftButtonDown, 0, point);
        SendToOverlay(message::leftButtonUp, 0, point);
        fake::PaintIfNeeded(*overlay_);
    }
    void Click(std::int32_t id) {
        InvalidateWindow(*overlay_);
        ClickAsPainted(id);
    }
};

// What is drawn.

TEST_F(OverlayTiles, OfferNoCaptureWhereNoneIsPossible) {
    TheWindows().captureObstacle = u"Nothing can capture the screen.";
    const std::vector<std::string> page = Page();
    EXPECT_EQ(std::count_if(page.begin(), page.end(),
                            [](const std::string& line) { return line.ends_with("\"Not available\""); }),
              3);
    for (const std::int32_t id : {overlayTarget::replay, overlayTarget::record, overlayTarget::screenshot,
                                  overlayTarget::microphone, overlayTarget::systemSound}) {
        const auto& targets = Ui().overlayState.targets;
        EXPECT_TRUE(std::none_of(targets.begin(), targets.end(), [id](const auto& target) { return target.id == id; }))
            << id;
    }
}

TEST_F(OverlayTiles, TheHeaderIsAStripWithAChipAndATitle) {
    const std::vector<std::string> page = Page();
    EXPECT_EQ(page.front(), "fill 0,0,1010,568 1,2,3") << "the key colour";
    EXPECT_THAT(page, Contains("fill 0,0,1010,47 0,0,0"));
    EXPECT_THAT(page, Contains("fill 8,8,38,39 31,24,45"));
    EXPECT_THAT(page, Contains(BoldLabel("8,8,38,39", purple, "ZV")));
    EXPECT_THAT(page, Contains(BoldLabel("340,5,670,42", primary, "Zorvel")));
}

TEST_F(OverlayTiles, ThePopoverIsAPanelThatShowsTheBufferedSeconds) {
    Set({.replay = true, .popover = true, .seconds = 42});
    const std::vector<std::string> page = Page();
    EXPECT_THAT(page, Contains("round 321,228,705,356 corner 12 24,19,34"));
    EXPECT_THAT(page, Contains("round frame 321,228,705,356 corner 12 69,49,100"));
    EXPECT_THAT(page, Contains("text 337,234,654,260 17/600 151,119,255 \"Instant replay\""));
    EXPECT_THAT(page, Contains("text 337,317,515,345 15/400 158,164,187 \"42 seconds ready\""));
}

TEST_F(OverlayTiles, EveryControlHasItsIdItsBoundsAndItsLabel) {
    struct Row {
        std::int32_t id;
        Rectangle box;
        const char* label;
    };
    const Row rows[] = {
        {901, {982, 8, 1008, 39}, "X"},
        {914, {170, 90, 298, 132}, "Broadcast LIVE"},
        {913, {170, 132, 298, 174}, "Photo gallery"},
        {906, {170, 174, 298, 217}, "Open app"},
        {904, {321, 90, 449, 218}, "Instant replay"},
        {902, {449, 90, 577, 218}, "Record"},
        {903, {577, 90, 705, 218}, "Screenshot"},
        {908, {726, 90, 854, 153}, "Gallery"},
        {905, {726, 165, 768, 217}, "Off"},
        {909, {768, 165, 810, 217}, "Off"},
        {910, {810, 165, 854, 217}, ""},
        {965, {665, 234, 697, 261}, "X"},
        {960, {335, 274, 511, 308}, "Save replay"},
        {961, {521, 274, 691, 308}, "Turn off"},
        {962, {521, 316, 691, 347}, "Replay settings"},
    };
    Set({.replay = true, .popover = true, .seconds = 1});
    const std::vector<std::string> page = Page();
    ASSERT_EQ(State().targets.size(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(State().targets[i].id, rows[i].id);
        EXPECT_EQ(State().targets[i].box, rows[i].box) << rows[i].id;
        EXPECT_EQ(FirstTextWithin(page, rows[i].box), rows[i].label) << rows[i].id;
    }
}

TEST_F(OverlayTiles, SixButtonsAndTheThreeTilesHaveIcons) {
    std::vector<std::string> icons = Page();
    std::erase_if(icons, [](const std::string& line) { return !line.starts_with("icon "); });
    EXPECT_THAT(icons, testing::UnorderedElementsAre(
                           "icon 194,153 scale 1", "icon 194,195 scale 1", "icon 750,121 scale 1",
                           "icon 747,182 scale 1", "icon 789,182 scale 1", "icon 832,182 scale 1",
                           "icon 385,154 scale 0.78", "icon 513,154 scale 0.78", "icon 641,154 scale 0.78"));
}

// States: every combination, compared with the rules of the design.

/// Calls `check` for all of them.
template <class Check>
void ForAllStates(const Check& check) {
    for (unsigned bits = 0; bits < 256; ++bits) {
        const auto bit = [&](unsigned index) { return (bits >> index & 1U) != 0; };
        const States states{bit(0), bit(1), bit(2), bit(3), bit(4), bit(5), bit(6), bit(7) ? 1 : 0};
        SCOPED_TRACE(bits);
        check(states);
    }
}

TEST_F(OverlayTiles, JobRecordingReplayAndScreenshotDecideWhatIsEnabled) {
    ForAllStates([&](const States& states) {
        Set(states);
        Render();
        const bool free = !states.job && !states.recording;
        EXPECT_EQ(IsRegistered(904), free);
        EXPECT_EQ(IsRegistered(902), !states.job);
        EXPECT_EQ(IsRegistered(903), !states.screenshot);
        EXPECT_EQ(IsRegistered(905), free);
        EXPECT_EQ(IsRegistered(909), free);
        for (const std::int32_t id : {901, 914, 913, 906, 908, 910}) {
            EXPECT_TRUE(IsRegistered(id)) << id;
        }
        EXPECT_EQ(IsRegistered(960), states.popover && !states.job && states.replay && states.seconds >= 1);
        EXPECT_EQ(IsRegistered(961), states.popover && free);
        EXPECT_EQ(IsRegistered(962), states.popover);
        EXPECT_EQ(IsRegistered(965), states.popover);
    });
}

TEST_F(OverlayTiles, TilesShowTheirState) {
    ForAllStates([&](const States& states) {
        Set(states);
        const std::vector<std::string> page = Page();
        const std::string replay = states.job ? "" : states.replay ? "Activated" : "Off";
        const std::string record = states.job ? "" : states.recording ? "Recording" : "Ready";
        const std::string photo = states.screenshot ? "Saving..." : "Take photo";
        EXPECT_THAT(page, Contains(Label("325,193,445,213", states.replay ? purple : muted, replay)));
        EXPECT_THAT(page, Contains(Label("453,193,573,213", states.recording ? purple : muted, record)));
        EXPECT_THAT(page, Contains(Label("581,193,701,213", muted, photo)));
        EXPECT_THAT(page, Contains(Label("453,97,573,117", primary, states.recording ? "Stop recording" : "Record")));

        const bool free = !states.job && !states.recording;
        const auto framed = [&](const std::string& box) {
            return std::count(page.begin(), page.end(), "frame " + box + " depth 2 " + purple);
        };
        EXPECT_EQ(framed("321,90,449,218"), states.replay || !free ? 1 : 0);
        EXPECT_EQ(framed("449,90,577,218"), states.recording || states.job ? 1 : 0);
        EXPECT_EQ(framed("577,90,705,218"), states.screenshot ? 1 : 0);
    });
}

TEST_F(OverlayTiles, SwitchesShowTheirState) {
    ForAllStates([&](const States& states) {
        Set(states);
        const std::vector<std::string> page = Page();
        const bool free = !states.job && !states.recording;
        const auto color = [&](bool on) { return !free ? muted : on ? purple : primary; };
        EXPECT_THAT(page,
                    Contains(Label("726,196,768,217", color(states.microphone), states.microphone ? "On" : "Off")));
        EXPECT_THAT(page, Contains(Label("768,196,810,217", color(states.sound), states.sound ? "On" : "Off")));
    });
}

TEST_F(OverlayTiles, ThePopoversButtonsShowTheirState) {
    ForAllStates([&](const States& states) {
        Set(states);
        const std::vector<std::string> page = Page();
        if (!states.popover) {
            EXPECT_THAT(page, Not(Contains(HasSubstr("321,228,705,356"))));
            EXPECT_THAT(page, Not(Contains(HasSubstr("seconds ready"))));
            return;
        }
        const bool mayTurn = !states.job && !states.recording;
        const bool maySave = !states.job && states.replay && states.seconds >= 1;
        EXPECT_THAT(page, Contains("round 335,274,511,308 corner 12 " + (maySave ? purple : "34,35,45")));
        EXPECT_THAT(page, Contains(BoldLabel("335,274,511,308", maySave ? "19,14,36" : muted, "Save replay")));
        EXPECT_THAT(page, Contains("round 521,274,691,308 corner 12 " + std::string(!mayTurn        ? "34,35,45"
                                                                                    : states.replay ? "57,47,84"
                                                                                                    : "37,40,54")));
        EXPECT_THAT(page, Contains(BoldLabel("521,274,691,308", mayTurn ? primary : muted,
                                             states.replay ? "Turn off" : "Turn on")));
    });
}

TEST_F(OverlayTiles, SaveReplayIsDisabledUntilASecondIsReady) {
    Set({.replay = true, .popover = true, .seconds = 0});
    EXPECT_THAT(Page(), Contains("text 337,317,515,345 15/400 158,164,187 \"0 seconds ready\""));
    EXPECT_FALSE(IsRegistered(960));
    EXPECT_TRUE(IsRegistered(961));
}

TEST_F(OverlayTiles, AnOpenPopoverStaysDuringARecordingWithItsSwitchDisabled) {
    Set({.recording = true, .replay = true, .popover = true, .seconds = 9});
    EXPECT_THAT(Page(), Contains(BoldLabel("521,274,691,308", muted, "Turn off")));
    EXPECT_FALSE(IsRegistered(904)) << "its opener";
    EXPECT_FALSE(IsRegistered(961));
    EXPECT_TRUE(IsRegistered(960)) << "a clip can be saved beside a recording";
    EXPECT_TRUE(IsRegistered(965));
}

TEST_F(OverlayTiles, ThePopoverIsShownOnTheTilePageOnly) {
    Set({.popover = true});
    Ui().overlayPage = 1;
    EXPECT_THAT(Page(), Not(Contains(HasSubstr("321,228,705,356"))));
}

// Mouse and theme.

TEST_F(OverlayTiles, AHoveredTileIsFramedAndAPressedOneFilled) {
    State().hoverId = 903;
    EXPECT_THAT(Page(), Contains("frame 577,90,705,218 depth 2 " + purple));
    State().hoverId = noTarget;
    State().pressedId = 903;
    const auto page = Page();
    EXPECT_THAT(page, Contains("fill 577,90,705,218 " + pressed));
    EXPECT_THAT(page, Not(Contains("fill 577,90,705,218 " + black)));
    EXPECT_THAT(page, Not(Contains(StartsWith("frame 577,90,705,218")))) << "the fill alone says it";
}

TEST_F(OverlayTiles, ADisabledTileIsFramedLikeAHoveredOne) {
    const auto linesOf = [&] {
        std::vector<std::string> lines = Page();
        std::erase_if(lines, [](const std::string& line) { return line.find("577,90,705,218") == std::string::npos; });
        return lines;
    };
    State().hoverId = 903;
    const auto hovered = linesOf();
    State().hoverId = noTarget;
    const auto atRest = linesOf();
    Set({.screenshot = true});
    EXPECT_EQ(linesOf(), hovered);
    EXPECT_NE(atRest, hovered);
}

TEST_F(OverlayTiles, AHoveredButtonIsFramedAndAPressedOneFilledToo) {
    State().hoverId = 908;
    EXPECT_THAT(Page(), Contains("frame 726,90,854,153 depth 1 " + purple));
    State().hoverId = noTarget;
    State().pressedId = 908;
    const auto page = Page();
    const auto fill = std::find(page.begin(), page.end(), "fill 726,90,854,153 " + pressed);
    ASSERT_NE(fill, page.end());
    EXPECT_EQ(*(fill + 1), "frame 726,90,854,153 depth 1 " + purple) << "or the fill would hide it";
}

TEST_F(OverlayTiles, TheOverlaysFramesStayPurpleUnderAnotherTheme) {
    Drawing().accentColor = Rgb(255, 97, 192);
    Set({.replay = true, .screenshot = true, .microphone = true, .popover = true, .seconds = 1});
    State().hoverId = 914;
    const auto page = Page();
    EXPECT_THAT(page, Contains("frame 321,90,449,218 depth 2 " + purple));
    EXPECT_THAT(page, Contains("frame 577,90,705,218 depth 2 " + purple));
    EXPECT_THAT(page, Contains("frame 170,90,298,132 depth 1 " + purple));
    EXPECT_THAT(page, Contains(Label("325,193,445,213", purple, "Activated")));
    EXPECT_THAT(page, Contains(Label("726,196,768,217", purple, "On")));
    EXPECT_THAT(page, Contains(BoldLabel("8,8,38,39", purple, "ZV")));
    // What follows the theme: the popover's heading and the common buttons.
    EXPECT_THAT(page, Contains("text 337,234,654,260 17/600 255,97,192 \"Instant replay\""));
    EXPECT_THAT(page, Contains("round 335,274,511,308 corner 12 255,97,192"));
}

// Clicks.

TEST_F(OverlayTiles, TheCloseButtonHidesTheOverlayOnEveryPage) {
    for (const std::int32_t page : {0, 1, 2, 3, 4, 77, -1}) {
        Open();
        Ui().overlayPage = page;
        Click(901);
        EXPECT_FALSE(IsOverlayShown()) << page;
    }
}

TEST_F(OverlayTiles, BroadcastSaysThatItIsNotAvailable) {
    Click(914);
    EXPECT_EQ(Ui().statusText, u"Broadcast LIVE is not available in this version.");
    EXPECT_TRUE(IsOverlayShown());
}

TEST_F(OverlayTiles, BothGalleryButtonsOpenTheGalleryFromItsBeginning) {
    for (const std::int32_t id : {913, 908}) {
        Ui().overlayPage = 0;
        Ui().gallery.galleryFilter = 2;
        Ui().gallery.galleryFirstIndex = 12;
        Ui().gallery.galleryGame = u"Alpha";
        Click(id);
        EXPECT_EQ(Ui().overlayPage, 1) << id;
        EXPECT_EQ(Ui().gallery.galleryFilter, 0) << id;
        EXPECT_EQ(Ui().gallery.galleryFirstIndex, 0) << id;
        EXPECT_EQ(Ui().gallery.galleryGame, u"") << id;
        EXPECT_TRUE(IsOverlayShown());
    }
}

TEST_F(OverlayTiles, OpenAppHidesTheOverlayAndActivatesTheMainWindow) {
    HideWindow(*window_);
    fake::RecordOf(*window_).icon = true;
    Click(906);
    EXPECT_FALSE(IsOverlayShown());
    EXPECT_TRUE(IsWindowShown(*window_));
    EXPECT_FALSE(IsWindowMinimized(*window_));
    EXPECT_EQ(TheWindows().inFront, window_.get());
}

TEST_F(OverlayTiles, TheReplayTileOpensAndClosesItsPopover) {
    Click(904);
    EXPECT_TRUE(Ui().replayPopoverOpen);
    EXPECT_TRUE(IsRegistered(965));
    Click(904);
    EXPECT_FALSE(Ui().replayPopoverOpen);
    Click(904);
    Click(965);
    EXPECT_FALSE(Ui().replayPopoverOpen);
    EXPECT_FALSE(IsRegistered(965));
}

TEST_F(OverlayTiles, TheRecordTileStartsARecordingAndEndsIt) {
    Click(902);
    FinishJob();
    ASSERT_EQ(TheEngine().recordings.size(), 1U);
    EXPECT_TRUE(GetRecordingStatus().recording);
    Click(902);
    FinishJob();
    EXPECT_FALSE(GetRecordingStatus().recording);
    EXPECT_EQ(CountOf("FinishRecording"), 1);
}

TEST_F(OverlayTiles, TheScreenshotTileIsDisabledUntilTheScreenshotIsSaved) {
    fake::TheMonitors().monitors = {{u"Main", 0, 0, 1010, 568, -1, true}};
    Click(903);
    EXPECT_TRUE(Ui().screenshot.screenshotSlot.IsBusy());
    EXPECT_THAT(Page(), Contains(Label("581,193,701,213", muted, "Saving...")));
    EXPECT_FALSE(IsRegistered(903));
    AwaitScreenshot();
    Collect();
    EXPECT_TRUE(Ui().statusText.starts_with(u"Screenshot saved: "));
    Render();
    EXPECT_TRUE(IsRegistered(903));
}

TEST_F(OverlayTiles, TheSwitchesToggleAndApplyTheirSetting) {
    Ui().capture.secondsReady = 30;
    Click(905);
    EXPECT_TRUE(CurrentSettings().micEnabled);
    EXPECT_FALSE(CurrentSettings().gameAudioEnabled);
    EXPECT_EQ(Ui().capture.secondsReady, 0);
    EXPECT_FALSE(IsRegistered(905)) << "disabled while the change is applied";
    FinishJob();
    EXPECT_TRUE(TheEngine().configs.back().micEnabled);
    Click(909);
    EXPECT_TRUE(CurrentSettings().gameAudioEnabled);
    FinishJob();
    EXPECT_TRUE(TheEngine().configs.back().gameAudioEnabled);
    Click(905);
    FinishJob();
    Click(909);
    FinishJob();
    EXPECT_FALSE(TheEngine().configs.back().micEnabled);
    EXPECT_FALSE(TheEngine().configs.back().gameAudioEnabled);
    EXPECT_THAT(SettingsBytes(), HasSubstr("micEnabled=0"));
}

TEST_F(OverlayTiles, TheGearOpensTheSettingsAtTheLastSection) {
    Ui().settingsSection = 2;
    Click(910);
    EXPECT_EQ(Ui().overlayPage, 3);
    EXPECT_EQ(Ui().settingsSection, 2);
}

TEST_F(OverlayTiles, SaveReplaySavesAClip) {
    Set({.replay = true, .popover = true, .seconds = 5});
    Click(960);
    FinishJob();
    EXPECT_EQ(TheEngine().clips.size(), 1U);
    EXPECT_TRUE(Ui().statusText.starts_with(u"Replay saved: "));
}

TEST_F(OverlayTiles, TheReplaySwitchTogglesTheEnginesStateAtTheClick) {
    CurrentSettings().instantReplay = false;
    Set({.replay = true, .popover = true});
    Click(961);
    EXPECT_FALSE(CurrentSettings().instantReplay) << "it runs, whatever the setting said";
    FinishJob();
    EXPECT_FALSE(TheEngine().replayStarts.back().enable);

    Click(961);
    EXPECT_TRUE(CurrentSettings().instantReplay);
    FinishJob();
    EXPECT_TRUE(TheEngine().replayStarts.back().enable);

    InvalidateWindow(*overlay_);
    Open();
    Engine().replayRunning = false;  // it died after the last paint
    ClickAsPainted(961);
    EXPECT_TRUE(CurrentSettings().instantReplay);
    FinishJob();
}

TEST_F(OverlayTiles, ReplaySettingsClosesThePopoverAndOpensTheSettings) {
    Set({.popover = true});
    Click(962);
    EXPECT_FALSE(Ui().replayPopoverOpen);
    EXPECT_EQ(Ui().overlayPage, 3);
}

// The other pages.

TEST_F(OverlayTiles, HeaderAndCloseButtonStayOnEveryPage) {
    for (const std::int32_t page : {0, 1, 2, 3, 4, 77, -1}) {
        Ui().overlayPage = page;
        const auto lines = Page();
        EXPECT_EQ(lines.front(), "fill 0,0,1010,568 1,2,3");
        EXPECT_THAT(lines, Contains(BoldLabel("340,5,670,42", primary, "Zorvel"))) << page;
        EXPECT_EQ(State().targets.front().id, 901) << page;
        EXPECT_EQ(IsRegistered(904), page == 0) << page;
    }
}

TEST_F(OverlayTiles, TheSettingsGoBackAndKeepTheirSection) {
    Ui().overlayPage = 3;
    Ui().settingsSection = 2;
    EXPECT_THAT(Page(), Contains(Label("163,80,250,113", primary, "< Back")));
    ASSERT_TRUE(IsRegistered(970));
    EXPECT_EQ(TargetOf(970)->box, (Rectangle{163, 80, 250, 113}));
    Click(970);
    EXPECT_EQ(Ui().overlayPage, 0);
    EXPECT_EQ(Ui().settingsSection, 2);
}

}  // namespace
}  // namespace zv
