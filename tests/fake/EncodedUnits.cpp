#include "fake/EncodedUnits.h"

#include <fstream>
#include <iterator>
#include <span>
#include <string_view>
#include <vector>

#include "platform/EncoderLibrary.h"
#include "platform/Environment.h"
#include "platform/Files.h"

namespace zv {

struct EncoderLibrary {};

namespace fake {
namespace {

struct Units {
    std::vector<char> bytes;
    std::vector<std::size_t> starts;  ///< of each access unit, and the end of the last one
};

Units ReadUnits() {
    Units units;
    std::ifstream file(ToPath(EnvironmentValue(u"ZV_TEST_UNITS")), std::ios::binary);
    units.bytes.assign(std::istreambuf_iterator<char>(file), {});
    const std::string_view stream(units.bytes.data(), units.bytes.size());
    const std::string_view delimiter("\0\0\0\1\x09", 5);
    for (std::size_t at = stream.find(delimiter); at != std::string_view::npos; at = stream.find(delimiter, at + 1)) {
        units.starts.push_back(at);
    }
    units.starts.push_back(stream.size());
    return units;
}

const Units& TheUnits() {
    static const Units units = ReadUnits();
    return units;
}

std::span<const char> UnitOf(std::uint32_t frameIndex) {
    const Units& units = TheUnits();
    const std::size_t nth = frameIndex % (units.starts.size() - 1);
    return std::span(units.bytes).subspan(units.starts[nth], units.starts[nth + 1] - units.starts[nth]);
}

/// The frame to be locked next. Only one session encodes at a time, on one thread.
thread_local std::uint32_t current = 0;
char handle;

NVENCSTATUS Encode(void*, NV_ENC_PIC_PARAMS* parameters) {
    if ((parameters->encodePicFlags & NV_ENC_PIC_FLAG_EOS) == 0) {
        current = parameters->frameIdx;
    }
    return NV_ENC_SUCCESS;
}

NVENCSTATUS Lock(void*, NV_ENC_LOCK_BITSTREAM* parameters) {
    const std::span<const char> unit = UnitOf(current);
    parameters->bitstreamBufferPtr = const_cast<char*>(unit.data());
    parameters->bitstreamSizeInBytes = static_cast<std::uint32_t>(unit.size());
    return NV_ENC_SUCCESS;
}

template <class... Parameters>
NVENCSTATUS Agree(void*, Parameters...) {
    return NV_ENC_SUCCESS;
}

NVENCSTATUS CreateInstance(NV_ENCODE_API_FUNCTION_LIST* list) {
    list->nvEncOpenEncodeSessionEx = [](NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS*, void** encoder) -> NVENCSTATUS {
        *encoder = &handle;
        return TheUnits().starts.size() > 1 ? NV_ENC_SUCCESS : 2;
    };
    list->nvEncGetEncodePresetConfigEx = [](void*, NvencGuid, NvencGuid, std::uint32_t,
                                            NV_ENC_PRESET_CONFIG*) -> NVENCSTATUS { return NV_ENC_SUCCESS; };
    list->nvEncInitializeEncoder = Agree<NV_ENC_INITIALIZE_PARAMS*>;
    list->nvEncRegisterResource = [](void*, NV_ENC_REGISTER_RESOURCE* parameters) -> NVENCSTATUS {
        parameters->registeredResource = &handle;
        return NV_ENC_SUCCESS;
    };
    list->nvEncCreateBitstreamBuffer = [](void*, NV_ENC_CREATE_BITSTREAM_BUFFER* parameters) -> NVENCSTATUS {
        parameters->bitstreamBuffer = &handle;
        return NV_ENC_SUCCESS;
    };
    list->nvEncMapInputResource = [](void*, NV_ENC_MAP_INPUT_RESOURCE* parameters) -> NVENCSTATUS {
        parameters->mappedResource = &handle;
        return NV_ENC_SUCCESS;
    };
    list->nvEncEncodePicture = Encode;
    list->nvEncLockBitstream = Lock;
    list->nvEncUnlockBitstream = Agree<NV_ENC_OUTPUT_PTR>;
    list->nvEncUnmapInputResource = Agree<NV_ENC_INPUT_PTR>;
    list->nvEncUnregisterResource = Agree<NV_ENC_REGISTERED_PTR>;
    list->nvEncDestroyBitstreamBuffer = Agree<NV_ENC_OUTPUT_PTR>;
    list->nvEncDestroyEncoder = [](void*) -> NVENCSTATUS { return NV_ENC_SUCCESS; };
    list->nvEncGetLastErrorString = [](void*) -> const char* { return ""; };
    return NV_ENC_SUCCESS;
}

}  // namespace

std::size_t EncodedUnitCount() { return TheUnits().starts.size() - 1; }

}  // namespace fake

template <>
void Closer<EncoderLibrary>::operator()(EncoderLibrary* library) const noexcept {
    delete library;
}

Owned<EncoderLibrary> LoadEncoderLibrary() { return Owned<EncoderLibrary>(new EncoderLibrary); }

NvEncodeApiCreateInstance EncoderEntryPoint(EncoderLibrary&) { return fake::CreateInstance; }

}  // namespace zv
