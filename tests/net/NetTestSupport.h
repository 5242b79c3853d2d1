#pragma once
// Helpers for the socket tests: a select pass over a collection, as the main
// loop runs it, and a plain TCP client on 127.0.0.1.

#include <functional>
#include <string>

class SocketCollectionC;

namespace NetTest {

// One select pass over the collection, waiting at most timeoutMs; returns
// select's result.
int Pump(SocketCollectionC& sockets, int timeoutMs = 10);

// Pumps the collection until done() holds; false when it did not within
// seconds (a generous limit that only a fault reaches).
bool PumpUntil(SocketCollectionC& sockets, const std::function<bool()>& done,
               double seconds = 10.0);

// A client connected to 127.0.0.1:port. Reads never wait.
class CClient {
public:
    // receiveBuffer > 0 sets SO_RCVBUF before connecting, so a client that
    // never reads fills up soon.
    explicit CClient(int port, int receiveBuffer = 0);
    ~CClient();
    CClient(const CClient&) = delete;
    CClient& operator=(const CClient&) = delete;

    int Descriptor() const { return m_socket; }
    bool IsConnected() const { return m_connected; }
    // Writes all of data (waiting if need be; tests send little).
    void Send(const std::string& data);
    // Appends whatever has arrived to Received(); notes the end of the stream.
    void Poll();
    const std::string& Received() const { return m_received; }
    // The server closed the connection (end of stream or reset).
    bool Closed() const { return m_closed; }
    void Close();

private:
    int m_socket = -1;
    bool m_connected = false;
    bool m_closed = false;
    std::string m_received;
};

// A port on 127.0.0.1 that a listening socket of this test holds, so that a
// server asked to listen there fails. The socket lives as long as the object.
class CBusyPort {
public:
    CBusyPort();
    ~CBusyPort();
    int Port() const { return m_port; }

private:
    int m_socket = -1;
    int m_port = 0;
};

}  // namespace NetTest
