// The publisher's feeds: the check for an update and the recommended cards. The results are in UiGlobals::feeds.
// Interface thread only.
#pragma once

namespace zv {

/// Checks for an update on a worker, unless a check runs.
void CheckForUpdates();

/// Reads the recommended cards on a worker, unless that runs.
void RefreshRecommendations();

/// Stores finished results and repaints the main window. Called by the housekeeping timer.
void CollectFeeds();

/// The wait of the shutdown, without a time limit.
void WaitForFeeds();

}  // namespace zv
