#include "platform/linux/posix/Adapters.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <system_error>
#include <utility>

#include "core/Utf8.h"

namespace zv {
namespace {

namespace fs = std::filesystem;

struct Vendor {
    std::uint32_t id;
    const char* name;
};

constexpr Vendor vendors[] = {
    {0x10DE, "NVIDIA"}, {0x1002, "AMD"},  {0x1022, "AMD"},    {0x8086, "Intel"},
    {0x1AF4, "Virtio"}, {0x1234, "QEMU"}, {0x15AD, "VMware"}, {0x80EE, "VirtualBox"},
};

/// The number in "card" followed by digits only. Returns -1 for other names, such as the connector "card0-HDMI-A-1".
int CardNumber(const std::string& name) {
    constexpr std::string_view stem = "card";
    constexpr std::size_t mostDigits = 6;
    const std::string digits = name.starts_with(stem) ? name.substr(stem.size()) : "";
    if (digits.empty() || digits.size() > mostDigits || digits.find_first_not_of("0123456789") != std::string::npos) {
        return -1;
    }
    return std::stoi(digits);
}

/// Reads a file that contains one number, decimal or hexadecimal with "0x". Returns false if it has none.
bool ReadNumber(const fs::path& path, std::uint64_t& number) {
    std::ifstream file(path);
    std::string text;
    if (!(file >> text)) {
        return false;
    }
    char* end = nullptr;
    number = std::strtoull(text.c_str(), &end, 0);
    return end != text.c_str() && *end == '\0';
}

std::string Describe(std::uint32_t vendorId, std::uint32_t deviceId) {
    const auto* vendor = std::find_if(std::begin(vendors), std::end(vendors),
                                      [vendorId](const Vendor& row) { return row.id == vendorId; });
    char numbers[32];
    std::snprintf(numbers, sizeof numbers, " graphics (%04X:%04X)", vendorId & 0xFFFFU, deviceId & 0xFFFFU);
    return (vendor != std::end(vendors) ? vendor->name : "PCI") + std::string(numbers);
}

/// The record is not described if the card is not a PCI device.
AdapterRecord ReadAdapter(const fs::path& device) {
    AdapterRecord adapter;
    std::uint64_t vendorId = 0;
    std::uint64_t deviceId = 0;
    if (!ReadNumber(device / "vendor", vendorId) || !ReadNumber(device / "device", deviceId)) {
        return adapter;
    }
    adapter.vendorId = static_cast<std::uint32_t>(vendorId);
    adapter.description = FromUtf8(Describe(adapter.vendorId, static_cast<std::uint32_t>(deviceId)));
    adapter.described = true;
    std::uint64_t memory = 0;
    if (ReadNumber(device / "mem_info_vram_total", memory)) {
        adapter.dedicatedVideoMemory = memory;
    }
    return adapter;
}

}  // namespace

bool ReadAdapters(const fs::path& folder, std::vector<AdapterRecord>& adapters) {
    adapters.clear();
    std::error_code code;
    std::vector<std::pair<int, fs::path>> cards;
    fs::directory_iterator entry(folder, code);
    if (code) {
        return false;
    }
    for (const fs::directory_iterator end; !code && entry != end; entry.increment(code)) {
        const int number = CardNumber(entry->path().filename().native());
        if (number >= 0) {
            cards.emplace_back(number, entry->path());
        }
    }
    std::sort(cards.begin(), cards.end());
    for (const auto& [number, path] : cards) {
        adapters.push_back(ReadAdapter(path / "device"));
    }
    return true;
}

}  // namespace zv
