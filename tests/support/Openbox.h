// A window manager for tests.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/Processes.h"

namespace zv::support {

/// Starts Openbox with its files in `folder`, and waits until it manages windows. It publishes its properties before
/// that, and ignores a window that is mapped in between. Without a valid configuration it opens a dialog box later.
inline Spawned StartOpenbox(const std::string& display, const std::filesystem::path& folder,
                            const std::string& bindings = {}) {
    const std::filesystem::path configuration = folder / "rc.xml";
    const std::filesystem::path started = folder / "openbox-started";
    WriteBytes(configuration, "<?xml version=\"1.0\"?>\n<openbox_config xmlns=\"http://openbox.org/3.4/rc\">" +
                                  bindings + "</openbox_config>\n");
    std::filesystem::remove(started);
    Spawned manager({"openbox", "--config-file", configuration.string(), "--startup", "touch " + started.string()},
                    {{"DISPLAY", display}, {"HOME", folder.string()}}, folder / "openbox.log");
    EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(started); })) << "openbox does not start";
    return manager;
}

}  // namespace zv::support
