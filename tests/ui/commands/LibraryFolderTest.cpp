// The choice of the library folder: the write test, what is saved, and what happens while the dialog is open.
#include "ui/commands/LibraryFolder.h"

#include "fake/FolderReader.h"
#include "ui/QuickOverlay.h"
#include "ui/navigation/Navigation.h"

namespace zv {
namespace {

using fake::TheDialogs;
using fake::TheWindows;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class LibraryFolder : public QuickOverlay {
protected:
    LibraryFolder() {
        CurrentSettings().captureRoot = u"C:\\old";
        fake::TheEnvironment().processId = 4711;
    }

    void Choose(const Text& folder) {
        TheDialogs().choice = folder;
        ChooseLibraryFolder();
        FinishRefreshes();
    }
    Text CheckFile(const Text& folder) const {
        return JoinPath(folder, u".zv-write-check-4711-" + DecimalUnsigned(TickMs()));
    }
    std::size_t FilesIn(const Text& folder) const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(ToPath(folder)), {}));
    }
};

TEST_F(LibraryFolder, IsUsedForNewCapturesAndTheOldOneIsRemembered) {
    const Text folder = Folder(u"a\\b/new");
    Choose(folder);
    EXPECT_EQ(CurrentSettings().captureRoot, folder);
    EXPECT_THAT(CurrentSettings().previousCaptureRoots, ElementsAre(u"C:\\old"));
    EXPECT_EQ(Ui().statusText, u"Library folder updated.");
    EXPECT_THAT(SettingsBytes(), HasSubstr("previousCaptureRoot0=C:\\old\r\n"));
    EXPECT_THAT(SettingsBytes(), HasSubstr("\r\ncaptureRoot=" + Narrow(folder) + "\r\n"));
    EXPECT_EQ(FilesIn(folder), 0U) << "the test file is gone";
    EXPECT_EQ(TheDialogs().owner, window_.get());
    EXPECT_EQ(fake::CountOf("Configure") + fake::CountOf("StartReplay"), 0) << "the engine is left alone";
}

TEST_F(LibraryFolder, OldFoldersAreRememberedOnce) {
    const Text first = Folder(u"first");
    const Text second = Folder(u"second");
    Choose(first);
    Choose(first);
    EXPECT_THAT(CurrentSettings().previousCaptureRoots, ElementsAre(u"C:\\old")) << "the same folder adds nothing";
    Choose(second);
    Choose(first);
    EXPECT_THAT(CurrentSettings().previousCaptureRoots, ElementsAre(u"C:\\old", first, second));
    Choose(second);
    EXPECT_THAT(CurrentSettings().previousCaptureRoots, ElementsAre(u"C:\\old", first, second));
    Choose(Folder(u"Second"));
    EXPECT_THAT(CurrentSettings().previousCaptureRoots, ElementsAre(u"C:\\old", first, second))
        << "second is in the list already";
    Choose(Folder(u"SECOND"));
    EXPECT_THAT(CurrentSettings().previousCaptureRoots, ElementsAre(u"C:\\old", first, second, Folder(u"Second")))
        << "another case is another folder";
}

TEST_F(LibraryFolder, AnEmptyOldFolderIsNotRemembered) {
    CurrentSettings().captureRoot.clear();
    Choose(Folder(u"new"));
    EXPECT_THAT(CurrentSettings().previousCaptureRoots, IsEmpty());
}

TEST_F(LibraryFolder, CapturesInTheOldFolderAreStillListedWithTheirGame) {
    const Text old = Folder(u"old");
    const Text game = JoinPath(old, u"Fortnite");
    std::filesystem::create_directories(ToPath(game));
    fake::TheFolderEntries() = {{old, {{u"Fortnite", true, {}}}}, {game, {{u"a.mp4", false, FileFacts{5, 6}}}}};
    CurrentSettings().captureRoot = old;
    Choose(Folder(u"new"));
    fake::TheFolderEntries().clear();
    ASSERT_EQ(Ui().library.found.files.size(), 1U);
    EXPECT_EQ(Ui().library.found.files[0].path, JoinPath(game, u"a.mp4"));
    EXPECT_EQ(Ui().library.found.files[0].game, u"Fortnite");
}

