// The part of the Windows SDK that speaks of audio sessions. It stands apart from Sdk.h because it and the media
// player's header declare the same names and can't be in one translation unit.
#pragma once

#include "platform/windows/Sdk.h"
// What the headers above are needed by.
#include <audioclient.h>
#include <mmdeviceapi.h>
