// Replaces the C library's _wstat64 at link time: the definition of the import's pointer goes before the library's.
#include "windows/DirectoryEntries.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support/TemporaryFolder.h"

extern "C" {
extern decltype(&zv::windows::StatOfEntry) __imp__wstat64;
decltype(&zv::windows::StatOfEntry) __imp__wstat64 = &zv::windows::StatOfEntry;
}

TEST(DirectoryEntries, AreUpdatedWhenAWriterClosesTheFile) {
    const zv::support::TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "a file";
    std::ofstream file(path);
    file << "12345" << std::flush;
    EXPECT_EQ(std::filesystem::file_size(path), 0U);
    file.close();
    EXPECT_EQ(std::filesystem::file_size(path), 5U);
}
