#include "support/HttpsWeb.h"

#include <gtest/gtest.h>

#include "support/Eventually.h"
#include "support/FileBytes.h"
#include "support/Processes.h"
#include "support/TemporaryFolder.h"

namespace zv::support {

const bool HttpsWeb::redirectsAreLimited = true;

struct HttpsWeb::Server {
    TemporaryFolder folder{"zorvel-web"};
    Spawned process{{ZV_HTTPS_SERVER_PATH, (folder.Path() / "web").string()}, {}, folder.Path() / "log"};
    ScopedVariable authority{"SSL_CERT_FILE", (folder.Path() / "web" / "ca.pem").string()};
    ScopedVariable direct{"no_proxy", "localhost"};
};

HttpsWeb::HttpsWeb() : server_(new Server) {
    folder_ = server_->folder.Path() / "web";
    EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(folder_ / "ports"); }))
        << ReadBytes(server_->folder.Path() / "log");
}

HttpsWeb::~HttpsWeb() = default;

}  // namespace zv::support
