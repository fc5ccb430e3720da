// The part of the NVENC 12.2 interface that the program uses, declared for x64.
//
// These are the program's own declarations. Every size and every used offset is asserted below against the published
// binary layout (natural alignment, little-endian, 8-byte pointers). Names are those of the interface. Structure
// versions are API version + (revision << 16) + (7 << 28), some with the top bit set.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zv {

using NVENCSTATUS = std::int32_t;  ///< 0 is success
using NV_ENC_INPUT_PTR = void*;
using NV_ENC_OUTPUT_PTR = void*;
using NV_ENC_REGISTERED_PTR = void*;

struct NvencGuid {
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::uint8_t data4[8] = {};
    bool operator==(const NvencGuid&) const = default;
};

inline constexpr NvencGuid NV_ENC_CODEC_H264_GUID{
    0x6BC82762, 0x4E63, 0x4CA4, {0xAA, 0x85, 0x1E, 0x50, 0xF3, 0x21, 0xF6, 0xBF}};
inline constexpr NvencGuid NV_ENC_H264_PROFILE_HIGH_GUID{
    0xE7CBC309, 0x4F7A, 0x4B89, {0xAF, 0x2A, 0xD5, 0x37, 0xC9, 0x2B, 0xE3, 0x10}};
inline constexpr NvencGuid NV_ENC_PRESET_P1_GUID{
    0xFC0A8D3E, 0x45F8, 0x4CF8, {0x80, 0xC7, 0x29, 0x88, 0x71, 0x59, 0x0E, 0xBF}};

inline constexpr std::uint32_t NVENCAPI_VERSION = 0x0200000C;
inline constexpr std::uint32_t NV_ENCODE_API_FUNCTION_LIST_VER = 0x7202000C;
inline constexpr std::uint32_t NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER = 0x7201000C;
inline constexpr std::uint32_t NV_ENC_PRESET_CONFIG_VER = 0xF205000C;
inline constexpr std::uint32_t NV_ENC_CONFIG_VER = 0xF209000C;
inline constexpr std::uint32_t NV_ENC_INITIALIZE_PARAMS_VER = 0xF207000C;
inline constexpr std::uint32_t NV_ENC_REGISTER_RESOURCE_VER = 0x7205000C;
inline constexpr std::uint32_t NV_ENC_CREATE_BITSTREAM_BUFFER_VER = 0x7201000C;
inline constexpr std::uint32_t NV_ENC_MAP_INPUT_RESOURCE_VER = 0x7204000C;
inline constexpr std::uint32_t NV_ENC_PIC_PARAMS_VER = 0xF207000C;
inline constexpr std::uint32_t NV_ENC_LOCK_BITSTREAM_VER = 0xF202000C;

inline constexpr NVENCSTATUS NV_ENC_SUCCESS = 0;
inline constexpr NVENCSTATUS NV_ENC_ERR_INVALID_PTR = 6;
inline constexpr NVENCSTATUS NV_ENC_ERR_INVALID_PARAM = 8;
inline constexpr NVENCSTATUS NV_ENC_ERR_INVALID_CALL = 9;
inline constexpr NVENCSTATUS NV_ENC_ERR_OUT_OF_MEMORY = 10;
inline constexpr NVENCSTATUS NV_ENC_ERR_ENCODER_NOT_INITIALIZED = 11;
inline constexpr NVENCSTATUS NV_ENC_ERR_UNSUPPORTED_PARAM = 12;
inline constexpr NVENCSTATUS NV_ENC_ERR_INVALID_VERSION = 15;
inline constexpr NVENCSTATUS NV_ENC_ERR_GENERIC = 20;
inline constexpr NVENCSTATUS NV_ENC_ERR_RESOURCE_NOT_REGISTERED = 24;
inline constexpr NVENCSTATUS NV_ENC_ERR_RESOURCE_NOT_MAPPED = 25;

