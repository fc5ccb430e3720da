#include "platform/linux/mpv/MpvState.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstddef>

namespace zv::mpv {
namespace {

constexpr double longest = 1e9;  ///< seconds; more is no real duration

std::size_t SkipBlanks(std::string_view text, std::size_t at) {
    while (at < text.size() && std::isspace(static_cast<unsigned char>(text[at])) != 0) {
        ++at;
    }
    return at;
}

/// The end of the string that begins with a quote at `at`.
std::size_t EndOfString(std::string_view text, std::size_t at) {
    for (++at; at < text.size() && text[at] != '"'; ++at) {
        at += text[at] == '\\' ? 1 : 0;
    }
    return std::min(at + 1, text.size());
}

/// The end of the value at `at`: at the comma or bracket that follows it.
std::size_t EndOfValue(std::string_view text, std::size_t at) {
    for (int depth = 0; at < text.size();) {
        const char each = text[at];
        if (each == '"') {
            at = EndOfString(text, at);
            continue;
        }
        if (depth == 0 && (each == ',' || each == '}' || each == ']')) {
            return at;
        }
        depth += each == '{' || each == '[' ? 1 : each == '}' || each == ']' ? -1 : 0;
        ++at;
    }
    return at;
}

std::string_view WithoutQuotes(std::string_view value) {
    const bool quoted = value.size() >= 2 && value.front() == '"' && value.back() == '"';
    return quoted ? value.substr(1, value.size() - 2) : value;
}

/// Seconds as units of 100 ns. 0 for what is no number.
std::int64_t UnitsOf(std::string_view seconds) {
    double value = 0;
    const auto parsed = std::from_chars(seconds.data(), seconds.data() + seconds.size(), value);
    const bool valid = parsed.ec == std::errc() && std::isfinite(value);
    return valid ? static_cast<std::int64_t>(std::llround(std::clamp(value, 0.0, longest) * unitsPerSecond)) : 0;
}

bool Assign(bool& field, bool value) {
    const bool changed = field != value;
    field = value;
    return changed;
}

/// The properties that mpv reports.
struct Property {
    std::string_view name;
    bool (*apply)(MpvState& state, std::string_view data);  ///< returns true if a page must be painted again
};

constexpr std::array<Property, 5> properties = {{
    {"time-pos",
     [](MpvState& state, std::string_view data) {
         if (!state.seeking && !data.empty()) {
             state.position = UnitsOf(data);
         }
         return false;
     }},
    {"duration",
     [](MpvState& state, std::string_view data) {
         const std::int64_t before = state.duration;
         state.duration = UnitsOf(data);
         return state.duration != before;
     }},
    {"pause", [](MpvState& state, std::string_view data) { return Assign(state.paused, data == "true"); }},
    {"eof-reached", [](MpvState& state, std::string_view data) { return Assign(state.ended, data == "true"); }},
    {"seekable", [](MpvState& state, std::string_view data) { return Assign(state.seekable, data != "false"); }},
}};

MpvReport ApplyProperty(MpvState& state, std::string_view line) {
    const std::string_view name = JsonMember(line, "name");
    const auto found = std::find_if(properties.begin(), properties.end(),
                                    [&](const Property& property) { return property.name == name; });
    return {.changed = found != properties.end() && found->apply(state, JsonMember(line, "data"))};
}

/// The code of a reason of mpv, one of the system's errors.
Result ResultOfReason(std::string_view reason) {
    struct Row {
        std::string_view reason;
        std::int32_t error;
    };
    // The numbers of ENODEV, ENOEXEC and EIO.
    constexpr std::array<Row, 4> rows = {{{"audio output initialization failed", 19},
                                          {"video output initialization failed", 19},
                                          {"unrecognized file format", 8},
                                          {"no audio or video data played", 8}}};
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row.reason == reason; });
    return ResultOfSystemError(found == rows.end() ? 5 : found->error);
}

/// mpv keeps the file open at its end, so the file ends only if it cannot be played.
MpvReport ApplyEndOfFile(MpvState& state, std::string_view line) {
    state.loaded = false;
    return {.changed = true, .failure = ResultOfReason(JsonMember(line, "file_error"))};
}

MpvReport ApplyEvent(MpvState& state, std::string_view event, std::string_view line) {
    if (event == "property-change") {
        return ApplyProperty(state, line);
    }
    if (event == "end-file") {
        return ApplyEndOfFile(state, line);
    }
    if (event == "file-loaded") {
        return {.changed = Assign(state.loaded, true)};
    }
    if (event == "playback-restart") {
        return {.changed = Assign(state.seeking, false)};
    }
    return {};
}

MpvReport ApplyReply(MpvState& state, std::string_view request, std::string_view line) {
    if (request == std::to_string(signOfLifeRequest)) {
        return {.signOfLife = true};
    }
    if (request == std::to_string(seekRequest) && JsonMember(line, "error") != "success") {
        return {.changed = Assign(state.seeking, false)};
    }
    return {};
}

}  // namespace

MpvReport ApplyLine(MpvState& state, std::string_view line) {
    const std::string_view event = JsonMember(line, "event");
    return event.empty() ? ApplyReply(state, JsonMember(line, "request_id"), line) : ApplyEvent(state, event, line);
}

std::string_view JsonMember(std::string_view object, std::string_view name) {
    std::size_t at = SkipBlanks(object, 0);
    if (at == object.size() || object[at] != '{') {
        return {};
    }
    while (at < object.size() && object[at] != '}') {
        const std::size_t key = SkipBlanks(object, at + 1);
        const std::size_t keyEnd = key < object.size() && object[key] == '"' ? EndOfString(object, key) : key;
        const std::size_t colon = SkipBlanks(object, keyEnd);
        if (keyEnd == key || colon == object.size() || object[colon] != ':') {
            return {};
        }
        const std::size_t value = SkipBlanks(object, colon + 1);
        at = EndOfValue(object, value);
        if (WithoutQuotes(object.substr(key, keyEnd - key)) == name) {
            std::string_view found = object.substr(value, at - value);
            while (!found.empty() && std::isspace(static_cast<unsigned char>(found.back())) != 0) {
                found.remove_suffix(1);
            }
            return WithoutQuotes(found);
        }
    }
    return {};
}

std::string ObserveRequests() {
    std::string requests;
    for (const Property& property : properties) {
        requests += R"({"command":["observe_property",1,")" + std::string(property.name) + "\"]}\n";
    }
    return requests;
}

}  // namespace zv::mpv
