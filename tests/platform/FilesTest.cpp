#include "platform/Files.h"

#include <gtest/gtest.h>

#include <fstream>

#include "support/TemporaryFolder.h"

namespace zv {
namespace {

void WriteFile(const std::filesystem::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

Text With(TextView folder, TextView name) { return Text(folder) + pathSeparator + Text(name); }

TEST(Files, TextSurvivesTheWayToAPathAndBack) {
    const Text texts[] = {u"", u"clip.mp4", u"Zürich – 東京", u"\U0001F3AE game",
                          Text(1, u'\x7FF') + u'\x800' + u'\xFFFF'};
    for (const Text& text : texts) {
        EXPECT_EQ(FromPath(ToPath(text)), text);
    }
}

TEST(Files, ALoneSurrogateSurvivesTheWayToAPathAndBackWithoutThrowing) {
    for (const char16_t unit : {u'\xD800', u'\xDBFF', u'\xDC00', u'\xDFFF'}) {
        const Text text = Text(u"a") + unit + u"b";
        EXPECT_EQ(FromPath(ToPath(text)), text);
    }
}

TEST(Files, AFileMadeUnderATextsPathIsFoundInItsFolderUnderThatText) {
    const support::TemporaryFolder folder;
    const Text name = u"Zürich \U0001F3AE.mp4";
    WriteFile(ToPath(JoinPath(FromPath(folder.Path()), name)), "x");
    const auto entry = std::filesystem::directory_iterator(folder.Path());
    ASSERT_NE(entry, std::filesystem::directory_iterator());
    EXPECT_EQ(FromPath(entry->path().filename()), name);
}

TEST(Files, JoiningPutsExactlyOneSeparatorBetween) {
    const Text folder = u"videos";
    EXPECT_EQ(JoinPath(folder, u"a.mp4"), With(u"videos", u"a.mp4"));
    EXPECT_EQ(JoinPath(folder + pathSeparator, u"a.mp4"), With(u"videos", u"a.mp4"));
    EXPECT_EQ(JoinPath(u"", u"a.mp4"), u"a.mp4");
}

TEST(Files, AnAbsoluteNameReplacesTheFolder) {
    const Text absolute = FromPath(std::filesystem::temp_directory_path() / "a.mp4");
    EXPECT_EQ(JoinPath(u"videos", absolute), absolute);
}

TEST(Files, ASharedFileIsReadWhileAnotherWritesIt) {
    const support::TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "live.m3u8";
    std::ofstream writer(path, std::ios::binary);
    writer << "one\n" << std::flush;
    EXPECT_EQ(ReadSharedFile(FromPath(path), 0x100000), "one\n");
    writer << "two\n" << std::flush;
    EXPECT_EQ(ReadSharedFile(FromPath(path), 0x100000), "one\ntwo\n");
}

TEST(Files, AMissingFileAndAFolderReadAsNothing) {
    const support::TemporaryFolder folder;
    EXPECT_EQ(ReadSharedFile(FromPath(folder.Path() / "missing"), 100), "");
    EXPECT_EQ(ReadSharedFile(FromPath(folder.Path()), 100), "");
    EXPECT_EQ(ReadSharedFile(u"", 100), "");
}

TEST(Files, ReadingStopsAtTheFirstBlockThatReachesTheCap) {
    const support::TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "log.txt";
    std::string content(20000, 'x');
    content[4095] = '\0';
    content[4096] = '\r';
    content[4097] = '\n';
    WriteFile(path, content);
    EXPECT_EQ(ReadSharedFile(FromPath(path), 1), content.substr(0, 4096));
    EXPECT_EQ(ReadSharedFile(FromPath(path), 4096), content.substr(0, 4096));
    EXPECT_EQ(ReadSharedFile(FromPath(path), 4097), content.substr(0, 8192));
    EXPECT_EQ(ReadSharedFile(FromPath(path), 20000), content);
    EXPECT_EQ(ReadSharedFile(FromPath(path), 100000), content);
}

TEST(Files, AMoveReplacesAnExistingFile) {
    const support::TemporaryFolder folder;
    const std::filesystem::path from = folder.Path() / "clip.partial.mp4";
    const std::filesystem::path to = folder.Path() / "clip.mp4";
    WriteFile(from, "new");
    WriteFile(to, "old content");
    EXPECT_EQ(MoveFileReplacing(FromPath(from), FromPath(to)), resultOk);
    EXPECT_FALSE(std::filesystem::exists(from));
    EXPECT_EQ(ReadSharedFile(FromPath(to), 100), "new");
}

TEST(Files, AMoveThatFailsAnswersACodeAndLeavesTheTarget) {
    const support::TemporaryFolder folder;
    const std::filesystem::path to = folder.Path() / "clip.mp4";
    WriteFile(to, "old");
    const Result result = MoveFileReplacing(FromPath(folder.Path() / "missing"), FromPath(to));
    // "File not found" is number 2 on every system.
    EXPECT_EQ(CodeOf(result), 0x80070002U);
    EXPECT_EQ(ReadSharedFile(FromPath(to), 100), "old");
}

}  // namespace
}  // namespace zv
