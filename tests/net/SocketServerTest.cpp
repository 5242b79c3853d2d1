// The socket server base over real connections on 127.0.0.1: line assembly,
// the line and output limits, clients leaving, a busy port, and running out
// of descriptors.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/Net/SocketCollection.h"
#include "platform/Net/SocketServer.h"
#include "tests/net/NetTestSupport.h"
#include "tests/support/TestSupport.h"

namespace {

using NetTest::CClient;
using NetTest::Pump;
using NetTest::PumpUntil;

// Records what the hooks see; answers "echo <line>" when asked to, and greets
// every client when asked to.
class CRecordingServer : public SocketServerC {
public:
    CRecordingServer() : SocketServerC("TestServer") {}

    std::vector<std::string> lines;
    std::vector<uint64_t> connected;
    std::vector<uint64_t> disconnected;
    std::vector<SocketConnectionC*> clients;
    bool echo = false;
    bool greet = false;

protected:
    void OnConnect(SocketConnectionC& client) override {
        connected.push_back(client.GetId());
        clients.push_back(&client);
        if (greet) Send(client, "hello " + std::to_string(client.GetId()) + "\n");
    }
    void OnLine(SocketConnectionC& client, const std::string& line) override {
        lines.push_back(line);
        if (echo) Send(client, "echo " + line + "\n");
    }
    void OnDisconnect(SocketConnectionC& client) override {
        disconnected.push_back(client.GetId());
        for (auto& entry : clients) {
            if (entry == &client) entry = nullptr;
        }
    }
};

class SocketServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_server.Listen(0, 5));
        ASSERT_GT(m_server.GetPort(), 0);
        m_sockets.Add(&m_server);
    }
    // Pumps until the server has accepted count clients in all.
    void AcceptClients(size_t count) {
        ASSERT_TRUE(PumpUntil(m_sockets, [&] { return m_server.connected.size() >= count; }));
    }

    CRecordingServer m_server;
    SocketCollectionC m_sockets;
};

TEST_F(SocketServerTest, AssemblesLinesSplitAcrossReadsForEachLineEnd) {
    struct SCase {
        const char* lineEnd;
        std::vector<std::string> pieces;
        std::vector<std::string> lines;
    } cases[] = {
        {"\n", {"hel", "lo\r\nwor", "ld\n", "\n"}, {"hello", "world", ""}},
        {"\r\n", {"a\r", "\nb\nc\r\n"}, {"a", "b\nc"}},
        {";", {"?WATCH={}", ";?POLL;", "tail"}, {"?WATCH={}", "?POLL"}},
    };
    for (const SCase& c : cases) {
        m_server.lines.clear();
        m_server.SetLineEnd(c.lineEnd);
        CClient client(m_server.GetPort());
        for (const std::string& piece : c.pieces) {
            client.Send(piece);
            // Each piece is read on its own before the next is sent.
            const size_t before = m_server.lines.size();
            auto lineArrived = [&] { return m_server.lines.size() > before; };
            PumpUntil(m_sockets, lineArrived, 0.2);
        }
        EXPECT_EQ(c.lines, m_server.lines) << "line end " << ::testing::PrintToString(c.lineEnd);
    }
}

TEST_F(SocketServerTest, DropsOnlyTheClientWhoseLineIsTooLong) {
    const size_t limit = SocketServerC::kDefaultMaxLineLength;
    CClient longComplete(m_server.GetPort());
    CClient longOpen(m_server.GetPort());
    CClient atLimit(m_server.GetPort());
    AcceptClients(3);

    longComplete.Send(std::string(limit + 1, 'x') + "\n");
    longOpen.Send(std::string(limit + 100, 'y'));  // no line end yet
    atLimit.Send(std::string(limit, 'z') + "\r\n");
    ASSERT_TRUE(PumpUntil(m_sockets, [&] {
        longComplete.Poll();
        longOpen.Poll();
        return longComplete.Closed() && longOpen.Closed() && !m_server.lines.empty();
    }));

    ASSERT_EQ(1u, m_server.lines.size());
    EXPECT_EQ(std::string(limit, 'z'), m_server.lines[0]);
    EXPECT_EQ(2u, m_server.disconnected.size());
    EXPECT_EQ(1u, m_server.GetClientCount());
    EXPECT_EQ(2u, m_server.GetDroppedCount());

    // The client within the limit is still served.
    atLimit.Send("next\n");
    ASSERT_TRUE(PumpUntil(m_sockets, [&] { return m_server.lines.size() == 2; }));
    EXPECT_EQ("next", m_server.lines[1]);
}