inline constexpr std::uint32_t NV_ENC_DEVICE_TYPE_DIRECTX = 0;
inline constexpr std::uint32_t NV_ENC_INPUT_RESOURCE_TYPE_DIRECTX = 0;
inline constexpr std::uint32_t NV_ENC_BUFFER_FORMAT_NV12 = 1;
inline constexpr std::uint32_t NV_ENC_INPUT_IMAGE = 0;
inline constexpr std::uint32_t NV_ENC_PARAMS_RC_CBR = 2;
inline constexpr std::uint32_t NV_ENC_MULTI_PASS_DISABLED = 0;
inline constexpr std::uint32_t NV_ENC_TUNING_INFO_ULTRA_LOW_LATENCY = 3;
inline constexpr std::uint32_t NV_ENC_PIC_STRUCT_FRAME = 1;
inline constexpr std::uint32_t NV_ENC_PIC_FLAG_EOS = 8;
inline constexpr std::uint32_t NV_ENC_PIC_TYPE_P = 0;
inline constexpr std::uint32_t NV_ENC_PIC_TYPE_IDR = 3;
inline constexpr std::uint32_t NV_ENC_VUI_VIDEO_FORMAT_UNSPECIFIED = 5;
inline constexpr std::uint32_t NV_ENC_VUI_BT709 = 1;  ///< for primaries, transfer and matrix
inline constexpr std::uint32_t NV_ENC_H264_ENTROPY_CODING_MODE_CABAC = 1;

struct NV_ENC_QP {
    std::uint32_t qpInterP = 0;
    std::uint32_t qpInterB = 0;
    std::uint32_t qpIntra = 0;
};

// Bits of NV_ENC_RC_PARAMS.flags.
inline constexpr std::uint32_t rcEnableAQ = 1U << 3;
inline constexpr std::uint32_t rcEnableLookahead = 1U << 5;
inline constexpr std::uint32_t rcEnableTemporalAQ = 1U << 8;
inline constexpr std::uint32_t rcZeroReorderDelay = 1U << 9;

struct NV_ENC_RC_PARAMS {
    std::uint32_t version = 0;
    std::uint32_t rateControlMode = 0;
    NV_ENC_QP constQP;
    std::uint32_t averageBitRate = 0;   ///< bits per second
    std::uint32_t maxBitRate = 0;       ///< bits per second
    std::uint32_t vbvBufferSize = 0;    ///< bits
    std::uint32_t vbvInitialDelay = 0;  ///< bits
    std::uint32_t flags = 0;            ///< the bit fields, rc... above
    NV_ENC_QP minQP;
    NV_ENC_QP maxQP;
    NV_ENC_QP initialRCQP;
    std::uint32_t temporallayerIdxMask = 0;
    std::uint8_t temporalLayerQP[8] = {};
    std::uint8_t targetQuality = 0;
    std::uint8_t targetQualityLSB = 0;
    std::uint16_t lookaheadDepth = 0;
    std::uint8_t lowDelayKeyFrameScale = 0;
    std::int8_t yDcQPIndexOffset = 0;
    std::int8_t uDcQPIndexOffset = 0;
    std::int8_t vDcQPIndexOffset = 0;
    std::uint32_t qpMapMode = 0;
    std::uint32_t multiPass = 0;
    std::uint32_t alphaLayerBitrateRatio = 0;
    std::int8_t cbQPIndexOffset = 0;
    std::int8_t crQPIndexOffset = 0;
    std::uint16_t reserved2 = 0;
    std::uint32_t lookaheadLevel = 0;
    std::uint32_t reserved[3] = {};
};
static_assert(sizeof(NV_ENC_RC_PARAMS) == 128 && alignof(NV_ENC_RC_PARAMS) == 4);
static_assert(offsetof(NV_ENC_RC_PARAMS, averageBitRate) == 20 && offsetof(NV_ENC_RC_PARAMS, flags) == 36);
static_assert(offsetof(NV_ENC_RC_PARAMS, temporalLayerQP) == 80 && offsetof(NV_ENC_RC_PARAMS, lookaheadDepth) == 90);
static_assert(offsetof(NV_ENC_RC_PARAMS, multiPass) == 100 && offsetof(NV_ENC_RC_PARAMS, lookaheadLevel) == 112);

