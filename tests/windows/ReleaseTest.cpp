// The executable for users: its imports, manifest, icon, version and texts. Read through the system's own calls where
// they exist; the import tables are parsed here. ZV_TEST_PROGRAM names another build than the one beside the tests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/windows/Native.h"
#include "support/FileBytes.h"

namespace zv {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSubsetOf;
using testing::IsSupersetOf;

constexpr WORD iconId = 101;
constexpr WORD aboutId = 201;

const std::filesystem::path& ProgramPath() {
    static const std::filesystem::path path = [] {
        const Text other = EnvironmentValue(u"ZV_TEST_PROGRAM");
        return other.empty() ? ToPath(ExecutableFolder()).parent_path().parent_path() / "zorvel.exe" : ToPath(other);
    }();
    return path;
}

/// The libraries of every edition of Windows 10 and 11 that the program may import. Some are missing on purpose:
/// nvEncodeAPI64.dll comes with a driver, and mfplay.dll is not in the editions without media features. An import of
/// either would keep the program from starting there; they are loaded when they are needed. Imports of avrt.dll,
/// d3d11.dll, dwmapi.dll, dxgi.dll and wininet.dll would first be looked for beside the program.
const std::vector<std::string> ownOfWindows{"advapi32.dll", "comctl32.dll", "comdlg32.dll", "gdi32.dll",
                                            "gdiplus.dll",  "kernel32.dll", "msvcrt.dll",   "ole32.dll",
                                            "oleaut32.dll", "shell32.dll",  "shlwapi.dll",  "user32.dll",
                                            "uxtheme.dll",  "version.dll",  "winmm.dll"};

/// The file as it is on disk. Every read is checked against its end.
class Executable {
public:
    Executable() : bytes_(support::ReadBytes(ProgramPath())) {
        const auto dos = Read<IMAGE_DOS_HEADER>(0);
        headerOffset_ = static_cast<std::size_t>(dos.e_lfanew);
        headers_ = Read<IMAGE_NT_HEADERS64>(headerOffset_);
    }

    const IMAGE_NT_HEADERS64& Headers() const { return headers_; }

    /// The names of both tables, in lower case.
    std::vector<std::string> ImportedLibraries() const {
        std::vector<std::string> names;
        const auto start = Directory(IMAGE_DIRECTORY_ENTRY_IMPORT);
        for (std::size_t at = start; start != 0; at += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
            const DWORD name = Read<IMAGE_IMPORT_DESCRIPTOR>(at).Name;
            if (name == 0) {
                break;
            }
            names.push_back(NameAt(name));
        }
        const auto delayed = Directory(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT);
        for (std::size_t at = delayed; delayed != 0; at += 32) {
            const auto name = Read<DWORD>(at + 4);
            if (name == 0) {
                break;
            }
            names.push_back(NameAt(name));
        }
        return names;
    }

private:
    template <class Record>
    Record Read(std::size_t offset) const {
        Record record{};
        if (offset + sizeof record <= bytes_.size()) {
            std::memcpy(&record, bytes_.data() + offset, sizeof record);
        } else {
            ADD_FAILURE() << "the file ends within its tables";
        }
        return record;
    }

    /// The offset of a table in the file, or 0 if there is none.
    std::size_t Directory(std::size_t index) const {
        const DWORD address = headers_.OptionalHeader.DataDirectory[index].VirtualAddress;
        return address == 0 ? 0 : OffsetOf(address);
    }

    std::size_t OffsetOf(DWORD address) const {
        std::size_t at =
            headerOffset_ + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) + headers_.FileHeader.SizeOfOptionalHeader;
        for (int i = 0; i < headers_.FileHeader.NumberOfSections; ++i, at += sizeof(IMAGE_SECTION_HEADER)) {
            const auto section = Read<IMAGE_SECTION_HEADER>(at);
            if (address >= section.VirtualAddress && address < section.VirtualAddress + section.SizeOfRawData) {
                return section.PointerToRawData + (address - section.VirtualAddress);
            }
        }
        ADD_FAILURE() << "no section holds the address " << address;
        return bytes_.size();
    }

    std::string NameAt(DWORD address) const {
        std::string name = bytes_.c_str() + std::min(OffsetOf(address), bytes_.size());
        std::transform(name.begin(), name.end(), name.begin(), [](char letter) {
            return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
        });
        return name;
    }

