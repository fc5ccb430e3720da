// Installs the double of the system's sound devices into the Wine prefix, writes its script and reads its report.
//
// The double is ZvMMDevices.dll beside the test program, its rules are in drivers/ScriptedSound.h. Programs that the
// test starts use it too.
#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/ReadSharedFile.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "support/TemporaryFolder.h"
// After the program's own headers, whose names its macros would change.
#include <windows.h>

namespace zv::windows {

/// Replaces the system's sound devices for this program and all that it starts.
inline void InstallSoundDriver(const Text& dll) {
    const std::wstring value(dll.begin(), dll.end());
    const LSTATUS written = RegSetKeyValueW(
        HKEY_LOCAL_MACHINE, L"Software\\Classes\\CLSID\\{BCDE0395-E52F-467C-8E3D-C4579291692E}\\InprocServer32",
        nullptr, REG_SZ, value.c_str(), static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    if (written != ERROR_SUCCESS) {
        throw std::runtime_error("the sound double cannot be registered");
    }
}

class SoundDriver {
public:
    SoundDriver() {
        SetEnvironmentValue(u"ZV_TEST_SCRIPT", FromPath(script_));
        SetEnvironmentValue(u"ZV_TEST_REPORT", FromPath(report_));
        InstallSoundDriver(JoinPath(ExecutableFolder(), u"ZvMMDevices.dll"));
    }

    /// Replaces the script. Calls are counted from 1 again.
    void Write(const std::string& rules) { std::ofstream(script_) << rules << "set run " << ++run_ << "\n"; }

    /// The texts of all lines of the report that begin with `word`.
    std::vector<std::string> Lines(const std::string& word) const {
        std::vector<std::string> found;
        std::istringstream lines(ReadSharedFile(FromPath(report_), 0x1000000));
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind(word + ": ", 0) == 0) {
                found.push_back(line.substr(line.find(": ", word.size() + 2) + 2));
            }
        }
        return found;
    }
    std::vector<std::string> Complaints() const { return Lines("complaint"); }
    std::vector<std::string> Notes() const { return Lines("note"); }

    void ClearReport() const { std::filesystem::remove(report_); }

private:
    support::TemporaryFolder folder_{"zorvel-sound"};
    std::filesystem::path script_ = folder_.Path() / "script";
    int run_ = 0;
    std::filesystem::path report_ = folder_.Path() / "report";
};

}  // namespace zv::windows
