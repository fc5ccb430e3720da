#include "platform/linux/mpv/MpvPlayer.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/Clock.h"
#include "platform/Environment.h"
#include "platform/Files.h"

namespace zv::mpv {
namespace {

constexpr std::int64_t askPeriodNs = 1'000'000'000;
constexpr std::size_t mostBytesAtOnce = 1U << 18U;  ///< that one iteration of the message loop reads

std::vector<Player*>& Players() {
    static std::vector<Player*> players;
    return players;
}

/// No files of the user change how mpv works. It draws nothing but the video, receives neither keys nor clicks, and
/// opens nothing but the file: no playlist, subtitle, reference or network, whatever the file contains. `x11egl` keeps
/// it from drawing on a Wayland server or on the console.
constexpr std::array<const char*, 29> fixedOptions = {"--no-config",
                                                      "--terminal=no",
                                                      "--input-ipc-client=fd://3",
                                                      "--osc=no",
                                                      "--osd-level=0",
                                                      "--input-default-bindings=no",
                                                      "--input-vo-keyboard=no",
                                                      "--input-cursor=no",
                                                      "--input-media-keys=no",
                                                      "--cursor-autohide=no",
                                                      "--load-scripts=no",
                                                      "--ytdl=no",
                                                      "--resume-playback=no",
                                                      "--stop-screensaver=no",
                                                      "--autoload-files=no",
                                                      "--ordered-chapters=no",
                                                      "--access-references=no",
                                                      "--demuxer=lavf",
                                                      "--demuxer-lavf-o-append=format_whitelist=mov,matroska,avi",
                                                      "--demuxer-lavf-o-append=protocol_whitelist=file",
                                                      "--vo=gpu,x11",
                                                      "--gpu-context=x11egl",
                                                      "--hwdec=auto-safe",
                                                      "--keep-open=yes",
                                                      "--idle=no",
                                                      "--hr-seek=yes",
                                                      "--volume=0",
                                                      "--audio-client-name=Zorvel",
                                                      "--x11-bypass-compositor=no"};

/// The socket is the standard input of the shell, and descriptor 3 of mpv, which may close its standard input.
std::vector<std::string> CommandLine(const std::string& program, const std::string& path, std::uint32_t window) {
    std::vector<std::string> arguments{"sh", "-c", R"(exec 3<&0 </dev/null; exec "$0" "$@")", program};
    arguments.insert(arguments.end(), fixedOptions.begin(), fixedOptions.end());
    arguments.push_back("--wid=" + std::to_string(window));
    arguments.emplace_back("--");
    arguments.push_back(path);
    return arguments;
}

/// A path that begins with a separator is neither an option nor the name of a protocol.
std::string AbsolutePath(const Text& path) {
    std::error_code failed;
    const std::filesystem::path native = ToPath(path);
    const std::filesystem::path absolute = std::filesystem::absolute(native, failed);
    return failed ? native.native() : absolute.native();
}

struct SocketPair {
    Descriptor ours;
    Descriptor theirs;
};

bool MakeSocketPair(SocketPair& pair) {
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    pair.ours = Descriptor(ends[0]);
    pair.theirs = AboveStandard(Descriptor(ends[1]));
    return pair.theirs.Held() && fcntl(pair.ours.Get(), F_SETFL, O_NONBLOCK) == 0;
}

/// The reason why the file cannot be opened, or `otherwise`.
Result OpenFailure(const std::string& path, Result otherwise) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return file.Held() ? otherwise : LastError();
}

std::string Decimals(double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.6f", value);
    return text.data();
}

}  // namespace

std::unique_ptr<Player> Player::Open(const Text& path, std::uint32_t window, std::function<void(Result)> onEvent) {
    const Text program = FindOnSearchPath(u"mpv");
    SocketPair sockets;
    const Descriptor nothing(AboveStandard(Descriptor(open("/dev/null", O_RDWR | O_CLOEXEC))));
    if (program.empty() || !nothing.Held() || !MakeSocketPair(sockets)) {
        return nullptr;
    }
    std::unique_ptr<Player> player(new Player);
    player->path_ = AbsolutePath(path);
    SpawnPlan plan;
    plan.path = "/bin/sh";
    plan.arguments = CommandLine(ToPath(program).native(), player->path_, window);
    plan.input = sockets.theirs.Get();
    plan.output = nothing.Get();
    plan.errors = nothing.Get();
    player->child_ = GuardedChild::Start(std::move(plan));
    if (!player->child_) {
        return nullptr;
    }
    player->socket_ = std::move(sockets.ours);
    player->onEvent_ = std::move(onEvent);
    player->Send(ObserveRequests());
    Players().push_back(player.get());
    return player;
}

