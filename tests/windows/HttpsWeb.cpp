#include "support/HttpsWeb.h"

#include <gtest/gtest.h>

#include "support/Eventually.h"
#include "support/FileBytes.h"
// After the program's own headers.
#include "platform/windows/Sdk.h"
// Needs the header above.
#include <wincrypt.h>

namespace zv::support {
namespace {

/// Adds a certificate to the user's trusted authorities.
bool Trust(const std::string& pem) {
    BYTE bytes[4096];
    DWORD size = sizeof(bytes);
    const auto length = static_cast<DWORD>(pem.size());
    if (!CryptStringToBinaryA(pem.data(), length, CRYPT_STRING_BASE64HEADER, bytes, &size, nullptr, nullptr)) {
        return false;
    }
    const HCERTSTORE store = CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"ROOT");
    const bool added = store != nullptr && CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, bytes, size,
                                                                            CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
    CertCloseStore(store, 0);
    return added;
}

}  // namespace

const bool HttpsWeb::redirectsAreLimited = false;

struct HttpsWeb::Server {};

HttpsWeb::HttpsWeb() : folder_("C:\\web") {
    EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(folder_ / "ports"); }));
    EXPECT_TRUE(Trust(ReadBytes(folder_ / "ca.pem")));
}

HttpsWeb::~HttpsWeb() = default;

}  // namespace zv::support
