// Two hundred remote-method clients at once, many of them misbehaving: some
// stall mid-request, some send garbage, some flood requests and never read the
// answers. A well-behaved client still gets its answers, and the daemon keeps
// reading its receiver all the while.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tests/faults/FaultSupport.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

void SendAll(int fd, const std::string& bytes) {
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count =
            ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count <= 0) return;  // a full socket: the client simply stops sending
        sent += static_cast<size_t>(count);
    }
}

// Reads and discards what the daemon writes to the receiver, until destroyed.
class CCommandDrain {
public:
    explicit CCommandDrain(int master)
        : m_thread([this, master] {
              while (!m_stop) {
                  struct pollfd wait = {master, POLLIN, 0};
                  char discard[4096];
                  if (::poll(&wait, 1, 50) > 0 && ::read(master, discard, sizeof(discard)) <= 0) {
                      break;
                  }
              }
          }) {}
    ~CCommandDrain() {
        m_stop = true;
        m_thread.join();
    }

private:
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

std::string Request(int id) {
    return "{\"jsonrpc\":\"2.0\",\"method\":\"DummyFunction\",\"params\":[2,3.7],\"id\":" +
           std::to_string(id) + "}\n";
}

TEST(RemoteClientsTest, WellBehavedClientIsAnsweredAmongTwoHundredBadOnes) {
    TestSupport::TempDir dir;
    TestSupport::CLogServerStub logServer;
    const int port = TestSupport::ClosedPort();
    const std::string config = TestSupport::WriteServerConfig(
        dir, "127.0.0.1", logServer.Port(), "[MPIServer]\nport = " + std::to_string(port) + "\n");
    int master = -1;
    int slave = -1;
    char name[128];
    ASSERT_EQ(0, ::openpty(&master, &slave, name, nullptr, nullptr));
    ::close(slave);
    FaultSupport::CChild daemon(
        {TestSupport::BuiltProgram("quillond"), "-p", "-d", "-u", "none", "-s", name},
        {{"QUILLOND_CONFIG", config}});
    // The receiver takes in the daemon's commands, as a real one does; a port
    // nobody reads would hold each command write up to its time limit.
    CCommandDrain drain(master);

    const int good = FaultSupport::ConnectLoopback(port, 30.0);
    ASSERT_GE(good, 0) << daemon.StandardError();
    SendAll(good, Request(1));
    ASSERT_NE(std::string::npos,
              FaultSupport::ReadUntil(good, "\"id\":1}", 10.0).find("\"id\":1}"));

    std::string garbage;
    for (int i = 0; i < 4096; ++i) garbage += static_cast<char>((i * 131 + 7) & 0xFF);
    std::string flood;
    for (int i = 0; i < 2000; ++i) flood += Request(1000 + i);

    std::vector<int> clients;
    for (int i = 0; i < 200; ++i) {
        const int fd = FaultSupport::ConnectLoopback(port, 10.0);
        ASSERT_GE(fd, 0) << "client " << i;
        // A small receive window, so a client that never reads backs up at once.
        const int small = 4096;
        ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &small, sizeof(small));
        switch (i % 4) {
            case 0:  // stalls in the middle of a request, forever
                SendAll(fd, "{\"jsonrpc\":\"2.0\",\"method\":\"Dummy");
                break;
            case 1:  // garbage, line ends included
                SendAll(fd, garbage);
                break;
            case 2:  // asks and asks, never reads an answer
                SendAll(fd, flood);
                break;
            default:  // connects and says nothing
                break;
        }
        clients.push_back(fd);
    }

    // The receiver keeps talking while all that goes on; every frame is taken in.
    for (uint16_t week = 1200; week < 1210; ++week) {
        const std::string frame = FaultSupport::MarkedFrame(week);
        ASSERT_EQ(static_cast<ssize_t>(frame.size()), ::write(master, frame.data(), frame.size()));
    }
    for (int id = 2; id <= 6; ++id) {
        SendAll(good, Request(id));
        const std::string answer = "\"id\":" + std::to_string(id) + "}";
        EXPECT_NE(std::string::npos, FaultSupport::ReadUntil(good, answer, 10.0).find(answer))
            << "no answer to request " << id << "\n"
            << daemon.StandardError();
    }
    EXPECT_TRUE(daemon.WaitForOutput("week = 1209,", 10.0)) << daemon.StandardOutput();
    const std::string output = daemon.StandardOutput();
    for (uint16_t week = 1200; week < 1210; ++week) {
        EXPECT_NE(std::string::npos, output.find("week = " + std::to_string(week) + ","));
    }

    EXPECT_TRUE(daemon.Running());
    for (int fd : clients) ::close(fd);
    ::close(good);
    EXPECT_EQ(0, daemon.Stop()) << daemon.StandardError();
    ::close(master);
}

}  // namespace
