// Configures x264 to behave as a hardware encoder: no delay, no B pictures, exact key frame positions, each unit as
// large as its share of the bitrate.
//
// Two settings reduce the cost of a desktop: unchanged macroblocks are marked as constant, and the quantiser has a
// minimum, because the encoder would otherwise refine a still picture for ever.
#include "platform/software/SoftwareEncoder.h"

#include <x264.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <new>
#include <numeric>
#include <thread>

namespace zv {
namespace {

constexpr std::uint32_t blockSize = 16;
constexpr int quantiserFloor = 12;
constexpr unsigned mostThreads = 8;

/// Stores the message of an error.
void StoreMessage(void* target, int level, const char* format, std::va_list arguments) {
    if (level > X264_LOG_ERROR) {
        return;
    }
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    auto& message = *static_cast<std::string*>(target);
    try {
        message = text;
    } catch (const std::bad_alloc&) {
        return;  // exceptions must not cross the library's stack frames; the message is lost
    }
    while (!message.empty() && message.back() == '\n') {
        message.pop_back();
    }
}

void SetRate(x264_param_t& parameters, const SoftwareEncoderSettings& settings) {
    parameters.i_fps_num = settings.rateNumerator;
    parameters.i_fps_den = settings.rateDenominator;
    parameters.i_timebase_num = settings.rateDenominator;
    parameters.i_timebase_den = settings.rateNumerator;
    parameters.b_vfr_input = 0;
    parameters.rc.i_rc_method = X264_RC_ABR;
    parameters.rc.i_bitrate = static_cast<int>(settings.bitrate / 1000);
    parameters.rc.i_vbv_max_bitrate = parameters.rc.i_bitrate;
    parameters.rc.i_vbv_buffer_size = static_cast<int>(settings.bufferBits / 1000);
    parameters.rc.f_vbv_buffer_init =
        settings.bufferBits == 0
            ? 1.0F
            : std::min(1.0F, static_cast<float>(settings.initialBits) / static_cast<float>(settings.bufferBits));
    parameters.rc.b_filler = 1;
    parameters.i_nal_hrd = X264_NAL_HRD_CBR;
    parameters.rc.i_qp_min = quantiserFloor;
    parameters.rc.i_lookahead = 0;
    parameters.rc.b_mb_tree = 0;
}

void SetPictures(x264_param_t& parameters, const SoftwareEncoderSettings& settings) {
    parameters.i_keyint_max = static_cast<int>(settings.keyFramePeriod);
    parameters.i_keyint_min = 1;
    parameters.i_scenecut_threshold = 0;
    parameters.i_bframe = 0;
    parameters.b_open_gop = 0;
    parameters.b_intra_refresh = 0;
    // Unlike frame threads, sliced threads add no delay.
    parameters.b_sliced_threads = 1;
    parameters.i_threads = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, mostThreads));
    parameters.i_sync_lookahead = 0;
    parameters.b_cabac = settings.cabac ? 1 : 0;
    parameters.analyse.b_transform_8x8 = 1;
    parameters.analyse.b_mb_info = 1;
}

void SetStream(x264_param_t& parameters, const SoftwareEncoderSettings& settings) {
    parameters.b_annexb = 1;
    parameters.b_aud = settings.delimiters ? 1 : 0;
    parameters.b_repeat_headers = settings.repeatHeaders ? 1 : 0;
    const std::uint32_t across = settings.aspectWidth * settings.height;
    const std::uint32_t down = settings.aspectHeight * settings.width;
    const std::uint32_t common = std::max(1U, std::gcd(across, down));
    parameters.vui.i_sar_width = static_cast<int>(across / common);
    parameters.vui.i_sar_height = static_cast<int>(down / common);
    if (settings.describesSignal) {
        parameters.vui.i_vidformat = static_cast<int>(settings.signalFormat);
        parameters.vui.b_fullrange = settings.fullRange ? 1 : 0;
    }
    if (settings.describesColors) {
        parameters.vui.i_colorprim = static_cast<int>(settings.primaries);
        parameters.vui.i_transfer = static_cast<int>(settings.transfer);
        parameters.vui.i_colmatrix = static_cast<int>(settings.colorMatrix);
    }
}

}  // namespace

