// The sound page of the desktop's settings, found by its menu entry: those of GNOME, Plasma and Cinnamon by name, else
// a mixer, such as those of MATE and Xfce, by its category.
#include <gio/gdesktopappinfo.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/AudioDevices.h"
#include "platform/linux/posix/DetachedProgram.h"

namespace zv {
namespace {

struct EntryDeleter {
    void operator()(GDesktopAppInfo* entry) const noexcept { g_object_unref(entry); }
};
using Entry = std::unique_ptr<GDesktopAppInfo, EntryDeleter>;

/// Returns the command line of an entry without its field codes, which stand for files. Empty if the entry belongs to
/// another desktop.
std::vector<std::string> CommandOf(GDesktopAppInfo& entry) {
    const char* line = g_app_info_get_commandline(G_APP_INFO(&entry));
    int count = 0;
    char** words = nullptr;
    if (g_desktop_app_info_get_show_in(&entry, nullptr) == FALSE || line == nullptr ||
        g_shell_parse_argv(line, &count, &words, nullptr) == FALSE) {
        return {};
    }
    std::vector<std::string> command;
    for (int i = 0; i < count; ++i) {
        if (words[i][0] != '%') {
            command.emplace_back(words[i]);
        }
    }
    g_strfreev(words);
    return command;
}

bool OpenEntry(GDesktopAppInfo& entry) {
    const std::vector<std::string> command = CommandOf(entry);
    return !command.empty() && StartDetached(command) != 0;
}

bool OpenKnownEntry() {
    for (const char* name :
         {"gnome-sound-panel.desktop", "kcm_pulseaudio.desktop", "cinnamon-settings-sound.desktop"}) {
        const Entry entry(g_desktop_app_info_new(name));
        if (entry && OpenEntry(*entry)) {
            return true;
        }
    }
    return false;
}

bool IsMixer(GDesktopAppInfo& entry) {
    const char* categories = g_desktop_app_info_get_categories(&entry);
    return (";" + std::string(categories != nullptr ? categories : "") + ";").find(";Mixer;") != std::string::npos;
}

bool OpenMixer() {
    GList* entries = g_app_info_get_all();
    bool opened = false;
    for (GList* each = entries; each != nullptr && !opened; each = each->next) {
        GDesktopAppInfo* entry = G_DESKTOP_APP_INFO(each->data);
        opened = IsMixer(*entry) && OpenEntry(*entry);
    }
    g_list_free_full(entries, g_object_unref);
    return opened;
}

}  // namespace

bool OpenSoundSettings() { return OpenKnownEntry() || OpenMixer() || StartDetached({"pavucontrol"}) != 0; }

}  // namespace zv
