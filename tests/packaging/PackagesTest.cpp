// The packages for users, made by the packaging scripts and opened with the usual tools.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "support/FileBytes.h"
#include "support/Processes.h"
#include "support/ProgramRun.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using namespace support;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
namespace fs = std::filesystem;

const fs::path sources = ZV_SOURCES;

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> SortedLinesOf(const std::string& text) {
    std::vector<std::string> lines = LinesOf(text);
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

/// Makes the packages with a fixed time, 2026-01-02 03:04:06 UTC.
struct Packages : testing::Test {
    static void SetUpTestSuite() { setenv("SOURCE_DATE_EPOCH", "1767323046", 1); }

    static std::string Script(const char* name) { return (sources / "packaging" / name).string(); }

    /// Returns the package's path.
    fs::path Make(const char* script, const fs::path& program, const char* outputFolder = "output") const {
        const fs::path output = folder.Path() / outputFolder;
        fs::create_directories(output);
        const std::string said = OutputOf({Script(script), program.string(), output.string()});
        const std::vector<std::string> lines = LinesOf(said);
        EXPECT_THAT(lines, SizeIs(1));
        return lines.empty() ? fs::path() : fs::path(lines[0]);
    }

    /// The same in another time zone and with a private umask.
    fs::path MakeElsewhere(const char* script, const fs::path& program) const {
        const ScopedVariable zone("TZ", "Asia/Tokyo");
        const mode_t mask = umask(077);
        const fs::path made = Make(script, program, "elsewhere");
        umask(mask);
        return made;
    }

    TemporaryFolder folder{"zorvel-packages"};
};

struct DebianPackage : Packages {
    void SetUp() override { package = Make("debian_package", ProgramPath()); }

    std::string Field(const char* name) const {
        return LinesOf(OutputOf({"dpkg-deb", "--field", package.string(), name})).at(0);
    }

    fs::path Unpacked() const {
        const fs::path root = folder.Path() / "root";
        OutputOf({"dpkg-deb", "--extract", package.string(), root.string()});
        return root;
    }

    fs::path package;
};

TEST_F(DebianPackage, HoldsTheProgramItsMenuEntryItsIconsAndItsTexts) {
    EXPECT_EQ(package.filename(), "zorvel_3.23.0_amd64.deb");
    std::vector<std::string> files;
    for (const std::string& line : LinesOf(OutputOf({"dpkg-deb", "--contents", package.string()}))) {
        EXPECT_THAT(line, HasSubstr(" root/root "));
        EXPECT_THAT(line, HasSubstr(" 2026-01-02 03:04 "));
        if (line[0] != 'd') {
            files.push_back(line.substr(0, 10) + " " + line.substr(line.rfind(' ') + 1));
        }
    }
    std::sort(files.begin(), files.end());
    EXPECT_THAT(files, ElementsAre("-rw-r--r-- ./usr/share/applications/zorvel.desktop",
                                   "-rw-r--r-- ./usr/share/doc/zorvel/changelog.gz",
                                   "-rw-r--r-- ./usr/share/doc/zorvel/copyright",
                                   "-rw-r--r-- ./usr/share/icons/hicolor/128x128/apps/zorvel.png",
                                   "-rw-r--r-- ./usr/share/icons/hicolor/16x16/apps/zorvel.png",
                                   "-rw-r--r-- ./usr/share/icons/hicolor/256x256/apps/zorvel.png",
                                   "-rw-r--r-- ./usr/share/icons/hicolor/32x32/apps/zorvel.png",
                                   "-rw-r--r-- ./usr/share/icons/hicolor/48x48/apps/zorvel.png",
                                   "-rw-r--r-- ./usr/share/man/man1/zorvel.1.gz", "-rwxr-xr-x ./usr/bin/zorvel"));
}

TEST_F(DebianPackage, DescribesItself) {
    EXPECT_EQ(Field("Package"), "zorvel");
    EXPECT_EQ(Field("Version"), "3.23.0");
    EXPECT_EQ(Field("Architecture"), "amd64");
    EXPECT_EQ(Field("Section"), "video");
    EXPECT_EQ(Field("Priority"), "optional");
    EXPECT_THAT(Field("Maintainer"), StartsWith("The Zorvel authors <"));
    EXPECT_EQ(Field("Description"), "keeps the last seconds of a monitor and saves them as a clip");
    const int kibibytes = std::stoi(Field("Installed-Size"));
    EXPECT_GE(kibibytes, static_cast<int>(fs::file_size(Unpacked() / "usr/bin/zorvel") / 1024));
}

TEST_F(DebianPackage, RecommendsCertificatesAndTheProgramsThatPlayVideosAndShowItsDialogs) {
    EXPECT_EQ(Field("Recommends"),
              "ca-certificates, mpv, zenity | x11-utils, zenity | kdialog | xdg-desktop-portal-backend");
}

TEST_F(DebianPackage, DependsOnFfmpegAndThePackagesOfItsLibraries) {
    const std::string depends = ", " + Field("Depends") + ",";
    EXPECT_THAT(depends, HasSubstr(", ffmpeg,"));
    int linked = 0;
    for (const std::string& line : LinesOf(OutputOf({"objdump", "-p", (Unpacked() / "usr/bin/zorvel").string()}))) {
        if (line.find(" NEEDED ") == std::string::npos) {
            continue;
        }
        ++linked;
        const std::string library = line.substr(line.rfind(' ') + 1);
        bool held = false;
        for (const std::string& found : LinesOf(OutputOf({"dpkg-query", "--search", "*/" + library}))) {
            const std::string owner = found.substr(0, found.find(':'));
            held = held || depends.find(", " + owner + " ") != std::string::npos ||
                   depends.find(", " + owner + ",") != std::string::npos;
        }
        EXPECT_TRUE(held) << library << " is in no package of: " << depends;
    }
    EXPECT_GT(linked, 10);
}

TEST_F(DebianPackage, TheProgramOfItsMenuEntryCapturesTheDesktop) {
    const fs::path root = Unpacked();
    const std::string entry = ReadBytes(root / "usr/share/applications/zorvel.desktop");
    EXPECT_THAT(entry, StartsWith("[Desktop Entry]\nType=Application\nName=Zorvel\n"));
    EXPECT_THAT(entry, HasSubstr("\nExec=zorvel\n"));
    EXPECT_THAT(entry, HasSubstr("\nIcon=zorvel\n"));
    for (const std::string command : {"save-replay", "toggle-recording", "screenshot", "overlay"}) {
        EXPECT_THAT(entry, HasSubstr("\n[Desktop Action " + command + "]\n"));
        EXPECT_THAT(entry, HasSubstr("\nExec=zorvel --" + command + "\n"));
    }

    PrivateDisplay display("640x480");
    ProgramRun run({.display = display.Name(),
                    .settings = {{"width", "640"}, {"height", "480"}},
                    .program = (root / "usr/bin/zorvel").string()});
    EXPECT_TRUE(run.WaitForBuffer(2)) << run.Log();
    EXPECT_EQ(run.End(), 0);
}

TEST_F(DebianPackage, ItsChecksumsMatchItsFiles) {
    const fs::path root = Unpacked();
    const std::string sums = OutputOf({"dpkg-deb", "--info", package.string(), "md5sums"});
    WriteBytes(root / "sums", sums);
    EXPECT_THAT(LinesOf(sums), SizeIs(10));
    const std::string command = "cd '" + root.string() + "' && md5sum --check --strict --quiet sums";
    EXPECT_THAT(OutputOf({"sh", "-c", command}), IsEmpty());
}

TEST_F(DebianPackage, HoldsTheLicenceAndTheEncodersTerms) {
    const std::string terms = ReadBytes(Unpacked() / "usr/share/doc/zorvel/copyright");
    EXPECT_THAT(terms, StartsWith("Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n"));
    EXPECT_THAT(terms, HasSubstr("/usr/share/common-licenses/GPL-2"));
    const std::vector<std::string> licence = LinesOf(ReadBytes(sources / "LICENSE"));
    for (std::size_t i = 4; i < licence.size(); ++i) {
        EXPECT_THAT(terms, HasSubstr("\n " + (licence[i].empty() ? "." : licence[i]) + "\n"));
    }
}

TEST_F(DebianPackage, ItsManualPageNamesEveryOptionAndItsChangelogTheVersion) {
    const fs::path share = Unpacked() / "usr/share";
    const std::string page = Replaced(OutputOf({"gzip", "-dc", (share / "man/man1/zorvel.1.gz").string()}), "\\-", "-");
    EXPECT_THAT(page, HasSubstr("\"Zorvel 3.23.0\""));
    int options = 0;
    for (const std::string& line : LinesOf(OutputOf({ProgramPath(), "--help"}))) {
        if (line.starts_with("  --")) {
            ++options;
            EXPECT_THAT(page, HasSubstr("\n.TP\n.B " + line.substr(2, line.find(' ', 2) - 2) + "\n"));
        }
    }
    EXPECT_EQ(options, 7);
    EXPECT_THAT(OutputOf({"gzip", "-dc", (share / "doc/zorvel/changelog.gz").string()}),
                StartsWith("zorvel (3.23.0) "));
    EXPECT_THAT(ReadBytes(sources / "CHANGELOG.md"), StartsWith("# Changes\n\n## 3.23.0\n"));
}

TEST_F(DebianPackage, SatisfiesLintian) {
    EXPECT_EQ(OutputOf({"lintian", "--allow-root", "--fail-on", "none", package.string()}), "");
}

TEST_F(DebianPackage, IsReproducible) {
    const fs::path again = MakeElsewhere("debian_package", ProgramPath());
    EXPECT_TRUE(ReadBytes(package) == ReadBytes(again));
}

struct WindowsArchive : Packages {
    void SetUp() override {
        WriteBytes(folder.Path() / "any name.exe", program);
        archive = Make("windows_zip", folder.Path() / "any name.exe");
    }

    std::string Held(const std::string& name) const {
        return OutputOf({"unzip", "-p", archive.string(), "zorvel-3.23.0/" + name});
    }

    const std::string program = "MZ and whatever a program is\n made of\r\n";
    fs::path archive;
};

TEST_F(WindowsArchive, HoldsTheProgramAndItsTextsInOneFolder) {
    EXPECT_EQ(archive.filename(), "zorvel-3.23.0-windows-x64.zip");
    OutputOf({"unzip", "-t", archive.string()});
    EXPECT_THAT(OutputOf({"unzip", "-l", archive.string()}),
                HasSubstr(" 2026-01-02 03:04   zorvel-3.23.0/zorvel.exe\n"));
    EXPECT_THAT(SortedLinesOf(OutputOf({"unzip", "-Z1", archive.string()})),
                ElementsAre("zorvel-3.23.0/LICENSE.txt", "zorvel-3.23.0/README.txt",
                            "zorvel-3.23.0/RUNTIME-LICENSES.txt", "zorvel-3.23.0/zorvel.exe"));
}

TEST_F(WindowsArchive, ItsProgramIsTheOneThatWasBuilt) { EXPECT_EQ(Held("zorvel.exe"), program); }

TEST_F(WindowsArchive, ItsTextsHaveWindowsLineEnds) {
    EXPECT_EQ(Held("LICENSE.txt"), Replaced(ReadBytes(sources / "LICENSE"), "\n", "\r\n"));
    for (const char* name : {"README.txt", "RUNTIME-LICENSES.txt"}) {
        SCOPED_TRACE(name);
        const std::string text = Held(name);
        EXPECT_EQ(Replaced(Replaced(text, "\r\n", "\n"), "\n", "\r\n"), text);
        EXPECT_THAT(text, HasSubstr("\r\n"));
    }
}

TEST_F(WindowsArchive, ItsReadmeSaysWhatAUserNeeds) {
    const std::string text = Held("README.txt");
    EXPECT_THAT(text, StartsWith("Zorvel 3.23.0 for Windows 10 and 11 x64\r\n"));
    const std::vector<std::string> phrases{
        "NVIDIA NVENC",    "FFmpeg 8 or newer", "beside zorvel.exe",          "Alt + X ",    "Alt + F10 ",
        "Ctrl + Alt + R ", "Ctrl + Alt + S ",   "%LOCALAPPDATA%\\ZVReelsMax", "LICENSE.txt", "RUNTIME-LICENSES.txt"};
    for (const std::string& phrase : phrases) {
        EXPECT_THAT(text, HasSubstr(phrase));
    }
    EXPECT_EQ(text.find('@'), std::string::npos);
}

TEST_F(WindowsArchive, IsReproducible) {
    const fs::path again = MakeElsewhere("windows_zip", folder.Path() / "any name.exe");
    EXPECT_TRUE(ReadBytes(archive) == ReadBytes(again));
}

TEST_F(Packages, NothingIsMadeWithoutAProgram) {
    const fs::path output = folder.Path() / "output";
    fs::create_directories(output);
    for (const char* script : {"windows_zip", "debian_package"}) {
        const std::string command = Script(script) + " /nonexistent/zorvel '" + output.string() + "' 2>&1 && echo made";
        EXPECT_THAT(OutputOf({"sh", "-c", command + " || true"}), HasSubstr("No such file"));
    }
    EXPECT_TRUE(fs::is_empty(output));
}

TEST(Icon, MatchesItsDrawingProgram) {
    const TemporaryFolder folder("zorvel-icon");
    OutputOf({ZV_DRAW_ICON, folder.Path().string()});
    int count = 0;
    for (const auto& entry : fs::directory_iterator(folder.Path())) {
        ++count;
        EXPECT_TRUE(ReadBytes(entry.path()) == ReadBytes(sources / "resources/icon" / entry.path().filename()))
            << entry.path().filename();
    }
    EXPECT_EQ(count, 6);
}

}  // namespace
}  // namespace zv
