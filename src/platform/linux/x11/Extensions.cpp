#include "platform/linux/x11/Extensions.h"

#include <algorithm>

namespace zv::x11 {

bool HasExtension(xcb_connection_t* connection, xcb_extension_t& extension) {
    const xcb_query_extension_reply_t* reply = xcb_get_extension_data(connection, &extension);
    return reply != nullptr && reply->present != 0;
}

bool HasExtensions(xcb_connection_t* connection, std::initializer_list<xcb_extension_t*> extensions) {
    for (xcb_extension_t* extension : extensions) {
        xcb_prefetch_extension_data(connection, extension);
    }
    return std::all_of(extensions.begin(), extensions.end(),
                       [&](xcb_extension_t* extension) { return HasExtension(connection, *extension); });
}

}  // namespace zv::x11
