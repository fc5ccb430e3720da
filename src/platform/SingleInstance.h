// One copy of the program in a session. Interface thread only, after OpenSession.
#pragma once

#include "core/Text.h"
#include "platform/Owned.h"

namespace zv {

/// Owned by the one copy of the program in this session. Released when the process ends, however it ends.
struct InstanceClaim;
template <>
void Closer<InstanceClaim>::operator()(InstanceClaim* claim) const noexcept;

/// Returns null if another copy holds `name` or on failure.
Owned<InstanceClaim> ClaimSingleInstance(TextView name);

/// Shows and raises the first copy's main window, which has this class name. Returns false if there is none.
bool BringOtherCopyForward(TextView className);

}  // namespace zv
