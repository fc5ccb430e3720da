// Owners of XCB's replies and connections. A broken connection is kept: every later call returns no reply, and the
// process continues.
#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace zv::x11 {

struct FreeReply {
    void operator()(void* reply) const noexcept { std::free(reply); }
};
template <class T>
using Reply = std::unique_ptr<T, FreeReply>;

template <class T>
Reply<T> Adopt(T* reply) {
    return Reply<T>(reply);
}

struct Disconnect {
    void operator()(xcb_connection_t* connection) const noexcept { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

}  // namespace zv::x11
