// The update check of the program as it ships, by clicks, against a real server.
#include "platform/Canvas.h"
#include "platform/Environment.h"
#include "platform/Folders.h"
#include "support/FileBytes.h"
#include "support/HttpsWeb.h"
#include "ui/kit/Colors.h"
#include "ui/kit/Fonts.h"
#include "windows/ProgramInterface.h"

namespace zv::windows {
namespace {

namespace fs = std::filesystem;

constexpr Rectangle stateBox{248, 297, 1100, 329};
constexpr Rectangle errorBox{248, 297, 1100, 345};
constexpr int comparedWidth = 300;

/// A line of the Updates page.
struct Words {
    Rectangle box;
    Text text;
    Color color;
    FontRole font;
};

Words Error(const Text& text) { return {errorBox, text, color::mutedText, FontRole::Small}; }

class FeedsProgram : public testing::Test {
protected:
    void SetUp() override {
        CreateFonts();
        const fs::path data = ToPath(JoinPath(FolderOf(KnownFolder::LocalData), u"ZVReelsMax"));
        fs::create_directories(data);
        support::WriteBytes(data / "settings.ini",
                            "instantReplay=0\r\nreplayUiVersion=1\r\nnotifications=0\r\nminimizeToTray=0\r\n");
        const fs::path built = ToPath(ExecutableFolder()).parent_path().parent_path() / "zorvel.exe";
        fs::copy_file(built, folder_.Path() / "zorvel.exe");
        support::WriteBytes(folder_.Path() / "wininet.dll", "not a library");
        const Text program = FromPath(folder_.Path() / "zorvel.exe");
        ASSERT_TRUE(SpawnChild({program, u"\"" + program + u"\"", FromPath(folder_.Path() / "log")}, program_));
        ASSERT_TRUE(Eventually([] { return IsShown(mainClass); }));
    }

    static POINT OnClient(int x, int y) {
        POINT at{x, y};
        ClientToScreen(Find(mainClass), &at);
        return at;
    }
    void Check(const std::string& path) const {
        support::WriteBytes(folder_.Path() / "updates.ini",
                            "[Updates]\r\nFeed=" + web_.Address("https", path) + "\r\n");
        RECT client{};
        GetClientRect(Find(mainClass), &client);
        const std::size_t before = web_.Requests().size();
        ASSERT_TRUE(Eventually([&] {
            Click(OnClient(client.right - 100, 130));
            return Eventually([&] { return web_.Requests().size() > before; }, betweenTriesMs);
        }));
    }
    /// Draws the words and compares all pixels of the beginning of the box with the screen.
    static bool Says(const Words& words) {
        const Owned<Canvas> canvas = MakeCanvas(words.box.right, words.box.bottom);
        FillBox(*canvas, {0, 0, words.box.right, words.box.bottom}, color::card);
        DrawTextInBox(*canvas, words.box, words.text, words.color, *FontOf(words.font),
                      words.font == FontRole::Small ? TextLayout::Wrapped : TextLayout::Line);
        const PixelView wanted = PixelsOf(*canvas);
        const std::vector<std::uint32_t> found = Grab(words.box);
        bool any = false;
        for (int i = 0; i < comparedWidth * words.box.Height(); ++i) {
            const int y = words.box.top + i / comparedWidth;
            const std::uint32_t pixel =
                wanted.pixels[y * wanted.width + words.box.left + i % comparedWidth] & 0xFFFFFFU;
            if (pixel != found[static_cast<std::size_t>(i)]) {
                return false;
            }
            any = any || pixel != found[0];
        }
        return any;
    }
    /// The beginning of a box on the screen, 0x00RRGGBB.
    static std::vector<std::uint32_t> Grab(const Rectangle& box) {
        BITMAPINFO info{};
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), comparedWidth, -box.Height(), 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        void* bits = nullptr;
        const HDC screen = GetDC(nullptr);
        const HDC memory = CreateCompatibleDC(screen);
        const HBITMAP bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        const HGDIOBJ before = SelectObject(memory, bitmap);
        const POINT origin = OnClient(box.left, box.top);
        BitBlt(memory, 0, 0, comparedWidth, box.Height(), screen, origin.x, origin.y, SRCCOPY);
        GdiFlush();
        const auto* first = static_cast<const std::uint32_t*>(bits);
        std::vector<std::uint32_t> pixels(first, first + comparedWidth * box.Height());
        std::transform(pixels.begin(), pixels.end(), pixels.begin(),
                       [](std::uint32_t pixel) { return pixel & 0xFFFFFFU; });
        SelectObject(memory, before);
        DeleteObject(bitmap);
        DeleteDC(memory);
        ReleaseDC(nullptr, screen);
        return pixels;
    }
    static bool WaitSays(const Words& words) {
        return Eventually([&] { return Says(words); });
    }

    support::TemporaryFolder folder_;
    support::HttpsWeb web_;
    Child program_;
};

TEST_F(FeedsProgram, TheUpdatesPageSaysWhatTheReleaseFileSays) {
    const Words before{stateBox, u"Press Check now to look for updates.", color::mutedText, FontRole::Body};
    ASSERT_TRUE(Eventually([&] {
        Click(OnClient(95, 316));
        return Eventually([&] { return Says(before); }, betweenTriesMs);
    }));
    Check("/body/Version=4.0%0ADownload=https://d.example");
    EXPECT_TRUE(WaitSays({stateBox, u"New version available: 4.0", color::purple, FontRole::Bold}));
    Check("/body/Version=3.23%0ADownload=https://d.example");
    EXPECT_TRUE(WaitSays({stateBox, u"You are up to date.", color::primaryText, FontRole::Bold}));
    Check("/body/");
    EXPECT_TRUE(WaitSays(Error(u"The update service returned no release information.")));
    Check("/body/Version=4%0ADownload=http://d.example");
    EXPECT_TRUE(WaitSays(Error(u"The update file is missing a version or HTTPS download link.")));
    Check("/nothing/2");
    PostMessageW(Find(mainClass), WM_CLOSE, 0, 0);
    ASSERT_TRUE(WaitForExit(*program_.process, generousMs));
    EXPECT_EQ(ExitCode(*program_.process), 0U);
}

}  // namespace
}  // namespace zv::windows
