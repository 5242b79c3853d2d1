#include "io/TolvekHandler.h"

#include <errno.h>
#include <stdio.h>
#include <sys/select.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>

namespace {

// A missing router is tried again no sooner than this.
const double kRetrySeconds = 1.0;

}  // namespace

CTolvekHandler::CTolvekHandler()
    : m_readTimeout(Core::Time::FromSeconds(-1)), m_outageReported(false), m_connectAttempts(0) {
    m_port.SetNonBlocking(true);
}

CTolvekHandler::~CTolvekHandler() { m_port.Disconnect(); }

int CTolvekHandler::Open() {
    if (m_port.IsConnected()) {
        std::cerr << "Tolvek is already open.  cannot open twice" << std::endl;
        return 1;
    }
    if (!m_nextAttempt.HasExpired()) return 0;
    m_nextAttempt = Core::MonotonicTime::Now() + Core::Time::FromSeconds(kRetrySeconds);
    if (m_port.GetPortNumber() == 0) {
        if (!m_outageReported) std::cerr << "Tolvek port not set yet" << std::endl;
        m_outageReported = true;
        return 0;
    }
    ++m_connectAttempts;
    // perror("connect") comes once per outage, with the first failed attempt.
    m_port.SetReportConnectFailure(!m_outageReported);
    if (!m_port.Connect()) {
        if (!m_outageReported) std::cerr << "Tolvek not opened ok" << std::endl;
        m_outageReported = true;
        return 0;
    }
    m_outageReported = false;
    return 1;
}

int CTolvekHandler::Close() {
    m_port.Disconnect();
    m_nextAttempt = Core::MonotonicTime();
    return 1;
}

bool CTolvekHandler::IsOpen() { return m_port.IsConnected(); }

// One read of what is there rather than a byte at a time with ReadChar: the
// socket is non-blocking and the select loop only reads when it is readable,
// so a single call gathers the whole burst without extra system calls.
ByteVector CTolvekHandler::Read(int count) {
    ByteVector bytes;
    if (!m_port.IsConnected()) {
        std::cerr << "Tolvek port not connected for Read()" << std::endl;
        return bytes;
    }
    if (count < 1) return bytes;
    int socket = m_port.GetSocket();
    if (m_readTimeout.Microseconds() > 0) {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(socket, &readable);
        struct timeval timeout = m_readTimeout.ToTimeval();
        if (::select(socket + 1, &readable, nullptr, nullptr, &timeout) <= 0) return bytes;
    }
    bytes.resize(static_cast<size_t>(count));
    ssize_t got = ::read(socket, bytes.data(), bytes.size());
    if (got > 0) {
        bytes.resize(static_cast<size_t>(got));
        return bytes;
    }
    bytes.clear();
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) return bytes;
    if (got < 0) ::perror("read");
    // The router closed the port or the socket failed: the main loop's next
    // pass sees the source closed and reconnects.
    m_port.Disconnect();
    return bytes;
}

int CTolvekHandler::WriteBytes(const uint8_t* bytes, size_t count) {
    if (!m_port.IsConnected()) return 0;
    return m_port.Write(bytes, count);
}

int CTolvekHandler::Write(const std::string& text) {
    return WriteBytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

int CTolvekHandler::Write(const ByteVector& bytes) {
    return WriteBytes(bytes.data(), bytes.size());
}

int CTolvekHandler::SetPortName(const std::string& name) {
    char* end = nullptr;
    long long number = std::strtoll(name.c_str(), &end, 10);
    bool valid = !name.empty() && end && *end == '\0' && number > 0 && number <= INT32_MAX;
    m_port.Disconnect();
    m_port.SetPortNumber(valid ? static_cast<int32_t>(number) : 0);
    m_nextAttempt = Core::MonotonicTime();
    m_outageReported = false;
    return 1;
}

int CTolvekHandler::SetTimeout(Core::Time timeout) {
    m_readTimeout = timeout;
    return 1;
}

void CTolvekHandler::SendBreak() {}

int CTolvekHandler::SetBaudRate(int /*rate*/) { return 1; }

int CTolvekHandler::GetFileDescriptor() { return m_port.GetSocket(); }
