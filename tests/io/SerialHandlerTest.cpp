#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <ostream>
#include <string>

#include "io/SerialHandler.h"
#include "tests/platform/PseudoTerminal.h"
#include "tests/support/TestSupport.h"

using TestSupport::OutputSpeedOf;
using TestSupport::PseudoTerminal;
using TestSupport::SettingsOf;

namespace {

std::string EveryByteValue() {
    std::string bytes;
    for (int value = 0; value < 256; ++value) bytes.push_back(static_cast<char>(value));
    return bytes;
}

std::string ReadFromHandler(CSerialHandler& handler, size_t count) {
    return TestSupport::ReadWhenReadable(handler.GetFileDescriptor(), count,
                                         [&handler](int n) { return handler.Read(n); });
}

// A handler set up as start-up does it: rate, read size, then the device.
void ConfigureLikeStartUp(CSerialHandler& handler, const std::string& device, int rate = 115200) {
    handler.SetBaudRate(rate);
    handler.SetReadSize(1024);
    handler.SetPortName(device);
}

TEST(SerialHandlerTest, PassesEveryByteValueUnchangedBothWays) {
    PseudoTerminal line;
    CSerialHandler handler;
    ConfigureLikeStartUp(handler, line.SlaveName());
    ASSERT_EQ(1, handler.Open());
    const std::string bytes = EveryByteValue();

    // CR/LF translation, XON/XOFF or signal characters would change or eat some.
    line.Send(bytes);
    EXPECT_EQ(bytes, ReadFromHandler(handler, bytes.size()));

    EXPECT_EQ(1, handler.Write(ByteVector(bytes.begin(), bytes.end())));
    EXPECT_EQ(bytes, line.Receive(bytes.size()));

    EXPECT_EQ(1, handler.Write(std::string("log versiona\r\n")));
    EXPECT_EQ("log versiona\r\n", line.Receive(14));
}

TEST(SerialHandlerTest, OpenReplacesCookedLineSettingsWithRawEightNoneOne) {
    PseudoTerminal line;
    const int other = ::open(line.SlaveName().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(other, 0);
    struct termios cooked = SettingsOf(other);
    cooked.c_iflag |= BRKINT | ISTRIP | INLCR | ICRNL | IXON | IXOFF | IXANY;
    cooked.c_oflag |= OPOST | ONLCR;
    cooked.c_lflag |= ICANON | ECHO | ECHONL | ISIG | IEXTEN;
    cooked.c_cflag |= CSTOPB | CRTSCTS;
    cooked.c_cflag &= ~static_cast<tcflag_t>(CLOCAL);
    ASSERT_EQ(0, ::tcsetattr(other, TCSANOW, &cooked));

    CSerialHandler handler;
    ConfigureLikeStartUp(handler, line.SlaveName());
    ASSERT_EQ(1, handler.Open());
    const struct termios s = SettingsOf(handler.GetFileDescriptor());
    const tcflag_t none = 0;
    EXPECT_EQ(none, s.c_iflag & (IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL));
    EXPECT_EQ(none, s.c_iflag & (IXON | IXOFF | IXANY)) << "software flow control left on";
    EXPECT_EQ(none, s.c_oflag & OPOST);
    EXPECT_EQ(none, s.c_lflag & (ECHO | ECHONL | ICANON | ISIG | IEXTEN));
    EXPECT_EQ(static_cast<tcflag_t>(CS8), s.c_cflag & CSIZE);
    EXPECT_EQ(none, s.c_cflag & (PARENB | CSTOPB));
    EXPECT_EQ(none, s.c_cflag & CRTSCTS) << "hardware flow control left on";
    EXPECT_EQ(static_cast<tcflag_t>(CLOCAL | CREAD), s.c_cflag & (CLOCAL | CREAD));
    EXPECT_EQ(1, s.c_cc[VMIN]);
    EXPECT_EQ(0, s.c_cc[VTIME]);
    ::close(other);
}

struct SSpeedCase {
    int rate;
    speed_t speed;
};

void PrintTo(const SSpeedCase& c, std::ostream* out) { *out << c.rate << " baud"; }

// The lowest and the highest rate, the receiver's default and the rates the
// daemon uses; an unsupported one is refused below.
// Whether termios here carries the speed through a set and a get at all:
// user-mode emulators translate only the speeds they know.
bool TermiosCarriesSpeed(speed_t speed) {
    PseudoTerminal line;
    const int fd = ::open(line.SlaveName().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) return false;
    struct termios settings = SettingsOf(fd);
    ::cfsetospeed(&settings, speed);
    ::cfsetispeed(&settings, speed);
    ::tcsetattr(fd, TCSANOW, &settings);
    const bool carried = OutputSpeedOf(fd) == speed;
    ::close(fd);
    return carried;
}

class SerialHandlerSpeedTest : public ::testing::TestWithParam<SSpeedCase> {};

TEST_P(SerialHandlerSpeedTest, OpenSetsTheRequestedSpeed) {
    const SSpeedCase& c = GetParam();
    if (!TermiosCarriesSpeed(c.speed)) {
        GTEST_SKIP() << "termios on this system (user-mode emulation?) does not carry " << c.rate
                     << " baud";
    }
    PseudoTerminal line;
    CSerialHandler handler;
    ConfigureLikeStartUp(handler, line.SlaveName(), c.rate);
    ASSERT_EQ(1, handler.Open());
    const struct termios settings = SettingsOf(handler.GetFileDescriptor());
    EXPECT_EQ(c.speed, ::cfgetospeed(&settings));
    EXPECT_EQ(c.speed, ::cfgetispeed(&settings));
}

INSTANTIATE_TEST_SUITE_P(StandardRates, SerialHandlerSpeedTest,
                         ::testing::Values(SSpeedCase{9600, B9600}, SSpeedCase{115200, B115200},
                                           SSpeedCase{230400, B230400}, SSpeedCase{460800, B460800},
                                           SSpeedCase{921600, B921600}),
                         [](const ::testing::TestParamInfo<SSpeedCase>& info) {
                             return "Baud" + std::to_string(info.param.rate);
                         });

TEST(SerialHandlerTest, SetBaudRateChangesTheSpeedOfAnOpenPortAtOnce) {
    PseudoTerminal line;
    CSerialHandler handler;
    ConfigureLikeStartUp(handler, line.SlaveName(), 9600);
    ASSERT_EQ(1, handler.Open());
    EXPECT_EQ(1, handler.SetBaudRate(230400));
    EXPECT_EQ(B230400, OutputSpeedOf(handler.GetFileDescriptor()));
    EXPECT_TRUE(handler.IsOpen());
}

TEST(SerialHandlerTest, RefusesUnsupportedBaudRateWithMessage) {
    PseudoTerminal line;
    CSerialHandler handler;
    ConfigureLikeStartUp(handler, line.SlaveName(), 115200);
    ASSERT_EQ(1, handler.Open());
    testing::internal::CaptureStderr();
    handler.SetBaudRate(12345);
    EXPECT_NE(std::string::npos,
              testing::internal::GetCapturedStderr().find("unsupported baud rate 12345"));
    EXPECT_EQ(B115200, OutputSpeedOf(handler.GetFileDescriptor()));

    // Configured with that rate from the start, the port does not open.
    CSerialHandler misconfigured;
    testing::internal::CaptureStderr();
    ConfigureLikeStartUp(misconfigured, line.SlaveName(), 12345);
    EXPECT_EQ(0, misconfigured.Open());
    EXPECT_NE(std::string::npos,
              testing::internal::GetCapturedStderr().find("unsupported baud rate 12345"));
}

TEST(SerialHandlerTest, WriteOnClosedPortReturnsZeroAndSendsNothing) {
    CSerialHandler unnamed;
    EXPECT_EQ(0, unnamed.Write(std::string("log version\r\n")));
    EXPECT_EQ(0, unnamed.Open());
    EXPECT_EQ(-1, unnamed.GetFileDescriptor());
    EXPECT_TRUE(unnamed.Read().empty());

    PseudoTerminal line;
    CSerialHandler handler;
    ConfigureLikeStartUp(handler, line.SlaveName());
    EXPECT_EQ(0, handler.Write(std::string("lost\r\n")));
    EXPECT_EQ(0, handler.Write(ByteVector{0xAA, 0x44, 0x12}));
    ASSERT_EQ(1, handler.Open());
    ASSERT_EQ(1, handler.Write(std::string("x")));
    EXPECT_EQ("x", line.Receive(64, 200));

    EXPECT_EQ(1, handler.Close());
    EXPECT_FALSE(handler.IsOpen());
    EXPECT_EQ(-1, handler.GetFileDescriptor());
    EXPECT_EQ(0, handler.Write(std::string("lost\r\n")));
}

TEST(SerialHandlerTest, OpenOfMissingDeviceReturnsZeroAndNamesTheDevice) {
    TestSupport::TempDir dir;
    const std::string device = dir.File("ttyMissing");
    CSerialHandler handler;
    ConfigureLikeStartUp(handler, device);
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, handler.Open());
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, message.find(device)) << message;
    EXPECT_NE(std::string::npos, message.find("No such file or directory")) << message;
    EXPECT_FALSE(handler.IsOpen());
    EXPECT_EQ(-1, handler.GetFileDescriptor());
}

