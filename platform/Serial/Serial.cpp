#include "platform/Serial/Serial.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <limits>

namespace Core {
namespace IO {

namespace {

struct SSpeed {
    int rate;
    speed_t speed;
};

// Every rate termios names, up to the fastest the receiver's ports take.
const SSpeed kSpeeds[] = {
    {50, B50},         {75, B75},         {110, B110},       {134, B134},       {150, B150},
    {200, B200},       {300, B300},       {600, B600},       {1200, B1200},     {1800, B1800},
    {2400, B2400},     {4800, B4800},     {9600, B9600},     {19200, B19200},   {38400, B38400},
    {57600, B57600},   {115200, B115200}, {230400, B230400}, {460800, B460800}, {500000, B500000},
    {576000, B576000}, {921600, B921600},
};

bool LookUpSpeed(int rate, speed_t& speed) {
    for (const SSpeed& entry : kSpeeds) {
        if (entry.rate == rate) {
            speed = entry.speed;
            return true;
        }
    }
    return false;
}

// Bound on how long a write may wait for the driver beyond the time the line
// itself needs for the bytes, so a stuck port cannot hold the daemon's loop.
const Core::Time kWriteMargin = Core::Time::FromMilliseconds(200);

std::string SystemError(const char* call, int error) {
    return std::string(call) + ": " + std::strerror(error);
}

// poll() timeout for a span, rounded up so a short wait is not a busy loop.
int ToPollMilliseconds(Core::Time span) {
    if (span.IsNegative()) return 0;
    const int64_t milliseconds = (span.Microseconds() + 999) / 1000;
    if (milliseconds > std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return static_cast<int>(milliseconds);
}

void SleepFor(Core::Time span) {
    if (span <= Core::Time()) return;
    struct timespec left;
    left.tv_sec = static_cast<time_t>(span.Microseconds() / 1000000);
    left.tv_nsec = static_cast<long>(span.Microseconds() % 1000000) * 1000;
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

}  // namespace

Serial::Serial(const std::string& device, int baudRate, Core::Time timeout)
    : m_device(device),
      m_baudRate(baudRate),
      m_timeout(timeout),
      m_fd(-1),
      m_openFailureReported(false),
      m_readFailureReported(false) {}

Serial::~Serial() { Close(); }

bool Serial::IsSupportedBaudRate(int rate) {
    speed_t speed;
    return LookUpSpeed(rate, speed);
}

// The caller retries Open on every pass of its loop while the device is
// missing, so a failure is reported once and then kept quiet until an Open
// succeeds; the success after a reported failure is announced, so the log
// shows both ends of the outage.
bool Serial::Open() {
    if (IsOpen()) return true;
    if (!IsSupportedBaudRate(m_baudRate)) {
        if (!m_openFailureReported) {
            std::fprintf(stderr, "Core::IO::Serial %s: unsupported baud rate %d, port not opened\n",
                         m_device.c_str(), m_baudRate);
        }
        m_openFailureReported = true;
        return false;
    }
    m_fd = ::open(m_device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    std::string failure;
    if (m_fd < 0) {
        failure = SystemError("open", errno);
    } else if (!Configure(TCSANOW, failure)) {
        Close();
    }
    if (!failure.empty()) {
        if (!m_openFailureReported) {
            std::fprintf(stderr, "Core::IO::Serial %s: %s\n", m_device.c_str(), failure.c_str());
        }
        m_openFailureReported = true;
        return false;
    }
    if (m_openFailureReported) {
        std::fprintf(stderr, "Core::IO::Serial %s: open again\n", m_device.c_str());
    }
    m_openFailureReported = false;
    return true;
}

void Serial::Close() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
}

bool Serial::Configure(int when, std::string& failure) {
    speed_t speed = B0;
    if (!LookUpSpeed(m_baudRate, speed)) {
        failure = "unsupported baud rate " + std::to_string(m_baudRate);
        return false;
    }
    struct termios settings;
    if (::tcgetattr(m_fd, &settings) != 0) {
        failure = SystemError("tcgetattr", errno);
        return false;
    }
    ::cfmakeraw(&settings);
    // cfmakeraw leaves flow control, stop bits and the modem lines alone.
    settings.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | CRTSCTS);
    settings.c_cflag |= CLOCAL | CREAD;
    // One byte satisfies a read, so on this non-blocking descriptor "no data"
    // is EAGAIN and a read of 0 bytes can only mean the line hung up.
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    ::cfsetispeed(&settings, speed);
    ::cfsetospeed(&settings, speed);
    if (::tcsetattr(m_fd, when, &settings) != 0) {
        failure = SystemError("tcsetattr", errno);
        return false;
    }
    // tcsetattr succeeds when any part was applied; make sure the speed was.
    struct termios applied;
    if (::tcgetattr(m_fd, &applied) != 0) {
        failure = SystemError("tcgetattr", errno);
        return false;
    }
    if (::cfgetospeed(&applied) != speed) {
        failure = "the device did not take baud rate " + std::to_string(m_baudRate);
        return false;
    }
    return true;
}

bool Serial::SetBaudRate(int rate) {
    if (!IsSupportedBaudRate(rate)) {
        std::fprintf(stderr, "Core::IO::Serial %s: unsupported baud rate %d, keeping %d\n",
                     m_device.c_str(), rate, m_baudRate);
        return false;
    }
    const int previous = m_baudRate;
    m_baudRate = rate;
    if (!IsOpen()) return true;
    // TCSADRAIN: a command written just before the change still leaves at
    // the rate it was written for.
    std::string failure;
    if (Configure(TCSADRAIN, failure)) return true;
    std::fprintf(stderr, "Core::IO::Serial %s: %s, keeping %d\n", m_device.c_str(), failure.c_str(),
                 previous);
    m_baudRate = previous;
    std::string ignored;
    Configure(TCSANOW, ignored);
    return false;
}

ByteVector Serial::Read(int count) {
    ByteVector bytes;
    if (!IsOpen() || count <= 0) return bytes;
    if (!m_timeout.IsNegative()) {
        struct pollfd port = {m_fd, POLLIN, 0};
        const int ready = ::poll(&port, 1, ToPollMilliseconds(m_timeout));
        if (ready < 0 && errno != EINTR) FailRead(SystemError("poll", errno));
        if (ready <= 0) return bytes;
    }
    bytes.resize(static_cast<size_t>(count));
    const ssize_t got = ::read(m_fd, bytes.data(), bytes.size());
    if (got > 0) {
        bytes.resize(static_cast<size_t>(got));
        m_readFailureReported = false;
        return bytes;
    }
    bytes.clear();
    if (got == 0) {
        FailRead("read: the line hung up");
    } else if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
        FailRead(SystemError("read", errno));
    }
    return bytes;
}

void Serial::FailRead(const std::string& reason) {
    if (!m_readFailureReported) {
        std::fprintf(stderr, "Core::IO::Serial %s: %s; closing the port\n", m_device.c_str(),
                     reason.c_str());
    }
    m_readFailureReported = true;
    Close();
}

bool Serial::Write(const std::string& text) {
    return WriteBytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

bool Serial::Write(const ByteVector& bytes) { return WriteBytes(bytes.data(), bytes.size()); }

bool Serial::WriteBytes(const uint8_t* data, size_t size) {
    if (!IsOpen()) {
        std::fprintf(stderr, "Core::IO::Serial %s: write on a closed port\n", m_device.c_str());
        return false;
    }
    // Ten bits a byte on the line (8N1), in 64 bits: size_t is 32 bits here.
    const int64_t lineMicroseconds =
        m_baudRate > 0 ? static_cast<int64_t>(size) * 10 * 1000000 / m_baudRate : 0;
    const Core::MonotonicTime deadline =
        Core::MonotonicTime::Now() + Core::Time::FromMicroseconds(lineMicroseconds) + kWriteMargin;
    size_t sent = 0;
    while (sent < size) {
        const ssize_t n = ::write(m_fd, data + sent, size - sent);
        if (n > 0) {
            sent += static_cast<size_t>(n);
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK) {
            std::fprintf(stderr,
                         "Core::IO::Serial %s: %s after %zu of %zu bytes; closing the port\n",
                         m_device.c_str(), SystemError("write", errno).c_str(), sent, size);
            Close();
            return false;
        }
        // The driver's buffer is full: wait for room until the deadline.
        const Core::Time left = deadline - Core::MonotonicTime::Now();
        if (left <= Core::Time()) {
            std::fprintf(stderr, "Core::IO::Serial %s: write stalled after %zu of %zu bytes\n",
                         m_device.c_str(), sent, size);
            return false;
        }
        struct pollfd port = {m_fd, POLLOUT, 0};
        if (::poll(&port, 1, ToPollMilliseconds(left)) < 0 && errno != EINTR) {
            std::fprintf(stderr, "Core::IO::Serial %s: %s after %zu of %zu bytes\n",
                         m_device.c_str(), SystemError("poll", errno).c_str(), sent, size);
            return false;
        }
    }
    return true;
}

bool Serial::SendBreak(float seconds) {
    if (!IsOpen()) {
        std::fprintf(stderr, "Core::IO::Serial %s: break on a closed port\n", m_device.c_str());
        return false;
    }
    const Core::Time duration = Core::Time::FromSeconds(seconds > 0 ? seconds : 0);
    // A command written just before must leave whole before the line drops.
    if (::tcdrain(m_fd) != 0) {
        std::fprintf(stderr, "Core::IO::Serial %s: %s\n", m_device.c_str(),
                     SystemError("tcdrain", errno).c_str());
    }
    const Core::MonotonicTime start = Core::MonotonicTime::Now();
    if (::ioctl(m_fd, TIOCSBRK) == 0) {
        SleepFor(duration);
        if (::ioctl(m_fd, TIOCCBRK) != 0) {
            std::fprintf(stderr, "Core::IO::Serial %s: %s\n", m_device.c_str(),
                         SystemError("TIOCCBRK", errno).c_str());
            return false;
        }
        return true;
    }
    // Without TIOCSBRK (some drivers, user-mode emulators) tcsendbreak still
    // works; Linux takes its duration in milliseconds, rounded up to tenths.
    if (::tcsendbreak(m_fd, static_cast<int>(duration.Milliseconds())) != 0) {
        std::fprintf(stderr, "Core::IO::Serial %s: %s\n", m_device.c_str(),
                     SystemError("tcsendbreak", errno).c_str());
        return false;
    }
    // Drivers without a break return at once; the caller still gets the pause
    // it paced its sequence by.
    SleepFor(duration - (Core::MonotonicTime::Now() - start));
    return true;
}

}  // namespace IO
}  // namespace Core
