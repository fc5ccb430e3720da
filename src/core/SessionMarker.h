// The file that exists while a session runs, and so tells the next session how this one ended.
#pragma once

#include "core/Text.h"

namespace zv {

struct SessionMarker {
    Text path;
    bool previousRunUnclean = false;  ///< the file was there when this session started
};

/// The one record of the process. Interface thread.
SessionMarker& CurrentSessionMarker();

/// Looks for the marker under `data` and writes it anew. Raises a filesystem_error named "exists" when the system
/// cannot tell whether it is there.
void SessionMarkerBegin(TextView data);

/// Removes the marker.
void SessionMarkerEnd();

}  // namespace zv
