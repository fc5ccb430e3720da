// The socket on which the running copy receives commands from later starts of the program.
//
// Only the same user gets in: the socket is in the private folder of this process's pipes, and both ends check the user
// id of the other one. A request is a name and a line feed. The answer is "1" or "0", the sentence and the path in
// UTF-8, each with a zero byte after it; then the connection ends.
//
// The running copy treats a request as text from a stranger. A request has a few bytes and must arrive within seconds,
// few connections are open at once, and no operation waits, so that no client can delay the interface.
#pragma once

#include <poll.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/CommandOutcome.h"
#include "platform/linux/posix/Posix.h"

namespace zv {

inline constexpr std::size_t maxCommandClients = 32;
inline constexpr std::size_t maxRequestBytes = 64;             ///< with the line feed
inline constexpr std::int64_t requestLimitNs = 5'000'000'000;  ///< for a whole request to arrive

/// The running copy's end. Interface thread only.
class CommandServer {
public:
    /// Listens for clients of that user. `Path` is empty if that fails.
    explicit CommandServer(uid_t user);
    ~CommandServer();
    CommandServer(const CommandServer&) = delete;
    CommandServer& operator=(const CommandServer&) = delete;

    const std::string& Path() const { return path_; }

    /// Adds what to wait for.
    void AddDescriptors(std::vector<pollfd>& sources) const;

    /// Accepts clients and passes complete requests to `handler`. `nowNs` is the monotonic time.
    void Dispatch(CommandHandler handler, std::int64_t nowNs);

private:
    struct Client;

    void Accept();
    void Serve(const std::shared_ptr<Client>& client, CommandHandler handler) const;
    bool MayAccept() const;

    uid_t user_;
    std::int64_t nowNs_ = 0;        ///< of the last Dispatch
    std::int64_t acceptDueNs_ = 0;  ///< no client is accepted before
    std::string path_;
    Descriptor listener_;
    std::vector<std::shared_ptr<Client>> clients_;
};

enum class CommandDelivery {
    Answered,
    OtherUser,  ///< the running copy belongs to another user
    Lost        ///< the running copy ended before it answered
};

/// The end of a later start: sends the command and waits for the outcome, without a time limit.
CommandDelivery SendCommand(const std::string& socketPath, TextView name, CommandOutcome& outcome);

}  // namespace zv
