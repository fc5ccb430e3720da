// Scales, back buffers, the pass over a page, buttons in all their states, fonts and texts.
#include "ui/kit/DrawingFrame.h"

#include "core/Theme.h"
#include "ui/Pages.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/Fonts.h"

namespace zv {
namespace {

using fake::CountOf;
using fake::Drawings;
using fake::FailCall;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class DrawingFrame : public Pages {};

TEST_F(DrawingFrame, ThemesGiveTheAccent) {
    struct Row {
        const char16_t* theme;
        Color accent;
        const char16_t* stored;
    };
    for (const Row& row :
         {Row{u"Zorvel Purple", Rgb(151, 119, 255), u"Zorvel Purple"},
          Row{u"Zorvel Blue", Rgb(81, 151, 255), u"Zorvel Blue"},
          Row{u"Zorvel Rose", Rgb(255, 97, 192), u"Zorvel Rose"},
          Row{u"zorvel rose", Rgb(151, 119, 255), u"Zorvel Purple"}, Row{u"", Rgb(151, 119, 255), u"Zorvel Purple"}}) {
        Settings settings;
        settings.theme = row.theme;
        EXPECT_EQ(ApplyTheme(settings), row.accent);
        EXPECT_EQ(settings.theme, row.stored);
    }
}

// Scales.

TEST_F(DrawingFrame, TheMainWindowsLayoutShrinksWithTheWindowAndNeverGrowsPastTheDpi) {
    struct Row {
        std::int32_t width, height, dpi;
        double scale;
        std::int32_t logicalWidth, logicalHeight;
    };
    for (const Row& row : {
             Row{1060, 680, 96, 1, 1060, 680},
             Row{2120, 1360, 96, 1, 2120, 1360},
             Row{2120, 1360, 192, 2, 1060, 680},
             Row{3000, 1360, 192, 2, 1500, 680},
             Row{1590, 1020, 144, 1.5, 1060, 680},
             Row{900, 600, 96, 900.0 / 1060, 1060, 706},
             Row{1060, 340, 96, 0.5, 2120, 680},
             Row{1220, 800, 144, 1220.0 / 1060, 1060, 695},
             Row{1325, 850, 120, 1.25, 1060, 680},
             Row{100, 100, 96, 0.25, 400, 400},
             Row{0, 0, 96, 0.25, 0, 0},
         }) {
        UiState state;
        FitMainWindow(state, row.width, row.height, row.dpi);
        EXPECT_DOUBLE_EQ(state.scale, row.scale) << row.width;
        // Truncation of a quotient that is whole only on paper may fall one short.
        EXPECT_NEAR(state.logicalWidth, row.logicalWidth, 1) << row.width;
        EXPECT_NEAR(state.logicalHeight, row.logicalHeight, 1) << row.width;
        EXPECT_LE(state.logicalWidth * state.scale, row.width);
        EXPECT_LE(state.logicalHeight * state.scale, row.height);
    }
}

TEST_F(DrawingFrame, TheOverlaysLogicalSizeIsConstant) {
    struct Row {
        std::int32_t width, height;
        double scale;
    };
    for (const Row& row : {Row{1010, 568, 1}, Row{2020, 1136, 2}, Row{2020, 568, 1}, Row{1010, 1136, 1},
                           Row{505, 568, 0.5}, Row{50, 28, 0.1}, Row{0, 0, 0.1}}) {
        UiState state;
        FitOverlay(state, row.width, row.height);
        EXPECT_DOUBLE_EQ(state.scale, row.scale) << row.width;
        EXPECT_EQ(state.logicalWidth, 1010);
        EXPECT_EQ(state.logicalHeight, 568);
    }
}

// Painting.

TEST_F(DrawingFrame, APaintScalesThePageAndCopiesItToTheWindow) {
    SizeClient(*mainWindow_, 2120, 1360);
    MainRecord().dpi = 192;
    fake::ResetCanvas();
    Show([](Canvas& canvas) { FillBox(canvas, {1, 2, 3, 4}, color::card); });
    PaintMain();
    EXPECT_THAT(Drawings(),
                ElementsAre("push 0,0 scale 2", "fill 0,0,1060,680 17,18,25", "fill 1,2,3,4 26,28,38", "pop"));
    EXPECT_EQ(MainRecord().pixelWidth, 2120);
    EXPECT_EQ(MainRecord().pixelHeight, 1360);
}

TEST_F(DrawingFrame, TheMarginsBesideTheLogicalSizeHaveTheBackground) {
    SizeClient(*mainWindow_, 2121, 1363);  // 1060 and 681 units, and one pixel each
    MainRecord().dpi = 192;
    fake::ResetCanvas();
    PaintMain();
    EXPECT_THAT(Drawings("fill"), ElementsAre("fill 2120,0,2121,1363 17,18,25", "fill 0,1362,2121,1363 17,18,25",
                                              "fill 0,0,1060,681 17,18,25"));
    SizeClient(*overlayWindow_, 1010, 600);
    fake::ResetCanvas();
    PaintWindow(*overlayWindow_, Ui().overlayState, true);
    EXPECT_THAT(Drawings("fill"), ElementsAre("fill 0,568,1010,600 1,2,3", "fill 0,0,1010,568 17,18,25"));
}

TEST_F(DrawingFrame, TheOverlayIsPaintedInItsOwnSize) {
    SizeClient(*overlayWindow_, 505, 284);
    OverlayRecord().dpi = 192;
    fake::ResetCanvas();
    PaintWindow(*overlayWindow_, Ui().overlayState, true);
    EXPECT_THAT(Drawings(), ElementsAre("push 0,0 scale 0.5", "fill 0,0,1010,568 17,18,25", "pop"));
}

TEST_F(DrawingFrame, AWindowWithoutASizeIsPaintedAsOnePixel) {
    SizeClient(*mainWindow_, 0, 0);
    PaintMain();
    EXPECT_EQ(MainRecord().pixelWidth, 1);
    EXPECT_EQ(MainRecord().pixelHeight, 1);
}

TEST_F(DrawingFrame, TheBackBufferIsKeptUntilTheSizeChanges) {
    SizeClient(*mainWindow_, 900, 600);
    const int before = CountOf("MakeCanvas");
    PaintMain();
    PaintMain();
    EXPECT_EQ(CountOf("MakeCanvas"), before + 1);
    EXPECT_EQ(Ui().mainState.backWidth, 900);
    EXPECT_EQ(Ui().mainState.backHeight, 600);
    SizeClient(*mainWindow_, 900, 601);
    PaintMain();
    EXPECT_EQ(CountOf("MakeCanvas"), before + 2);
    EXPECT_EQ(Ui().mainState.backHeight, 601);
}

TEST_F(DrawingFrame, APageWithoutABackBufferIsPaintedInStrips) {
    SizeClient(*mainWindow_, 1060, 680);
    PaintMain();
    SizeClient(*mainWindow_, 1060, 70);
    MainRecord().dpi = 96;
    FailCall("MakeCanvas", CountOf("MakeCanvas") + 1, 0);
    fake::ResetCanvas();
    Show([](Canvas& canvas) { DrawButton(canvas, {.id = 5, .box = {0, 0, 10, 10}, .label = u"a"}); });
    PaintMain();
    // 70 rows of a scale of 0.25, in strips of 32.
    EXPECT_THAT(Drawings("push"), ElementsAre("push 0,0 scale 0.25", "push 0,-32 scale 0.25", "push 0,-64 scale 0.25"));
    EXPECT_EQ(Drawings("round").size(), 3U);
    EXPECT_EQ(Ui().mainState.backBuffer, nullptr);
    EXPECT_EQ(Ui().mainState.targets.size(), 1U) << "what can be clicked is what one pass registers";
    EXPECT_EQ(MainRecord().pixelHeight, 6);
    EXPECT_EQ(MainRecord().pixelTop, 64);
    PaintMain();
    EXPECT_NE(Ui().mainState.backBuffer, nullptr) << "the next paint tries again";
}

TEST_F(DrawingFrame, WithoutMemoryThePaintIsStillHandled) {
    FailCall("MakeCanvas", CountOf("MakeCanvas") + 1, 0);
    FailCall("MakeCanvas", CountOf("MakeCanvas") + 2, 0);
    MainRecord().mustPaint = true;
    PaintMain();
    EXPECT_FALSE(MainRecord().mustPaint);
}

TEST_F(DrawingFrame, APaintThatThrowsKeepsPictureAndTargets) {
    SizeClient(*mainWindow_, 1060, 680);
    Show([](Canvas& canvas) { DrawButton(canvas, {.id = 7, .box = {0, 0, 10, 10}}); });
    PaintMain();
    MainRecord().pixels = {4711};
    Show([](Canvas& canvas) {
        DrawButton(canvas, {.id = 8, .box = {20, 0, 30, 10}});
        PushTransform(canvas, {}, 3);
        throw std::bad_alloc();
    });
    EXPECT_THROW(PaintMain(), std::bad_alloc);
    EXPECT_EQ(MainRecord().pixels, std::vector<std::uint32_t>{4711});
    ASSERT_EQ(Ui().mainState.targets.size(), 1U);
    EXPECT_EQ(Ui().mainState.targets[0].id, 7);
    EXPECT_EQ(Drawing().painting, nullptr);
    EXPECT_EQ(Ui().mainState.backBuffer, nullptr) << "the next paint begins without the transforms of this one";
    Show([](Canvas& canvas) { DrawButton(canvas, {.id = 9, .box = {0, 0, 10, 10}}); });
    PaintMain();
    EXPECT_EQ(MainRecord().pixelWidth, 1060);
    ASSERT_EQ(Ui().mainState.targets.size(), 1U);
    EXPECT_EQ(Ui().mainState.targets[0].id, 9);
}

TEST_F(DrawingFrame, EachPassReplacesTheTargets) {
    Show([](Canvas& canvas) {
        EXPECT_EQ(Drawing().painting, &Ui().mainState);
        DrawButton(canvas, {.id = 1, .box = {0, 0, 10, 10}});
        DrawButton(canvas, {.id = 2, .box = {20, 0, 30, 10}});
    });
    PaintMain();
    PaintMain();
    ASSERT_EQ(Ui().mainState.targets.size(), 2U);
    EXPECT_EQ(Ui().mainState.targets[0].id, 1);
    EXPECT_EQ(Ui().mainState.targets[1].box, (Rectangle{20, 0, 30, 10}));
    EXPECT_TRUE(Ui().overlayState.targets.empty());
    EXPECT_EQ(Drawing().painting, nullptr);
}

// Buttons.

struct ButtonRow {
    bool primary, selected, enabled, hovered;
    const char* fill;
    const char* label;
};

TEST_F(DrawingFrame, AButtonsColoursFollowItsState) {
    Drawing().accentColor = Rgb(255, 97, 192);
    for (const ButtonRow& row : {
             ButtonRow{false, false, true, false, "37,40,54", "241,242,250"},
             ButtonRow{false, true, true, false, "57,47,84", "241,242,250"},
             ButtonRow{true, false, true, false, "255,97,192", "19,14,36"},
             ButtonRow{true, true, true, false, "255,97,192", "19,14,36"},
             ButtonRow{false, false, true, true, "53,56,75", "241,242,250"},
             ButtonRow{false, true, true, true, "53,56,75", "241,242,250"},
             ButtonRow{true, false, true, true, "171,144,255", "19,14,36"},
             ButtonRow{true, true, true, true, "171,144,255", "19,14,36"},
             ButtonRow{false, false, false, false, "34,35,45", "158,164,187"},
             ButtonRow{true, true, false, false, "34,35,45", "158,164,187"},
             ButtonRow{true, true, false, true, "34,35,45", "158,164,187"},
             ButtonRow{false, false, false, true, "34,35,45", "158,164,187"},
         }) {
        Ui().mainState.hoverId = row.hovered ? 7 : 8;
        Show([&](Canvas& canvas) {
            DrawButton(canvas, {.id = 7,
                                .box = {16, 122, 174, 168},
                                .label = u"Home",
                                .primary = row.primary,
                                .selected = row.selected,
                                .enabled = row.enabled});
        });
        EXPECT_THAT(Render(), ElementsAre(std::string("round 16,122,174,168 corner 12 ") + row.fill,
                                          std::string("text 16,122,174,168 17/600 centred ") + row.label + " \"Home\""))
            << row.fill << row.primary << row.selected << row.enabled << row.hovered;
        EXPECT_EQ(Ui().mainState.targets.size(), row.enabled ? 1U : 0U);
    }
}

TEST_F(DrawingFrame, TheFocusIsAnAccentFrameInsideTheButton) {
    Drawing().accentColor = Rgb(81, 151, 255);
    Ui().mainState.focusId = 7;
    bool enabled = true;
    Show([&](Canvas& canvas) {
        DrawButton(canvas, {.id = 6, .box = {0, 0, 10, 10}});
        DrawButton(canvas, {.id = 7, .box = {16, 122, 174, 168}, .enabled = enabled});
    });
    EXPECT_EQ(Render().back(), "frame 19,125,171,165 depth 1 81,151,255");
    enabled = false;
    for (const std::string& line : Render()) {
        EXPECT_THAT(line, testing::Not(HasSubstr("frame"))) << "a disabled button has no focus";
    }
}

TEST_F(DrawingFrame, ADisabledButtonDropsItsAction) {
    auto owned = std::make_shared<int>(0);
    Show([&](Canvas& canvas) {
        DrawButton(canvas, {.id = 1, .box = {0, 0, 9, 9}, .action = [owned] { ++*owned; }, .enabled = false});
    });
    Render();
    ThePage() = {};
    EXPECT_EQ(owned.use_count(), 1);
}

// Text.

TEST_F(DrawingFrame, TheFiveFontsAreMadeOnceAndReleased) {
    EXPECT_EQ(CountOf("MakeFont"), 5);
    const std::vector<std::string> written = [&] {
        Show([](Canvas& canvas) {
            for (const FontRole role :
                 {FontRole::Small, FontRole::Body, FontRole::Bold, FontRole::Heading, FontRole::Display}) {
                DrawTextLine(canvas, {1, 2, 3, 4}, u"x", color::primaryText, role);
            }
        });
        return Render();
    }();
    EXPECT_THAT(written, ElementsAre("text 1,2,3,4 15/400 241,242,250 \"x\"", "text 1,2,3,4 17/400 241,242,250 \"x\"",
                                     "text 1,2,3,4 17/600 241,242,250 \"x\"", "text 1,2,3,4 30/700 241,242,250 \"x\"",
                                     "text 1,2,3,4 38/700 241,242,250 \"x\""));
    DeleteFonts();
    EXPECT_EQ(fake::LiveFonts(), 0);
}

TEST_F(DrawingFrame, TheBodyFontReplacesAMissingOne) {
    DeleteFonts();
    FailCall("MakeFont", CountOf("MakeFont") + 4, 0);
    CreateFonts();
    Show([](Canvas& canvas) { DrawTextLine(canvas, {1, 2, 3, 4}, u"x", color::mutedText, FontRole::Heading); });
    EXPECT_THAT(Render(), ElementsAre("text 1,2,3,4 17/400 158,164,187 \"x\""));
    DeleteFonts();
    EXPECT_THAT(Render(), IsEmpty()) << "without any font there is no text, and nothing worse";
}

TEST_F(DrawingFrame, TextIsOneLineFromTheLeftOrCentredOrWrapped) {
    Show([](Canvas& canvas) {
        DrawTextLine(canvas, {1, 2, 33, 4}, u"a & b", color::mutedText, FontRole::Small);
        DrawCentredText(canvas, {1, 2, 33, 4}, u"a & b", color::mutedText, FontRole::Small);
        DrawWrappedText(canvas, {1, 2, 33, 4}, u"\u00C2\u00B7", color::mutedText, FontRole::Small);
    });
    EXPECT_THAT(Render(), ElementsAre("text 1,2,33,4 15/400 158,164,187 \"a & b\"",
                                      "text 1,2,33,4 15/400 centred 158,164,187 \"a & b\"",
                                      "text 1,2,33,4 15/400 wrapped 158,164,187 \"\\u00C2\\u00B7\""));
}

/// A box of 40 by 30 holds two lines of at most eleven letters.
TEST_F(DrawingFrame, TextIsShortenedToWhatItsBoxCanHold) {
    Text pair;
    while (pair.size() < 100) {
        pair += u"\U0001F3AE";
    }
    Show([&](Canvas& canvas) {
        DrawTextLine(canvas, {0, 0, 40, 30}, u"abcdefghijk", color::mutedText, FontRole::Small);
        DrawTextLine(canvas, {0, 0, 40, 30}, u"abcdefghijkl", color::mutedText, FontRole::Small);
        DrawWrappedText(canvas, {0, 0, 40, 30}, Text(70'000, u'i'), color::mutedText, FontRole::Small);
        DrawTextLine(canvas, {0, 0, 40, 30}, pair, color::mutedText, FontRole::Small);
        DrawTextLine(canvas, {40, 30, 0, 0}, u"abc", color::mutedText, FontRole::Small);
    });
    const auto lines = Render();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_THAT(lines[0], testing::HasSubstr("\"abcdefghijk\""));
    EXPECT_THAT(lines[1], testing::HasSubstr("\"abcdefghijk\\u2026\""));
    EXPECT_THAT(lines[2], testing::HasSubstr("\"" + std::string(22, 'i') + "\\u2026\""));
    EXPECT_THAT(lines[3], testing::HasSubstr("\\uDFAE\\u2026\""));
}

}  // namespace
}  // namespace zv
