// The receiver goes silent and comes back at another baud rate (as after a
// power cycle, which leaves its port at 9600): the daemon hears only junk,
// lets the port time out, runs the softbreak breakout again, brings the
// receiver back to its rate and serves solutions again, without restarting.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/faults/FaultSupport.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

int Count(const std::string& text, const std::string& what) {
    int count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

// A simulated receiver on a pseudo-terminal behind link that, like a real
// serial line, hears nothing sent at another rate than its port's.
std::unique_ptr<FaultSupport::CChild> StartReceiver(const std::string& link) {
    std::unique_ptr<FaultSupport::CChild> receiver(new FaultSupport::CChild(
        {TestSupport::BuiltProgram("quillond-sim"), "--strict-baud", "--link", link}));
    EXPECT_TRUE(receiver->WaitForOutput("/dev/pts/", 20.0)) << receiver->StandardError();
    return receiver;
}

TEST(SilentReceiverTest, BreaksOutAgainWhenTheReceiverReturnsAtAnotherRate) {
    TestSupport::TempDir dir;
    TestSupport::CLogServerStub logServer;
    const int nmeaPort = TestSupport::ClosedPort();
    const std::string config =
        TestSupport::WriteServerConfig(dir, "127.0.0.1", logServer.Port(),
                                       "[NMEAService]\nport = " + std::to_string(nmeaPort) + "\n");
    const std::string link = dir.File("gps0");

    std::unique_ptr<FaultSupport::CChild> receiver = StartReceiver(link);
    FaultSupport::CChild daemon({TestSupport::BuiltProgram("quillond"), "-p", "-u", "softbreak",
                                 "-b", "115200", "-s", link},
                                {{"QUILLOND_CONFIG", config}});
    const int nmea = FaultSupport::ConnectLoopback(nmeaPort, 30.0);
    ASSERT_GE(nmea, 0) << daemon.StandardError();
    // The first breakout takes the receiver from 9600 to 115200.
    ASSERT_NE(std::string::npos, FaultSupport::ReadUntil(nmea, "$GPGGA", 40.0).find("$GPGGA"))
        << daemon.StandardOutput() << daemon.StandardError();

    // Silence, then the receiver is back at its power-up rate.
    // Sentences still on their way are read off here, so any later one is new.
    receiver->Stop();
    FaultSupport::ReadUntil(nmea, "never sent", 1.0);
    receiver = StartReceiver(link);

    // Junk until the port times out (10 s), then a second breakout (6.85 s).
    const auto second = [&] {
        return Count(daemon.StandardOutput(), "Performing character-based breakout") >= 2;
    };
    for (int wait = 0; wait < 600 && !second(); ++wait) FaultSupport::Pause(0.1);
    ASSERT_TRUE(second()) << daemon.StandardOutput() << daemon.StandardError();

    const std::string after = FaultSupport::ReadUntil(nmea, "$GPGGA", 40.0);
    EXPECT_NE(std::string::npos, after.find("$GPGGA"))
        << daemon.StandardOutput() << daemon.StandardError();
    EXPECT_TRUE(daemon.Running());
    ::close(nmea);
    EXPECT_EQ(0, daemon.Stop()) << daemon.StandardError();
}

}  // namespace
