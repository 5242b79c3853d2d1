#include "platform/Net/SocketServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "platform/Core/NumericAddress.h"

namespace {

// Bytes read from one client in one pass; a client sending more waits for the
// next pass, so one busy client cannot starve the others.
const size_t kReadChunk = 16384;
// Connections accepted in one pass, for the same reason.
const int kAcceptsPerPass = 16;
// Out of descriptors: accepting is tried again after this long even when no
// client of this server has left (another part of the daemon may free some).
const double kAcceptRetrySeconds = 1.0;

// "address:port" ("[address]:port" for IPv6) of a socket address.
std::string AddressText(const struct sockaddr* address) {
    char host[INET6_ADDRSTRLEN] = "?";
    int port = 0;
    if (address->sa_family == AF_INET) {
        const auto* in = reinterpret_cast<const struct sockaddr_in*>(address);
        ::inet_ntop(AF_INET, &in->sin_addr, host, sizeof(host));
        port = ntohs(in->sin_port);
        return std::string(host) + ":" + std::to_string(port);
    }
    if (address->sa_family == AF_INET6) {
        const auto* in6 = reinterpret_cast<const struct sockaddr_in6*>(address);
        ::inet_ntop(AF_INET6, &in6->sin6_addr, host, sizeof(host));
        port = ntohs(in6->sin6_port);
        return "[" + std::string(host) + "]:" + std::to_string(port);
    }
    return "unknown peer";
}

// Errors of one connection, or none at all: accept the next one.
bool IsPassingError(int error) {
    switch (error) {
        case EINTR:
        case ECONNABORTED:
        case EPROTO:
        case ENETDOWN:
        case ENOPROTOOPT:
        case EHOSTDOWN:
        case ENONET:
        case EHOSTUNREACH:
        case EOPNOTSUPP:
        case ENETUNREACH:
            return true;
        default:
            return false;
    }
}

bool IsOutOfDescriptors(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

}  // namespace

SocketServerC::SocketServerC(const std::string& name) : m_name(name) {}

SocketServerC::~SocketServerC() {
    if (m_listener >= 0) ::close(m_listener);
    // The connections close their descriptors; no hooks run, as the derived
    // part of the object is already gone.
}

void SocketServerC::Report(const std::string& message) const {
    std::fprintf(stderr, "%s: %s\n", m_name.c_str(), message.c_str());
}

bool SocketServerC::Listen(int port, int backlog) {
    if (m_listener >= 0) Close();
    const std::string where =
        (m_bindAddress.empty() ? "*" : m_bindAddress) + ":" + std::to_string(port);
    if (port < 0 || port > 65535) {
        Report("cannot listen on " + where +
               ": the port is not 0 to 65535; the service is not offered");
        return false;
    }

    Core::SSocketAddress address;
    if (!Core::ParseNumericAddress(m_bindAddress, port, address)) {
        Report("cannot listen on " + where +
               ": the bind address is not a numeric address or localhost; the service is not "
               "offered");
        return false;
    }

    std::string failure;
    int descriptor = ::socket(address.Family(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        failure = std::strerror(errno);
    } else {
        const int on = 1;
        ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        if (::bind(descriptor, address.Get(), address.length) != 0 ||
            ::listen(descriptor, backlog) != 0) {
            failure = std::strerror(errno);
        } else if (descriptor >= FD_SETSIZE) {
            failure =
                "descriptor " + std::to_string(descriptor) + " is beyond what select can watch";
        }
    }
    if (!failure.empty()) {
        if (descriptor >= 0) ::close(descriptor);
        Report("cannot listen on " + where + ": " + failure + "; the service is not offered");
        return false;
    }

    struct sockaddr_storage bound;
    socklen_t boundLength = sizeof(bound);
    std::memset(&bound, 0, sizeof(bound));
    ::getsockname(descriptor, reinterpret_cast<struct sockaddr*>(&bound), &boundLength);
    m_port = bound.ss_family == AF_INET6
                 ? ntohs(reinterpret_cast<struct sockaddr_in6*>(&bound)->sin6_port)
                 : ntohs(reinterpret_cast<struct sockaddr_in*>(&bound)->sin_port);
    m_listener = descriptor;
    m_acceptPaused = false;
    return true;
}

void SocketServerC::Close() {
    if (m_listener >= 0) ::close(m_listener);
    m_listener = -1;
    m_port = 0;
    for (auto& client : m_clients) client->m_closing = true;
}

bool SocketServerC::Send(SocketConnectionC& client, const std::string& data) {
    if (client.m_closing) return false;
    const char* rest = data.data();
    size_t restSize = data.size();
    if (client.GetPendingOutput() == 0 && restSize > 0) {
        // Nothing queued: the kernel usually takes it all at once.
        ssize_t written;
        do {
            written = ::send(client.m_descriptor, rest, restSize, MSG_DONTWAIT | MSG_NOSIGNAL);
        } while (written < 0 && errno == EINTR);
        if (written < 0 && errno != EAGAIN && errno != EWOULDBLOCK) {
            Drop(client, "");  // the peer is gone; nothing to report
            return false;
        }
        if (written > 0) {
            rest += written;
            restSize -= static_cast<size_t>(written);
        }
    }
    if (client.GetPendingOutput() + restSize > m_maxOutput) {
        Drop(client, "client " + client.m_peer + " does not read its data: more than " +
                         std::to_string(m_maxOutput) + " bytes unsent; dropped");
        return false;
    }
    client.QueueOutput(rest, restSize);
    return true;
}

size_t SocketServerC::Broadcast(const std::string& data) {
    size_t taken = 0;
    for (auto& client : m_clients) {
        if (Send(*client, data)) ++taken;
    }
    return taken;
}

void SocketServerC::Drop(SocketConnectionC& client, const std::string& reason) {
    if (client.m_closing) return;
    client.m_closing = true;
    if (!reason.empty()) {
        ++m_droppedCount;
        Report(reason);
    }
}

size_t SocketServerC::GetClientCount() const {
    return static_cast<size_t>(std::count_if(
        m_clients.begin(), m_clients.end(),
        [](const std::unique_ptr<SocketConnectionC>& client) { return !client->m_closing; }));
}

int SocketServerC::AddToSets(fd_set& readSet, fd_set& writeSet) {
    for (auto& client : m_clients) {
        if (client->m_peerFinished && client->GetPendingOutput() == 0) Drop(*client, "");
    }
    RemoveClosed();
    int largest = -1;
    if (m_listener >= 0 && m_acceptPaused && m_acceptRetry.HasExpired()) m_acceptPaused = false;
    if (m_listener >= 0 && !m_acceptPaused) {
        FD_SET(m_listener, &readSet);
        largest = m_listener;
    }
    for (auto& client : m_clients) {
        const int descriptor = client->m_descriptor;
        if (!client->m_peerFinished) FD_SET(descriptor, &readSet);
        if (client->GetPendingOutput() > 0) FD_SET(descriptor, &writeSet);
        largest = std::max(largest, descriptor);
    }
    return largest;
}

void SocketServerC::HandleReady(const fd_set& readSet, const fd_set& writeSet) {
    // Only the clients that were in the sets: one accepted below may have been
    // given a descriptor number that another server closed during this pass.
    std::vector<SocketConnectionC*> watched;
    for (auto& client : m_clients) {
        if (!client->m_closing) watched.push_back(client.get());
    }
    for (SocketConnectionC* client : watched) {
        if (!client->m_closing && FD_ISSET(client->m_descriptor, &writeSet)) {
            if (!client->Flush() || (client->m_peerFinished && client->GetPendingOutput() == 0)) {
                Drop(*client, "");
            }
        }
        if (!client->m_closing && !client->m_peerFinished &&
            FD_ISSET(client->m_descriptor, &readSet)) {
            ReadFrom(*client);
        }
    }
    if (m_listener >= 0 && !m_acceptPaused && FD_ISSET(m_listener, &readSet)) AcceptPending();
    RemoveClosed();
}

void SocketServerC::AcceptPending() {
    for (int i = 0; i < kAcceptsPerPass && AcceptOne(); ++i) {
    }
}

bool SocketServerC::AcceptOne() {
    struct sockaddr_storage address;
    socklen_t length = sizeof(address);
    std::memset(&address, 0, sizeof(address));
    const int descriptor = ::accept4(m_listener, reinterpret_cast<struct sockaddr*>(&address),
                                     &length, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor < 0) {
        const int error = errno;
        if (error == EAGAIN || error == EWOULDBLOCK) return false;
        if (IsPassingError(error)) return true;
        // Out of descriptors or memory, or something unexpected: the
        // connection stays queued in the kernel and is taken once accepting
        // works again. Until then the listening socket is left out of the
        // select sets, as it stays readable.
        if (!m_acceptFailing) {
            Report(std::string("cannot accept a client: ") + std::strerror(error) +
                   (IsOutOfDescriptors(error) ? "; new clients wait until a client leaves" : ""));
            m_acceptFailing = true;
        }
        m_acceptPaused = true;
        m_acceptRetry = Core::MonotonicTime::Now() + Core::Time::FromSeconds(kAcceptRetrySeconds);
        return false;
    }
    m_acceptFailing = false;
    const std::string peer = AddressText(reinterpret_cast<struct sockaddr*>(&address));
    if (descriptor >= FD_SETSIZE) {
        ::close(descriptor);
        ++m_droppedCount;
        if (!m_reportedHighDescriptor) {
            Report("refused client " + peer + ": its descriptor " + std::to_string(descriptor) +
                   " is beyond what select can watch (" + std::to_string(FD_SETSIZE) +
                   "); such clients are refused without further messages");
            m_reportedHighDescriptor = true;
        }
        return true;
    }
    m_clients.push_back(CreateConnection(descriptor, peer, m_nextId++));
    SocketConnectionC& client = *m_clients.back();
    client.m_announced = true;
    OnConnect(client);
    return true;
}

std::unique_ptr<SocketConnectionC> SocketServerC::CreateConnection(int descriptor,
                                                                   const std::string& peer,
                                                                   uint64_t id) {
    return std::unique_ptr<SocketConnectionC>(new SocketConnectionC(descriptor, peer, id));
}

void SocketServerC::ReadFrom(SocketConnectionC& client) {
    char chunk[kReadChunk];
    ssize_t count;
    do {
        count = ::recv(client.m_descriptor, chunk, sizeof(chunk), MSG_DONTWAIT);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        if (errno != EAGAIN && errno != EWOULDBLOCK) Drop(client, "");
        return;
    }
    if (count == 0) {
        // The peer has finished sending; it may still be reading the answer
        // to its last line, so the client stays until its output is out.
        client.m_input.clear();
        client.m_peerFinished = true;
        if (client.GetPendingOutput() == 0) Drop(client, "");
        return;
    }
    client.m_input.append(chunk, static_cast<size_t>(count));
    CutLines(client);
}

void SocketServerC::CutLines(SocketConnectionC& client) {
    std::string& input = client.m_input;
    if (m_lineEnd.empty()) {
        input.clear();  // a server that takes no input
        return;
    }
    size_t start = 0;
    while (!client.m_closing) {
        const size_t end = input.find(m_lineEnd, start);
        if (end == std::string::npos) break;
        size_t length = end - start;
        if (m_lineEnd == "\n" && length > 0 && input[end - 1] == '\r') --length;
        const size_t lineStart = start;
        start = end + m_lineEnd.size();
        if (length > m_maxLineLength) {
            DropForLongLine(client);
            break;
        }
        OnLine(client, input.substr(lineStart, length));
    }
    if (client.m_closing) {
        input.clear();
        return;
    }
    input.erase(0, start);
    // The rest is an open line; it may still end in a CR or part of the line end.
    if (input.size() > m_maxLineLength + m_lineEnd.size()) DropForLongLine(client);
}

void SocketServerC::DropForLongLine(SocketConnectionC& client) {
    Drop(client, "client " + client.m_peer + " sent a line longer than " +
                     std::to_string(m_maxLineLength) + " bytes; dropped");
}

void SocketServerC::RemoveClosed() {
    for (auto it = m_clients.begin(); it != m_clients.end();) {
        if (!(*it)->m_closing) {
            ++it;
            continue;
        }
        if ((*it)->m_announced) OnDisconnect(**it);
        it = m_clients.erase(it);
        // A descriptor is free again: a client waiting in the kernel's queue
        // can be accepted now.
        m_acceptPaused = false;
    }
}

namespace Socket {

bool StartServer(SocketServerC& server, int port, int backlog) {
    return server.Listen(port, backlog);
}

}  // namespace Socket
