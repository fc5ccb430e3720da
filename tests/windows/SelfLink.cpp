// Wine neither creates symbolic links nor removes those to folders, but it follows those of its host and can run the
// host's programs.
#include "support/SelfLink.h"

#include <gtest/gtest.h>
#include <process.h>
#include <windows.h>

#include <string>
#include <utility>

#include "support/Eventually.h"

namespace zv::support {
namespace {

/// The error of examining `path`; 0 if it exists.
DWORD ErrorOf(const std::filesystem::path& path) {
    return GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES ? GetLastError() : 0;
}

/// Runs a program of the host in the folder of `path`, with two arguments and the name of `path`.
void RunOnHost(const wchar_t* program, const wchar_t* first, const std::wstring& second,
               const std::filesystem::path& path) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(path.parent_path());
    _wspawnl(_P_WAIT, program, program, first, second.c_str(), path.filename().c_str(), nullptr);
    std::filesystem::current_path(before);
}

void Link(const std::filesystem::path& target, const std::filesystem::path& path) {
    RunOnHost(L"Z:\\bin\\ln", L"-s", target.generic_wstring(), path);
    EXPECT_TRUE(Eventually([&] { return ErrorOf(path) == 0 || ErrorOf(path) == ERROR_CANT_RESOLVE_FILENAME; }));
}

}  // namespace

SymbolicLink::SymbolicLink(const std::filesystem::path& target, std::filesystem::path path) : path_(std::move(path)) {
    Link(target, path_);
}

SymbolicLink::~SymbolicLink() {
    RunOnHost(L"Z:\\bin\\rm", L"-f", L"--", path_);
    EXPECT_TRUE(Eventually([&] { return ErrorOf(path_) == ERROR_FILE_NOT_FOUND; }));
}

void MakeSelfLink(const std::filesystem::path& path) { Link(path.filename(), path); }

}  // namespace zv::support
