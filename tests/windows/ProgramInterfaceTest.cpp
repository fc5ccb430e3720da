// The interface of the program as it ships: the properties of its windows, and their use by mouse and keyboard from
// another program.
#include "windows/ObjectCounts.h"
#include "windows/ProgramInterface.h"
#include "windows/ScreenPattern.h"
//
#include <shellapi.h>

namespace zv::windows {
namespace {

// The windows.

struct ExpectedWindow {
    const wchar_t* className;
    const wchar_t* title;
    DWORD style;
    DWORD extendedStyle;
    Point size;
};

constexpr DWORD overTheGame = WS_EX_TOPMOST | WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE;

constexpr ExpectedWindow expectedWindows[] = {
    {mainClass, L"Zorvel", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, {1220, 800}},
    {overlayClass, L"Zorvel Quick Overlay", WS_POPUP, overTheGame | WS_EX_LAYERED, {1010, 568}},
    {badgeClass, L"ZV capture indicator", WS_POPUP, overTheGame | WS_EX_TRANSPARENT | WS_EX_LAYERED, {90, 32}},
    {toastClass, L"Zorvel notification", WS_POPUP, overTheGame | WS_EX_TRANSPARENT | WS_EX_LAYERED, {330, 76}},
};

void ExpectWindow(const ExpectedWindow& expected) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(expected.className)));
    const HWND window = Find(expected.className);
    ASSERT_NE(window, nullptr);
    wchar_t title[64] = {};
    GetWindowTextW(window, title, 64);
    EXPECT_STREQ(title, expected.title);
    // The system adds these by itself.
    EXPECT_EQ(static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE)) & ~DWORD{WS_CLIPSIBLINGS}, expected.style);
    EXPECT_EQ(static_cast<DWORD>(GetWindowLongPtrW(window, GWL_EXSTYLE)) & ~DWORD{WS_EX_WINDOWEDGE},
              expected.extendedStyle);
    EXPECT_EQ(BoundsOf(window).Width(), expected.size.x);
    EXPECT_EQ(BoundsOf(window).Height(), expected.size.y);
    EXPECT_EQ(GetWindow(window, GW_OWNER), nullptr);
    EXPECT_EQ(GetClassLongPtrW(window, GCL_STYLE), 0U);
    EXPECT_EQ(GetClassLongPtrW(window, GCLP_HBRBACKGROUND), 0U);
}

struct Layering {
    COLORREF key = 0;
    BYTE alpha = 0;
    DWORD flags = 0;
};

Layering LayeringOf(const wchar_t* className) {
    Layering layering;
    EXPECT_NE(GetLayeredWindowAttributes(Find(className), &layering.key, &layering.alpha, &layering.flags), FALSE);
    return layering;
}

TEST_F(ProgramInterface, ItsWindowsHaveTheirNamesStylesAndBounds) {
    Setting("instantReplay=0");
    Setting("notifications=0");
    ASSERT_TRUE(Start(u""));
    for (const ExpectedWindow& expected : expectedWindows) {
        ExpectWindow(expected);
    }
    EXPECT_EQ(BoundsOf(Find(overlayClass)).left, 100);
    EXPECT_EQ(BoundsOf(Find(overlayClass)).top, 100);
    const Layering overlay = LayeringOf(overlayClass);
    EXPECT_EQ(overlay.flags, DWORD{LWA_COLORKEY});
    EXPECT_EQ(overlay.key, RGB(1, 2, 3));
    const Layering badge = LayeringOf(badgeClass);
    EXPECT_EQ(badge.flags, DWORD{LWA_ALPHA});
    EXPECT_EQ(badge.alpha, 225);
    const Layering toast = LayeringOf(toastClass);
    EXPECT_EQ(toast.flags, DWORD{LWA_ALPHA});
    EXPECT_EQ(toast.alpha, 255);
    // The taskbar identity was set before the first window was created.
    const std::vector<std::string> notes = ReportLines(Report(), "note: ");
    EXPECT_NE(std::find(notes.begin(), notes.end(), "dxgi: taskbar identity Zorvel.Capture.3.23"), notes.end());
    EXPECT_TRUE(EndProgram());
    EXPECT_TRUE(ReportLines(Report(), "complaint: ").empty());
}

