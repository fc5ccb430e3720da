// PNG files for tests that decode them, written from ISO/IEC 15948 with stored instead of compressed data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zv::support {

/// The last `count` bytes of `value`, highest first.
inline std::string BigEndian(std::uint64_t value, int count) {
    std::string bytes;
    for (int i = count - 1; i >= 0; --i) {
        bytes += static_cast<char>(value >> 8 * i & 0xFFU);
    }
    return bytes;
}

/// `type` has four letters.
inline std::string PngChunk(const std::string& type, const std::string& data) {
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const char byte : type + data) {
        crc ^= static_cast<std::uint8_t>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1U) != 0 ? crc >> 1U ^ 0xEDB88320U : crc >> 1U;
        }
    }
    return BigEndian(data.size(), 4) + type + data + BigEndian(crc ^ 0xFFFFFFFFU, 4);
}

/// A zlib stream of stored blocks.
inline std::string StoredZlib(const std::string& data) {
    constexpr std::size_t largest = 65535;
    std::string stream = "\x78\x01";
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    for (std::size_t at = 0; at == 0 || at < data.size(); at += largest) {
        const std::string block = data.substr(at, largest);
        const std::string size = BigEndian(block.size(), 2);
        stream += at + largest >= data.size() ? '\1' : '\0';
        for (const char flip : {'\0', '\xFF'}) {
            stream += static_cast<char>(size[1] ^ flip);
            stream += static_cast<char>(size[0] ^ flip);
        }
        stream += block;
    }
    for (const char byte : data) {
        low = (low + static_cast<std::uint8_t>(byte)) % 65521;
        high = (high + low) % 65521;
    }
    return stream + BigEndian(high << 16U | low, 4);
}

struct PngPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int depth = 8;              ///< bits a sample
    int colorType = 2;          ///< 0 grey, 2 colour, 3 palette, 4 grey with opacity, 6 colour with opacity
    std::string rows;           ///< without the filter bytes
    std::string otherChunks{};  ///< between the header and the data, such as a palette
};

inline std::string PngBytes(const PngPicture& picture) {
    std::string header = BigEndian(picture.width, 4) + BigEndian(picture.height, 4);
    header += {static_cast<char>(picture.depth), static_cast<char>(picture.colorType), '\0', '\0', '\0'};
    const std::size_t rowBytes = picture.rows.size() / picture.height;
    std::string filtered;
    for (std::size_t at = 0; at < picture.rows.size(); at += rowBytes) {
        filtered += '\0' + picture.rows.substr(at, rowBytes);
    }
    return "\x89PNG\r\n\x1a\n" + PngChunk("IHDR", header) + picture.otherChunks +
           PngChunk("IDAT", StoredZlib(filtered)) + PngChunk("IEND", "");
}

}  // namespace zv::support