TEST(SerialHandlerTest, ReadAfterTheLineHangsUpReportsAndClosesThePort) {
    PseudoTerminal line;
    CSerialHandler handler;
    ConfigureLikeStartUp(handler, line.SlaveName());
    ASSERT_EQ(1, handler.Open());
    line.CloseMaster();

    struct pollfd port = {handler.GetFileDescriptor(), POLLIN, 0};
    ASSERT_EQ(1, ::poll(&port, 1, 2000)) << "a hung-up line must wake select";
    testing::internal::CaptureStderr();
    EXPECT_TRUE(handler.Read().empty());
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, message.find(line.SlaveName())) << message;
    EXPECT_FALSE(handler.IsOpen()) << "the main loop reopens only a closed port";
    EXPECT_EQ(-1, handler.GetFileDescriptor());
    EXPECT_TRUE(handler.Read().empty());
}

TEST(SerialHandlerTest, SetPortNameClosesTheOldPortAndUsesTheNewDevice) {
    PseudoTerminal first;
    PseudoTerminal second;
    CSerialHandler handler;
    ConfigureLikeStartUp(handler, first.SlaveName());
    ASSERT_EQ(1, handler.Open());

    EXPECT_EQ(1, handler.SetPortName(second.SlaveName()));
    EXPECT_FALSE(handler.IsOpen());
    struct pollfd old = {first.Master(), POLLIN, 0};
    ASSERT_EQ(1, ::poll(&old, 1, 2000));
    EXPECT_TRUE(old.revents & POLLHUP) << "the first device is still held open";

    ASSERT_EQ(1, handler.Open());
    ASSERT_EQ(1, handler.Write(std::string("log bestposb ontime 1\r\n")));
    EXPECT_EQ("log bestposb ontime 1\r\n", second.Receive(23));
}

TEST(SerialHandlerTest, SendBreakOpensAClosedPortFirst) {
    PseudoTerminal line;
    CSerialHandler handler;
    ConfigureLikeStartUp(handler, line.SlaveName());
    ASSERT_FALSE(handler.IsOpen());
    handler.SendBreak();
    EXPECT_TRUE(handler.IsOpen());
}

}  // namespace