struct NV_ENC_CONFIG_H264_VUI_PARAMETERS {
    std::uint32_t overscanInfoPresentFlag = 0;
    std::uint32_t overscanInfo = 0;
    std::uint32_t videoSignalTypePresentFlag = 0;
    std::uint32_t videoFormat = 0;
    std::uint32_t videoFullRangeFlag = 0;
    std::uint32_t colourDescriptionPresentFlag = 0;
    std::uint32_t colourPrimaries = 0;
    std::uint32_t transferCharacteristics = 0;
    std::uint32_t colourMatrix = 0;
    std::uint32_t chromaSampleLocationFlag = 0;
    std::uint32_t chromaSampleLocationTop = 0;
    std::uint32_t chromaSampleLocationBot = 0;
    std::uint32_t bitstreamRestrictionFlag = 0;
    std::uint32_t timingInfoPresentFlag = 0;
    std::uint32_t numUnitInTicks = 0;
    std::uint32_t timeScale = 0;
    std::uint32_t reserved[12] = {};
};
static_assert(sizeof(NV_ENC_CONFIG_H264_VUI_PARAMETERS) == 112);
static_assert(offsetof(NV_ENC_CONFIG_H264_VUI_PARAMETERS, colourMatrix) == 32);

// Bits of NV_ENC_CONFIG_H264.flags.
inline constexpr std::uint32_t h264OutputAUD = 1U << 6;
inline constexpr std::uint32_t h264RepeatSPSPPS = 1U << 12;

struct NV_ENC_CONFIG_H264 {
    std::uint32_t flags = 0;  ///< the bit fields, h264... above
    std::uint32_t level = 0;
    std::uint32_t idrPeriod = 0;  ///< frames
    std::uint32_t separateColourPlaneFlag = 0;
    std::uint32_t disableDeblockingFilterIDC = 0;
    std::uint32_t numTemporalLayers = 0;
    std::uint32_t spsId = 0;
    std::uint32_t ppsId = 0;
    std::uint32_t adaptiveTransformMode = 0;
    std::uint32_t fmoMode = 0;
    std::uint32_t bdirectMode = 0;
    std::uint32_t entropyCodingMode = 0;
    std::uint32_t stereoMode = 0;
    std::uint32_t intraRefreshPeriod = 0;
    std::uint32_t intraRefreshCnt = 0;
    std::uint32_t maxNumRefFrames = 0;
    std::uint32_t sliceMode = 0;
    std::uint32_t sliceModeData = 0;
    NV_ENC_CONFIG_H264_VUI_PARAMETERS h264VUIParameters;
    std::uint32_t ltrNumFrames = 0;
    std::uint32_t ltrTrustMode = 0;
    std::uint32_t chromaFormatIDC = 0;
    std::uint32_t maxTemporalLayers = 0;
    std::uint32_t useBFramesAsRef = 0;
    std::uint32_t numRefL0 = 0;
    std::uint32_t numRefL1 = 0;
    std::uint32_t outputBitDepth = 0;
    std::uint32_t inputBitDepth = 0;
    std::uint32_t reserved1[265] = {};
    void* reserved2[64] = {};
};
static_assert(sizeof(NV_ENC_CONFIG_H264) == 1792 && alignof(NV_ENC_CONFIG_H264) == 8);
static_assert(offsetof(NV_ENC_CONFIG_H264, h264VUIParameters) == 72 && offsetof(NV_ENC_CONFIG_H264, reserved2) == 1280);
static_assert(offsetof(NV_ENC_CONFIG_H264, chromaFormatIDC) == 192 && offsetof(NV_ENC_CONFIG_H264, reserved1) == 220);

/// In the interface, a union of all codecs. H.264, the largest member, is the only one that the program uses.
struct NV_ENC_CODEC_CONFIG {
    NV_ENC_CONFIG_H264 h264Config;
};
static_assert(sizeof(NV_ENC_CODEC_CONFIG) == 1792);

struct NV_ENC_CONFIG {
    std::uint32_t version = 0;
    NvencGuid profileGUID;
    std::uint32_t gopLength = 0;  ///< frames
    std::int32_t frameIntervalP = 0;
    std::uint32_t monoChromeEncoding = 0;
    std::uint32_t frameFieldMode = 0;
    std::uint32_t mvPrecision = 0;
    NV_ENC_RC_PARAMS rcParams;
    NV_ENC_CODEC_CONFIG encodeCodecConfig;
    std::uint32_t reserved[278] = {};
    void* reserved2[64] = {};
};
static_assert(sizeof(NV_ENC_CONFIG) == 3584 && alignof(NV_ENC_CONFIG) == 8);
static_assert(offsetof(NV_ENC_CONFIG, gopLength) == 20 && offsetof(NV_ENC_CONFIG, rcParams) == 40);
static_assert(offsetof(NV_ENC_CONFIG, encodeCodecConfig) == 168 && offsetof(NV_ENC_CONFIG, reserved2) == 3072);

