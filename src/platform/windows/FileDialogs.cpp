#include "platform/FileDialogs.h"

#include <utility>

#include "platform/windows/WindowHandle.h"

namespace zv {
namespace {

bool dialogOpen = false;

/// Runs one dialog at a time.
template <class Dialog>
std::optional<Text> RunAlone(Dialog dialog) {
    if (std::exchange(dialogOpen, true)) {
        return std::nullopt;
    }
    std::optional<Text> chosen = dialog();
    dialogOpen = false;
    return chosen;
}

std::optional<Text> PathOfResult(IFileOpenDialog& dialog) {
    Com<IShellItem> item;
    if (FAILED(dialog.GetResult(item.Out()))) {
        return std::nullopt;
    }
    wchar_t* path = nullptr;
    if (FAILED(item->GetDisplayName(SIGDN_FILESYSPATH, &path))) {
        return std::nullopt;
    }
    Text chosen = TextOf(path);
    CoTaskMemFree(path);
    return chosen;
}

std::optional<Text> RunFolderDialog(HWND owner) {
    Com<IFileOpenDialog> dialog;
    if (FAILED(CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER, IID_IFileOpenDialog,
                                dialog.OutVoid()))) {
        return std::nullopt;
    }
    FILEOPENDIALOGOPTIONS options = 0;
    dialog->GetOptions(&options);
    dialog->SetOptions(options | FOS_PICKFOLDERS | FOS_FORCEFILESYSTEM);
    if (FAILED(dialog->Show(owner))) {
        return std::nullopt;
    }
    return PathOfResult(*dialog.Get());
}

std::optional<Text> RunFileDialog(HWND owner, const Text& filterName, const Text& pattern) {
    const Text filter = filterName + u'\0' + pattern + u'\0';  // and the zero of the text itself
    constexpr std::size_t longestPath = 32768;
    std::wstring path(longestPath, L'\0');
    OPENFILENAMEW request{};
    request.lStructSize = sizeof request;
    request.hwndOwner = owner;
    request.lpstrFilter = Native(filter);
    request.lpstrFile = path.data();
    request.nMaxFile = longestPath;
    request.Flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR;
    return GetOpenFileNameW(&request) ? std::optional(TextOf(path.c_str())) : std::nullopt;
}

}  // namespace

std::optional<Text> ChooseFolder(AppWindow& owner) {
    return RunAlone([&] { return RunFolderDialog(owner.handle); });
}

std::optional<Text> ChooseFile(AppWindow& owner, const Text& filterName, const Text& pattern) {
    return RunAlone([&] { return RunFileDialog(owner.handle, filterName, pattern); });
}

}  // namespace zv
