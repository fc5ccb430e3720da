// What the tests of the overlay share: a main window and an overlay as the program makes them, a settings record and an
// engine to set, and the pages as text.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "fake/Canvas.h"
#include "ui/Interface.h"
#include "ui/commands/Commands.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/Fonts.h"
#include "ui/kit/HitTargets.h"
#include "ui/kit/Icons.h"
#include "ui/state/Engine.h"
#include "ui/windows/Overlay.h"

namespace zv {

class QuickOverlay : public Interface {
protected:
    QuickOverlay() {
        ClearIconCache();
        fake::ResetCanvas();
        CreateFonts();
        CurrentSettings().captureRoot = Folder(u"captures");
        OpenMainWindow();
        WindowOptions options;
        options.procedure = OverlayProc;
        options.width = overlayWidth;
        options.height = overlayHeight;
        options.frame = WindowFrame::Bare;
        options.topmost = true;
        options.noActivate = true;
        overlay_ = MakeWindow(options);
        FitOverlay(State(), overlayWidth, overlayHeight);
    }
    ~QuickOverlay() override {
        gate_.Open();
        overlay_.reset();
        Ui().overlayState = {};
        DeleteFonts();
        ClearIconCache();
        EXPECT_EQ(fake::LiveCanvases(), 0);
        EXPECT_EQ(fake::LiveFonts(), 0);
    }

    static UiState& State() { return Ui().overlayState; }
    fake::WindowRecord& Record() { return fake::RecordOf(*overlay_); }
    std::intptr_t SendToOverlay(std::uint32_t code, std::uintptr_t wParam = 0, std::intptr_t lParam = 0) {
        return OverlayProc(*overlay_, code, wParam, lParam);
    }
    static std::intptr_t At(std::int32_t x, std::int32_t y) {
        return static_cast<std::intptr_t>(static_cast<std::uint32_t>(y & 0xFFFF) << 16U |
                                          static_cast<std::uint32_t>(x & 0xFFFF));
    }

    /// What the overlay draws in one pass, from the key colour on. The targets are those of this pass afterwards.
    std::vector<std::string> Render() {
        const Owned<Canvas> canvas = MakeCanvas(10, 10);
        RenderUi(*canvas, State());
        std::vector<std::string> lines = fake::Drawn(*canvas);
        EXPECT_EQ(lines.front(), "fill 0,0,1010,568 17,18,25");
        lines.erase(lines.begin());
        return lines;
    }

    /// A job that is inside the engine and stays there until the gate opens.
    void OccupyJob() {
        gate_.Hold("StartReplay");
        StartReplayJob();
        RunTo("StartReplay");
    }

    Owned<AppWindow> overlay_;
};

}  // namespace zv
