// How the pages name the captured monitor, and when the name is looked up.
#include "ui/state/MonitorLabel.h"

#include "ui/Interface.h"

namespace zv {
namespace {

class MonitorLabels : public Interface {
protected:
    MonitorLabels() {
        fake::TheMonitors().monitors = {{u"\\\\.\\DISPLAY2", -1080, 0, 1080, 1920, -1, false},
                                        {u"\\\\.\\DISPLAY1", 0, 0, 2560, 1440, -1, true}};
    }
    static Text LabelOf(const Text& device) {
        CurrentSettings().monitorDevice = device;
        Ui().monitorLabel.clear();
        return MonitorLabel();
    }
};

TEST_F(MonitorLabels, ContainTheDeviceTheSizeAndThePrimaryMark) {
    EXPECT_EQ(LabelOf(u"\\\\.\\DISPLAY1"), u"DISPLAY1  /  2560 x 1440  (primary)");
    EXPECT_EQ(LabelOf(u"\\\\.\\DISPLAY2"), u"DISPLAY2  /  1080 x 1920");
    EXPECT_EQ(LabelOf(u""), u"DISPLAY1  /  2560 x 1440  (primary)");
    fake::TheMonitors().monitors = {{u"HDMI-1", 0, 0, 1920, 1080, -1, false}};
    EXPECT_EQ(LabelOf(u"HDMI-1"), u"HDMI-1  /  1920 x 1080");
}

TEST_F(MonitorLabels, AreCachedUntilTheyAreCleared) {
    EXPECT_EQ(LabelOf(u"\\\\.\\DISPLAY2"), u"DISPLAY2  /  1080 x 1920");
    CurrentSettings().monitorDevice = u"\\\\.\\DISPLAY1";
    EXPECT_EQ(MonitorLabel(), u"DISPLAY2  /  1080 x 1920");
    EXPECT_EQ(fake::CountOf("EnumerateMonitors"), 1);
    Ui().monitorLabel.clear();
    EXPECT_EQ(MonitorLabel(), u"DISPLAY1  /  2560 x 1440  (primary)");
}

TEST_F(MonitorLabels, ReportADisconnectedMonitorAndFindItAgain) {
    EXPECT_EQ(LabelOf(u"\\\\.\\DISPLAY3"), u"Monitor disconnected");
    EXPECT_EQ(Ui().monitorLabel, u"");
    fake::TheMonitors().monitors.push_back({u"\\\\.\\DISPLAY3", 0, 0, 800, 600, -1, false});
    EXPECT_EQ(MonitorLabel(), u"DISPLAY3  /  800 x 600");
}

TEST_F(MonitorLabels, ReportADisconnectedMonitorWithoutAPrimaryOne) {
    fake::TheMonitors().monitors = {{u"HDMI-1", 0, 0, 1920, 1080, -1, false}};
    EXPECT_EQ(LabelOf(u""), u"Monitor disconnected");
}

}  // namespace
}  // namespace zv
