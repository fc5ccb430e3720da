// What the tests of the main window's contents share: a main window and an overlay, clicks, and the painted lines.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "fake/Canvas.h"
#include "ui/Interface.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/DrawingFrame.h"
#include "ui/kit/Fonts.h"
#include "ui/kit/HitTargets.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/Engine.h"
#include "ui/windows/Overlay.h"

namespace zv {

class DesktopPages : public Interface {
protected:
    using Lines = std::vector<std::string>;

    DesktopPages() {
        fake::ResetCanvas();
        fake::TheWindows().keyNames = {{88, u"X"}, {121, u"F10"}, {65, u"A"}};
        fake::TheMonitors().monitors = {{u"DP-1", 0, 0, 2560, 1440, -1, true}};
        CreateFonts();
        OpenMainWindow();
        WindowOptions options;
        options.procedure = OverlayProc;
        options.frame = WindowFrame::Bare;
        overlay_ = MakeWindow(options);
        Size(1180, 740);
    }
    ~DesktopPages() override {
        gate_.Open();
        Ui().capture.captureJobSlot.Wait();
        overlay_.reset();
        window_.reset();
        Ui().mainState = {};
        Ui().overlayState = {};
        DeleteFonts();
        EXPECT_EQ(fake::LiveCanvases(), 0);
        EXPECT_EQ(fake::LiveFonts(), 0);
    }

    void Size(std::int32_t width, std::int32_t height) { Record().bounds = {0, 0, width, height}; }
    fake::WindowRecord& Record() { return fake::RecordOf(*window_); }
    /// What one paint of the window draws, between the background and the end.
    Lines Paint() {
        fake::ResetCanvas();
        Send(message::paint);
        Lines lines = fake::Drawings();
        EXPECT_THAT(Lines(lines.begin(), lines.begin() + 2),
                    testing::ElementsAre("push 0,0 scale 1", "fill 0,0,1180,740 17,18,25"));
        EXPECT_EQ(lines.back(), "pop");
        return {lines.begin() + 2, lines.end() - 1};
    }
    void Click(std::int32_t x, std::int32_t y) {
        const std::intptr_t at = static_cast<std::intptr_t>(y) << 16 | x;
        Send(message::paint);
        Send(message::leftButtonDown, 0, at);
        Send(message::leftButtonUp, 0, at);
    }
    /// The words of each line of text.
    static Lines Texts(const Lines& lines) {
        Lines texts;
        for (const std::string& line : lines) {
            if (line.starts_with("text ")) {
                const std::size_t quote = line.find('"');
                texts.push_back(line.substr(quote + 1, line.size() - quote - 2));
            }
        }
        return texts;
    }
    /// The words that are drawn into exactly this box.
    static std::string LabelIn(const Lines& lines, const Rectangle& box) {
        const std::string start = "text " + std::to_string(box.left) + "," + std::to_string(box.top) + "," +
                                  std::to_string(box.right) + "," + std::to_string(box.bottom) + " ";
        const auto found =
            std::find_if(lines.begin(), lines.end(), [&](const std::string& line) { return line.starts_with(start); });
        return found == lines.end() ? "" : Texts({*found}).front();
    }
    static std::vector<std::int32_t> Ids() {
        std::vector<std::int32_t> ids;
        for (const HitTarget& target : Ui().mainState.targets) {
            ids.push_back(target.id);
        }
        return ids;
    }

    Owned<AppWindow> overlay_;
};

}  // namespace zv
