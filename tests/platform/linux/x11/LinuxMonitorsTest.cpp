#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "platform/Monitors.h"
#include "platform/linux/posix/Adapters.h"
#include "platform/linux/x11/XDisplay.h"
#include "support/TemporaryFolder.h"
#include "support/XServer.h"

namespace zv {
namespace {

using support::XServer;

/// Adds a monitor for a part of the screen; a star before the name makes it the primary one. Uses the command, because
/// the library's request sends uninitialized memory.
void AddMonitor(const std::string& name, const std::string& place) {
    const std::string command = "xrandr --setmonitor '" + name + "' " + place + " none";
    ASSERT_EQ(std::system(command.c_str()), 0);
}

const MonitorEntry* Find(const std::vector<MonitorEntry>& monitors, TextView name) {
    for (const MonitorEntry& record : monitors) {
        if (record.deviceName == name) {
            return &record;
        }
    }
    return nullptr;
}

TEST(LinuxMonitors, TheFirstMonitorIsPrimaryIfTheServerHasNone) {
    const XServer server("1280x720x24");
    const std::vector<MonitorEntry> monitors = EnumerateMonitors();
    ASSERT_EQ(monitors.size(), 1U);
    EXPECT_EQ(monitors[0], (MonitorEntry{u"screen", 0, 0, 1280, 720, -1, true}));
}

TEST(LinuxMonitors, ListsNameBoundsAndPrimaryOfEveryMonitor) {
    const XServer server("1600x600x24");
    ASSERT_NO_FATAL_FAILURE(AddMonitor("left side", "1000/100x600/100+0+0"));
    ASSERT_NO_FATAL_FAILURE(AddMonitor("*right", "600/100x500/100+1000+0"));
    const std::vector<MonitorEntry> monitors = EnumerateMonitors();
    const MonitorEntry* left = Find(monitors, u"left side");
    const MonitorEntry* right = Find(monitors, u"right");
    ASSERT_TRUE(left && right);
    EXPECT_EQ(left->Bounds(), (Rectangle{0, 0, 1000, 600}));
    EXPECT_FALSE(left->primary);
    EXPECT_EQ(right->Bounds(), (Rectangle{1000, 0, 1600, 500}));
    EXPECT_TRUE(right->primary);
    EXPECT_EQ(std::count_if(monitors.begin(), monitors.end(), [](const MonitorEntry& one) { return one.primary; }), 1);
}

TEST(LinuxMonitors, TheOutputsOfTheFirstAdapterAreTheUnrotatedMonitors) {
    const XServer server("1600x600x24");
    ASSERT_NO_FATAL_FAILURE(AddMonitor("*right", "600/100x500/100+1000+0"));
    const std::vector<MonitorEntry> monitors = EnumerateMonitors();
    std::vector<OutputRecord> outputs(3);
    ASSERT_TRUE(ListFirstAdapterOutputs(outputs));
    ASSERT_EQ(outputs.size(), monitors.size());
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        EXPECT_EQ(outputs[i].deviceName, monitors[i].deviceName);
        EXPECT_EQ(outputs[i].bounds, monitors[i].Bounds());
        EXPECT_EQ(outputs[i].rotation, 1U);
        EXPECT_TRUE(outputs[i].described);
        EXPECT_TRUE(outputs[i].attached);
    }
}

TEST(LinuxMonitors, TheListIsEmptyWithoutADisplay) {
    std::vector<OutputRecord> outputs(1);
    for (const char* name : {"", ":4711"}) {
        setenv("DISPLAY", name, 1);
        EXPECT_TRUE(EnumerateMonitors().empty());
        EXPECT_FALSE(ListFirstAdapterOutputs(outputs));
        EXPECT_TRUE(outputs.empty());
    }
}

TEST(LinuxMonitors, ReconnectsAfterTheServersDeath) {
    XServer first("800x600x24");
    ASSERT_EQ(EnumerateMonitors().size(), 1U);
    first.Kill();
    EXPECT_TRUE(EnumerateMonitors().empty());
    EXPECT_TRUE(EnumerateMonitors().empty());
    const XServer second("640x480x24");
    ASSERT_EQ(EnumerateMonitors().size(), 1U);
    EXPECT_EQ(EnumerateMonitors()[0].width, 640);
}

TEST(LinuxMonitors, ReconnectsToAServerWithTheSameNumber) {
    auto first = std::make_unique<XServer>("800x600x24");
    const int number = first->Number();
    ASSERT_EQ(EnumerateMonitors().size(), 1U);
    first.reset();
    const XServer second("640x480x24", number);
    ASSERT_EQ(EnumerateMonitors().size(), 1U);
    EXPECT_EQ(EnumerateMonitors()[0].width, 640);
}

TEST(LinuxMonitors, EachThreadHasAConnectionAndClosesIt) {
    const XServer server("800x600x24");
    const auto open = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    ASSERT_EQ(EnumerateMonitors().size(), 1U);
    const auto before = open();
    for (int i = 0; i < 4; ++i) {
        std::thread([] { EXPECT_EQ(EnumerateMonitors().size(), 1U); }).join();
    }
    EXPECT_EQ(open(), before);
}

void WriteText(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

TEST(Adapters, AreTheCardsInTheOrderOfTheirNumbers) {
    const support::TemporaryFolder folder;
    WriteText(folder.Path() / "card10/device/vendor", "0x8086\n");
    WriteText(folder.Path() / "card10/device/device", "0x9a49\n");
    WriteText(folder.Path() / "card2/device/vendor", "0x1002\n");
    WriteText(folder.Path() / "card2/device/device", "0x73bf\n");
    WriteText(folder.Path() / "card2/device/mem_info_vram_total", "17163091968\n");
    WriteText(folder.Path() / "card2-HDMI-A-1/device/vendor", "0x1002\n");
    WriteText(folder.Path() / "renderD128/device/vendor", "0x1002\n");
    std::vector<AdapterRecord> adapters(5);
    ASSERT_TRUE(ReadAdapters(folder.Path(), adapters));
    ASSERT_EQ(adapters.size(), 2U);
    EXPECT_EQ(adapters[0].description, u"AMD graphics (1002:73BF)");
    EXPECT_EQ(adapters[0].vendorId, 0x1002U);
    EXPECT_EQ(adapters[0].dedicatedVideoMemory, 17163091968U);
    EXPECT_TRUE(adapters[0].described);
    EXPECT_FALSE(adapters[0].software);
    EXPECT_EQ(adapters[1].description, u"Intel graphics (8086:9A49)");
    EXPECT_EQ(adapters[1].vendorId, 0x8086U);
    EXPECT_EQ(adapters[1].dedicatedVideoMemory, 0U);
}

TEST(Adapters, EveryKnownVendorHasItsName) {
    const std::pair<const char*, TextView> rows[] = {
        {"0x10de", u"NVIDIA graphics (10DE:0001)"}, {"0x1002", u"AMD graphics (1002:0001)"},
        {"0x1022", u"AMD graphics (1022:0001)"},    {"0x8086", u"Intel graphics (8086:0001)"},
        {"0x1af4", u"Virtio graphics (1AF4:0001)"}, {"0x1234", u"QEMU graphics (1234:0001)"},
        {"0x15ad", u"VMware graphics (15AD:0001)"}, {"0x80ee", u"VirtualBox graphics (80EE:0001)"},
        {"0xbeef", u"PCI graphics (BEEF:0001)"},
    };
    for (const auto& [vendor, description] : rows) {
        const support::TemporaryFolder folder;
        WriteText(folder.Path() / "card0/device/vendor", vendor);
        WriteText(folder.Path() / "card0/device/device", "0x0001");
        std::vector<AdapterRecord> adapters;
        ASSERT_TRUE(ReadAdapters(folder.Path(), adapters));
        ASSERT_EQ(adapters.size(), 1U);
        EXPECT_EQ(adapters[0].description, description);
    }
}

TEST(Adapters, ACardThatIsNotAPciDeviceIsNotDescribed) {
    const support::TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path() / "card0/device");
    WriteText(folder.Path() / "card1/device/vendor", "nonsense");
    WriteText(folder.Path() / "card1/device/device", "0x0001");
    std::vector<AdapterRecord> adapters;
    ASSERT_TRUE(ReadAdapters(folder.Path(), adapters));
    ASSERT_EQ(adapters.size(), 2U);
    EXPECT_FALSE(adapters[0].described);
    EXPECT_FALSE(adapters[1].described);
}

TEST(Adapters, FailsOnAKernelWithoutGraphics) {
    const support::TemporaryFolder folder;
    std::vector<AdapterRecord> adapters(1);
    EXPECT_FALSE(ReadAdapters(folder.Path() / "missing", adapters));
    EXPECT_TRUE(adapters.empty());
    EXPECT_TRUE(ReadAdapters(folder.Path(), adapters));
    EXPECT_TRUE(adapters.empty());
}

}  // namespace
}  // namespace zv
