// Clients that connect to the position or NMEA service and never read: the
// daemon never waits for them, and the clients that do read keep getting
// every report, with the receiver (a simulated one) read all the while.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "tests/faults/FaultSupport.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

// Connects with a tiny receive window, so a client that never reads backs up at once.
int SilentClient(int port) {
    const int fd = FaultSupport::ConnectLoopback(port, 30.0);
    const int small = 2048;
    if (fd >= 0) ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &small, sizeof(small));
    return fd;
}

// How often text occurs in received.
int Count(const std::string& received, const std::string& text) {
    int count = 0;
    for (size_t at = received.find(text); at != std::string::npos;
         at = received.find(text, at + 1)) {
        ++count;
    }
    return count;
}

TEST(SilentClientTest, ReadersOfPositionAndNmeaServicesKeepGettingReportsPastSilentOnes) {
    TestSupport::TempDir dir;
    TestSupport::CLogServerStub logServer;
    const int nmeaPort = TestSupport::ClosedPort();
    const int positionPort = TestSupport::ClosedPort();
    const std::string config = TestSupport::WriteServerConfig(
        dir, "127.0.0.1", logServer.Port(),
        "[NMEAService]\nport = " + std::to_string(nmeaPort) +
            "\n[PositionService]\nport = " + std::to_string(positionPort) + "\n");
    const std::string link = dir.File("gps0");
    FaultSupport::CChild receiver({TestSupport::BuiltProgram("quillond-sim"), "--link", link});
    ASSERT_TRUE(receiver.WaitForOutput("/dev/pts/", 20.0)) << receiver.StandardError();
    FaultSupport::CChild daemon(
        {TestSupport::BuiltProgram("quillond"), "-p", "-u", "none", "-s", link},
        {{"QUILLOND_CONFIG", config}});

    const std::string watch = "?WATCH={\"enable\":true,\"json\":true}\n";
    const int silentPosition = SilentClient(positionPort);
    const int silentNmea = SilentClient(nmeaPort);
    ASSERT_GE(silentPosition, 0) << daemon.StandardError();
    ASSERT_GE(silentNmea, 0) << daemon.StandardError();
    ASSERT_EQ(static_cast<ssize_t>(watch.size()),
              ::send(silentPosition, watch.data(), watch.size(), MSG_NOSIGNAL));

    const int position = FaultSupport::ConnectLoopback(positionPort, 10.0);
    const int nmea = FaultSupport::ConnectLoopback(nmeaPort, 10.0);
    ASSERT_GE(position, 0);
    ASSERT_GE(nmea, 0);
    ASSERT_EQ(static_cast<ssize_t>(watch.size()),
              ::send(position, watch.data(), watch.size(), MSG_NOSIGNAL));

    // Wait for the first solution, then count for a few seconds while the
    // silent clients sit on their full windows.
    ASSERT_NE(std::string::npos,
              FaultSupport::ReadUntil(position, "\"class\":\"TPV\"", 30.0).find("TPV"))
        << daemon.StandardError();
    ASSERT_NE(std::string::npos, FaultSupport::ReadUntil(nmea, "$GPGGA", 10.0).find("$GPGGA"));
    const std::string positions = FaultSupport::ReadUntil(position, "never sent", 4.0);
    const std::string sentences = FaultSupport::ReadUntil(nmea, "never sent", 4.0);

    // Ten solutions a second; at least half of them within generous bounds.
    EXPECT_GE(Count(positions, "\"class\":\"TPV\""), 20) << daemon.StandardError();
    EXPECT_GE(Count(sentences, "$GPGGA"), 20) << daemon.StandardError();
    EXPECT_TRUE(daemon.Running());

    ::close(silentPosition);
    ::close(silentNmea);
    ::close(position);
    ::close(nmea);
    EXPECT_EQ(0, daemon.Stop()) << daemon.StandardError();
    receiver.Stop();
}

}  // namespace
