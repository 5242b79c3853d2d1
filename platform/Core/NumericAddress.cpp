#include "platform/Core/NumericAddress.h"

#include <arpa/inet.h>
#include <net/if.h>

#include <cstdint>
#include <cstdlib>

namespace Core {

namespace {

// The interface index of an IPv6 scope ("eth0" or "2"), or 0 when there is none.
unsigned ScopeIndex(const std::string& scope) {
    if (scope.empty()) return 0;
    char* end = nullptr;
    const unsigned long number = std::strtoul(scope.c_str(), &end, 10);
    if (end != scope.c_str() && *end == '\0') return static_cast<unsigned>(number);
    return ::if_nametoindex(scope.c_str());
}

}  // namespace

bool ParseNumericAddress(const std::string& host, int port, SSocketAddress& address) {
    address = SSocketAddress();
    if (port < 0 || port > 65535) return false;
    const uint16_t networkPort = htons(static_cast<uint16_t>(port));

    const std::string ipv4 = host.empty() ? "0.0.0.0" : host == "localhost" ? "127.0.0.1" : host;
    sockaddr_in* in4 = reinterpret_cast<sockaddr_in*>(&address.storage);
    if (::inet_pton(AF_INET, ipv4.c_str(), &in4->sin_addr) == 1) {
        in4->sin_family = AF_INET;
        in4->sin_port = networkPort;
        address.length = sizeof(sockaddr_in);
        return true;
    }

    const size_t percent = host.find('%');
    const std::string bare = host.substr(0, percent);
    sockaddr_in6* in6 = reinterpret_cast<sockaddr_in6*>(&address.storage);
    if (::inet_pton(AF_INET6, bare.c_str(), &in6->sin6_addr) != 1) return false;
    if (percent != std::string::npos) {
        in6->sin6_scope_id = ScopeIndex(host.substr(percent + 1));
        if (in6->sin6_scope_id == 0) return false;
    }
    in6->sin6_family = AF_INET6;
    in6->sin6_port = networkPort;
    address.length = sizeof(sockaddr_in6);
    return true;
}

}  // namespace Core