std::unique_ptr<SoftwareEncoder> SoftwareEncoder::Make(const SoftwareEncoderSettings& settings, std::string& reason) {
    std::unique_ptr<SoftwareEncoder> made(new SoftwareEncoder);
    x264_param_t parameters;
    if (x264_param_default_preset(&parameters, "ultrafast", "zerolatency") != 0) {
        reason = "no such preset";
        return nullptr;
    }
    parameters.pf_log = StoreMessage;
    parameters.p_log_private = &made->message_;
    parameters.i_log_level = X264_LOG_ERROR;
    parameters.i_csp = X264_CSP_NV12;
    parameters.i_width = static_cast<int>(settings.width);
    parameters.i_height = static_cast<int>(settings.height);
    SetRate(parameters, settings);
    SetPictures(parameters, settings);
    SetStream(parameters, settings);
    if (x264_param_apply_profile(&parameters, "high") == 0) {
        made->encoder_ = x264_encoder_open(&parameters);
    }
    if (made->encoder_ == nullptr) {
        reason = made->message_.empty() ? "the software encoder did not open" : made->message_;
        return nullptr;
    }
    made->blocksAcross_ = (settings.width + blockSize - 1) / blockSize;
    made->blocksDown_ = (settings.height + blockSize - 1) / blockSize;
    made->blocks_.resize(std::size_t{made->blocksAcross_} * made->blocksDown_);
    return made;
}

SoftwareEncoder::~SoftwareEncoder() {
    if (encoder_ != nullptr) {
        x264_encoder_close(encoder_);
    }
}

void SoftwareEncoder::MarkUnchanged(const Damage& changed) {
    std::fill(blocks_.begin(), blocks_.end(), static_cast<std::uint8_t>(first_ ? 0 : X264_MBINFO_CONSTANT));
    for (const Rectangle& part : changed.Rectangles()) {
        const auto block = [](std::int32_t position, std::uint32_t limit) {
            return std::min(static_cast<std::uint32_t>(std::max(position, 0)) / blockSize, limit - 1);
        };
        const std::uint32_t left = block(part.left, blocksAcross_);
        const std::uint32_t right = block(part.right - 1, blocksAcross_);
        for (std::uint32_t y = block(part.top, blocksDown_); y <= block(part.bottom - 1, blocksDown_); ++y) {
            const auto row = blocks_.begin() + static_cast<std::ptrdiff_t>(std::size_t{y} * blocksAcross_);
            std::fill(row + left, row + right + 1, std::uint8_t{0});
        }
    }
}

bool SoftwareEncoder::Encode(Surface& picture, std::int64_t stamp, AccessUnit& unit, std::string& reason) {
    MarkUnchanged(picture.changed);
    x264_picture_t input;
    x264_picture_init(&input);
    input.i_pts = stamp;
    input.img.i_csp = X264_CSP_NV12;
    input.img.i_plane = 2;
    input.img.plane[0] = picture.pixels;
    input.img.plane[1] = picture.chroma;
    input.img.i_stride[0] = static_cast<int>(picture.stride);
    input.img.i_stride[1] = static_cast<int>(picture.stride);
    input.prop.mb_info = blocks_.data();
    x264_nal_t* units = nullptr;
    int count = 0;
    x264_picture_t output;
    message_.clear();
    const int size = x264_encoder_encode(encoder_, &units, &count, &input, &output);
    if (size <= 0 || count == 0) {
        reason = message_.empty() ? "the software encoder gave nothing" : message_;
        return false;
    }
    // The payloads of a picture's units are contiguous.
    unit = {units[0].p_payload, static_cast<std::size_t>(size), output.b_keyframe != 0};
    picture.changed.Clear();
    first_ = false;
    return true;
}

}  // namespace zv
