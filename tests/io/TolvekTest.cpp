// The port-router client and byte source against a real local stream socket
// server in a temporary directory, and the router's port name tables.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "io/TolvekHandler.h"
#include "io/TolvekPort.h"
#include "tests/support/TestSupport.h"

namespace {

const int kPort = 7;

// A listening socket at the path the client makes for kPort.
class RouterStub {
public:
    explicit RouterStub(const std::string& path) {
        m_listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
        struct sockaddr_un address;
        std::memset(&address, 0, sizeof(address));
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        EXPECT_EQ(0, ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)));
        EXPECT_EQ(0, ::listen(m_listener, 4));
    }
    ~RouterStub() {
        CloseClient();
        ::close(m_listener);
    }
    // Takes the next client (the connect already completed into the backlog).
    void Accept() {
        CloseClient();
        m_client = ::accept(m_listener, nullptr, nullptr);
        ASSERT_GE(m_client, 0);
    }
    void Send(const std::string& text) {
        ASSERT_EQ(static_cast<ssize_t>(text.size()), ::write(m_client, text.data(), text.size()));
    }
    std::string Receive(size_t count) {
        std::string text(count, '\0');
        size_t got = 0;
        while (got < count) {
            ssize_t n = ::read(m_client, &text[got], count - got);
            if (n <= 0) break;
            got += static_cast<size_t>(n);
        }
        text.resize(got);
        return text;
    }
    void CloseClient() {
        if (m_client >= 0) ::close(m_client);
        m_client = -1;
    }

private:
    int m_listener = -1;
    int m_client = -1;
};

std::string Text(const ByteVector& bytes) { return std::string(bytes.begin(), bytes.end()); }

class TolvekTest : public ::testing::Test {
protected:
    std::string Pattern() const { return m_dir.File("tty_socket_%d"); }
    std::string SocketPath() const { return m_dir.File("tty_socket_" + std::to_string(kPort)); }
    void SetUpHandler(CTolvekHandler& handler) {
        handler.SetPathPattern(Pattern());
        handler.SetTimeout(Core::Time::FromMilliseconds(500));
        handler.SetPortName(std::to_string(kPort));
    }
    TestSupport::TempDir m_dir;
};

TEST_F(TolvekTest, ConnectsToThePathMadeFromPatternAndPort) {
    TolvekPort port;
    port.SetPathPattern(Pattern());
    port.SetPortNumber(kPort);
    EXPECT_EQ(SocketPath(), port.GetSocketPath());
    RouterStub router(SocketPath());
    EXPECT_EQ(1, port.Connect());
    EXPECT_TRUE(port.IsConnected());
    router.Accept();
    router.Send("A");
    EXPECT_EQ('A', port.ReadChar(1000));
    EXPECT_EQ(-1, port.ReadChar(20)) << "nothing more sent: the read must time out";
}

TEST_F(TolvekTest, PortZeroSucceedsWithoutDoingAnything) {
    TolvekPort port;
    port.SetPathPattern(Pattern());
    EXPECT_EQ(1, port.Connect());
    EXPECT_FALSE(port.IsConnected());
    const uint8_t bytes[] = {'x'};
    EXPECT_EQ(1, port.Write(bytes, 1));
    EXPECT_EQ(-1, port.ReadChar(10));
}

TEST_F(TolvekTest, UnconnectedPortRefusesWriteAndReadsZero) {
    TolvekPort port;
    port.SetPathPattern(Pattern());
    port.SetPortNumber(kPort);
    const uint8_t bytes[] = {'x'};
    EXPECT_EQ(0, port.Write(bytes, 1));
    EXPECT_EQ(0, port.ReadChar(10));
}

TEST_F(TolvekTest, PeerClosingMakesReadCharFailAndDisconnect) {
    RouterStub router(SocketPath());
    TolvekPort port;
    port.SetPathPattern(Pattern());
    port.SetPortNumber(kPort);
    ASSERT_EQ(1, port.Connect());
    router.Accept();
    router.CloseClient();
    EXPECT_EQ(-1, port.ReadChar(1000));
    EXPECT_FALSE(port.IsConnected());
}

