#pragma once
// The transport under the remote logger: one non-blocking UDP socket that
// sends whole datagrams to the log server. It never blocks and never fails its
// caller: a datagram the kernel will not take at once is counted and dropped.

#include <sys/socket.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/Core/Time.h"

namespace Logging {

class CDatagramSender {
public:
    // A sender for the named client (the name only appears in messages),
    // opened on host and port as Open does.
    CDatagramSender(const std::string& clientName, const std::string& host, int port);
    ~CDatagramSender();

    CDatagramSender(const CDatagramSender&) = delete;
    CDatagramSender& operator=(const CDatagramSender&) = delete;

    // Sets the destination: a numeric IPv4 or IPv6 address, or "localhost",
    // which means 127.0.0.1; no name service is asked, so this never waits.
    // Any other host or a port outside 1 to 65535 is reported once on standard
    // error, and every datagram is then dropped. True when the address is usable.
    bool Open(const std::string& host, int port);

    // Sends one datagram without waiting. True when the kernel took it; a
    // refusal (full buffer, too long, no destination) only adds to the drop
    // count. The first failure after a success is reported on standard error,
    // at most once a minute.
    bool Send(const char* payload, size_t length);
    bool Send(const std::string& payload) { return Send(payload.data(), payload.size()); }

    bool HasDestination() const { return m_socket >= 0; }
    uint64_t GetSentCount() const { return m_sent; }
    uint64_t GetDroppedCount() const { return m_dropped; }

private:
    void Close();
    void ReportSendFailure(int error);

    std::string m_clientName;
    std::string m_destinationText;  // "host:port", for messages
    int m_socket = -1;
    struct sockaddr_storage m_destination;
    socklen_t m_destinationLength = 0;
    uint64_t m_sent = 0;
    uint64_t m_dropped = 0;
    bool m_failing = false;            // the last send failed
    bool m_reportedFailure = false;    // a send failure was reported before
    Core::MonotonicTime m_lastReport;  // when that was
};

}  // namespace Logging