// The overlay over a game.

TEST_F(ProgramInterface, TheOverlayLiesOverAGameThatKeepsTheKeyboard) {
    Setting("instantReplay=0");
    ASSERT_TRUE(Start());
    for (const ExpectedWindow& expected : expectedWindows) {
        EXPECT_TRUE(!IsShown(expected.className) || expected.className == toastClass);
    }
    const Game game;
    OpenOverlay();
    EXPECT_EQ(BoundsOf(Find(overlayClass)), (Rectangle{0, 0, 1920, 1079}));
    EXPECT_NE(GetWindowLongPtrW(Find(overlayClass), GWL_EXSTYLE) & WS_EX_TOPMOST, 0);
    EXPECT_EQ(GetForegroundWindow(), game.Window());
    EXPECT_FALSE(IsShown(mainClass));
    PressKeys({'G'});
    EXPECT_TRUE(Eventually([&] { return game.LastKey() == 'G'; }));

    // The game shows through between the tiles and below them.
    EXPECT_TRUE(Eventually([] { return PixelAt(OnOverlay(310, 150)) == Game::color; }));
    EXPECT_TRUE(Eventually([] { return PixelAt(OnOverlay(500, 450)) == Game::color; }));
    EXPECT_TRUE(Eventually([] { return PixelAt(OnOverlay(460, 190)) == black; }));
    // It also receives the clicks there: a transparent pixel may still block them as long as it belongs to the overlay.
    EXPECT_TRUE(ClickUntil(OnOverlay(310, 150), [&] { return game.Clicks() > 0; }));
    const int clicks = game.Clicks();

    // A click opens and closes the panel, and does not reach the game.
    const COLORREF panel = RGB(24, 19, 34);
    Click(OnOverlay(330, 150));
    EXPECT_TRUE(Eventually([&] { return PixelAt(OnOverlay(600, 260)) == panel; }));
    EXPECT_EQ(GetForegroundWindow(), game.Window());
    Click(OnOverlay(680, 247));
    EXPECT_TRUE(Eventually([&] { return PixelAt(OnOverlay(600, 260)) == Game::color; }));
    EXPECT_EQ(game.Clicks(), clicks);
    RightClick(OnOverlay(200, 23));
    EXPECT_TRUE(Eventually([] { return !IsShown(overlayClass); }));
    OpenOverlay();
    Click(OnOverlay(995, 23));
    EXPECT_TRUE(Eventually([] { return !IsShown(overlayClass); }));
    OpenOverlay();
    EXPECT_TRUE(PressUntil({VK_MENU, 'X'}, [] { return !IsShown(overlayClass); }));
    EXPECT_EQ(GetForegroundWindow(), game.Window());

    OpenOverlay();
    Click(OnOverlay(234, 195));
    EXPECT_TRUE(Eventually([] { return GetForegroundWindow() == Find(mainClass); }));
    EXPECT_TRUE(IsShown(mainClass));
    EXPECT_FALSE(IsShown(overlayClass));
    EXPECT_TRUE(EndProgram());
}

TEST_F(ProgramInterface, APressOnATileThatIsReleasedOverTheGameEnds) {
    Setting("instantReplay=0");
    ASSERT_TRUE(Start());
    const Game game;
    OpenOverlay();
    const COLORREF pressed = RGB(38, 25, 58);
    const COLORREF panel = RGB(24, 19, 34);
    const POINT tile = OnOverlay(330, 150);
    const POINT outside = OnOverlay(500, 450);
    SendAll({ButtonInput(tile, MOUSEEVENTF_LEFTDOWN)});
    ASSERT_TRUE(Eventually([&] { return PixelAt(tile) == pressed; }));
    SendAll({ButtonInput(outside, MOUSEEVENTF_LEFTUP)});
    SendAll({ButtonInput(tile, 0)});
    EXPECT_TRUE(Eventually([&] { return PixelAt(tile) == black; }));
    // A press in the game that ends on the tile does not run its action: the next click on it opens the panel.
    SendAll({ButtonInput(outside, MOUSEEVENTF_LEFTDOWN)});
    EXPECT_TRUE(Eventually([&] { return game.Clicks() == 1; }));
    SendAll({ButtonInput(tile, 0), ButtonInput(tile, MOUSEEVENTF_LEFTUP)});
    Click(tile);
    EXPECT_TRUE(Eventually([&] { return PixelAt(OnOverlay(600, 260)) == panel; }));
    EXPECT_TRUE(EndProgram());
}

