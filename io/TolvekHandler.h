#pragma once
// The byte source for a receiver port handed out by the port-router service
// (io type 3): a TolvekPort on the router's socket for the port number.
//
// The socket is non-blocking, so a read takes what has arrived in one call and
// never stalls the select loop. A router that is missing or went away is
// retried at most once a second, and each outage is reported once.

#include <cstdint>
#include <string>

#include "io/InputOutputHandler.h"
#include "io/TolvekPort.h"
#include "platform/Core/Time.h"

class CTolvekHandler : public CInputOutputHandler {
public:
    CTolvekHandler();
    // Disconnects.
    ~CTolvekHandler() override;

    // Connects to the router. Non-zero when connected afterwards. Within a
    // second of the last attempt (failed or not) it returns 0 without trying,
    // so neither a missing router nor one that drops each connection spins.
    int Open() override;
    // Disconnects; always 1. The next Open tries at once.
    int Close() override;
    bool IsOpen() override;
    using CInputOutputHandler::Read;
    // Up to count bytes that have arrived, waiting at most the time-out when
    // none have. A peer that closed leaves the source disconnected.
    ByteVector Read(int count) override;
    // Sends it all before returning (commands are short); 0 when not connected
    // or the write failed.
    int Write(const std::string& text) override;
    int Write(const ByteVector& bytes) override;
    // The port number in decimal; a name that is not a number sets no port. Always 1.
    int SetPortName(const std::string& name) override;
    // How long a read waits for the first byte; 0 or less does not wait. Always 1.
    int SetTimeout(Core::Time timeout) override;
    // The router owns the line: does nothing.
    void SendBreak() override;
    // The router owns the line: does nothing; always 1.
    int SetBaudRate(int rate) override;
    // The socket; -1 when not connected.
    int GetFileDescriptor() override;

    // The socket path pattern ("%d" for the port number); the default is
    // TolvekPort::kDefaultPathPattern.
    void SetPathPattern(const std::string& pattern) { m_port.SetPathPattern(pattern); }
    // How many times Open has tried to connect (for checking the back-off).
    int GetConnectAttempts() const { return m_connectAttempts; }

private:
    // Writes count bytes through the port, when connected.
    int WriteBytes(const uint8_t* bytes, size_t count);

    TolvekPort m_port;
    Core::Time m_readTimeout;
    Core::MonotonicTime m_nextAttempt;  // no connect attempt before this
    bool m_outageReported;              // the current failure to connect was reported
    int m_connectAttempts;
};
