#pragma once
// The base of the daemon's TCP services: a listening socket and its clients,
// served from the main select loop through a SocketCollectionC. It never
// blocks: accepts, reads and writes are non-blocking, each client's unsent
// output is bounded, and a client that cannot keep up is dropped rather than
// allowed to hold up the loop or the memory.
//
// Input is cut into lines at a configurable line end and handed to OnLine;
// output goes to one client (Send) or to all (Broadcast). A derived server
// overrides the hooks it needs.

#include <sys/select.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "platform/Core/Time.h"
#include "platform/Net/SocketConnection.h"

class SocketServerC {
public:
    // Input lines longer than this drop their client.
    static constexpr size_t kDefaultMaxLineLength = 65536;
    // Unsent output beyond this drops its client.
    static constexpr size_t kDefaultMaxOutput = 262144;
    static constexpr const char* kDefaultBindAddress = "127.0.0.1";

    // A server with a short name ("NMEAService") that prefixes its messages.
    explicit SocketServerC(const std::string& name);
    // Closes the listening socket and every client, without calling OnDisconnect.
    virtual ~SocketServerC();

    SocketServerC(const SocketServerC&) = delete;
    SocketServerC& operator=(const SocketServerC&) = delete;

    const std::string& GetName() const { return m_name; }

    // The local address Listen binds: a numeric IPv4 or IPv6 address,
    // "localhost" (127.0.0.1), or "" for every address. No name service is
    // asked, so this never waits.
    void SetBindAddress(const std::string& address) { m_bindAddress = address; }
    const std::string& GetBindAddress() const { return m_bindAddress; }

    // Binds the bind address and port (0: the kernel picks one) and listens,
    // non-blocking and close-on-exec, with SO_REUSEADDR so a restarted daemon
    // gets its port back at once. A server already listening closes first.
    // On failure one line on standard error names the address and the reason,
    // and the result is false: the daemon then goes on without this service.
    bool Listen(int port, int backlog);
    bool IsListening() const { return m_listener >= 0; }
    // The port actually bound (the kernel's choice for port 0); 0 when not listening.
    int GetPort() const { return m_port; }
    // Stops listening and drops every client.
    void Close();

    // The bytes that end an input line (default "\n"). With "\n", a CR before
    // it is dropped too, so CR LF clients are served alike. With "" the server
    // takes no input: whatever clients send is read and thrown away.
    void SetLineEnd(const std::string& lineEnd) { m_lineEnd = lineEnd; }
    void SetMaxLineLength(size_t bytes) { m_maxLineLength = bytes; }
    void SetMaxOutput(size_t bytes) { m_maxOutput = bytes; }
    size_t GetMaxOutput() const { return m_maxOutput; }

    // Queues data for one client and writes what the kernel takes at once.
    // When the client's unsent output would exceed the limit the client is
    // dropped. False when the client is closing or was dropped by this call.
    bool Send(SocketConnectionC& client, const std::string& data);
    // Send to every client; returns how many took the data.
    size_t Broadcast(const std::string& data);
    // Drops a client: it gets nothing more and is removed, with OnDisconnect,
    // at the next safe point. A non-empty reason is reported on standard error.
    void Drop(SocketConnectionC& client, const std::string& reason);

    // Clients not closing.
    size_t GetClientCount() const;
    // True while accepting failed (out of descriptors) and new clients wait in
    // the kernel's queue.
    bool IsAcceptPaused() const { return m_acceptPaused; }
    // Clients dropped by the server (line too long, output full, refused).
    uint64_t GetDroppedCount() const { return m_droppedCount; }

    // For the socket collection: puts the listening socket and the clients in
    // the read set, and clients with pending output in the write set. Returns
    // the largest descriptor added, -1 when none.
    int AddToSets(fd_set& readSet, fd_set& writeSet);
    // For the socket collection: reads, writes and accepts what select found ready.
    void HandleReady(const fd_set& readSet, const fd_set& writeSet);

    // Called by the main loop when a select pass timed out with nothing ready
    // (at most every 100 ms), for work driven by time.
    virtual void Idle() {}

protected:
    // Makes the object for a new client; a derived server may return its own
    // derived type to keep per-client state.
    virtual std::unique_ptr<SocketConnectionC> CreateConnection(int descriptor,
                                                                const std::string& peer,
                                                                uint64_t id);
    // A client was accepted.
    virtual void OnConnect(SocketConnectionC& client) { (void)client; }
    // One complete input line, without its line end.
    virtual void OnLine(SocketConnectionC& client, const std::string& line) {
        (void)client;
        (void)line;
    }
    // A client went away or was dropped; its descriptor is still open and is
    // closed after this returns. Sending to it does nothing.
    virtual void OnDisconnect(SocketConnectionC& client) { (void)client; }

private:
    void AcceptPending();
    // Accepts one connection; false when there is nothing more to accept now.
    bool AcceptOne();
    void ReadFrom(SocketConnectionC& client);
    void CutLines(SocketConnectionC& client);
    void DropForLongLine(SocketConnectionC& client);
    // Removes closing clients, calling OnDisconnect for each.
    void RemoveClosed();
    // Prints "name: message" on standard error.
    void Report(const std::string& message) const;

    std::string m_name;
    std::string m_bindAddress = kDefaultBindAddress;
    std::string m_lineEnd = "\n";
    size_t m_maxLineLength = kDefaultMaxLineLength;
    size_t m_maxOutput = kDefaultMaxOutput;
    int m_listener = -1;
    int m_port = 0;
    std::list<std::unique_ptr<SocketConnectionC>> m_clients;
    uint64_t m_nextId = 1;
    uint64_t m_droppedCount = 0;
    // Accepting failed (out of descriptors): it waits until a client leaves or
    // the retry time comes, so a listening socket that stays readable cannot
    // spin the loop. The failure is reported once until an accept works again.
    bool m_acceptPaused = false;
    bool m_acceptFailing = false;
    Core::MonotonicTime m_acceptRetry;
    bool m_reportedHighDescriptor = false;
};

namespace Socket {

// Starts a server listening on its bind address and the port; the result is
// that of SocketServerC::Listen.
bool StartServer(SocketServerC& server, int port, int backlog);

}  // namespace Socket
