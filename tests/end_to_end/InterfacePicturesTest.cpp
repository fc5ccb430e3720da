// Compares the windows of the real program with reviewed pictures, at 100, 150 and 200 % and at the smallest size. The
// pictures are kept as the mean colours of blocks, so that another version of the typeface does not differ, and a box
// that is missing, moved or of another colour does.
//
// With ZV_PICTURES=<folder> the test writes its pictures there, whole and as means, and compares nothing.
#include <png.h>

#include <array>
#include <functional>
#include <sstream>
#include <utility>

#include "support/FileBytes.h"
#include "support/TrayUser.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

/// Smaller blocks in small pictures, so that a word covers many blocks there too.
int BlockSizeOf(const Picture& picture) { return picture.width < 300 ? 8 : 16; }

Picture MeansOf(const Picture& picture) {
    const int blockSize = BlockSizeOf(picture);
    Picture means{picture.width / blockSize, picture.height / blockSize, {}};
    for (int y = 0; y < means.height; ++y) {
        for (int x = 0; x < means.width; ++x) {
            std::array<std::uint32_t, 3> sums{};
            for (int at = 0; at < blockSize * blockSize; ++at) {
                const std::uint32_t pixel = picture.At(x * blockSize + at % blockSize, y * blockSize + at / blockSize);
                for (unsigned channel = 0; channel < 3; ++channel) {
                    sums[channel] += pixel >> 8 * channel & 0xFFU;
                }
            }
            const auto count = static_cast<std::uint32_t>(blockSize * blockSize);
            means.pixels.push_back(sums[0] / count | sums[1] / count << 8U | sums[2] / count << 16U);
        }
    }
    return means;
}

void WritePicture(const Picture& picture, const fs::path& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGB;
    std::vector<std::uint8_t> bytes;
    for (const std::uint32_t pixel : picture.pixels) {
        for (const unsigned shift : {16U, 8U, 0U}) {
            bytes.push_back(static_cast<std::uint8_t>(pixel >> shift));
        }
    }
    EXPECT_NE(png_image_write_to_file(&image, path.c_str(), 0, bytes.data(), 0, nullptr), 0);
}

Picture ReadPicture(const fs::path& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_file(&image, path.c_str()), 0) << path;
    image.format = PNG_FORMAT_RGB;
    std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(image));
    EXPECT_NE(png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr), 0) << path;
    Picture picture{static_cast<int>(image.width), static_cast<int>(image.height), {}};
    for (std::size_t at = 0; at + 2 < bytes.size(); at += 3) {
        picture.pixels.push_back(std::uint32_t{bytes[at]} << 16U | std::uint32_t{bytes[at + 1]} << 8U | bytes[at + 2]);
    }
    return picture;
}

int Distance(std::uint32_t a, std::uint32_t b) {
    int most = 0;
    for (const unsigned shift : {0U, 8U, 16U}) {
        most = std::max(most, std::abs(static_cast<int>(a >> shift & 0xFFU) - static_cast<int>(b >> shift & 0xFFU)));
    }
    return most;
}

/// A block differs if its mean colour is farther than this from the kept one. Another version of the typeface moves the
/// mean of a block by less; a missing letter, label or card moves it by more.
constexpr int blockLimit = 8;
/// A letter that another version of the typeface draws differently. A label is more blocks than this.
constexpr std::size_t blocksThatMayDiffer = 2;

/// The blocks that differ, for a person to read; empty if the pictures are alike.
std::string DifferencesOf(const Picture& means, const Picture& wanted) {
    if (means.width != wanted.width || means.height != wanted.height) {
        return "another size";
    }
    std::size_t count = 0;
    std::ostringstream first;
    for (std::size_t i = 0; i < means.pixels.size(); ++i) {
        const int distance = Distance(means.pixels[i], wanted.pixels[i]);
        if (distance > blockLimit && count++ < 5) {
            const auto width = static_cast<std::size_t>(means.width);
            first << " (" << i % width << "," << i / width << ") by " << distance;
        }
    }
    return count <= blocksThatMayDiffer ? "" : std::to_string(count) + " blocks of another colour:" + first.str();
}

/// Grabs until the blocks match, because the window may still have to paint what the pointer's last move changed.
void ExpectLikeReference(const std::function<Picture()>& grab, const std::string& name) {
    if (const char* folder = std::getenv("ZV_PICTURES")) {
        fs::create_directories(fs::path(folder) / "whole");
        Picture picture = grab();
        EXPECT_TRUE(Eventually([&] {
            const Picture before = std::exchange(picture, grab());
            return picture.pixels == before.pixels;
        }));
        WritePicture(MeansOf(picture), fs::path(folder) / (name + ".png"));
        WritePicture(picture, fs::path(folder) / "whole" / (name + ".png"));
        return;
    }
    const Picture wanted = ReadPicture(fs::path(ZV_PICTURES_FOLDER) / (name + ".png"));
    std::string differences;
    const bool alike = Eventually(
        [&] {
            differences = DifferencesOf(MeansOf(grab()), wanted);
            return differences.empty();
        },
        10000);
    EXPECT_TRUE(alike) << name << ": " << differences;
}

