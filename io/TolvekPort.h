#pragma once
// The client end of one port of the port-router service: the router owns the
// device's serial ports and hands each out over a local stream socket whose
// path is made from a pattern and the port number. Also the tables naming the
// router's physical and logical port numbers.

#include <cstddef>
#include <cstdint>
#include <string>

class TolvekPort {
public:
    // The socket path pattern used unless another is set; "%d" stands for the port number.
    static const char* const kDefaultPathPattern;

    TolvekPort();
    // Closes the socket.
    ~TolvekPort();

    TolvekPort(const TolvekPort&) = delete;
    TolvekPort& operator=(const TolvekPort&) = delete;

    // 0 means no port: every operation then does nothing (see each for its result).
    void SetPortNumber(int32_t number) { m_portNumber = number; }
    int32_t GetPortNumber() const { return m_portNumber; }
    // The pattern the socket path is made from; its first "%d" becomes the port number.
    void SetPathPattern(const std::string& pattern) { m_pathPattern = pattern; }
    // The socket path for the current port number.
    std::string GetSocketPath() const;
    // When set, every connect, write and read is traced on standard output.
    void SetVerbose(bool verbose) { m_verbose = verbose; }
    // When set, the socket is switched to non-blocking mode after connecting.
    void SetNonBlocking(bool nonBlocking) { m_nonBlocking = nonBlocking; }
    // When clear, a failed connect is not reported with perror (the caller
    // reports an outage once instead of on every attempt).
    void SetReportConnectFailure(bool report) { m_reportConnectFailure = report; }

    // 1 when connected, or with port 0, or already connected; 0 on failure.
    int Connect();
    // Closes the socket; harmless when not connected.
    void Disconnect();
    bool IsConnected() const { return m_socket >= 0; }
    // The socket descriptor, -1 when not connected.
    int GetSocket() const { return m_socket; }

    // Writes all count bytes, looping over partial writes. 1 on success or
    // with port 0; 0 when not connected or on a failed write (then disconnected).
    int Write(const uint8_t* bytes, size_t count);
    // Waits up to timeoutMs for one byte: the byte (0 to 255); -1 with port 0,
    // on time-out, on a failure or when the peer closed (then disconnected);
    // 0 when not connected.
    int ReadChar(int timeoutMs);

    // Text queued for WritePending.
    void QueuePending(const std::string& text) { m_pending += text; }
    const std::string& GetPending() const { return m_pending; }
    // One write of the pending text; what was taken leaves the front of it.
    // 1 when the buffer is empty or something was written, 0 otherwise.
    int WritePending();

    // The name of a physical port number, "unknown" for one not in the table.
    static std::string PhysicalPortName(int32_t number);
    // The name of a logical port number, "unknown" for one not in the table.
    static std::string LogicalPortName(int32_t number);
    // The number of a physical port name, -1 for an unknown name.
    static int32_t PhysicalPortNumber(const std::string& name);
    // The number of a logical port name, -1 for an unknown name.
    static int32_t LogicalPortNumber(const std::string& name);

private:
    int32_t m_portNumber;
    int32_t m_socket;
    bool m_verbose;
    bool m_nonBlocking;
    bool m_reportConnectFailure;
    std::string m_pathPattern;
    std::string m_pending;
};
