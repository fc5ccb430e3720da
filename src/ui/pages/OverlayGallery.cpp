#include "ui/pages/OverlayGallery.h"

#include <algorithm>
#include <array>
#include <vector>

#include "core/TimeText.h"
#include "library/FormatFileSize.h"
#include "platform/Clock.h"
#include "ui/commands/Library.h"
#include "ui/commands/MediaViewer.h"
#include "ui/commands/Thumbnails.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/OverlayControls.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/TargetIds.h"
#include "ui/pages/Thumbnail.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr auto pageSize = static_cast<std::int32_t>(visibleCaptures);
constexpr std::int32_t allFilter = 0;

struct Filter {
    const char16_t* label;
    std::uint32_t kind;  ///< a value of mediaKind; the first filter admits every kind
};
/// By GalleryRecord::galleryFilter.
constexpr std::array<Filter, 4> filters = {{{u"Show all", mediaKind::clip},
                                            {u"Instant replay", mediaKind::clip},
                                            {u"Screenshots", mediaKind::screenshot},
                                            {u"Recordings", mediaKind::recording}}};

/// By MediaFile::kind.
constexpr std::array<const char16_t*, 3> kindNames = {u"Replay", u"Recording", u"Screenshot"};

bool Admits(std::int32_t filter, const MediaFile& file) {
    return filter == allFilter || filters.at(static_cast<std::size_t>(filter)).kind == file.kind;
}

bool IsShownGame(const MediaFile& file) {
    const Text& game = Ui().gallery.galleryGame;
    return game.empty() || file.game == game;
}

/// Shows all games if the library has no capture of the selected one any more.
void CheckSelectedGame() {
    const std::vector<MediaFile>& files = Ui().library.found.files;
    if (std::none_of(files.begin(), files.end(), IsShownGame)) {
        Ui().gallery.galleryGame.clear();
    }
}

struct Selection {
    std::array<std::size_t, filters.size()> counts{};  ///< captures that each filter would show
    std::vector<const MediaFile*> files;               ///< those that the current filter shows

    std::int32_t Count() const { return static_cast<std::int32_t>(files.size()); }
};

Selection SelectCaptures() {
    Selection selection;
    for (const MediaFile& file : Ui().library.found.files) {
        if (!IsShownGame(file)) {
            continue;
        }
        for (std::int32_t filter = 0; filter < std::ssize(filters); ++filter) {
            selection.counts.at(static_cast<std::size_t>(filter)) += Admits(filter, file) ? 1U : 0U;
        }
        if (Admits(Ui().gallery.galleryFilter, file)) {
            selection.files.push_back(&file);
        }
    }
    return selection;
}

/// Selects the game after the current one: first all games, then each in the order of its newest capture.
void SelectNextGame() {
    std::vector<Text> games = {Text()};
    for (const MediaFile& file : Ui().library.found.files) {
        if (std::find(games.begin(), games.end(), file.game) == games.end()) {
            games.push_back(file.game);
        }
    }
    GalleryRecord& gallery = Ui().gallery;
    const auto current = std::find(games.begin(), games.end(), gallery.galleryGame);
    const bool last = current == games.end() || current + 1 == games.end();
    gallery.galleryGame = last ? Text() : *(current + 1);
    gallery.galleryFirstIndex = 0;
}

void DrawPanels(Canvas& canvas) {
    constexpr Color panel = Rgb(24, 23, 28);
    constexpr Color sidebar = Rgb(29, 28, 32);
    FillBox(canvas, {18, 63, 992, 550}, panel);
    FillBox(canvas, {18, 63, 246, 550}, sidebar);
    DrawOverlayButton(canvas,
                      {.id = overlayTarget::galleryBack, .box = {29, 74, 110, 108}, .label = u"< Back", .action = [] {
                           SelectOverlayPage(overlayPage::tiles);
                       }});
    DrawTextLine(canvas, {126, 75, 233, 108}, u"Gallery", color::primaryText, FontRole::Bold);
    DrawOverlayButton(canvas, {.id = overlayTarget::librarySettings,
                               .box = {789, 74, 978, 108},
                               .label = u"Library settings",
                               .action = [] { SelectOverlayPage(overlayPage::settings); }});
}

