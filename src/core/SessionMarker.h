// A file that exists while a session runs. If it still exists at the next start, the last session ended uncleanly.
#pragma once

#include "core/Text.h"

namespace zv {

struct SessionMarker {
    Text path;
    bool previousRunUnclean = false;  ///< the file existed when this session started
};

/// The one record of the process. Interface thread.
SessionMarker& CurrentSessionMarker();

/// Checks whether the marker exists under `data`, and writes it. Throws a filesystem_error named "exists" if the system
/// cannot examine it.
void SessionMarkerBegin(TextView data);

/// Removes the marker.
void SessionMarkerEnd();

}  // namespace zv
