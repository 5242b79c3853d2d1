// The simulator's faces: a real pseudo-terminal and a real port-router socket
// (reached with the daemon's own port-router client), served in real time,
// and the recorded log and raw capture it writes.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "io/TolvekPort.h"
#include "platform/LogFile/LogFileReader.h"
#include "tests/simulator/StreamDecoder.h"
#include "tests/support/TestSupport.h"
#include "tools/simulator/Presenter.h"

namespace {

using namespace SimulatorTest;
using Simulator::CSimulatedReceiver;
using Simulator::SReceiverSettings;

// Runs the receiver live on its own thread for the life of the object.
class CLiveReceiver {
public:
    explicit CLiveReceiver(Simulator::SLiveSettings settings) : m_receiver(SReceiverSettings()) {
        settings.stop = &m_stop;
        m_thread = std::thread([this, settings] { Simulator::RunLive(m_receiver, settings); });
    }
    ~CLiveReceiver() {
        m_stop = 1;
        m_thread.join();
    }

private:
    CSimulatedReceiver m_receiver;
    volatile std::sig_atomic_t m_stop = 0;
    std::thread m_thread;
};

// Reads from fd until about seconds have passed.
ByteVector ReadFor(int fd, double seconds) {
    ByteVector bytes;
    const int rounds = static_cast<int>(seconds * 20);
    for (int i = 0; i < rounds; ++i) {
        uint8_t buffer[4096];
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(fd, &readable);
        timeval timeout = {0, 50000};
        if (::select(fd + 1, &readable, nullptr, nullptr, &timeout) <= 0) continue;
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got > 0) bytes.insert(bytes.end(), buffer, buffer + got);
    }
    return bytes;
}

