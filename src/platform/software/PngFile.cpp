// Reads the chunks of ISO/IEC 15948, section 5.3: length, type, data, and CRC-32 of type and data.
#include "platform/software/PngFile.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/Files.h"
#include "platform/SharedFile.h"

namespace zv {
namespace {

using Bytes = std::span<std::byte>;

constexpr std::uint64_t signature = 0x89504E470D0A1A0A;
constexpr std::uint32_t endType = 0x49454E44;  ///< IEND
constexpr std::size_t blockBytes = 65536;

constexpr std::array<std::uint32_t, 256> crcTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t value = 0; value < table.size(); ++value) {
        std::uint32_t crc = value;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1U) != 0 ? crc >> 1U ^ 0xEDB88320U : crc >> 1U;
        }
        table[value] = crc;
    }
    return table;
}();

std::uint32_t ContinueCrc(std::uint32_t crc, Bytes bytes) {
    for (const std::byte byte : bytes) {
        crc = crcTable[(crc ^ static_cast<std::uint32_t>(byte)) & 0xFFU] ^ crc >> 8U;
    }
    return crc;
}

/// Returns false if the file ends before.
bool Fill(SharedFile& file, Bytes bytes) {
    while (!bytes.empty()) {
        const std::size_t count = ReadBlock(file, bytes.data(), bytes.size());
        if (count == 0) {
            return false;
        }
        bytes = bytes.subspan(count);
    }
    return true;
}

std::uint64_t BigEndian(Bytes bytes) {
    std::uint64_t value = 0;
    for (const std::byte byte : bytes) {
        value = value << 8U | static_cast<std::uint64_t>(byte);
    }
    return value;
}

/// Returns false if the chunk is damaged.
bool ReadChunk(SharedFile& file, std::vector<std::byte>& block, std::uint64_t& type) {
    std::array<std::byte, 4> number{};
    if (!Fill(file, number)) {
        return false;
    }
    std::uint64_t left = BigEndian(number);
    if (!Fill(file, number)) {
        return false;
    }
    type = BigEndian(number);
    std::uint32_t crc = ContinueCrc(0xFFFFFFFFU, number);
    while (left > 0) {
        const Bytes part(block.data(), static_cast<std::size_t>(std::min<std::uint64_t>(left, block.size())));
        if (!Fill(file, part)) {
            return false;
        }
        crc = ContinueCrc(crc, part);
        left -= part.size();
    }
    return Fill(file, number) && BigEndian(number) == (crc ^ 0xFFFFFFFFU);
}

}  // namespace

bool IsDamagedPng(const Text& path) {
    const Owned<SharedFile> file = OpenSharedFile(ToPath(path));
    std::array<std::byte, 8> beginning{};
    if (!file || !Fill(*file, beginning) || BigEndian(beginning) != signature) {
        return false;
    }
    std::vector<std::byte> block(blockBytes);
    std::uint64_t type = 0;
    while (type != endType) {
        if (!ReadChunk(*file, block, type)) {
            return true;
        }
    }
    return false;
}

}  // namespace zv
