// The graphics services that Wine implements, and the capture's sentences for those that it lacks.
#include <gtest/gtest.h>

#include <tuple>

#include "platform/DesktopCapture.h"
#include "platform/EncoderLibrary.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/Monitors.h"
#include "video/Capabilities.h"
#include "video/Monitors.h"
#include "video/NvencSession.h"
#include "video/VideoCapture.h"

namespace zv {
namespace {

constexpr VideoFormat format = {1920, 1080, 60, 20};

TEST(WindowsMonitors, TheDesktopIsOnePrimaryMonitorThatTheFirstAdapterOwns) {
    const std::vector<MonitorEntry> monitors = EnumerateMonitors();
    ASSERT_EQ(monitors.size(), 1U);
    EXPECT_EQ(monitors[0], (MonitorEntry{u"\\\\.\\DISPLAY1", 0, 0, 1920, 1080, -1, true}));
    const std::optional<MonitorEntry> found = ResolveMonitor(u"");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->deviceName, monitors[0].deviceName);
    EXPECT_EQ(found->outputIndex, 0);
}

TEST(WindowsMonitors, OutputsAreDescribedWithTheirBoundsAndRotation) {
    std::vector<OutputRecord> outputs;
    ASSERT_TRUE(ListFirstAdapterOutputs(outputs));
    ASSERT_EQ(outputs.size(), 1U);
    EXPECT_TRUE(outputs[0].described);
    EXPECT_TRUE(outputs[0].attached);
    EXPECT_EQ(outputs[0].deviceName, u"\\\\.\\DISPLAY1");
    EXPECT_EQ(outputs[0].rotation, 1U);
    EXPECT_EQ(outputs[0].bounds.Width(), 1920);
    EXPECT_EQ(outputs[0].bounds.Height(), 1080);
}

TEST(WindowsMonitors, AdaptersAreListed) {
    std::vector<AdapterRecord> adapters;
    ASSERT_TRUE(ListAdapterRecords(adapters));
    ASSERT_FALSE(adapters.empty());
    EXPECT_TRUE(adapters[0].described);
    EXPECT_FALSE(adapters[0].description.empty());
    EXPECT_NE(adapters[0].vendorId, 0U);
    CapabilityReport report;
    DetectCapabilities(report);
    EXPECT_TRUE(report.detected);
}

TEST(WindowsGraphics, LooksUpOutputsByAdapterAndIndexToTheirEnd) {
    Owned<GraphicsFactory> factory;
    ASSERT_EQ(OpenGraphicsFactory(factory), resultOk);
    OutputRecord record;
    Owned<GraphicsOutput> output;
    EXPECT_EQ(LookUpOutput(*factory, 0, 0, record, output), OutputLookup::Found);
    EXPECT_EQ(record.deviceName, u"\\\\.\\DISPLAY1");
    EXPECT_TRUE(output);
    for (const auto& [adapter, index, end] :
         {std::tuple(0U, 9U, OutputLookup::NoOutput), std::tuple(9U, 0U, OutputLookup::NoAdapter)}) {
        Result code = resultOk;
        EXPECT_EQ(LookUpOutput(*factory, adapter, index, record, output, &code), end);
        EXPECT_EQ(code, resultNotFound);
    }
}

TEST(WindowsGraphics, ACaptureOfAMissingMonitorFails) {
    VideoCapture capture;
    EXPECT_FALSE(capture.Start(u"\\\\.\\DISPLAY7", format));
    EXPECT_EQ(capture.Error(), u"Selected monitor is not connected (0x887A0002)");
    EXPECT_FALSE(capture.running);
}

TEST(WindowsGraphics, ADesktopThatCannotBeDuplicatedFailsWithTheSystemsCode) {
    Owned<GraphicsFactory> factory;
    OutputRecord record;
    Owned<GraphicsOutput> output;
    ASSERT_EQ(OpenGraphicsFactory(factory), resultOk);
    ASSERT_EQ(LookUpOutput(*factory, 0, 0, record, output), OutputLookup::Found);
    Owned<GraphicsDevice> device;
    const Result made = MakeGraphicsDevice(*output, device);
    Owned<DesktopDuplication> duplication;
    const Result opened = made == resultOk ? OpenDuplication(*device, *output, duplication) : made;
    ASSERT_TRUE(Failed(opened));
    EXPECT_FALSE(duplication);

    VideoCapture capture;
    EXPECT_FALSE(capture.Start(u"\\\\.\\DISPLAY1", format));
    const Text sentence = made == resultOk ? u"GPU desktop capture is unavailable. Use a local, unlocked desktop"
                                           : u"Cannot initialize GPU desktop capture";
    EXPECT_EQ(capture.Error(), sentence + CodeSuffix(CodeOf(opened)));
}

TEST(WindowsEncoder, TheSessionReportsAMissingDriver) {
    EXPECT_FALSE(LoadEncoderLibrary());
    NvencSession session;
    EXPECT_FALSE(session.Open(nullptr, nullptr, format));
    EXPECT_EQ(session.ErrorText(), u"NVIDIA encoder driver is unavailable. Install the NVIDIA graphics driver.");
}

TEST(WindowsEncoder, ALibraryBesideTheProgramIsNotLoaded) {
    const std::filesystem::path beside = ToPath(JoinPath(ExecutableFolder(), u"nvEncodeAPI64.dll"));
    std::filesystem::copy_file("C:\\windows\\system32\\winmm.dll", beside,
                               std::filesystem::copy_options::overwrite_existing);
    EXPECT_FALSE(LoadEncoderLibrary());
    std::filesystem::remove(beside);
}

TEST(WindowsEncoder, ALibraryInTheSystemFolderIsLoaded) {
    const std::filesystem::path library = "C:\\windows\\system32\\nvEncodeAPI64.dll";
    std::filesystem::copy_file("C:\\windows\\system32\\winmm.dll", library,
                               std::filesystem::copy_options::overwrite_existing);
    {
        const Owned<EncoderLibrary> loaded = LoadEncoderLibrary();
        ASSERT_TRUE(loaded);
        EXPECT_EQ(EncoderEntryPoint(*loaded), nullptr);
    }
    std::filesystem::remove(library);
}

}  // namespace
}  // namespace zv
