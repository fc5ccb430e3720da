#include "fake/FileDialogs.h"

namespace zv {
namespace {

std::optional<Text> Run(AppWindow& owner) {
    fake::TheDialogs().owner = &owner;
    if (fake::TheDialogs().whileOpen) {
        fake::TheDialogs().whileOpen();
    }
    return fake::TheDialogs().choice;
}

}  // namespace

std::optional<Text> ChooseFolder(AppWindow& owner) {
    const fake::Call call("ChooseFolder");
    return Run(owner);
}

std::optional<Text> ChooseFile(AppWindow& owner, const Text& filterName, const Text& pattern) {
    const fake::Call call("ChooseFile");
    fake::TheDialogs().filterName = filterName;
    fake::TheDialogs().pattern = pattern;
    return Run(owner);
}

namespace fake {

DialogControls& TheDialogs() {
    static DialogControls controls;
    return controls;
}

void ResetDialogs() { TheDialogs() = {}; }

}  // namespace fake
}  // namespace zv
