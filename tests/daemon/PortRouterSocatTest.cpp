// The real daemon on a port-router port, with socat standing in for the
// router: a Unix stream socket at the path the private store names, serving a
// real recording. The screen dump must match the one the daemon prints for
// the same recording read as a file, and a router killed and restarted in the
// middle of the stream costs no more than the bytes that were in flight.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "platform/Core/Time.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

extern char** environ;

namespace {

using TestSupport::RunProcess;
using TestSupport::SProcessResult;

const char* const kSocat = "/usr/bin/socat";
const int kPortNumber = 122;

// A child process whose standard input is the given descriptor (or
// /dev/null) and whose output goes to files; killed and reaped if the test
// leaves it running.
class CChildProcess {
public:
    CChildProcess(const std::vector<std::string>& argv, int input, const std::string& outputPath,
                  const std::string& errorPath,
                  const std::map<std::string, std::string>& environment = {}) {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        if (input >= 0) {
            posix_spawn_file_actions_adddup2(&actions, input, 0);
        } else {
            posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        }
        posix_spawn_file_actions_addopen(&actions, 1, outputPath.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&actions, 2, errorPath.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::vector<std::string> variables;
        for (char** entry = environ; *entry; ++entry) variables.push_back(*entry);
        for (const auto& variable : environment) {
            variables.push_back(variable.first + "=" + variable.second);
        }
        std::vector<char*> envp;
        for (std::string& variable : variables) envp.push_back(&variable[0]);
        envp.push_back(nullptr);
        std::vector<std::string> arguments = argv;
        std::vector<char*> args;
        for (std::string& argument : arguments) args.push_back(&argument[0]);
        args.push_back(nullptr);
        const int error = posix_spawn(&m_pid, args[0], &actions, nullptr, args.data(), envp.data());
        posix_spawn_file_actions_destroy(&actions);
        EXPECT_EQ(0, error) << "posix_spawn " << argv[0];
        if (error != 0) m_pid = -1;
    }
    ~CChildProcess() {
        if (m_pid > 0) Stop(SIGKILL);
    }
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    bool Running() {
        if (m_pid <= 0) return false;
        int status = 0;
        if (::waitpid(m_pid, &status, WNOHANG) == 0) return true;
        Reaped(status);
        return false;
    }
    // Waits up to the given time for the child to end by itself.
    bool WaitForExit(double seconds) {
        const Core::MonotonicTime deadline =
            Core::MonotonicTime::Now() + Core::Time::FromSeconds(seconds);
        while (Running()) {
            if (deadline.HasExpired()) return false;
            ::usleep(20000);
        }
        return true;
    }
    // Sends the signal and reaps the child (SIGKILL after 10 s); its exit status.
    int Stop(int signal) {
        if (Running()) {
            ::kill(m_pid, signal);
            if (!WaitForExit(10.0)) {
                ::kill(m_pid, SIGKILL);
                WaitForExit(10.0);
            }
        }
        return m_exitStatus;
    }

private:
    void Reaped(int status) {
        m_exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        m_pid = -1;
    }

    pid_t m_pid = -1;
    int m_exitStatus = -1;
};

// One binary frame of a recording: where it starts and how long it is.
struct SFrame {
    size_t offset;
    size_t size;
};

// The frames of a recording made of binary frames only, back to back; empty
// when something else is in it.
std::vector<SFrame> FramesOf(const std::string& bytes) {
    std::vector<SFrame> frames;
    size_t offset = 0;
    while (offset + 10 <= bytes.size()) {
        const uint8_t* frame = reinterpret_cast<const uint8_t*>(bytes.data()) + offset;
        if (frame[0] != 0xAA || frame[1] != 0x44 || frame[2] != 0x12) return {};
        const size_t size = frame[3] + (frame[8] | (frame[9] << 8)) + 4u;
        frames.push_back({offset, size});
        offset += size;
    }
    if (offset != bytes.size()) return {};
    return frames;
}

// The good-sentence count of the last "checksum_stats" value among the
// datagrams, or -1 when there was none.
int64_t LastGoodCount(const std::vector<nlohmann::json>& datagrams) {
    int64_t good = -1;
    for (const nlohmann::json& datagram : datagrams) {
        if (!datagram.is_object()) continue;
        if (datagram.value("type", "") == "value" &&
            datagram.value("key", "") == "checksum_stats") {
            good = std::strtoll(datagram["value"].get<std::string>().c_str(), nullptr, 10);
        }
    }
    return good;
}

class PortRouterSocatTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (::access(kSocat, X_OK) != 0) GTEST_SKIP() << kSocat << " not installed";
        m_config = TestSupport::WriteServerConfig(
            m_dir, "127.0.0.1", m_logServer.Port(),
            "[Quillond]\ntolvek_socket_path = " + m_dir.File("tty_socket_%d") + "\n");
        m_environment = {{"QUILLOND_CONFIG", m_config}};
    }

