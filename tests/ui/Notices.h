// What the tests of notification, badge and shortcut editor share: the interface without a screen, its
// four windows, and a canvas that records what they paint.
#pragma once

#include <string>
#include <vector>

#include "fake/Canvas.h"
#include "ui/Interface.h"
#include "ui/commands/Notifications.h"
#include "ui/kit/Fonts.h"
#include "ui/pages/ShortcutEditor.h"
#include "ui/windows/Badge.h"
#include "ui/windows/ToastWindow.h"

namespace zv {

class Notices : public Interface {
protected:
    Notices() {
        fake::ResetCanvas();
        CreateFonts();
        OpenMainWindow();
        overlay_ = Make(u"overlay", IgnoreMessages);
        badge_ = Make(u"badge", BadgeProc);
        toast_ = Make(u"toast", ToastProc);
        Ui().overlayWindow = overlay_.get();
        fake::RecordOf(*overlay_).bounds = {100, 50, 1110, 618};
        fake::TheMonitors().monitors = {{u"Main", 0, 0, 1920, 1080, -1, true},
                                        {u"Side", 1920, 0, 2560, 1440, -1, false}};
        fake::TheMonitors().workAreas = {{{0, 0, 1920, 1080}, {0, 0, 1920, 1040}},
                                         {{1920, 0, 4480, 1440}, {1920, 0, 4480, 1400}}};
        CurrentSettings().monitorDevice = u"Main";
    }
    ~Notices() override {
        CloseShortcutEditor();
        Ui().overlayWindow = nullptr;
        badge_.reset();
        toast_.reset();
        EXPECT_EQ(fake::LiveCanvases(), 0);
    }

    static fake::WindowRecord& Of(const Owned<AppWindow>& window) { return fake::RecordOf(*window); }

    /// What the window draws when it is painted now.
    static std::vector<std::string> Paint(AppWindow& window) {
        fake::ResetCanvas();
        InvalidateWindow(window);
        fake::PaintIfNeeded(window);
        return fake::Drawings();
    }

    Owned<AppWindow> overlay_;
    Owned<AppWindow> badge_;
    Owned<AppWindow> toast_;

private:
    static std::intptr_t IgnoreMessages(AppWindow&, std::uint32_t, std::uintptr_t, std::intptr_t) { return 0; }
    static Owned<AppWindow> Make(TextView className, WindowProc procedure) {
        WindowOptions options;
        options.className = className;
        options.procedure = procedure;
        options.width = 10;
        options.height = 10;
        options.frame = WindowFrame::Bare;
        return MakeWindow(options);
    }
};

}  // namespace zv
