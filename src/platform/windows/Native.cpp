// Converts the system's text and error codes.
#include "platform/windows/Native.h"

namespace zv {

Text TextOf(const wchar_t* text) { return text == nullptr ? Text() : TextOf(std::wstring(text)); }

Text TextOf(const std::wstring& text) { return Text(text.begin(), text.end()); }

Result LastError() {
    const DWORD code = GetLastError();
    return code == ERROR_SUCCESS ? resultGenericFailure : ResultOfSystemError(static_cast<std::int32_t>(code));
}

}  // namespace zv