TEST_F(TolvekTest, HandlerReadsServerBytesAndWritesCommands) {
    RouterStub router(SocketPath());
    CTolvekHandler handler;
    SetUpHandler(handler);
    EXPECT_EQ(-1, handler.GetFileDescriptor());
    ASSERT_NE(0, handler.Open());
    EXPECT_TRUE(handler.IsOpen());
    EXPECT_GT(handler.GetFileDescriptor(), 0);
    router.Accept();

    router.Send("#BESTPOSA,1*00\r\n");
    EXPECT_EQ("#BESTPOSA,1*00\r\n", Text(handler.Read(1024)));
    router.Send("abcdef");
    EXPECT_EQ("abc", Text(handler.Read(3))) << "a read must not exceed its count";
    EXPECT_EQ("def", Text(handler.Read(3)));

    EXPECT_EQ(1, handler.Write(std::string("log bestposb ontime 1\r\n")));
    EXPECT_EQ("log bestposb ontime 1\r\n", router.Receive(23));
    EXPECT_EQ(1, handler.Write(ByteVector{0x01, 0xFF}));
    EXPECT_EQ(std::string("\x01\xFF", 2), router.Receive(2));
}

TEST_F(TolvekTest, HandlerReconnectsAfterPeerCloses) {
    RouterStub router(SocketPath());
    CTolvekHandler handler;
    SetUpHandler(handler);
    ASSERT_NE(0, handler.Open());
    router.Accept();
    router.CloseClient();

    EXPECT_TRUE(handler.Read(1024).empty());
    EXPECT_FALSE(handler.IsOpen()) << "a closed peer must leave the source closed";
    EXPECT_EQ(-1, handler.GetFileDescriptor());
    EXPECT_EQ(0, handler.Write(std::string("x")));

    // Attempts are at least a second apart, counted from the last connect.
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!handler.Open() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_TRUE(handler.IsOpen()) << "the source must reconnect once the router accepts again";
    router.Accept();
    router.Send("again");
    EXPECT_EQ("again", Text(handler.Read(1024)));
}

TEST_F(TolvekTest, MissingRouterIsRetriedSlowlyAndReportedOnce) {
    CTolvekHandler handler;
    SetUpHandler(handler);
    ::testing::internal::CaptureStderr();
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    int opened = 0;
    while (std::chrono::steady_clock::now() < end) {
        opened += handler.Open();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(0, opened);
    EXPECT_EQ(1, handler.GetConnectAttempts()) << "a missing router must not be retried in a loop";
    EXPECT_NE(std::string::npos, errors.find("connect:")) << errors;
    EXPECT_EQ(errors.find("Tolvek not opened ok"), errors.rfind("Tolvek not opened ok")) << errors;
    EXPECT_EQ(errors.find("connect:"), errors.rfind("connect:")) << errors;
}

TEST_F(TolvekTest, HandlerWithoutPortDoesNotOpen) {
    CTolvekHandler handler;
    handler.SetPathPattern(Pattern());
    handler.SetPortName("ttyS1");
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(0, handler.Open());
    EXPECT_NE(std::string::npos,
              ::testing::internal::GetCapturedStderr().find("Tolvek port not set yet"));
    EXPECT_EQ(0, handler.GetConnectAttempts());
}

struct SNameCase {
    int32_t number;
    const char* physical;
    const char* logical;
};

const SNameCase kNameCases[] = {
    {0, "null", "null"},
    {5, "gps_main", "gps_main"},
    {36, "gps_secondary2", "gps_secondary2"},
    {37, "gps_secondary_diagnostic", "unknown"},
    {53, "gps_main_correction", "gps_main_correction"},
    {104, "unknown", "gnss_base"},
    {122, "unknown", "oemstar"},
    {125, "unknown", "spray"},
    {1, "unknown", "unknown"},
    {-1, "unknown", "unknown"},
};

TEST(TolvekPortNames, NamesPhysicalAndLogicalPortsByTheirOwnTables) {
    for (const SNameCase& c : kNameCases) {
        EXPECT_EQ(c.physical, TolvekPort::PhysicalPortName(c.number)) << c.number;
        EXPECT_EQ(c.logical, TolvekPort::LogicalPortName(c.number)) << c.number;
    }
}

TEST(TolvekPortNames, ReverseLookUpsReturnTheNumber) {
    for (const SNameCase& c : kNameCases) {
        if (std::string(c.physical) != "unknown") {
            EXPECT_EQ(c.number, TolvekPort::PhysicalPortNumber(c.physical)) << c.physical;
        }
        if (std::string(c.logical) != "unknown") {
            EXPECT_EQ(c.number, TolvekPort::LogicalPortNumber(c.logical)) << c.logical;
        }
    }
    EXPECT_EQ(-1, TolvekPort::LogicalPortNumber("gps_secondary_diagnostic"));
    EXPECT_EQ(-1, TolvekPort::PhysicalPortNumber("oemstar"));
    EXPECT_EQ(-1, TolvekPort::PhysicalPortNumber("nonsense"));
}

}  // namespace
