// The main loop's part in serving sockets: the recorded server's Idle on a
// pass that timed out, and ready sockets handled within the loop.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "main/MainLoop.h"
#include "main/ProgramOptions.h"
#include "platform/Net/SocketCollection.h"
#include "tests/net/NetTestSupport.h"

namespace {

// Ends the loop from one of its hooks, so the loop is run for real.
class CStoppingServer : public SocketServerC {
public:
    CStoppingServer() : SocketServerC("TestServer") {}
    void Idle() override {
        ++idleCalls;
        if (stopOnIdle) g_stopFlag = 1;
    }
    int idleCalls = 0;
    bool stopOnIdle = false;
    std::vector<std::string> lines;

protected:
    void OnLine(SocketConnectionC& client, const std::string& line) override {
        lines.push_back(line);
        Send(client, "bye\n");
        g_stopFlag = 1;
    }
};

class MainLoopSocketsTest : public ::testing::Test {
protected:
    void SetUp() override { g_stopFlag = 0; }
    void TearDown() override { g_stopFlag = 0; }

    SProgramOptions m_options;
    SocketCollectionC m_sockets;
};

TEST_F(MainLoopSocketsTest, CallsTheRecordedServersIdleWhenAPassTimesOut) {
    CStoppingServer server;
    server.stopOnIdle = true;
    m_sockets.SetServer(&server);
    RunMainLoop({}, &m_sockets, m_options);
    EXPECT_EQ(1, server.idleCalls);
}

TEST_F(MainLoopSocketsTest, ServesAClientWithinTheLoop) {
    CStoppingServer server;
    ASSERT_TRUE(server.Listen(0, 5));
    m_sockets.Add(&server);  // not the recorded server: its Idle is never called
    // The kernel completes the connection and keeps the line until the loop
    // accepts and reads it.
    NetTest::CClient client(server.GetPort());
    client.Send("stop\n");
    RunMainLoop({}, &m_sockets, m_options);
    EXPECT_EQ(std::vector<std::string>{"stop"}, server.lines);
    EXPECT_EQ(0, server.idleCalls);
    client.Poll();
    EXPECT_EQ("bye\n", client.Received());
}

}  // namespace
