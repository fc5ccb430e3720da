#include "platform/ProfileFile.h"

#include <array>

#include "platform/windows/Native.h"

namespace zv {

Text ReadProfileText(TextView path, TextView section, TextView key) {
    std::array<wchar_t, 2048> value{};
    GetPrivateProfileStringW(Native(Text(section)), Native(Text(key)), L"", value.data(),
                             static_cast<DWORD>(value.size()), Native(Text(path)));
    return TextOf(value.data());
}

}  // namespace zv