TEST_F(SocketServerTest, DropsAClientThatNeverReadsWhileOthersKeepReceiving) {
    CClient stalled(m_server.GetPort(), 4096);
    CClient reader(m_server.GetPort());
    AcceptClients(2);

    // Broadcast numbered lines until the stalled client is dropped; every
    // pass is a select that does not wait, as in a busy daemon.
    const std::string filler(1000, '.');
    std::string sent;
    for (int i = 0; m_server.GetDroppedCount() == 0 && sent.size() < 64u * 1024 * 1024; ++i) {
        const std::string line = std::to_string(i) + filler + "\n";
        m_server.Broadcast(line);
        sent += line;
        Pump(m_sockets, 0);
        reader.Poll();
    }
    ASSERT_EQ(1u, m_server.GetDroppedCount()) << "no drop after " << sent.size() << " bytes";
    ASSERT_EQ(1u, m_server.disconnected.size());
    EXPECT_EQ(m_server.connected[0], m_server.disconnected[0]);
    EXPECT_EQ(1u, m_server.GetClientCount());

    // The reader gets every byte, in order, and more after the drop.
    m_server.Broadcast("after\n");
    sent += "after\n";
    ASSERT_TRUE(PumpUntil(m_sockets, [&] {
        reader.Poll();
        return reader.Received().size() >= sent.size();
    }));
    EXPECT_TRUE(reader.Received() == sent);
}

TEST_F(SocketServerTest, RemovesAClientThatDisconnects) {
    {
        CClient client(m_server.GetPort());
        AcceptClients(1);
        EXPECT_EQ(1u, m_server.GetClientCount());
    }
    ASSERT_TRUE(PumpUntil(m_sockets, [&] { return m_server.disconnected.size() == 1; }));
    EXPECT_EQ(0u, m_server.GetClientCount());
    EXPECT_EQ(0u, m_server.GetDroppedCount());  // leaving is not a fault
    // Nothing is sent to it any more, and the server goes on accepting.
    EXPECT_EQ(0u, m_server.Broadcast("anyone?\n"));
    CClient next(m_server.GetPort());
    AcceptClients(2);
    EXPECT_EQ(1u, m_server.GetClientCount());
}

TEST_F(SocketServerTest, AnswersAClientThatFinishedSendingBeforeClosingIt) {
    m_server.echo = true;
    CClient client(m_server.GetPort());
    client.Send("ping\n");
    ::shutdown(client.Descriptor(), SHUT_WR);
    ASSERT_TRUE(PumpUntil(m_sockets, [&] {
        client.Poll();
        return client.Closed();
    }));
    EXPECT_EQ("echo ping\n", client.Received());
    ASSERT_TRUE(PumpUntil(m_sockets, [&] { return m_server.disconnected.size() == 1; }));
}

TEST_F(SocketServerTest, SendReachesOnlyTheAddressedClient) {
    m_server.echo = true;
    CClient first(m_server.GetPort());
    CClient second(m_server.GetPort());
    AcceptClients(2);
    first.Send("one\n");
    ASSERT_TRUE(PumpUntil(m_sockets, [&] {
        first.Poll();
        return first.Received() == "echo one\n";
    }));
    Pump(m_sockets);
    second.Poll();
    EXPECT_EQ("", second.Received());
}

