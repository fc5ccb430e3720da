// The desktop's dialog for files and folders, over the portal on the session bus. Interface thread only; the dialog
// advances when the message loop dispatches the bus.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace zv::dbus {

struct FileChooserOptions {
    std::string parent;  ///< the window that the dialog belongs to, in the portal's form
    std::string title;
    bool folder = false;  ///< chooses a folder; the filter is ignored
    std::string filterName = {};
    std::string pattern = {};
};

struct FileChooserState;

class FileChooser {
public:
    /// Asks the portal for a dialog. The bus starts the portal if it is installed but does not run.
    explicit FileChooser(FileChooserOptions options);
    /// Closes the dialog if it is open.
    ~FileChooser();
    FileChooser(const FileChooser&) = delete;
    FileChooser& operator=(const FileChooser&) = delete;

    /// Returns true once the user has chosen or cancelled, or if there is no portal.
    bool HasEnded() const;
    /// Returns false if no portal has shown a dialog.
    bool WasShown() const;
    /// Nothing if the user cancelled.
    const std::optional<std::string>& Path() const;

private:
    std::shared_ptr<FileChooserState> state_;
};

}  // namespace zv::dbus
