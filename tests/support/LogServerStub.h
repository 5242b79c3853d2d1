#pragma once
// A stand-in for the device's log server in the tests: a UDP socket
// on 127.0.0.1 with a port the kernel picks, and a configuration store file
// that points the loggers at it.

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"

namespace TestSupport {

class CLogServerStub {
public:
    // receiveBuffer: the socket's receive buffer in bytes; the default holds
    // everything a test sends before it reads.
    explicit CLogServerStub(int receiveBuffer = 16 * 1024 * 1024);
    ~CLogServerStub();
    CLogServerStub(const CLogServerStub&) = delete;
    CLogServerStub& operator=(const CLogServerStub&) = delete;

    int Port() const { return m_port; }

    // The next datagram's bytes; "" when none came within five seconds.
    std::string Receive();
    // As Receive, waiting at most the given time.
    std::string ReceiveWithin(double seconds);
    // Every datagram that arrives until none has come for 0.2 s, parsed.
    std::vector<nlohmann::json> Drain();
    // The next datagram parsed; a failure of the test when none came or it is not JSON.
    nlohmann::json ReceiveJson();

private:
    int m_socket = -1;
    int m_port = 0;
    char m_buffer[65536];  // the largest datagram
};

// A port on 127.0.0.1 free for TCP and UDP just now, taken below the kernel's
// ephemeral range so that sockets bound to port 0 elsewhere never get it.
int ClosedPort();

// Writes a store file in dir whose section "LogServer" names host and port,
// with the NMEA, position and remote-method services on any free port (so
// parallel daemons never meet), plus any extra text, and returns its path.
std::string WriteServerConfig(const TestSupport::TempDir& dir, const std::string& host, int port,
                              const std::string& extra = "");

// Decodes base64 (standard alphabet, "=" padding); independent of the code under test.
std::string Base64Decode(const std::string& text);

// The JSON type name of each field, in the form "name:type", sorted, so a
// datagram's shape can be compared with the documented one in one go.
std::vector<std::string> FieldShape(const nlohmann::json& datagram);

}  // namespace TestSupport
