// Failures of the system, the driver and FFmpeg in the program as it ships: the sentence in its history, and the order
// in which it releases the encoder.
#include "platform/BytePipe.h"
#include "platform/Environment.h"
#include "windows/DriverPictures.h"

namespace zv::windows {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Not;

/// Keeps FFmpeg alive until the program has found out why the input ended, and asks FFmpeg to quit.
constexpr char16_t lingerMs[] = u"5000";

using DriverFailure = DriverPictures;

TEST_F(DriverFailure, SaysWhatToInstallIfTheEncoderLibraryIsMissing) {
    const std::filesystem::path library = "C:\\windows\\system32\\nvEncodeAPI64.dll";
    const std::filesystem::path aside = "C:\\windows\\system32\\aside.dll";
    std::filesystem::rename(library, aside);
    const bool started = StartProgram();
    const bool logged =
        EventuallyLogs("NVIDIA encoder driver is unavailable. Install the NVIDIA graphics driver. (0x80004005)");
    std::filesystem::rename(aside, library);
    EXPECT_TRUE(started && logged) << testing::PrintToString(Activity());
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

TEST_F(DriverFailure, ReportsAnEncoderLibraryWithoutAnEntryPoint) {
    const std::filesystem::path library = "C:\\windows\\system32\\nvEncodeAPI64.dll";
    const std::filesystem::path aside = "C:\\windows\\system32\\aside.dll";
    std::filesystem::rename(library, aside);
    std::filesystem::copy_file("C:\\windows\\system32\\winmm.dll", library);
    const bool started = StartProgram();
    const bool logged = EventuallyLogs("NVIDIA encoder entry point is unavailable. (0x80004005)");
    std::filesystem::rename(aside, library);
    EXPECT_TRUE(started && logged) << testing::PrintToString(Activity());
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

/// A failure of the system, the driver or FFmpeg, and the program's response.
struct Failure {
    const char* name;
    const char* script;
    const char* sentence;
    const char* calls = "";  ///< the last calls of the encoder's library
};

constexpr Failure failures[] = {
    {"Factory", "fail CreateDXGIFactory1 1+ 887A0005", "Cannot enumerate graphics adapters (0x887A0005)"},
    {"Adapters", "fail EnumAdapters1 1+ 887A0005", "Cannot enumerate graphics adapters (0x887A0005)"},
    {"Outputs", "fail EnumOutputs 1+ 887A0005", "Cannot enumerate graphics adapters (0x887A0005)"},
    {"NoOutput", R"(set output 0 \\.\DISPLAY2 0 0 1920 1080 1 1)", "Selected monitor is not connected (0x887A0002)"},
    {"OutputNotDescribed", "fail GetDesc 1+ 887A0005", "Selected monitor is not connected (0x887A0002)"},
    {"OutputDetached", R"(set output 0 \\.\DISPLAY1 0 0 1920 1080 1 0)",
     "Selected monitor is not connected (0x887A0002)"},
    {"OtherCase", R"(set output 0 \\.\display1 0 0 1920 1080 1 1)", "Selected monitor is not connected (0x887A0002)"},
    {"TurnedBy90", R"(set output 0 \\.\DISPLAY1 0 0 1080 1920 2 1)",
     "Rotate this monitor to landscape before capturing (0x80004001)"},
    {"TurnedBy180", R"(set output 0 \\.\DISPLAY1 0 0 1920 1080 3 1)",
     "Rotate this monitor to landscape before capturing (0x80004001)"},
    {"TurnedBy270", R"(set output 0 \\.\DISPLAY1 0 0 1080 1920 4 1)",
     "Rotate this monitor to landscape before capturing (0x80004001)"},
    {"Device", "fail D3D11CreateDevice 1 887A0004", "Cannot initialize GPU desktop capture (0x887A0004)"},
    {"NoOutput1", "fail QueryInterface:output 1 80004002",
     "GPU desktop capture is unavailable. Use a local, unlocked desktop (0x80004002)"},
    {"Duplication", "fail DuplicateOutput 1 80070005",
     "GPU desktop capture is unavailable. Use a local, unlocked desktop (0x80070005)"},
    {"VideoDevice", "fail QueryInterface:device 2 80004002", "GPU video processing is unavailable (0x80004002)"},
    {"VideoContext", "fail QueryInterface:context 1 80004002", "GPU video processing is unavailable (0x80004002)"},
    {"Enumerator", "fail CreateVideoProcessorEnumerator 1 80070057", "Cannot create the GPU video scaler (0x80070057)"},
    {"Processor", "fail CreateVideoProcessor 1 8007000E", "Cannot create the GPU video scaler (0x8007000E)"},
    {"CaptureSurface", "fail CreateTexture2D:bgra 1 8007000E", "Cannot create capture surface (0x8007000E)"},
    {"Nv12Surface", "fail CreateTexture2D:nv12 1 887A0005", "Cannot create NV12 video surface (0x887A0005)"},
    {"InputView", "fail CreateVideoProcessorInputView 1 80070057", "Cannot create video processor views (0x80070057)"},
    {"OutputView", "fail CreateVideoProcessorOutputView 1 80070057",
     "Cannot create video processor views (0x80070057)"},
    {"CreateInstance", "fail NvEncodeAPICreateInstance 1 F",
     "Load NVIDIA encoder API failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)"},
    {"OpenSession", "fail nvEncOpenEncodeSessionEx 1 F",
     "Open NVIDIA encoding session failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     " OpenEncodeSessionEx"},
    {"OpenSessionNegative", "fail nvEncOpenEncodeSessionEx 1 FFFFFFFE",
     "Open NVIDIA encoding session failed (NVENC -2). (0x80004005)"},
    {"PresetConfig", "fail nvEncGetEncodePresetConfigEx 1 F",
     "Read low latency preset failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     " OpenEncodeSessionEx GetEncodePresetConfigEx GetLastErrorString DestroyEncoder"},
    {"Initialize", "fail nvEncInitializeEncoder 1 8", "Initialize NVIDIA encoder failed (NVENC 8). (0x80004005)",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder GetLastErrorString DestroyEncoder"},
    {"InitializeWithDetail", "fail nvEncInitializeEncoder 1 F\nset errortext too many sessions",
     "Initialize NVIDIA encoder failed (NVENC 15). Update the NVIDIA graphics driver.too many sessions (0x80004005)"},
    {"Register", "fail nvEncRegisterResource 1 F",
     "Register GPU capture texture failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "InitializeEncoder RegisterResource GetLastErrorString EncodePicture (end) DestroyEncoder"},
    {"Buffer", "fail nvEncCreateBitstreamBuffer 1 F",
     "Create compressed video buffer failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "CreateBitstreamBuffer GetLastErrorString EncodePicture (end) UnregisterResource DestroyEncoder"},
    {"Acquire", "fail AcquireNextFrame 3 887A0026",
     "Desktop capture was interrupted. Unlock the desktop, then restart replay (0x887A0026)"},
    {"FrameTexture", "fail QueryInterface:desktop-image 3 80004002", "Cannot read desktop texture (0x80004002)"},
    {"Conversion", "fail VideoProcessorBlt 3 887A0005", "GPU video conversion failed (0x887A0005)"},
    {"Map", "fail nvEncMapInputResource 3 F",
     "Map GPU frame for encoding failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "MapInputResource GetLastErrorString EncodePicture (end) UnregisterResource DestroyBitstreamBuffer "
     "DestroyEncoder"},
    {"EncodeTooOld", "fail nvEncEncodePicture 3 F",
     "Encode GPU frame failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "EncodePicture GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"Encode", "fail nvEncEncodePicture 3 11", "Encode GPU frame failed (NVENC 17). (0x80004005)",
     "EncodePicture GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"LockNegative", "fail nvEncLockBitstream 3 FFFFFFF3", "Read compressed GPU frame failed (NVENC -13). (0x80004005)",
     "LockBitstream GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"Lock", "fail nvEncLockBitstream 3 F",
     "Read compressed GPU frame failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "LockBitstream GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"Unlock", "fail nvEncUnlockBitstream 3 F",
     "Unlock compressed frame failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "UnlockBitstream UnmapInputResource GetLastErrorString EncodePicture (end) UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    // The texture stays mapped until it is unmapped at the end.
    {"UnlockAndUnmap", "fail nvEncUnlockBitstream 3 14\nfail nvEncUnmapInputResource 3 19",
     "Unlock compressed frame failed (NVENC 20). (0x80004005)",
     "UnlockBitstream UnmapInputResource GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"Unmap", "fail nvEncUnmapInputResource 3 F",
     "Release encoded GPU frame failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)",
     "UnlockBitstream UnmapInputResource GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"EmptyPicture", "fail empty-picture 3 0", " (0x80004005)",
     "UnlockBitstream UnmapInputResource EncodePicture (end) UnregisterResource DestroyBitstreamBuffer DestroyEncoder"},
    {"PipesEvent", "fail CreateEventW 1 8", "Cannot create video pipe (0x80070008)"},
    {"ReaderCannotConnect", "fail ConnectNamedPipe:ZVVideo 1 E8", "Video consumer did not connect (0x80004005)"},
    {"ReaderDoesNotConnect", "set reader idle\nset wait 10000 300", "Video consumer did not connect (0x80004005)"},
    {"ReaderLeaves", "set reader leave 100000\nset filled 20000",
     "Video encoder stopped accepting frames (0x80004005)"},
    {"ReaderLeavesAWriteInFlight", "set reader leave full\nset filled 100000", "Video muxer disconnected (0x80004005)"},
    {"WriteHasNoEvent", "fail CreateEventW 2 8", "Desktop capture could not allocate resources (0x80004005)"},
    {"PictureHasNoMemory", "set starve 1 4096\nset filled 20000",
     "Desktop capture could not allocate resources (0x80004005)",
     "LockBitstream UnlockBitstream EncodePicture (end) UnmapInputResource UnregisterResource DestroyBitstreamBuffer "
     "DestroyEncoder"},
};

/// A structure of the encoder's interface that an older or newer library accepts only with another version, and the
/// last calls of that library.
struct Version {
    const char* structure;
    const char* ours;
    const char* theirs;
    const char* stage;
    const char* calls;
};

constexpr Version versions[] = {
    {"NV_ENCODE_API_FUNCTION_LIST", "0x7202000C", "7202000B", "Load NVIDIA encoder API", ""},
    {"NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS", "0x7201000C", "7201010B", "Open NVIDIA encoding session",
     " OpenEncodeSessionEx"},
    {"NV_ENC_PRESET_CONFIG", "0xF205000C", "F204000B", "Read low latency preset",
     " OpenEncodeSessionEx GetEncodePresetConfigEx GetLastErrorString DestroyEncoder"},
    {"presetCfg", "0xF209000C", "F208000B", "Read low latency preset",
     " OpenEncodeSessionEx GetEncodePresetConfigEx GetLastErrorString DestroyEncoder"},
    {"NV_ENC_INITIALIZE_PARAMS", "0xF207000C", "F206000B", "Initialize NVIDIA encoder",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder GetLastErrorString DestroyEncoder"},
    {"NV_ENC_CONFIG", "0xF209000C", "F208000B", "Initialize NVIDIA encoder",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder GetLastErrorString DestroyEncoder"},
    {"NV_ENC_REGISTER_RESOURCE", "0x7205000C", "7204000B", "Register GPU capture texture",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder RegisterResource GetLastErrorString "
     "EncodePicture (end) DestroyEncoder"},
    {"NV_ENC_CREATE_BITSTREAM_BUFFER", "0x7201000C", "7201000B", "Create compressed video buffer",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder RegisterResource CreateBitstreamBuffer "
     "GetLastErrorString EncodePicture (end) UnregisterResource DestroyEncoder"},
    {"NV_ENC_MAP_INPUT_RESOURCE", "0x7204000C", "7204000B", "Map GPU frame for encoding",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder RegisterResource CreateBitstreamBuffer "
     "MapInputResource GetLastErrorString EncodePicture (end) UnregisterResource DestroyBitstreamBuffer "
     "DestroyEncoder"},
    {"NV_ENC_PIC_PARAMS", "0xF207000C", "F206000B", "Encode GPU frame",
     " OpenEncodeSessionEx GetEncodePresetConfigEx InitializeEncoder RegisterResource CreateBitstreamBuffer "
     "MapInputResource EncodePicture GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
    {"NV_ENC_LOCK_BITSTREAM", "0xF202000C", "F201000B", "Read compressed GPU frame",
     " GetEncodePresetConfigEx InitializeEncoder RegisterResource CreateBitstreamBuffer MapInputResource "
     "EncodePicture LockBitstream GetLastErrorString EncodePicture (end) UnmapInputResource UnregisterResource "
     "DestroyBitstreamBuffer DestroyEncoder"},
};

/// The last calls of the encoder's library before it was freed.
std::string LastCalls(const std::filesystem::path& report) {
    std::string last;
    for (const std::string& note : ReportLines(report, "note: nvenc: calls")) {
        last = note;
    }
    return last;
}

TEST_F(DriverFailure, ReleasesAnEncoderThatRejectsAStructureVersionAndAdvisesAnUpdate) {
    SetEnvironmentValue(u"ZV_TEST_LINGER_MS", lingerMs);
    NewScript("fail D3D11CreateDevice 1 80004001");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(EventuallyLogs("Cannot initialize GPU desktop capture (0x80004001)"));
    for (const Version& version : versions) {
        const std::string structure = version.structure;
        EXPECT_EQ(NextLogUnder("set images always\nset version " + structure + " " + version.theirs),
                  std::string(version.stage) + " failed (NVENC 15). Update the NVIDIA graphics driver. (0x80004005)");
        EXPECT_EQ(LastCalls(Report()), version.calls) << structure;
        const std::vector<std::string> complaints = ReportLines(Report(), "complaint: ");
        EXPECT_THAT(complaints, Not(IsEmpty())) << structure;
        EXPECT_THAT(complaints, Each("nvenc: " + structure + " has version " + version.ours));
        std::filesystem::remove(Report());
        EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); })) << structure;
    }
    EXPECT_EQ(NextLogUnder("set images always"), buffering);
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

TEST_F(DriverFailure, ReportsEveryFailureInTheHistoryAndReleasesEverything) {
    SetEnvironmentValue(u"ZV_TEST_LINGER_MS", lingerMs);
    NewScript("fail D3D11CreateDevice 1 80004001");
    ASSERT_TRUE(StartProgram());
    ASSERT_TRUE(EventuallyLogs("Cannot initialize GPU desktop capture (0x80004001)"));
    for (const Failure& failure : failures) {
        EXPECT_EQ(NextLogUnder(failure.script + std::string("\nset images always")), failure.sentence) << failure.name;
        EXPECT_THAT(LastCalls(Report()), EndsWith(failure.calls)) << failure.name;
        EXPECT_THAT(ReportLines(Report(), "complaint: "), IsEmpty()) << failure.name;
        EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); })) << failure.name;
    }
    // The name of the next pipe is in use: pipes are numbered by attempts.
    Owned<BytePipe> taken;
    const DWORD process = ProcessesNamed(L"zorvel.exe").at(0);
    const Text name = u"\\\\.\\pipe\\ZVVideo-" + DecimalUnsigned(process) + u"-" +
                      DecimalUnsigned(static_cast<std::uint32_t>(std::size(failures) + 2));
    ASSERT_EQ(MakeBytePipe(name, {}, taken), resultOk);
    EXPECT_EQ(NextLogUnder(""), "Cannot create video pipe (0x800700E7)");
    // The capture runs without a timer.
    EXPECT_EQ(NextLogUnder("set images always\nfail CreateWaitableTimerExW 1 8\nfail CreateWaitableTimerW 1 8"),
              buffering);
    EXPECT_EQ(NextLogUnder("set images always\nfail CreateWaitableTimerExW 1 8"), buffering);
    // After all these failures the next attempt succeeds, and its loop allocates nothing.
    EXPECT_EQ(NextLogUnder("set images 10\nset filled 400000\nset count 20 110"), buffering);
    const auto counts = [this] { return ReportLines(Report(), "note: dxgi: allocated memory "); };
    EXPECT_TRUE(Eventually([&] { return !counts().empty(); }));
    EXPECT_THAT(counts(), ElementsAre("0 times in 90 rounds"));
    EXPECT_TRUE(EndProgram());
    ExpectNothingLeft();
}

}  // namespace
}  // namespace zv::windows