    std::string SocketPath() const {
        return m_dir.File("tty_socket_" + std::to_string(kPortNumber));
    }

    // The screen dump of the recording read as a file, and the good-sentence
    // count the daemon reached on it.
    std::string DumpFromFile(const std::string& recording, int64_t& goodCount) {
        SProcessResult result = RunProcess(
            {TestSupport::BuiltProgram("quillond"), "-p", "-d", "-f", recording}, m_environment);
        EXPECT_EQ(0, result.exitStatus) << result.standardError;
        goodCount = LastGoodCount(m_logServer.Drain());
        return result.standardOutput;
    }

    // A router serving the file once to the first client, then closing.
    std::unique_ptr<CChildProcess> RouterServingFile(const std::string& path) {
        return std::unique_ptr<CChildProcess>(
            new CChildProcess({kSocat, "-u", "OPEN:" + path + ",rdonly",
                               "UNIX-LISTEN:" + SocketPath() + ",unlink-early"},
                              -1, m_dir.File("router.out"), m_dir.File("router-file.err")));
    }

    std::unique_ptr<CChildProcess> StartDaemon() {
        return std::unique_ptr<CChildProcess>(new CChildProcess(
            {TestSupport::BuiltProgram("quillond"), "-p", "-k", std::to_string(kPortNumber), "-d",
             "-u", "none"},
            -1, m_dir.File("daemon.out"), m_dir.File("daemon.err"), m_environment));
    }

    // Waits until the daemon has published a good-sentence count that
    // satisfies the predicate; false after the given time.
    template <typename Predicate>
    bool WaitForGoodCount(Predicate done, double seconds) {
        const Core::MonotonicTime deadline =
            Core::MonotonicTime::Now() + Core::Time::FromSeconds(seconds);
        while (!deadline.HasExpired()) {
            const std::string datagram = m_logServer.ReceiveWithin(0.2);
            if (datagram.empty()) continue;
            const int64_t good = LastGoodCount({nlohmann::json::parse(datagram, nullptr, false)});
            if (good >= 0 && done(good)) return true;
        }
        return false;
    }

    // Waits until no good-sentence count has come for the quiet span.
    void WaitForQuiet(double quietSeconds, double seconds) {
        const Core::MonotonicTime deadline =
            Core::MonotonicTime::Now() + Core::Time::FromSeconds(seconds);
        Core::MonotonicTime lastCount = Core::MonotonicTime::Now();
        while (!deadline.HasExpired() && lastCount.Elapsed().Seconds() < quietSeconds) {
            const std::string datagram = m_logServer.ReceiveWithin(0.1);
            if (!datagram.empty() &&
                LastGoodCount({nlohmann::json::parse(datagram, nullptr, false)}) >= 0) {
                lastCount = Core::MonotonicTime::Now();
            }
        }
    }

    TestSupport::CLogServerStub m_logServer;
    TestSupport::TempDir m_dir;
    std::string m_config;
    std::map<std::string, std::string> m_environment;
};

TEST_F(PortRouterSocatTest, ScreenDumpThroughTheRouterMatchesTheRecordingReadAsFile) {
    QUILLOND_REQUIRE_CAPTURE(recording, "oemv-2009-rtklib.gps");
    int64_t fileGood = -1;
    const std::vector<std::string> fromFile =
        TestSupport::ScreenDumpLines(DumpFromFile(recording, fileGood));
    ASSERT_FALSE(fromFile.empty());
    ASSERT_GT(fileGood, 0);

    std::unique_ptr<CChildProcess> router = RouterServingFile(recording);
    std::unique_ptr<CChildProcess> daemon = StartDaemon();
    const bool allDecoded =
        WaitForGoodCount([fileGood](int64_t good) { return good >= fileGood; }, 20.0);
    EXPECT_EQ(0, daemon->Stop(SIGTERM));
    EXPECT_TRUE(allDecoded) << TestSupport::ReadWholeFile(m_dir.File("daemon.err"));
    EXPECT_EQ(fromFile,
              TestSupport::ScreenDumpLines(TestSupport::ReadWholeFile(m_dir.File("daemon.out"))));
}

