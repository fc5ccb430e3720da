// The media player's header of the Windows SDK. Not in Sdk.h, because it conflicts with the audio session headers in
// one translation unit: both declare some of the names.
#pragma once

#include "platform/windows/Sdk.h"
// This needs the header above.
#include <mfplay.h>
