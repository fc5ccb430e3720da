#include "platform/linux/posix/UserFolders.h"

namespace zv {
namespace {

std::string_view WithoutBlanks(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    return text;
}

/// Reads the quoted value of `key=`. Returns false if the line has another form.
bool ReadValue(std::string_view line, std::string_view key, std::string& value) {
    line = WithoutBlanks(line);
    if (!line.starts_with(key)) {
        return false;
    }
    line = WithoutBlanks(line.substr(key.size()));
    if (!line.starts_with('=')) {
        return false;
    }
    line = WithoutBlanks(line.substr(1));
    if (!line.starts_with('"')) {
        return false;
    }
    value.clear();
    for (std::size_t i = 1; i < line.size(); ++i) {
        if (line[i] == '"') {
            return true;
        }
        if (line[i] == '\\' && i + 1 < line.size()) {
            ++i;
        }
        value += line[i];
    }
    return false;
}

std::string Resolved(const std::string& value, std::string_view home) {
    constexpr std::string_view variable = "$HOME";
    std::string folder;
    if (value == variable || value.starts_with("$HOME/")) {
        folder = std::string(home) + value.substr(variable.size());
    } else if (value.starts_with('/')) {
        folder = value;
    }
    while (folder.size() > 1 && folder.ends_with('/')) {
        folder.pop_back();
    }
    return folder;
}

}  // namespace

std::string UserFolderFrom(std::string_view content, std::string_view key, std::string_view home) {
    std::string found;
    std::string value;
    while (!content.empty()) {
        const std::size_t end = content.find('\n');
        if (ReadValue(content.substr(0, end), key, value)) {
            const std::string folder = Resolved(value, home);
            found = folder.empty() ? found : folder;
        }
        content.remove_prefix(end == std::string_view::npos ? content.size() : end + 1);
    }
    return found;
}

}  // namespace zv
