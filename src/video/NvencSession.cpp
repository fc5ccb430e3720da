#include "video/NvencSession.h"

namespace zv {
namespace {

void ConfigureRateControl(NV_ENC_RC_PARAMS& rate, std::uint32_t bitrate, std::uint32_t frameBits) {
    rate.rateControlMode = NV_ENC_PARAMS_RC_CBR;
    rate.averageBitRate = bitrate;
    rate.maxBitRate = bitrate;
    // A buffer of one frame keeps every frame close to its share.
    rate.vbvBufferSize = frameBits;
    rate.vbvInitialDelay = frameBits;
    rate.flags &= ~(rcEnableAQ | rcEnableLookahead | rcEnableTemporalAQ);
    rate.flags |= rcZeroReorderDelay;
    rate.lookaheadDepth = 0;
    rate.multiPass = NV_ENC_MULTI_PASS_DISABLED;
}

// Must agree with the scaler's output: BT.709, limited range.
void DescribeColours(NV_ENC_CONFIG_H264_VUI_PARAMETERS& vui) {
    vui.videoSignalTypePresentFlag = 1;
    vui.videoFormat = NV_ENC_VUI_VIDEO_FORMAT_UNSPECIFIED;
    vui.videoFullRangeFlag = 0;
    vui.colourDescriptionPresentFlag = 1;
    vui.colourPrimaries = NV_ENC_VUI_BT709;
    vui.transferCharacteristics = NV_ENC_VUI_BT709;
    vui.colourMatrix = NV_ENC_VUI_BT709;
}

}  // namespace

void ConfigureEncoder(NV_ENC_CONFIG& config, std::uint32_t fps, std::uint32_t bitrateMbps) {
    const std::uint32_t bitrate = bitrateMbps * 1000000U;
    config.version = NV_ENC_CONFIG_VER;
    config.profileGUID = NV_ENC_H264_PROFILE_HIGH_GUID;
    config.gopLength = fps;
    config.frameIntervalP = 1;  // no B pictures
    ConfigureRateControl(config.rcParams, bitrate, bitrate / fps);
    NV_ENC_CONFIG_H264& h264 = config.encodeCodecConfig.h264Config;
    h264.flags |= h264OutputAUD | h264RepeatSPSPPS;
    h264.idrPeriod = fps;
    DescribeColours(h264.h264VUIParameters);
}

bool NvencSession::Open(void* device, void* nv12Texture, const VideoFormat& format) {
    width_ = format.width;
    height_ = format.height;
    fps_ = format.fps;
    return LoadApi() && OpenEncoder(device) && Initialize(format) && RegisterTexture(nv12Texture) &&
           MakeBitstreamBuffer();
}

bool NvencSession::LoadApi() {
    library_ = LoadEncoderLibrary();
    if (!library_) {
        errorText_ = u"NVIDIA encoder driver is unavailable. Install the NVIDIA graphics driver.";
        return false;
    }
    const NvEncodeApiCreateInstance createInstance = EncoderEntryPoint(*library_);
    if (createInstance == nullptr) {
        errorText_ = u"NVIDIA encoder entry point is unavailable.";
        return false;
    }
    api_ = {};
    api_.version = NV_ENCODE_API_FUNCTION_LIST_VER;
    return Check(createInstance(&api_), "Load NVIDIA encoder API");
}

bool NvencSession::OpenEncoder(void* device) {
    NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS session;
    session.version = NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER;
    session.deviceType = NV_ENC_DEVICE_TYPE_DIRECTX;
    session.device = device;
    session.apiVersion = NVENCAPI_VERSION;
    return Check(api_.nvEncOpenEncodeSessionEx(&session, &encoder_), "Open NVIDIA encoding session");
}

bool NvencSession::Initialize(const VideoFormat& format) {
    NV_ENC_PRESET_CONFIG preset;
    preset.version = NV_ENC_PRESET_CONFIG_VER;
    preset.presetCfg.version = NV_ENC_CONFIG_VER;
    if (!Check(api_.nvEncGetEncodePresetConfigEx(encoder_, NV_ENC_CODEC_H264_GUID, NV_ENC_PRESET_P1_GUID,
                                                 NV_ENC_TUNING_INFO_ULTRA_LOW_LATENCY, &preset),
               "Read low latency preset")) {
        return false;
    }
    NV_ENC_CONFIG config = preset.presetCfg;
    ConfigureEncoder(config, fps_, format.bitrateMbps);

    NV_ENC_INITIALIZE_PARAMS parameters;
    parameters.version = NV_ENC_INITIALIZE_PARAMS_VER;
    parameters.encodeGUID = NV_ENC_CODEC_H264_GUID;
    parameters.presetGUID = NV_ENC_PRESET_P1_GUID;
    parameters.encodeWidth = width_;
    parameters.encodeHeight = height_;
    parameters.darWidth = width_;
    parameters.darHeight = height_;
    parameters.frameRateNum = fps_;
    parameters.frameRateDen = 1;
    parameters.enableEncodeAsync = 0;
    parameters.enablePTD = 1;
    parameters.encodeConfig = &config;
    parameters.tuningInfo = NV_ENC_TUNING_INFO_ULTRA_LOW_LATENCY;
    initialized_ = Check(api_.nvEncInitializeEncoder(encoder_, &parameters), "Initialize NVIDIA encoder");
    return initialized_;
}

bool NvencSession::RegisterTexture(void* nv12Texture) {
    NV_ENC_REGISTER_RESOURCE resource;
    resource.version = NV_ENC_REGISTER_RESOURCE_VER;
    resource.resourceType = NV_ENC_INPUT_RESOURCE_TYPE_DIRECTX;
    resource.width = width_;
    resource.height = height_;
    resource.pitch = 0;
    resource.resourceToRegister = nv12Texture;
    resource.bufferFormat = NV_ENC_BUFFER_FORMAT_NV12;
    resource.bufferUsage = NV_ENC_INPUT_IMAGE;
    if (!Check(api_.nvEncRegisterResource(encoder_, &resource), "Register GPU capture texture")) {
        return false;
    }
    registeredResource_ = resource.registeredResource;
    return true;
}

// One buffer serves all frames, since each frame is read back before the next.
bool NvencSession::MakeBitstreamBuffer() {
    NV_ENC_CREATE_BITSTREAM_BUFFER buffer;
    buffer.version = NV_ENC_CREATE_BITSTREAM_BUFFER_VER;
    if (!Check(api_.nvEncCreateBitstreamBuffer(encoder_, &buffer), "Create compressed video buffer")) {
        return false;
    }
    bitstreamBuffer_ = buffer.bitstreamBuffer;
    return true;
}

bool NvencSession::EncodeFrame(std::uint32_t frameIndex, std::vector<std::byte>& outBytes) {
    return MapTexture() && EncodePicture(frameIndex) && ReadBitstream(outBytes) && !outBytes.empty();
}

bool NvencSession::MapTexture() {
    NV_ENC_MAP_INPUT_RESOURCE map;
    map.version = NV_ENC_MAP_INPUT_RESOURCE_VER;
    map.registeredResource = registeredResource_;
    if (!Check(api_.nvEncMapInputResource(encoder_, &map), "Map GPU frame for encoding")) {
        return false;
    }
    mappedResource_ = map.mappedResource;
    return true;
}

// No flag forces an IDR picture: the lengths of the configuration put one on every multiple of the rate.
bool NvencSession::EncodePicture(std::uint32_t frameIndex) {
    NV_ENC_PIC_PARAMS picture;
    picture.version = NV_ENC_PIC_PARAMS_VER;
    picture.inputWidth = width_;
    picture.inputHeight = height_;
    picture.inputPitch = width_;
    picture.encodePicFlags = 0;
    picture.frameIdx = frameIndex;
    picture.inputTimeStamp = frameIndex;
    picture.inputDuration = 1;
    picture.inputBuffer = mappedResource_;
    picture.outputBitstream = bitstreamBuffer_;
    picture.completionEvent = nullptr;
    picture.bufferFmt = NV_ENC_BUFFER_FORMAT_NV12;
    picture.pictureStruct = NV_ENC_PIC_STRUCT_FRAME;
    return Check(api_.nvEncEncodePicture(encoder_, &picture), "Encode GPU frame");
}

bool NvencSession::ReadBitstream(std::vector<std::byte>& outBytes) {
    NV_ENC_LOCK_BITSTREAM lock;
    lock.version = NV_ENC_LOCK_BITSTREAM_VER;
    lock.outputBitstream = bitstreamBuffer_;
    if (!Check(api_.nvEncLockBitstream(encoder_, &lock), "Read compressed GPU frame")) {
        return false;
    }
    try {
        const auto* bytes = static_cast<const std::byte*>(lock.bitstreamBufferPtr);
        outBytes.assign(bytes, bytes + lock.bitstreamSizeInBytes);
    } catch (...) {
        api_.nvEncUnlockBitstream(encoder_, bitstreamBuffer_);
        throw;
    }
    // Both calls before either result is checked, so that a failed unlock does not leave the texture mapped.
    const NVENCSTATUS unlocked = api_.nvEncUnlockBitstream(encoder_, bitstreamBuffer_);
    const NVENCSTATUS unmapped = api_.nvEncUnmapInputResource(encoder_, mappedResource_);
    if (unmapped == NV_ENC_SUCCESS) {
        mappedResource_ = nullptr;
    }
    return Check(unlocked, "Unlock compressed frame") && Check(unmapped, "Release encoded GPU frame");
}

void NvencSession::Close() {
    if (encoder_ != nullptr) {
        if (initialized_) {
            NV_ENC_PIC_PARAMS endOfStream;
            endOfStream.version = NV_ENC_PIC_PARAMS_VER;
            endOfStream.encodePicFlags = NV_ENC_PIC_FLAG_EOS;
            api_.nvEncEncodePicture(encoder_, &endOfStream);
        }
        if (mappedResource_ != nullptr) {
            api_.nvEncUnmapInputResource(encoder_, mappedResource_);
        }
        if (registeredResource_ != nullptr) {
            api_.nvEncUnregisterResource(encoder_, registeredResource_);
        }
        if (bitstreamBuffer_ != nullptr) {
            api_.nvEncDestroyBitstreamBuffer(encoder_, bitstreamBuffer_);
        }
        api_.nvEncDestroyEncoder(encoder_);
    }
    encoder_ = nullptr;
    initialized_ = false;
    mappedResource_ = nullptr;
    registeredResource_ = nullptr;
    bitstreamBuffer_ = nullptr;
    library_.reset();
}

bool NvencSession::Check(NVENCSTATUS status, std::string_view stage) {
    if (status == NV_ENC_SUCCESS) {
        return true;
    }
    errorText_ = Widen(stage) + u" failed (NVENC " + Decimal(status) + u").";
    if (status == NV_ENC_ERR_INVALID_VERSION) {
        errorText_ += u" Update the NVIDIA graphics driver.";
    }
    if (encoder_ != nullptr && api_.nvEncGetLastErrorString != nullptr) {
        const char* detail = api_.nvEncGetLastErrorString(encoder_);
        if (detail != nullptr) {
            errorText_ += Widen(detail);
        }
    }
    return false;
}

}  // namespace zv
