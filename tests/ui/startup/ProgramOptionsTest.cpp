#include "ui/startup/ProgramOptions.h"

#include <gmock/gmock.h>

namespace zv {
namespace {

TEST(ProgramOptions, EachCommandLineHasOneAction) {
    struct Row {
        std::vector<Text> arguments;
        StartAction action;
        Text text;
    };
    const auto unknown = [](const Text& option) { return u"Zorvel has no option " + option + u". See zorvel --help."; };
    const auto alone = [](const Text& option) { return option + u" must be the only argument. See zorvel --help."; };
    const std::vector<Row> rows{
        {{}, StartAction::Run, u""},
        {{u"--background"}, StartAction::Run, u""},
        {{u"--backgroundish"}, StartAction::Run, u""},
        {{u"/tmp/a--background", u"file"}, StartAction::Run, u""},
        {{u"-x--background"}, StartAction::Run, u""},
        {{u""}, StartAction::Run, u""},
        {{u"save-replay"}, StartAction::Run, u""},
        {{u"--help"}, StartAction::ShowHelp, u""},
        {{u"--background", u"--version"}, StartAction::ShowVersion, u""},
        {{u"--version", u"--help"}, StartAction::ShowVersion, u""},
        {{u"--save-replay"}, StartAction::RunRemoteCommand, u"save-replay"},
        {{u"--toggle-recording"}, StartAction::RunRemoteCommand, u"toggle-recording"},
        {{u"--screenshot"}, StartAction::RunRemoteCommand, u"screenshot"},
        {{u"--overlay"}, StartAction::RunRemoteCommand, u"overlay"},
        {{u"--overlay", u"--overlay"}, StartAction::Refuse, alone(u"--overlay")},
        {{u"--background", u"--screenshot"}, StartAction::Refuse, alone(u"--screenshot")},
        {{u"--screenshot", u"file"}, StartAction::Refuse, alone(u"--screenshot")},
        {{u"-h"}, StartAction::Refuse, unknown(u"-h")},
        {{u"-"}, StartAction::Refuse, unknown(u"-")},
        {{u"--save-repaly"}, StartAction::Refuse, unknown(u"--save-repaly")},
        {{u"--overlay=1"}, StartAction::Refuse, unknown(u"--overlay=1")},
        {{u"--help", u"--typo"}, StartAction::Refuse, unknown(u"--typo")},
        {{u"--background", u"--typo"}, StartAction::Refuse, unknown(u"--typo")},
    };
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(i);
        const ProgramOptions options = ParseOptions(rows[i].arguments);
        EXPECT_EQ(options.action, rows[i].action);
        EXPECT_EQ(options.text, rows[i].text);
    }
}

TEST(ProgramOptions, TheHelpNamesEveryOption) {
    for (const TextView option : {u"--background", u"--save-replay", u"--toggle-recording", u"--screenshot",
                                  u"--overlay", u"--help", u"--version"}) {
        EXPECT_TRUE(Contains(HelpText(), u"\n  " + Text(option) + u"  ")) << Narrow(option);
    }
}

}  // namespace
}  // namespace zv
