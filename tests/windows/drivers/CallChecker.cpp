// Report and script. Both work on whole small files, so that several modules and processes may share them.
#include "windows/drivers/CallChecker.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace zv::drivers {
namespace {

struct Step {
    std::string entry;
    std::uint64_t first = 0;
    bool onwards = false;
    bool delays = false;
    long value = 0;
};

struct Script {
    std::string text;
    std::vector<Step> steps;
    std::vector<std::pair<std::string, std::string>> values;
    std::map<std::string, std::uint64_t> calls;
};

/// A lock without a handle: the module may be loaded and unloaded hundreds of times, and tests count handles.
class Lock {
public:
    Lock() { AcquireSRWLockExclusive(&srwLock); }
    ~Lock() { ReleaseSRWLockExclusive(&srwLock); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    static inline SRWLOCK srwLock = SRWLOCK_INIT;
};

// Never destroyed: the last lines are written while the module is being unloaded.
Script& TheScript() {
    static auto* script = new Script;
    return *script;
}
const char* moduleName = "?";

std::wstring Variable(const wchar_t* name) {
    std::wstring value(1024, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), 1024));
    return value;
}

void Append(const std::string& line) {
    const std::wstring path = Variable(L"ZV_TEST_REPORT");
    if (path.empty()) {
        return;
    }
    const HANDLE file = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    CloseHandle(file);
}

std::string ContentOf(const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return {};
    }
    std::string content(65536, '\0');
    DWORD size = 0;
    ReadFile(file, content.data(), static_cast<DWORD>(content.size()), &size, nullptr);
    CloseHandle(file);
    content.resize(size);
    return content;
}

/// Removes the first word of `line` and returns it. Uses no stream: an unloaded module leaks the handles of its locale.
std::string ExtractWord(std::string& line) {
    const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
    const std::size_t end = std::min(line.find_first_of(" \r", begin), line.size());
    std::string word = line.substr(begin, end - begin);
    line.erase(0, std::min(end + 1, line.size()));
    return word;
}

void Parse(std::string line, Script& script) {
    const std::string verb = ExtractWord(line);
    const std::string name = ExtractWord(line);
    if (verb == "set") {
        script.values.emplace_back(name, line.substr(0, line.find('\r')));
    } else if (verb == "fail" || verb == "delay") {
        const std::string position = ExtractWord(line);
        const bool delays = verb == "delay";
        script.steps.push_back({name, std::strtoull(position.c_str(), nullptr, 10), position.ends_with("+"), delays,
                                static_cast<long>(std::strtoul(ExtractWord(line).c_str(), nullptr, delays ? 10 : 16))});
    } else if (!verb.empty()) {
        Complain("the script says " + verb);
    }
}

}  // namespace

void NameModule(const char* name) { moduleName = name; }

void Complain(const std::string& text) { Append("complaint: " + std::string(moduleName) + ": " + text + "\n"); }
void Note(const std::string& text) { Append("note: " + std::string(moduleName) + ": " + text + "\n"); }

void ReadScript() {
    const std::wstring path = Variable(L"ZV_TEST_SCRIPT");
    const std::string text = path.empty() ? std::string() : ContentOf(path);
    const Lock lock;
    if (text == TheScript().text) {
        return;
    }
    Script script;
    script.text = text;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        Parse(text.substr(begin, end - begin), script);
        begin = end + 1;
    }
    TheScript() = std::move(script);
}

ScriptedResult CountCall(const char* entry) {
    ScriptedResult scripted;
    DWORD delay = 0;
    {
        const Lock lock;
        Script& script = TheScript();
        const std::uint64_t number = ++script.calls[entry];
        for (const Step& step : script.steps) {
            if (step.entry != entry || (step.onwards ? number < step.first : number != step.first)) {
                continue;
            }
            if (step.delays) {
                delay = static_cast<DWORD>(step.value);
            } else {
                scripted = {true, step.value};
            }
        }
    }
    if (delay != 0) {
        Sleep(delay);
    }
    return scripted;
}

std::vector<std::string> Values(const std::string& name) {
    const Lock lock;
    std::vector<std::string> found;
    for (const auto& [key, value] : TheScript().values) {
        if (key == name) {
            found.push_back(value);
        }
    }
    return found;
}

std::string Value(const std::string& name, const std::string& fallback) {
    const std::vector<std::string> values = Values(name);
    return values.empty() ? fallback : values.back();
}

std::string Hex(unsigned long long value) {
    char text[32];
    std::snprintf(text, sizeof(text), "0x%llX", value);
    return text;
}

}  // namespace zv::drivers
