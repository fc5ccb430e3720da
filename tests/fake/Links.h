// A desktop that records what it is asked to open. Calls are recorded as "OpenLink" and "OpenFolderInDesktop" with the
// address or path; one that fails returns false.
#pragma once

#include "platform/Links.h"
