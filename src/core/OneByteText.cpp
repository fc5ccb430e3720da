#include "core/OneByteText.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "core/Utf8.h"
#include "platform/Files.h"

namespace zv {
namespace {

constexpr char16_t firstUnitWithoutByte = 256;
constexpr char endOfText = '\x1A';  // Ctrl-Z

/// The units before the first one without a byte.
std::size_t UnitsWithByte(TextView text) {
    const auto stop =
        std::find_if(text.begin(), text.end(), [](char16_t unit) { return unit >= firstUnitWithoutByte; });
    return static_cast<std::size_t>(stop - text.begin());
}

/// Returns true if one byte a unit cannot hold the text, or if the bytes would be read as UTF-8.
bool NeedsUtf8(TextView text) {
    if (UnitsWithByte(text) < text.size()) {
        return true;
    }
    const std::optional<Text> reading = DecodeGeneralUtf8(Narrow(text));
    return reading && *reading != text && NeedsUtf8(*reading);
}

Text DecodeLine(std::string_view bytes) {
    if (namesAreUtf8) {
        std::optional<Text> reading = DecodeGeneralUtf8(bytes);
        if (reading && NeedsUtf8(*reading)) {
            return *std::move(reading);
        }
    }
    return Widen(bytes);
}

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
    const bool utf8 = namesAreUtf8 && NeedsUtf8(text);
    const TextView kept = utf8 ? text : text.substr(0, UnitsWithByte(text));
    bad_ = kept.size() < text.size();
    std::string bytes;
    for (const char byte : utf8 ? ToGeneralUtf8(kept) : Narrow(kept)) {
        if (byte == '\n') {
            bytes += '\r';
        }
        bytes += byte;
    }
    stream_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
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
    for (std::string_view rest = bytes; !rest.empty();) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const bool ended = end < rest.size();
        const bool hasReturn = ended && end > 0 && rest[end - 1] == '\r';
        text += DecodeLine(rest.substr(0, hasReturn ? end - 1 : end));
        text += ended ? u"\n" : u"";
        rest.remove_prefix(ended ? end + 1 : end);
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
