// What the tests of drawing share: a main window and an overlay that show a page of the test's own.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "stand_in/Canvas.h"
#include "stand_in/Window.h"
#include "ui/DrawingFrame.h"
#include "ui/HitTargets.h"
#include "ui/Icons.h"
#include "ui/UiGlobals.h"

namespace zv {

class Pages : public testing::Test {
protected:
    Pages() {
        Ui() = {};
        ForgetCachedIcons();
        stand_in::ResetCalls();
        stand_in::ResetWindows();
        stand_in::ResetCanvas();
        CreateFonts();
        ThePage() = {};
        Ui().mainState.pages = PaintThePage;
        Ui().overlayState.pages = PaintThePage;
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
        ForgetCachedIcons();
        EXPECT_EQ(stand_in::LivingCanvases(), 0);
        EXPECT_EQ(stand_in::LivingFonts(), 0);
        stand_in::ResetCalls();
        stand_in::ResetWindows();
    }

    static std::function<void(Canvas&)>& ThePage() {
        static std::function<void(Canvas&)> page;
        return page;
    }
    /// Has both windows show what `page` paints.
    void Show(std::function<void(Canvas&)> page) { ThePage() = std::move(page); }

    void SizeClient(AppWindow& window, std::int32_t width, std::int32_t height) {
        stand_in::RecordOf(window).bounds = {100, 50, 100 + width, 50 + height};
    }
    stand_in::WindowRecord& MainRecord() { return stand_in::RecordOf(*mainWindow_); }
    stand_in::WindowRecord& OverlayRecord() { return stand_in::RecordOf(*overlayWindow_); }
    void PaintMain() { PaintWindow(*mainWindow_, Ui().mainState, false); }

    /// What a page draws in one pass into the main window's state, without the background of the pass itself.
    std::vector<std::string> Render() {
        stand_in::ResetCanvas();
        const Owned<Canvas> canvas = MakeCanvas(10, 10);
        RenderUi(*canvas, Ui().mainState);
        std::vector<std::string> lines = stand_in::Drawn(*canvas);
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
