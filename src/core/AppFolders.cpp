#include "core/AppFolders.h"

#include <filesystem>
#include <system_error>

#include "core/CreateFolder.h"
#include "platform/Environment.h"
#include "platform/Files.h"

namespace zv {
namespace {

constexpr std::size_t variableLimit = 260;  // units, with the terminating zero
constexpr TextView dataFolderName = u"ZVReelsMax";

AppFolders currentFolders;

}  // namespace

AppFolders& CurrentAppFolders() { return currentFolders; }

Text Below(TextView folder, TextView name) {
    Text path(folder);
    path += pathSeparator;
    path += name;
    return path;
}

AppFolders MakeAppFolders() {
    Text base = EnvironmentValue(u"LOCALAPPDATA");
    if (base.empty() || base.size() >= variableLimit) {
        base = u".";
    }
    AppFolders folders;
    folders.root = Below(base, dataFolderName);
    folders.logs = Below(folders.root, u"Logs");
    folders.crash = Below(folders.root, u"Crash");
    folders.history = Below(folders.root, u"History");
    folders.reports = Below(folders.root, u"Reports");
    folders.profiles = Below(folders.root, u"Profiles");
    return folders;
}

bool CreateAppFolders(const AppFolders& folders) {
    for (const Text* folder :
         {&folders.root, &folders.logs, &folders.crash, &folders.history, &folders.reports, &folders.profiles}) {
        if (!CreateFolder(*folder)) {
            return false;
        }
    }
    return true;
}

Text DataFolder() {
    Text base = EnvironmentValue(u"LOCALAPPDATA");
    if (base.empty()) {
        base = u".";
    } else if (base.size() >= variableLimit) {
        base.clear();
    }
    return Below(base, dataFolderName);
}

}  // namespace zv
