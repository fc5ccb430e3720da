#include "video/Monitors.h"

#include <gmock/gmock.h>

#include "fake/Monitors.h"

namespace zv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MonitorList : public testing::Test {
protected:
    MonitorList() {
        fake::TheMonitors() = {};
        fake::TheMonitors().monitors = {{u"\\\\.\\DISPLAY2", -1080, 10, 1080, 1920, -1, false},
                                        {u"\\\\.\\DISPLAY1", 0, 0, 2560, 1440, -1, true}};
        fake::TheMonitors().outputs = {Output(u"\\\\.\\DISPLAY1"), Output(u"\\\\.\\DISPLAY2")};
    }

    static OutputRecord Output(const char16_t* name) {
        OutputRecord output;
        output.deviceName = name;
        output.rotation = 1;
        output.described = true;
        output.attached = true;
        return output;
    }
    static std::vector<std::int32_t> Indices() {
        std::vector<std::int32_t> indices;
        for (const MonitorEntry& entry : ListMonitors()) {
            indices.push_back(entry.outputIndex);
        }
        return indices;
    }
};

TEST_F(MonitorList, HasTheSystemsOrderTheRectanglesAndTheOutputsOfTheFirstAdapter) {
    EXPECT_THAT(ListMonitors(), ElementsAre(MonitorEntry{u"\\\\.\\DISPLAY2", -1080, 10, 1080, 1920, 1, false},
                                            MonitorEntry{u"\\\\.\\DISPLAY1", 0, 0, 2560, 1440, 0, true}));
}

TEST_F(MonitorList, WithoutAdaptersNoMonitorHasAnOutput) {
    fake::TheMonitors().outputsFail = true;
    EXPECT_THAT(Indices(), ElementsAre(-1, -1));
}

TEST_F(MonitorList, AMonitorOfTheSecondAdapterIsListedWithoutAnOutput) {
    fake::TheMonitors().outputs = {Output(u"\\\\.\\DISPLAY2")};
    EXPECT_THAT(Indices(), ElementsAre(0, -1));
}

TEST_F(MonitorList, ARotatedMonitorIsListedWithoutAnOutput) {
    for (const std::uint32_t rotation : {0U, 2U, 3U, 4U}) {
        fake::TheMonitors().outputs[0].rotation = rotation;
        EXPECT_THAT(Indices(), ElementsAre(1, -1)) << rotation;
    }
}

TEST_F(MonitorList, AnOutputThatIsNotDescribedOrNotAttachedIsSkipped) {
    fake::TheMonitors().outputs[0].described = false;
    fake::TheMonitors().outputs[1].attached = false;
    EXPECT_THAT(Indices(), ElementsAre(-1, -1));
}

TEST_F(MonitorList, MirroredEntriesOfOneNameShareTheOutput) {
    fake::TheMonitors().monitors = {{u"a", 0, 0, 1, 1, -1, true}, {u"a", 0, 0, 1, 1, -1, false}};
    fake::TheMonitors().outputs = {Output(u"b"), Output(u"a")};
    EXPECT_THAT(Indices(), ElementsAre(1, 1));
}

TEST_F(MonitorList, IsEmptyOnASystemWithoutMonitors) {
    fake::TheMonitors() = {};
    EXPECT_THAT(ListMonitors(), IsEmpty());
    EXPECT_EQ(ResolveMonitor(u""), std::nullopt);
}

TEST_F(MonitorList, AnEmptyNameMeansThePrimaryMonitor) {
    ASSERT_TRUE(ResolveMonitor(u""));
    EXPECT_EQ(ResolveMonitor(u"")->deviceName, u"\\\\.\\DISPLAY1");
    fake::TheMonitors().monitors[1].primary = false;
    EXPECT_EQ(ResolveMonitor(u""), std::nullopt);
}

TEST_F(MonitorList, ANameMatchesTheMonitorOfExactlyThatName) {
    ASSERT_TRUE(ResolveMonitor(u"\\\\.\\DISPLAY2"));
    EXPECT_EQ(ResolveMonitor(u"\\\\.\\DISPLAY2")->left, -1080);
    for (const TextView name : {u"\\\\.\\DISPLAY", u"\\\\.\\DISPLAY22", u"\\\\.\\display2", u"\\\\.\\DISPLAY3"}) {
        EXPECT_EQ(ResolveMonitor(name), std::nullopt) << Narrow(name);
    }
}

TEST_F(MonitorList, IsEnumeratedAtEveryCall) {
    EXPECT_TRUE(ResolveMonitor(u"\\\\.\\DISPLAY2"));
    fake::TheMonitors().monitors.erase(fake::TheMonitors().monitors.begin());
    EXPECT_FALSE(ResolveMonitor(u"\\\\.\\DISPLAY2"));
}

}  // namespace
}  // namespace zv
