// The portable reader of INI files against the system's, over random files.
#include <gtest/gtest.h>

#include <random>

#include "platform/Files.h"
#include "platform/ProfileFile.h"
#include "platform/software/ProfileText.h"
#include "support/FileBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

/// Lines of the pieces that sections, keys and values consist of, with a fixed seed.
std::string RandomProfile(std::minstd_rand& random) {
    static const std::vector<std::string> pieces{
        "[S]", "[s]", "[T]",  "K",    "k",    "=",    "[",    "]",    " ",  "\t", "\v",   "\f",   "\"",    "'",
        ";",   "a",   "\x1A", "\x7F", "\xE9", "\xA0", "\x80", "\x01", "\n", "\r", "\r\n", "\nK=", "\nk =", "\n[S]\n"};
    std::string bytes = random() % 2 == 0 ? "[S]\n" : "";
    for (std::size_t count = random() % 24; count > 0; --count) {
        bytes += pieces[random() % pieces.size()];
    }
    return bytes;
}

std::string WithMark(const std::string& bytes) {
    std::string marked = "\xFF\xFE";
    for (const char byte : bytes) {
        marked += byte;
        marked += '\0';
    }
    return marked;
}

TEST(ProfileComparison, BothReadersFindTheSame) {
    const support::TemporaryFolder folder;
    const Text path = FromPath(folder.Path() / "a.ini");
    std::minstd_rand random(4711);
    int found = 0;
    for (int round = 0; round < 3000; ++round) {
        const std::string bytes = RandomProfile(random);
        for (const std::string& file : {bytes, WithMark(bytes)}) {
            support::WriteBytes(ToPath(path), file);
            const Text value = ReadProfileText(path, u"S", u"K");
            found += value.empty() ? 0 : 1;
            ASSERT_EQ(FindProfileText(file, u"S", u"K"), value) << testing::PrintToString(file);
        }
    }
    EXPECT_GT(found, 500);
}

}  // namespace
}  // namespace zv
