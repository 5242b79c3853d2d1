#include "platform/Supervisor/ServiceNotifier.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <utility>

namespace {

// A whole decimal number without sign or trailing text; false otherwise.
bool ParseUnsigned(const char* text, uint64_t& value) {
    if (text == nullptr || *text < '0' || *text > '9') return false;
    errno = 0;
    char* end = nullptr;
    const unsigned long long parsed = std::strtoull(text, &end, 10);
    if (errno != 0 || *end != '\0') return false;
    value = static_cast<uint64_t>(parsed);
    return true;
}

}  // namespace

CServiceNotifier CServiceNotifier::FromEnvironment() {
    const char* socketPath = std::getenv("NOTIFY_SOCKET");
    uint64_t watchdog = 0;
    if (!ParseUnsigned(std::getenv("WATCHDOG_USEC"), watchdog)) watchdog = 0;
    // The manager names the process it watches; a child that inherited the
    // environment (or a process started by hand from it) must not ping for it.
    uint64_t watchedPid = 0;
    if (ParseUnsigned(std::getenv("WATCHDOG_PID"), watchedPid) &&
        watchedPid != static_cast<uint64_t>(::getpid())) {
        watchdog = 0;
    }
    return CServiceNotifier(socketPath ? socketPath : "", watchdog);
}

CServiceNotifier::CServiceNotifier(const std::string& socketPath, uint64_t watchdogMicroseconds)
    : m_socketPath(socketPath), m_watchdogMicroseconds(watchdogMicroseconds) {
    // Only a path or an abstract name is a socket the manager listens on.
    if (!m_socketPath.empty() && m_socketPath[0] != '/' && m_socketPath[0] != '@') {
        std::cerr << "Ignoring NOTIFY_SOCKET '" << m_socketPath
                  << "': not a path or an abstract socket name" << std::endl;
        m_socketPath.clear();
    }
    if (m_socketPath.empty()) m_watchdogMicroseconds = 0;
}

CServiceNotifier::CServiceNotifier(CServiceNotifier&& other) noexcept
    : m_socketPath(std::move(other.m_socketPath)),
      m_watchdogMicroseconds(other.m_watchdogMicroseconds),
      m_socket(other.m_socket),
      m_pinged(other.m_pinged),
      m_lastPing(other.m_lastPing),
      m_failureReported(other.m_failureReported) {
    other.m_socket = -1;
}

CServiceNotifier::~CServiceNotifier() {
    if (m_socket >= 0) ::close(m_socket);
}

void CServiceNotifier::KeepAlive(Core::MonotonicTime now) {
    if (m_watchdogMicroseconds == 0) return;
    if (!m_pinged) {
        // The first pass starts the count; ready has just told the manager we live.
        m_pinged = true;
        m_lastPing = now;
        return;
    }
    const uint64_t half = m_watchdogMicroseconds / 2;
    const int64_t since = (now - m_lastPing).Microseconds();
    if (since >= 0 && static_cast<uint64_t>(since) < half) return;
    m_lastPing = now;
    Send("WATCHDOG=1");
}

bool CServiceNotifier::Send(const std::string& message) {
    if (!IsEnabled()) return false;

    struct sockaddr_un address;
    std::memset(&address, 0, sizeof(address));
    address.sun_family = AF_UNIX;
    if (m_socketPath.size() >= sizeof(address.sun_path)) {
        if (!m_failureReported) {
            std::cerr << "Cannot notify the service manager: socket name too long" << std::endl;
            m_failureReported = true;
        }
        return false;
    }
    std::memcpy(address.sun_path, m_socketPath.data(), m_socketPath.size());
    socklen_t length =
        static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + m_socketPath.size());
    if (m_socketPath[0] == '@') {
        // An abstract name: a leading zero byte and exactly the name's length.
        address.sun_path[0] = '\0';
    } else {
        length += 1;  // the path's terminating zero
    }

    if (m_socket < 0) {
        m_socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    }
    // Non-blocking: a manager that does not drain its socket costs a ping, never the loop.
    const ssize_t sent = m_socket < 0
                             ? -1
                             : ::sendto(m_socket, message.data(), message.size(), MSG_NOSIGNAL,
                                        reinterpret_cast<const struct sockaddr*>(&address), length);
    if (sent == static_cast<ssize_t>(message.size())) return true;
    if (!m_failureReported) {
        std::cerr << "Cannot notify the service manager at '" << m_socketPath
                  << "': " << std::strerror(errno) << std::endl;
        m_failureReported = true;
    }
    return false;
}
