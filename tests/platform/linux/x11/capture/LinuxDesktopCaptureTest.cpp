// The duplication of a real X screen. Each test has a private server.
#include <errno.h>
#include <gtest/gtest.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/DesktopCapture.h"
#include "platform/linux/x11/RandrMonitors.h"
#include "platform/linux/x11/Xcb.h"
#include "platform/software/Surface.h"
#include "support/PrivateDisplay.h"
#include "support/XServer.h"

namespace zv {
namespace {

/// Another client that draws on the screen.
class Drawer {
public:
    Drawer() : connection_(xcb_connect(nullptr, nullptr)) {
        screen_ = x11::ScreenOf(connection_.get(), 0);
        context_ = xcb_generate_id(connection_.get());
        const std::uint32_t values[] = {0, XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS};
        xcb_create_gc(connection_.get(), context_, screen_->root, XCB_GC_FOREGROUND | XCB_GC_SUBWINDOW_MODE, values);
    }
    void Fill(const Rectangle& part, std::uint32_t color) {
        const xcb_rectangle_t rectangle{static_cast<std::int16_t>(part.left), static_cast<std::int16_t>(part.top),
                                        static_cast<std::uint16_t>(part.right - part.left),
                                        static_cast<std::uint16_t>(part.bottom - part.top)};
        xcb_change_gc(connection_.get(), context_, XCB_GC_FOREGROUND, &color);
        xcb_poly_fill_rectangle(connection_.get(), screen_->root, context_, 1, &rectangle);
        Synchronize();
    }
    /// Returns when the server has executed all requests.
    void Synchronize() {
        std::free(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
    }

private:
    x11::Connection connection_;
    const xcb_screen_t* screen_ = nullptr;
    xcb_gcontext_t context_ = 0;
};

struct DesktopOnX : testing::Test {
    void Start(const std::string& screen) {
        server = std::make_unique<support::XServer>(screen);
        ASSERT_EQ(OpenGraphicsFactory(factory), resultOk);
        drawer = std::make_unique<Drawer>();
    }
    void Open(std::uint32_t index = 0) {
        ASSERT_EQ(LookUpOutput(*factory, 0, index, record, output), OutputLookup::Found);
        ASSERT_EQ(MakeGraphicsDevice(*output, device), resultOk);
        ASSERT_EQ(OpenDuplication(*device, *output, duplication), resultOk);
        ASSERT_EQ(MakeCaptureSurface(*device, static_cast<std::uint32_t>(record.bounds.right - record.bounds.left),
                                     static_cast<std::uint32_t>(record.bounds.bottom - record.bounds.top), surface),
                  resultOk);
    }
    /// Acquires and copies the next image.
    Acquire AcquireAndCopy(std::uint32_t timeoutMs) {
        Owned<DesktopImage> image;
        const Acquire outcome = AcquireImage(*duplication, timeoutMs, image, code);
        if (outcome == Acquire::Acquired) {
            EXPECT_EQ(UpdateSurface(*device, *image, *surface), resultOk);
            ReleaseImage(*duplication);
        }
        return outcome;
    }
    /// Acquires images until one fails, as a capture does at each tick.
    Acquire AcquireUntilFailure() {
        for (int tries = 0; tries < 3000; ++tries) {
            if (AcquireAndCopy(20) == Acquire::Failed) {
                return Acquire::Failed;
            }
        }
        return Acquire::Timeout;
    }
    std::uint32_t Pixel(int x, int y) const {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, surface->pixels + static_cast<std::size_t>(y) * surface->stride + 4 * x, 4);
        return pixel & 0xFFFFFFU;
    }
    /// Counts the pixels of that colour in a part.
    int Count(const Rectangle& part, std::uint32_t color) const {
        int count = 0;
        for (int y = part.top; y < part.bottom; ++y) {
            for (int x = part.left; x < part.right; ++x) {
                count += Pixel(x, y) == color ? 1 : 0;
            }
        }
        return count;
    }

