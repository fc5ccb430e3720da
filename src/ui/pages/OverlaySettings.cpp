#include "ui/pages/OverlaySettings.h"

#include <algorithm>
#include <array>

#include "ui/kit/Colors.h"
#include "ui/kit/Controls.h"
#include "ui/kit/DrawingContext.h"
#include "ui/kit/OverlayControls.h"
#include "ui/navigation/Navigation.h"
#include "ui/pages/SettingsSections.h"
#include "ui/pages/TargetIds.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

constexpr std::int32_t hubIndex = -1;

struct SettingsSection {
    TextView title;
    TextView cardText;
    void (*draw)(Canvas& canvas) = nullptr;
};
constexpr std::array<SettingsSection, 9> sections{{
    {u"Recordings", u"Resolution, FPS, bitrate and replay.", DrawRecordingsSection},
    {u"Audio", u"System sound and microphone.", DrawAudioSection},
    {u"Shortcuts", u"Overlay and capture key binds.", DrawShortcutsSection},
    {u"Gallery location", u"Game folders and saved media.", DrawGallerySection},
    {u"Connect", u"Account and software updates.", DrawConnectSection},
    {u"HUD layout", u"Cursor and on-screen indicators.", DrawHudSection},
    {u"Broadcast live", u"Streaming connection settings.", DrawBroadcastSection},
    {u"Highlights", u"Automatic game moments.", DrawHighlightsSection},
    {u"Photo / Game filters", u"Screenshots and visual filters.", DrawPhotoSection},
}};

void SelectSection(std::int32_t index) { Ui().settingsSection = index; }

void DrawFrameOfPage(Canvas& canvas) {
    FillBox(canvas, {150, 70, 870, 540}, color::overlayPanel);
    DrawOverlayButton(canvas,
                      {.id = overlayTarget::settingsBack, .box = {163, 80, 250, 113}, .label = u"< Back", .action = [] {
                           SelectOverlayPage(overlayPage::tiles);
                       }});
    DrawCentredText(canvas, {300, 79, 700, 115}, u"Settings", color::primaryText, FontRole::Bold);
}

void DrawSectionCard(Canvas& canvas, std::int32_t index) {
    const SettingsSection& section = sections[static_cast<std::size_t>(index)];
    const std::int32_t dx = 226 * (index % 3);
    const std::int32_t dy = 122 * (index / 3);
    DrawCard(canvas, {168 + dx, 137 + dy, 376 + dx, 243 + dy});
    DrawTextLine(canvas, {183 + dx, 150 + dy, 361 + dx, 177 + dy}, section.title, color::primaryText, FontRole::Bold);
    DrawTextLine(canvas, {183 + dx, 185 + dy, 361 + dx, 213 + dy}, section.cardText, color::mutedText, FontRole::Small);
    DrawButton(canvas, {.id = overlayTarget::firstSection + index,
                        .box = {183 + dx, 215 + dy, 361 + dx, 233 + dy},
                        .label = u"Open",
                        .action = [index] { SelectSection(index); }});
}

void DrawSection(Canvas& canvas, const SettingsSection& section) {
    DrawButton(canvas,
               {.id = overlayTarget::allSettings, .box = {163, 126, 310, 159}, .label = u"All settings", .action = [] {
                    SelectSection(hubIndex);
                }});
    DrawCentredText(canvas, {320, 126, 700, 159}, section.title, Drawing().accentColor, FontRole::Bold);
    section.draw(canvas);
}

}  // namespace

void DrawOverlaySettings(Canvas& canvas) {
    DrawFrameOfPage(canvas);
    if (Ui().settingsSection < 0) {
        DrawSettingsHub(canvas);
        return;
    }
    const auto index = static_cast<std::size_t>(Ui().settingsSection);
    DrawSection(canvas, sections[std::min(index, sections.size() - 1)]);
}

void DrawSettingsHub(Canvas& canvas) {
    for (std::int32_t index = 0; index < static_cast<std::int32_t>(sections.size()); ++index) {
        DrawSectionCard(canvas, index);
    }
}

}  // namespace zv
