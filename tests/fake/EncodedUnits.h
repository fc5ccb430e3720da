// An encoder library whose pictures were encoded beforehand: it replaces platform/EncoderLibrary.h.
//
// The file that ZV_TEST_UNITS names is an H.264 stream with an access unit delimiter in front of every picture. The
// n-th encoded frame is its n-th access unit, from the start again at the end: a stream whose length is a multiple of
// its distance between key frames goes on for ever.
#pragma once

#include <cstddef>

namespace zv::fake {

/// How many access units the file holds.
std::size_t EncodedUnitCount();

}  // namespace zv::fake