TEST(SimulatorPresenter, PseudoTerminalCarriesCommandsAndLogsInRealTime) {
    Simulator::SPseudoTerminal terminal;
    std::string error;
    ASSERT_TRUE(Simulator::OpenPseudoTerminal(terminal, error)) << error;
    const int client = ::open(terminal.slavePath.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(client, 0);
    {
        Simulator::SLiveSettings settings;
        settings.ptyMaster = terminal.master;
        CLiveReceiver live(settings);
        const std::string command = "log timeb ontime 0.1\r\n";
        ASSERT_EQ(static_cast<ssize_t>(command.size()),
                  ::write(client, command.data(), command.size()));
        const auto before = std::chrono::steady_clock::now();
        const ByteVector received = ReadFor(client, 1.0);
        const double took =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
        const SDecoded decoded = Decode(received);
        EXPECT_NE(std::string::npos, Text(received).find("<OK\r\n[COM1]"));
        // About ten a second of wall-clock time; generous bounds.
        EXPECT_GE(decoded.Count(Novatel::kTIMEMessageID), 4u);
        EXPECT_LE(decoded.Count(Novatel::kTIMEMessageID), static_cast<size_t>(10 * took + 5));
        EXPECT_EQ(0, decoded.binaryFailures);
    }
    ::close(client);
    ::close(terminal.slave);
    ::close(terminal.master);
}

// Sets the client's raw line to a speed, as the daemon's serial source does.
void SetLineSpeed(int fd, speed_t speed) {
    termios settings;
    ASSERT_EQ(0, tcgetattr(fd, &settings));
    cfmakeraw(&settings);
    cfsetspeed(&settings, speed);
    ASSERT_EQ(0, tcsetattr(fd, TCSANOW, &settings));
}

// Writes a command, lets what was already on its way drain, then reads for
// up to seconds (less once a TIME log came) and counts the TIME logs that decode.
size_t TimeLogsAfter(int client, const std::string& command, double seconds) {
    EXPECT_EQ(static_cast<ssize_t>(command.size()),
              ::write(client, command.data(), command.size()));
    ReadFor(client, 0.3);
    ByteVector received;
    for (double waited = 0; waited < seconds; waited += 0.2) {
        const ByteVector more = ReadFor(client, 0.2);
        received.insert(received.end(), more.begin(), more.end());
        const size_t count = Decode(received).Count(Novatel::kTIMEMessageID);
        if (count > 0) return count;
    }
    return 0;
}

TEST(SimulatorPresenter, StrictBaudLosesTrafficUntilTheClientMatchesTheRate) {
    Simulator::SPseudoTerminal terminal;
    std::string error;
    ASSERT_TRUE(Simulator::OpenPseudoTerminal(terminal, error)) << error;
    const int client = ::open(terminal.slavePath.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(client, 0);
    // The simulator reads the client's speed through the master; some
    // emulators do not carry it across.
    SetLineSpeed(client, B115200);
    termios seen;
    ASSERT_EQ(0, tcgetattr(terminal.master, &seen));
    if (cfgetospeed(&seen) != B115200) {
        ::close(client);
        ::close(terminal.slave);
        ::close(terminal.master);
        GTEST_SKIP() << "the line speed set on the slave is not visible through the master here";
    }
    {
        Simulator::SLiveSettings settings;
        settings.ptyMaster = terminal.master;
        settings.strictBaud = true;
        CLiveReceiver live(settings);  // COM1 at 9600
        SetLineSpeed(client, B115200);
        EXPECT_EQ(0u, TimeLogsAfter(client, "log timeb ontime 0.1\r\n", 0.6));
        SetLineSpeed(client, B9600);
        EXPECT_GT(TimeLogsAfter(client, "log timeb ontime 0.1\r\n", 3.0), 0u);
        EXPECT_EQ(0u, TimeLogsAfter(client, "com thisport 115200\r\n", 0.6));
        SetLineSpeed(client, B115200);
        EXPECT_GT(TimeLogsAfter(client, "", 3.0), 0u);
    }
    ::close(client);
    ::close(terminal.slave);
    ::close(terminal.master);
}

TEST(SimulatorPresenter, PortRouterClientReachesTheSimulatedPort) {
    TestSupport::TempDir dir;
    std::string error;
    const int listening = Simulator::ListenOnUnixSocket(dir.File("tty_socket_5"), error);
    ASSERT_GE(listening, 0) << error;
    Simulator::SLiveSettings settings;
    settings.listenSocket = listening;
    CLiveReceiver live(settings);
    TolvekPort port;
    port.SetPathPattern(dir.File("tty_socket_%d"));
    port.SetPortNumber(5);
    ASSERT_EQ(1, port.Connect());
    const std::string command = "log versionb once\r\n";
    ASSERT_EQ(1, port.Write(reinterpret_cast<const uint8_t*>(command.data()), command.size()));
    ByteVector received;
    for (int byte; (byte = port.ReadChar(500)) >= 0;)
        received.push_back(static_cast<uint8_t>(byte));
    const SDecoded decoded = Decode(received);
    EXPECT_EQ(1u, decoded.Count(Novatel::kVERSIONMessageID));
    port.Disconnect();
    ::close(listening);
}

TEST(SimulatorPresenter, RecordedLogHoldsStampedDecodableOutput) {
    TestSupport::TempDir dir;
    CSimulatedReceiver receiver{SReceiverSettings()};
    RunCommands(receiver, {"log pdpxyzb ontime 0.5", "log gpgsa ontime 1"});
    std::string error;
    ASSERT_TRUE(Simulator::WriteOutputFile(receiver, dir.File("sim.log"), Simulator::kRecordedLog,
                                           10.0, error))
        << error;
    CLogFileReader reader(dir.File("sim.log"));
    double stamp = 0, previous = 0;
    std::string data;
    ByteVector all;
    int records = 0;
    while (reader.GetNextBinary(stamp, data)) {
        if (records++ > 0) {
            EXPECT_GT(stamp, previous);
        }
        previous = stamp;
        all.insert(all.end(), data.begin(), data.end());
    }
    EXPECT_FALSE(reader.HasFailed());
    EXPECT_DOUBLE_EQ(2390 * 604800.0 + 345610.0, previous);
    const SDecoded decoded = Decode(all);
    EXPECT_EQ(20u, decoded.Count(Novatel::kPDPXYZMessageID));
    EXPECT_EQ(10u, decoded.Count(0xFFFF));
}

TEST(SimulatorPresenter, RawCaptureIsTheBareByteStream) {
    TestSupport::TempDir dir;
    CSimulatedReceiver receiver{SReceiverSettings()};
    RunCommands(receiver, {"log timeb ontime 1"});
    std::string error;
    ASSERT_TRUE(Simulator::WriteOutputFile(receiver, dir.File("sim.gps"), Simulator::kRawCapture,
                                           5.0, error));
    const std::string contents = TestSupport::ReadWholeFile(dir.File("sim.gps"));
    const SDecoded decoded = Decode(ByteVector(contents.begin(), contents.end()));
    EXPECT_EQ(5u, decoded.Count(Novatel::kTIMEMessageID));
}

TEST(SimulatorPresenter, UnwritablePathIsReportedNotThrown) {
    CSimulatedReceiver receiver{SReceiverSettings()};
    std::string error;
    EXPECT_FALSE(Simulator::WriteOutputFile(receiver, "/nonexistent/dir/x.gps",
                                            Simulator::kRawCapture, 1.0, error));
    EXPECT_NE(std::string::npos, error.find("/nonexistent/dir/x.gps"));
}

}  // namespace