    std::string bytes_;
    std::size_t headerOffset_ = 0;
    IMAGE_NT_HEADERS64 headers_{};
};

TEST(Release, IsAWindowProgramForX64AndTheSupportedSystems) {
    const Executable program;
    const IMAGE_NT_HEADERS64& headers = program.Headers();
    ASSERT_EQ(headers.Signature, static_cast<DWORD>(IMAGE_NT_SIGNATURE));
    EXPECT_EQ(headers.FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_EQ(headers.OptionalHeader.Subsystem, IMAGE_SUBSYSTEM_WINDOWS_GUI);
    EXPECT_EQ(headers.OptionalHeader.MajorSubsystemVersion, 10);
    EXPECT_EQ(headers.OptionalHeader.MinorSubsystemVersion, 0);
}

TEST(Release, AllowsAnyLoadAddressAndExecutesNoData) {
    const Executable program;
    const unsigned wanted = IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA |
                            IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
    EXPECT_EQ(program.Headers().OptionalHeader.DllCharacteristics & wanted, wanted);
    EXPECT_NE(program.Headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size, 0U);
}

TEST(Release, ImportsOnlyLibrariesOfWindows) {
    const std::vector<std::string> imports = Executable().ImportedLibraries();
    EXPECT_THAT(imports, IsSupersetOf({"kernel32.dll", "user32.dll"}));
    EXPECT_THAT(imports, IsSubsetOf(ownOfWindows));
}

/// The manifest as the system's own reader understands it.
class Manifest : public testing::Test {
protected:
    Manifest() {
        const std::wstring path = ProgramPath().wstring();
        ACTCTXW source{};
        source.cbSize = sizeof source;
        source.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
        source.lpSource = path.c_str();
        source.lpResourceName = CREATEPROCESS_MANIFEST_RESOURCE_ID;
        context_ = CreateActCtxW(&source);
    }
    ~Manifest() override {
        if (context_ != INVALID_HANDLE_VALUE) {
            ReleaseActCtx(context_);
        }
    }
    void SetUp() override { ASSERT_NE(context_, INVALID_HANDLE_VALUE) << GetLastError(); }

    std::wstring Setting(const wchar_t* year, const wchar_t* name) const {
        const std::wstring space = L"http://schemas.microsoft.com/SMI/" + std::wstring(year) + L"/WindowsSettings";
        wchar_t value[100] = {};
        SIZE_T length = 0;
        return QueryActCtxSettingsW(0, context_, space.c_str(), name, value, 100, &length) != FALSE ? value : L"";
    }

    /// A record of the context, of any length.
    std::vector<std::uint64_t> Information(ULONG kind) const {
        std::vector<std::uint64_t> record(128);
        SIZE_T length = 0;
        const BOOL answered = QueryActCtxW(0, context_, nullptr, kind, record.data(), record.size() * 8, &length);
        EXPECT_NE(answered, FALSE) << GetLastError();
        return record;
    }

    HANDLE context_ = INVALID_HANDLE_VALUE;
};

TEST_F(Manifest, RequestsPerMonitorDpiAwarenessV2) {
    EXPECT_EQ(Setting(L"2016", L"dpiAwareness"), L"PerMonitorV2, PerMonitor");
    EXPECT_EQ(Setting(L"2005", L"dpiAware"), L"true/pm");
}

TEST_F(Manifest, AllowsLongPaths) { EXPECT_EQ(Setting(L"2016", L"longPathAware"), L"true"); }

TEST_F(Manifest, NamesWindows10And11AsSupported) {
    const std::vector<std::uint64_t> record = Information(CompatibilityInformationInActivationContext);
    struct Compatibility {
        std::uint32_t count;
        alignas(8) GUID id;
        std::uint32_t type;
    };
    Compatibility first{};
    std::memcpy(&first, record.data(), sizeof first);
    ASSERT_EQ(first.count, 1U);
    wchar_t id[40] = {};
    StringFromGUID2(first.id, id, 40);
    EXPECT_STREQ(id, L"{8E0F7A12-BFB3-4FE8-B9A5-48FD50A15A9A}");
    EXPECT_EQ(first.type, 1U);  // an operating system
}

TEST_F(Manifest, RunsWithTheRightsOfItsUser) {
    const std::vector<std::uint64_t> record = Information(RunlevelInformationInActivationContext);
    ACTIVATION_CONTEXT_RUN_LEVEL_INFORMATION level{};
    std::memcpy(&level, record.data(), sizeof level);
    EXPECT_EQ(level.RunLevel, ACTCTX_RUN_LEVEL_AS_INVOKER);
    EXPECT_EQ(level.UiAccess, 0U);
}

TEST_F(Manifest, UsesTheSystemsControlStyle) {
    const std::vector<std::uint64_t> record = Information(ActivationContextDetailedInformation);
    ACTIVATION_CONTEXT_DETAILED_INFORMATION details{};
    std::memcpy(&details, record.data(), sizeof details);
    EXPECT_EQ(details.ulAssemblyCount, 2U);  // the program and the common controls
}

class Resources : public testing::Test {
protected:
    Resources()
        : module_(LoadLibraryExW(ProgramPath().c_str(), nullptr,
                                 LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE)) {}
    ~Resources() override { FreeLibrary(module_); }
    void SetUp() override { ASSERT_NE(module_, nullptr); }

    std::string BytesOf(WORD id, const wchar_t* type) const {
        const HRSRC found = FindResourceW(module_, MAKEINTRESOURCEW(id), type);
        if (found == nullptr) {
            return {};
        }
        const HGLOBAL loaded = LoadResource(module_, found);
        return {static_cast<const char*>(LockResource(loaded)), SizeofResource(module_, found)};
    }

    HMODULE module_;
};

struct DestroyLoadedIcon {
    using pointer = HICON;
    void operator()(HICON icon) const { DestroyIcon(icon); }
};

/// Colour and alpha of an icon's pixels, rows from the top.
std::vector<std::uint32_t> PixelsOf(HICON icon, int& side) {
    ICONINFO parts{};
    EXPECT_NE(GetIconInfo(icon, &parts), FALSE);
    BITMAP bitmap{};
    GetObjectW(parts.hbmColor, sizeof bitmap, &bitmap);
    side = bitmap.bmWidth;
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(bitmap.bmWidth * bitmap.bmHeight));
    BITMAPINFO wanted{};
    wanted.bmiHeader = {sizeof wanted.bmiHeader, bitmap.bmWidth, -bitmap.bmHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    const HDC screen = GetDC(nullptr);
    GetDIBits(screen, parts.hbmColor, 0, static_cast<UINT>(bitmap.bmHeight), pixels.data(), &wanted, DIB_RGB_COLORS);
    ReleaseDC(nullptr, screen);
    DeleteObject(parts.hbmColor);
    DeleteObject(parts.hbmMask);
    return pixels;
}

TEST_F(Resources, TheIconHasAPictureForEverySize) {
    const std::string group = BytesOf(iconId, RT_GROUP_ICON);
    ASSERT_EQ(group.size(), 6U + 6 * 14);
    std::vector<int> sides;
    for (std::size_t at = 6; at < group.size(); at += 14) {
        EXPECT_EQ(group[at], group[at + 1]);
        EXPECT_EQ(group[at + 6], 32);  // bits a pixel
        sides.push_back(group[at] == 0 ? 256 : group[at]);
    }
    EXPECT_THAT(sides, ElementsAre(16, 24, 32, 48, 64, 256));
}

TEST_F(Resources, TheIconIsAWhiteLetterOnVioletWithRoundCorners) {
    for (const int size : {16, 32, 48}) {
        SCOPED_TRACE(size);
        const std::unique_ptr<HICON, DestroyLoadedIcon> icon(
            static_cast<HICON>(LoadImageW(module_, MAKEINTRESOURCEW(iconId), IMAGE_ICON, size, size, LR_DEFAULTCOLOR)));
        ASSERT_TRUE(icon);
        int side = 0;
        const std::vector<std::uint32_t> pixels = PixelsOf(icon.get(), side);
        ASSERT_EQ(side, size);
        const auto at = [&](int x, int y) {
            return pixels[static_cast<std::size_t>(y * size / 100 * size + x * size / 100)];
        };
        EXPECT_EQ(at(0, 0) >> 24U, 0U);              // nothing in the corner
        EXPECT_EQ(at(50, 33), 0xFFFFFFFFU);          // the letter's upper bar
        EXPECT_EQ(at(50, 68), 0xFFFFFFFFU);          // and its lower one
        EXPECT_EQ(at(13, 50) >> 24U, 0xFFU);         // the square beside it
        EXPECT_GT(at(13, 50) & 0xFFU, 0xC8U);        // is blue
        EXPECT_LT(at(13, 50) >> 8U & 0xFFU, 0x78U);  // and hardly green
    }
}

TEST_F(Resources, TheAboutTextIsComplete) {
    const std::string about = BytesOf(aboutId, RT_RCDATA);
    ASSERT_FALSE(about.empty());
    EXPECT_NE(
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, about.data(), static_cast<int>(about.size()), nullptr, 0),
        0);
    EXPECT_EQ(about.substr(0, about.find('\n')), "Zorvel 3.17 preview");
    const std::vector<std::string> phrases{
        "Windows 10/11 x64",
        "NVIDIA NVENC",
        "FFmpeg runtime that you supply",
        "Windows Media Foundation",
        "Choose ffmpeg.exe in Settings, or place it beside zorvel.exe.",
        "downloads and uploads nothing automatically",
        "unsigned preview",
        "4K, 240 FPS and zero latency are not guaranteed",
        "Broadcast LIVE is unavailable",
        "NVIDIA's interface header",
        "Copyright (c) NVIDIA Corporation",
        "Permission is hereby granted, free of charge",
        "THE SOFTWARE IS PROVIDED \"AS IS\"",
    };
    for (const std::string& phrase : phrases) {
        EXPECT_THAT(about, HasSubstr(phrase));
    }
    EXPECT_EQ(about.find('\r'), std::string::npos);
}