TEST(SocketServerListenTest, ReportsWhyItCannotListenAndReturnsFalse) {
    NetTest::CBusyPort busy;
    struct SCase {
        std::string address;
        int port;
        std::string message;
    } cases[] = {
        {"127.0.0.1", busy.Port(),
         "TestServer: cannot listen on 127.0.0.1:" + std::to_string(busy.Port()) +
             ": Address already in use; the service is not offered\n"},
        {"device.local", 0, "TestServer: cannot listen on device.local:0: the bind address is"},
        {"127.0.0.1", 65536, "TestServer: cannot listen on 127.0.0.1:65536: the port is not 0"},
    };
    for (const SCase& c : cases) {
        SocketServerC server("TestServer");
        server.SetBindAddress(c.address);
        ::testing::internal::CaptureStderr();
        EXPECT_FALSE(server.Listen(c.port, 5)) << c.address << ":" << c.port;
        const std::string error = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(0u, error.find(c.message)) << error;
        EXPECT_EQ(1u, std::count(error.begin(), error.end(), '\n')) << error;
        EXPECT_FALSE(server.IsListening());
        EXPECT_EQ(0, server.GetPort());
    }
}

TEST(SocketServerListenTest, ListensOnLocalhostAndIPv6Loopback) {
    for (const char* address : {"localhost", "::1"}) {
        SocketServerC server("TestServer");
        server.SetBindAddress(address);
        // A machine without IPv6 cannot bind ::1; that is not this test's fault.
        if (!server.Listen(0, 5) && std::string(address) == "::1") continue;
        EXPECT_TRUE(server.IsListening()) << address;
        EXPECT_GT(server.GetPort(), 0) << address;
    }
}

