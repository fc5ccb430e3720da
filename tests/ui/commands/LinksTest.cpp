// Folders and web pages that the program opens in the user's programs.
#include "ui/commands/Links.h"

#include <fstream>

#include "core/Utf8.h"
#include "ui/Interface.h"

namespace zv {
namespace {

using fake::CallLog;
using fake::FailCall;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class Links : public Interface {};

TEST_F(Links, CreateAMissingFolderAndOpenIt) {
    const Text folder = Folder(u"captures/deep");
    OpenFolder(folder);
    EXPECT_TRUE(PathExists(folder));
    EXPECT_THAT(CallLog(), ElementsAre("OpenFolderInDesktop " + ToUtf8(folder)));
    EXPECT_EQ(Ui().statusText, u"Ready");
    fake::TheFolders().cache = Folder(u"cache");
    OpenLogsFolder();
    EXPECT_THAT(CallLog(), Contains("OpenFolderInDesktop " + ToUtf8(JoinPath(Folder(u"cache"), u"ZVReelsMax"))));
    EXPECT_TRUE(PathExists(JoinPath(Folder(u"cache"), u"ZVReelsMax")));
}

TEST_F(Links, SayWhyAFolderCannotBeOpened) {
    OpenFolder(Text());
    EXPECT_EQ(Ui().statusText, u"Choose a folder in Gallery > Folders.");
    const Text file = Folder(u"file");
    std::ofstream(ToPath(file)) << "x";
    OpenFolder(JoinPath(file, u"folder"));
    EXPECT_EQ(Ui().statusText, u"Cannot open folder: " + JoinPath(file, u"folder"));
    EXPECT_THAT(CallLog(), IsEmpty());
    FailCall("OpenFolderInDesktop", 1, 0);
    OpenFolder(Folder(u"captures"));
    EXPECT_EQ(Ui().statusText, u"Windows could not open folder: " + Folder(u"captures"));
}

TEST_F(Links, OpenWebPagesWithTheirCharactersEncoded) {
    const struct {
        Text address;
        std::string opened;
    } rows[] = {
        {u"https://example.org/a?b=c&d=%20#e", "https://example.org/a?b=c&d=%20#e"},
        {u"https://example.org/my file.zip ", "https://example.org/my%20file.zip%20"},
        {u"https://example.org/\" --flag \"", "https://example.org/%22%20--flag%20%22"},
        {u"https://example.org/<>\\^`{|}\x7F\t", "https://example.org/%3C%3E%5C%5E%60%7B%7C%7D%7F%09"},
        {Text(u"https://example.org/\0x", 22), "https://example.org/%00x"},
        {u"https://example.org/\u00FC", "https://example.org/\xC3\xBC"},
    };
    for (const auto& row : rows) {
        fake::TheCalls().subjects.clear();
        OpenWebPage(row.address);
        EXPECT_EQ(fake::TheCalls().subjects.back(), row.opened);
        EXPECT_EQ(Ui().statusText, u"Ready");
    }
}

TEST_F(Links, ReportAWebPageThatDoesNotOpen) {
    for (const Text address : {u"", u"http://example.org/", u"file:///etc/passwd", u" https://example.org/"}) {
        Ui().statusText.clear();
        OpenWebPage(address);
        EXPECT_EQ(Ui().statusText, u"The web page could not be opened: " + address);
    }
    FailCall("OpenLink", 5, 0);
    OpenWebPage(u"https://example.org/");
    EXPECT_EQ(Ui().statusText, u"The web page could not be opened: https://example.org/");
}

}  // namespace
}  // namespace zv
