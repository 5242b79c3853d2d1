// The real daemon reading from a port-router port: a test-side router serves
// a generated capture on a local stream socket, and the daemon's screen dump
// must match the one it gives for the same capture read as a file.

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>

#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::RunProcess;
using TestSupport::SProcessResult;

// Accepts one client at a time, sends it the whole capture, then reads and
// drops whatever it writes (the daemon's commands) until told to stop.
class RouterServer {
public:
    RouterServer(const std::string& path, const std::string& payload) : m_payload(payload) {
        m_listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
        struct sockaddr_un address;
        std::memset(&address, 0, sizeof(address));
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        EXPECT_EQ(0, ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)));
        EXPECT_EQ(0, ::listen(m_listener, 4));
        m_thread = std::thread([this] { Serve(); });
    }
    ~RouterServer() {
        m_stop = true;
        m_thread.join();
        ::close(m_listener);
    }
    int Clients() const { return m_clients; }

private:
    bool WaitReadable(int descriptor) {
        struct pollfd entry = {descriptor, POLLIN, 0};
        while (!m_stop) {
            if (::poll(&entry, 1, 50) > 0) return true;
        }
        return false;
    }
    void Serve() {
        while (WaitReadable(m_listener)) {
            int client = ::accept(m_listener, nullptr, nullptr);
            if (client < 0) continue;
            ++m_clients;
            size_t sent = 0;
            while (sent < m_payload.size()) {
                ssize_t n = ::write(client, m_payload.data() + sent, m_payload.size() - sent);
                if (n <= 0) break;
                sent += static_cast<size_t>(n);
            }
            char drop[4096];
            while (WaitReadable(client) && ::read(client, drop, sizeof(drop)) > 0) {
            }
            ::close(client);
        }
    }

    std::string m_payload;
    int m_listener = -1;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_clients{0};
    std::thread m_thread;
};

TEST(TolvekDaemonTest, ScreenDumpFromRouterPortMatchesTheSameCaptureReadAsFile) {
    TestSupport::TempDir dir;
    TestSupport::CLogServerStub logServer;
    std::string socketPattern = dir.File("tty_socket_%d");
    std::string config = TestSupport::WriteServerConfig(
        dir, "127.0.0.1", logServer.Port(),
        "[Quillond]\ntolvek_socket_path = " + socketPattern +
            "\n[NMEAService]\nport = 0\n[PositionService]\nport = 0\n");
    std::string capture = dir.File("demo.gps");
    ASSERT_EQ(0, RunProcess({TestSupport::BuiltProgram("quillond-mkcapture"), "-n", "3", "-w",
                             "2390", "-s", "604799", capture})
                     .exitStatus);
    std::map<std::string, std::string> environment = {{"QUILLOND_CONFIG", config}};
    SProcessResult fromFile =
        RunProcess({TestSupport::BuiltProgram("quillond"), "-p", "-d", "-f", capture}, environment);
    ASSERT_EQ(0, fromFile.exitStatus) << fromFile.standardError;
    ASSERT_FALSE(fromFile.standardOutput.empty());

    RouterServer router(dir.File("tty_socket_7"), TestSupport::ReadWholeFile(capture));
    SProcessResult fromRouter =
        RunProcess({TestSupport::BuiltProgram("quillond"), "-p", "-k", "7", "-d", "-u", "none"},
                   environment, 2.0, SIGTERM);
    EXPECT_GE(router.Clients(), 1) << fromRouter.standardError;
    EXPECT_EQ(TestSupport::ScreenDumpLines(fromFile.standardOutput),
              TestSupport::ScreenDumpLines(fromRouter.standardOutput))
        << fromRouter.standardError;
    EXPECT_EQ(std::string::npos, fromRouter.standardError.find("not available"));
}

}  // namespace
