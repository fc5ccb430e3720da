// Implements the encoder's function list with a software encoder.
//
// It checks its input as a driver does: first structure versions, then the state of the session, then parameters. An
// unsupported parameter is refused, never ignored. The session stores its last failure as a sentence, which begins with
// a space because callers append it to their own.
#include "platform/EncoderLibrary.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "platform/software/SoftwareEncoder.h"
#include "platform/software/Surface.h"

namespace zv {

struct EncoderLibrary {};

namespace {

constexpr std::uint32_t smallestSide = 32;
constexpr std::uint32_t largestSide = 4096;
constexpr std::uint32_t infiniteGop = 0xFFFFFFFFU;

struct Registered {
    Surface* surface = nullptr;
    bool mapped = false;
    char mapping = 0;  ///< its address is the handle of the mapped resource
};

struct Bitstream {
    AccessUnit unit;
    std::uint32_t frameIndex = 0;
    std::uint64_t stamp = 0;
    std::uint64_t duration = 0;
    bool filled = false;
    bool locked = false;
};

struct Session {
    std::unique_ptr<SoftwareEncoder> encoder;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::unique_ptr<Registered>> resources;
    std::vector<std::unique_ptr<Bitstream>> bitstreams;
    bool ended = false;
    std::string lastError;

    NVENCSTATUS Fail(NVENCSTATUS status, const std::string& reason) {
        lastError = " " + reason + ".";
        return status;
    }
};

Session* SessionOf(void* handle) { return static_cast<Session*>(handle); }

Registered* FindResource(Session& session, const void* handle) {
    const auto found = std::find_if(session.resources.begin(), session.resources.end(),
                                    [handle](const auto& each) { return each.get() == handle; });
    return found == session.resources.end() ? nullptr : found->get();
}

Registered* FindMapped(Session& session, const void* handle) {
    const auto found = std::find_if(session.resources.begin(), session.resources.end(),
                                    [handle](const auto& each) { return each->mapped && &each->mapping == handle; });
    return found == session.resources.end() ? nullptr : found->get();
}

Bitstream* FindBitstream(Session& session, const void* handle) {
    const auto found = std::find_if(session.bitstreams.begin(), session.bitstreams.end(),
                                    [handle](const auto& each) { return each.get() == handle; });
    return found == session.bitstreams.end() ? nullptr : found->get();
}

/// The common checks of all calls on a session: the structure has the right version, and the session has an encoder.
template <class Parameters>
NVENCSTATUS Admit(void* handle, const Parameters* parameters, std::uint32_t version) {
    if (handle == nullptr || parameters == nullptr) {
        return NV_ENC_ERR_INVALID_PTR;
    }
    Session& session = *SessionOf(handle);
    if (parameters->version != version) {
        return session.Fail(NV_ENC_ERR_INVALID_VERSION, "The structure's version is not supported");
    }
    if (session.encoder == nullptr) {
        return session.Fail(NV_ENC_ERR_ENCODER_NOT_INITIALIZED, "The encoder is not initialized");
    }
    return NV_ENC_SUCCESS;
}

NVENCSTATUS OpenEncodeSessionEx(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS* parameters, void** encoder) {
    if (parameters == nullptr || encoder == nullptr) {
        return NV_ENC_ERR_INVALID_PTR;
    }
    *encoder = nullptr;
    if (parameters->version != NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER || parameters->apiVersion != NVENCAPI_VERSION) {
        return NV_ENC_ERR_INVALID_VERSION;
    }
    if (parameters->device == nullptr) {
        return NV_ENC_ERR_INVALID_PTR;
    }
    if (parameters->deviceType != NV_ENC_DEVICE_TYPE_DIRECTX) {
        return NV_ENC_ERR_INVALID_PARAM;
    }
    *encoder = new Session;
    return NV_ENC_SUCCESS;
}

bool KnownPreset(const NvencGuid& codec, const NvencGuid& preset, std::uint32_t tuning) {
    return codec == NV_ENC_CODEC_H264_GUID && preset == NV_ENC_PRESET_P1_GUID &&
           tuning == NV_ENC_TUNING_INFO_ULTRA_LOW_LATENCY;
}

NVENCSTATUS GetEncodePresetConfigEx(void* handle, NvencGuid codec, NvencGuid preset, std::uint32_t tuning,
                                    NV_ENC_PRESET_CONFIG* parameters) {
    if (handle == nullptr || parameters == nullptr) {
        return NV_ENC_ERR_INVALID_PTR;
    }
    Session& session = *SessionOf(handle);
    if (parameters->version != NV_ENC_PRESET_CONFIG_VER || parameters->presetCfg.version != NV_ENC_CONFIG_VER) {
        return session.Fail(NV_ENC_ERR_INVALID_VERSION, "The structure's version is not supported");
    }
    if (!KnownPreset(codec, preset, tuning)) {
        return session.Fail(NV_ENC_ERR_UNSUPPORTED_PARAM, "Codec, preset or tuning is not supported");
    }
    NV_ENC_CONFIG& config = parameters->presetCfg;
    config = {};
    config.version = NV_ENC_CONFIG_VER;
    config.profileGUID = NV_ENC_H264_PROFILE_HIGH_GUID;
    config.gopLength = infiniteGop;
    config.frameIntervalP = 1;
    config.rcParams.rateControlMode = NV_ENC_PARAMS_RC_CBR;
    config.encodeCodecConfig.h264Config.idrPeriod = infiniteGop;
    config.encodeCodecConfig.h264Config.chromaFormatIDC = 1;
    return NV_ENC_SUCCESS;
}

/// The first parameter that the encoder does not support, or null.
const char* RefusedParameter(const NV_ENC_INITIALIZE_PARAMS& parameters) {
    const auto goodSide = [](std::uint32_t side) {
        return side >= smallestSide && side <= largestSide && side % 2 == 0;
    };
    if (!goodSide(parameters.encodeWidth) || !goodSide(parameters.encodeHeight)) {
        return "The picture's size is not supported";
    }
    if (parameters.darWidth == 0 || parameters.darHeight == 0 || parameters.darWidth > largestSide ||
        parameters.darHeight > largestSide) {
        return "The display's size is not supported";
    }
    if (parameters.frameRateNum == 0 || parameters.frameRateDen == 0) {
        return "The frame rate is missing";
    }
    return nullptr;
}

const char* UnsupportedParameter(const NV_ENC_INITIALIZE_PARAMS& parameters) {
    if (!KnownPreset(parameters.encodeGUID, parameters.presetGUID, parameters.tuningInfo)) {
        return "Codec, preset or tuning is not supported";
    }
    if (parameters.enableEncodeAsync != 0 || parameters.enablePTD != 1) {
        return "Only synchronous encoding with picture types of the encoder's choice is supported";
    }
    return nullptr;
}

const char* RefusedConfig(const NV_ENC_CONFIG& config) {
    const NV_ENC_RC_PARAMS& rate = config.rcParams;
    if (rate.averageBitRate < 1000 || rate.maxBitRate != rate.averageBitRate) {
        return "The bitrate is not supported";
    }
    if (rate.vbvBufferSize == 0 || rate.vbvInitialDelay > rate.vbvBufferSize) {
        return "The buffer's size is not supported";
    }
    const std::uint32_t period = config.encodeCodecConfig.h264Config.idrPeriod;
    if (config.gopLength == 0 || period != config.gopLength) {
        return "The length of the group of pictures is not supported";
    }
    return nullptr;
}

const char* UnsupportedConfig(const NV_ENC_CONFIG& config) {
    const NV_ENC_RC_PARAMS& rate = config.rcParams;
    if (!(config.profileGUID == NV_ENC_H264_PROFILE_HIGH_GUID)) {
        return "The profile is not supported";
    }
    if (config.frameIntervalP != 1) {
        return "Only I and P pictures are supported";
    }
    if (rate.rateControlMode != NV_ENC_PARAMS_RC_CBR || rate.multiPass != NV_ENC_MULTI_PASS_DISABLED ||
        (rate.flags & (rcEnableAQ | rcEnableLookahead | rcEnableTemporalAQ)) != 0 || rate.lookaheadDepth != 0) {
        return "Only a constant bitrate in one pass without lookahead is supported";
    }
    return nullptr;
}

SoftwareEncoderSettings SettingsOf(const NV_ENC_INITIALIZE_PARAMS& parameters) {
    const NV_ENC_CONFIG& config = *parameters.encodeConfig;
    const NV_ENC_CONFIG_H264& h264 = config.encodeCodecConfig.h264Config;
    const NV_ENC_CONFIG_H264_VUI_PARAMETERS& vui = h264.h264VUIParameters;
    return {.width = parameters.encodeWidth,
            .height = parameters.encodeHeight,
            .aspectWidth = parameters.darWidth,
            .aspectHeight = parameters.darHeight,
            .rateNumerator = parameters.frameRateNum,
            .rateDenominator = parameters.frameRateDen,
            .bitrate = config.rcParams.averageBitRate,
            .bufferBits = config.rcParams.vbvBufferSize,
            .initialBits = config.rcParams.vbvInitialDelay,
            // x264's largest value means "never".
            .keyFramePeriod = std::min(h264.idrPeriod, 1U << 30U),
            .delimiters = (h264.flags & h264OutputAUD) != 0,
            .repeatHeaders = (h264.flags & h264RepeatSPSPPS) != 0,
            .cabac = h264.entropyCodingMode == NV_ENC_H264_ENTROPY_CODING_MODE_CABAC,
            .describesSignal = vui.videoSignalTypePresentFlag != 0,
            .signalFormat = vui.videoFormat,
            .fullRange = vui.videoFullRangeFlag != 0,
            .describesColors = vui.videoSignalTypePresentFlag != 0 && vui.colourDescriptionPresentFlag != 0,
            .primaries = vui.colourPrimaries,
            .transfer = vui.transferCharacteristics,
            .colorMatrix = vui.colourMatrix};
}

NVENCSTATUS CheckInitialize(Session& session, const NV_ENC_INITIALIZE_PARAMS& parameters) {
    if (parameters.version != NV_ENC_INITIALIZE_PARAMS_VER) {
        return session.Fail(NV_ENC_ERR_INVALID_VERSION, "The structure's version is not supported");
    }
    if (parameters.encodeConfig == nullptr) {
        return session.Fail(NV_ENC_ERR_INVALID_PTR, "The configuration is missing");
    }
    if (parameters.encodeConfig->version != NV_ENC_CONFIG_VER) {
        return session.Fail(NV_ENC_ERR_INVALID_VERSION, "The configuration's version is not supported");
    }
    if (session.encoder != nullptr) {
        return session.Fail(NV_ENC_ERR_INVALID_CALL, "The encoder is initialized already");
    }
    for (const char* refused : {RefusedParameter(parameters), RefusedConfig(*parameters.encodeConfig)}) {
        if (refused != nullptr) {
            return session.Fail(NV_ENC_ERR_INVALID_PARAM, refused);
        }
    }
    for (const char* unsupported : {UnsupportedParameter(parameters), UnsupportedConfig(*parameters.encodeConfig)}) {
        if (unsupported != nullptr) {
            return session.Fail(NV_ENC_ERR_UNSUPPORTED_PARAM, unsupported);
        }
    }
    return NV_ENC_SUCCESS;
}

NVENCSTATUS InitializeEncoder(void* handle, NV_ENC_INITIALIZE_PARAMS* parameters) {
    if (handle == nullptr || parameters == nullptr) {
        return NV_ENC_ERR_INVALID_PTR;
    }
    Session& session = *SessionOf(handle);
    const NVENCSTATUS status = CheckInitialize(session, *parameters);
    if (status != NV_ENC_SUCCESS) {
        return status;
    }
    std::string reason;
    session.encoder = SoftwareEncoder::Make(SettingsOf(*parameters), reason);
    if (session.encoder == nullptr) {
        return session.Fail(NV_ENC_ERR_INVALID_PARAM, reason);
    }
    session.width = parameters->encodeWidth;
    session.height = parameters->encodeHeight;
    return NV_ENC_SUCCESS;
}

NVENCSTATUS RegisterResource(void* handle, NV_ENC_REGISTER_RESOURCE* parameters) {
    const NVENCSTATUS status = Admit(handle, parameters, NV_ENC_REGISTER_RESOURCE_VER);
    if (status != NV_ENC_SUCCESS) {
        return status;
    }
    Session& session = *SessionOf(handle);
    auto* surface = static_cast<Surface*>(parameters->resourceToRegister);
    if (surface == nullptr) {
        return session.Fail(NV_ENC_ERR_INVALID_PTR, "The texture is missing");
    }
    if (parameters->resourceType != NV_ENC_INPUT_RESOURCE_TYPE_DIRECTX ||
        parameters->bufferFormat != NV_ENC_BUFFER_FORMAT_NV12 || parameters->bufferUsage != NV_ENC_INPUT_IMAGE ||
        parameters->subResourceIndex != 0 || surface->format != SurfaceFormat::Nv12) {
        return session.Fail(NV_ENC_ERR_INVALID_PARAM, "Only NV12 input textures are supported");
    }
    if (parameters->width != session.width || parameters->height != session.height || surface->width != session.width ||
        surface->height != session.height) {
        return session.Fail(NV_ENC_ERR_INVALID_PARAM, "The texture's size is not the encoder's");
    }
    session.resources.push_back(std::make_unique<Registered>());
    session.resources.back()->surface = surface;
    parameters->registeredResource = session.resources.back().get();
    return NV_ENC_SUCCESS;
}

NVENCSTATUS UnregisterResource(void* handle, NV_ENC_REGISTERED_PTR resource) {
    if (handle == nullptr) {
        return NV_ENC_ERR_INVALID_PTR;
    }
    Session& session = *SessionOf(handle);
    const Registered* registered = FindResource(session, resource);
    if (registered == nullptr) {
        return session.Fail(NV_ENC_ERR_RESOURCE_NOT_REGISTERED, "The texture is not registered");
    }
    if (registered->mapped) {
        return session.Fail(NV_ENC_ERR_INVALID_CALL, "The texture is still mapped");
    }
    std::erase_if(session.resources, [registered](const auto& each) { return each.get() == registered; });
    return NV_ENC_SUCCESS;
}

NVENCSTATUS CreateBitstreamBuffer(void* handle, NV_ENC_CREATE_BITSTREAM_BUFFER* parameters) {
    const NVENCSTATUS status = Admit(handle, parameters, NV_ENC_CREATE_BITSTREAM_BUFFER_VER);
    if (status != NV_ENC_SUCCESS) {
        return status;
    }
    Session& session = *SessionOf(handle);
    session.bitstreams.push_back(std::make_unique<Bitstream>());
    parameters->bitstreamBuffer = session.bitstreams.back().get();
    return NV_ENC_SUCCESS;
}

NVENCSTATUS DestroyBitstreamBuffer(void* handle, NV_ENC_OUTPUT_PTR buffer) {
    if (handle == nullptr) {
        return NV_ENC_ERR_INVALID_PTR;
    }
    Session& session = *SessionOf(handle);
    if (std::erase_if(session.bitstreams, [buffer](const auto& each) { return each.get() == buffer; }) == 0) {
        return session.Fail(NV_ENC_ERR_INVALID_PARAM, "There is no such buffer");
    }
    return NV_ENC_SUCCESS;
}

NVENCSTATUS MapInputResource(void* handle, NV_ENC_MAP_INPUT_RESOURCE* parameters) {
    const NVENCSTATUS status = Admit(handle, parameters, NV_ENC_MAP_INPUT_RESOURCE_VER);
    if (status != NV_ENC_SUCCESS) {
        return status;
    }
    Session& session = *SessionOf(handle);
    Registered* registered = FindResource(session, parameters->registeredResource);
    if (registered == nullptr) {
        return session.Fail(NV_ENC_ERR_RESOURCE_NOT_REGISTERED, "The texture is not registered");
    }
    if (registered->mapped) {
        return session.Fail(NV_ENC_ERR_INVALID_CALL, "The texture is mapped already");
    }
    registered->mapped = true;
    parameters->mappedResource = &registered->mapping;
    parameters->mappedBufferFmt = NV_ENC_BUFFER_FORMAT_NV12;
    return NV_ENC_SUCCESS;
}

NVENCSTATUS UnmapInputResource(void* handle, NV_ENC_INPUT_PTR mapped) {
    if (handle == nullptr) {
        return NV_ENC_ERR_INVALID_PTR;
    }
    Session& session = *SessionOf(handle);
    Registered* registered = FindMapped(session, mapped);
    if (registered == nullptr) {
        return session.Fail(NV_ENC_ERR_RESOURCE_NOT_MAPPED, "The texture is not mapped");
    }
    registered->mapped = false;
    return NV_ENC_SUCCESS;
}

/// Checks all parameters except the handles.
const char* RefusedPicture(const Session& session, const NV_ENC_PIC_PARAMS& picture) {
    if (picture.bufferFmt != NV_ENC_BUFFER_FORMAT_NV12 || picture.pictureStruct != NV_ENC_PIC_STRUCT_FRAME) {
        return "Only whole NV12 frames are supported";
    }
    if (picture.inputWidth != session.width || picture.inputHeight != session.height) {
        return "The picture's size is not the encoder's";
    }
    if (picture.encodePicFlags != 0 || picture.completionEvent != nullptr) {
        return "Flags and completion events are not supported";
    }
    return nullptr;
}

NVENCSTATUS EncodeInto(Session& session, const NV_ENC_PIC_PARAMS& picture, Registered& resource, Bitstream& output) {
    std::string reason;
    for (const auto& each : session.bitstreams) {
        each->filled = false;  // the encoder reuses its memory
    }
    if (!session.encoder->Encode(*resource.surface, static_cast<std::int64_t>(picture.inputTimeStamp), output.unit,
                                 reason)) {
        return session.Fail(NV_ENC_ERR_GENERIC, reason);
    }
    output.frameIndex = picture.frameIdx;
    output.stamp = picture.inputTimeStamp;
    output.duration = picture.inputDuration;
    output.filled = true;
    return NV_ENC_SUCCESS;
}

NVENCSTATUS EncodePicture(void* handle, NV_ENC_PIC_PARAMS* picture) {
    const NVENCSTATUS status = Admit(handle, picture, NV_ENC_PIC_PARAMS_VER);
    if (status != NV_ENC_SUCCESS) {
        return status;
    }
    Session& session = *SessionOf(handle);
    if (session.ended) {
        return session.Fail(NV_ENC_ERR_INVALID_CALL, "The stream has ended");
    }
    if (picture->encodePicFlags == NV_ENC_PIC_FLAG_EOS) {
        session.ended = true;
        return NV_ENC_SUCCESS;
    }
    Registered* resource = FindMapped(session, picture->inputBuffer);
    if (resource == nullptr) {
        return session.Fail(NV_ENC_ERR_RESOURCE_NOT_MAPPED, "The texture is not mapped");
    }
    Bitstream* output = FindBitstream(session, picture->outputBitstream);
    const char* refused = output == nullptr ? "There is no such buffer" : RefusedPicture(session, *picture);
    if (refused != nullptr) {
        return session.Fail(NV_ENC_ERR_INVALID_PARAM, refused);
    }
    if (std::any_of(session.bitstreams.begin(), session.bitstreams.end(),
                    [](const auto& each) { return each->locked; })) {
        return session.Fail(NV_ENC_ERR_INVALID_CALL, "A buffer is still locked");
    }
    return EncodeInto(session, *picture, *resource, *output);
}

NVENCSTATUS LockBitstream(void* handle, NV_ENC_LOCK_BITSTREAM* parameters) {
    const NVENCSTATUS status = Admit(handle, parameters, NV_ENC_LOCK_BITSTREAM_VER);
    if (status != NV_ENC_SUCCESS) {
        return status;
    }
    Session& session = *SessionOf(handle);
    Bitstream* bitstream = FindBitstream(session, parameters->outputBitstream);
    if (bitstream == nullptr) {
        return session.Fail(NV_ENC_ERR_INVALID_PARAM, "There is no such buffer");
    }
    if (!bitstream->filled || bitstream->locked) {
        return session.Fail(NV_ENC_ERR_INVALID_CALL, "The buffer holds nothing that could be read");
    }
    bitstream->locked = true;
    parameters->frameIdx = bitstream->frameIndex;
    parameters->numSlices = 0;
    parameters->bitstreamSizeInBytes = static_cast<std::uint32_t>(bitstream->unit.size);
    parameters->outputTimeStamp = bitstream->stamp;
    parameters->outputDuration = bitstream->duration;
    parameters->bitstreamBufferPtr = const_cast<std::uint8_t*>(bitstream->unit.bytes);
    parameters->pictureType = bitstream->unit.key ? NV_ENC_PIC_TYPE_IDR : NV_ENC_PIC_TYPE_P;
    parameters->pictureStruct = NV_ENC_PIC_STRUCT_FRAME;
    return NV_ENC_SUCCESS;
}

NVENCSTATUS UnlockBitstream(void* handle, NV_ENC_OUTPUT_PTR buffer) {
    if (handle == nullptr) {
        return NV_ENC_ERR_INVALID_PTR;
    }
    Session& session = *SessionOf(handle);
    Bitstream* bitstream = FindBitstream(session, buffer);
    if (bitstream == nullptr) {
        return session.Fail(NV_ENC_ERR_INVALID_PARAM, "There is no such buffer");
    }
    if (!bitstream->locked) {
        return session.Fail(NV_ENC_ERR_INVALID_CALL, "The buffer is not locked");
    }
    bitstream->locked = false;
    return NV_ENC_SUCCESS;
}

const char* GetLastErrorString(void* handle) { return handle == nullptr ? "" : SessionOf(handle)->lastError.c_str(); }

NVENCSTATUS DestroyEncoder(void* handle) {
    if (handle == nullptr) {
        return NV_ENC_ERR_INVALID_PTR;
    }
    delete SessionOf(handle);
    return NV_ENC_SUCCESS;
}

/// Converts a failed allocation to a status, because the callers do not handle exceptions of a library.
template <auto function, class... Arguments>
NVENCSTATUS Guarded(Arguments... arguments) {
    try {
        return function(arguments...);
    } catch (const std::bad_alloc&) {
        return NV_ENC_ERR_OUT_OF_MEMORY;
    }
}

NVENCSTATUS CreateInstance(NV_ENCODE_API_FUNCTION_LIST* list) {
    if (list == nullptr) {
        return NV_ENC_ERR_INVALID_PTR;
    }
    if (list->version != NV_ENCODE_API_FUNCTION_LIST_VER) {
        return NV_ENC_ERR_INVALID_VERSION;
    }
    list->nvEncOpenEncodeSessionEx = Guarded<OpenEncodeSessionEx>;
    list->nvEncGetEncodePresetConfigEx = Guarded<GetEncodePresetConfigEx>;
    list->nvEncInitializeEncoder = Guarded<InitializeEncoder>;
    list->nvEncRegisterResource = Guarded<RegisterResource>;
    list->nvEncUnregisterResource = Guarded<UnregisterResource>;
    list->nvEncCreateBitstreamBuffer = Guarded<CreateBitstreamBuffer>;
    list->nvEncDestroyBitstreamBuffer = Guarded<DestroyBitstreamBuffer>;
    list->nvEncMapInputResource = Guarded<MapInputResource>;
    list->nvEncUnmapInputResource = Guarded<UnmapInputResource>;
    list->nvEncEncodePicture = Guarded<EncodePicture>;
    list->nvEncLockBitstream = Guarded<LockBitstream>;
    list->nvEncUnlockBitstream = Guarded<UnlockBitstream>;
    list->nvEncGetLastErrorString = GetLastErrorString;
    list->nvEncDestroyEncoder = DestroyEncoder;
    return NV_ENC_SUCCESS;
}

}  // namespace

template <>
void Closer<EncoderLibrary>::operator()(EncoderLibrary* library) const noexcept {
    delete library;
}

Owned<EncoderLibrary> LoadEncoderLibrary() { return Owned<EncoderLibrary>(new EncoderLibrary); }

NvEncodeApiCreateInstance EncoderEntryPoint(EncoderLibrary&) { return CreateInstance; }

}  // namespace zv
