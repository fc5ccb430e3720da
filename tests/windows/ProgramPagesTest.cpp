// The pages of the main window as the program ships, used by mouse. What they open is reported by the doubles.
#include <fstream>

#include "windows/ProgramInterface.h"

namespace zv::windows {
namespace {

class ProgramPages : public ProgramInterface {
protected:
    void SetUp() override {
        ProgramInterface::SetUp();
        Setting("instantReplay=0");
        Setting("notifications=0");
    }

    /// A point of the content, counted from its right edge.
    static POINT FromRight(int left, int y) {
        RECT client{};
        GetClientRect(Find(mainClass), &client);
        return OnMainWindow(client.right - 30 - left, y);
    }
    static bool SelectPage(int page) {
        constexpr COLORREF selected = RGB(57, 47, 84);
        const POINT edge = OnMainWindow(24, 128 + 57 * page);
        return ClickUntil(OnMainWindow(95, 145 + 57 * page), [&] {
            SetCursorPos(5, 5);  // away from the button, which has another colour while it is hovered
            return PixelAt(edge) == selected;
        });
    }
    std::vector<std::string> Opened() const {
        std::vector<std::string> opened;
        for (const std::string& note : ReportLines(Report(), "note: ")) {
            const std::size_t at = note.find("opened ");
            if (at != std::string::npos) {
                opened.push_back(note.substr(at + 7));
            }
        }
        return opened;
    }
    bool ClickOpens(POINT at, const std::string& target) const {
        return ClickUntil(at, [&] {
            const std::vector<std::string> opened = Opened();
            return !opened.empty() && opened.back() == target;
        });
    }
    /// Returns true if a line of text is between the columns of the page's card.
    static bool HasText(int top, int bottom) {
        constexpr COLORREF card = RGB(26, 28, 38);
        for (int y = top; y < bottom; y += 2) {
            for (int x = 250; x < 500; x += 2) {
                if (PixelAt(OnMainWindow(x, y)) != card) {
                    return true;
                }
            }
        }
        return false;
    }
};

TEST_F(ProgramPages, OpenPagesFoldersAndTheAboutText) {
    std::filesystem::create_directories(folder_.Path() / "app");
    executable_ = folder_.Path() / "app" / "zorvel.exe";
    std::filesystem::copy_file(BuiltProgram(), executable_);
    std::ofstream(folder_.Path() / "app" / "recommended.ini")
        << "[Card1]\r\nTitle=A card\r\nURL=https://example.org/a?b=c&d\r\n";
    ASSERT_TRUE(Start(u""));
    ASSERT_TRUE(SelectPage(1));
    EXPECT_TRUE(ClickOpens(OnMainWindow(400, 290), "https://example.org/a?b=c&d"));
    ASSERT_TRUE(SelectPage(3));
    EXPECT_FALSE(HasText(367, 410));
    EXPECT_TRUE(ClickUntil(FromRight(80, 130), [] { return HasText(367, 410); }));
    ASSERT_TRUE(SelectPage(4));
    const std::string logs = (std::filesystem::temp_directory_path() / "ZVReelsMax").string();
    EXPECT_TRUE(ClickOpens(OnMainWindow(300, 545), logs + "\\"));
    // The About text is modal to the main window; keys and timers of the program still work.
    ASSERT_TRUE(ClickUntil(FromRight(300, 545), [] { return IsShown(dialogClass); }));
    const HWND about = FindWindowW(dialogClass, L"ZV Reels - About and licenses");
    ASSERT_NE(about, nullptr);
    EXPECT_EQ(GetWindow(about, GW_OWNER), Find(mainClass));
    wchar_t text[64] = {};
    GetDlgItemTextW(about, 0xFFFF, text, 64);
    EXPECT_EQ(std::wstring(text).rfind(L"Zorvel 3.17 preview", 0), 0U);
    EXPECT_TRUE(PressUntil({VK_MENU, 'X'}, [] { return IsShown(overlayClass); }));
    EXPECT_TRUE(PressUntil({VK_MENU, 'X'}, [] { return !IsShown(overlayClass); }));
    PostMessageW(about, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(Eventually([] { return !IsShown(dialogClass); }));
    EXPECT_TRUE(EndProgram());
    EXPECT_TRUE(ReportLines(Report(), "complaint: ").empty());
}

TEST_F(ProgramPages, ChangeSettings) {
    ASSERT_TRUE(Start(u""));
    ASSERT_TRUE(SelectPage(2));
    for (int section = 0; section < 4; ++section) {
        EXPECT_TRUE(ClickUntil(FromRight(60, 159 + 92 * section), [] { return IsShown(overlayClass); }));
        EXPECT_TRUE(PressUntil({VK_MENU, 'X'}, [] { return !IsShown(overlayClass); }));
    }
    EXPECT_TRUE(ClickUntil(OnMainWindow(500, 522), [&] { return HasSetting("minimizeToTray=1"); }));
    EXPECT_TRUE(ClickUntil(OnMainWindow(500, 522), [&] { return HasSetting("minimizeToTray=0"); }));
    ASSERT_TRUE(ClickUntil(OnMainWindow(500, 574), [] { return IsShown(dialogClass); }));
    EXPECT_EQ(GetWindow(Find(dialogClass), GW_OWNER), Find(mainClass));
    PostMessageW(Find(dialogClass), WM_COMMAND, IDCANCEL, 0);
    EXPECT_TRUE(Eventually([] { return !IsShown(dialogClass); }));
    EXPECT_TRUE(HasSetting("instantReplay=0"));
    EXPECT_TRUE(ClickUntil(OnMainWindow(500, 657), [&] { return HasSetting("instantReplay=1"); }));
    EXPECT_TRUE(HasSetting("minimizeToTray=1"));
    EXPECT_TRUE(EventuallyLogs("Zorvel settings restored to defaults"));
    EXPECT_TRUE(Exit());
}

}  // namespace
}  // namespace zv::windows
