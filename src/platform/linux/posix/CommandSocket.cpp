#include "platform/linux/posix/CommandSocket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

#include "core/Utf8.h"
#include "platform/linux/posix/PipeFolder.h"

namespace zv {
namespace {

/// Nullopt if the path is too long for an address.
std::optional<sockaddr_un> AddressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return std::nullopt;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

const sockaddr* Generic(const sockaddr_un& address) { return reinterpret_cast<const sockaddr*>(&address); }

/// Returns true if the process at the other end belonged to that user when it connected or began to listen.
bool IsPeer(int socket, uid_t user) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == user;
}

Descriptor Listen(const std::string& path) {
    const std::optional<sockaddr_un> address = AddressOf(path);
    Descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const bool listens = address && listener.Held() && bind(listener.Get(), Generic(*address), sizeof *address) == 0 &&
                         listen(listener.Get(), SOMAXCONN) == 0;
    return listens ? std::move(listener) : Descriptor();
}

std::string Encode(const CommandOutcome& outcome) {
    std::string answer(outcome.done ? "1" : "0");
    for (const Text& part : {outcome.sentence, outcome.path}) {
        answer.append(1, '\0').append(ToUtf8(part));
    }
    return answer.append(1, '\0');
}

/// Returns false if the answer is incomplete.
bool Decode(const std::string& answer, CommandOutcome& outcome) {
    std::array<std::string, 3> parts;
    std::size_t begin = 0;
    for (std::string& part : parts) {
        const std::size_t end = answer.find('\0', begin);
        if (end == std::string::npos) {
            return false;
        }
        part = answer.substr(begin, end - begin);
        begin = end + 1;
    }
    outcome = {parts[0] == "1", FromUtf8(parts[1]), FromUtf8(parts[2])};
    return true;
}

bool SendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(sent < 0 ? 0 : static_cast<std::size_t>(sent));
    }
    return true;
}

/// Reads until the other end closes the connection, at most `limit` bytes.
std::string ReceiveAll(int socket, std::size_t limit) {
    std::string bytes;
    std::array<char, 4096> part{};
    while (bytes.size() < limit) {
        const ssize_t got = recv(socket, part.data(), part.size(), 0);
        if (got == 0 || (got < 0 && errno != EINTR)) {
            break;
        }
        bytes.append(part.data(), got < 0 ? 0 : static_cast<std::size_t>(got));
    }
    return bytes;
}

}  // namespace

struct CommandServer::Client {
    Descriptor socket;  ///< empty once the client is answered or gone
    std::int64_t dueNs = 0;
    std::string request{};
    bool complete = false;  ///< the command runs

    /// The answer fits into the socket's empty buffer.
    void Answer(const CommandOutcome& outcome) {
        const std::string answer = Encode(outcome);
        if (socket.Held()) {
            send(socket.Get(), answer.data(), answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        }
        socket.Reset();
    }

    /// Returns the name once its line is complete.
    std::optional<std::string> Read() {
        std::array<char, maxRequestBytes> part{};
        const ssize_t got = recv(socket.Get(), part.data(), part.size() - request.size(), MSG_DONTWAIT);
        if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
            return std::nullopt;
        }
        request.append(part.data(), got < 0 ? 0 : static_cast<std::size_t>(got));
        const std::size_t end = request.find('\n');
        if (end != std::string::npos) {
            complete = true;
            return request.substr(0, end);
        }
        if (got <= 0 || request.size() >= maxRequestBytes) {
            socket.Reset();
        }
        return std::nullopt;
    }
};

CommandServer::CommandServer(uid_t user) : user_(user) {
    if (!AcquirePipeFolder()) {
        return;
    }
    const std::string path = PipeFolderPath() + "/commands";
    listener_ = Listen(path);
    if (listener_.Held()) {
        path_ = path;
    } else {
        ReleasePipeFolder();
    }
}

CommandServer::~CommandServer() {
    if (!path_.empty()) {
        unlink(path_.c_str());
        ReleasePipeFolder();
    }
}

bool CommandServer::MayAccept() const {
    return listener_.Held() && clients_.size() < maxCommandClients && nowNs_ >= acceptDueNs_;
}

void CommandServer::AddDescriptors(std::vector<pollfd>& sources) const {
    if (MayAccept()) {
        sources.push_back({listener_.Get(), POLLIN, 0});
    }
    for (const auto& client : clients_) {
        // While its command runs, only the end of the client is of interest.
        sources.push_back({client->socket.Get(), static_cast<short>(client->complete ? 0 : POLLIN), 0});
    }
}

/// Accepts one client, so that a call is short.
void CommandServer::Accept() {
    Descriptor socket(accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!socket.Held()) {
        constexpr std::int64_t pauseNs = 1'000'000'000;
        acceptDueNs_ = nowNs_ + pauseNs;  // without descriptors, the socket would stay readable
    } else if (IsPeer(socket.Get(), user_)) {
        clients_.push_back(std::make_shared<Client>(Client{std::move(socket), nowNs_ + requestLimitNs}));
    }
}

void CommandServer::Serve(const std::shared_ptr<Client>& client, CommandHandler handler) const {
    if (client->complete) {
        client->socket.Reset();
        return;
    }
    const std::optional<std::string> name = client->Read();
    if (!name) {
        return;
    }
    try {
        handler(FromUtf8(*name), [held = std::weak_ptr<Client>(client)](const CommandOutcome& outcome) {
            if (const std::shared_ptr<Client> waiting = held.lock()) {
                waiting->Answer(outcome);
            }
        });
    } catch (...) {
        client->socket.Reset();
    }
}

void CommandServer::Dispatch(CommandHandler handler, std::int64_t nowNs) {
    nowNs_ = nowNs;
    std::vector<pollfd> sources;
    AddDescriptors(sources);
    if (poll(sources.data(), sources.size(), 0) > 0) {
        const std::vector<std::shared_ptr<Client>> clients = clients_;
        auto source = sources.begin();
        if (MayAccept() && source++->revents != 0) {
            Accept();
        }
        for (const std::shared_ptr<Client>& client : clients) {
            if (source++->revents != 0) {
                Serve(client, handler);
            }
        }
    }
    std::erase_if(clients_, [nowNs](const std::shared_ptr<Client>& client) {
        return !client->socket.Held() || (!client->complete && nowNs >= client->dueNs);
    });
}

CommandDelivery SendCommand(const std::string& socketPath, TextView name, CommandOutcome& outcome) {
    constexpr std::size_t maxAnswerBytes = 65536;
    const std::optional<sockaddr_un> address = AddressOf(socketPath);
    const Descriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!address || !connection.Held()) {
        return CommandDelivery::Lost;
    }
    if (connect(connection.Get(), Generic(*address), sizeof *address) != 0) {
        return errno == EACCES ? CommandDelivery::OtherUser : CommandDelivery::Lost;
    }
    if (!IsPeer(connection.Get(), getuid())) {
        return CommandDelivery::OtherUser;
    }
    const bool answered =
        SendAll(connection.Get(), ToUtf8(name) + "\n") && Decode(ReceiveAll(connection.Get(), maxAnswerBytes), outcome);
    return answered ? CommandDelivery::Answered : CommandDelivery::Lost;
}

}  // namespace zv