TEST_F(PortRouterSocatTest, RouterKilledAndRestartedMidStreamLosesOnlyTheBytesInFlight) {
    // One record per frame and no two alike, so each dump line names its frame.
    QUILLOND_REQUIRE_CAPTURE(recording, "oem6-bestsats.gps");
    const std::string bytes = TestSupport::ReadWholeFile(recording);
    const std::vector<SFrame> frames = FramesOf(bytes);
    ASSERT_FALSE(frames.empty()) << "recording is not binary frames back to back";
    int64_t fileGood = -1;
    const std::vector<std::string> fromFile =
        TestSupport::ScreenDumpLines(DumpFromFile(recording, fileGood));
    ASSERT_EQ(frames.size(), fromFile.size());

    // The first router streams what the test feeds it through a socket pair,
    // so the test decides where the stream is when the router dies.
    int feed[2];
    ASSERT_EQ(0, ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, feed));
    struct timeval sendLimit = {10, 0};
    ::setsockopt(feed[0], SOL_SOCKET, SO_SNDTIMEO, &sendLimit, sizeof sendLimit);
    std::unique_ptr<CChildProcess> router(
        new CChildProcess({kSocat, "-u", "STDIN", "UNIX-LISTEN:" + SocketPath() + ",unlink-early"},
                          feed[1], m_dir.File("router.out"), m_dir.File("router-stdin.err")));
    ::close(feed[1]);
    std::unique_ptr<CChildProcess> daemon = StartDaemon();

    // The cut falls inside a frame; the daemon takes in everything before it.
    const size_t cut = frames[frames.size() / 2].offset + 100;
    size_t framesBeforeCut = 0;
    while (frames[framesBeforeCut].offset + frames[framesBeforeCut].size <= cut) ++framesBeforeCut;
    auto feedBytes = [&](size_t from, size_t to) {
        while (from < to) {
            const ssize_t n = ::send(feed[0], bytes.data() + from, to - from, MSG_NOSIGNAL);
            if (n <= 0) return false;
            from += static_cast<size_t>(n);
        }
        return true;
    };
    ASSERT_TRUE(feedBytes(0, cut));
    ASSERT_TRUE(WaitForGoodCount(
        [framesBeforeCut](int64_t good) { return good >= static_cast<int64_t>(framesBeforeCut); },
        20.0))
        << TestSupport::ReadWholeFile(m_dir.File("daemon.err"));

    // More goes in and the router dies at once: those bytes are in flight,
    // delivered or not.
    const size_t inFlight = 1000;
    ASSERT_TRUE(feedBytes(cut, cut + inFlight));
    router->Stop(SIGKILL);
    ::close(feed[0]);

    // The restarted router carries on with the stream after the lost bytes.
    const std::string rest = m_dir.File("rest.gps");
    TestSupport::WriteWholeFile(rest, bytes.substr(cut + inFlight));
    router = RouterServingFile(rest);
    EXPECT_TRUE(router->WaitForExit(20.0)) << "the daemon never reconnected";
    WaitForQuiet(1.0, 10.0);
    ASSERT_TRUE(daemon->Running()) << TestSupport::ReadWholeFile(m_dir.File("daemon.err"));
    EXPECT_EQ(0, daemon->Stop(SIGTERM));

    // What the daemon printed is the file's dump with a gap; the records in
    // the gap are those of frames touching the bytes in flight, or the frame
    // either side of them (a torn frame swallows the start of the next).
    const std::vector<std::string> fromRouter =
        TestSupport::ScreenDumpLines(TestSupport::ReadWholeFile(m_dir.File("daemon.out")));
    size_t maxFrame = 0;
    for (const SFrame& frame : frames) maxFrame = std::max(maxFrame, frame.size);
    const size_t gapStart = cut - maxFrame;
    const size_t gapEnd = cut + inFlight + maxFrame;
    size_t next = 0;
    std::vector<size_t> missing;
    for (size_t i = 0; i < fromFile.size(); ++i) {
        if (next < fromRouter.size() && fromRouter[next] == fromFile[i]) {
            ++next;
        } else {
            missing.push_back(i);
        }
    }
    EXPECT_EQ(fromRouter.size(), next)
        << "a line the recording does not give: " << fromRouter[next];
    for (size_t i : missing) {
        EXPECT_GT(frames[i].offset + frames[i].size, gapStart) << "record " << i << " lost";
        EXPECT_LT(frames[i].offset, gapEnd) << "record " << i << " lost";
    }
    // The daemon carried on to the end of the stream.
    ASSERT_FALSE(fromRouter.empty());
    EXPECT_EQ(fromFile.back(), fromRouter.back());
}

}  // namespace
