#include "stand_in/Environment.h"

namespace zv {
namespace {

Text ValueOf(const std::map<Text, Text>& values, TextView name) {
    const auto found = values.find(Text(name));
    return found == values.end() ? Text() : found->second;
}

}  // namespace

const char16_t* const ffmpegFileName = u"ffmpeg";

Text EnvironmentValue(TextView name) { return ValueOf(stand_in::TheEnvironment().variables, name); }

void SetEnvironmentValue(TextView name, TextView value) {
    stand_in::TheEnvironment().variables.insert_or_assign(Text(name), Text(value));
}

std::uint32_t OwnProcessId() { return stand_in::TheEnvironment().processId; }

Text ExecutableFolder() { return stand_in::TheEnvironment().executableFolder; }

Text FindOnSearchPath(TextView fileName) { return ValueOf(stand_in::TheEnvironment().programs, fileName); }

namespace stand_in {

EnvironmentControls& TheEnvironment() {
    static EnvironmentControls environment;
    return environment;
}

}  // namespace stand_in
}  // namespace zv
