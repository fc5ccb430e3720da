#include "ui/pages/RecommendedPage.h"

#include <utility>
#include <vector>

#include "ui/commands/Feeds.h"
#include "ui/commands/Links.h"
#include "ui/commands/Thumbnails.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/pages/TargetIds.h"
#include "ui/pages/Thumbnail.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

/// The card's picture as a capture, whose thumbnail the library makes.
MediaFile PictureOf(const Recommendation& card) {
    MediaFile file;
    file.path = card.image;
    file.kind = mediaKind::screenshot;
    file.game = u"Earlier captures";
    return file;
}

Rectangle BoxOf(std::int32_t index, std::int32_t left, std::int32_t right) {
    constexpr std::int32_t gap = 18;
    constexpr std::int32_t pitch = 166;
    const std::int32_t width = (right - left - gap) / 2;
    const std::int32_t x = left + (width + gap) * (index % 2);
    const std::int32_t below = pitch * (index / 2);
    return {x, 164 + below, x + width, 317 + below};
}

void DrawRecommendation(Canvas& canvas, std::int32_t index, const Recommendation& card, const Rectangle& box) {
    DrawCard(canvas, box);
    const bool hasPicture = !card.image.empty();
    if (hasPicture) {
        DrawThumbnail(canvas, PictureOf(card), {box.left + 14, box.top + 16, box.left + 112, box.top + 104});
    }
    const std::int32_t left = box.left + (hasPicture ? 125 : 16);
    const std::int32_t right = box.right - 16;
    DrawTextLine(canvas, {left, box.top + 12, right, box.top + 42}, card.title, color::primaryText, FontRole::Bold);
    DrawWrappedText(canvas, {left, box.top + 45, right, box.top + 108}, card.description, color::mutedText,
                    FontRole::Small);
    if (!card.url.empty()) {
        DrawButton(canvas, {.id = desktopTarget::firstLearnMore + index,
                            .box = {left, box.top + 112, right, box.top + 141},
                            .label = u"Learn more",
                            .action = [address = card.url] { OpenWebPage(address); }});
    }
}

/// The first pictures, because the cards are not part of the gallery's page.
void QueuePictures(const std::vector<Recommendation>& cards) {
    std::vector<MediaFile> pictures;
    for (const Recommendation& card : cards) {
        if (!card.image.empty()) {
            pictures.push_back(PictureOf(card));
        }
    }
    std::vector<const MediaFile*> files;
    for (const MediaFile& picture : pictures) {
        files.push_back(&picture);
    }
    const std::int32_t first = std::exchange(Ui().gallery.galleryFirstIndex, 0);
    QueueVisibleThumbnails(files);
    Ui().gallery.galleryFirstIndex = first;
}

void DrawNoRecommendations(Canvas& canvas, std::int32_t left, std::int32_t right) {
    constexpr std::int32_t corner = 20;
    FillRoundBox(canvas, {left, 171, right, 512}, corner, color::card);
    DrawTextLine(canvas, {left + 30, 218, right - 30, 265}, u"Something good is on the way.", color::primaryText,
                 FontRole::Heading);
    DrawTextLine(canvas, {left + 30, 292, right - 30, 335},
                 Ui().feeds.recommendationsSlot.IsBusy() ? u"Loading recommendations..."
                                                         : u"Recommendations and updates from ZV will appear here.",
                 color::mutedText, FontRole::Small);
}

}  // namespace

void DrawRecommended(Canvas& canvas, std::int32_t left, std::int32_t right) {
    if (!std::exchange(Ui().feeds.recommendationsRequested, true)) {
        RefreshRecommendations();
    }
    DrawButton(canvas, {.id = desktopTarget::refreshRecommendations,
                        .box = {right - 128, 111, right, 149},
                        .label = u"Refresh",
                        .action = RefreshRecommendations});
    const std::vector<Recommendation>& cards = Ui().feeds.recommendations;
    if (cards.empty()) {
        DrawNoRecommendations(canvas, left, right);
        return;
    }
    for (std::int32_t index = 0; index < static_cast<std::int32_t>(cards.size()); ++index) {
        DrawRecommendation(canvas, index, cards[static_cast<std::size_t>(index)], BoxOf(index, left, right));
    }
    QueuePictures(cards);
}

}  // namespace zv
