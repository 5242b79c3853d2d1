#include "platform/Net/SocketConnection.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

SocketConnectionC::SocketConnectionC(int descriptor, const std::string& peer, uint64_t id)
    : m_descriptor(descriptor), m_peer(peer), m_id(id) {}

SocketConnectionC::~SocketConnectionC() {
    if (m_descriptor >= 0) ::close(m_descriptor);
}

void SocketConnectionC::QueueOutput(const char* data, size_t size) { m_output.append(data, size); }

bool SocketConnectionC::Flush() {
    while (GetPendingOutput() > 0) {
        ssize_t written = ::send(m_descriptor, m_output.data() + m_outputStart, GetPendingOutput(),
                                 MSG_DONTWAIT | MSG_NOSIGNAL);
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno == EAGAIN || errno == EWOULDBLOCK;
        }
        ConsumeOutput(static_cast<size_t>(written));
    }
    return true;
}

void SocketConnectionC::ConsumeOutput(size_t count) {
    m_outputStart += count;
    if (m_outputStart == m_output.size()) {
        m_output.clear();
        m_outputStart = 0;
    } else if (m_outputStart > m_output.size() / 2) {
        // Keeps the buffer from growing with bytes already sent, without
        // moving the rest after every partial write.
        m_output.erase(0, m_outputStart);
        m_outputStart = 0;
    }
}
