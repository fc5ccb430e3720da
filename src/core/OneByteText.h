// The text files of the application core: settings, log, history.
//
// On disk one byte is one code unit of the same value and a line ends in CR LF, on every system. A unit of 256 or above
// has no byte. On Windows the writer drops it and everything after it. On Linux, where such units are in the default
// folders of many languages, a line with one is UTF-8 (ToGeneralUtf8). A line that one byte a unit can hold stays as it
// is, unless its bytes would be read as such UTF-8; then it is UTF-8 as well.
#pragma once

#include <fstream>
#include <vector>

#include "core/Text.h"

namespace zv {

enum class OpenFor { Replacing, Appending };

/// Writes to one file. It neither throws nor reports; if the file did not open, writes are dropped.
class OneByteWriter {
public:
    OneByteWriter() = default;
    OneByteWriter(TextView path, OpenFor purpose) { Open(path, purpose); }

    /// Closes the open file and resets the state.
    void Open(TextView path, OpenFor purpose);
    bool IsOpen() const { return stream_.is_open(); }

    /// Writes a whole line, each LF as CR LF. On Windows only up to the first unit without a byte; after such a unit
    /// all writes are dropped.
    void Write(TextView text);
    void Flush();
    void Close();

private:
    std::ofstream stream_;
    bool bad_ = false;
};

/// Reads the file up to the first Ctrl-Z and converts CR LF to LF. Returns false if it cannot be opened.
bool ReadOneByteText(TextView path, Text& text);

/// The lines between the LFs. Text after the last LF counts as a line unless it is empty.
std::vector<TextView> SplitLines(TextView text);

}  // namespace zv
