#include "platform/Files.h"

#include <gtest/gtest.h>

#include "support/FileBytes.h"
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
