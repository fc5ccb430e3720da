// The handles and objects of a process of the Wine prefix.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>
// After the program's own headers, whose names its macros would change.
#include <windows.h>

namespace zv::windows {

/// Counts the handles and objects of a process of the prefix, which Wine does not count.
class ObjectCounts {
public:
    explicit ObjectCounts(DWORD id)
        : process_(OpenProcess(PROCESS_DUP_HANDLE | PROCESS_VM_READ | PROCESS_QUERY_INFORMATION, FALSE, id)) {}
    ~ObjectCounts() { CloseHandle(process_); }
    ObjectCounts(const ObjectCounts&) = delete;
    ObjectCounts& operator=(const ObjectCounts&) = delete;

    int Handles() const {
        int count = 0;
        for (std::uintptr_t value = 4; value < 0x4000; value += 4) {
            HANDLE copy = nullptr;
            if (DuplicateHandle(process_, reinterpret_cast<HANDLE>(value), GetCurrentProcess(), &copy, 0, FALSE,
                                DUPLICATE_SAME_ACCESS) != FALSE) {
                CloseHandle(copy);
                ++count;
            }
        }
        return count;
    }

    /// The length of the table of windows, menus, icons and cursors of all processes. Wine reuses free entries before
    /// it appends one, so that enough new menus fill the gaps and reach the end.
    static int UserObjects() {
        constexpr int enough = 3000;
        std::vector<HMENU> ours;
        std::uintptr_t last = 0;
        for (int i = 0; i < enough; ++i) {
            ours.push_back(CreateMenu());
            last = std::max(last, (reinterpret_cast<std::uintptr_t>(ours.back()) & 0xFFFFU) / 2);
        }
        for (const HMENU menu : ours) {
            EXPECT_NE(DestroyMenu(menu), FALSE);
        }
        return static_cast<int>(last) - enough;
    }

    /// Read from the table that the system shares with each process.
    int GraphicsObjects() const {
        constexpr std::size_t entries = 0x4000;
        constexpr std::size_t tableInBlock = 0xF8;
        struct Entry {
            std::uint64_t object;
            std::uint32_t owner;
            std::uint16_t unique;
            std::uint8_t type;
            std::uint8_t flags;
            std::uint64_t userPointer;
        };
        std::uintptr_t table = 0;
        std::vector<Entry> all(entries);
        EXPECT_TRUE(Read(ProcessBlock() + tableInBlock, &table, sizeof(table)));
        EXPECT_TRUE(Read(table, all.data(), entries * sizeof(Entry)));
        return static_cast<int>(std::count_if(all.begin(), all.end(), [](const Entry& one) { return one.type != 0; }));
    }

private:
    bool Read(std::uintptr_t from, void* to, std::size_t size) const {
        return ReadProcessMemory(process_, reinterpret_cast<const void*>(from), to, size, nullptr) != FALSE;
    }

    std::uintptr_t ProcessBlock() const {
        struct Basic {
            std::uintptr_t exitStatus, block, affinity, priority, id, parent;
        } basic{};
        using Query = LONG(WINAPI*)(HANDLE, ULONG, void*, ULONG, ULONG*);
        const FARPROC entry = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryInformationProcess");
        EXPECT_EQ(reinterpret_cast<Query>(reinterpret_cast<void*>(entry))(process_, 0, &basic, sizeof(basic), nullptr),
                  0);
        return basic.block;
    }

    HANDLE process_;
};

}  // namespace zv::windows
