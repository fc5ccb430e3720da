// One H.264 encoding session: NV12 surface in, one Annex B access unit out, synchronously.
//
// Configured for the least delay at a hard constant bit rate with a group of pictures of one second: the child that
// writes the files copies the stream, so these settings are those of the files. Used by the capture thread alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "core/Text.h"
#include "platform/EncoderLibrary.h"
#include "platform/NvencApi.h"
#include "video/VideoFormat.h"

namespace zv {

class NvencSession {
public:
    NvencSession() = default;
    ~NvencSession() { Close(); }
    NvencSession(const NvencSession&) = delete;
    NvencSession& operator=(const NvencSession&) = delete;

    /// Loads the library, opens and configures the session and registers the texture. If it returns false, ErrorText()
    /// has the reason, and what was acquired is held until Close.
    bool Open(void* device, void* nv12Texture, const VideoFormat& format);

    /// Replaces `outBytes` with the access unit of the texture's content. Returns false on any failure and, without an
    /// ErrorText, if the access unit is empty. Frames are numbered from 0 without gaps.
    bool EncodeFrame(std::uint32_t frameIndex, std::vector<std::byte>& outBytes);

    /// Releases everything that is held. May be called in any state and repeatedly.
    void Close();

    /// The sentence of the last failure.
    const Text& ErrorText() const { return errorText_; }

private:
    bool LoadApi();
    bool OpenEncoder(void* device);
    bool Initialize(const VideoFormat& format);
    bool RegisterTexture(void* nv12Texture);
    bool MakeBitstreamBuffer();

    bool MapTexture();
    bool EncodePicture(std::uint32_t frameIndex);
    bool ReadBitstream(std::vector<std::byte>& outBytes);

    bool Check(NVENCSTATUS status, std::string_view stage);

    Owned<EncoderLibrary> library_;
    void* encoder_ = nullptr;
    bool initialized_ = false;
    NV_ENCODE_API_FUNCTION_LIST api_;
    NV_ENC_REGISTERED_PTR registeredResource_ = nullptr;
    NV_ENC_INPUT_PTR mappedResource_ = nullptr;
    NV_ENC_OUTPUT_PTR bitstreamBuffer_ = nullptr;
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
    std::uint32_t fps_ = 0;
    Text errorText_;
};

/// Overrides a preset's configuration. Fields that are not set here keep the preset's value.
void ConfigureEncoder(NV_ENC_CONFIG& config, std::uint32_t fps, std::uint32_t bitrateMbps);

}  // namespace zv
