// The drawn icons, their cache, and the program's own picture.
#include "ui/kit/Icons.h"

#include "ui/Pages.h"
#include "ui/kit/Colors.h"
#include "ui/startup/ProgramIcon.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::Drawings;
using fake::Drawn;
using fake::FailCall;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

class Icons : public Pages {
protected:
    std::vector<std::string> Vector(IconKind kind) {
        const Owned<Canvas> canvas = MakeCanvas(10, 10);
        DrawVectorIcon(*canvas, 40, 50, kind, Rgb(1, 2, 3));
        std::vector<std::string> lines = Drawn(*canvas);
        EXPECT_EQ(lines.front(), "push 40,50 scale 1");
        EXPECT_EQ(lines.back(), "pop");
        lines.erase(lines.begin());
        lines.pop_back();
        EXPECT_THAT(lines, Each(EndsWith(" 1,2,3"))) << "pen and brush are of one colour";
        return lines;
    }
};

/// Arrowheads: 9 to either side of the arc's end, and 13 ahead along its tangent.
TEST_F(Icons, ReplayIsTwoArrowsAroundADot) {
    EXPECT_THAT(Vector(IconKind::Replay),
                ElementsAre("arc 0,0 radius 25 from 200 by 120 pen 4 1,2,3",
                            "polygon 12.26,-10.28 26.05,-21.85 27.51,-6.11 1,2,3",
                            "arc 0,0 radius 25 from 20 by 120 pen 4 1,2,3",
                            "polygon -12.26,10.28 -26.05,21.85 -27.51,6.11 1,2,3", "disc 0,0 radius 10 1,2,3"));
}

TEST_F(Icons, RecordIsAnArcWithAnArrowheadAroundADotAndADotBelow) {
    EXPECT_THAT(Vector(IconKind::Record),
                ElementsAre("arc 0,0 radius 25 from 85 by 280 pen 4 1,2,3", "disc 0,0 radius 11 1,2,3",
                            "disc 0,25 radius 5 1,2,3", "polygon 15.94,1.39 33.87,2.96 23.77,15.13 1,2,3"));
}

TEST_F(Icons, DownloadIsAnArrowOverATray) {
    EXPECT_THAT(Vector(IconKind::Download),
                ElementsAre("lines 0,-26 0,10 pen 4 1,2,3", "lines -13,-3 0,10 13,-3 pen 4 1,2,3",
                            "lines -27,8 -27,25 27,25 27,8 pen 4 1,2,3"));
}

TEST_F(Icons, BroadcastIsThreeArcsAndAStem) {
    EXPECT_THAT(
        Vector(IconKind::Broadcast),
        ElementsAre("arc 0,0 radius 28 from 120 by 300 pen 4 1,2,3", "arc 0,0 radius 20 from 120 by 300 pen 4 1,2,3",
                    "arc 0,0 radius 12 from 120 by 300 pen 4 1,2,3", "lines 0,0 0,28 pen 4 1,2,3"));
}

TEST_F(Icons, CameraHasABodyATopAndALens) {
    EXPECT_THAT(Vector(IconKind::Camera), ElementsAre("outline -29,-16 29,-16 29,24 -29,24 pen 4 1,2,3",
                                                      "polygon -11,-24 11,-24 11,-16 -11,-16 1,2,3",
                                                      "arc 0,4 radius 12 from 0 by 360 pen 4 1,2,3"));
}

TEST_F(Icons, GearAlternatesInRunsOfFourPoints) {
    const auto lines = Vector(IconKind::Gear);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1], "arc 0,0 radius 9 from 0 by 360 pen 3.5 1,2,3");
    EXPECT_THAT(lines[0], StartsWith("outline 22,0 21.89,2.16 21.58,4.29 21.05,6.39 25.87,10.72 24.69,13.2 "));
    EXPECT_THAT(lines[0], EndsWith(" pen 3.5 1,2,3"));
    EXPECT_EQ(std::count(lines[0].begin(), lines[0].end(), ','), 64 + 2) << "64 points and a colour";
}

