// Wine creates no symbolic links, but it follows those of its host and can run the host's programs.
#include "support/SelfLink.h"

#include <gtest/gtest.h>
#include <process.h>
#include <windows.h>

#include "support/Eventually.h"

namespace zv::support {

void MakeSelfLink(const std::filesystem::path& path) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(path.parent_path());
    const std::wstring name = path.filename().native();
    _wspawnl(_P_WAIT, L"Z:\\bin\\ln", L"ln", L"-s", name.c_str(), name.c_str(), nullptr);
    std::filesystem::current_path(before);
    EXPECT_TRUE(Eventually([&] {
        return GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES &&
               GetLastError() == ERROR_CANT_RESOLVE_FILENAME;
    }));
}

}  // namespace zv::support
