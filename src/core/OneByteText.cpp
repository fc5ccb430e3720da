#include "core/OneByteText.h"

#include <algorithm>
#include <array>
#include <string>

#include "platform/Files.h"

namespace zv {
namespace {

constexpr char16_t firstUnitWithoutByte = 256;
constexpr char endOfText = '\x1A';  // Ctrl-Z

std::string ReadAll(std::ifstream& stream) {
    std::string bytes;
    std::array<char, 4096> block;
    do {
        stream.read(block.data(), static_cast<std::streamsize>(block.size()));
        bytes.append(block.data(), static_cast<std::size_t>(stream.gcount()));
    } while (stream);
    return bytes;
}

}  // namespace

void OneByteWriter::Open(TextView path, OpenFor purpose) {
    Close();
    bad_ = false;
    const auto mode = purpose == OpenFor::Appending ? std::ios::app : std::ios::trunc;
    stream_.open(ToPath(path), std::ios::out | std::ios::binary | mode);
}

void OneByteWriter::Write(TextView text) {
    if (bad_) {
        return;
    }
    const auto stop =
        std::find_if(text.begin(), text.end(), [](char16_t unit) { return unit >= firstUnitWithoutByte; });
    std::string bytes;
    for (auto unit = text.begin(); unit != stop; ++unit) {
        if (*unit == u'\n') {
            bytes += '\r';
        }
        bytes += static_cast<char>(*unit);
    }
    stream_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bad_ = stop != text.end();
}

void OneByteWriter::Flush() { stream_.flush(); }

void OneByteWriter::Close() {
    stream_.close();
    stream_.clear();
}

bool ReadOneByteText(TextView path, Text& text) {
    std::ifstream stream(ToPath(path), std::ios::in | std::ios::binary);
    if (!stream.is_open()) {
        return false;
    }
    std::string bytes = ReadAll(stream);
    bytes.resize(std::min(bytes.find(endOfText), bytes.size()));
    text.clear();
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        const bool endsLine = bytes[index] == '\r' && index + 1 < bytes.size() && bytes[index + 1] == '\n';
        if (!endsLine) {
            text += static_cast<char16_t>(static_cast<unsigned char>(bytes[index]));
        }
    }
    return true;
}

std::vector<TextView> SplitLines(TextView text) {
    std::vector<TextView> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

}  // namespace zv
