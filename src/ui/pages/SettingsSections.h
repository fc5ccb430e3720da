// The nine sections of the overlay's settings page, each below the page's frame. Called inside RenderUi.
#pragma once

#include "platform/Canvas.h"

namespace zv {

void DrawRecordingsSection(Canvas& canvas);
void DrawAudioSection(Canvas& canvas);
void DrawShortcutsSection(Canvas& canvas);
void DrawGallerySection(Canvas& canvas);
void DrawConnectSection(Canvas& canvas);
void DrawHudSection(Canvas& canvas);
void DrawBroadcastSection(Canvas& canvas);
void DrawHighlightsSection(Canvas& canvas);
void DrawPhotoSection(Canvas& canvas);

}  // namespace zv