// Runs body in a child process (it changes process-wide limits) and returns
// its exit status; the child's standard error goes to errorPath.
int RunInChild(const std::string& errorPath, int (*body)()) {
    pid_t pid = ::fork();
    if (pid == 0) {
        int error = ::open(errorPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(error, 2);
        ::_exit(body());
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Opens /dev/null until the process has no descriptor left below its limit.
std::vector<int> UseAllDescriptors() {
    std::vector<int> used;
    for (int fd; (fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) used.push_back(fd);
    return used;
}

int OutOfDescriptorsChild() {
    CRecordingServer server;
    server.greet = true;
    SocketCollectionC sockets;
    sockets.Add(&server);
    if (!server.Listen(0, 5)) return 10;
    {
        // One client comes and goes first, so that every path has run once
        // while descriptors are plenty (the sanitizers' first-time checks need
        // descriptors of their own).
        CClient warmUp(server.GetPort());
        if (!PumpUntil(sockets, [&] { return server.connected.size() == 1; })) return 14;
    }
    if (!PumpUntil(sockets, [&] { return server.disconnected.size() == 1; })) return 15;
    server.connected.clear();

    CClient first(server.GetPort());
    CClient second(server.GetPort());
    if (!first.IsConnected() || !second.IsConnected()) return 11;

    // Exactly one descriptor is left: the first client takes it.
    struct rlimit limit;
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = static_cast<rlim_t>(second.Descriptor() + 16);
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) return 12;
    std::vector<int> used = UseAllDescriptors();
    if (used.empty()) return 13;
    ::close(used.back());

    if (!PumpUntil(sockets, [&] { return server.IsAcceptPaused(); })) return 20;
    if (server.connected.size() != 1) return 21;
    // The second client waits in the kernel's queue; the listening socket
    // stays readable, yet the loop must not spin on it.
    int busyPasses = 0;
    for (int i = 0; i < 20; ++i) busyPasses += Pump(sockets, 10) > 0 ? 1 : 0;
    if (busyPasses > 2) return 22;
    // Past the retry time accepting is tried again, fails again, and is not
    // reported again.
    for (int i = 0; i < 120; ++i) Pump(sockets, 10);
    if (!server.IsAcceptPaused() || server.connected.size() != 1) return 25;

    first.Close();
    if (!PumpUntil(sockets, [&] { return server.connected.size() == 2; })) return 23;
    if (!PumpUntil(sockets, [&] {
            second.Poll();
            return second.Received() == "hello 3\n";
        })) {
        return 24;
    }
    return 0;
}

TEST(SocketServerLimitsTest, WaitsForAFreeDescriptorWithoutSpinningWhenOutOfDescriptors) {
    TestSupport::TempDir dir;
    const int status = RunInChild(dir.File("stderr"), OutOfDescriptorsChild);
    const std::string error = TestSupport::ReadWholeFile(dir.File("stderr"));
    EXPECT_EQ(0, status) << error;
    EXPECT_EQ(
        "TestServer: cannot accept a client: Too many open files; new clients wait until a "
        "client leaves\n",
        error);
}

const int kSkipped = 77;

int HighDescriptorChild() {
    struct rlimit limit;
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t wanted = FD_SETSIZE + 16;
    if (limit.rlim_max < wanted) return kSkipped;
    limit.rlim_cur = wanted;
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) return kSkipped;

    CRecordingServer server;
    SocketCollectionC sockets;
    sockets.Add(&server);
    if (!server.Listen(0, 5)) return 10;
    CClient client(server.GetPort());
    if (!client.IsConnected()) return 11;
    // Fill every descriptor below FD_SETSIZE, so the accepted one lies beyond.
    for (int fd = 0; fd < FD_SETSIZE - 1;) {
        fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (fd < 0) return 12;
    }
    if (!PumpUntil(sockets, [&] {
            client.Poll();
            return client.Closed();
        })) {
        return 20;
    }
    if (!server.connected.empty() || server.GetDroppedCount() != 1) return 21;
    return 0;
}

TEST(SocketServerLimitsTest, RefusesAClientWhoseDescriptorSelectCannotWatch) {
    TestSupport::TempDir dir;
    const int status = RunInChild(dir.File("stderr"), HighDescriptorChild);
    if (status == kSkipped) GTEST_SKIP() << "the descriptor limit cannot reach FD_SETSIZE";
    const std::string error = TestSupport::ReadWholeFile(dir.File("stderr"));
    EXPECT_EQ(0, status) << error;
    EXPECT_NE(std::string::npos,
              error.find("beyond what select can watch (" + std::to_string(FD_SETSIZE) + ")"))
        << error;
}

TEST(SocketCollectionTest, SetsEveryServersSocketsAndRecordsTheMainServer) {
    SocketServerC first("First");
    SocketServerC second("Second");
    ASSERT_TRUE(first.Listen(0, 5));
    ASSERT_TRUE(second.Listen(0, 5));
    SocketCollectionC sockets;
    sockets.Add(&first);
    sockets.SetServer(&second);
    sockets.Add(&second);  // already there: no second entry
    EXPECT_EQ(&second, sockets.GetServer());

    CClient client(first.GetPort());
    ASSERT_TRUE(PumpUntil(sockets, [&] { return first.GetClientCount() == 1; }));
    fd_set readSet;
    fd_set writeSet;
    FD_ZERO(&readSet);
    FD_ZERO(&writeSet);
    const int largest = sockets.AddToSets(readSet, writeSet);
    int expected = 0;
    int inSet = 0;
    for (int fd = 0; fd < FD_SETSIZE; ++fd) {
        if (FD_ISSET(fd, &readSet)) {
            ++inSet;
            expected = fd;
        }
    }
    EXPECT_EQ(3, inSet);  // two listening sockets and the client
    EXPECT_EQ(expected, largest);

    sockets.Remove(&second);
    EXPECT_EQ(nullptr, sockets.GetServer());
    FD_ZERO(&readSet);
    sockets.AddToSets(readSet, writeSet);
    int left = 0;
    for (int fd = 0; fd < FD_SETSIZE; ++fd) left += FD_ISSET(fd, &readSet) ? 1 : 0;
    EXPECT_EQ(2, left);
}

}  // namespace