struct NV_ENC_PRESET_CONFIG {
    std::uint32_t version = 0;
    std::uint32_t reserved = 0;
    NV_ENC_CONFIG presetCfg;
    std::uint32_t reserved1[256] = {};
    void* reserved2[64] = {};
};
static_assert(sizeof(NV_ENC_PRESET_CONFIG) == 5128 && offsetof(NV_ENC_PRESET_CONFIG, presetCfg) == 8);

struct NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS {
    std::uint32_t version = 0;
    std::uint32_t deviceType = 0;
    void* device = nullptr;
    void* reserved = nullptr;
    std::uint32_t apiVersion = 0;
    std::uint32_t reserved1[253] = {};
    void* reserved2[64] = {};
};
static_assert(sizeof(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS) == 1552);
static_assert(offsetof(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS, apiVersion) == 24);

struct NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE {
    std::uint32_t counts = 0;  ///< bit fields
    std::uint32_t reserved1[3] = {};
};

struct NV_ENC_INITIALIZE_PARAMS {
    std::uint32_t version = 0;
    NvencGuid encodeGUID;
    NvencGuid presetGUID;
    std::uint32_t encodeWidth = 0;
    std::uint32_t encodeHeight = 0;
    std::uint32_t darWidth = 0;
    std::uint32_t darHeight = 0;
    std::uint32_t frameRateNum = 0;
    std::uint32_t frameRateDen = 0;
    std::uint32_t enableEncodeAsync = 0;
    std::uint32_t enablePTD = 0;
    std::uint32_t flags = 0;  ///< bit fields
    std::uint32_t privDataSize = 0;
    std::uint32_t reserved = 0;
    void* privData = nullptr;
    NV_ENC_CONFIG* encodeConfig = nullptr;
    std::uint32_t maxEncodeWidth = 0;
    std::uint32_t maxEncodeHeight = 0;
    NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE maxMEHintCountsPerBlock[2];
    std::uint32_t tuningInfo = 0;
    std::uint32_t bufferFormat = 0;
    std::uint32_t numStateBuffers = 0;
    std::uint32_t outputStatsLevel = 0;
    std::uint32_t reserved1[284] = {};
    void* reserved2[64] = {};
};
static_assert(sizeof(NV_ENC_INITIALIZE_PARAMS) == 1800 && offsetof(NV_ENC_INITIALIZE_PARAMS, encodeWidth) == 36);
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, encodeConfig) == 88);
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, tuningInfo) == 136);
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, reserved2) == 1288);

struct NV_ENC_REGISTER_RESOURCE {
    std::uint32_t version = 0;
    std::uint32_t resourceType = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t pitch = 0;
    std::uint32_t subResourceIndex = 0;
    void* resourceToRegister = nullptr;
    NV_ENC_REGISTERED_PTR registeredResource = nullptr;
    std::uint32_t bufferFormat = 0;
    std::uint32_t bufferUsage = 0;
    void* pInputFencePoint = nullptr;
    std::uint32_t chromaOffset[2] = {};
    std::uint32_t reserved1[246] = {};
    void* reserved2[61] = {};
};
static_assert(sizeof(NV_ENC_REGISTER_RESOURCE) == 1536 && offsetof(NV_ENC_REGISTER_RESOURCE, bufferFormat) == 40);
static_assert(offsetof(NV_ENC_REGISTER_RESOURCE, reserved2) == 1048);

struct NV_ENC_CREATE_BITSTREAM_BUFFER {
    std::uint32_t version = 0;
    std::uint32_t size = 0;
    std::uint32_t memoryHeap = 0;
    std::uint32_t reserved = 0;
    NV_ENC_OUTPUT_PTR bitstreamBuffer = nullptr;
    void* bitstreamBufferPtr = nullptr;
    std::uint32_t reserved1[58] = {};
    void* reserved2[64] = {};
};
static_assert(sizeof(NV_ENC_CREATE_BITSTREAM_BUFFER) == 776);
static_assert(offsetof(NV_ENC_CREATE_BITSTREAM_BUFFER, bitstreamBuffer) == 16);

