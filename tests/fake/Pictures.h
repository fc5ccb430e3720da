// Pictures in memory. A path that the test has not set has none. MakeThumbnails is recorded with its size as the
// subject, then each of its paths as "MakeThumbnail", and each LoadPicture under its name, with the whole path in UTF-8
// as the subject; all can be made to fail, to throw or to wait in a hook (Calls.h). A picture that is left out because
// of a request to stop is then recorded as "Stopped", with the name of its call.
#pragma once

#include <map>

#include "platform/Pictures.h"

namespace zv::fake {

/// The picture of each path, for both functions. Set it only while no worker runs.
std::map<Text, PixelBitmap>& ThePictures();

/// A picture of one colour.
PixelBitmap PictureOf(std::uint32_t color, std::int32_t width, std::int32_t height);

}  // namespace zv::fake
