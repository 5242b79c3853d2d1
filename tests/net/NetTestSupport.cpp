#include "tests/net/NetTestSupport.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>

#include "platform/Net/SocketCollection.h"

namespace NetTest {

namespace {

struct sockaddr_in Loopback(int port) {
    struct sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}  // namespace

int Pump(SocketCollectionC& sockets, int timeoutMs) {
    fd_set readSet;
    fd_set writeSet;
    FD_ZERO(&readSet);
    FD_ZERO(&writeSet);
    const int largest = sockets.AddToSets(readSet, writeSet);
    struct timeval timeout = {0, timeoutMs * 1000};
    const int ready = ::select(largest + 1, &readSet, &writeSet, nullptr, &timeout);
    if (ready >= 0) sockets.HandleReady(readSet, writeSet);
    return ready;
}

bool PumpUntil(SocketCollectionC& sockets, const std::function<bool()>& done, double seconds) {
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        Pump(sockets);
    }
    return true;
}

CClient::CClient(int port, int receiveBuffer) {
    m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_socket < 0) throw std::runtime_error("socket failed");
    if (receiveBuffer > 0) {
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof(receiveBuffer));
    }
    struct sockaddr_in address = Loopback(port);
    m_connected =
        ::connect(m_socket, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)) == 0;
}

CClient::~CClient() { Close(); }

void CClient::Close() {
    if (m_socket >= 0) ::close(m_socket);
    m_socket = -1;
}

void CClient::Send(const std::string& data) {
    size_t done = 0;
    while (done < data.size()) {
        ssize_t written = ::send(m_socket, data.data() + done, data.size() - done, MSG_NOSIGNAL);
        if (written < 0) {
            if (errno == EINTR) continue;
            throw std::runtime_error(std::string("client send failed: ") + std::strerror(errno));
        }
        done += static_cast<size_t>(written);
    }
}

void CClient::Poll() {
    char chunk[65536];
    while (!m_closed) {
        ssize_t count = ::recv(m_socket, chunk, sizeof(chunk), MSG_DONTWAIT);
        if (count > 0) {
            m_received.append(chunk, static_cast<size_t>(count));
        } else if (count == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
            m_closed = true;
        } else if (errno != EINTR) {
            break;
        }
    }
}

CBusyPort::CBusyPort() {
    m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    struct sockaddr_in address = Loopback(0);
    if (m_socket < 0 ||
        ::bind(m_socket, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(m_socket, 1) != 0) {
        throw std::runtime_error("cannot hold a port");
    }
    socklen_t length = sizeof(address);
    ::getsockname(m_socket, reinterpret_cast<struct sockaddr*>(&address), &length);
    m_port = ntohs(address.sin_port);
}

CBusyPort::~CBusyPort() { ::close(m_socket); }

}  // namespace NetTest