TEST_F(ProgramInterface, ClicksOnANotificationReachTheGame) {
    Setting("instantReplay=0");
    ASSERT_TRUE(Start());
    const Game game;
    bool clicked = false;
    for (int attempt = 0; attempt < 10 && !clicked; ++attempt) {
        ASSERT_TRUE(PressUntil({VK_MENU, VK_F10}, [] { return IsShown(toastClass); }));
        const Rectangle toast = BoundsOf(Find(toastClass));
        const auto painted = [&] { return PixelAt({toast.left + 200, toast.top + 4}) == RGB(35, 34, 39); };
        const auto reachesTheGame = [&, before = game.Clicks()] { return game.Clicks() > before; };
        clicked = Eventually(painted, betweenTriesMs);
        Click({toast.left + 200, toast.top + 40});
        // Counts only if the notification was there all the time.
        clicked = Eventually(reachesTheGame, betweenTriesMs) && clicked && IsShown(toastClass);
    }
    EXPECT_TRUE(clicked);
    EXPECT_EQ(GetForegroundWindow(), game.Window());
    EXPECT_TRUE(EndProgram());
}

TEST_F(ProgramInterface, AScreenshotFromATileLeavesTheOverlayOut) {
    Setting("instantReplay=0");
    ASSERT_TRUE(Start());
    const Game game;
    OpenOverlay();
    const auto takeOne = [&] {
        const std::size_t before = Screenshots().size();
        Click(OnOverlay(641, 150));
        return Eventually([&] { return Screenshots().size() > before && IsShown(overlayClass); });
    };
    // Points of the header, of a tile, and of a toast.
    const auto showsTheGame = [&] {
        const Picture picture = ReadPng(std::ranges::max(Screenshots()));
        EXPECT_EQ(picture.pixels.size(), 1920U * 1080U);
        const POINT points[] = {{380, 43}, {873, 360}, {1700, 118}};
        return picture.pixels.size() == 1920U * 1080U && std::ranges::all_of(points, [&](const POINT& at) {
                   return picture.pixels[static_cast<std::size_t>(at.y * 1920 + at.x)] == 0x1E8C46U;
               });
    };
    // Wine has no compositor to wait for: sometimes the screenshot is taken before the game has repainted the area of
    // the overlay.
    bool shown = false;
    for (int attempt = 0; attempt < 10 && !shown; ++attempt) {
        ASSERT_TRUE(takeOne());
        EXPECT_EQ(GetForegroundWindow(), game.Window());
        shown = showsTheGame();
    }
    EXPECT_TRUE(shown);
    EXPECT_TRUE(EndProgram());
}

TEST_F(ProgramInterface, TheOverlayTilesRecordSaveAndSwitchTheMicrophone) {
    ASSERT_TRUE(Start());
    const Game game;
    EXPECT_TRUE(Eventually([] { return IsShown(badgeClass); }));
    EXPECT_EQ(BoundsOf(Find(badgeClass)), (Rectangle{1812, 80, 1902, 112}));
    OpenOverlay();
    EXPECT_TRUE(Eventually([] { return !IsShown(badgeClass); }));

    Click(OnOverlay(385, 150));
    ASSERT_TRUE(ClickUntilLogged(OnOverlay(423, 291), "Replay saved: "));
    // The bounds stay the same if the toast is hidden by now.
    EXPECT_EQ(BoundsOf(Find(toastClass)), (Rectangle{1574, 80, 1904, 156}));
    EXPECT_TRUE(std::filesystem::exists(SavedClip()));

    ASSERT_TRUE(ClickUntilLogged(OnOverlay(513, 150), "Recording started."));
    ASSERT_TRUE(ClickUntilLogged(OnOverlay(513, 150), "Recording saved: "));
    const std::string saved = Activity().back().substr(std::string("Recording saved: ").size());
    EXPECT_TRUE(std::filesystem::exists(saved)) << saved;

    EXPECT_TRUE(HasSetting("micEnabled=0"));
    EXPECT_TRUE(ClickUntil(OnOverlay(747, 200), [&] { return HasSetting("micEnabled=1"); }));
    EXPECT_EQ(GetForegroundWindow(), game.Window());
    EXPECT_TRUE(Eventually([] { return !IsShown(toastClass); }));
    EXPECT_TRUE(EndProgram());
    EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); }));
}

