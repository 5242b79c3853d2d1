#include "platform/Logging/DatagramSender.h"

#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/Core/NumericAddress.h"

namespace Logging {

namespace {

// A log server that keeps failing is mentioned again after this long at the earliest.
const double kReportIntervalSeconds = 60.0;

}  // namespace

CDatagramSender::CDatagramSender(const std::string& clientName, const std::string& host, int port)
    : m_clientName(clientName) {
    std::memset(&m_destination, 0, sizeof(m_destination));
    Open(host, port);
}

CDatagramSender::~CDatagramSender() { Close(); }

void CDatagramSender::Close() {
    if (m_socket >= 0) {
        ::close(m_socket);
        m_socket = -1;
    }
}

bool CDatagramSender::Open(const std::string& host, int port) {
    Close();
    m_destinationText = host + ":" + std::to_string(port);
    if (port < 1 || port > 65535) {
        std::fprintf(stderr,
                     "%s: log server port %d is not 1 to 65535; log datagrams are dropped\n",
                     m_clientName.c_str(), port);
        return false;
    }

    // Only numeric addresses are taken, so a missing name server can never hold
    // up the caller; the log server runs on the device itself.
    Core::SSocketAddress destination;
    if (host.empty() || !Core::ParseNumericAddress(host, port, destination)) {
        std::fprintf(stderr,
                     "%s: log server host \"%s\" is not a numeric address or localhost; "
                     "log datagrams are dropped\n",
                     m_clientName.c_str(), host.c_str());
        return false;
    }

    m_socket = ::socket(destination.Family(), SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_socket < 0) {
        std::fprintf(stderr, "%s: cannot open a socket for the log server %s: %s\n",
                     m_clientName.c_str(), m_destinationText.c_str(), std::strerror(errno));
    } else {
        m_destination = destination.storage;
        m_destinationLength = destination.length;
    }
    return m_socket >= 0;
}

bool CDatagramSender::Send(const char* payload, size_t length) {
    if (m_socket < 0) {
        ++m_dropped;
        return false;
    }
    ssize_t written;
    do {
        written =
            ::sendto(m_socket, payload, length, MSG_DONTWAIT | MSG_NOSIGNAL,
                     reinterpret_cast<const struct sockaddr*>(&m_destination), m_destinationLength);
    } while (written < 0 && errno == EINTR);
    if (written < 0) {
        ++m_dropped;
        ReportSendFailure(errno);
        m_failing = true;
        return false;
    }
    ++m_sent;
    m_failing = false;
    return true;
}

void CDatagramSender::ReportSendFailure(int error) {
    if (m_failing) return;
    if (m_reportedFailure &&
        m_lastReport.Elapsed() < Core::Time::FromSeconds(kReportIntervalSeconds)) {
        return;
    }
    std::fprintf(stderr,
                 "%s: cannot send to the log server %s: %s; log datagrams are dropped until "
                 "sending works again\n",
                 m_clientName.c_str(), m_destinationText.c_str(), std::strerror(error));
    m_reportedFailure = true;
    m_lastReport = Core::MonotonicTime::Now();
}

}  // namespace Logging