class VersionRecord : public testing::Test {
protected:
    VersionRecord() : bytes_(GetFileVersionInfoSizeW(ProgramPath().c_str(), nullptr)) {}
    void SetUp() override {
        ASSERT_FALSE(bytes_.empty());
        ASSERT_TRUE(GetFileVersionInfoW(ProgramPath().c_str(), 0, static_cast<DWORD>(bytes_.size()), bytes_.data()));
    }

    template <class Value>
    const Value* Find(const std::wstring& name) {
        void* value = nullptr;
        UINT length = 0;
        return VerQueryValueW(bytes_.data(), name.c_str(), &value, &length) != FALSE ? static_cast<const Value*>(value)
                                                                                     : nullptr;
    }

    std::vector<std::byte> bytes_;
};

TEST_F(VersionRecord, IsThreeTwentyThreeZeroOfAProgramForWindows) {
    const auto* fixed = Find<VS_FIXEDFILEINFO>(L"\\");
    ASSERT_NE(fixed, nullptr);
    EXPECT_EQ(fixed->dwFileVersionMS, 3U << 16U | 23U);
    EXPECT_EQ(fixed->dwFileVersionLS, 0U);
    EXPECT_EQ(fixed->dwProductVersionMS, 3U << 16U | 23U);
    EXPECT_EQ(fixed->dwProductVersionLS, 0U);
    EXPECT_EQ(fixed->dwFileFlags & fixed->dwFileFlagsMask, 0U);
    EXPECT_EQ(fixed->dwFileOS, static_cast<DWORD>(VOS_NT_WINDOWS32));
    EXPECT_EQ(fixed->dwFileType, static_cast<DWORD>(VFT_APP));
}

TEST_F(VersionRecord, DescribesTheProgram) {
    const auto* translation = Find<WORD>(L"\\VarFileInfo\\Translation");
    ASSERT_NE(translation, nullptr);
    EXPECT_EQ(translation[0], 0x409);
    EXPECT_EQ(translation[1], 1200);
    const std::vector<std::pair<std::wstring, std::wstring>> rows{
        {L"CompanyName", L"The Zorvel authors"},
        {L"FileDescription", L"Zorvel"},
        {L"FileVersion", L"3.23.0"},
        {L"InternalName", L"zorvel"},
        {L"LegalCopyright", L"Copyright (c) 2026 The Zorvel authors. MIT licence."},
        {L"OriginalFilename", L"zorvel.exe"},
        {L"ProductName", L"Zorvel"},
        {L"ProductVersion", L"3.23.0"},
    };
    for (const auto& [name, wanted] : rows) {
        const auto* value = Find<wchar_t>(L"\\StringFileInfo\\040904B0\\" + name);
        ASSERT_NE(value, nullptr) << std::string(name.begin(), name.end());
        EXPECT_EQ(std::wstring(value), wanted);
    }
}

}  // namespace
}  // namespace zv