// The main window and the notification icon.

TEST_F(ProgramInterface, TheMainWindowIsUsedByMouseAndKeyboard) {
    Setting("instantReplay=0");
    Setting("minimizeToTray=1");
    ASSERT_TRUE(Start(u""));
    // The fifth page and the overlay button share an id: six tabs lead to "Open capture overlay".
    SetForegroundWindow(Find(mainClass));
    ASSERT_TRUE(Eventually([] { return PixelAt(OnMainWindow(230, 200)) == RGB(39, 31, 60); }));
    for (int step = 0; step < 6; ++step) {
        PressKeys({VK_TAB});
    }
    PressKeys({VK_RETURN});
    ASSERT_TRUE(Eventually([] { return IsShown(overlayClass); }));
    EXPECT_TRUE(PressUntil({VK_ESCAPE}, [] { return !IsShown(overlayClass); }));
    Click(OnMainWindow(370, 304));
    ASSERT_TRUE(Eventually([] { return IsShown(overlayClass); }));
    EXPECT_EQ(GetForegroundWindow(), Find(mainClass));

    EXPECT_TRUE(PressUntil({VK_MENU, VK_F4}, [] { return !IsShown(mainClass); }));
    EXPECT_FALSE(IsShown(overlayClass));
    EXPECT_TRUE(IsRunning(*program_.process));
    EXPECT_TRUE(Exit());
}

TEST_F(ProgramInterface, AnAbortedPaintLeavesTheOldPictureAndTheProgramRunning) {
    constexpr COLORREF hero = RGB(39, 31, 60);
    Setting("instantReplay=0");
    Script("set starve-paints 3 6");
    ASSERT_TRUE(Start(u""));
    SetForegroundWindow(Find(mainClass));
    const auto aborted = [this] { return ReportLines(Report(), "note: dxgi: a paint was aborted").size(); };
    ASSERT_TRUE(Eventually([&] { return aborted() >= 1; }));
    EXPECT_EQ(PixelAt(OnMainWindow(230, 200)), hero);
    ASSERT_TRUE(Eventually([&] { return aborted() == 4; }));
    EXPECT_EQ(PixelAt(OnMainWindow(230, 200)), hero);
    // The buttons still work, and the next paint succeeds.
    Click(OnMainWindow(370, 304));
    EXPECT_TRUE(Eventually([] { return IsShown(overlayClass); }));
    EXPECT_TRUE(Eventually([] { return PixelAt(OnOverlay(200, 23)) == black; }));
    EXPECT_TRUE(EndProgram());
}

TEST_F(ProgramInterface, AnotherStartBringsItsWindowForward) {
    Setting("instantReplay=0");
    ASSERT_TRUE(Start(u""));
    const Child first = std::move(program_);
    for (const int state : {SW_HIDE, SW_MINIMIZE, SW_SHOW}) {
        ShowWindow(Find(mainClass), state);
        const Game game;
        ASSERT_TRUE(StartProgram());
        ASSERT_TRUE(WaitForExit(*program_.process, generousMs));
        EXPECT_EQ(ExitCode(*program_.process), 0U);
        EXPECT_TRUE(Eventually([] { return IsShown(mainClass) && IsIconic(Find(mainClass)) == FALSE; }));
        EXPECT_TRUE(Eventually([] { return GetForegroundWindow() == Find(mainClass); }));
    }
    PostMessageW(Find(mainClass), WM_CLOSE, 0, 0);
    EXPECT_TRUE(WaitForExit(*first.process, generousMs));
    EXPECT_EQ(ExitCode(*first.process), 0U);
}

