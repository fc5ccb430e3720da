// The entry point of the Linux program.
#include <cstdio>
#include <filesystem>
#include <vector>

#include "core/Utf8.h"
#include "platform/Files.h"
#include "platform/Session.h"
#include "platform/linux/x11/CommandClient.h"
#include "platform/linux/x11/window/MessageLoop.h"
#include "ui/commands/RemoteCommands.h"
#include "ui/startup/Application.h"
#include "ui/startup/ProgramOptions.h"

namespace {

int Print(FILE* stream, const zv::Text& text, int exitCode) {
    std::fputs(zv::ToUtf8(text).c_str(), stream);
    return exitCode;
}

/// The path alone on standard output, the sentence on standard error.
int RunCommand(const zv::Text& name) {
    zv::CommandOutcome outcome;
    int exitCode = zv::x11::RunInOtherCopy(zv::instanceName, name, outcome);
    if (!outcome.path.empty()) {
        Print(stdout, outcome.path + u"\n", exitCode);
    }
    if (!outcome.sentence.empty()) {
        Print(stderr, outcome.sentence + u"\n", exitCode);
    }
    return exitCode;
}

int Run(int argumentCount, char** arguments) {
    if (!zv::OpenSession()) {
        return 1;
    }
    zv::Text commandLine;
    for (int i = 0; i < argumentCount; ++i) {
        commandLine += (i == 0 ? u"" : u" ") + zv::FromPath(std::filesystem::path(arguments[i]));
    }
    zv::x11::SetCommandHandler(zv::RunRemoteCommand);
    return zv::RunApplication(commandLine);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    std::vector<zv::Text> words;
    for (int i = 1; i < argumentCount; ++i) {
        words.push_back(zv::FromPath(std::filesystem::path(arguments[i])));
    }
    const zv::ProgramOptions options = zv::ParseOptions(words);
    switch (options.action) {
        case zv::StartAction::ShowHelp:
            return Print(stdout, zv::HelpText(), 0);
        case zv::StartAction::ShowVersion:
            return Print(stdout, zv::VersionText(), 0);
        case zv::StartAction::RunRemoteCommand:
            return RunCommand(options.text);
        case zv::StartAction::Refuse:
            return Print(stderr, options.text + u"\n", zv::usageExit);
        case zv::StartAction::Run:
            break;
    }
    return Run(argumentCount, arguments);
}
