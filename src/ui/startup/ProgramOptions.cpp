#include "ui/startup/ProgramOptions.h"

#include <algorithm>
#include <array>

#include "feeds/UpdateCheck.h"

namespace zv {
namespace {

struct Option {
    TextView name;
    StartAction action;
    TextView help;
};

constexpr std::array<Option, 7> knownOptions{{
    {u"--background", StartAction::Run, u"start without showing the main window"},
    {u"--save-replay", StartAction::RunRemoteCommand, u"save the replay as a clip"},
    {u"--toggle-recording", StartAction::RunRemoteCommand, u"start a recording, or stop and save the one that runs"},
    {u"--screenshot", StartAction::RunRemoteCommand, u"save a picture of the chosen monitor"},
    {u"--overlay", StartAction::RunRemoteCommand, u"open or close the overlay"},
    {u"--help", StartAction::ShowHelp, u"show this text"},
    {u"--version", StartAction::ShowVersion, u"show the version"},
}};

const Option* FindOption(const Text& argument) {
    const auto found = std::find_if(knownOptions.begin(), knownOptions.end(),
                                    [&](const Option& option) { return option.name == argument; });
    return found == knownOptions.end() ? nullptr : &*found;
}

bool IsUnknown(const Text& argument) {
    return argument.starts_with(u'-') && !Contains(argument, u"--background") && FindOption(argument) == nullptr;
}

}  // namespace

ProgramOptions ParseOptions(const std::vector<Text>& arguments) {
    for (const Text& argument : arguments) {
        if (IsUnknown(argument)) {
            return {StartAction::Refuse, u"Zorvel has no option " + argument + u". See zorvel --help."};
        }
    }
    for (const Text& argument : arguments) {
        const Option* option = FindOption(argument);
        if (option == nullptr || option->action == StartAction::Run) {
            continue;
        }
        if (option->action != StartAction::RunRemoteCommand) {
            return {option->action};
        }
        if (arguments.size() > 1) {
            return {StartAction::Refuse, argument + u" must be the only argument. See zorvel --help."};
        }
        return {option->action, argument.substr(2)};
    }
    return {};
}

Text HelpText() {
    constexpr std::size_t column = 20;
    Text text =
        u"Usage: zorvel [OPTION]\n"
        u"Keeps the last seconds of one monitor and saves them as a clip; makes recordings and screenshots.\n\n";
    for (const Option& option : knownOptions) {
        text.append(u"  ").append(option.name).append(column - option.name.size(), u' ').append(option.help) += u'\n';
    }
    text +=
        u"\n"
        u"--save-replay, --toggle-recording and --screenshot are done by the copy that runs in this session. They "
        u"wait\n"
        u"for its result, print the path of the file to standard output and its sentence to standard error.\n"
        u"Exit code: 0 if the file is there or the recording runs, 1 if the command was refused or failed, 2 if no "
        u"copy\n"
        u"of this user runs in this session, 64 for a wrong option.\n";
    return text;
}

Text VersionText() { return u"Zorvel " + Text(installedVersion) + u"\n"; }

}  // namespace zv
