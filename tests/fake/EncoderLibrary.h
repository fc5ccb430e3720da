// An encoder library that records what it is given and answers with access units of its own making.
//
// Calls are noted under the names of the function list; a failing call answers the planned status. A texture is a
// pointer to a std::uint32_t, the number of the picture that it shows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/NvencApi.h"

namespace zv::fake {

struct EncoderRecord {
    // How it behaves
    bool libraryMissing = false;
    bool entryPointMissing = false;
    bool withoutErrorString = false;  ///< the list has no nvEncGetLastErrorString
    bool nullErrorString = false;
    bool handleDespiteFailure = true;  ///< a failed open call leaves a handle that wants to be destroyed
    std::string lastErrorString;
    NV_ENC_PRESET_CONFIG preset;
    std::vector<std::size_t> sizes = {1000};  ///< of access units by frame number, the last one for all that follow

    // What it was given, read while nothing runs
    std::uint32_t listVersion = 0;
    NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS open;
    NvencGuid presetCodec;
    NvencGuid presetGuid;
    std::uint32_t presetTuning = 0;
    std::uint32_t presetVersion = 0;
    std::uint32_t presetConfigVersion = 0;
    NV_ENC_INITIALIZE_PARAMS initialize;
    NV_ENC_CONFIG config;
    NV_ENC_REGISTER_RESOURCE resource;
    NV_ENC_CREATE_BITSTREAM_BUFFER buffer;
    NV_ENC_MAP_INPUT_RESOURCE map;
    NV_ENC_PIC_PARAMS picture;      ///< the last one that was to be encoded
    NV_ENC_PIC_PARAMS endOfStream;  ///< the last one with the end-of-stream flag
    NV_ENC_LOCK_BITSTREAM lock;
    std::vector<std::uint32_t> pictures;  ///< the number that the texture showed at each encode
    std::vector<void*> releasedHandles;   ///< given to unmap, unregister, destroy buffer, destroy encoder
    int liveLibraries = 0;
};

EncoderRecord& TheEncoder();
void ResetEncoder();

/// What the encoder answers for a frame: a start code, the frame's number, the picture's number, filler.
std::vector<std::byte> AccessUnitOf(std::uint32_t frameIndex, std::uint32_t picture, std::size_t size);

/// The handles that it gives out.
void* EncoderHandle();
void* RegisteredHandle();
void* MappedHandle();
void* BufferHandle();

}  // namespace zv::fake
