// The text files of the application core: settings, log, history.
//
// On disk one byte is one code unit of the same value and a line ends in CR LF, on every system. A unit of 256 or
// above has no byte: the writer is bad from there on and drops everything that follows.
#pragma once

#include <fstream>
#include <vector>

#include "core/Text.h"

namespace zv {

enum class OpenFor { Replacing, Appending };

/// Writes to one file. Nothing it does raises or reports; a file that did not open swallows what is written.
class OneByteWriter {
public:
    OneByteWriter() = default;
    OneByteWriter(TextView path, OpenFor purpose) { Open(path, purpose); }

    /// Closes what was open and forgets a bad state.
    void Open(TextView path, OpenFor purpose);
    bool IsOpen() const { return stream_.is_open(); }

    /// Each LF becomes CR LF. Up to the first unit without a byte; from that unit on the writer is bad.
    void Write(TextView text);
    void Flush();
    void Close();

private:
    std::ofstream stream_;
    bool bad_ = false;
};

/// The whole file up to the first Ctrl-Z, CR LF as LF. False when it cannot be opened.
bool ReadOneByteText(TextView path, Text& text);

/// The lines between the LFs. What stands behind the last LF counts as a line unless it is empty.
std::vector<TextView> SplitLines(TextView text);

}  // namespace zv
