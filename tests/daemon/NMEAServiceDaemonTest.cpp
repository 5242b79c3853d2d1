// The NMEA service of the real daemon: a client connects while a recording is
// replayed, the daemon closes it cleanly at the end and still exits 0; a port
// in use costs the service, not the daemon.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::RunProcess;
using TestSupport::SProcessResult;

// A recorded log (docs/recorded-log.md) of count records 0.2 s apart, each one
// NMEA sentence, so a replay takes about 0.2 s per record.
std::string RecordedLog(int count) {
    std::string log = "QUILLOG1";
    for (int i = 0; i < count; ++i) {
        const double time = 1000.0 + 0.2 * i;
        uint64_t bits;
        std::memcpy(&bits, &time, sizeof(bits));
        for (int b = 0; b < 8; ++b) log += static_cast<char>((bits >> (8 * b)) & 0xFF);
        const std::string sentence = "$GPZDA,123456.00,15,03,2024,00,00*6E\r\n";
        const uint32_t size = static_cast<uint32_t>(sentence.size());
        for (int b = 0; b < 4; ++b) log += static_cast<char>((size >> (8 * b)) & 0xFF);
        log += sentence;
    }
    return log;
}

// Reads until the end of the stream; the result of the last recv (0 for an
// orderly close, -1 with errno for a reset), or -2 when nothing ended it in time.
ssize_t ReadToEnd(int fd, double seconds, int& error) {
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
    while (std::chrono::steady_clock::now() < deadline) {
        struct pollfd wait = {fd, POLLIN, 0};
        if (::poll(&wait, 1, 100) <= 0) continue;
        char chunk[4096];
        ssize_t count = ::recv(fd, chunk, sizeof(chunk), 0);
        error = errno;
        if (count <= 0) return count;
    }
    return -2;
}

class NMEAServiceDaemonTest : public ::testing::Test {
protected:
    SProcessResult Replay(int nmeaPort) {
        const std::string config = TestSupport::WriteServerConfig(
            m_dir, "127.0.0.1", m_logServer.Port(),
            "[NMEAService]\nbind_address = 127.0.0.1\nport = " + std::to_string(nmeaPort) + "\n");
        TestSupport::WriteWholeFile(m_dir.File("replay.qlog"), RecordedLog(10));
        return RunProcess(
            {TestSupport::BuiltProgram("quillond"), "-p", "-r", m_dir.File("replay.qlog")},
            {{"QUILLOND_CONFIG", config}}, 60.0);
    }

    TestSupport::CLogServerStub m_logServer;
    TestSupport::TempDir m_dir;
};

TEST_F(NMEAServiceDaemonTest, ServesAClientDuringAReplayAndStillExitsZero) {
    // A free port, chosen here and released: the daemon may in rare cases
    // lose it to another process in between, which the test then reports.
    const int port = TestSupport::ClosedPort();
    SProcessResult result;
    std::thread daemon([&] { result = Replay(port); });

    const int client = TestSupport::ConnectLoopback(port, 30.0);
    int error = 0;
    const ssize_t end = client >= 0 ? ReadToEnd(client, 60.0, error) : -2;
    if (client >= 0) ::close(client);
    daemon.join();

    ASSERT_GE(client, 0) << "no connection to the NMEA port\n" << result.standardError;
    // An orderly close means the daemon had accepted the client; a client
    // still waiting in the kernel's queue would be reset instead.
    EXPECT_EQ(0, end) << "recv failed: " << std::strerror(error);
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_EQ(std::string::npos, result.standardError.find("NMEAService")) << result.standardError;
}

TEST_F(NMEAServiceDaemonTest, GoesOnWithoutTheServiceWhenItsPortIsTaken) {
    const int busy = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    struct sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    ASSERT_EQ(0, ::bind(busy, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)));
    ASSERT_EQ(0, ::listen(busy, 1));
    ::getsockname(busy, reinterpret_cast<struct sockaddr*>(&address), &length);
    const int port = ntohs(address.sin_port);

    SProcessResult result = Replay(port);
    ::close(busy);
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_NE(std::string::npos,
              result.standardError.find(
                  "NMEAService: cannot listen on 127.0.0.1:" + std::to_string(port) +
                  ": Address already in use; the service is not offered\n"))
        << result.standardError;
    // The replay ran to its end: one line per paced record.
    EXPECT_NE(std::string::npos, result.standardOutput.find("dt=0.200")) << result.standardOutput;
}

}  // namespace