TEST_F(LibraryFolder, IsRefusedIfItCannotBeCreated) {
    std::ofstream(ToPath(Folder(u"file"))) << "x";
    Choose(Folder(u"file/below"));
    EXPECT_EQ(Ui().statusText, u"This folder is not writable. Choose another location.");
    EXPECT_EQ(CurrentSettings().captureRoot, u"C:\\old");
    EXPECT_THAT(CurrentSettings().previousCaptureRoots, IsEmpty());
    EXPECT_EQ(SettingsBytes(), "");
}

TEST_F(LibraryFolder, IsRefusedIfNoFileCanBeCreatedInIt) {
    const Text folder = Folder(u"new");
    std::filesystem::create_directories(ToPath(CheckFile(folder)));  // occupies the name of the test file
    Choose(folder);
    EXPECT_EQ(Ui().statusText, u"This folder is not writable. Choose another location.");
    EXPECT_EQ(SettingsBytes(), "");
    EXPECT_TRUE(PathExists(folder)) << "a folder that was created remains";
    fake::AdvanceClockMs(1);
    Choose(folder);
    EXPECT_EQ(Ui().statusText, u"Library folder updated.") << "the name contains process and time";
}

TEST_F(LibraryFolder, ACancelledDialogChangesNothing) {
    ChooseLibraryFolder();
    EXPECT_EQ(fake::CountOf("ChooseFolder"), 1);
    EXPECT_EQ(Ui().statusText, u"Ready");
    EXPECT_EQ(SettingsBytes(), "");
    EXPECT_FALSE(Ui().library.mediaRefreshSlot.IsBusy());
}

TEST_F(LibraryFolder, WithoutASettingsFileTheReasonIsShown) {
    const Text data = std::exchange(fake::TheFolders().localData, u"/dev/null");
    Choose(Folder(u"new"));
    EXPECT_EQ(Ui().statusText, u"Settings could not be saved.");
    fake::TheFolders().localData = data;
}

TEST_F(LibraryFolder, AnOpenOverlayIsHiddenWhileTheDialogIsOpen) {
    for (const bool shown : {false, true}) {
        for (const std::optional<Text>& choice : {std::optional<Text>(), std::optional(Folder(u"new"))}) {
            if (shown) {
                ShowTopmostAt(*overlay_, {0, 0, overlayWidth, overlayHeight});
            }
            Ui().lastOverlayActivity = 0;
            TheDialogs().choice = choice;
            TheDialogs().whileOpen = [] { EXPECT_FALSE(IsOverlayShown()); };
            ChooseLibraryFolder();
            FinishRefreshes();
            EXPECT_EQ(IsOverlayShown(), shown);
            EXPECT_EQ(Ui().lastOverlayActivity != 0, shown);
            EXPECT_NE(TheWindows().inFront, overlay_.get()) << "it is not activated";
            HideOverlay();
        }
    }
}

TEST_F(LibraryFolder, AJobThatEndsWhileTheDialogIsOpenIsCollected) {
    OccupyJob();
    TheDialogs().whileOpen = [this] {
        gate_.Open();
        FinishJob();
    };
    Choose(Folder(u"new"));
    EXPECT_FALSE(Ui().capture.captureJobSlot.IsBusy());
    EXPECT_EQ(CurrentSettings().captureRoot, Folder(u"new"));
}

TEST_F(LibraryFolder, AProgramThatEndsWhileTheDialogIsOpenChangesNothingMore) {
    ShowTopmostAt(*overlay_, {0, 0, overlayWidth, overlayHeight});
    std::string saved;
    TheDialogs().whileOpen = [&] {
        window_.reset();
        saved = SettingsBytes();
    };
    Choose(Folder(u"new"));
    EXPECT_EQ(SettingsBytes(), saved);
    EXPECT_FALSE(PathExists(Folder(u"new")));
    EXPECT_FALSE(IsOverlayShown());
}

}  // namespace
}  // namespace zv
