#include "capture/TextLines.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace zv {
namespace {

std::string_view WithoutBlanksAndPlus(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(" \t\r\v\f");
    text.remove_prefix(begin == std::string_view::npos ? text.size() : begin);
    if (text.starts_with('+') && !text.starts_with("+-")) {
        text.remove_prefix(1);
    }
    return text;
}

template <class Number>
std::optional<Number> Leading(std::string_view text) {
    text = WithoutBlanksAndPlus(text);
    Number number{};
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    return parsed.ec == std::errc() ? std::optional<Number>(number) : std::nullopt;
}

}  // namespace

std::optional<double> LeadingReal(std::string_view text) {
    const std::optional<double> number = Leading<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<std::int64_t> LeadingInteger(std::string_view text) { return Leading<std::int64_t>(text); }

}  // namespace zv
