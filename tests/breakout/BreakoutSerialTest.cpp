// The breakout on a real serial source: CSerialHandler on the slave of a
// pseudo-terminal, the test playing the receiver on the master.

#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "io/ReceiverBreakout.h"
#include "io/SerialHandler.h"
#include "platform/Core/Time.h"
#include "tests/platform/PseudoTerminal.h"

using TestSupport::OutputSpeedOf;
using TestSupport::PseudoTerminal;

namespace {

// A serial source that notes each break it is asked for and the line's rate
// at each written command, then does what the real one does.
class CInstrumentedSerialHandler : public CSerialHandler {
public:
    void SendBreak() override {
        ++m_breaks;
        CSerialHandler::SendBreak();
    }
    int Write(const std::string& text) override {
        if (IsOpen()) m_ratesAtWrite.push_back(OutputSpeedOf(GetFileDescriptor()));
        return CSerialHandler::Write(text);
    }

    int m_breaks = 0;
    std::vector<speed_t> m_ratesAtWrite;
};

// Set up as start-up does it (rate, read size, device), not yet open.
void ConfigureLikeStartUp(CSerialHandler& handler, const std::string& device, int rate) {
    handler.SetBaudRate(rate);
    handler.SetReadSize(1024);
    handler.SetPortName(device);
}

std::ostringstream g_discard;

// Pauses are noted, not waited for.
void SkipPauses(CReceiverBreakout& breakout) {
    breakout.SetSleep([](double) {});
    breakout.SetOutput(g_discard);
}

struct SSerialCase {
    const char* name;
    int32_t mode;
    std::string bytes;  // what the receiver sees, in order
    speed_t finalSpeed;
};

TEST(BreakoutSerialTest, ClosedPortIsOpenedAndEachModeSendsItsBytesAndLeavesItsRate) {
    const std::vector<SSerialCase> cases = {
        {"softbreak", CReceiverBreakout::MODE_SOFTBREAK,
         "++++++\r\nlog version\r\ncom thisport 230400\r\nlog comconfig\r\n", B230400},
        {"break", CReceiverBreakout::MODE_BREAK, "com thisport 230400\r\n", B230400},
        {"lb2", CReceiverBreakout::MODE_LB2,
         "interfacemode com2 novatel novatel on\r\ncom com2 115200 n 8 1 n off on\r\n", B115200},
    };
    for (const SSerialCase& c : cases) {
        SCOPED_TRACE(c.name);
        PseudoTerminal line;
        CSerialHandler handler;
        ConfigureLikeStartUp(handler, line.SlaveName(), 57600);
        ASSERT_FALSE(handler.IsOpen());
        CReceiverBreakout breakout(&handler, c.mode);
        breakout.SetBaudRate(230400);
        SkipPauses(breakout);

        EXPECT_EQ(1, breakout.Perform());
        ASSERT_TRUE(handler.IsOpen());
        EXPECT_EQ(c.bytes, line.Receive(c.bytes.size() + 1, 300));
        EXPECT_EQ(c.finalSpeed, OutputSpeedOf(handler.GetFileDescriptor()));
    }
}

TEST(BreakoutSerialTest, BreakModeSendsTwoBreaksThenTheRateCommandAt9600) {
    PseudoTerminal line;
    CInstrumentedSerialHandler handler;
    ConfigureLikeStartUp(handler, line.SlaveName(), 230400);
    ASSERT_EQ(1, handler.Open());
    CReceiverBreakout breakout(&handler, CReceiverBreakout::MODE_BREAK);
    breakout.SetBaudRate(230400);
    SkipPauses(breakout);

    EXPECT_EQ(1, breakout.Perform());
    EXPECT_EQ(2, handler.m_breaks);
    // The receiver listens at 9600 after a break, so the command goes at that rate.
    EXPECT_EQ(std::vector<speed_t>{B9600}, handler.m_ratesAtWrite);
    EXPECT_EQ("com thisport 230400\r\n", line.Receive(100, 300));
    // Reopened at the wanted rate.
    EXPECT_TRUE(handler.IsOpen());
    EXPECT_EQ(static_cast<speed_t>(B230400), OutputSpeedOf(handler.GetFileDescriptor()));
}

TEST(BreakoutSerialTest, SoftbreakWritesTheEscapeAtThe9600RateThenSwitches) {
    PseudoTerminal line;
    CInstrumentedSerialHandler handler;
    ConfigureLikeStartUp(handler, line.SlaveName(), 230400);
    ASSERT_EQ(1, handler.Open());
    CReceiverBreakout breakout(&handler, CReceiverBreakout::MODE_SOFTBREAK);
    breakout.SetBaudRate(230400);
    SkipPauses(breakout);

    EXPECT_EQ(1, breakout.Perform());
    EXPECT_EQ(0, handler.m_breaks);
    // "+++", "+++\r\n", "log version", "com thisport" at 9600; "log comconfig" after the switch.
    const std::vector<speed_t> expected = {B9600, B9600, B9600, B9600, B230400};
    EXPECT_EQ(expected, handler.m_ratesAtWrite);
}

TEST(BreakoutSerialTest, ModeNoneAndUnknownModesNeitherOpenNorWrite) {
    struct {
        int32_t mode;
        int result;
    } const cases[] = {{CReceiverBreakout::MODE_NONE, 1}, {4, 0}, {-1, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mode);
        PseudoTerminal line;
        CSerialHandler handler;
        ConfigureLikeStartUp(handler, line.SlaveName(), 230400);
        CReceiverBreakout breakout(&handler, c.mode);
        SkipPauses(breakout);

        EXPECT_EQ(c.result, breakout.Perform());
        EXPECT_FALSE(handler.IsOpen());

        // On an open port nothing reaches the receiver and the rate stays.
        ASSERT_EQ(1, handler.Open());
        EXPECT_EQ(c.result, breakout.Perform());
        EXPECT_EQ("", line.Receive(1, 200));
        EXPECT_EQ(static_cast<speed_t>(B230400), OutputSpeedOf(handler.GetFileDescriptor()));
    }
}

// What the receiver saw and when, read on the master while the breakout runs.
struct SArrival {
    std::string bytes;
    double seconds;  // since the breakout started
};

std::vector<SArrival> ReadArrivals(int master, size_t total, Core::MonotonicTime start) {
    std::vector<SArrival> arrivals;
    size_t received = 0;
    const Core::MonotonicTime deadline = start + Core::Time::FromSeconds(20);
    while (received < total && !deadline.HasExpired()) {
        struct pollfd entry = {master, POLLIN, 0};
        if (::poll(&entry, 1, 100) <= 0) continue;
        char chunk[256];
        const ssize_t n = ::read(master, chunk, sizeof chunk);
        if (n <= 0) break;
        arrivals.push_back({std::string(chunk, static_cast<size_t>(n)), start.Elapsed().Seconds()});
        received += static_cast<size_t>(n);
    }
    return arrivals;
}

// The one test that waits the real pauses (about 6.9 s): the receiver needs
// the quiet time around each "+++" for it to count as an escape.
TEST(BreakoutSerialTest, SoftbreakKeepsItsRealPausesBetweenWrites) {
    PseudoTerminal line;
    CSerialHandler handler;
    ConfigureLikeStartUp(handler, line.SlaveName(), 230400);
    CReceiverBreakout breakout(&handler, CReceiverBreakout::MODE_SOFTBREAK);
    breakout.SetBaudRate(230400);
    breakout.SetOutput(g_discard);

    const std::vector<std::string> writes = {"+++", "+++\r\n", "log version\r\n",
                                             "com thisport 230400\r\n", "log comconfig\r\n"};
    size_t total = 0;
    for (const std::string& w : writes) total += w.size();

    const Core::MonotonicTime start = Core::MonotonicTime::Now();
    std::vector<SArrival> arrivals;
    std::thread receiver(
        [&arrivals, &line, total, start] { arrivals = ReadArrivals(line.Master(), total, start); });
    const int result = breakout.Perform();
    const double performSeconds = start.Elapsed().Seconds();
    receiver.join();
    EXPECT_EQ(1, result);

    // The pauses keep the writes apart, so each arrives as its own chunk.
    ASSERT_EQ(writes.size(), arrivals.size());
    // When each write may arrive, in seconds after the start: the sum of the
    // pauses before it, with room for a loaded machine.
    const double earliest[] = {1.5, 3.0, 4.5, 5.5, 6.6};
    for (size_t i = 0; i < writes.size(); ++i) {
        SCOPED_TRACE(writes[i]);
        EXPECT_EQ(writes[i], arrivals[i].bytes);
        EXPECT_GE(arrivals[i].seconds, earliest[i] - 0.02);
        EXPECT_LT(arrivals[i].seconds, earliest[i] + 1.5);
        if (i > 0) {
            EXPECT_GE(arrivals[i].seconds - arrivals[i - 1].seconds,
                      earliest[i] - earliest[i - 1] - 0.05);
        }
    }
    EXPECT_GE(performSeconds, 6.85 - 0.02);
    EXPECT_LT(performSeconds, 6.85 + 2.0);
}

}  // namespace
