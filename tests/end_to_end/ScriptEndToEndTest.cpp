// The commands for scripts: starts of the real program that hand a command to the running copy.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>

#include "support/InterfaceUser.h"
#include "support/ScriptCommand.h"

namespace zv {
namespace {

using namespace support;
namespace fs = std::filesystem;

constexpr char notRunning[] = "Zorvel is not running in this session.\n";

struct ScriptEndToEnd : testing::Test {
    ScriptOutcome Run(const Arguments& arguments, const std::string& onDisplay) const {
        Arguments command{ProgramPath()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return ScriptCommand(command, onDisplay).Wait();
    }
    ScriptOutcome Run(const std::string& option) const { return Run({option}, display.Name()); }
    ProgramOptions WithReplay(bool on) const {
        return {.display = display.Name(), .settings = {{"instantReplay", on ? "1" : "0"}}};
    }
    static void ExpectFile(const ScriptOutcome& outcome, const std::string& sentence) {
        EXPECT_EQ(outcome.exitCode, 0);
        const std::string path = outcome.output.substr(0, outcome.output.find('\n'));
        EXPECT_EQ(outcome.output, path + "\n");
        EXPECT_EQ(outcome.errors, sentence + path + "\n");
        std::error_code missing;
        EXPECT_GT(fs::file_size(path, missing), 0U) << path;
    }
    static void ExpectRefused(const ScriptOutcome& outcome, int exitCode, const std::string& sentence) {
        EXPECT_EQ(outcome.exitCode, exitCode);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, sentence);
    }
    /// The socket of the running copy.
    std::string SocketPath() const {
        const xcb_atom_t selection = user.Atom("Local\\ZVReelsMax_SingleInstance");
        const Reply<xcb_get_selection_owner_reply_t> owner(
            xcb_get_selection_owner_reply(user.Get(), xcb_get_selection_owner(user.Get(), selection), nullptr));
        return owner ? user.Property(owner->owner, "_ZORVEL_COMMAND_SOCKET") : std::string();
    }

    PrivateDisplay display{"1280x720"};
    InterfaceUser user{display.Name()};
};

TEST_F(ScriptEndToEnd, WithoutARunningCopyEveryCommandSaysSoAndHelpNeedsNoDisplay) {
    for (const char* option : {"--save-replay", "--toggle-recording", "--screenshot", "--overlay"}) {
        ExpectRefused(Run(option), 2, notRunning);
    }
    ExpectRefused(Run({"--screenshot"}, ""), 2, "There is no X display to look for Zorvel on. Set DISPLAY.\n");
    ExpectRefused(Run({"--save-repaly"}, ""), 64, "Zorvel has no option --save-repaly. See zorvel --help.\n");
    const ScriptOutcome version = Run({"--version"}, "");
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.output + version.errors, "Zorvel 3.23.0\n");
    const ScriptOutcome help = Run({"--help"}, "");
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.output.starts_with("Usage: zorvel [OPTION]\n")) << help.output;
    EXPECT_EQ(help.errors, "");
}

TEST_F(ScriptEndToEnd, EachCommandIsDoneByTheRunningCopy) {
    ProgramRun run(WithReplay(true));
    ASSERT_TRUE(run.WaitForBuffer(2));
    ExpectFile(Run("--save-replay"), "Replay saved: ");
    ExpectFile(Run("--screenshot"), "Screenshot saved: ");

    const ScriptOutcome started = Run("--toggle-recording");
    EXPECT_EQ(started.exitCode, 0);
    EXPECT_EQ(started.errors, "Recording started. Stop Recording to finalize video and selected audio.\n");
    ASSERT_TRUE(started.output.ends_with(".mp4\n"));
    EXPECT_FALSE(fs::exists(started.output.substr(0, started.output.size() - 1))) << "it has its working name";
    const ScriptOutcome ended = Run("--toggle-recording");
    ExpectFile(ended, "Recording saved: ");
    EXPECT_EQ(ended.output, started.output);

    for (const bool open : {true, false}) {
        ExpectRefused(Run("--overlay"), 0, "");  // done, without a word
        EXPECT_TRUE(open ? user.WaitShown(overlayName) : user.WaitHidden(overlayName));
    }
    EXPECT_EQ(FilesBelow(run.CaptureRoot()).size(), 3U);
    const std::string socket = SocketPath();
    EXPECT_TRUE(fs::exists(socket));
    EXPECT_EQ(run.End(), 0);
    EXPECT_FALSE(fs::exists(socket));
    ExpectRefused(Run("--screenshot"), 2, notRunning);
}