    std::unique_ptr<support::XServer> server;
    Owned<GraphicsFactory> factory;
    std::unique_ptr<Drawer> drawer;
    OutputRecord record;
    Owned<GraphicsOutput> output;
    Owned<GraphicsDevice> device;
    Owned<DesktopDuplication> duplication;
    Owned<Surface> surface;
    Result code = resultOk;
};

TEST_F(DesktopOnX, IsOneOutputOfTheFirstAdapter) {
    Start("640x480x24");
    ASSERT_EQ(LookUpOutput(*factory, 0, 0, record, output), OutputLookup::Found);
    EXPECT_EQ(record.deviceName, u"screen");
    EXPECT_EQ(record.bounds.right - record.bounds.left, 640);
    EXPECT_EQ(record.bounds.bottom - record.bounds.top, 480);
    EXPECT_TRUE(record.described);
    EXPECT_TRUE(record.attached);
    EXPECT_LE(record.rotation, 1U);
    EXPECT_EQ(LookUpOutput(*factory, 0, 1, record, output, &code), OutputLookup::NoOutput);
    EXPECT_EQ(code, resultNotFound);
    code = resultOk;
    EXPECT_EQ(LookUpOutput(*factory, 1, 0, record, output, &code), OutputLookup::NoAdapter);
    EXPECT_EQ(code, resultNotFound);
}

TEST_F(DesktopOnX, IsDeliveredWholeAtOnceAndThenOnlyWhenItChanges) {
    Start("640x480x24");
    drawer->Fill({0, 0, 640, 480}, 0x102030);
    drawer->Fill({100, 50, 300, 250}, 0xC08040);
    Open();
    ASSERT_EQ(AcquireAndCopy(0), Acquire::Acquired);
    EXPECT_EQ(Count({100, 50, 300, 250}, 0xC08040), 200 * 200);
    EXPECT_EQ(Count({0, 0, 640, 480}, 0x102030), 640 * 480 - 200 * 200);
    EXPECT_EQ(AcquireAndCopy(0), Acquire::Timeout);
    EXPECT_EQ(AcquireAndCopy(20), Acquire::Timeout);
    drawer->Fill({10, 400, 20, 410}, 0xFFFFFF);
    ASSERT_EQ(AcquireAndCopy(5000), Acquire::Acquired);
    EXPECT_EQ(Count({0, 0, 640, 480}, 0xFFFFFF), 100);
    EXPECT_EQ(Count({10, 400, 20, 410}, 0xFFFFFF), 100);
    EXPECT_EQ(AcquireAndCopy(0), Acquire::Timeout);
}

TEST_F(DesktopOnX, ReportsTheChangedPart) {
    Start("640x480x24");
    Open();
    ASSERT_EQ(AcquireAndCopy(0), Acquire::Acquired);
    surface->changed.Clear();
    drawer->Fill({33, 44, 55, 66}, 0xABCDEF);
    ASSERT_EQ(AcquireAndCopy(5000), Acquire::Acquired);
    ASSERT_EQ(surface->changed.Rectangles().size(), 1U);
    EXPECT_EQ(surface->changed.Rectangles()[0], (Rectangle{33, 44, 55, 66}));
}

TEST_F(DesktopOnX, DeliversManySmallChanges) {
    Start("640x480x24");
    Open();
    ASSERT_EQ(AcquireAndCopy(0), Acquire::Acquired);
    for (int index = 0; index < 40; ++index) {
        drawer->Fill({index * 16, index * 12, index * 16 + 4, index * 12 + 4}, 0x00FF00);
    }
    ASSERT_EQ(AcquireAndCopy(5000), Acquire::Acquired);
    while (AcquireAndCopy(0) == Acquire::Acquired) {
    }
    EXPECT_EQ(Count({0, 0, 640, 480}, 0x00FF00), 40 * 16);
}

TEST_F(DesktopOnX, WaitsForAChangeUntilTheTimeout) {
    Start("640x480x24");
    Open();
    ASSERT_EQ(AcquireAndCopy(0), Acquire::Acquired);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(AcquireAndCopy(60), Acquire::Timeout);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(59));
}

TEST_F(DesktopOnX, SharesItsMemoryWithACaptureSurfaceOfTheSameSize) {
    Start("640x480x24");
    Open();
    EXPECT_EQ(surface->pixels, device->duplicated.memory.get());
    Owned<Surface> other;
    ASSERT_EQ(MakeCaptureSurface(*device, 320, 240, other), resultOk);
    EXPECT_NE(other->pixels, device->duplicated.memory.get());
}

TEST_F(DesktopOnX, FailsToAcquireWhileAnImageIsHeld) {
    Start("640x480x24");
    Open();
    Owned<DesktopImage> image;
    ASSERT_EQ(AcquireImage(*duplication, 0, image, code), Acquire::Acquired);
    EXPECT_EQ(AcquireImage(*duplication, 0, image, code), Acquire::Failed);
    EXPECT_EQ(CodeOf(code), 0x887A0001U);
    ReleaseImage(*duplication);
    EXPECT_EQ(AcquireAndCopy(0), Acquire::Timeout);
}

TEST_F(DesktopOnX, FailsWithACodeWhenTheServerIsKilled) {
    Start("640x480x24");
    Open();
    ASSERT_EQ(AcquireAndCopy(0), Acquire::Acquired);
    server->Kill();
    EXPECT_EQ(AcquireUntilFailure(), Acquire::Failed);
    EXPECT_EQ(CodeOf(code), 0x80070000U | EPIPE);
    duplication.reset();
    EXPECT_EQ(CodeOf(MakeGraphicsDevice(*output, device)), 0x80070000U | EPIPE);
    EXPECT_EQ(LookUpOutput(*factory, 0, 0, record, output, &code), OutputLookup::NoOutput);
    EXPECT_EQ(CodeOf(code), 0x80070000U | EPIPE);
    EXPECT_NE(OpenGraphicsFactory(factory), resultOk);
}

TEST_F(DesktopOnX, StopsWaitingWhenTheServerIsKilled) {
    Start("640x480x24");
    Open();
    ASSERT_EQ(AcquireAndCopy(0), Acquire::Acquired);
    server->Kill();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(AcquireAndCopy(60000), Acquire::Failed);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

struct ChangingDesktop : DesktopOnX {
    void SetUp() override {
        setenv("DISPLAY", display.Name().c_str(), 1);
        ASSERT_EQ(OpenGraphicsFactory(factory), resultOk);
        Open();
    }
    void Resize(const char* size) const { display.Change({"--output", "DUMMY0", "--mode", size}); }
    support::PrivateDisplay display{"1280x1024", support::DisplayKind::Changeable};
};

TEST_F(ChangingDesktop, EndsTheCaptureWhenTheMonitorShrinks) {
    ASSERT_EQ(AcquireAndCopy(0), Acquire::Acquired);
    Resize("1024x768");
    EXPECT_EQ(AcquireUntilFailure(), Acquire::Failed);
    EXPECT_EQ(CodeOf(code), 0x80070000U | ESTALE);
}

TEST_F(ChangingDesktop, EndsTheCaptureWhenTheMonitorGrows) {
    ASSERT_EQ(AcquireAndCopy(0), Acquire::Acquired);
    Resize("1920x1080");
    EXPECT_EQ(AcquireUntilFailure(), Acquire::Failed) << "the old part of the screen can still be grabbed";
    EXPECT_EQ(CodeOf(code), 0x80070000U | ESTALE);
}

TEST_F(ChangingDesktop, EndsTheCaptureWhenTheMonitorChangedBeforeTheFirstImage) {
    Resize("1920x1080");
    EXPECT_EQ(AcquireAndCopy(0), Acquire::Failed);
    EXPECT_EQ(CodeOf(code), 0x80070000U | ESTALE);
}

TEST_F(ChangingDesktop, EndsTheCaptureWhenTheMonitorChangedBetweenItsChoiceAndItsDuplication) {
    // A new connection, which has not selected any events yet.
    duplication.reset();
    ASSERT_EQ(OpenGraphicsFactory(factory), resultOk);
    ASSERT_EQ(LookUpOutput(*factory, 0, 0, record, output), OutputLookup::Found);
    ASSERT_EQ(MakeGraphicsDevice(*output, device), resultOk);
    Resize("1920x1080");
    ASSERT_EQ(OpenDuplication(*device, *output, duplication), resultOk);
    EXPECT_EQ(AcquireAndCopy(0), Acquire::Failed);
    EXPECT_EQ(CodeOf(code), 0x80070000U | ESTALE);
}

TEST_F(ChangingDesktop, EndsTheCaptureWhenTheMonitorIsRemoved) {
    ASSERT_EQ(AcquireAndCopy(0), Acquire::Acquired);
    display.Change({"--setmonitor", "OTHER", "auto", "DUMMY0"});
    Resize("1920x1080");
    EXPECT_EQ(AcquireUntilFailure(), Acquire::Failed);
    EXPECT_EQ(CodeOf(code), 0x80070000U | ENODEV);
}

TEST_F(ChangingDesktop, DeliversOnlyItsMonitorsPartOfTheScreen) {
    duplication.reset();
    display.Change({"--setmonitor", "right", "500/100x400/100+300+100", "DUMMY0"});
    drawer = std::make_unique<Drawer>();
    Open();
    ASSERT_EQ(record.deviceName, u"right");
    EXPECT_EQ(record.bounds.left, 300);
    EXPECT_EQ(record.bounds.bottom, 500);
    ASSERT_EQ(AcquireAndCopy(0), Acquire::Acquired);
    drawer->Fill({0, 0, 300, 600}, 0x0000FF);
    EXPECT_EQ(AcquireAndCopy(30), Acquire::Timeout) << "another monitor's change is not this one's";
    drawer->Fill({290, 90, 310, 110}, 0xFF0000);
    ASSERT_EQ(AcquireAndCopy(5000), Acquire::Acquired);
    EXPECT_EQ(Count({0, 0, 10, 10}, 0xFF0000), 100);
    EXPECT_EQ(Count({0, 0, 500, 400}, 0xFF0000), 100);
}

struct UnsupportedDesktop : DesktopOnX, testing::WithParamInterface<const char*> {};

TEST_P(UnsupportedDesktop, FailsToOpenADuplication) {
    Start(GetParam());
    ASSERT_EQ(LookUpOutput(*factory, 0, 0, record, output), OutputLookup::Found);
    ASSERT_EQ(MakeGraphicsDevice(*output, device), resultOk);
    EXPECT_EQ(CodeOf(OpenDuplication(*device, *output, duplication)), 0x80070000U | EOPNOTSUPP);
    EXPECT_EQ(duplication, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Depths, UnsupportedDesktop, testing::Values("640x480x16", "640x480x30"),
                         [](const auto& row) { return "Depth" + std::string(row.param).substr(8); });

TEST(DesktopWithoutAServer, CannotBeOpened) {
    setenv("DISPLAY", ":59999", 1);
    Owned<GraphicsFactory> factory;
    EXPECT_EQ(CodeOf(OpenGraphicsFactory(factory)), 0x80070000U | ECONNREFUSED);
    EXPECT_EQ(factory, nullptr);
}

}  // namespace
}  // namespace zv
