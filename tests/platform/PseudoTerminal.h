#pragma once
// A real pseudo-terminal for the serial tests: the code under test opens the
// slave by name, the test plays the receiver on the master.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <string>

#include "platform/Core/ByteVector.h"

namespace TestSupport {

class PseudoTerminal {
public:
    PseudoTerminal() : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        EXPECT_GE(m_master, 0) << "posix_openpt";
        if (m_master < 0) return;
        EXPECT_EQ(0, ::grantpt(m_master));
        EXPECT_EQ(0, ::unlockpt(m_master));
        const char* name = ::ptsname(m_master);
        if (name) m_slaveName = name;
        // The master hands the slave's output to the test byte for byte.
        struct termios raw;
        if (::tcgetattr(m_master, &raw) == 0) {
            ::cfmakeraw(&raw);
            ::tcsetattr(m_master, TCSANOW, &raw);
        }
    }
    ~PseudoTerminal() { CloseMaster(); }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    const std::string& SlaveName() const { return m_slaveName; }
    int Master() const { return m_master; }

    // Hangs up the line as a vanished device would.
    void CloseMaster() {
        if (m_master >= 0) ::close(m_master);
        m_master = -1;
    }

    void Send(const std::string& bytes) {
        ASSERT_EQ(static_cast<ssize_t>(bytes.size()),
                  ::write(m_master, bytes.data(), bytes.size()));
    }

    // What the slave sent, until count bytes have come or nothing more comes
    // for the given span.
    std::string Receive(size_t count, int quietMilliseconds = 2000) {
        std::string received;
        char chunk[4096];
        while (received.size() < count) {
            struct pollfd master = {m_master, POLLIN, 0};
            if (::poll(&master, 1, quietMilliseconds) <= 0) break;
            const ssize_t n = ::read(m_master, chunk, sizeof chunk);
            if (n <= 0) break;
            received.append(chunk, static_cast<size_t>(n));
        }
        return received;
    }

private:
    int m_master;
    std::string m_slaveName;
};

// Ends the test process with SIGALRM when a test outlives the given seconds:
// a port that blocks would stall the daemon's loop, and here it fails the run
// quickly instead of hanging it.
class Watchdog {
public:
    explicit Watchdog(unsigned seconds) { ::alarm(seconds); }
    ~Watchdog() { ::alarm(0); }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
};

// Waits as the daemon's select loop does until fd is readable, then reads
// through read(count) until count bytes came or the line goes quiet.
template <typename Reader>
std::string ReadWhenReadable(int fd, size_t count, Reader read) {
    std::string received;
    while (received.size() < count) {
        struct pollfd port = {fd, POLLIN, 0};
        if (::poll(&port, 1, 2000) <= 0) break;
        const ByteVector bytes = read(static_cast<int>(count - received.size()));
        if (bytes.empty()) break;
        received.append(bytes.begin(), bytes.end());
    }
    return received;
}

// The termios settings of the terminal open on fd.
inline struct termios SettingsOf(int fd) {
    struct termios settings = {};
    EXPECT_EQ(0, ::tcgetattr(fd, &settings));
    return settings;
}

inline speed_t OutputSpeedOf(int fd) {
    const struct termios settings = SettingsOf(fd);
    return ::cfgetospeed(&settings);
}

}  // namespace TestSupport
