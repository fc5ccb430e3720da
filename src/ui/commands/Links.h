// Opens folders and web pages for the user. Every failure is a status text. Interface thread only.
#pragma once

#include "core/Text.h"

namespace zv {

/// Creates the folder if it is missing and opens it in the file manager.
void OpenFolder(const Text& path);

/// Opens the folder that contains the folders of all sessions with FFmpeg's logs.
void OpenLogsFolder();

/// Opens an https:// address in the browser. The address may come from a stranger: characters that do not belong in one
/// are percent-encoded, and any other address is refused.
void OpenWebPage(TextView address);

}  // namespace zv
