#include "io/FileHandler.h"

#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>

#include <cstdio>

namespace {

const int kInitialBufferSize = 1024;

}  // namespace

CFileHandler::CFileHandler()
    : m_descriptor(-1),
      m_isOpen(false),
      m_buffer(new uint8_t[kInitialBufferSize]),
      m_timeout(Core::Time::FromSeconds(-1.0)),
      m_bufferCapacity(kInitialBufferSize) {}

CFileHandler::~CFileHandler() {
    if (m_descriptor >= 0) ::close(m_descriptor);
}

int CFileHandler::Open() {
    if (m_isOpen) return 1;
    int descriptor = ::open(m_path.c_str(), O_RDONLY);
    if (descriptor < 0) {
        std::perror("CFileHandler:Open");
        return 0;
    }
    m_descriptor = descriptor;
    m_isOpen = true;
    return 1;
}

int CFileHandler::Close() {
    // Deliberately inverted: an open file stays open, so a port time-out on a
    // file source neither rewinds nor interrupts the capture.
    if (m_isOpen) return 0;
    if (m_descriptor >= 0) ::close(m_descriptor);
    m_descriptor = -1;
    return 1;
}

ByteVector CFileHandler::Read(int count) {
    if (!m_isOpen || count <= 0) return ByteVector();
    if (count > m_bufferCapacity) {
        m_buffer.reset(new uint8_t[count]);
        m_bufferCapacity = count;
    }

    if (!m_timeout.IsNegative()) {
        if (m_descriptor >= FD_SETSIZE) {
            std::fprintf(stderr, "CFileHandler:Read: descriptor %d too large for select\n",
                         m_descriptor);
            throw 2;
        }
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(m_descriptor, &readable);
        struct timeval timeout = m_timeout.ToTimeval();
        int ready = ::select(m_descriptor + 1, &readable, nullptr, nullptr, &timeout);
        if (ready < 0) {
            std::perror("CFileHandler:Read: select");
            throw 2;
        }
        if (ready == 0) return ByteVector();
        SetNonBlocking(true);
    } else {
        SetNonBlocking(false);
    }

    ssize_t got = ::read(m_descriptor, m_buffer.get(), static_cast<size_t>(count));
    if (got < 0) {
        std::perror("CFileHandler:Read");
        throw 1;
    }
    return ByteVector(m_buffer.get(), m_buffer.get() + got);
}

void CFileHandler::SetNonBlocking(bool nonBlocking) {
    int flags = ::fcntl(m_descriptor, F_GETFL);
    if (flags < 0) return;
    int wanted = nonBlocking ? (flags | O_NONBLOCK) : (flags & ~O_NONBLOCK);
    if (wanted != flags) ::fcntl(m_descriptor, F_SETFL, wanted);
}

int CFileHandler::Write(const std::string& /*text*/) { return 1; }

int CFileHandler::Write(const ByteVector& /*bytes*/) { return 1; }

int CFileHandler::SetPortName(const std::string& name) {
    if (m_isOpen) return 0;
    m_path = name;
    return 1;
}

int CFileHandler::SetTimeout(Core::Time timeout) {
    m_timeout = timeout;
    return 1;
}