struct NV_ENC_MAP_INPUT_RESOURCE {
    std::uint32_t version = 0;
    std::uint32_t subResourceIndex = 0;
    void* inputResource = nullptr;
    NV_ENC_REGISTERED_PTR registeredResource = nullptr;
    NV_ENC_INPUT_PTR mappedResource = nullptr;
    std::uint32_t mappedBufferFmt = 0;
    std::uint32_t reserved1[251] = {};
    void* reserved2[63] = {};
};
static_assert(sizeof(NV_ENC_MAP_INPUT_RESOURCE) == 1544 && offsetof(NV_ENC_MAP_INPUT_RESOURCE, mappedResource) == 24);

struct NV_ENC_PIC_PARAMS {
    std::uint32_t version = 0;
    std::uint32_t inputWidth = 0;
    std::uint32_t inputHeight = 0;
    std::uint32_t inputPitch = 0;
    std::uint32_t encodePicFlags = 0;
    std::uint32_t frameIdx = 0;
    std::uint64_t inputTimeStamp = 0;
    std::uint64_t inputDuration = 0;
    NV_ENC_INPUT_PTR inputBuffer = nullptr;
    NV_ENC_OUTPUT_PTR outputBitstream = nullptr;
    void* completionEvent = nullptr;
    std::uint32_t bufferFmt = 0;
    std::uint32_t pictureStruct = 0;
    std::uint32_t pictureType = 0;
    alignas(8) std::uint8_t codecPicParams[1544] = {};
    NVENC_EXTERNAL_ME_HINT_COUNTS_PER_BLOCKTYPE meHintCountsPerBlock[2];
    void* meExternalHints = nullptr;
    std::uint32_t reserved2[7] = {};
    void* reserved5[2] = {};
    std::int8_t* qpDeltaMap = nullptr;
    std::uint32_t qpDeltaMapSize = 0;
    std::uint32_t reservedBitFields = 0;
    std::uint16_t meHintRefPicDist[2] = {};
    std::uint32_t reserved4 = 0;
    NV_ENC_INPUT_PTR alphaBuffer = nullptr;
    void* meExternalSbHints = nullptr;
    std::uint32_t meSbHintsCount = 0;
    std::uint32_t stateBufferIdx = 0;
    NV_ENC_OUTPUT_PTR outputReconBuffer = nullptr;
    std::uint32_t reserved3[284] = {};
    void* reserved6[57] = {};
};
static_assert(sizeof(NV_ENC_PIC_PARAMS) == 3360 && offsetof(NV_ENC_PIC_PARAMS, inputBuffer) == 40);
static_assert(offsetof(NV_ENC_PIC_PARAMS, codecPicParams) == 80);
static_assert(offsetof(NV_ENC_PIC_PARAMS, meHintCountsPerBlock) == 1624);
static_assert(offsetof(NV_ENC_PIC_PARAMS, reserved5) == 1696 && offsetof(NV_ENC_PIC_PARAMS, alphaBuffer) == 1736);
static_assert(offsetof(NV_ENC_PIC_PARAMS, reserved6) == 2904);

