#include "platform/Files.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "support/FileBytes.h"
#include "support/SelfLink.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

Text With(TextView folder, TextView name) { return Text(folder) + pathSeparator + Text(name); }

TEST(Files, TextConvertsToAPathAndBack) {
    const Text texts[] = {u"", u"clip.mp4", u"Zürich – 東京", u"\U0001F3AE game",
                          Text(1, u'\x7FF') + u'\x800' + u'\xFFFF'};
    for (const Text& text : texts) {
        EXPECT_EQ(FromPath(ToPath(text)), text);
    }
}

TEST(Files, ATriedFileIsRemovedAndReplacesNone) {
    const support::TemporaryFolder folder;
    const Text path = JoinPath(FromPath(folder.Path()), u".check \u6771");
    EXPECT_TRUE(TryCreateFile(path));
    EXPECT_FALSE(PathExists(path));
    support::WriteBytes(ToPath(path), "kept");
    EXPECT_FALSE(TryCreateFile(path));
    EXPECT_EQ(support::ReadBytes(ToPath(path)), "kept");
    EXPECT_FALSE(TryCreateFile(JoinPath(path, u"below a file")));
    EXPECT_FALSE(TryCreateFile(JoinPath(FromPath(folder.Path()), u"missing/file")));
}

TEST(Files, ALoneSurrogateConvertsToAPathAndBack) {
    for (const char16_t unit : {u'\xD800', u'\xDBFF', u'\xDC00', u'\xDFFF'}) {
        const Text text = Text(u"a") + unit + u"b";
        EXPECT_EQ(FromPath(ToPath(text)), text);
    }
}

TEST(Files, AFolderListsAFileUnderTheTextOfItsPath) {
    const support::TemporaryFolder folder;
    const Text name = u"Zürich \U0001F3AE.mp4";
    support::WriteBytes(ToPath(JoinPath(FromPath(folder.Path()), name)), "x");
    const auto entry = std::filesystem::directory_iterator(folder.Path());
    ASSERT_NE(entry, std::filesystem::directory_iterator());
    EXPECT_EQ(FromPath(entry->path().filename()), name);
}

TEST(Files, JoinPathInsertsExactlyOneSeparator) {
    const Text folder = u"videos";
    EXPECT_EQ(JoinPath(folder, u"a.mp4"), With(u"videos", u"a.mp4"));
    EXPECT_EQ(JoinPath(folder + pathSeparator, u"a.mp4"), With(u"videos", u"a.mp4"));
    EXPECT_EQ(JoinPath(u"", u"a.mp4"), u"a.mp4");
}

TEST(Files, AnAbsoluteNameReplacesTheFolder) {
    const Text absolute = FromPath(std::filesystem::temp_directory_path() / "a.mp4");
    EXPECT_EQ(JoinPath(u"videos", absolute), absolute);
}

TEST(Files, TheFactsOfAFileAreCurrentWhileItIsWritten) {
    const support::TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "recording.partial.mp4";
    std::ofstream file(path, std::ios::binary);
    EXPECT_EQ(ExamineFile(FromPath(path)).value_or(FileFacts{99}).size, 0U);
    file << std::string(2000, 'x') << std::flush;
    EXPECT_EQ(ExamineFile(FromPath(path)).value_or(FileFacts{}).size, 2000U);
    file << std::string(3000, 'x') << std::flush;
    EXPECT_EQ(ExamineFile(FromPath(path)).value_or(FileFacts{}).size, 5000U);
}

TEST(Files, TheTimeOfALaterWriteIsLater) {
    const support::TemporaryFolder folder;
    std::vector<std::int64_t> times;
    for (const int minutesAgo : {30, 20, 10}) {
        const std::filesystem::path path = folder.Path() / std::to_string(minutesAgo);
        support::WriteBytes(path, "x");
        std::filesystem::last_write_time(
            path, std::filesystem::file_time_type::clock::now() - std::chrono::minutes(minutesAgo));
        times.push_back(ExamineFile(FromPath(path)).value_or(FileFacts{}).written);
    }
    EXPECT_LT(times[0], times[1]);
    EXPECT_LT(times[1], times[2]);
}

TEST(Files, NothingAndAFolderAndAnUnreadablePathHaveNoFacts) {
    const support::TemporaryFolder folder;
    EXPECT_FALSE(ExamineFile(FromPath(folder.Path() / "missing")));
    EXPECT_FALSE(ExamineFile(FromPath(folder.Path())));
    support::MakeSelfLink(folder.Path() / "link");
    EXPECT_FALSE(ExamineFile(FromPath(folder.Path() / "link")));
}

