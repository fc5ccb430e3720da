#include "ui/pages/OverlayGallery.h"

#include "core/Settings.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/OverlayControls.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/TargetIds.h"

namespace zv {

void DrawOverlayGallery(Canvas& canvas) {
    constexpr Color panel = Rgb(24, 23, 28);
    FillBox(canvas, {18, 63, 992, 550}, panel);
    DrawOverlayButton(canvas,
                      {.id = overlayTarget::galleryBack, .box = {29, 74, 110, 108}, .label = u"< Back", .action = [] {
                           SelectOverlayPage(overlayPage::tiles);
                       }});
    DrawTextLine(canvas, {126, 75, 233, 108}, u"Gallery", color::primaryText, FontRole::Bold);
    DrawWrappedText(canvas, {29, 124, 978, 184},
                    u"New clips, recordings and screenshots are saved in " + CurrentSettings().captureRoot,
                    color::mutedText, FontRole::Small);
}

}  // namespace zv