void DrawFilters(Canvas& canvas, const Selection& selection) {
    for (std::int32_t i = 0; i < std::ssize(filters); ++i) {
        constexpr std::int32_t pitch = 49;
        const auto row = static_cast<std::size_t>(i);
        DrawButton(canvas, {.id = overlayTarget::firstGalleryFilter + i,
                            .box = {29, 183 + pitch * i, 233, 222 + pitch * i},
                            .label = Text(filters[row].label) + u" (" + DecimalUnsigned(selection.counts[row]) + u")",
                            .action =
                                [i] {
                                    Ui().gallery.galleryFilter = i;
                                    Ui().gallery.galleryFirstIndex = 0;
                                },
                            .selected = i == Ui().gallery.galleryFilter});
    }
}

void DrawSidebar(Canvas& canvas, const Selection& selection) {
    const Text& game = Ui().gallery.galleryGame;
    DrawButton(canvas, {.id = overlayTarget::galleryGame,
                        .box = {29, 124, 233, 161},
                        .label = (game.empty() ? Text(u"All games") : game) + u"  >",
                        .action = SelectNextGame});
    DrawFilters(canvas, selection);
    const bool refreshing = Ui().library.mediaRefreshSlot.IsBusy();
    DrawButton(canvas, {.id = overlayTarget::galleryRefresh,
                        .box = {29, 418, 233, 452},
                        .label = refreshing ? u"Refreshing..." : u"Refresh",
                        .action = QueueMediaRefresh,
                        .enabled = !refreshing});
    DrawTextLine(canvas, {29, 472, 233, 505}, Decimal(selection.Count()) + u" saved captures", color::mutedText,
                 FontRole::Small);
}

void DrawCapture(Canvas& canvas, const MediaFile& file, std::int32_t index) {
    const std::int32_t dx = 237 * (index % 3);
    const std::int32_t dy = 178 * (index / 3);
    const auto row = [&](std::int32_t top, std::int32_t bottom) {
        return Rectangle{264 + dx, top + dy, 484 + dx, bottom + dy};
    };
    const Rectangle picture = row(151, 257);
    const std::int32_t id = overlayTarget::firstCapture + index;
    DrawTextLine(canvas, row(124, 147), LongDateText(LocalTimeOf(file.modified)), color::mutedText, FontRole::Small);
    DrawThumbnail(canvas, file, picture);
    if (IsHovered(id)) {
        FrameBox(canvas, picture, 1, Drawing().accentColor);
    }
    AddTarget(id, picture, [file] { OpenMediaViewer(file); });
    DrawTextLine(canvas, row(259, 282), file.game, color::primaryText, FontRole::Small);
    DrawTextLine(canvas, row(282, 300), kindNames.at(file.kind) + Text(u" / ") + FormatFileSize(file.sizeBytes),
                 color::mutedText, FontRole::Small);
}

void DrawGrid(Canvas& canvas, const Selection& selection) {
    const std::int32_t first = Ui().gallery.galleryFirstIndex;
    const std::int32_t count = std::min(pageSize, selection.Count() - first);
    for (std::int32_t i = 0; i < count; ++i) {
        DrawCapture(canvas, *selection.files[static_cast<std::size_t>(first + i)], i);
    }
    if (selection.files.empty()) {
        DrawTextLine(canvas, {282, 220, 964, 280},
                     Ui().library.mediaRefreshSlot.IsBusy()
                         ? u"Loading your captures..."
                         : u"No captures here yet. Save a clip, recording or screenshot.",
                     color::mutedText, FontRole::Small);
    }
}

void DrawPageButtons(Canvas& canvas, std::int32_t count) {
    std::int32_t& first = Ui().gallery.galleryFirstIndex;
    if (first > 0) {
        DrawButton(canvas, {.id = overlayTarget::galleryPrevious,
                            .box = {264, 496, 412, 532},
                            .label = u"Previous",
                            .action = [&first] { first = std::max(first - pageSize, 0); }});
    }
    if (first + pageSize < count) {
        DrawButton(canvas, {.id = overlayTarget::galleryNext,
                            .box = {823, 496, 973, 532},
                            .label = u"Next",
                            .action = [&first] { first += pageSize; }});
    }
}

}  // namespace

void DrawOverlayGallery(Canvas& canvas) {
    CheckSelectedGame();
    const Selection selection = SelectCaptures();
    std::int32_t& first = Ui().gallery.galleryFirstIndex;
    first = std::clamp(first, 0, std::max(selection.Count() - 1, 0));
    QueueVisibleThumbnails(selection.files);
    DrawPanels(canvas);
    DrawSidebar(canvas, selection);
    DrawGrid(canvas, selection);
    DrawPageButtons(canvas, selection.Count());
    DrawTextLine(canvas, {425, 496, 812, 532}, Ui().library.found.warning, color::mutedText, FontRole::Small);
}

}  // namespace zv
