#include "core/AppCore.h"

#include "core/AppFolders.h"
#include "core/CreateFolder.h"
#include "core/TimeText.h"
#include "platform/Clock.h"
#include "platform/Files.h"

namespace zv {
namespace {

constexpr std::size_t rowsKept = 200;
constexpr char timeSeparator = ':';

AppCore currentCore;

}  // namespace

AppCore& CurrentAppCore() { return currentCore; }

void AppLogStart(TextView data) {
    CreateFolder(data);
    const Text logs = Below(data, u"Logs");
    CreateFolder(logs);
    {
        const std::lock_guard lock(currentCore.logMutex);
        currentCore.logPath = Below(logs, u"zv-reels.log");
        currentCore.logStream.Open(currentCore.logPath, OpenFor::Appending);
    }
    const Text history = Below(data, u"History");
    CreateFolder(history);
    currentCore.history.path = Below(history, u"activity.log");
}

void AppLogWrite(TextView level, TextView category, TextView message) {
    const std::lock_guard lock(currentCore.logMutex);
    OneByteWriter& stream = currentCore.logStream;
    if (!stream.IsOpen()) {
        return;
    }
    Text line = u"[" + ClockText(LocalNow(), timeSeparator) + u"] [";
    line.append(level).append(u"] [").append(category).append(u"] ").append(message).append(u"\n");
    stream.Write(line);
    stream.Flush();
}

void AppLogInfo(TextView category, TextView message) { AppLogWrite(u"INFO", category, message); }

void AddActivity(TextView category, TextView text) {
    const LocalTime now = LocalNow();
    ActivityHistory& history = currentCore.history;
    history.rows.push_back({DateText(now) + u" " + ClockText(now, timeSeparator), Text(category), Text(text)});
    if (history.rows.size() > rowsKept) {
        history.rows.erase(history.rows.begin(), history.rows.end() - rowsKept);
    }
    if (history.path.empty()) {
        return;
    }
    const ActivityRow& row = history.rows.back();
    OneByteWriter file(history.path, OpenFor::Appending);
    file.Write(row.time + u"\t" + row.category + u"\t" + row.text + u"\n");
}

}  // namespace zv
