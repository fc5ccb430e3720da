#include "platform/AboutText.h"

#include <string_view>

#include "core/Utf8.h"
#include "platform/windows/Native.h"

namespace zv {

Text AboutText() {
    constexpr int aboutText = 201;
    const HRSRC resource = FindResourceW(nullptr, MAKEINTRESOURCEW(aboutText), MAKEINTRESOURCEW(10));  // RT_RCDATA
    const HGLOBAL content = resource != nullptr ? LoadResource(nullptr, resource) : nullptr;
    const auto* bytes = static_cast<const char*>(content != nullptr ? LockResource(content) : nullptr);
    return bytes != nullptr ? FromUtf8({bytes, SizeofResource(nullptr, resource)}) : Text();
}

}  // namespace zv
