#include "platform/AudioDevices.h"
#include "ui/commands/SoundDevices.h"
#include "ui/commands/Status.h"
#include "ui/kit/Controls.h"
#include "ui/pages/SettingsControls.h"
#include "ui/pages/SettingsSections.h"
#include "ui/pages/TargetIds.h"

namespace zv {
namespace {

/// Only the beginning before the first list has been collected.
Text DeviceLine(TextView beginning, const std::optional<Text>& name, TextView none) {
    if (!name) {
        return Text(beginning);
    }
    return Text(beginning).append(name->empty() ? none : *name);
}

void OpenSystemSound() {
    if (!OpenSoundSettings()) {
        ShowStatus(u"The sound settings could not be opened. Choose the devices in the settings of your desktop.");
    }
}

}  // namespace

void DrawAudioSection(Canvas& canvas) {
    QueueSoundDevices();
    DrawSettingsHeading(canvas, {173, 176, 835, 206}, u"Audio capture");
    DrawCaptureSwitch(
        canvas, {overlayTarget::audioSystemSound, {173, 220, 492, 256}, u"System sound", &Settings::gameAudioEnabled});
    DrawCaptureSwitch(canvas,
                      {overlayTarget::audioMicrophone, {516, 220, 835, 256}, u"Microphone", &Settings::micEnabled});
    DrawSettingsNote(canvas, {173, 286, 835, 314},
                     DeviceLine(u"Windows microphone: ", FirstInputName(), u"No microphone detected"));
    DrawSettingsNote(canvas, {173, 322, 835, 350},
                     DeviceLine(u"Windows output: ", FirstOutputName(), u"No output device detected"));
    DrawButton(canvas, {.id = overlayTarget::soundSettings,
                        .box = {173, 374, 835, 411},
                        .label = u"Choose input and volume in Windows Sound",
                        .action = OpenSystemSound});
    DrawSettingsNote(canvas, {173, 435, 835, 480},
                     u"Zorvel uses your selected Windows default audio devices. Device-specific selection and audio "
                     u"boost need a separate audio-engine upgrade.");
}

}  // namespace zv
