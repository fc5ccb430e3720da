#include "fake/EncoderLibrary.h"

#include <algorithm>

#include "fake/Calls.h"
#include "platform/EncoderLibrary.h"

namespace zv {

struct EncoderLibrary {};

namespace fake {
namespace {

char handles[4];
std::vector<std::byte> bitstream;

NVENCSTATUS Initialize(void*, NV_ENC_INITIALIZE_PARAMS* parameters) {
    const Call call("nvEncInitializeEncoder");
    TheEncoder().initialize = *parameters;
    TheEncoder().config = *parameters->encodeConfig;
    return call.Code();
}

NVENCSTATUS CreateBuffer(void*, NV_ENC_CREATE_BITSTREAM_BUFFER* parameters) {
    const Call call("nvEncCreateBitstreamBuffer");
    TheEncoder().buffer = *parameters;
    if (!call.Fails()) {
        parameters->bitstreamBuffer = BufferHandle();
    }
    return call.Code();
}

NVENCSTATUS DestroyBuffer(void*, NV_ENC_OUTPUT_PTR buffer) {
    const Call call("nvEncDestroyBitstreamBuffer");
    TheEncoder().releasedHandles.push_back(buffer);
    return call.Code();
}

NVENCSTATUS Encode(void*, NV_ENC_PIC_PARAMS* parameters) {
    if ((parameters->encodePicFlags & NV_ENC_PIC_FLAG_EOS) != 0) {
        const Call call("nvEncEncodePicture(EOS)");
        TheEncoder().endOfStream = *parameters;
        return call.Code();
    }
    const Call call("nvEncEncodePicture");
    EncoderRecord& encoder = TheEncoder();
    encoder.picture = *parameters;
    if (call.Fails()) {
        return call.Code();
    }
    const std::uint32_t picture = *static_cast<const std::uint32_t*>(encoder.resource.resourceToRegister);
    const std::size_t nth = std::min<std::size_t>(parameters->frameIdx, encoder.sizes.size() - 1);
    encoder.pictures.push_back(picture);
    bitstream = AccessUnitOf(parameters->frameIdx, picture, encoder.sizes[nth]);
    return NV_ENC_SUCCESS;
}

NVENCSTATUS Lock(void*, NV_ENC_LOCK_BITSTREAM* parameters) {
    const Call call("nvEncLockBitstream");
    TheEncoder().lock = *parameters;
    if (!call.Fails()) {
        parameters->bitstreamBufferPtr = bitstream.data();
        parameters->bitstreamSizeInBytes = static_cast<std::uint32_t>(bitstream.size());
    }
    return call.Code();
}

NVENCSTATUS Unlock(void*, NV_ENC_OUTPUT_PTR) {
    const Call call("nvEncUnlockBitstream");
    // The caller must not read the bytes after this.
    std::fill(bitstream.begin(), bitstream.end(), std::byte{0xDD});
    return call.Code();
}

NVENCSTATUS Map(void*, NV_ENC_MAP_INPUT_RESOURCE* parameters) {
    const Call call("nvEncMapInputResource");
    TheEncoder().map = *parameters;
    if (!call.Fails()) {
        parameters->mappedResource = MappedHandle();
    }
    return call.Code();
}

NVENCSTATUS Unmap(void*, NV_ENC_INPUT_PTR resource) {
    const Call call("nvEncUnmapInputResource");
    TheEncoder().releasedHandles.push_back(resource);
    return call.Code();
}

NVENCSTATUS DestroyEncoder(void* encoder) {
    const Call call("nvEncDestroyEncoder");
    TheEncoder().releasedHandles.push_back(encoder);
    return call.Code();
}

NVENCSTATUS OpenSession(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS* parameters, void** encoder) {
    const Call call("nvEncOpenEncodeSessionEx");
    TheEncoder().open = *parameters;
    if (!call.Fails() || TheEncoder().handleDespiteFailure) {
        *encoder = EncoderHandle();
    }
    return call.Code();
}

NVENCSTATUS Register(void*, NV_ENC_REGISTER_RESOURCE* parameters) {
    const Call call("nvEncRegisterResource");
    TheEncoder().resource = *parameters;
    if (!call.Fails()) {
        parameters->registeredResource = RegisteredHandle();
    }
    return call.Code();
}

NVENCSTATUS Unregister(void*, NV_ENC_REGISTERED_PTR resource) {
    const Call call("nvEncUnregisterResource");
    TheEncoder().releasedHandles.push_back(resource);
    return call.Code();
}

const char* LastErrorString(void*) {
    return TheEncoder().nullErrorString ? nullptr : TheEncoder().lastErrorString.c_str();
}

NVENCSTATUS PresetConfig(void*, NvencGuid codec, NvencGuid preset, std::uint32_t tuning, NV_ENC_PRESET_CONFIG* config) {
    const Call call("nvEncGetEncodePresetConfigEx");
    EncoderRecord& encoder = TheEncoder();
    encoder.presetCodec = codec;
    encoder.presetGuid = preset;
    encoder.presetTuning = tuning;
    encoder.presetVersion = config->version;
    encoder.presetConfigVersion = config->presetCfg.version;
    if (!call.Fails()) {
        *config = encoder.preset;
    }
    return call.Code();
}

NVENCSTATUS CreateInstance(NV_ENCODE_API_FUNCTION_LIST* list) {
    const Call call("NvEncodeAPICreateInstance");
    TheEncoder().listVersion = list->version;
    if (call.Fails()) {
        return call.Code();
    }
    list->nvEncInitializeEncoder = Initialize;
    list->nvEncCreateBitstreamBuffer = CreateBuffer;
    list->nvEncDestroyBitstreamBuffer = DestroyBuffer;
    list->nvEncEncodePicture = Encode;
    list->nvEncLockBitstream = Lock;
    list->nvEncUnlockBitstream = Unlock;
    list->nvEncMapInputResource = Map;
    list->nvEncUnmapInputResource = Unmap;
    list->nvEncDestroyEncoder = DestroyEncoder;
    list->nvEncOpenEncodeSessionEx = OpenSession;
    list->nvEncRegisterResource = Register;
    list->nvEncUnregisterResource = Unregister;
    list->nvEncGetLastErrorString = TheEncoder().withoutErrorString ? nullptr : LastErrorString;
    list->nvEncGetEncodePresetConfigEx = PresetConfig;
    return NV_ENC_SUCCESS;
}

}  // namespace

EncoderRecord& TheEncoder() {
    static EncoderRecord encoder;
    return encoder;
}

void ResetEncoder() {
    const int live = TheEncoder().liveLibraries;
    TheEncoder() = {};
    TheEncoder().liveLibraries = live;
}

std::vector<std::byte> AccessUnitOf(std::uint32_t frameIndex, std::uint32_t picture, std::size_t size) {
    std::vector<std::byte> bytes = {std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}, std::byte{9}};
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::byte>(frameIndex >> shift));
    }
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::byte>(picture >> shift));
    }
    for (std::size_t index = bytes.size(); index < size; ++index) {
        bytes.push_back(static_cast<std::byte>((index * 31 + frameIndex) % 251));
    }
    bytes.resize(size);
    return bytes;
}

void* EncoderHandle() { return &handles[0]; }
void* RegisteredHandle() { return &handles[1]; }
void* MappedHandle() { return &handles[2]; }
void* BufferHandle() { return &handles[3]; }

}  // namespace fake

template <>
void Closer<EncoderLibrary>::operator()(EncoderLibrary* library) const noexcept {
    const fake::Call call("~EncoderLibrary");
    --fake::TheEncoder().liveLibraries;
    delete library;
}

Owned<EncoderLibrary> LoadEncoderLibrary() {
    const fake::Call call("LoadEncoderLibrary");
    if (fake::TheEncoder().libraryMissing) {
        return nullptr;
    }
    ++fake::TheEncoder().liveLibraries;
    return Owned<EncoderLibrary>(new EncoderLibrary);
}

NvEncodeApiCreateInstance EncoderEntryPoint(EncoderLibrary&) {
    const fake::Call call("EncoderEntryPoint");
    return fake::TheEncoder().entryPointMissing ? nullptr : fake::CreateInstance;
}

}  // namespace zv
