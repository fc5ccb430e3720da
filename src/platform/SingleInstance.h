// One copy of the program in a session. Interface thread only, after OpenSession.
#pragma once

#include "core/Text.h"
#include "platform/Owned.h"

namespace zv {

/// Held by the one copy of the program in this session. The claim ends with the process at the latest.
struct InstanceClaim;
template <>
void Closer<InstanceClaim>::operator()(InstanceClaim* claim) const noexcept;

/// Returns null if another copy holds `name` or if the system does not answer.
Owned<InstanceClaim> ClaimSingleInstance(TextView name);

/// Shows and raises the first copy's main window, found by its class name. Returns false if there is none.
bool BringOtherCopyForward(TextView className);

}  // namespace zv