struct NV_ENC_LOCK_BITSTREAM {
    std::uint32_t version = 0;
    std::uint32_t flags = 0;  ///< bit 0 doNotWait, bit 1 ltrFrame, bit 2 getRCStats
    void* outputBitstream = nullptr;
    std::uint32_t* sliceOffsets = nullptr;
    std::uint32_t frameIdx = 0;
    std::uint32_t hwEncodeStatus = 0;
    std::uint32_t numSlices = 0;
    std::uint32_t bitstreamSizeInBytes = 0;
    std::uint64_t outputTimeStamp = 0;
    std::uint64_t outputDuration = 0;
    void* bitstreamBufferPtr = nullptr;
    std::uint32_t pictureType = 0;
    std::uint32_t pictureStruct = 0;
    std::uint32_t frameAvgQP = 0;
    std::uint32_t frameSatd = 0;
    std::uint32_t ltrFrameIdx = 0;
    std::uint32_t ltrFrameBitmap = 0;
    std::uint32_t temporalId = 0;
    std::uint32_t intraMBCount = 0;
    std::uint32_t interMBCount = 0;
    std::int32_t averageMVX = 0;
    std::int32_t averageMVY = 0;
    std::uint32_t alphaLayerSizeInBytes = 0;
    std::uint32_t outputStatsPtrSize = 0;
    std::uint32_t reserved = 0;
    void* outputStatsPtr = nullptr;
    std::uint32_t frameIdxDisplay = 0;
    std::uint32_t reserved1[219] = {};
    void* reserved2[63] = {};
    std::uint32_t reservedInternal[8] = {};
};
static_assert(sizeof(NV_ENC_LOCK_BITSTREAM) == 1544 && offsetof(NV_ENC_LOCK_BITSTREAM, bitstreamSizeInBytes) == 36);
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, bitstreamBufferPtr) == 56);
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, outputStatsPtr) == 120);
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, reserved2) == 1008);

struct NV_ENCODE_API_FUNCTION_LIST {
    std::uint32_t version = 0;
    std::uint32_t reserved = 0;
    void* unused0[11] = {};  ///< slots 0 to 10
    NVENCSTATUS (*nvEncInitializeEncoder)(void*, NV_ENC_INITIALIZE_PARAMS*) = nullptr;
    void* unused12[2] = {};
    NVENCSTATUS (*nvEncCreateBitstreamBuffer)(void*, NV_ENC_CREATE_BITSTREAM_BUFFER*) = nullptr;
    NVENCSTATUS (*nvEncDestroyBitstreamBuffer)(void*, NV_ENC_OUTPUT_PTR) = nullptr;
    NVENCSTATUS (*nvEncEncodePicture)(void*, NV_ENC_PIC_PARAMS*) = nullptr;
    NVENCSTATUS (*nvEncLockBitstream)(void*, NV_ENC_LOCK_BITSTREAM*) = nullptr;
    NVENCSTATUS (*nvEncUnlockBitstream)(void*, NV_ENC_OUTPUT_PTR) = nullptr;
    void* unused19[6] = {};
    NVENCSTATUS (*nvEncMapInputResource)(void*, NV_ENC_MAP_INPUT_RESOURCE*) = nullptr;
    NVENCSTATUS (*nvEncUnmapInputResource)(void*, NV_ENC_INPUT_PTR) = nullptr;
    NVENCSTATUS (*nvEncDestroyEncoder)(void*) = nullptr;
    void* unused28[1] = {};
    NVENCSTATUS (*nvEncOpenEncodeSessionEx)(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS*, void**) = nullptr;
    NVENCSTATUS (*nvEncRegisterResource)(void*, NV_ENC_REGISTER_RESOURCE*) = nullptr;
    NVENCSTATUS (*nvEncUnregisterResource)(void*, NV_ENC_REGISTERED_PTR) = nullptr;
    void* unused32[5] = {};
    const char* (*nvEncGetLastErrorString)(void*) = nullptr;
    void* unused38[1] = {};
    NVENCSTATUS(*nvEncGetEncodePresetConfigEx)
    (void*, NvencGuid, NvencGuid, std::uint32_t, NV_ENC_PRESET_CONFIG*) = nullptr;
    void* unused40[3] = {};
    void* reserved2[275] = {};
};
static_assert(sizeof(NV_ENCODE_API_FUNCTION_LIST) == 2552);
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncInitializeEncoder) == 96);
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncCreateBitstreamBuffer) == 120);
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncEncodePicture) == 136);
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncMapInputResource) == 208);
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncDestroyEncoder) == 224);
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncOpenEncodeSessionEx) == 240);
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncUnregisterResource) == 256);
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncGetLastErrorString) == 304);
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncGetEncodePresetConfigEx) == 320);
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, reserved2) == 352);

/// "NvEncodeAPICreateInstance": the caller sets the list's version, the library sets the function pointers.
using NvEncodeApiCreateInstance = NVENCSTATUS (*)(NV_ENCODE_API_FUNCTION_LIST*);

}  // namespace zv
