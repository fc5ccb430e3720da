#include "ui/commands/RemoteCommands.h"

#include <algorithm>
#include <array>
#include <utility>

#include "ui/commands/Commands.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/Engine.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

struct JobCommand {
    TextView name;
    void (*run)();
    const JobSlot& slot;  ///< busy after a command that was not refused
    CommandReply& waiting;
};

std::array<JobCommand, 3> JobCommands() {
    CaptureRecord& capture = Ui().capture;
    ScreenshotRecord& screenshot = Ui().screenshot;
    return {{{u"save-replay", SaveReplay, capture.captureJobSlot, capture.captureReply},
             {u"toggle-recording", ToggleRecording, capture.captureJobSlot, capture.captureReply},
             {u"screenshot", TakeScreenshot, screenshot.screenshotSlot, screenshot.screenshotReply}}};
}

/// A recording that has started counts as done. Its path is the one that the file gets at the end.
CommandOutcome OutcomeOf(const Text& sentence) {
    for (const TextView beginning : {u"Replay saved: ", u"Recording saved: ", u"Screenshot saved: "}) {
        if (sentence.starts_with(beginning)) {
            return {true, sentence, sentence.substr(beginning.size())};
        }
    }
    if (sentence.starts_with(u"Recording started")) {
        return {true, sentence, Engine().recordingPath};
    }
    return {false, sentence, {}};
}

}  // namespace

void RunRemoteCommand(TextView name, CommandReply reply) {
    if (name == u"overlay") {
        ToggleQuickOverlay();
        reply({true, {}, {}});
        return;
    }
    const auto commands = JobCommands();
    const auto command = std::find_if(commands.begin(), commands.end(),
                                      [name](const JobCommand& candidate) { return candidate.name == name; });
    if (command == commands.end()) {
        reply({false, u"Zorvel does not know this command.", {}});
        return;
    }
    const bool wasBusy = command->slot.IsBusy();
    command->run();
    if (wasBusy || !command->slot.IsBusy()) {
        reply({false, Ui().statusText, {}});  // every refusal is a status text
        return;
    }
    command->waiting = std::move(reply);
}

void AnswerRemoteCommand(CommandReply& waiting, const Text& sentence) {
    if (const CommandReply reply = std::exchange(waiting, nullptr)) {
        reply(OutcomeOf(sentence));
    }
}

}  // namespace zv
