#include "fake/HttpsGet.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "fake/Calls.h"

namespace zv {

struct HttpsGet {
    std::string rest;
};

namespace fake {
namespace {

std::atomic<int> openTransfers = 0;

}  // namespace

WebControls& TheWeb() {
    static WebControls web;
    return web;
}

int OpenTransfers() { return openTransfers; }

}  // namespace fake

template <>
void Closer<HttpsGet>::operator()(HttpsGet* get) const noexcept {
    --fake::openTransfers;
    delete get;
}

HttpsOpening OpenHttpsGet(TextView address, TextView agent) {
    const fake::Call call("OpenHttpsGet");
    fake::WebControls& web = fake::TheWeb();
    web.addresses.emplace_back(address);
    web.agents.emplace_back(agent);
    if (call.Fails()) {
        return {nullptr, web.failure};
    }
    ++fake::openTransfers;
    return {Owned<HttpsGet>(new HttpsGet{web.body}), HttpsFailure::None};
}

std::size_t ReadBlock(HttpsGet& get, std::byte* bytes, std::size_t size) {
    const fake::Call call("ReadHttpsBlock");
    if (call.Fails()) {
        return 0;
    }
    const std::size_t count = std::min({size, get.rest.size(), fake::TheWeb().blockLimit});
    std::memcpy(bytes, get.rest.data(), count);
    get.rest.erase(0, count);
    return count;
}

}  // namespace zv
