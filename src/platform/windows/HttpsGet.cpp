// WinINet. Its library is loaded when it is used (SystemLibrary.h). WinINet itself refuses redirects from https to
// http; the address of the answer is checked all the same.
#include "platform/HttpsGet.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "platform/windows/Native.h"
#include "platform/windows/SystemLibrary.h"

namespace zv {
namespace {

constexpr wchar_t library[] = L"wininet.dll";

/// Owns a handle of WinINet.
class InternetHandle {
public:
    explicit InternetHandle(HINTERNET handle) : handle_(handle) {}
    ~InternetHandle() {
        static const auto close = SystemFunction<decltype(InternetCloseHandle)>(library, "InternetCloseHandle");
        if (handle_ != nullptr && close != nullptr) {
            close(handle_);
        }
    }
    InternetHandle(InternetHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    InternetHandle& operator=(InternetHandle&&) = delete;

    HINTERNET Get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

private:
    HINTERNET handle_;
};

InternetHandle OpenSession(TextView agent) {
    static const auto open = SystemFunction<decltype(InternetOpenW)>(library, "InternetOpenW");
    return InternetHandle(open != nullptr ? open(Native(Text(agent)), INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0)
                                          : nullptr);
}

InternetHandle OpenAddress(const InternetHandle& session, TextView address) {
    static const auto open = SystemFunction<decltype(InternetOpenUrlW)>(library, "InternetOpenUrlW");
    constexpr DWORD flags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_SECURE;
    return InternetHandle(open != nullptr ? open(session.Get(), Native(Text(address)), nullptr, 0, flags, 0) : nullptr);
}

/// Returns true if the answer came over https, after all redirects.
bool IsSecure(const InternetHandle& request) {
    static const auto query = SystemFunction<decltype(InternetQueryOptionW)>(library, "InternetQueryOptionW");
    std::array<wchar_t, INTERNET_MAX_URL_LENGTH + 1> address{};
    DWORD bytes = sizeof(wchar_t) * INTERNET_MAX_URL_LENGTH;
    return query != nullptr && query(request.Get(), INTERNET_OPTION_URL, address.data(), &bytes) &&
           TextOf(address.data()).starts_with(u"https://");
}

}  // namespace

struct HttpsGet {
    InternetHandle session;
    InternetHandle request;
};

template <>
void Closer<HttpsGet>::operator()(HttpsGet* get) const noexcept {
    delete get;
}

HttpsOpening OpenHttpsGet(TextView address, TextView agent) {
    InternetHandle session = OpenSession(agent);
    if (!session) {
        return {nullptr, HttpsFailure::NotStarted};
    }
    InternetHandle request = OpenAddress(session, address);
    if (!request || !IsSecure(request)) {
        return {nullptr, HttpsFailure::NotReached};
    }
    return {Owned<HttpsGet>(new HttpsGet{std::move(session), std::move(request)}), HttpsFailure::None};
}

std::size_t ReadBlock(HttpsGet& get, std::byte* bytes, std::size_t size) {
    static const auto read = SystemFunction<decltype(InternetReadFile)>(library, "InternetReadFile");
    DWORD count = 0;
    const DWORD wanted = static_cast<DWORD>(std::min<std::size_t>(size, 0x40000000));
    return read != nullptr && read(get.request.Get(), bytes, wanted, &count) ? count : 0;
}

}  // namespace zv
