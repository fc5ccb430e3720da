// What the tests of drawing share: a main window and an overlay that show a page of the test's own.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "fake/Canvas.h"
#include "fake/Window.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/Fonts.h"
#include "ui/kit/HitTargets.h"
#include "ui/kit/Icons.h"
#include "ui/state/UiGlobals.h"

namespace zv {

class Pages : public testing::Test {
protected:
    Pages() {
        Ui() = {};
        Drawing() = {};
        ClearIconCache();
        fake::ResetCalls();
        fake::ResetWindows();
        fake::ResetCanvas();
        CreateFonts();
        ThePage() = {};
        Ui().mainState.pages = PaintThePage;
        Ui().overlayState.pages = PaintThePage;
        Ui().mainState.afterAction = InvalidatePages;
        Ui().overlayState.afterAction = InvalidatePages;
        mainWindow_ = MakeWindow(Options(MainProcedure));
        overlayWindow_ = MakeWindow(Options(OverlayProcedure));
        Ui().mainWindow = mainWindow_.get();
        Ui().overlayWindow = overlayWindow_.get();
    }
    ~Pages() override {
        mainWindow_.reset();
        overlayWindow_.reset();
        ThePage() = {};
        Ui() = {};
        Drawing() = {};
        ClearIconCache();
        EXPECT_EQ(fake::LiveCanvases(), 0);
        EXPECT_EQ(fake::LiveFonts(), 0);
        fake::ResetCalls();
        fake::ResetWindows();
    }

    static std::function<void(Canvas&)>& ThePage() {
        static std::function<void(Canvas&)> page;
        return page;
    }
    /// Has both windows show what `page` paints.
    void Show(std::function<void(Canvas&)> page) { ThePage() = std::move(page); }

    void SizeClient(AppWindow& window, std::int32_t width, std::int32_t height) {
        fake::RecordOf(window).bounds = {100, 50, 100 + width, 50 + height};
    }
    fake::WindowRecord& MainRecord() { return fake::RecordOf(*mainWindow_); }
    fake::WindowRecord& OverlayRecord() { return fake::RecordOf(*overlayWindow_); }
    void PaintMain() { PaintWindow(*mainWindow_, Ui().mainState, false); }

    /// What a page draws in one pass into the main window's state, without the background of the pass itself.
    std::vector<std::string> Render() {
        fake::ResetCanvas();
        const Owned<Canvas> canvas = MakeCanvas(10, 10);
        RenderUi(*canvas, Ui().mainState);
        std::vector<std::string> lines = fake::Drawn(*canvas);
        EXPECT_FALSE(lines.empty());
        lines.erase(lines.begin());
        return lines;
    }

    Owned<AppWindow> mainWindow_;
    Owned<AppWindow> overlayWindow_;

private:
    static void PaintThePage(Canvas& canvas) {
        if (ThePage()) {
            ThePage()(canvas);
        }
    }
    static WindowOptions Options(WindowProc procedure) {
        WindowOptions options;
        options.procedure = procedure;
        options.width = 1060;
        options.height = 680;
        options.visible = true;
        return options;
    }
    static std::intptr_t Answer(AppWindow& window, UiState& state, bool overlay, std::uint32_t code,
                                std::intptr_t lParam) {
        if (code == message::paint) {
            PaintWindow(window, state, overlay);
        }
        HandleMouseMessage(window, state, code, lParam);
        return 0;
    }
    static std::intptr_t MainProcedure(AppWindow& window, std::uint32_t code, std::uintptr_t, std::intptr_t lParam) {
        return Answer(window, Ui().mainState, false, code, lParam);
    }
    static std::intptr_t OverlayProcedure(AppWindow& window, std::uint32_t code, std::uintptr_t, std::intptr_t lParam) {
        return Answer(window, Ui().overlayState, true, code, lParam);
    }
};

}  // namespace zv
