#include "io/TolvekPort.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>

namespace {

// The router's clients copy at most 107 characters of the path and connect
// with an address length of 110 (family plus a 108-byte path on Linux); the
// length is capped at the structure's size so a shorter sun_path stays safe.
const size_t kPathCopyLimit = 107;
const socklen_t kAddressLength = 110;

struct SPortName {
    int32_t number;
    const char* name;
};

// Rows shared by both tables.
const SPortName kCommonPorts[] = {
    {0, "null"},
    {4, "radio"},
    {5, "gps_main"},
    {6, "gps_secondary"},
    {7, "ext1"},
    {8, "relay1"},
    {9, "relay2"},
    {10, "relay_ntrip"},
    {11, "relay_nmea"},
    {22, "ext2"},
    {23, "ext3"},
    {24, "ext4"},
    {36, "gps_secondary2"},
    {50, "gps_main_boot"},
    {52, "gps_main_diagnostic"},
    {53, "gps_main_correction"},
};

// Only physical ports have the secondary receiver's diagnostic port.
const SPortName kPhysicalOnlyPorts[] = {
    {37, "gps_secondary_diagnostic"},
};

const SPortName kLogicalOnlyPorts[] = {
    {104, "gnss_base"}, {105, "gnss_rover"}, {106, "gnss_l1only"}, {110, "mpi_a"},
    {111, "mpi_b"},     {112, "mpi_c"},      {120, "nmea"},        {121, "vexcom"},
    {122, "oemstar"},   {123, "oemstar2"},   {124, "ntrip"},       {125, "spray"},
};

template <size_t N>
const char* FindName(const SPortName (&table)[N], int32_t number) {
    for (const SPortName& row : table) {
        if (row.number == number) return row.name;
    }
    return nullptr;
}

template <size_t N>
int32_t FindNumber(const SPortName (&table)[N], const std::string& name) {
    for (const SPortName& row : table) {
        if (name == row.name) return row.number;
    }
    return -1;
}

}  // namespace

const char* const TolvekPort::kDefaultPathPattern = "/tmp/tty_socket_%d";

TolvekPort::TolvekPort()
    : m_portNumber(0),
      m_socket(-1),
      m_verbose(false),
      m_nonBlocking(false),
      m_reportConnectFailure(true),
      m_pathPattern(kDefaultPathPattern) {}

TolvekPort::~TolvekPort() { Disconnect(); }

// Only the first "%d" is replaced: the pattern comes from the configuration
// store and is never used as a printf format.
std::string TolvekPort::GetSocketPath() const {
    std::string path = m_pathPattern;
    size_t at = path.find("%d");
    if (at != std::string::npos) path.replace(at, 2, std::to_string(m_portNumber));
    return path;
}

int TolvekPort::Connect() {
    if (m_portNumber == 0 || m_socket >= 0) return 1;
    std::string path = GetSocketPath();
    int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (descriptor < 0) {
        ::perror("socket");
        return 0;
    }
    struct sockaddr_un address;
    ::memset(&address, 0, sizeof(address));
    address.sun_family = AF_UNIX;
    size_t copyLimit = std::min(kPathCopyLimit, sizeof(address.sun_path) - 1);
    ::strncpy(address.sun_path, path.c_str(), copyLimit);
    if (m_verbose) ::printf("connecting to: %s\n", address.sun_path);
    socklen_t length = std::min<socklen_t>(kAddressLength, sizeof(address));
    if (::connect(descriptor, reinterpret_cast<struct sockaddr*>(&address), length) != 0) {
        if (m_reportConnectFailure) ::perror("connect");
        ::close(descriptor);
        return 0;
    }
    m_socket = descriptor;
    if (m_nonBlocking) {
        int flags = ::fcntl(m_socket, F_GETFL, 0);
        ::fcntl(m_socket, F_SETFL, flags | O_NONBLOCK);
    }
    return 1;
}

void TolvekPort::Disconnect() {
    if (m_socket >= 0) ::close(m_socket);
    m_socket = -1;
}

int TolvekPort::Write(const uint8_t* bytes, size_t count) {
    if (m_portNumber == 0) return 1;
    if (m_socket < 0) return 0;
    if (m_verbose) {
        ::printf("writing %.*s\n(%d)\n", static_cast<int>(count),
                 reinterpret_cast<const char*>(bytes), static_cast<int>(count));
    }
    if (count < 1) return 1;
    size_t written = 0;
    while (written < count) {
        ssize_t taken = ::write(m_socket, bytes + written, count - written);
        if (taken < 0) {
            ::perror("write");
            Disconnect();
            return 0;
        }
        // Deliberate: a zero-byte write disconnects and the loop goes on, so
        // the next write fails on the closed descriptor and the result is 0.
        if (taken == 0) {
            if (m_verbose) ::printf("wrote 0 bytes, wtf?\n");
            Disconnect();
        }
        written += static_cast<size_t>(taken);
    }
    return 1;
}

int TolvekPort::ReadChar(int timeoutMs) {
    if (m_portNumber == 0) return -1;
    if (m_socket < 0) return 0;
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(m_socket, &readable);
    struct timeval timeout;
    timeout.tv_sec = timeoutMs / 1000;
    timeout.tv_usec = (timeoutMs % 1000) * 1000;
    int ready = ::select(m_socket + 1, &readable, nullptr, nullptr, &timeout);
    if (ready < 0) {
        ::perror("select");
        return -1;
    }
    if (ready == 0) return -1;
    uint8_t byte = 0;
    ssize_t got = ::read(m_socket, &byte, 1);
    if (got == 1) {
        if (m_verbose) ::printf("read char 0x%02X\n", byte);
        return byte;
    }
    if (got < 0) ::perror("read");
    Disconnect();
    return -1;
}

int TolvekPort::WritePending() {
    if (m_pending.empty()) return 1;
    if (m_verbose)
        ::printf("writing %s\n(up to %zd bytes)\n", m_pending.c_str(),
                 static_cast<ssize_t>(m_pending.size()));
    ssize_t taken = ::write(m_socket, m_pending.data(), m_pending.size());
    if (taken < 0) {
        ::perror("NB write");
        return 0;
    }
    if (taken == 0) {
        if (m_verbose) ::printf("wrote 0 bytes\n");
        return 0;
    }
    m_pending.erase(0, static_cast<size_t>(taken));
    return 1;
}

std::string TolvekPort::PhysicalPortName(int32_t number) {
    const char* name = FindName(kCommonPorts, number);
    if (!name) name = FindName(kPhysicalOnlyPorts, number);
    return name ? name : "unknown";
}

std::string TolvekPort::LogicalPortName(int32_t number) {
    const char* name = FindName(kCommonPorts, number);
    if (!name) name = FindName(kLogicalOnlyPorts, number);
    return name ? name : "unknown";
}

int32_t TolvekPort::PhysicalPortNumber(const std::string& name) {
    int32_t number = FindNumber(kCommonPorts, name);
    return number >= 0 ? number : FindNumber(kPhysicalOnlyPorts, name);
}

int32_t TolvekPort::LogicalPortNumber(const std::string& name) {
    int32_t number = FindNumber(kCommonPorts, name);
    return number >= 0 ? number : FindNumber(kLogicalOnlyPorts, name);
}
