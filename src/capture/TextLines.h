// Lines and numbers in the text files that FFmpeg writes.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace zv {

/// Calls `use(line)` for every piece between line feeds, the last one included whether or not a line feed ends it.
template <class Use>
void ForEachLine(std::string_view text, const Use& use) {
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = text.find('\n', begin);
        use(text.substr(begin, end == std::string_view::npos ? end : end - begin));
        if (end == std::string_view::npos) {
            return;
        }
        begin = end + 1;
    }
}

/// The decimal number at the start of `text`, after blanks; text after it is ignored. Returns nothing if there is no
/// number, or if it is out of range, infinite or not a number.
std::optional<double> LeadingReal(std::string_view text);
std::optional<std::int64_t> LeadingInteger(std::string_view text);

}  // namespace zv
