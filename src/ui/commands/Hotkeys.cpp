#include "ui/commands/Hotkeys.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "core/AppCore.h"
#include "core/Settings.h"
#include "platform/Keyboard.h"
#include "ui/commands/CaptureSettings.h"
#include "ui/commands/Commands.h"
#include "ui/commands/Notifications.h"
#include "ui/commands/Status.h"
#include "ui/navigation/Navigation.h"
#include "ui/state/UiGlobals.h"

namespace zv {
namespace {

struct Shortcut {
    TextView label;
    void (*command)();
};

constexpr Shortcut shortcuts[shortcutAction::count] = {
    {u"Open / close overlay", ToggleQuickOverlay},
    {u"Save instant replay", SaveReplay},
    {u"Start / stop recording", ToggleRecording},
    {u"Screenshot", TakeScreenshot},
};

struct ModifierName {
    std::uint32_t bit;
    TextView name;
};
constexpr ModifierName modifierNames[] = {
    {keyModifier::control, u"Ctrl + "},
    {keyModifier::alt, u"Alt + "},
    {keyModifier::shift, u"Shift + "},
};

std::uint32_t ModsOf(int index) { return CurrentSettings().bindMods[static_cast<std::size_t>(index)]; }
std::uint32_t KeyOf(int index) { return CurrentSettings().bindKeys[static_cast<std::size_t>(index)]; }
bool& RegisteredFlag(int index) { return Ui().hotkeyRegistered[static_cast<std::size_t>(index)]; }

bool Reserve(AppWindow& window, int id, std::uint32_t modifiers, std::uint32_t key) {
    return RegisterGlobalKey(window, id, modifiers | keyModifier::noRepeat, key);
}

bool Refuse(TextView reason) {
    Ui().shortcutEditor.error = reason;
    return false;
}

void ReportBusy(int index) {
    AddActivity(u"Shortcuts", u"Shortcut busy: " + Text(ShortcutLabel(index)) + u" (" + HotkeyText(index) +
                                  u"). Change it in Settings > Keyboard shortcuts.");
    Ui().busyHotkeyPending[static_cast<std::size_t>(index)] = true;
}

/// For one action with its keys, for several without them.
Text BusyHotkeysText(std::span<const int> actions) {
    if (actions.size() == 1) {
        return Text(ShortcutLabel(actions[0])) + u": " + HotkeyText(actions[0]) +
               u" is busy. Change it in Settings > Keyboard shortcuts.";
    }
    Text text;
    for (const int action : actions) {
        text += (text.empty() ? u"" : u", ") + Text(ShortcutLabel(action));
    }
    return text + u": shortcuts are busy. Change them in Settings > Keyboard shortcuts.";
}

bool BelongsToAnother(int index, std::uint32_t modifiers, std::uint32_t key) {
    for (int other = 0; other < shortcutAction::count; ++other) {
        if (other != index && ModsOf(other) == modifiers && KeyOf(other) == key) {
            return true;
        }
    }
    return false;
}

}  // namespace

TextView ShortcutLabel(int index) { return shortcuts[index].label; }

void RegisterHotkeys(AppWindow& window) {
    for (int i = 0; i < shortcutAction::count; ++i) {
        RegisteredFlag(i) = Reserve(window, i + 1, ModsOf(i), KeyOf(i));
        if (!RegisteredFlag(i)) {
            ReportBusy(i);
        }
    }
}

void UnregisterHotkeys(AppWindow& window) {
    for (int i = 0; i < shortcutAction::count; ++i) {
        UnregisterGlobalKey(window, i + 1);
    }
}

void UpdateHotkey(std::uintptr_t id, bool reserved) {
    if (id < 1 || id > shortcutAction::count) {
        return;
    }
    const int index = static_cast<int>(id) - 1;
    RegisteredFlag(index) = reserved;
    if (!reserved) {
        ReportBusy(index);
    }
    InvalidatePages();
}

void ShowBusyHotkeys() {
    std::array<bool, shortcutAction::count>& pending = Ui().busyHotkeyPending;
    // The jobs that end with a status. A scan of the library shows none and can take long.
    const bool awaitsStatus = Ui().capture.captureJobSlot.IsBusy() || Ui().screenshot.screenshotSlot.IsBusy();
    if (std::find(pending.begin(), pending.end(), true) == pending.end() || awaitsStatus || IsToastShown()) {
        return;
    }
    std::vector<int> busy;
    for (int i = 0; i < shortcutAction::count; ++i) {
        if (pending[static_cast<std::size_t>(i)] && !RegisteredFlag(i)) {
            busy.push_back(i);
        }
    }
    pending = {};
    if (!busy.empty()) {
        ShowToast({BusyHotkeysText(busy), ToastKind::Replay, true});
    }
}

bool TryRebindHotkey(int index, std::uint32_t modifiers, std::uint32_t key) {
    AppWindow& window = *Ui().mainWindow;
    if (modifiers == 0) {
        return Refuse(u"Include Ctrl, Alt or Shift with your key.");
    }
    if (BelongsToAnother(index, modifiers, key)) {
        return Refuse(u"That shortcut already belongs to another ZV action.");
    }
    if (modifiers == ModsOf(index) && key == KeyOf(index) && RegisteredFlag(index)) {
        return true;
    }
    // The probe shows whether the combination is free, while the present one stays registered.
    if (!Reserve(window, probeHotkeyId, modifiers, key)) {
        return Refuse(u"Shortcut is used by another app. Choose a different one.");
    }
    UnregisterGlobalKey(window, probeHotkeyId);
    UnregisterGlobalKey(window, index + 1);
    if (!Reserve(window, index + 1, modifiers, key)) {
        RegisteredFlag(index) = Reserve(window, index + 1, ModsOf(index), KeyOf(index));
        return Refuse(u"Could not reserve shortcut. Try again.");
    }
    CurrentSettings().bindMods[static_cast<std::size_t>(index)] = modifiers;
    CurrentSettings().bindKeys[static_cast<std::size_t>(index)] = key;
    RegisteredFlag(index) = true;
    if (!TrySaveSettings()) {
        ShowStatus(settingsNotSaved);
    }
    return true;
}

Text HotkeyText(int index) {
    const std::uint32_t modifiers = ModsOf(index);
    Text text;
    for (const ModifierName& row : modifierNames) {
        if ((modifiers & row.bit) != 0) {
            text += row.name;
        }
    }
    const Text name = KeyName(KeyOf(index));
    return text + (name.empty() ? u"Key " + DecimalUnsigned(KeyOf(index)) : name);
}

void RunHotkey(std::uintptr_t id) {
    if (id >= 1 && id <= shortcutAction::count) {
        shortcuts[id - 1].command();
    }
}

}  // namespace zv
