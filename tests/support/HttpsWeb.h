// The web of the tests: https_server, whose authority this process and its children trust. On Linux the object starts
// and ends the server. Under Wine the server was started with the run (tests/windows/start_https_server).
#pragma once

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace zv::support {

class HttpsWeb {
public:
    /// Waits until the server is ready. The test fails if it is not.
    HttpsWeb();
    ~HttpsWeb();
    HttpsWeb(const HttpsWeb&) = delete;
    HttpsWeb& operator=(const HttpsWeb&) = delete;

    /// False under Wine, whose network library follows any number of redirects, also to http. That of Windows does not.
    static const bool redirectsAreLimited;

    /// The address of a path at one of the server's ports, by its name.
    std::string Address(const std::string& port, const std::string& path) const {
        std::ifstream ports(folder_ / "ports");
        std::string name;
        std::string number;
        while (ports >> name >> number && name != port) {
        }
        return "https://localhost:" + number + path;
    }
    /// Each request so far: "port path; line of the head; ...".
    std::vector<std::string> Requests() const {
        std::ifstream log(folder_ / "requests");
        std::vector<std::string> requests;
        for (std::string line; std::getline(log, line);) {
            requests.push_back(line);
        }
        return requests;
    }

private:
    struct Server;
    std::filesystem::path folder_;
    std::unique_ptr<Server> server_;
};

}  // namespace zv::support