struct Size {
    int percent;
    const char* screen;
};

class InterfacePictures : public testing::TestWithParam<Size> {
protected:
    InterfacePictures() {
        user_.dpi = 96 * GetParam().percent / 100;
        const std::string resources = "Xft.dpi:\t" + std::to_string(user_.dpi) + "\n";
        xcb_change_property(user_.Get(), XCB_PROP_MODE_REPLACE, user_.Root(), XCB_ATOM_RESOURCE_MANAGER,
                            XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(resources.size()), resources.data());
        user_.Sync();
    }
    std::string Name(const std::string& page) const { return page + "-" + std::to_string(GetParam().percent); }
    void Compare(const std::string& window, const std::string& page) const {
        ExpectLikeReference([&] { return user_.Grab(window); }, Name(page));
    }
    void ParkPointer() const { user_.MovePointer(1, 1); }
    bool WaitPage(int page) const {
        user_.Click(mainWindowName, 95, 145 + 57 * page);
        ParkPointer();
        return user_.WaitColor(mainWindowName, 30, 145 + 57 * page, color::buttonSelected);
    }
    void ComparePages(const std::string& prefix) const {
        const char* const pages[] = {"home", "recommended", "desktop-settings", "updates", "help"};
        for (int page = 4; page >= 0; --page) {
            ASSERT_TRUE(WaitPage(page));
            Compare(mainWindowName, prefix + pages[page]);
        }
    }

    PrivateDisplay display_{GetParam().screen};
    InterfaceUser user_{display_.Name()};
};

TEST_P(InterfacePictures, MatchTheReviewedPictures) {
    user_.Cover({0, 0, 4000, 3000}, 0x406080);
    ProgramRun run({.display = display_.Name(), .settings = {{"instantReplay", "0"}}, .background = false});
    const Words paused{{68, 8, 314, 68}, u"Instant replay is paused", color::primaryText, color::toast};
    ASSERT_TRUE(user_.WaitSays(toastName, paused)) << "the notification of a start without replay";
    Compare(toastName, "notification");
    ASSERT_TRUE(user_.WaitShown(mainWindowName));
    ASSERT_TRUE(user_.WaitHidden(toastName));
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(user_.Get(), user_.WindowOf(mainWindowName), XCB_CONFIG_WINDOW_STACK_MODE, &above);
    ASSERT_NO_FATAL_FAILURE(ComparePages(""));

    ASSERT_TRUE(user_.OpenOverlay());
    user_.Click(overlayName, 385, 200);
    ParkPointer();
    ASSERT_TRUE(user_.WaitColor(overlayName, 330, 300, Rgb(24, 19, 34)));
    ASSERT_TRUE(user_.WaitColor(overlayName, 322, 150, color::black));
    Compare(overlayName, "tiles");
    ASSERT_TRUE(user_.OpenSettingsSection(2));
    user_.Click(overlayName, 600, 194);
    ASSERT_TRUE(user_.WaitShown(editorName));
    ASSERT_TRUE(user_.WaitSays(editorName,
                               {{20, 99, 550, 135}, u"Escape cancels without changing your shortcut.", color::purple}));
    Compare(editorName, "editor");
    user_.TapKey(XK_Escape);
    ASSERT_TRUE(user_.CloseOverlay());
    if (GetParam().percent != 100) {
        EXPECT_EQ(run.End(), 0);
        return;
    }
    // Opened from Home, because the overlay reopens on its last page.
    user_.Click(mainWindowName, 1000, 487);
    ASSERT_TRUE(user_.WaitShown(overlayName));
    ParkPointer();
    ASSERT_TRUE(user_.WaitColor(overlayName, 980, 540, Rgb(24, 23, 28)));
    ASSERT_TRUE(user_.WaitColor(overlayName, 32, 105, color::black));
    Compare(overlayName, "gallery");
    ASSERT_TRUE(user_.CloseOverlay());
    // At the smallest size the scale depends on the window, not on the display.
    const std::uint32_t least[] = {900, 600};
    xcb_configure_window(user_.Get(), user_.WindowOf(mainWindowName),
                         XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, least);
    user_.Sync();
    ASSERT_NO_FATAL_FAILURE(ComparePages("smallest-"));
    EXPECT_EQ(run.End(), 0);
}

