// The encoder's function list over the software encoder: its stream, as FFmpeg decodes it, and the results of invalid
// calls.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "platform/software/Surface.h"
#include "support/FrameNumber.h"
#include "support/TemporaryFolder.h"
#include "video/NvencSession.h"

namespace zv {
namespace {

using Bytes = std::vector<std::byte>;

std::string OutputOf(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    char chunk[65536];
    for (std::size_t count = 0; (count = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) {
        output.append(chunk, count);
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

/// The types of the units of an access unit, in order.
std::vector<int> UnitTypes(const Bytes& unit) {
    std::vector<int> types;
    for (std::size_t at = 0; at + 3 < unit.size(); ++at) {
        if (unit[at] == std::byte{0} && unit[at + 1] == std::byte{0} && unit[at + 2] == std::byte{1}) {
            types.push_back(std::to_integer<int>(unit[at + 3] & std::byte{0x1F}));
        }
    }
    return types;
}

bool HasUnit(const Bytes& unit, int type) {
    const auto types = UnitTypes(unit);
    return std::find(types.begin(), types.end(), type) != types.end();
}

constexpr int aud = 9;
constexpr int sps = 7;
constexpr int pps = 8;
constexpr int keySlice = 5;

/// A grey picture with the number's block and a ramp that moves with it.
void Paint(Surface& surface, std::uint32_t number) {
    const auto width = static_cast<int>(surface.width);
    const auto height = static_cast<int>(surface.height);
    const auto bits = support::FrameNumberBits(number);
    for (std::uint32_t y = 0; y < surface.height; ++y) {
        for (std::uint32_t x = 0; x < surface.width; ++x) {
            surface.pixels[y * surface.stride + x] = static_cast<std::uint8_t>(40 + (x + y + 2 * number) % 160);
        }
    }
    for (int index = 0; index < support::frameNumberCells; ++index) {
        const support::Box cell = support::FrameNumberCell(index, width, height);
        for (int y = cell.top; y < cell.bottom; ++y) {
            std::memset(surface.pixels + static_cast<std::size_t>(y) * surface.stride + cell.left,
                        bits[static_cast<std::size_t>(index)] ? 235 : 16,
                        static_cast<std::size_t>(cell.right - cell.left));
        }
    }
    std::memset(surface.chroma, 128, surface.stride * surface.height / 2);
    surface.changed.Add({0, 0, width, height});
}

struct EncodedStream : testing::Test {
    void Open(VideoFormat wanted) {
        format = wanted;
        ASSERT_EQ(MakeNv12Surface(device, format.width, format.height, surface), resultOk);
        ASSERT_TRUE(session.Open(NativeDevice(device), NativeTexture(*surface), format)) << Narrow(session.ErrorText());
    }
    /// Encodes the surface's current content as the next frame.
    void EncodeNext() {
        Bytes unit;
        ASSERT_TRUE(session.EncodeFrame(static_cast<std::uint32_t>(units.size()), unit)) << Narrow(session.ErrorText());
        units.push_back(unit);
    }
    void EncodeNumbered(std::uint32_t count) {
        for (std::uint32_t number = 0; number < count; ++number) {
            Paint(*surface, number);
            EncodeNext();
        }
    }
    std::string Written() {
        const auto path = folder.Path() / "stream.h264";
        std::ofstream file(path, std::ios::binary);
        for (const Bytes& unit : units) {
            file.write(reinterpret_cast<const char*>(unit.data()), static_cast<std::streamsize>(unit.size()));
        }
        return path.string();
    }
    std::string Probed(const std::string& entries) {
        return OutputOf("ffprobe -v error -select_streams v -of csv=p=0 -show_entries " + entries + " " + Written());
    }
    /// The luma of all decoded pictures, one after the other.
    std::string Decoded() {
        return OutputOf("ffmpeg -v error -i " + Written() + " -vsync passthrough -f rawvideo -pix_fmt yuv420p - ");
    }
    std::size_t PictureBytes() const { return std::size_t{format.width} * format.height * 3 / 2; }
    /// The mean absolute difference of the picture's luma from the surface's current content.
    double Difference(const std::string& decoded, std::size_t picture) const {
        double sum = 0;
        for (std::size_t y = 0; y < format.height; ++y) {
            for (std::size_t x = 0; x < format.width; ++x) {
                const auto shown = static_cast<std::uint8_t>(decoded[picture * PictureBytes() + y * format.width + x]);
                sum += std::abs(int{shown} - int{surface->pixels[y * surface->stride + x]});
            }
        }
        return sum / (static_cast<double>(format.width) * format.height);
    }

    support::TemporaryFolder folder{"zorvel-encoder"};
    GraphicsDevice device;
    Owned<Surface> surface;
    VideoFormat format;
    NvencSession session;
    std::vector<Bytes> units;
};

TEST_F(EncodedStream, IsHighProfileWithoutBPicturesAndWithItsColorDescription) {
    Open({640, 360, 30, 8});
    EncodeNumbered(61);
    EXPECT_EQ(Probed("stream=profile,width,height,pix_fmt,color_range,color_space,color_transfer,color_primaries"),
              "High,640,360,yuv420p,tv,bt709,bt709,bt709\n");
    std::string expected;
    for (int picture = 0; picture < 61; ++picture) {
        expected += picture % 30 == 0 ? 'I' : 'P';
    }
    std::string types;
    for (const char letter : Probed("frame=pict_type")) {
        if (letter >= 'A' && letter <= 'Z') {
            types += letter;
        }
    }
    EXPECT_EQ(types, expected);
}

TEST_F(EncodedStream, BeginsEachUnitWithADelimiterAndEachKeyPictureWithItsParameterSets) {
    Open({640, 360, 30, 8});
    EncodeNumbered(91);
    for (std::size_t index = 0; index < units.size(); ++index) {
        const auto types = UnitTypes(units[index]);
        ASSERT_FALSE(types.empty());
        EXPECT_EQ(types.front(), aud) << index;
        EXPECT_EQ(std::count(types.begin(), types.end(), aud), 1) << index;
        const bool key = index % 30 == 0;
        EXPECT_EQ(HasUnit(units[index], sps), key) << index;
        EXPECT_EQ(HasUnit(units[index], pps), key) << index;
        EXPECT_EQ(HasUnit(units[index], keySlice), key) << index;
        EXPECT_EQ(HasUnit(units[index], 1), !key) << index;
        if (key) {
            EXPECT_EQ(types[1], sps) << index;
            EXPECT_EQ(types[2], pps) << index;
        }
    }
}

TEST_F(EncodedStream, GivesEachPictureExactlyItsShareOfTheBitrate) {
    for (const std::uint32_t bitrateMbps : {8U, 50U}) {
        session.Close();
        units.clear();
        Open({1280, 720, 60, bitrateMbps});
        EncodeNumbered(30);
        const double share = bitrateMbps * 1e6 / 60 / 8;
        for (std::size_t index = 1; index < units.size(); ++index) {
            EXPECT_NEAR(static_cast<double>(units[index].size()), share, share * 0.01) << index;
        }
        EXPECT_LE(static_cast<double>(units[0].size()), share * 1.05);
    }
}

TEST_F(EncodedStream, DecodesToItsInputPicturesInOrder) {
    Open({640, 360, 30, 20});
    EncodeNumbered(40);
    const std::string decoded = Decoded();
    ASSERT_EQ(decoded.size(), 40 * PictureBytes());
    for (std::uint32_t picture = 0; picture < 40; ++picture) {
        const std::span luma(reinterpret_cast<const std::uint8_t*>(decoded.data()) + picture * PictureBytes(),
                             std::size_t{640} * 360);
        EXPECT_EQ(support::ReadFrameNumber(luma, 640, 360), picture);
        Paint(*surface, picture);
        EXPECT_LT(Difference(decoded, picture), 3.0) << picture;
    }
}

TEST_F(EncodedStream, EncodesASmallChangeOfAStillPicture) {
    Open({640, 360, 30, 20});
    Paint(*surface, 7);
    for (int frame = 0; frame < 20; ++frame) {
        EncodeNext();
    }
    // One square of 40 pixels that is not aligned to the encoder's grid.
    for (int y = 201; y < 241; ++y) {
        std::memset(surface->pixels + static_cast<std::size_t>(y) * surface->stride + 303, 230, 40);
    }
    surface->changed.Add({303, 201, 343, 241});
    for (int frame = 0; frame < 3; ++frame) {
        EncodeNext();
    }
    const std::string decoded = Decoded();
    ASSERT_EQ(decoded.size(), 23 * PictureBytes());
    for (std::size_t picture : {20U, 22U}) {
        EXPECT_LT(Difference(decoded, picture), 2.0);
        for (const auto& [x, y] : {std::pair{304U, 202U}, {341U, 239U}, {320U, 220U}}) {
            const auto shown = static_cast<std::uint8_t>(decoded[picture * PictureBytes() + std::size_t{y} * 640 + x]);
            EXPECT_NEAR(shown, 230, 12) << picture << ": " << x << ", " << y;
        }
    }
}

TEST_F(EncodedStream, ClearsTheSurfacesDamage) {
    Open({640, 360, 30, 8});
    Paint(*surface, 3);
    EncodeNext();
    EXPECT_TRUE(surface->changed.Empty());
    const std::uint8_t before = surface->pixels[0];
    for (int frame = 0; frame < 24; ++frame) {
        EncodeNext();
    }
    // The encoder no longer refines the picture, and a change without damage does not reach the stream.
    for (std::size_t y = 0; y < 360; ++y) {
        std::memset(surface->pixels + y * surface->stride, 200, 640);
    }
    EncodeNext();
    const std::string decoded = Decoded();
    EXPECT_NEAR(static_cast<std::uint8_t>(decoded[25 * PictureBytes()]), before, 12);
}

TEST_F(EncodedStream, HasAKeyPictureExactlyEveryFpsFramesAtAllRates) {
    for (const std::uint32_t fps : {30U, 60U, 120U, 240U}) {
        session.Close();
        units.clear();
        Open({320, 180, fps, 10});
        Paint(*surface, 1);
        for (std::uint32_t frame = 0; frame < 2 * fps + 1; ++frame) {
            EncodeNext();
            EXPECT_EQ(HasUnit(units.back(), keySlice), frame % fps == 0) << fps << ": " << frame;
        }
    }
}

TEST_F(EncodedStream, SupportsAllSizesOfTheProgram) {
    for (const auto& [width, height] : {std::pair{1920U, 1080U}, {2560U, 1440U}, {3840U, 2160U}}) {
        session.Close();
        units.clear();
        Open({width, height, 60, 50});
        Paint(*surface, 12);
        EncodeNext();
        EncodeNext();
        const std::string decoded = Decoded();
        ASSERT_EQ(decoded.size(), 2 * PictureBytes());
        const std::span luma(reinterpret_cast<const std::uint8_t*>(decoded.data()) + PictureBytes(),
                             std::size_t{width} * height);
        EXPECT_EQ(support::ReadFrameNumber(luma, static_cast<int>(width), static_cast<int>(height)), 12U);
    }
}

// ---- Results of calls -------------------------------------------------------------------------------------------

struct EncoderAnswers : testing::Test {
    void SetUp() override {
        library = LoadEncoderLibrary();
        ASSERT_NE(library, nullptr);
        create = EncoderEntryPoint(*library);
        ASSERT_NE(create, nullptr);
        list.version = NV_ENCODE_API_FUNCTION_LIST_VER;
        ASSERT_EQ(create(&list), NV_ENC_SUCCESS);
        ASSERT_EQ(MakeNv12Surface(device, 640, 360, surface), resultOk);
        open.version = NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER;
        open.deviceType = NV_ENC_DEVICE_TYPE_DIRECTX;
        open.device = &device;
        open.apiVersion = NVENCAPI_VERSION;
        ASSERT_EQ(list.nvEncOpenEncodeSessionEx(&open, &encoder), NV_ENC_SUCCESS);

        NV_ENC_PRESET_CONFIG preset;
        preset.version = NV_ENC_PRESET_CONFIG_VER;
        preset.presetCfg.version = NV_ENC_CONFIG_VER;
        ASSERT_EQ(list.nvEncGetEncodePresetConfigEx(encoder, NV_ENC_CODEC_H264_GUID, NV_ENC_PRESET_P1_GUID,
                                                    NV_ENC_TUNING_INFO_ULTRA_LOW_LATENCY, &preset),
                  NV_ENC_SUCCESS);
        config = preset.presetCfg;
        ConfigureEncoder(config, 30, 8);
        initialize.version = NV_ENC_INITIALIZE_PARAMS_VER;
        initialize.encodeGUID = NV_ENC_CODEC_H264_GUID;
        initialize.presetGUID = NV_ENC_PRESET_P1_GUID;
        initialize.encodeWidth = initialize.darWidth = 640;
        initialize.encodeHeight = initialize.darHeight = 360;
        initialize.frameRateNum = 30;
        initialize.frameRateDen = 1;
        initialize.enablePTD = 1;
        initialize.tuningInfo = NV_ENC_TUNING_INFO_ULTRA_LOW_LATENCY;
        initialize.encodeConfig = &config;
        resource.version = NV_ENC_REGISTER_RESOURCE_VER;
        resource.width = 640;
        resource.height = 360;
        resource.bufferFormat = NV_ENC_BUFFER_FORMAT_NV12;
        resource.resourceToRegister = surface.get();
        buffer.version = NV_ENC_CREATE_BITSTREAM_BUFFER_VER;
        map.version = NV_ENC_MAP_INPUT_RESOURCE_VER;
        picture.version = NV_ENC_PIC_PARAMS_VER;
        picture.inputWidth = picture.inputPitch = 640;
        picture.inputHeight = 360;
        picture.bufferFmt = NV_ENC_BUFFER_FORMAT_NV12;
        picture.pictureStruct = NV_ENC_PIC_STRUCT_FRAME;
        lock.version = NV_ENC_LOCK_BITSTREAM_VER;
    }
    void TearDown() override {
        if (encoder != nullptr) {
            EXPECT_EQ(list.nvEncDestroyEncoder(encoder), NV_ENC_SUCCESS);
        }
    }
    NVENCSTATUS Initialize() { return list.nvEncInitializeEncoder(encoder, &initialize); }
    NVENCSTATUS Register() { return list.nvEncRegisterResource(encoder, &resource); }
    NVENCSTATUS Map() {
        map.registeredResource = resource.registeredResource;
        return list.nvEncMapInputResource(encoder, &map);
    }
    NVENCSTATUS Encode() { return list.nvEncEncodePicture(encoder, &picture); }
    NVENCSTATUS Lock() { return list.nvEncLockBitstream(encoder, &lock); }
    NVENCSTATUS Unlock() { return list.nvEncUnlockBitstream(encoder, buffer.bitstreamBuffer); }
    /// Makes all calls before the first picture can be encoded.
    void Prepare() {
        ASSERT_EQ(Initialize(), NV_ENC_SUCCESS);
        ASSERT_EQ(Register(), NV_ENC_SUCCESS);
        ASSERT_EQ(list.nvEncCreateBitstreamBuffer(encoder, &buffer), NV_ENC_SUCCESS);
        ASSERT_EQ(Map(), NV_ENC_SUCCESS);
        picture.inputBuffer = map.mappedResource;
        picture.outputBitstream = lock.outputBitstream = buffer.bitstreamBuffer;
    }
    std::string LastError() { return list.nvEncGetLastErrorString(encoder); }

    GraphicsDevice device;
    Owned<Surface> surface;
    Owned<EncoderLibrary> library;
    NvEncodeApiCreateInstance create = nullptr;
    NV_ENCODE_API_FUNCTION_LIST list;
    NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS open;
    void* encoder = nullptr;
    NV_ENC_CONFIG config;
    NV_ENC_INITIALIZE_PARAMS initialize;
    NV_ENC_REGISTER_RESOURCE resource;
    NV_ENC_CREATE_BITSTREAM_BUFFER buffer;
    NV_ENC_MAP_INPUT_RESOURCE map;
    NV_ENC_PIC_PARAMS picture;
    NV_ENC_LOCK_BITSTREAM lock;
};

TEST_F(EncoderAnswers, AListOfAnotherVersionIsRefused) {
    NV_ENCODE_API_FUNCTION_LIST other;
    other.version = NV_ENCODE_API_FUNCTION_LIST_VER + 1;
    EXPECT_EQ(create(&other), NV_ENC_ERR_INVALID_VERSION);
    EXPECT_EQ(create(nullptr), NV_ENC_ERR_INVALID_PTR);
}

TEST_F(EncoderAnswers, EveryStructureOfAnotherVersionIsRefused) {
    void* second = nullptr;
    ++open.version;
    EXPECT_EQ(list.nvEncOpenEncodeSessionEx(&open, &second), NV_ENC_ERR_INVALID_VERSION);
    --open.version;
    ++open.apiVersion;
    EXPECT_EQ(list.nvEncOpenEncodeSessionEx(&open, &second), NV_ENC_ERR_INVALID_VERSION);
    EXPECT_EQ(second, nullptr);
    NV_ENC_PRESET_CONFIG preset;
    EXPECT_EQ(list.nvEncGetEncodePresetConfigEx(encoder, NV_ENC_CODEC_H264_GUID, NV_ENC_PRESET_P1_GUID,
                                                NV_ENC_TUNING_INFO_ULTRA_LOW_LATENCY, &preset),
              NV_ENC_ERR_INVALID_VERSION);
    ++initialize.version;
    EXPECT_EQ(Initialize(), NV_ENC_ERR_INVALID_VERSION);
    --initialize.version;
    ++config.version;
    EXPECT_EQ(Initialize(), NV_ENC_ERR_INVALID_VERSION);
    --config.version;
    Prepare();
    ++resource.version;
    EXPECT_EQ(Register(), NV_ENC_ERR_INVALID_VERSION);
    ++buffer.version;
    EXPECT_EQ(list.nvEncCreateBitstreamBuffer(encoder, &buffer), NV_ENC_ERR_INVALID_VERSION);
    ++map.version;
    EXPECT_EQ(Map(), NV_ENC_ERR_INVALID_VERSION);
    ++picture.version;
    EXPECT_EQ(Encode(), NV_ENC_ERR_INVALID_VERSION);
    ++lock.version;
    EXPECT_EQ(Lock(), NV_ENC_ERR_INVALID_VERSION);
    EXPECT_EQ(LastError(), " The structure's version is not supported.");
}

TEST_F(EncoderAnswers, NothingIsEncodedBeforeTheEncoderIsInitialized) {
    EXPECT_EQ(Register(), NV_ENC_ERR_ENCODER_NOT_INITIALIZED);
    EXPECT_EQ(Map(), NV_ENC_ERR_ENCODER_NOT_INITIALIZED);
    EXPECT_EQ(Encode(), NV_ENC_ERR_ENCODER_NOT_INITIALIZED);
    EXPECT_EQ(LastError(), " The encoder is not initialized.");
}

TEST_F(EncoderAnswers, AnEncoderIsInitializedOnce) {
    EXPECT_EQ(Initialize(), NV_ENC_SUCCESS);
    EXPECT_EQ(Initialize(), NV_ENC_ERR_INVALID_CALL);
}

TEST_F(EncoderAnswers, AnUnsupportedParameterIsRefusedAndNamed) {
    struct Row {
        const char* sentence;
        NVENCSTATUS status;
        void (*spoil)(EncoderAnswers&);
    };
    const Row rows[] = {
        {" The picture's size is not supported.", 8, [](EncoderAnswers& t) { t.initialize.encodeWidth = 0; }},
        {" The picture's size is not supported.", 8, [](EncoderAnswers& t) { t.initialize.encodeHeight = 361; }},
        {" The picture's size is not supported.", 8, [](EncoderAnswers& t) { t.initialize.encodeWidth = 8192; }},
        {" The display's size is not supported.", 8, [](EncoderAnswers& t) { t.initialize.darWidth = 0; }},
        {" The frame rate is missing.", 8, [](EncoderAnswers& t) { t.initialize.frameRateNum = 0; }},
        {" The bitrate is not supported.", 8, [](EncoderAnswers& t) { t.config.rcParams.maxBitRate += 1; }},
        {" The buffer's size is not supported.", 8, [](EncoderAnswers& t) { t.config.rcParams.vbvBufferSize = 0; }},
        {" The length of the group of pictures is not supported.", 8,
         [](EncoderAnswers& t) { t.config.gopLength = 29; }},
        {" The configuration is missing.", 6, [](EncoderAnswers& t) { t.initialize.encodeConfig = nullptr; }},
        {" Codec, preset or tuning is not supported.", 12, [](EncoderAnswers& t) { t.initialize.tuningInfo = 1; }},
        {" Only synchronous encoding with picture types of the encoder's choice is supported.", 12,
         [](EncoderAnswers& t) { t.initialize.enableEncodeAsync = 1; }},
        {" The profile is not supported.", 12, [](EncoderAnswers& t) { t.config.profileGUID = {}; }},
        {" Only I and P pictures are supported.", 12, [](EncoderAnswers& t) { t.config.frameIntervalP = 3; }},
        {" Only a constant bitrate in one pass without lookahead is supported.", 12,
         [](EncoderAnswers& t) { t.config.rcParams.rateControlMode = 1; }},
        {" Only a constant bitrate in one pass without lookahead is supported.", 12,
         [](EncoderAnswers& t) { t.config.rcParams.flags |= rcEnableAQ; }},
    };
    const NV_ENC_CONFIG goodConfig = config;
    const NV_ENC_INITIALIZE_PARAMS goodInitialize = initialize;
    for (const Row& row : rows) {
        config = goodConfig;
        initialize = goodInitialize;
        row.spoil(*this);
        EXPECT_EQ(Initialize(), row.status) << row.sentence;
        EXPECT_EQ(LastError(), row.sentence);
    }
    config = goodConfig;
    initialize = goodInitialize;
    EXPECT_EQ(Initialize(), NV_ENC_SUCCESS);
}

TEST_F(EncoderAnswers, ATextureOfAnotherSizeOrFormatIsNotRegistered) {
    ASSERT_EQ(Initialize(), NV_ENC_SUCCESS);
    Owned<Surface> other;
    ASSERT_EQ(MakeNv12Surface(device, 320, 180, other), resultOk);
    resource.resourceToRegister = other.get();
    EXPECT_EQ(Register(), NV_ENC_ERR_INVALID_PARAM);
    ASSERT_EQ(MakeCaptureSurface(device, 640, 360, other), resultOk);
    resource.resourceToRegister = other.get();
    EXPECT_EQ(Register(), NV_ENC_ERR_INVALID_PARAM);
    resource.resourceToRegister = nullptr;
    EXPECT_EQ(Register(), NV_ENC_ERR_INVALID_PTR);
}

TEST_F(EncoderAnswers, OnlyAMappedTextureIsEncoded) {
    Prepare();
    ASSERT_EQ(list.nvEncUnmapInputResource(encoder, map.mappedResource), NV_ENC_SUCCESS);
    EXPECT_EQ(Encode(), NV_ENC_ERR_RESOURCE_NOT_MAPPED);
    EXPECT_EQ(list.nvEncUnmapInputResource(encoder, map.mappedResource), NV_ENC_ERR_RESOURCE_NOT_MAPPED);
    EXPECT_EQ(Map(), NV_ENC_SUCCESS);
    EXPECT_EQ(Map(), NV_ENC_ERR_INVALID_CALL);
    EXPECT_EQ(Encode(), NV_ENC_SUCCESS);
}

TEST_F(EncoderAnswers, AMappedTextureStaysRegistered) {
    Prepare();
    EXPECT_EQ(list.nvEncUnregisterResource(encoder, resource.registeredResource), NV_ENC_ERR_INVALID_CALL);
    ASSERT_EQ(list.nvEncUnmapInputResource(encoder, map.mappedResource), NV_ENC_SUCCESS);
    EXPECT_EQ(list.nvEncUnregisterResource(encoder, resource.registeredResource), NV_ENC_SUCCESS);
    EXPECT_EQ(list.nvEncUnregisterResource(encoder, resource.registeredResource), NV_ENC_ERR_RESOURCE_NOT_REGISTERED);
    EXPECT_EQ(Map(), NV_ENC_ERR_RESOURCE_NOT_REGISTERED);
}

TEST_F(EncoderAnswers, ABufferIsReadOnceForEachPictureAndUnlockedBeforeTheNext) {
    Prepare();
    EXPECT_EQ(Lock(), NV_ENC_ERR_INVALID_CALL);
    picture.frameIdx = 5;
    picture.inputTimeStamp = 5;
    ASSERT_EQ(Encode(), NV_ENC_SUCCESS);
    EXPECT_EQ(Unlock(), NV_ENC_ERR_INVALID_CALL);
    ASSERT_EQ(Lock(), NV_ENC_SUCCESS);
    EXPECT_EQ(lock.frameIdx, 5U);
    EXPECT_EQ(lock.outputTimeStamp, 5U);
    EXPECT_EQ(lock.pictureType, NV_ENC_PIC_TYPE_IDR);
    EXPECT_GT(lock.bitstreamSizeInBytes, 0U);
    EXPECT_EQ(Lock(), NV_ENC_ERR_INVALID_CALL);
    picture.inputTimeStamp = 6;
    EXPECT_EQ(Encode(), NV_ENC_ERR_INVALID_CALL);
    EXPECT_EQ(LastError(), " A buffer is still locked.");
    EXPECT_EQ(Unlock(), NV_ENC_SUCCESS);
    EXPECT_EQ(Encode(), NV_ENC_SUCCESS);
    ASSERT_EQ(Lock(), NV_ENC_SUCCESS);
    EXPECT_EQ(lock.pictureType, NV_ENC_PIC_TYPE_P);
    EXPECT_EQ(Unlock(), NV_ENC_SUCCESS);
}

TEST_F(EncoderAnswers, APictureOfAnotherSizeIsRefused) {
    Prepare();
    const NV_ENC_PIC_PARAMS good = picture;
    picture.inputWidth = 320;
    EXPECT_EQ(Encode(), NV_ENC_ERR_INVALID_PARAM);
    picture = good;
    picture.bufferFmt = 2;
    EXPECT_EQ(Encode(), NV_ENC_ERR_INVALID_PARAM);
    picture = good;
    picture.pictureStruct = 2;
    EXPECT_EQ(Encode(), NV_ENC_ERR_INVALID_PARAM);
    picture = good;
    picture.outputBitstream = &picture;
    EXPECT_EQ(Encode(), NV_ENC_ERR_INVALID_PARAM);
    picture = good;
    EXPECT_EQ(Encode(), NV_ENC_SUCCESS);
}

TEST_F(EncoderAnswers, NothingIsEncodedAfterTheEndOfTheStream) {
    Prepare();
    NV_ENC_PIC_PARAMS end;
    end.version = NV_ENC_PIC_PARAMS_VER;
    end.encodePicFlags = NV_ENC_PIC_FLAG_EOS;
    EXPECT_EQ(list.nvEncEncodePicture(encoder, &end), NV_ENC_SUCCESS);
    EXPECT_EQ(Encode(), NV_ENC_ERR_INVALID_CALL);
}

TEST_F(EncoderAnswers, AMissingHandleIsRefused) {
    EXPECT_EQ(list.nvEncInitializeEncoder(nullptr, &initialize), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(list.nvEncEncodePicture(nullptr, &picture), NV_ENC_ERR_INVALID_PTR);
    EXPECT_EQ(list.nvEncDestroyEncoder(nullptr), NV_ENC_ERR_INVALID_PTR);
    EXPECT_STREQ(list.nvEncGetLastErrorString(nullptr), "");
    void* second = nullptr;
    open.device = nullptr;
    EXPECT_EQ(list.nvEncOpenEncodeSessionEx(&open, &second), NV_ENC_ERR_INVALID_PTR);
    open.device = &device;
    open.deviceType = 1;
    EXPECT_EQ(list.nvEncOpenEncodeSessionEx(&open, &second), NV_ENC_ERR_INVALID_PARAM);
}

}  // namespace
}  // namespace zv
