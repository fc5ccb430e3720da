#include "platform/software/PngFile.h"

#include <gtest/gtest.h>

#include "platform/Files.h"
#include "support/FileBytes.h"
#include "support/PngBytes.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

class PngFile : public testing::Test {
protected:
    bool IsDamaged(const std::string& bytes) const {
        support::WriteBytes(path_, bytes);
        return IsDamagedPng(FromPath(path_));
    }

    support::TemporaryFolder folder_;
    std::filesystem::path path_ = folder_.Path() / "picture";
    // One grey pixel, as another encoder writes it.
    const std::string whole_{
        "\x89PNG\r\n\x1a\n"
        "\0\0\0\x0dIHDR\0\0\0\1\0\0\0\1\x08\0\0\0\0\x3a\x7e\x9b\x55"
        "\0\0\0\x0aIDAT\x78\x9c\x63\x60\0\0\0\2\0\1\x48\xaf\xa4\x71"
        "\0\0\0\0IEND\xae\x42\x60\x82",
        67};
};

TEST_F(PngFile, IsWholeWithAnythingBehindItsEnd) {
    EXPECT_FALSE(IsDamaged(whole_));
    EXPECT_FALSE(IsDamaged(whole_ + "more"));
    // A chunk that is longer than a block of the reader.
    EXPECT_FALSE(IsDamaged(support::PngBytes({400, 400, 8, 0, std::string(160000, '\x7F')})));
}

TEST_F(PngFile, IsDamagedWhereverItEnds) {
    for (std::size_t size = 8; size < whole_.size(); ++size) {
        EXPECT_TRUE(IsDamaged(whole_.substr(0, size))) << size;
    }
    const std::string large = support::PngBytes({400, 400, 8, 0, std::string(160000, '\x7F')});
    EXPECT_TRUE(IsDamaged(large.substr(0, 100000)));
}

TEST_F(PngFile, IsDamagedWhicheverByteHasChanged) {
    for (std::size_t at = 8; at < whole_.size(); ++at) {
        std::string changed = whole_;
        changed[at] = static_cast<char>(changed[at] ^ 4);
        EXPECT_TRUE(IsDamaged(changed)) << at;
    }
}

TEST_F(PngFile, OtherAndMissingFilesAreNotExamined) {
    for (const std::string& bytes :
         {std::string(), whole_.substr(0, 7), std::string("\xFF\xD8\xFF\xE0 a photograph")}) {
        EXPECT_FALSE(IsDamaged(bytes));
    }
    std::filesystem::remove(path_);
    EXPECT_FALSE(IsDamagedPng(FromPath(path_)));
}

}  // namespace
}  // namespace zv