TEST_P(InterfacePictures, MatchOfTheSettingsPage) {
    constexpr int audio = 1;
    constexpr std::array<const char*, 9> sections{
        "recordings", "audio", "shortcuts", "gallery-location", "connect", "hud", "broadcast", "highlights", "photo"};
    user_.Cover({0, 0, 4000, 3000}, 0x406080);
    ProgramRun run({.display = display_.Name(),
                    .settings = {{"instantReplay", "0"}, {"captureRoot", "/home/player/Videos/Zorvel"}},
                    .variables = {{"PULSE_SERVER", "unix:/nonexistent"}}});
    ASSERT_TRUE(user_.WaitShown(toastName)) << "the notification of a start without replay";
    ASSERT_TRUE(user_.WaitHidden(toastName));
    ASSERT_TRUE(user_.OpenOverlay());
    ASSERT_TRUE(user_.OpenSettingsSection(audio));
    const Words noDevice{
        {173, 286, 835, 314}, u"Windows microphone: No microphone detected", color::mutedText, color::overlayPanel};
    ASSERT_TRUE(user_.WaitSays(overlayName, noDevice)) << "the list of devices";
    user_.Click(overlayName, 236, 142);
    ParkPointer();
    ASSERT_TRUE(user_.WaitColor(overlayName, 172, 180, color::card));
    Compare(overlayName, "settings");
    for (int section = 0; section < static_cast<int>(sections.size()); ++section) {
        ASSERT_TRUE(user_.OpenSettingsSection(section)) << section;
        Compare(overlayName, std::string("settings-") + sections[static_cast<std::size_t>(section)]);
    }
    EXPECT_EQ(run.End(), 0);
}

INSTANTIATE_TEST_SUITE_P(Scaled, InterfacePictures,
                         testing::Values(Size{100, "1280x900"}, Size{150, "1920x1080"}, Size{200, "2560x1440"}),
                         [](const auto& each) { return std::to_string(each.param.percent) + "Percent"; });

// The badge and the menu of the icon, at 100 %.

class SmallPictures : public testing::Test {
protected:
    /// An FFmpeg that joins no clip before the file `gate_` exists.
    std::string SlowToJoin() const {
        const fs::path script = folder_.Path() / "slow-to-join";
        WriteBytes(script, "#!/bin/sh\ncase \"$*\" in *input.ffconcat*) while [ ! -e '" + gate_.string() +
                               "' ]; do sleep 0.1; done ;; esac\nexec ffmpeg \"$@\"\n");
        fs::permissions(script, fs::perms::owner_all);
        return script.string();
    }
    bool WaitBadge(const Text& state, Color color) const {
        return user_.WaitSays(badgeName, {.box = {45, 0, 87, 32},
                                          .text = state,
                                          .color = color,
                                          .background = color::badge,
                                          .layout = TextLayout::CentredLine});
    }
    void Compare(const std::string& name) const {
        ExpectLikeReference([&] { return user_.Grab(badgeName); }, name);
    }

    TemporaryFolder folder_{"zorvel-pictures"};
    fs::path gate_ = folder_.Path() / "gate";
    PrivateDisplay display_{"1280x900"};
    InterfaceUser user_{display_.Name()};
};

TEST_F(SmallPictures, TheBadgeMatchesInEachState) {
    user_.SetFocus(user_.CoverAsGame({0, 0, 1280, 900}, 0x406080));
    ProgramRun run({.display = display_.Name(), .variables = {{"ZV_FFMPEG", SlowToJoin()}}});
    ASSERT_TRUE(run.WaitForBuffer(3));
    ASSERT_TRUE(user_.WaitShown(badgeName));
    EXPECT_TRUE(WaitBadge(u"ON", color::purple));
    Compare("badge-on-100");
    user_.TapKey({XK_Alt_L}, XK_F10);
    EXPECT_TRUE(WaitBadge(u"...", color::purple));
    Compare("badge-busy-100");
    WriteBytes(gate_, "");
    ASSERT_TRUE(run.WaitForActivity("Replay saved: ").has_value());
    user_.TapKey({XK_Control_L, XK_Alt_L}, XK_r);
    EXPECT_TRUE(WaitBadge(u"REC", color::badgeRecording));
    ASSERT_TRUE(user_.WaitHidden(toastName)) << "it may cover the badge";
    Compare("badge-recording-100");
    EXPECT_EQ(run.End(), 0);
}

TEST_F(SmallPictures, TheMenuOfTheIconMatches) {
    user_.Cover({0, 0, 1280, 900}, 0x406080);
    TrayUser tray(display_.Name(), user_);
    tray.StartTray();
    ProgramRun run({.display = display_.Name(), .settings = {{"instantReplay", "0"}}});
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    ASSERT_TRUE(tray.WaitIcon());
    ASSERT_TRUE(tray.OpenMenu(3));
    user_.TapKey(XK_Down);
    user_.TapKey(XK_Down);
    ASSERT_TRUE(Eventually([&] { return tray.MenuSays(1, u"Save Clip (Alt + F10)", TrayUser::chosenColor); }));
    ExpectLikeReference([&] { return user_.Grab(tray.Menu()); }, "menu-100");
    user_.TapKey(XK_Escape);
    EXPECT_TRUE(tray.WaitNoMenu());
    EXPECT_EQ(run.End(), 0);
}

}  // namespace
}  // namespace zv
