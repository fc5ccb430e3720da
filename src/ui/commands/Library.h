// The library of the interface: starts scans, collects their results, opens the gallery. Interface thread only.
#pragma once

namespace zv {

/// Scans the folders of the settings on a worker. While a scan runs, any number of calls cause one more scan after it.
void QueueMediaRefresh();

/// Replaces UiGlobals::library by the result of a finished scan and starts the queued one. Returns false if no scan is
/// finished.
bool CollectMediaRefresh();

/// Selects the overlay's gallery with all captures, from the first one, and refreshes the library. Neither shows nor
/// hides the overlay.
void SelectGallery();

}  // namespace zv
