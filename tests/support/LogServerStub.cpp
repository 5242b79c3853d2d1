#include "tests/support/LogServerStub.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <random>
#include <stdexcept>

namespace TestSupport {

namespace {

int BindLoopback(int& port) {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) throw std::runtime_error("socket failed");
    struct sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    socklen_t length = sizeof(address);
    if (::bind(fd, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)) != 0 ||
        ::getsockname(fd, reinterpret_cast<struct sockaddr*>(&address), &length) != 0) {
        ::close(fd);
        throw std::runtime_error("bind failed");
    }
    port = ntohs(address.sin_port);
    return fd;
}

}  // namespace

CLogServerStub::CLogServerStub(int receiveBuffer) {
    m_socket = BindLoopback(m_port);
    if (::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUFFORCE, &receiveBuffer, sizeof(receiveBuffer)) !=
        0) {
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof(receiveBuffer));
    }
}

CLogServerStub::~CLogServerStub() { ::close(m_socket); }

std::string CLogServerStub::Receive() { return ReceiveWithin(5.0); }

std::string CLogServerStub::ReceiveWithin(double seconds) {
    struct pollfd ready = {m_socket, POLLIN, 0};
    if (::poll(&ready, 1, static_cast<int>(seconds * 1000)) <= 0) return std::string();
    const ssize_t length = ::recv(m_socket, m_buffer, sizeof m_buffer, 0);
    if (length <= 0) return std::string();
    return std::string(m_buffer, static_cast<size_t>(length));
}

nlohmann::json CLogServerStub::ReceiveJson() {
    const std::string text = Receive();
    EXPECT_FALSE(text.empty()) << "no datagram arrived";
    nlohmann::json parsed = nlohmann::json::parse(text, nullptr, false);
    EXPECT_FALSE(parsed.is_discarded()) << "not JSON: " << text;
    return parsed;
}

std::vector<nlohmann::json> CLogServerStub::Drain() {
    std::vector<nlohmann::json> datagrams;
    for (std::string text; !(text = ReceiveWithin(0.2)).empty();) {
        datagrams.push_back(nlohmann::json::parse(text, nullptr, false));
    }
    return datagrams;
}

namespace {

// Whether a socket of the type can be bound to the loopback port just now.
bool CanBind(int type, int port) {
    const int fd = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    struct sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    const bool bound =
        ::bind(fd, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)) == 0;
    ::close(fd);
    return bound;
}

// The lowest port of the kernel's ephemeral range (what binding port 0 and
// outgoing connections take ports from).
int EphemeralLow() {
    std::ifstream range("/proc/sys/net/ipv4/ip_local_port_range");
    int low = 0;
    if (!(range >> low)) return 32768;
    return low;
}

}  // namespace

int ClosedPort() {
    // Taken below the ephemeral range, so that no socket bound to port 0
    // elsewhere (another test's daemon, a client's connection) can be given
    // it between this call and the bind of the process it is meant for; free
    // for TCP and UDP alike, as callers use it for either.
    static std::mt19937 random(std::random_device{}() ^ static_cast<unsigned>(::getpid()));
    const int high = EphemeralLow();
    const int low = high - 12000;
    if (low >= 1024) {
        std::uniform_int_distribution<int> pick(low, high - 1);
        for (int attempt = 0; attempt < 200; ++attempt) {
            const int port = pick(random);
            if (CanBind(SOCK_STREAM, port) && CanBind(SOCK_DGRAM, port)) return port;
        }
    }
    int port = 0;
    ::close(BindLoopback(port));
    return port;
}

std::string WriteServerConfig(const TestSupport::TempDir& dir, const std::string& host, int port,
                              const std::string& extra) {
    const std::string path = dir.File("system.conf");
    TestSupport::WriteWholeFile(path, "[LogServer]\nhost = " + host +
                                          "\nport = " + std::to_string(port) +
                                          "\n[NMEAService]\nport = 0\n[PositionService]\nport = 0\n"
                                          "[MPIServer]\nport = 0\n" +
                                          extra);
    return path;
}

std::string Base64Decode(const std::string& text) {
    static const std::string alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned bits = 0;
    int count = 0;
    for (char c : text) {
        if (c == '=') break;
        const size_t value = alphabet.find(c);
        if (value == std::string::npos) {
            ADD_FAILURE() << "not a base64 character: " << static_cast<int>(c);
            return bytes;
        }
        bits = (bits << 6) | static_cast<unsigned>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>((bits >> count) & 0xFF);
        }
    }
    return bytes;
}

std::vector<std::string> FieldShape(const nlohmann::json& datagram) {
    std::vector<std::string> shape;
    for (auto field = datagram.begin(); field != datagram.end(); ++field) {
        const nlohmann::json& value = field.value();
        std::string type = value.type_name();
        if (value.is_number_integer()) type = "integer";
        if (value.is_number_float()) type = "number";
        shape.push_back(field.key() + ":" + type);
    }
    std::sort(shape.begin(), shape.end());
    return shape;
}

}  // namespace TestSupport
