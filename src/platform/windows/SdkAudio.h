// The audio session headers of the Windows SDK. Not in Sdk.h, because they conflict with the media player's header in
// one translation unit: both declare some of the names.
#pragma once

#include "platform/windows/Sdk.h"
// These need the headers above.
#include <audioclient.h>
#include <mmdeviceapi.h>