TEST_F(ScriptEndToEnd, ARefusedCommandSaysWhy) {
    ProgramRun run(WithReplay(false));
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    ExpectRefused(Run("--save-replay"), 1, "Replay is paused. Turn on automatic replay in Settings > Capture.\n");
    EXPECT_EQ(run.End(), 0);
}

TEST_F(ScriptEndToEnd, ACommandFailsIfTheCopyEndsMeanwhile) {
    ProgramRun run(WithReplay(false));
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    run.Process().Send(SIGSTOP);
    ScriptCommand command({ProgramPath(), "--screenshot"}, display.Name());
    const fs::path files = fs::path("/proc") / std::to_string(command.Process().Pid()) / "fd";
    // Its sockets to the X server and to the copy.
    ASSERT_TRUE(Eventually([&] {
        int sockets = 0;
        std::error_code ignored;
        for (fs::directory_iterator at(files, ignored), end; at != end; at.increment(ignored)) {
            sockets += fs::read_symlink(at->path(), ignored).string().starts_with("socket:") ? 1 : 0;
        }
        return sockets == 2;
    }));
    run.Process().Send(SIGKILL);
    ExpectRefused(command.Wait(), 1, "Zorvel ended before it answered.\n");
}

TEST_F(ScriptEndToEnd, OtherUsersCommandsAreRefused) {
    ProgramRun run(WithReplay(false));
    ASSERT_TRUE(run.WaitForActivity("Replay stopped.").has_value());
    xcb_set_access_control(user.Get(), XCB_ACCESS_CONTROL_DISABLE);
    user.Sync();
    // The build folder may be private.
    TemporaryFolder shared("zorvel-shared");
    fs::permissions(shared.Path(), fs::perms::owner_all | fs::perms::others_exec, fs::perm_options::add);
    const fs::path program = shared.Path() / "zorvel";
    fs::copy_file(ProgramPath(), program);
    fs::permissions(program, fs::perms::others_exec | fs::perms::others_read, fs::perm_options::add);
    Arguments command{"setpriv",        "--reuid=65534", "--regid=65534",
                      "--clear-groups", "env",           "DISPLAY=" + display.Name(),
                      program.string(), "--screenshot"};
    if (geteuid() != 0) {
        command.insert(command.begin(), {"sudo", "-n"});
    }
    ExpectRefused(ScriptCommand(command, display.Name()).Wait(), 2,
                  "Zorvel runs in this session for another user only.\n");
    EXPECT_TRUE(FilesBelow(run.CaptureRoot()).empty());
    EXPECT_EQ(run.End(), 0);
}

TEST_F(ScriptEndToEnd, GarbageAndHundredsOfConnectionsDoNotKeepACommandOut) {
    ProgramRun run(WithReplay(true));
    ASSERT_TRUE(run.WaitForBuffer(1));
    const std::string path = SocketPath();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    std::vector<int> clients;
    const std::vector<std::string> requests{"\n", std::string(5000, 'x'), std::string("\0\xFF\x80\n", 4), "quit\n",
                                            "screenshot --force\n"};
    constexpr std::size_t unfinished = 20;  // these stay open for some seconds
    for (std::size_t i = 0; i < 300; ++i) {
        const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        ASSERT_EQ(connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        const std::string request = i < unfinished ? "overlay" : requests[i % requests.size()];
        send(client, request.data(), request.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        clients.push_back(client);
    }
    {
        ScriptCommand impatient({ProgramPath(), "--save-replay"}, display.Name());
        impatient.Process().Send(SIGKILL);
    }
    ExpectFile(Run("--screenshot"), "Screenshot saved: ");
    EXPECT_FALSE(user.Shows(overlayName));
    for (const int client : clients) {
        close(client);
    }
    EXPECT_TRUE(run.Process().Alive());
    EXPECT_EQ(run.End(), 0);
    EXPECT_EQ(CapturesOf(run, ".png").size(), 1U);
}

}  // namespace
}  // namespace zv
