// Programs of the desktop that open web pages and folders: a script of their name on the search path.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/Utf8.h"
#include "platform/Environment.h"
#include "platform/Links.h"
#include "platform/linux/posix/DetachedProgram.h"
#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using support::Eventually;
using support::ReadBytes;
using support::WriteBytes;

class LinuxLinks : public testing::Test {
protected:
    LinuxLinks() : path_(getenv("PATH")) { setenv("PATH", bin_.Path().c_str(), 1); }
    ~LinuxLinks() override {
        setenv("PATH", path_.c_str(), 1);
        // Waits until the programs are reaped.
        EXPECT_TRUE(Eventually([] { return waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT) < 0; }));
    }
    /// Installs a program that writes its arguments, one a line, into NAME.seen after `commands`.
    void Install(const std::string& name, const std::string& commands = "") {
        const auto script = bin_.Path() / name;
        WriteBytes(script, "#!/bin/sh\nPATH=/usr/bin:/bin\ncd '" + bin_.Path().string() + "'\n" + commands +
                               "\nprintf '%s\\n' \"$@\" >" + name + ".new\nmv " + name + ".new " + name + ".seen\n");
        chmod(script.c_str(), 0700);
    }
    std::string SeenBy(const std::string& name) const {
        const auto file = bin_.Path() / (name + ".seen");
        EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(file); }));
        const std::string seen = ReadBytes(file);
        std::filesystem::remove(file);
        return seen;
    }

    support::TemporaryFolder bin_;
    std::string path_;
};

TEST_F(LinuxLinks, AreOpenedByTheDesktopsOpenerWithOneArgument) {
    Install("xdg-open");
    Install("gio");
    for (const Text address : {u"https://example.org/a?b=c&d=$HOME;`id`'#x", u"https://b\u00FCcher.example/\u65E5"}) {
        EXPECT_TRUE(OpenLink(address));
        EXPECT_EQ(SeenBy("xdg-open"), ToUtf8(address) + "\n");
    }
    const std::filesystem::path folder = bin_.Path() / "--help \xC3\xA4; rm";
    std::filesystem::create_directory(folder);
    EXPECT_TRUE(OpenFolderInDesktop(FromUtf8(folder.native())));
    EXPECT_EQ(SeenBy("xdg-open"), folder.native() + "\n");
    std::filesystem::remove(bin_.Path() / "xdg-open");
    EXPECT_TRUE(OpenLink(u"https://example.org/"));
    EXPECT_EQ(SeenBy("gio"), "open\nhttps://example.org/\n");
    EXPECT_FALSE(std::filesystem::exists(bin_.Path() / "xdg-open.seen"));
}

TEST_F(LinuxLinks, AreRefusedUnlessTheyAreWebAddressesOrFolders) {
    EXPECT_FALSE(OpenLink(u"https://example.org/"));  // there is no opener
    EXPECT_FALSE(OpenFolderInDesktop(FromUtf8(bin_.Path().native())));
    Install("xdg-open", "exit 0");
    for (const Text address : {u"", u"https://", u"http://example.org/", u"HTTPS://example.org/", u"file:///etc/passwd",
                               u" https://example.org/", u"https://example.org/ -x", u"https://example.org/\t",
                               u"https://example.org/\n", u"https://example.org/\"", u"https://example.org/\x7F"}) {
        EXPECT_FALSE(OpenLink(address)) << ToUtf8(address);
    }
    EXPECT_FALSE(OpenLink(Text(u"https://example.org/\0", 21)));
    for (const std::string& path :
         {(bin_.Path() / "xdg-open").native(), (bin_.Path() / "none").native(), std::string()}) {
        EXPECT_FALSE(OpenFolderInDesktop(FromUtf8(path))) << path;
    }
}

TEST_F(LinuxLinks, StartTheirProgramWithTheEnvironmentAndWithoutDescriptors) {
    setenv("ZV_TEST_DISPLAY", ":77", 1);
    constexpr int inheritable = 77;
    ASSERT_EQ(dup2(2, inheritable), inheritable);
    Install("xdg-open",
            "standard=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2)\n"
            "echo $ZV_TEST_DISPLAY $standard >state\nps -o pgid= -p $$ >group\n"
            "[ -e /proc/$$/fd/77 ] && echo inherited >>state");
    EXPECT_TRUE(OpenLink(u"https://example.org/"));
    EXPECT_EQ(SeenBy("xdg-open"), "https://example.org/\n");
    EXPECT_EQ(ReadBytes(bin_.Path() / "state"), ":77 /dev/null /dev/null /dev/null\n");
    EXPECT_NE(std::stoi(ReadBytes(bin_.Path() / "group")), getpgrp());
    close(inheritable);
    unsetenv("ZV_TEST_DISPLAY");
}

TEST_F(LinuxLinks, AreReapedAfterALongLife) {
    Install("player", "while [ ! -e end ]; do sleep 0.05; done");
    const std::uint32_t player = StartDetached({"player", ""});
    ASSERT_NE(player, 0U);
    EXPECT_TRUE(IsProcessRunning(player));
    WriteBytes(bin_.Path() / "end", "");
    EXPECT_EQ(SeenBy("player"), "\n");
    EXPECT_TRUE(Eventually([&] { return !IsProcessRunning(player); }));
    EXPECT_EQ(StartDetached({"missing"}), 0U);
}

}  // namespace
}  // namespace zv