Player::~Player() {
    std::erase(Players(), this);
    if (child_) {
        child_->Kill();
    }
}

/// A request that the socket does not accept is lost: mpv has ended or hangs, which the next read or sign of life
/// shows.
void Player::Send(const std::string& line) {
    if (socket_.Held()) {
        static_cast<void>(!send(socket_.Get(), line.data(), line.size(), MSG_NOSIGNAL));
    }
}

void Player::Pause(bool paused) {
    // mpv pauses by itself at the end of a file, so a request to play is always sent.
    if (std::exchange(state_.paused, paused) != paused || !paused) {
        Send(std::string(R"({"command":["set_property","pause",)") + (paused ? "true" : "false") + "]}\n");
    }
}

bool Player::Seek(std::int64_t position) {
    if (!state_.loaded) {
        return socket_.Held();  // the file opens at its beginning, the only position that is known
    }
    if (!state_.seekable) {
        return false;
    }
    state_.seeking = true;
    state_.ended = false;
    state_.position = position;
    Send(R"({"command":["seek",)" + Decimals(static_cast<double>(position) / unitsPerSecond) +
         R"(,"absolute+exact"],"request_id":)" + std::to_string(seekRequest) + "}\n");
    return true;
}

void Player::SetVolume(float volume) {
    Send(R"({"command":["set_property","volume",)" + Decimals(double{volume} * 100) + "]}\n");
}

bool Player::IsPlaying() {
    CheckSignOfLife();
    return state_.loaded && !state_.paused && !state_.ended;
}

std::int64_t Player::Position() const {
    return state_.ended ? state_.duration : std::min(state_.position, state_.duration);
}

void Player::CheckSignOfLife() {
    const std::int64_t nowNs = SteadyNs();
    if (!socket_.Held() || nowNs - askedNs_ < askPeriodNs) {
        return;
    }
    if (!awaitsSign_) {
        awaitsSign_ = true;
        askedNs_ = nowNs;
        Send(R"({"command":["get_property","pid"],"request_id":)" + std::to_string(signOfLifeRequest) + "}\n");
    } else if (nowNs - askedNs_ > answerLimitNs) {
        ReadLines();  // the answer may have arrived while this process was busy
        if (awaitsSign_) {
            Fail(ResultOfSystemError(ETIMEDOUT));
        }
    }
}

void Player::ReadLines() {
    std::array<char, 4096> bytes{};
    for (std::size_t total = 0; socket_.Held() && total < mostBytesAtOnce;) {
        const ssize_t count = recv(socket_.Get(), bytes.data(), bytes.size(), 0);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            return;
        }
        if (count <= 0) {
            Fail(ResultOfSystemError(EPIPE));
            return;
        }
        total += static_cast<std::size_t>(count);
        unread_.append(bytes.data(), static_cast<std::size_t>(count));
        for (std::size_t end = unread_.find('\n'); end != std::string::npos; end = unread_.find('\n')) {
            const std::string line = unread_.substr(0, end);
            unread_.erase(0, end + 1);
            HandleLine(line);
        }
        if (unread_.size() > mostBytesAtOnce) {
            unread_.clear();  // no line of mpv's is so long
        }
    }
}

void Player::HandleLine(std::string_view line) {
    const MpvReport report = ApplyLine(state_, line);
    awaitsSign_ = awaitsSign_ && !report.signOfLife;
    if (Failed(report.failure)) {
        Fail(OpenFailure(path_, report.failure));
    } else if (report.changed) {
        onEvent_(resultOk);
    }
}

/// Later calls have no effect.
void Player::Fail(Result result) {
    if (!socket_.Held()) {
        return;
    }
    socket_.Reset();
    child_->Kill();
    state_ = {.duration = state_.duration};
    onEvent_(result);
}

void AddPlayerDescriptors(std::vector<pollfd>& sources) {
    for (const Player* player : Players()) {
        if (player->Socket() >= 0) {
            sources.push_back({player->Socket(), POLLIN, 0});
        }
    }
}

void DispatchPlayers() {
    for (std::size_t i = 0; i < Players().size(); ++i) {
        Players()[i]->ReadLines();
    }
}

}  // namespace zv::mpv
