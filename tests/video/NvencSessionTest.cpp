#include "video/NvencSession.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>

#include "fake/Allocations.h"
#include "fake/Calls.h"
#include "fake/EncoderLibrary.h"

namespace zv {
namespace {

using namespace fake;
using Names = std::vector<std::string>;

// Every non-zero value of the preset must be kept, unless a row of the table sets it.
template <class Record>
void FillWith(Record& record, int value) {
    std::memset(static_cast<void*>(&record), value, sizeof record);
}

class NvencSessionTest : public testing::Test {
public:
    NvencSessionTest() {
        ResetCalls();
        ResetEncoder();
    }

    bool Open(const VideoFormat& format = {1920, 1080, 60, 50}) { return session.Open(&device, &picture, format); }
    Names CallsOf(void (NvencSessionTest::*step)()) {
        const std::size_t before = CallNames().size();
        (this->*step)();
        Names names = CallNames();
        return {names.begin() + static_cast<std::ptrdiff_t>(before), names.end()};
    }
    void Close() { session.Close(); }
    void Encode() { encoded = session.EncodeFrame(7, bytes); }

    int device = 0;
    std::uint32_t picture = 3;
    NvencSession session;
    std::vector<std::byte> bytes;
    bool encoded = false;
};

TEST_F(NvencSessionTest, OpeningCallsTheLibraryInOrder) {
    EXPECT_TRUE(Open());
    EXPECT_EQ(CallNames(), (Names{"LoadEncoderLibrary", "EncoderEntryPoint", "NvEncodeAPICreateInstance",
                                  "nvEncOpenEncodeSessionEx", "nvEncGetEncodePresetConfigEx", "nvEncInitializeEncoder",
                                  "nvEncRegisterResource", "nvEncCreateBitstreamBuffer"}));
    EXPECT_EQ(session.ErrorText(), u"");
}

TEST_F(NvencSessionTest, EncodingMapsEncodesReadsAndUnmaps) {
    ASSERT_TRUE(Open());
    EXPECT_EQ(CallsOf(&NvencSessionTest::Encode),
              (Names{"nvEncMapInputResource", "nvEncEncodePicture", "nvEncLockBitstream", "nvEncUnlockBitstream",
                     "nvEncUnmapInputResource"}));
    EXPECT_TRUE(encoded);
    EXPECT_EQ(bytes, AccessUnitOf(7, 3, 1000));
}

TEST_F(NvencSessionTest, ClosingEndsTheStreamAndReleasesInOrder) {
    ASSERT_TRUE(Open());
    Encode();
    EXPECT_EQ(CallsOf(&NvencSessionTest::Close),
              (Names{"nvEncEncodePicture(EOS)", "nvEncUnregisterResource", "nvEncDestroyBitstreamBuffer",
                     "nvEncDestroyEncoder", "~EncoderLibrary"}));
    EXPECT_TRUE(CallsOf(&NvencSessionTest::Close).empty());
}

TEST_F(NvencSessionTest, TheEndOfStreamMarkerIsAnEmptyPictureAndItsResultIsIgnored) {
    ASSERT_TRUE(Open());
    FailCall("nvEncEncodePicture(EOS)", 1, 8);
    session.Close();
    const NV_ENC_PIC_PARAMS& marker = TheEncoder().endOfStream;
    EXPECT_EQ(marker.version, 0xF207000CU);
    EXPECT_EQ(marker.encodePicFlags, 8U);
    EXPECT_EQ(marker.inputWidth, 0U);
    EXPECT_EQ(marker.inputBuffer, nullptr);
    EXPECT_EQ(marker.outputBitstream, nullptr);
    EXPECT_EQ(marker.frameIdx, 0U);
    EXPECT_EQ(session.ErrorText(), u"");
}

TEST_F(NvencSessionTest, EveryStructureCarriesItsVersion) {
    ASSERT_TRUE(Open());
    Encode();
    const EncoderRecord& seen = TheEncoder();
    EXPECT_EQ(seen.listVersion, 0x7202000CU);
    EXPECT_EQ(seen.open.version, 0x7201000CU);
    EXPECT_EQ(seen.presetVersion, 0xF205000CU);
    EXPECT_EQ(seen.presetConfigVersion, 0xF209000CU);
    EXPECT_EQ(seen.config.version, 0xF209000CU);
    EXPECT_EQ(seen.initialize.version, 0xF207000CU);
    EXPECT_EQ(seen.resource.version, 0x7205000CU);
    EXPECT_EQ(seen.buffer.version, 0x7201000CU);
    EXPECT_EQ(seen.map.version, 0x7204000CU);
    EXPECT_EQ(seen.picture.version, 0xF207000CU);
    EXPECT_EQ(seen.lock.version, 0xF202000CU);
}

TEST_F(NvencSessionTest, TheSessionIsOpenedOnTheGraphicsDevice) {
    ASSERT_TRUE(Open());
    EXPECT_EQ(TheEncoder().open.deviceType, 0U);
    EXPECT_EQ(TheEncoder().open.device, &device);
    EXPECT_EQ(TheEncoder().open.apiVersion, 0x0200000CU);
}

TEST_F(NvencSessionTest, TheFastestPresetIsReadForUltraLowLatency) {
    ASSERT_TRUE(Open());
    const NvencGuid h264{0x6BC82762, 0x4E63, 0x4CA4, {0xAA, 0x85, 0x1E, 0x50, 0xF3, 0x21, 0xF6, 0xBF}};
    const NvencGuid fastest{0xFC0A8D3E, 0x45F8, 0x4CF8, {0x80, 0xC7, 0x29, 0x88, 0x71, 0x59, 0x0E, 0xBF}};
    EXPECT_EQ(TheEncoder().presetCodec, h264);
    EXPECT_EQ(TheEncoder().presetGuid, fastest);
    EXPECT_EQ(TheEncoder().presetTuning, 3U);
    EXPECT_EQ(TheEncoder().initialize.encodeGUID, h264);
    EXPECT_EQ(TheEncoder().initialize.presetGUID, fastest);
}

TEST_F(NvencSessionTest, TheInitializationRecordHoldsSizeRateAndTuning) {
    ASSERT_TRUE(Open({2560, 1440, 120, 80}));
    NV_ENC_INITIALIZE_PARAMS seen = TheEncoder().initialize;
    EXPECT_EQ(seen.encodeWidth, 2560U);
    EXPECT_EQ(seen.darWidth, 2560U);
    EXPECT_EQ(seen.encodeHeight, 1440U);
    EXPECT_EQ(seen.darHeight, 1440U);
    EXPECT_EQ(seen.frameRateNum, 120U);
    EXPECT_EQ(seen.frameRateDen, 1U);
    EXPECT_EQ(seen.enableEncodeAsync, 0U);
    EXPECT_EQ(seen.enablePTD, 1U);
    EXPECT_EQ(seen.tuningInfo, 3U);
    EXPECT_NE(seen.encodeConfig, nullptr);
    // All the rest is zero.
    EXPECT_EQ(seen.flags, 0U);
    EXPECT_EQ(seen.maxEncodeWidth, 0U);
    EXPECT_EQ(seen.maxEncodeHeight, 0U);
    EXPECT_EQ(seen.bufferFormat, 0U);
}

TEST_F(NvencSessionTest, TheConfigurationHasEveryValueOfItsTable) {
    FillWith(TheEncoder().preset, 0xFF);
    ASSERT_TRUE(Open({1920, 1080, 60, 50}));
    const NV_ENC_CONFIG& config = TheEncoder().config;
    const NvencGuid high{0xE7CBC309, 0x4F7A, 0x4B89, {0xAF, 0x2A, 0xD5, 0x37, 0xC9, 0x2B, 0xE3, 0x10}};
    EXPECT_EQ(config.version, 0xF209000CU);
    EXPECT_EQ(config.profileGUID, high);
    EXPECT_EQ(config.gopLength, 60U);
    EXPECT_EQ(config.frameIntervalP, 1);
    const NV_ENC_RC_PARAMS& rate = config.rcParams;
    EXPECT_EQ(rate.rateControlMode, 2U);
    EXPECT_EQ(rate.averageBitRate, 50000000U);
    EXPECT_EQ(rate.maxBitRate, 50000000U);
    EXPECT_EQ(rate.vbvBufferSize, 833333U);
    EXPECT_EQ(rate.vbvInitialDelay, 833333U);
    EXPECT_EQ(rate.flags & (1U << 3), 0U);  // adaptive quantisation
    EXPECT_EQ(rate.flags & (1U << 5), 0U);  // look-ahead
    EXPECT_EQ(rate.lookaheadDepth, 0U);
    EXPECT_EQ(rate.flags & (1U << 8), 0U);  // temporal adaptive quantisation
    EXPECT_EQ(rate.multiPass, 0U);
    EXPECT_EQ(config.encodeCodecConfig.h264Config.idrPeriod, 60U);
    const NV_ENC_CONFIG_H264_VUI_PARAMETERS& vui = config.encodeCodecConfig.h264Config.h264VUIParameters;
    EXPECT_EQ(vui.videoSignalTypePresentFlag, 1U);
    EXPECT_EQ(vui.videoFormat, 5U);
    EXPECT_EQ(vui.videoFullRangeFlag, 0U);
    EXPECT_EQ(vui.colourDescriptionPresentFlag, 1U);
    EXPECT_EQ(vui.colourPrimaries, 1U);
    EXPECT_EQ(vui.transferCharacteristics, 1U);
    EXPECT_EQ(vui.colourMatrix, 1U);
}

TEST_F(NvencSessionTest, FlagsThatTheTableSetsAreSetOverAPresetWithoutThem) {
    ASSERT_TRUE(Open());
    EXPECT_EQ(TheEncoder().config.rcParams.flags, 1U << 9);  // zeroReorderDelay alone
    EXPECT_EQ(TheEncoder().config.encodeCodecConfig.h264Config.flags, (1U << 6) | (1U << 12));
}

TEST_F(NvencSessionTest, FieldsThatTheTableDoesNotNameKeepThePresetsValue) {
    FillWith(TheEncoder().preset, 0xFF);
    ASSERT_TRUE(Open());
    const NV_ENC_CONFIG& config = TheEncoder().config;
    EXPECT_EQ(config.rcParams.flags, 0xFFFFFFFFU & ~((1U << 3) | (1U << 5) | (1U << 8)));
    EXPECT_EQ(config.encodeCodecConfig.h264Config.flags, 0xFFFFFFFFU);
    // The preset with the table's fields must equal the configuration.
    NV_ENC_CONFIG expected = TheEncoder().preset.presetCfg;
    expected.version = config.version;
    expected.profileGUID = config.profileGUID;
    expected.gopLength = config.gopLength;
    expected.frameIntervalP = config.frameIntervalP;
    NV_ENC_RC_PARAMS& rate = expected.rcParams;
    rate.rateControlMode = config.rcParams.rateControlMode;
    rate.averageBitRate = config.rcParams.averageBitRate;
    rate.maxBitRate = config.rcParams.maxBitRate;
    rate.vbvBufferSize = config.rcParams.vbvBufferSize;
    rate.vbvInitialDelay = config.rcParams.vbvInitialDelay;
    rate.flags = config.rcParams.flags;
    rate.lookaheadDepth = config.rcParams.lookaheadDepth;
    rate.multiPass = config.rcParams.multiPass;
    NV_ENC_CONFIG_H264& h264 = expected.encodeCodecConfig.h264Config;
    const NV_ENC_CONFIG_H264& seen = config.encodeCodecConfig.h264Config;
    h264.idrPeriod = seen.idrPeriod;
    h264.h264VUIParameters.videoSignalTypePresentFlag = 1;
    h264.h264VUIParameters.videoFormat = 5;
    h264.h264VUIParameters.videoFullRangeFlag = 0;
    h264.h264VUIParameters.colourDescriptionPresentFlag = 1;
    h264.h264VUIParameters.colourPrimaries = 1;
    h264.h264VUIParameters.transferCharacteristics = 1;
    h264.h264VUIParameters.colourMatrix = 1;
    EXPECT_EQ(std::memcmp(&expected, &config, sizeof config), 0);
}

TEST_F(NvencSessionTest, TheBufferOfTheRateControlIsOneFrameDeep) {
    struct Row {
        std::uint32_t bitrateMbps, fps, frameBits;
    };
    for (const Row& row : {Row{50, 30, 1666666}, Row{50, 60, 833333}, Row{50, 120, 416666}, Row{50, 240, 208333},
                           Row{200, 30, 6666666}}) {
        NV_ENC_CONFIG config;
        ConfigureEncoder(config, row.fps, row.bitrateMbps);
        EXPECT_EQ(config.rcParams.vbvBufferSize, row.frameBits);
        EXPECT_EQ(config.rcParams.vbvInitialDelay, row.frameBits);
        EXPECT_EQ(config.rcParams.averageBitRate, row.bitrateMbps * 1000000);
        EXPECT_EQ(config.gopLength, row.fps);
        EXPECT_EQ(config.encodeCodecConfig.h264Config.idrPeriod, row.fps);
    }
}

TEST_F(NvencSessionTest, TheTextureIsRegisteredOnceAsAnInputImage) {
    ASSERT_TRUE(Open());
    Encode();
    Encode();
    const NV_ENC_REGISTER_RESOURCE& seen = TheEncoder().resource;
    EXPECT_EQ(seen.resourceType, 0U);
    EXPECT_EQ(seen.width, 1920U);
    EXPECT_EQ(seen.height, 1080U);
    EXPECT_EQ(seen.pitch, 0U);
    EXPECT_EQ(seen.resourceToRegister, &picture);
    EXPECT_EQ(seen.bufferFormat, 1U);
    EXPECT_EQ(seen.bufferUsage, 0U);
    EXPECT_EQ(CountOf("nvEncRegisterResource"), 1);
    EXPECT_EQ(CountOf("nvEncMapInputResource"), 2);
}

TEST_F(NvencSessionTest, APictureIsDescribedByItsIndexAndNothingForcesItsType) {
    ASSERT_TRUE(Open());
    Encode();
    const NV_ENC_PIC_PARAMS& seen = TheEncoder().picture;
    EXPECT_EQ(seen.inputWidth, 1920U);
    EXPECT_EQ(seen.inputPitch, 1920U);
    EXPECT_EQ(seen.inputHeight, 1080U);
    EXPECT_EQ(seen.encodePicFlags, 0U);
    EXPECT_EQ(seen.frameIdx, 7U);
    EXPECT_EQ(seen.inputTimeStamp, 7U);
    EXPECT_EQ(seen.inputDuration, 1U);
    EXPECT_EQ(seen.inputBuffer, MappedHandle());
    EXPECT_EQ(seen.outputBitstream, BufferHandle());
    EXPECT_EQ(seen.completionEvent, nullptr);
    EXPECT_EQ(seen.bufferFmt, 1U);
    EXPECT_EQ(seen.pictureStruct, 1U);
    EXPECT_EQ(seen.pictureType, 0U);
    EXPECT_EQ(TheEncoder().map.registeredResource, RegisteredHandle());
    EXPECT_EQ(TheEncoder().lock.outputBitstream, BufferHandle());
    EXPECT_EQ(TheEncoder().lock.flags, 0U);  // waits for the picture
}

TEST_F(NvencSessionTest, AnAccessUnitReplacesWhatTheBufferHeld) {
    TheEncoder().sizes = {20};
    ASSERT_TRUE(Open());
    bytes.assign(5000, std::byte{0xAA});
    Encode();
    EXPECT_EQ(bytes, AccessUnitOf(7, 3, 20));
}

TEST_F(NvencSessionTest, AnEmptyAccessUnitFailsWithoutAText) {
    TheEncoder().sizes = {0};
    ASSERT_TRUE(Open());
    Encode();
    EXPECT_FALSE(encoded);
    EXPECT_EQ(session.ErrorText(), u"");
    EXPECT_EQ(CountOf("nvEncUnmapInputResource"), 1);
}

struct Stage {
    const char* call;
    const char16_t* text;
};

const Stage openStages[] = {
    {"NvEncodeAPICreateInstance", u"Load NVIDIA encoder API"},
    {"nvEncOpenEncodeSessionEx", u"Open NVIDIA encoding session"},
    {"nvEncGetEncodePresetConfigEx", u"Read low latency preset"},
    {"nvEncInitializeEncoder", u"Initialize NVIDIA encoder"},
    {"nvEncRegisterResource", u"Register GPU capture texture"},
    {"nvEncCreateBitstreamBuffer", u"Create compressed video buffer"},
};

const Stage frameStages[] = {
    {"nvEncMapInputResource", u"Map GPU frame for encoding"},  {"nvEncEncodePicture", u"Encode GPU frame"},
    {"nvEncLockBitstream", u"Read compressed GPU frame"},      {"nvEncUnlockBitstream", u"Unlock compressed frame"},
    {"nvEncUnmapInputResource", u"Release encoded GPU frame"},
};

TEST_F(NvencSessionTest, EveryFailedStageOfOpeningHasItsTextAndEndsIt) {
    for (const Stage& stage : openStages) {
        ResetCalls();
        ResetEncoder();
        FailCall(stage.call, 1, 8);
        EXPECT_FALSE(Open());
        EXPECT_EQ(session.ErrorText(), Text(stage.text) + u" failed (NVENC 8).") << stage.call;
        EXPECT_EQ(CallNames().back(), stage.call);
        session.Close();
        EXPECT_EQ(TheEncoder().liveLibraries, 0);
        EXPECT_EQ(CountOf("nvEncDestroyEncoder"), CountOf("nvEncOpenEncodeSessionEx")) << stage.call;
    }
}

TEST_F(NvencSessionTest, EveryFailedStageOfAFrameHasItsText) {
    for (const Stage& stage : frameStages) {
        ResetCalls();
        ResetEncoder();
        ASSERT_TRUE(Open());
        FailCall(stage.call, 1, 20);
        Encode();
        EXPECT_FALSE(encoded);
        EXPECT_EQ(session.ErrorText(), Text(stage.text) + u" failed (NVENC 20).") << stage.call;
        session.Close();
    }
}

TEST_F(NvencSessionTest, AnOldDriverGetsAdviceInEveryStage) {
    for (const Stage& stage : openStages) {
        ResetCalls();
        FailCall(stage.call, 1, 15);
        EXPECT_FALSE(Open());
        EXPECT_EQ(session.ErrorText(), Text(stage.text) + u" failed (NVENC 15). Update the NVIDIA graphics driver.");
        session.Close();
    }
    for (const Stage& stage : frameStages) {
        ResetCalls();
        ASSERT_TRUE(Open());
        FailCall(stage.call, 1, 15);
        Encode();
        EXPECT_EQ(session.ErrorText(), Text(stage.text) + u" failed (NVENC 15). Update the NVIDIA graphics driver.");
        session.Close();
    }
}

TEST_F(NvencSessionTest, ANegativeStatusIsPrintedWithItsSign) {
    FailCall("nvEncInitializeEncoder", 1, -3);
    EXPECT_FALSE(Open());
    EXPECT_EQ(session.ErrorText(), u"Initialize NVIDIA encoder failed (NVENC -3).");
}

TEST_F(NvencSessionTest, AStatusThatRequestsMoreInputIsAFailure) {
    ASSERT_TRUE(Open());
    FailCall("nvEncEncodePicture", 1, 17);
    Encode();
    EXPECT_FALSE(encoded);
    EXPECT_EQ(session.ErrorText(), u"Encode GPU frame failed (NVENC 17).");
}

TEST_F(NvencSessionTest, TheLibrarysOwnTextIsAppendedVerbatim) {
    TheEncoder().lastErrorString = "Bad \xE9";
    FailCall("nvEncInitializeEncoder", 1, 15);
    EXPECT_FALSE(Open());
    EXPECT_EQ(session.ErrorText(),
              u"Initialize NVIDIA encoder failed (NVENC 15). Update the NVIDIA graphics driver.Bad \u00E9");
}

TEST_F(NvencSessionTest, WithoutASessionTheLibrarysTextIsNotQueried) {
    TheEncoder().lastErrorString = "words";
    TheEncoder().handleDespiteFailure = false;
    FailCall("nvEncOpenEncodeSessionEx", 1, 8);
    EXPECT_FALSE(Open());
    EXPECT_EQ(session.ErrorText(), u"Open NVIDIA encoding session failed (NVENC 8).");
    session.Close();
    EXPECT_EQ(CountOf("nvEncDestroyEncoder"), 0);
}

TEST_F(NvencSessionTest, AFailedOpenWithASessionAppendsItsTextAndDestroysIt) {
    TheEncoder().lastErrorString = "words";
    FailCall("nvEncOpenEncodeSessionEx", 1, 8);
    EXPECT_FALSE(Open());
    EXPECT_EQ(session.ErrorText(), u"Open NVIDIA encoding session failed (NVENC 8).words");
    session.Close();
    EXPECT_EQ(TheEncoder().releasedHandles, std::vector<void*>{EncoderHandle()});
}

TEST_F(NvencSessionTest, ALibraryMayHaveNoText) {
    for (const bool slotMissing : {true, false}) {
        ResetCalls();
        ResetEncoder();
        TheEncoder().lastErrorString = "words";
        TheEncoder().withoutErrorString = slotMissing;
        TheEncoder().nullErrorString = !slotMissing;
        FailCall("nvEncRegisterResource", 1, 8);
        EXPECT_FALSE(Open());
        EXPECT_EQ(session.ErrorText(), u"Register GPU capture texture failed (NVENC 8).");
        session.Close();
    }
}

TEST_F(NvencSessionTest, AMissingDriverHasItsSentence) {
    TheEncoder().libraryMissing = true;
    EXPECT_FALSE(Open());
    EXPECT_EQ(session.ErrorText(), u"NVIDIA encoder driver is unavailable. Install the NVIDIA graphics driver.");
    EXPECT_TRUE(CallsOf(&NvencSessionTest::Close).empty());
}

TEST_F(NvencSessionTest, AMissingEntryPointHasItsSentence) {
    TheEncoder().entryPointMissing = true;
    EXPECT_FALSE(Open());
    EXPECT_EQ(session.ErrorText(), u"NVIDIA encoder entry point is unavailable.");
    EXPECT_EQ(CallsOf(&NvencSessionTest::Close), Names{"~EncoderLibrary"});
}

TEST_F(NvencSessionTest, AFailedInitializationSendsNoEndOfStreamButDestroysTheSession) {
    FailCall("nvEncInitializeEncoder", 1, 8);
    EXPECT_FALSE(Open());
    EXPECT_EQ(CallsOf(&NvencSessionTest::Close), (Names{"nvEncDestroyEncoder", "~EncoderLibrary"}));
}

TEST_F(NvencSessionTest, AFailedEncodeLeavesTheTextureMappedUntilClose) {
    ASSERT_TRUE(Open());
    FailCall("nvEncEncodePicture", 1, 8);
    Encode();
    EXPECT_EQ(CountOf("nvEncUnmapInputResource"), 0);
    EXPECT_EQ(CallsOf(&NvencSessionTest::Close),
              (Names{"nvEncEncodePicture(EOS)", "nvEncUnmapInputResource", "nvEncUnregisterResource",
                     "nvEncDestroyBitstreamBuffer", "nvEncDestroyEncoder", "~EncoderLibrary"}));
    EXPECT_EQ(TheEncoder().releasedHandles,
              (std::vector<void*>{MappedHandle(), RegisteredHandle(), BufferHandle(), EncoderHandle()}));
}

TEST_F(NvencSessionTest, AFailedUnlockStillUnmapsTheTexture) {
    ASSERT_TRUE(Open());
    FailCall("nvEncUnlockBitstream", 1, 8);
    FailCall("nvEncUnmapInputResource", 1, 9);
    Encode();
    EXPECT_EQ(CountOf("nvEncUnmapInputResource"), 1);
    EXPECT_EQ(session.ErrorText(), u"Unlock compressed frame failed (NVENC 8).");
    // The unmap failed, so the texture counts as mapped.
    session.Close();
    EXPECT_EQ(CountOf("nvEncUnmapInputResource"), 2);
}

TEST_F(NvencSessionTest, ACopyWithoutMemoryUnlocksBeforeTheExceptionPropagates) {
    ASSERT_TRUE(Open());
    RefuseAllocationsHere(1000);
    bool raised = false;
    try {
        session.EncodeFrame(0, bytes);
    } catch (const std::bad_alloc&) {
        raised = true;
    }
    RefuseAllocationsHere(0);
    EXPECT_TRUE(raised);
    EXPECT_EQ(CallNames().back(), "nvEncUnlockBitstream");
}

TEST_F(NvencSessionTest, ADestroyedSessionIsClosed) {
    {
        NvencSession other;
        ASSERT_TRUE(other.Open(&device, &picture, {1920, 1080, 60, 50}));
    }
    EXPECT_EQ(CountOf("nvEncDestroyEncoder"), 1);
    EXPECT_EQ(TheEncoder().liveLibraries, 0);
}

}  // namespace
}  // namespace zv