TEST_F(ProgramInterface, TheNotificationIconOpensTheWindowAndItsMenuExits) {
    Setting("minimizeToTray=1");
    ASSERT_TRUE(Start());
    PostTrayEvent(WM_LBUTTONDBLCLK);
    EXPECT_TRUE(Eventually([] { return IsShown(mainClass) && GetForegroundWindow() == Find(mainClass); }));
    EXPECT_FALSE(IsShown(menuClass));
    PostMessageW(Find(mainClass), WM_CLOSE, 0, 0);
    EXPECT_TRUE(Eventually([] { return !IsShown(mainClass); }));

    OpenTrayMenu();
    // Posted to the menu: Wine drops keys if no window is shown.
    PostMessageW(Find(menuClass), WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_TRUE(Eventually([] { return !IsShown(menuClass); }));
    EXPECT_FALSE(IsShown(mainClass));
    const Rectangle menu = OpenTrayMenu();
    Click({menu.left + 40, menu.top + 12});
    EXPECT_TRUE(Eventually([] { return IsShown(mainClass); }));

    EXPECT_TRUE(Exit());
    EXPECT_FALSE(std::filesystem::exists(DataFolder() / "running.lock"));
    EXPECT_TRUE(Eventually([] { return ProcessesNamed(L"ffmpeg.exe").empty(); }));
    EXPECT_EQ(Find(overlayClass), nullptr);
}

/// Sends the shell a message about the program's icon. Returns false if the shell has no such icon.
bool ChangeTrayIcon(DWORD message) {
    NOTIFYICONDATAW data{};
    data.cbSize = sizeof(data);
    data.hWnd = Find(mainClass);
    data.uID = 1;
    return Shell_NotifyIconW(message, &data) != FALSE;
}

TEST_F(ProgramInterface, AddsItsNotificationIconAgainForANewTaskbar) {
    Setting("instantReplay=0");
    ASSERT_TRUE(Start());
    ASSERT_TRUE(ChangeTrayIcon(NIM_MODIFY));
    ASSERT_TRUE(ChangeTrayIcon(NIM_DELETE));
    ASSERT_FALSE(ChangeTrayIcon(NIM_MODIFY));
    SendMessageW(Find(mainClass), RegisterWindowMessageW(L"TaskbarCreated"), 0, 0);
    EXPECT_TRUE(ChangeTrayIcon(NIM_MODIFY));
    EXPECT_TRUE(EndProgram());
}

TEST_F(ProgramInterface, OpensOneMenuForARightClickAndItsContextMenuMessage) {
    Setting("instantReplay=0");
    Setting("minimizeToTray=1");
    ASSERT_TRUE(Start());
    PostTrayEvent(WM_RBUTTONUP);
    PostTrayEvent(WM_CONTEXTMENU);
    // Marks the end of the pair: the open menu dispatches it too.
    PostTrayEvent(WM_LBUTTONDBLCLK);
    ASSERT_TRUE(Eventually([] { return IsShown(mainClass) && IsShown(menuClass); }));
    EXPECT_EQ(FindWindowExW(nullptr, Find(menuClass), menuClass, nullptr), nullptr) << "a second menu";
    PostMessageW(Find(menuClass), WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_TRUE(Eventually([] { return !IsShown(menuClass); }));
    // No second menu opens, and the icon still works.
    PostMessageW(Find(mainClass), WM_CLOSE, 0, 0);
    EXPECT_TRUE(Eventually([] { return !IsShown(mainClass); }));
    EXPECT_FALSE(IsShown(menuClass));
    EXPECT_TRUE(Exit());
}

// The shortcut editor.

/// The colors across the line with the editor's hint or error, which differ between texts.
std::vector<COLORREF> LineOf(HWND editor) {
    RECT client{};
    GetClientRect(editor, &client);
    POINT origin{};
    ClientToScreen(editor, &origin);
    const HDC screen = GetDC(nullptr);
    std::vector<COLORREF> colors;
    for (int x = 20; x < 300; ++x) {
        colors.push_back(GetPixel(screen, origin.x + x, origin.y + 117));
    }
    ReleaseDC(nullptr, screen);
    return colors;
}

class ShortcutEditing : public ProgramInterface {
protected:
    /// Clicks the gear of the first row, the overlay's key.
    static void OpenEditor() {
        Click(OnOverlay(632, 194));
        ASSERT_TRUE(Eventually([] { return GetForegroundWindow() == Find(editorClass); }));
    }
};

TEST_F(ShortcutEditing, AcceptsOnlyAKeyWithAModifier) {
    Setting("instantReplay=0");
    ASSERT_TRUE(Start());
    const Game game;
    OpenOverlay();
    OpenSettingsSection(2);
    OpenEditor();
    const HWND editor = Find(editorClass);
    EXPECT_EQ(BoundsOf(editor), (Rectangle{220, 220, 810, 410}));
    wchar_t title[64] = {};
    GetWindowTextW(editor, title, 64);
    EXPECT_STREQ(title, L"ZV Reels - shortcut");
    EXPECT_EQ(GetWindow(editor, GW_OWNER), Find(mainClass));

    ASSERT_TRUE(Eventually([&] {
        return PixelAt({BoundsOf(editor).left + 5, BoundsOf(editor).bottom - 10}) == RGB(17, 18, 25);
    }));
    const std::vector<COLORREF> hint = LineOf(editor);
    EXPECT_TRUE(PressUntil({'K'}, [&] { return LineOf(editor) != hint; })) << "no error is shown";
    EXPECT_TRUE(IsShown(editorClass));
    EXPECT_TRUE(PressUntil({VK_ESCAPE}, [] { return Find(editorClass) == nullptr; }));
    EXPECT_TRUE(HasSetting("bindKeys0=88"));
    EXPECT_TRUE(IsShown(overlayClass));
    OpenEditor();
    EXPECT_TRUE(PressUntil({VK_CONTROL, VK_SHIFT, 'K'}, [] { return Find(editorClass) == nullptr; }));
    EXPECT_TRUE(Eventually([&] { return HasSetting("bindKeys0=75"); }));
    EXPECT_TRUE(HasSetting("bindMods0=6"));

    EXPECT_TRUE(PressUntil({VK_CONTROL, VK_SHIFT, 'K'}, [] { return !IsShown(overlayClass); }));
    EXPECT_NE(RegisterHotKey(nullptr, 1, MOD_ALT, 'X'), FALSE) << "the old key is still registered";
    UnregisterHotKey(nullptr, 1);
    EXPECT_TRUE(PressUntil({VK_CONTROL, VK_SHIFT, 'K'}, [] { return IsShown(overlayClass); }));
    EXPECT_TRUE(EndProgram());
}

TEST_F(ProgramInterface, ControlsOfTheSettingsPageChangeTheFile) {
    Setting("instantReplay=0");
    ASSERT_TRUE(Start());
    const Game game;
    OpenOverlay();
    OpenSettingsSection(0);
    Click(OnOverlay(588, 192));
    EXPECT_TRUE(Eventually([&] { return HasSetting("height=1440") && HasSetting("width=2560"); }));
    EXPECT_TRUE(ClickUntil(OnOverlay(335, 338), [] { return IsShown(menuClass); })) << "the menu of the monitors";
    PostMessageW(Find(menuClass), WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_TRUE(Eventually([] { return !IsShown(menuClass); }));
    OpenSettingsSection(5);
    Click(OnOverlay(504, 360));
    EXPECT_TRUE(Eventually([&] { return HasSetting("theme=Zorvel Blue"); }));
    EXPECT_TRUE(ClickUntil(OnOverlay(673, 245), [&] { return HasSetting("captureCursor=1"); }));
    OpenSettingsSection(3);
    Click(OnOverlay(504, 429));
    EXPECT_TRUE(Eventually([&] { return HasSetting("notifications=0"); }));
    EXPECT_TRUE(EndProgram());
}

/// Types text into the window that has the keyboard.
void Type(const std::wstring& text) {
    std::vector<INPUT> inputs;
    for (const wchar_t unit : text) {
        INPUT input = KeyInput(0, KEYEVENTF_UNICODE);
        input.ki.wScan = unit;
        inputs.push_back(input);
        input.ki.dwFlags |= KEYEVENTF_KEYUP;
        inputs.push_back(input);
    }
    SendAll(inputs);
}

TEST_F(ProgramInterface, TheLibraryFolderIsChosenInTheSystemsDialog) {
    const std::filesystem::path library = DataFolder() / "library";
    std::filesystem::create_directories(library);
    Setting("instantReplay=0");
    ASSERT_TRUE(Start());
    OpenOverlay();
    OpenSettingsSection(3);
    Click(OnOverlay(330, 285));
    ASSERT_TRUE(Eventually([] { return IsShown(dialogClass) && GetForegroundWindow() == Find(dialogClass); }));
    EXPECT_FALSE(IsShown(overlayClass));
    EXPECT_EQ(GetWindow(Find(dialogClass), GW_OWNER), Find(mainClass));
    // The message loop runs: the hot key opens the overlay and closes it.
    EXPECT_TRUE(PressUntil({VK_MENU, 'X'}, [] { return IsShown(overlayClass); }));
    EXPECT_TRUE(PressUntil({VK_MENU, 'X'}, [] { return !IsShown(overlayClass); }));
    SetForegroundWindow(Find(dialogClass));
    Type(library.native());
    EXPECT_TRUE(PressUntil({VK_RETURN}, [] { return !IsShown(dialogClass); }));
    EXPECT_TRUE(Eventually([&] { return HasSetting("captureRoot=" + library.string()); }));
    EXPECT_TRUE(Eventually([] { return IsShown(overlayClass); }));
    EXPECT_TRUE(std::filesystem::is_empty(library));
    EXPECT_TRUE(EndProgram());
}

TEST_F(ProgramInterface, EndsWhileADialogIsOpen) {
    Setting("instantReplay=0");
    ASSERT_TRUE(Start());
    OpenOverlay();
    OpenSettingsSection(3);
    Click(OnOverlay(330, 285));
    ASSERT_TRUE(Eventually([] { return IsShown(dialogClass); }));
    EXPECT_TRUE(EndProgram());
}

TEST_F(ProgramInterface, AShortcutThatAnotherProgramHasIsReported) {
    ASSERT_NE(RegisterHotKey(nullptr, 1, MOD_ALT, VK_F10), FALSE);
    Setting("instantReplay=0");
    ASSERT_TRUE(Start());
    UnregisterHotKey(nullptr, 1);
    EXPECT_TRUE(
        EventuallyLogs("Shortcut busy: Save instant replay (Alt + F10). Change it in Settings > Keyboard shortcuts."));
    EXPECT_TRUE(EndProgram());
}

// Leaks.

class OverlayOpenings : public ProgramInterface {
protected:
    void ExpectNoLeak(int openings) {
        Setting("instantReplay=0");
        ASSERT_TRUE(Start());
        const HWND main = Find(mainClass);
        const HWND overlay = Find(overlayClass);
        DWORD id = 0;
        GetWindowThreadProcessId(main, &id);
        const ObjectCounts counts(id);
        const auto open = [&](int times) {
            for (int i = 0; i < times; ++i) {
                SendMessageW(main, WM_HOTKEY, 1, 0);
                ASSERT_NE(IsWindowVisible(overlay), FALSE);
                if (i % 10 == 0) {
                    SendMessageW(overlay, WM_PAINT, 0, 0);
                }
                SendMessageW(main, WM_HOTKEY, 1, 0);
                ASSERT_EQ(IsWindowVisible(overlay), FALSE);
            }
        };
        open(20);
        const int handles = counts.Handles();
        const int objects = counts.GraphicsObjects();
        const int userObjects = ObjectCounts::UserObjects();
        EXPECT_TRUE(handles > 0 && objects > 0 && userObjects > 0);
        open(openings);
        // A few are created late, or temporarily.
        EXPECT_LT(counts.Handles(), handles + 20);
        EXPECT_LT(counts.GraphicsObjects(), objects + 20);
        EXPECT_LT(ObjectCounts::UserObjects(), userObjects + 20);
        EXPECT_TRUE(EndProgram());
    }
};

TEST_F(OverlayOpenings, AHundredTimesLeaveNothingBehind) { ExpectNoLeak(100); }
TEST_F(OverlayOpenings, AThousandTimesLeaveNothingBehind) { ExpectNoLeak(1000); }

}  // namespace
}  // namespace zv::windows
