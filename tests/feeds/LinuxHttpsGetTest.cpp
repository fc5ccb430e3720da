// The request, the variables that select proxy and certificates, and servers that never end their answers.
#include <gmock/gmock.h>

#include <chrono>

#include "platform/HttpsGet.h"
#include "support/HttpsWeb.h"
#include "support/Processes.h"

namespace zv {
namespace {

using support::ScopedVariable;

HttpsFailure FailureOf(const std::string& address) { return OpenHttpsGet(Widen(address), u"test").failure; }

TEST(LinuxHttpsGet, AsksForACurrentCopy) {
    const support::HttpsWeb web;
    EXPECT_EQ(FailureOf(web.Address("https", "/body/x")), HttpsFailure::None);
    EXPECT_THAT(web.Requests(), testing::ElementsAre("https /body/x; Pragma: no-cache; User-Agent: test"));
}

TEST(LinuxHttpsGet, UsesTheProxyAndTheCertificatesOfTheEnvironment) {
    const support::HttpsWeb web;
    const std::string address = web.Address("https", "/body/x");
    for (const char* variable : {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}) {
        const ScopedVariable proxy(variable, "http://localhost:1");
        EXPECT_EQ(FailureOf(address), HttpsFailure::None) << "the tests exclude localhost";
        const ScopedVariable noExclusion("no_proxy", "");
        EXPECT_EQ(FailureOf(address), HttpsFailure::NotReached) << variable;
    }
    const ScopedVariable noAuthority("SSL_CERT_FILE", "");
    EXPECT_EQ(FailureOf(address), HttpsFailure::NotReached) << "the system does not know the authority";
}

TEST(LinuxHttpsGet, EndsWithinItsTimeLimit) {
    const support::HttpsWeb web;
    const auto start = std::chrono::steady_clock::now();
    for (const auto& [port, path] : {std::pair("https", "/nothing/300"), std::pair("silent", "/")}) {
        EXPECT_EQ(FailureOf(web.Address(port, path)), HttpsFailure::NotReached);
    }
    const HttpsOpening opening = OpenHttpsGet(Widen(web.Address("https", "/head/300")), u"test");
    ASSERT_TRUE(opening.get);
    std::byte byte{};
    EXPECT_EQ(ReadBlock(*opening.get, &byte, 1), 0U);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(200));
}

}  // namespace
}  // namespace zv
