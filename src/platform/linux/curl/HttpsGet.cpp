// libcurl, driven as far as the reader needs. All options must be accepted, because a library without one of them would
// follow redirects to other schemes.
//
// libcurl would read the variables of the proxy itself, while another thread may change the environment. So they are
// read here. SSL_CERT_FILE and SSL_CERT_DIR name other certificates than the system's, as for most programs.
#include "platform/HttpsGet.h"

#include <curl/curl.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string>

#include "core/Utf8.h"
#include "platform/Environment.h"

namespace zv {
namespace {

constexpr long connectTimeoutMs = 15'000;
constexpr long totalTimeoutMs = 30'000;
constexpr int pollTimeoutMs = 1'000;
constexpr long redirectLimit = 10;

struct EasyCloser {
    void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
};
struct MultiCloser {
    void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
};
struct ListCloser {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};

bool InitializeLibrary() {
    static const bool initialized = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return initialized;
}

std::string FirstVariable(std::initializer_list<TextView> names) {
    for (const TextView name : names) {
        if (const Text value = EnvironmentValue(name); !value.empty()) {
            return ToUtf8(value);
        }
    }
    return {};
}

}  // namespace

struct HttpsGet {
    // Removed from `multi` before either is released.
    std::unique_ptr<CURLM, MultiCloser> multi{curl_multi_init()};
    std::unique_ptr<CURL, EasyCloser> easy{curl_easy_init()};
    std::unique_ptr<curl_slist, ListCloser> headers;
    std::string received;   ///< and not read yet
    bool answered = false;  ///< the head of the last answer is complete
    bool ended = false;

    ~HttpsGet() {
        if (multi && easy) {
            curl_multi_remove_handle(multi.get(), easy.get());
        }
    }
};

namespace {

std::size_t OnBody(char* bytes, std::size_t, std::size_t count, void* context) {
    HttpsGet& get = *static_cast<HttpsGet*>(context);
    get.answered = true;
    get.received.append(bytes, count);
    return count;
}

/// Called for each line of each head; the empty line ends one. Interim answers and redirects are not the last.
std::size_t OnHeader(char* bytes, std::size_t, std::size_t count, void* context) {
    HttpsGet& get = *static_cast<HttpsGet*>(context);
    if (std::string_view(bytes, count) == "\r\n" || std::string_view(bytes, count) == "\n") {
        long status = 0;
        curl_easy_getinfo(get.easy.get(), CURLINFO_RESPONSE_CODE, &status);
        get.answered = status == 200 || status >= 400;
    }
    return count;
}

/// Returns false if the library refuses an option.
bool Configure(HttpsGet& get, TextView address, TextView agent) {
    CURL* easy = get.easy.get();
    bool accepted = true;
    const auto set = [&](CURLoption option, auto value) {
        accepted = accepted && curl_easy_setopt(easy, option, value) == CURLE_OK;
    };
    for (const char* line : {"Cache-Control: no-cache", "Pragma: no-cache"}) {
        get.headers.reset(curl_slist_append(get.headers.release(), line));
    }
    set(CURLOPT_URL, ToUtf8(address).c_str());
    set(CURLOPT_USERAGENT, ToUtf8(agent).c_str());
    set(CURLOPT_HTTPHEADER, get.headers.get());
    set(CURLOPT_PROTOCOLS_STR, "https");
    set(CURLOPT_REDIR_PROTOCOLS_STR, "https");
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, redirectLimit);
    set(CURLOPT_CONNECTTIMEOUT_MS, connectTimeoutMs);
    set(CURLOPT_TIMEOUT_MS, totalTimeoutMs);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_PROXY, FirstVariable({u"https_proxy", u"HTTPS_PROXY", u"all_proxy", u"ALL_PROXY"}).c_str());
    set(CURLOPT_NOPROXY, FirstVariable({u"no_proxy", u"NO_PROXY"}).c_str());
    if (const std::string file = FirstVariable({u"SSL_CERT_FILE"}); !file.empty()) {
        set(CURLOPT_CAINFO, file.c_str());
    }
    if (const std::string folder = FirstVariable({u"SSL_CERT_DIR"}); !folder.empty()) {
        set(CURLOPT_CAPATH, folder.c_str());
    }
    set(CURLOPT_WRITEFUNCTION, OnBody);
    set(CURLOPT_WRITEDATA, &get);
    set(CURLOPT_HEADERFUNCTION, OnHeader);
    set(CURLOPT_HEADERDATA, &get);
    return accepted && curl_multi_add_handle(get.multi.get(), easy) == CURLM_OK;
}

/// Collects the end of the transfer. A transfer that has succeeded was answered, even without a body.
void CollectEnd(HttpsGet& get) {
    int rest = 0;
    while (const CURLMsg* message = curl_multi_info_read(get.multi.get(), &rest)) {
        if (message->msg == CURLMSG_DONE) {
            get.ended = true;
            get.answered = get.answered || message->data.result == CURLE_OK;
        }
    }
}

/// Transfers until `enough` returns true or the transfer has ended.
template <class Enough>
void Transfer(HttpsGet& get, Enough enough) {
    int running = 0;
    while (!get.ended && !enough()) {
        if (curl_multi_perform(get.multi.get(), &running) != CURLM_OK) {
            get.ended = true;
        }
        CollectEnd(get);
        if (!get.ended && !enough()) {
            curl_multi_poll(get.multi.get(), nullptr, 0, pollTimeoutMs, nullptr);
        }
    }
}

}  // namespace

template <>
void Closer<HttpsGet>::operator()(HttpsGet* get) const noexcept {
    delete get;
}

HttpsOpening OpenHttpsGet(TextView address, TextView agent) {
    if (!InitializeLibrary()) {
        return {nullptr, HttpsFailure::NotStarted};
    }
    Owned<HttpsGet> get(new HttpsGet);
    if (!get->multi || !get->easy || !Configure(*get, address, agent)) {
        return {nullptr, HttpsFailure::NotStarted};
    }
    Transfer(*get, [&] { return get->answered; });
    if (!get->answered) {
        return {nullptr, HttpsFailure::NotReached};
    }
    return {std::move(get), HttpsFailure::None};
}

std::size_t ReadBlock(HttpsGet& get, std::byte* bytes, std::size_t size) {
    Transfer(get, [&] { return get.received.size() >= size; });
    const std::size_t count = std::min(size, get.received.size());
    std::transform(get.received.begin(), get.received.begin() + static_cast<std::ptrdiff_t>(count), bytes,
                   [](char byte) { return static_cast<std::byte>(byte); });
    get.received.erase(0, count);
    return count;
}

}  // namespace zv
