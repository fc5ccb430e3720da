#include "video/Capabilities.h"

#include <gmock/gmock.h>

#include "fake/Monitors.h"

namespace zv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Capabilities : public testing::Test {
protected:
    Capabilities() { fake::TheMonitors() = {}; }

    static CapabilityReport Detected(std::vector<AdapterRecord> adapters) {
        fake::TheMonitors().adapters = std::move(adapters);
        CapabilityReport report;
        DetectCapabilities(report);
        return report;
    }
    static AdapterRecord Adapter(std::uint32_t vendorId) { return {u"card", vendorId, 1, true, false}; }

    static std::vector<EncoderChoice> Table(bool nvidia, bool amd, bool intel) {
        return {{u"NVIDIA NVENC", true, nvidia},
                {u"AMD AMF", true, amd},
                {u"Intel Quick Sync", true, intel},
                {u"Software fallback", false, true}};
    }
};

TEST_F(Capabilities, WithoutAnAdapterOnlyTheSoftwareFallbackIsListed) {
    const CapabilityReport report = Detected({});
    EXPECT_THAT(report.adapters, IsEmpty());
    EXPECT_EQ(report.encoders, Table(false, false, false));
}

TEST_F(Capabilities, AdaptersThatCannotBeListedCountAsNone) {
    fake::TheMonitors().adaptersFail = true;
    const CapabilityReport report = Detected({Adapter(0x10DE)});
    EXPECT_THAT(report.adapters, IsEmpty());
    EXPECT_EQ(report.encoders, Table(false, false, false));
    EXPECT_TRUE(report.detected);
}

TEST_F(Capabilities, AnAdapterIsDescribedWithItsMemoryAndItsVendor) {
    const CapabilityReport report = Detected({{u"First", 0x10DE, 8589934592U, true, false}});
    EXPECT_THAT(report.adapters, ElementsAre(AdapterInfo{u"First", 0x10DE, 8589934592U, true, false, false}));
}

TEST_F(Capabilities, EveryVendorNumberMakesItsRowAvailable) {
    EXPECT_EQ(Detected({Adapter(0x10DE)}).encoders, Table(true, false, false));
    EXPECT_EQ(Detected({Adapter(0x1002)}).encoders, Table(false, true, false));
    EXPECT_EQ(Detected({Adapter(0x1022)}).encoders, Table(false, true, false));
    EXPECT_EQ(Detected({Adapter(0x8086)}).encoders, Table(false, false, true));
    EXPECT_EQ(Detected({Adapter(0x1234)}).encoders, Table(false, false, false));
}

TEST_F(Capabilities, TwoVendorsMakeBothRowsAvailable) {
    const CapabilityReport report = Detected({Adapter(0x10DE), Adapter(0x8086)});
    EXPECT_EQ(report.encoders, Table(true, false, true));
    EXPECT_EQ(report.adapters.size(), 2U);
}

TEST_F(Capabilities, ASoftwareAdapterIsNotListed) {
    AdapterRecord software = Adapter(0x1414);
    software.software = true;
    EXPECT_THAT(Detected({software}).adapters, IsEmpty());
}

TEST_F(Capabilities, AnAdapterWithoutADescriptionIsLeftOutAndTheNextOneStays) {
    AdapterRecord unreadable = Adapter(0x10DE);
    unreadable.described = false;
    const CapabilityReport report = Detected({unreadable, Adapter(0x8086)});
    EXPECT_EQ(report.adapters.size(), 1U);
    EXPECT_EQ(report.encoders, Table(false, false, true));
}

TEST_F(Capabilities, ASecondDetectionReplacesTheFirst) {
    CapabilityReport report = Detected({Adapter(0x10DE)});
    fake::TheMonitors().adapters = {Adapter(0x8086)};
    DetectCapabilities(report);
    EXPECT_EQ(report.adapters.size(), 1U);
    EXPECT_EQ(report.encoders, Table(false, false, true));
}

TEST_F(Capabilities, TheDetectionSetsTheDefaultReplayLength) {
    EXPECT_FALSE(CurrentCapabilities().detected);
    const CapabilityReport report = Detected({});
    EXPECT_TRUE(report.detected);
    EXPECT_EQ(report.replaySeconds, 60U);
}

}  // namespace
}  // namespace zv
