// The socket for commands, with well-behaved clients and others.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <future>
#include <memory>
#include <vector>

#include "platform/linux/posix/CommandSocket.h"
#include "support/Eventually.h"

namespace zv {
namespace {

using support::Eventually;

/// What the handler has received. A command is answered at once unless its name begins with "wait".
std::vector<std::pair<Text, CommandReply>>& Received() {
    static std::vector<std::pair<Text, CommandReply>> received;
    return received;
}

void Handle(TextView name, CommandReply reply) {
    Received().emplace_back(name, reply);
    if (name == u"throw") {
        throw std::bad_alloc();
    }
    if (!name.starts_with(u"wait")) {
        reply({name == u"good", u"A sentence.", u"/päth"});
    }
}

sockaddr_un AddressOfSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    return address;
}

struct LinuxCommandSocket : testing::Test {
    LinuxCommandSocket() { Received().clear(); }

    /// A client that sends these bytes and does not read.
    Descriptor Connect(const std::string& bytes = {}) const {
        const sockaddr_un address = AddressOfSocket(server->Path());
        Descriptor client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        EXPECT_EQ(connect(client.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(send(client.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
        return client;
    }
    /// The message loop, until nothing is ready.
    void Dispatch(std::int64_t nowNs = 0) {
        for (bool ready = true; ready;) {
            std::vector<pollfd> sources;
            server->AddDescriptors(sources);
            ready = poll(sources.data(), sources.size(), 0) > 0;
            server->Dispatch(Handle, nowNs);
        }
    }
    std::size_t OpenClients() const {
        std::vector<pollfd> sources;
        server->AddDescriptors(sources);
        return sources.size() - 1;  // without the listener
    }
    /// Returns true if the server has closed the connection.
    static bool IsClosed(const Descriptor& client) {
        char rest[256];
        ssize_t got = 1;
        while (got > 0) {
            got = recv(client.Get(), rest, sizeof rest, MSG_DONTWAIT);
        }
        return got == 0 || errno == ECONNRESET;
    }
    CommandDelivery Send(TextView name, CommandOutcome& outcome) {
        auto sent = std::async(std::launch::async, [&] { return SendCommand(server->Path(), name, outcome); });
        EXPECT_TRUE(Eventually([&] {
            Dispatch();
            return sent.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
        }));
        return sent.get();
    }

    std::unique_ptr<CommandServer> server = std::make_unique<CommandServer>(getuid());
};

TEST_F(LinuxCommandSocket, PassesTheCommandAndItsOutcome) {
    CommandOutcome outcome;
    EXPECT_EQ(Send(u"good", outcome), CommandDelivery::Answered);
    EXPECT_TRUE(outcome.done);
    EXPECT_EQ(outcome.sentence, u"A sentence.");
    EXPECT_EQ(outcome.path, u"/päth");
    EXPECT_EQ(Send(u"bad", outcome), CommandDelivery::Answered);
    EXPECT_FALSE(outcome.done);
    EXPECT_EQ(OpenClients(), 0U);
}

TEST_F(LinuxCommandSocket, IsPrivateAndRemovedAtTheEnd) {
    const std::filesystem::path path = server->Path();
    struct stat folder {};
    ASSERT_EQ(stat(path.parent_path().c_str(), &folder), 0);
    EXPECT_EQ(folder.st_mode & 07777U, 0700U);
    server.reset();
    EXPECT_FALSE(std::filesystem::exists(path.parent_path()));
    CommandOutcome outcome;
    EXPECT_EQ(SendCommand(path.string(), u"good", outcome), CommandDelivery::Lost);
}

TEST_F(LinuxCommandSocket, ClosesTheConnectionsOfOtherUsers) {
    server = nullptr;
    server = std::make_unique<CommandServer>(getuid() + 1);
    const Descriptor client = Connect("good\n");
    Dispatch();
    EXPECT_TRUE(IsClosed(client));
    EXPECT_TRUE(Received().empty());
}

TEST_F(LinuxCommandSocket, ARequestMayArriveInPieces) {
    const Descriptor client = Connect("go");
    Dispatch();
    EXPECT_TRUE(Received().empty());
    send(client.Get(), "od\nmore", 7, MSG_NOSIGNAL);
    Dispatch();
    ASSERT_EQ(Received().size(), 1U);
    EXPECT_EQ(Received()[0].first, u"good");
}

TEST_F(LinuxCommandSocket, RequestsThatAreTooLongOrBrokenOffAreNotPassedOn) {
    const Descriptor longest = Connect(std::string(maxRequestBytes - 1, 'a') + "\n");
    const Descriptor tooLong = Connect(std::string(maxRequestBytes, 'a') + "\n");
    Descriptor gone = Connect("good");
    gone.Reset();
    const Descriptor thrown = Connect("throw\n");
    Dispatch();
    ASSERT_EQ(Received().size(), 2U);
    EXPECT_EQ(Received()[0].first, Text(maxRequestBytes - 1, u'a'));
    EXPECT_TRUE(IsClosed(tooLong));
    EXPECT_TRUE(IsClosed(thrown));
    EXPECT_EQ(OpenClients(), 0U);
}

TEST_F(LinuxCommandSocket, AnUnfinishedRequestIsDroppedAfterItsLimit) {
    const Descriptor client = Connect("good");
    Dispatch(1000);
    Dispatch(1000 + requestLimitNs - 1);
    EXPECT_FALSE(IsClosed(client));
    Dispatch(1000 + requestLimitNs);
    EXPECT_TRUE(IsClosed(client));
}

TEST_F(LinuxCommandSocket, ARunningCommandHasNoLimitAndEndsWithItsClient) {
    Descriptor client = Connect("wait\n");
    const Descriptor other = Connect("wait too\n");
    Dispatch();
    Dispatch(100 * requestLimitNs);
    ASSERT_EQ(Received().size(), 2U);
    EXPECT_EQ(OpenClients(), 2U);
    client.Reset();
    Dispatch();
    EXPECT_EQ(OpenClients(), 1U);
    Received()[0].second({true, u"for nobody", {}});
    Received()[1].second({true, u"late", {}});
    Dispatch();
    EXPECT_TRUE(IsClosed(other));
    EXPECT_EQ(OpenClients(), 0U);
}

TEST_F(LinuxCommandSocket, AReplyAfterTheEndOfTheServerIsDropped) {
    const Descriptor client = Connect("wait\n");
    Dispatch();
    server.reset();
    Received().at(0).second({true, u"late", {}});
    EXPECT_TRUE(IsClosed(client));
}

TEST_F(LinuxCommandSocket, FewClientsAreOpenAtOnceAndTheOthersFollow) {
    std::vector<Descriptor> clients;
    for (std::size_t i = 0; i < maxCommandClients + 20; ++i) {
        clients.push_back(Connect());
    }
    Dispatch();
    std::vector<pollfd> sources;
    server->AddDescriptors(sources);
    EXPECT_EQ(sources.size(), maxCommandClients) << "the listener must not wake the loop now";
    clients.erase(clients.begin(), clients.begin() + static_cast<std::ptrdiff_t>(maxCommandClients));
    for (const Descriptor& client : clients) {
        send(client.Get(), "good\n", 5, MSG_NOSIGNAL);
    }
    Dispatch();
    EXPECT_EQ(Received().size(), 20U);
}

}  // namespace
}  // namespace zv
