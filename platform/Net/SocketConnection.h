#pragma once
// One accepted client of a SocketServerC: its descriptor, the input not yet cut
// into lines and the output the kernel has not taken yet. The server owns it;
// derived servers may derive from it to keep per-client state.

#include <cstddef>
#include <cstdint>
#include <string>

class SocketConnectionC {
public:
    SocketConnectionC(int descriptor, const std::string& peer, uint64_t id);
    virtual ~SocketConnectionC();

    SocketConnectionC(const SocketConnectionC&) = delete;
    SocketConnectionC& operator=(const SocketConnectionC&) = delete;

    int GetDescriptor() const { return m_descriptor; }
    // The peer's address and port, "127.0.0.1:40312", for messages.
    const std::string& GetPeer() const { return m_peer; }
    // Unique among the clients one server has ever accepted; starts at 1.
    uint64_t GetId() const { return m_id; }
    // Bytes queued for the client that the kernel has not taken yet.
    size_t GetPendingOutput() const { return m_output.size() - m_outputStart; }
    // True once the client has been dropped or has gone away; it then gets no
    // more input or output and is removed at the server's next safe point.
    bool IsClosing() const { return m_closing; }

private:
    friend class SocketServerC;

    // Queues bytes behind the pending output.
    void QueueOutput(const char* data, size_t size);
    // Writes as much pending output as the kernel takes without waiting.
    // False when the connection failed (the peer is gone).
    bool Flush();
    // Forgets the first count pending bytes, which the kernel took.
    void ConsumeOutput(size_t count);

    int m_descriptor;
    std::string m_peer;
    uint64_t m_id;
    std::string m_input;   // received bytes after the last complete line
    std::string m_output;  // queued bytes; those before m_outputStart are sent
    size_t m_outputStart = 0;
    bool m_closing = false;
    bool m_peerFinished = false;  // the peer shut down its sending side
    bool m_announced = false;     // OnConnect was called, so OnDisconnect will be
};
