// One GET over HTTPS, read block by block. Uses the proxy and the certificates of the system and no cache. Follows
// redirects to https addresses only. One thread a transfer, which it blocks: on Windows as long as the network's
// time-outs allow, on Linux at most 30 seconds from the opening to the last block.
#pragma once

#include <cstddef>

#include "core/Text.h"
#include "platform/Owned.h"

namespace zv {

struct HttpsGet;
template <>
void Closer<HttpsGet>::operator()(HttpsGet* get) const noexcept;

enum class HttpsFailure {
    None,
    NotStarted,  ///< the system refuses the means for any transfer
    NotReached   ///< no server has answered: address, connection, certificate or redirect
};

struct HttpsOpening {
    Owned<HttpsGet> get;  ///< null if there is a failure
    HttpsFailure failure = HttpsFailure::None;
};

/// Sends the request and waits for the head of the answer. Any status counts as an answer. `agent` is the name of the
/// program for the server.
HttpsOpening OpenHttpsGet(TextView address, TextView agent);

/// Waits for up to `size` bytes of the answer's body. Returns their number: 0 at the end and on failure.
std::size_t ReadBlock(HttpsGet& get, std::byte* bytes, std::size_t size);

}  // namespace zv
