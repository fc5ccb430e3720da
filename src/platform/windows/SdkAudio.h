// The audio session headers of the Windows SDK. Apart from Sdk.h, because some of their names are also declared by the
// media player's header, which cannot be in the same translation unit.
#pragma once

#include "platform/windows/Sdk.h"
// What the headers above are needed by.
#include <audioclient.h>
#include <mmdeviceapi.h>
