// An encoder library that returns access units from a file. Implements platform/EncoderLibrary.h.
//
// The file named by ZV_TEST_UNITS is an H.264 stream with an access unit delimiter before every picture. The n-th
// encoded frame is its n-th access unit. After the last one it starts again with the first, so the length of the stream
// must be a multiple of its key frame distance.
#pragma once

#include <cstddef>

namespace zv::fake {

/// The number of access units in the file.
std::size_t EncodedUnitCount();

}  // namespace zv::fake
