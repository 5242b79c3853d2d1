#pragma once
// Socket addresses from the numeric addresses the configuration store holds.
// Nothing is ever looked up in a name service: the daemon's peers run on the
// device itself, a missing name server must never hold up the loop, and the
// daemon links without the C library's name-service modules.

#include <netinet/in.h>
#include <sys/socket.h>

#include <string>

namespace Core {

// A socket address and its length, as bind, connect and sendto take them.
struct SSocketAddress {
    sockaddr_storage storage{};
    socklen_t length = 0;

    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&storage); }
    int Family() const { return storage.ss_family; }
};

// Fills `address` with `host` and `port` (0 to 65535). `host` is a numeric IPv4
// address ("192.168.1.10"), a numeric IPv6 address ("::1", "fe80::1%eth0"),
// "localhost" (127.0.0.1) or empty (0.0.0.0, every IPv4 address). False for
// anything else, a host name included.
bool ParseNumericAddress(const std::string& host, int port, SSocketAddress& address);

}  // namespace Core
