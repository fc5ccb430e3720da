#include "fake/Environment.h"

namespace zv {
namespace {

Text ValueOf(const std::map<Text, Text>& values, TextView name) {
    const auto found = values.find(Text(name));
    return found == values.end() ? Text() : found->second;
}

}  // namespace

const char16_t* const ffmpegFileName = u"ffmpeg";

Text EnvironmentValue(TextView name) { return ValueOf(fake::TheEnvironment().variables, name); }

void SetEnvironmentValue(TextView name, TextView value) {
    fake::TheEnvironment().variables.insert_or_assign(Text(name), Text(value));
}

std::uint32_t OwnProcessId() { return fake::TheEnvironment().processId; }

bool IsProcessRunning(std::uint32_t processId) { return fake::TheEnvironment().runningProcesses.contains(processId); }

Text ExecutableFolder() { return fake::TheEnvironment().executableFolder; }

Text FindOnSearchPath(TextView fileName) { return ValueOf(fake::TheEnvironment().programs, fileName); }

namespace fake {

EnvironmentControls& TheEnvironment() {
    static EnvironmentControls environment;
    return environment;
}

}  // namespace fake
}  // namespace zv
