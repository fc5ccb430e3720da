// An encoder library that records its arguments and returns synthetic access units.
//
// Calls are recorded under the names of the function list. A failing call returns the planned status. A texture is a
// pointer to a std::uint32_t, the number of the picture that it shows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/NvencApi.h"

namespace zv::fake {

struct EncoderRecord {
    // Behaviour
    bool libraryMissing = false;
    bool entryPointMissing = false;
    bool withoutErrorString = false;  ///< the list has no nvEncGetLastErrorString
    bool nullErrorString = false;
    bool handleDespiteFailure = true;  ///< a failed open call returns a handle that must be destroyed
    std::string lastErrorString;
    NV_ENC_PRESET_CONFIG preset;
    std::vector<std::size_t> sizes = {
        1000};  ///< of access units by frame number; the last one is used for all later frames

    // Recorded arguments, read while no call runs
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
    NV_ENC_PIC_PARAMS picture;      ///< the last one to be encoded
    NV_ENC_PIC_PARAMS endOfStream;  ///< the last one with the end-of-stream flag
    NV_ENC_LOCK_BITSTREAM lock;
    std::vector<std::uint32_t> pictures;  ///< the number of the texture at each encode call
    std::vector<void*> releasedHandles;   ///< arguments of unmap, unregister, destroy buffer, destroy encoder
    int liveLibraries = 0;
};

EncoderRecord& TheEncoder();
void ResetEncoder();

/// The access unit of a frame: a start code, the frame's number, the picture's number, filler.
std::vector<std::byte> AccessUnitOf(std::uint32_t frameIndex, std::uint32_t picture, std::size_t size);

/// The handles that it returns.
void* EncoderHandle();
void* RegisteredHandle();
void* MappedHandle();
void* BufferHandle();

}  // namespace zv::fake
