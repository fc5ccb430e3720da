#include "ui/OverlayGallery.h"

#include "core/Settings.h"
#include "ui/Colors.h"
#include "ui/DrawingFrame.h"
#include "ui/Overlay.h"
#include "ui/OverlayControls.h"
#include "ui/UiGlobals.h"

namespace zv {

void DrawOverlayGallery(Canvas& canvas) {
    constexpr Color panel = Rgb(24, 23, 28);
    FillBox(canvas, {18, 63, 992, 550}, panel);
    DrawOverlayButton(canvas, {.id = 920, .box = {29, 74, 110, 108}, .label = u"< Back", .action = [] {
                                   Ui().overlayPage = overlayPage::tiles;
                               }});
    DrawTextLine(canvas, {126, 75, 233, 108}, u"Gallery", color::primaryText, FontRole::Bold);
    // The captures themselves are shown here.
    DrawWrappedText(canvas, {29, 124, 978, 184},
                    u"New clips, recordings and screenshots are saved in " + CurrentSettings().captureRoot,
                    color::mutedText, FontRole::Small);
}

}  // namespace zv
