// The entry point of the Linux program.
#include <filesystem>

#include "platform/Files.h"
#include "platform/Session.h"
#include "ui/startup/Application.h"

int main(int argumentCount, char** arguments) {
    if (!zv::OpenSession()) {
        return 1;
    }
    zv::Text commandLine;
    for (int i = 0; i < argumentCount; ++i) {
        commandLine += (i == 0 ? u"" : u" ") + zv::FromPath(std::filesystem::path(arguments[i]));
    }
    return zv::RunApplication(commandLine);
}