TEST(Files, FilesAndFoldersExistEvenWhileAnotherWritesThem) {
    const support::TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "a.mp4";
    std::ofstream file(path);
    EXPECT_TRUE(PathExists(FromPath(path)));
    EXPECT_TRUE(PathExists(FromPath(folder.Path())));
}

TEST(Files, APathThatNamesNothingDoesNotExist) {
    const support::TemporaryFolder folder;
    support::WriteBytes(folder.Path() / "a file", "x");
    for (const char* name : {"missing", "missing/a.mp4", "a file/a.mp4"}) {
        EXPECT_FALSE(PathExists(FromPath(folder.Path() / name))) << name;
    }
    EXPECT_FALSE(PathExists(u""));
}

TEST(Files, APathThatTheSystemCannotCheckThrows) {
    const support::TemporaryFolder folder;
    support::MakeSelfLink(folder.Path() / "link");
    try {
        PathExists(FromPath(folder.Path() / "link"));
        FAIL() << "nothing was thrown";
    } catch (const std::filesystem::filesystem_error& thrown) {
        EXPECT_NE(std::string(thrown.what()).find("exists"), std::string::npos);
        EXPECT_EQ(thrown.path1(), folder.Path() / "link");
        EXPECT_NE(thrown.code().value(), 0);
    }
}

TEST(Files, AFolderIsCreatedWithItsParentsOnce) {
    const support::TemporaryFolder folder;
    const std::filesystem::path deep = folder.Path() / "videos" / "a game" / "clips";
    EXPECT_FALSE(CreateFolders(deep));
    EXPECT_TRUE(std::filesystem::is_directory(deep));
    EXPECT_FALSE(CreateFolders(deep));
    EXPECT_FALSE(CreateFolders(folder.Path() / "videos" / "other" / ""));
    EXPECT_TRUE(std::filesystem::is_directory(folder.Path() / "videos" / "other"));
}

TEST(Files, AFolderIsNotCreatedUnderOrInPlaceOfAFile) {
    const support::TemporaryFolder folder;
    support::WriteBytes(folder.Path() / "a file", "x");
    EXPECT_TRUE(CreateFolders(folder.Path() / "a file"));
    EXPECT_TRUE(CreateFolders(folder.Path() / "a file" / "clips"));
    EXPECT_TRUE(CreateFolders(""));
}

TEST(Files, ACopyHasTheWholeContentAndKeepsTheSource) {
    const support::TemporaryFolder folder;
    const std::filesystem::path from = folder.Path() / "seg00000001.ts";
    const std::filesystem::path to = folder.Path() / "copy.ts";
    const std::string content = std::string(100'000, 'a') + std::string("\0\r\n\x1A", 4) + std::string(100'000, 'b');
    support::WriteBytes(from, content);
    EXPECT_EQ(CopyToNewFile(FromPath(from), FromPath(to)), resultOk);
    EXPECT_EQ(support::ReadBytes(to), content);
    EXPECT_EQ(support::ReadBytes(from), content);
}

TEST(Files, ACopyDoesNotReplaceAnExistingFile) {
    const support::TemporaryFolder folder;
    const std::filesystem::path from = folder.Path() / "a.ts";
    const std::filesystem::path to = folder.Path() / "b.ts";
    support::WriteBytes(from, "new");
    support::WriteBytes(to, "old");
    EXPECT_TRUE(Failed(CopyToNewFile(FromPath(from), FromPath(to))));
    EXPECT_EQ(support::ReadBytes(to), "old");
    EXPECT_EQ(CodeOf(CopyToNewFile(FromPath(folder.Path() / "missing"), FromPath(to))), 0x80070002U);
}

TEST(Files, AMoveReplacesAnExistingFile) {
    const support::TemporaryFolder folder;
    const std::filesystem::path from = folder.Path() / "clip.partial.mp4";
    const std::filesystem::path to = folder.Path() / "clip.mp4";
    support::WriteBytes(from, "new");
    support::WriteBytes(to, "old content");
    EXPECT_EQ(MoveFileReplacing(FromPath(from), FromPath(to)), resultOk);
    EXPECT_FALSE(std::filesystem::exists(from));
    EXPECT_EQ(support::ReadBytes(to), "new");
}

TEST(Files, AFailedMoveReturnsACodeAndKeepsTheTarget) {
    const support::TemporaryFolder folder;
    const std::filesystem::path to = folder.Path() / "clip.mp4";
    support::WriteBytes(to, "old");
    const Result result = MoveFileReplacing(FromPath(folder.Path() / "missing"), FromPath(to));
    // "File not found" is number 2 on every system.
    EXPECT_EQ(CodeOf(result), 0x80070002U);
    EXPECT_EQ(support::ReadBytes(to), "old");
}

}  // namespace
}  // namespace zv
