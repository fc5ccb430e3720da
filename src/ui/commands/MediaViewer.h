// The media viewer's session: one clip, recording or screenshot that the overlay shows. Interface thread only.
//
// A video plays in a window of its own above the overlay, an image is loaded by a worker and painted by the page
// (ui/pages/OverlayViewer). Every function may be called without a session.
#pragma once

#include <cstdint>

#include "library/LibraryScan.h"
#include "platform/Rectangle.h"
#include "platform/Window.h"

namespace zv {

/// Ends the session, selects the viewer's page and opens the file. A video starts at once. Does nothing but report it
/// while an image is loading.
void OpenMediaViewer(const MediaFile& file);

/// Ends the session. Keeps the volume and the page.
void CloseMediaViewer();

/// Pauses the video and hides its window.
void PauseViewer();

/// On the 500 ms tick: collects the image and the player's failure, moves the video window and repaints the page.
void PollViewerImage();

/// Moves the video window over the page's black rectangle. If the page is not shown, pauses the video instead.
void PlaceVideoWindow();

/// Seeks to `position`, in units of 100 ns, clamped to the video.
void SeekVideo(std::int64_t position);

/// Pauses a playing video and plays any other, from the beginning if it has ended.
void TogglePlayback();

/// Clamped to 0 to 1.
void SetViewerVolume(float volume);

/// Stores a failure of the player in ViewerSession::viewerError.
void CollectPlayerFailure();

/// The black rectangle of the page, in pixels of an overlay of this scale.
Rectangle MediaBounds(bool fullscreen, double scale);

/// The procedure of the video window.
std::intptr_t VideoProc(AppWindow& window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

}  // namespace zv