TEST_F(Icons, AnUnknownKindIsNothing) {
    const Owned<Canvas> canvas = MakeCanvas(10, 10);
    DrawVectorIcon(*canvas, 0, 0, static_cast<IconKind>(6), 0);
    DrawVectorIcon(*canvas, 0, 0, static_cast<IconKind>(-1), 0);
    EXPECT_THAT(Drawn(*canvas), IsEmpty());
}

TEST_F(Icons, ACachedIconIsPaintedOnceOnBlackAtFourTimesItsSize) {
    const Owned<Canvas> canvas = MakeCanvas(10, 10);
    const int before = CountOf("MakeCanvas");
    fake::ResetCanvas();
    DrawCachedIcon(*canvas, 100, 64, IconKind::Camera, color::purple);
    EXPECT_THAT(Drawings(), testing::AllOf(Contains("fill 0,0,320,320 0,0,0"), Contains("push 160,160 scale 4")));
    EXPECT_THAT(Drawn(*canvas), ElementsAre("pixels 60,24,140,104 of 320x320"));
    DrawCachedIcon(*canvas, 50, 50, IconKind::Camera, color::purple);
    EXPECT_THAT(Drawn(*canvas), ElementsAre("pixels 60,24,140,104 of 320x320", "pixels 10,10,90,90 of 320x320"));
    EXPECT_EQ(CountOf("MakeCanvas"), before + 1);
}

TEST_F(Icons, TheCacheIsKeyedByKindAndColour) {
    const Owned<Canvas> canvas = MakeCanvas(10, 10);
    const int before = CountOf("MakeCanvas");
    for (int round = 0; round < 2; ++round) {
        DrawCachedIcon(*canvas, 0, 0, IconKind::Camera, color::purple);
        DrawCachedIcon(*canvas, 0, 0, IconKind::Camera, color::primaryText);
        DrawCachedIcon(*canvas, 0, 0, IconKind::Gear, color::purple);
    }
    EXPECT_EQ(CountOf("MakeCanvas"), before + 3);
    ClearIconCache();
    EXPECT_EQ(fake::LiveCanvases(), 1);
}

TEST_F(Icons, AnIconThatCannotBeCachedIsDrawnDirectly) {
    const Owned<Canvas> canvas = MakeCanvas(10, 10);
    FailCall("MakeCanvas", CountOf("MakeCanvas") + 1, 0);
    DrawCachedIcon(*canvas, 100, 64, IconKind::Broadcast, color::purple);
    EXPECT_EQ(Drawn(*canvas).front(), "push 100,64 scale 1");
    DrawCachedIcon(*canvas, 100, 64, IconKind::Broadcast, color::purple);
    EXPECT_EQ(Drawn(*canvas).back(), "pixels 60,24,140,104 of 320x320");
}

TEST_F(Icons, TheProgramIconIsItsInitialOnItsColour) {
    for (const std::int32_t size : {32, 16}) {
        fake::ResetCanvas();
        const auto pixels = PaintProgramIcon(size);
        EXPECT_EQ(pixels.size(), static_cast<std::size_t>(size * size));
        EXPECT_THAT(pixels, Each(testing::Ge(0xFF000000U))) << "opaque all over";
        const std::string all = "0,0," + std::to_string(size) + "," + std::to_string(size);
        EXPECT_THAT(Drawings(),
                    ElementsAre("fill " + all + " 133,83,231",
                                "text " + all + (size == 32 ? " 21" : " 10") + "/700 centred 255,255,255 \"Z\""));
    }
}

TEST_F(Icons, TheProgramIconHasNoLetterWithoutAFontAndIsEmptyWithoutMemory) {
    FailCall("MakeFont", CountOf("MakeFont") + 1, 0);
    EXPECT_EQ(PaintProgramIcon(16).size(), 256U);
    FailCall("MakeCanvas", CountOf("MakeCanvas") + 1, 0);
    EXPECT_THAT(PaintProgramIcon(16), IsEmpty());
}

}  // namespace
}  // namespace zv
