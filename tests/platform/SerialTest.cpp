#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "platform/Serial/Serial.h"
#include "tests/platform/PseudoTerminal.h"
#include "tests/support/TestSupport.h"

using Core::IO::Serial;
using TestSupport::PseudoTerminal;

namespace {

const Core::Time kNoWait = Core::Time::FromSeconds(-1);

size_t CountOf(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

// Runs body in a child process that ends with its result as exit status.
pid_t InChild(bool (*body)(void*), void* argument) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(body(argument) ? 0 : 1);
    return child;
}

bool ExitedWithSuccess(pid_t child) {
    int status = 0;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(SerialTest, LargeWriteArrivesWholeWhileTheReceiverReadsSlowly) {
    const TestSupport::Watchdog watchdog(30);
    PseudoTerminal line;
    Serial port(line.SlaveName(), 115200, kNoWait);
    ASSERT_TRUE(port.Open());
    // Larger than the pseudo-terminal takes at once, so the write meets a
    // full buffer again and again.
    ByteVector bytes(64 * 1024);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7 % 251);
    struct SWrite {
        Serial* port;
        const ByteVector* bytes;
    } job = {&port, &bytes};
    const pid_t writer = InChild(
        [](void* argument) {
            SWrite* w = static_cast<SWrite*>(argument);
            return w->port->Write(*w->bytes);
        },
        &job);
    ASSERT_GE(writer, 0);

    std::string received;
    char chunk[512];
    while (received.size() < bytes.size()) {
        struct pollfd master = {line.Master(), POLLIN, 0};
        if (::poll(&master, 1, 5000) <= 0) break;
        const ssize_t n = ::read(line.Master(), chunk, sizeof chunk);
        if (n <= 0) break;
        received.append(chunk, static_cast<size_t>(n));
        ::usleep(1000);
    }
    EXPECT_TRUE(ExitedWithSuccess(writer)) << "the writer gave up";
    ASSERT_EQ(bytes.size(), received.size());
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), received.begin(), [](uint8_t a, char b) {
        return a == static_cast<uint8_t>(b);
    })) << "bytes lost, repeated or reordered across partial writes";
}

TEST(SerialTest, WriteGivesUpWhenTheLineStaysBlockedButKeepsThePort) {
    const TestSupport::Watchdog watchdog(30);
    PseudoTerminal line;
    Serial port(line.SlaveName(), 115200, kNoWait);
    ASSERT_TRUE(port.Open());
    // Output suspended as by a peer's XOFF: the driver takes nothing at all.
    ASSERT_EQ(0, ::tcflow(port.GetFileDescriptor(), TCOOFF));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(port.Write(std::string(100, 'x')));
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, message.find("stalled after 0 of 100 bytes")) << message;
    EXPECT_TRUE(port.IsOpen()) << "a slow line is not a vanished device";

    ASSERT_EQ(0, ::tcflow(port.GetFileDescriptor(), TCOON));
    EXPECT_TRUE(port.Write(std::string("ok")));
    EXPECT_EQ("ok", line.Receive(64, 200));
}

TEST(SerialTest, ReadReturnsEmptyInsteadOfBlockingWhenNothingCame) {
    const TestSupport::Watchdog watchdog(30);
    PseudoTerminal line;
    for (Core::Time timeout :
         {kNoWait, Core::Time::FromMilliseconds(0), Core::Time::FromMilliseconds(50)}) {
        Serial port(line.SlaveName(), 115200, timeout);
        ASSERT_TRUE(port.Open());
        EXPECT_TRUE(port.Read(64).empty()) << timeout.Milliseconds() << " ms";
        EXPECT_TRUE(port.IsOpen()) << "no data is not a fault";
    }
}

TEST(SerialTest, ReadWaitsWithinTheTimeoutForBytesStillToCome) {
    const TestSupport::Watchdog watchdog(30);
    PseudoTerminal line;
    Serial port(line.SlaveName(), 115200, Core::Time::FromSeconds(10));
    ASSERT_TRUE(port.Open());
    int master = line.Master();
    const pid_t sender = InChild(
        [](void* argument) {
            ::usleep(100000);
            return ::write(*static_cast<int*>(argument), "L", 1) == 1;
        },
        &master);
    ASSERT_GE(sender, 0);
    const ByteVector bytes = port.Read(64);
    EXPECT_EQ(ByteVector{'L'}, bytes);
    EXPECT_TRUE(ExitedWithSuccess(sender));
}

TEST(SerialTest, RateSetWhileClosedTakesEffectAtOpen) {
    PseudoTerminal line;
    Serial port(line.SlaveName(), 9600, kNoWait);
    EXPECT_TRUE(port.SetBaudRate(460800));
    ASSERT_TRUE(port.Open());
    EXPECT_EQ(B460800, TestSupport::OutputSpeedOf(port.GetFileDescriptor()));
    EXPECT_FALSE(port.SetBaudRate(0));
    EXPECT_FALSE(port.SetBaudRate(-9600));
    EXPECT_EQ(460800, port.GetBaudRate());
}

TEST(SerialTest, SendBreakHoldsTheLineForTheRequestedTime) {
    PseudoTerminal line;
    Serial port(line.SlaveName(), 115200, kNoWait);
    ASSERT_TRUE(port.Open());
    const Core::MonotonicTime start = Core::MonotonicTime::Now();
    EXPECT_TRUE(port.SendBreak(0.3f));
    EXPECT_GE(start.Elapsed().Seconds(), 0.29) << "a break cut short may go unseen";
    EXPECT_TRUE(port.Write(std::string("log version\r\n")));
    EXPECT_EQ("log version\r\n", line.Receive(13));

    port.Close();
    testing::internal::CaptureStderr();
    EXPECT_FALSE(port.SendBreak(0.3f));
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("closed port"));
}

TEST(SerialTest, MissingDeviceIsReportedOnceUntilItComesBack) {
    TestSupport::TempDir dir;
    PseudoTerminal line;
    const std::string device = dir.File("ttyGNSS");
    Serial port(device, 115200, kNoWait);

    // The main loop retries every pass; the log must not fill with the same line.
    testing::internal::CaptureStderr();
    EXPECT_FALSE(port.Open());
    EXPECT_FALSE(port.Open());
    EXPECT_FALSE(port.Open());
    EXPECT_EQ(1u, CountOf(testing::internal::GetCapturedStderr(), device));

    ASSERT_EQ(0, ::symlink(line.SlaveName().c_str(), device.c_str()));
    testing::internal::CaptureStderr();
    EXPECT_TRUE(port.Open());
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("open again"));

    port.Close();
    ASSERT_EQ(0, ::unlink(device.c_str()));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(port.Open());
    EXPECT_EQ(1u, CountOf(testing::internal::GetCapturedStderr(), device))
        << "a new outage is reported again";
}

}  // namespace
