#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>

#include <string>

#include "platform/Core/NumericAddress.h"

namespace {

// The address's numeric text and port, or "refused".
std::string Text(const std::string& host, int port) {
    Core::SSocketAddress address;
    if (!Core::ParseNumericAddress(host, port, address)) return "refused";
    char text[INET6_ADDRSTRLEN] = {};
    if (address.Family() == AF_INET) {
        const auto* in4 = reinterpret_cast<const sockaddr_in*>(&address.storage);
        EXPECT_EQ(address.length, sizeof(sockaddr_in));
        ::inet_ntop(AF_INET, &in4->sin_addr, text, sizeof(text));
        return std::string(text) + " " + std::to_string(ntohs(in4->sin_port));
    }
    const auto* in6 = reinterpret_cast<const sockaddr_in6*>(&address.storage);
    EXPECT_EQ(address.Family(), AF_INET6);
    EXPECT_EQ(address.length, sizeof(sockaddr_in6));
    ::inet_ntop(AF_INET6, &in6->sin6_addr, text, sizeof(text));
    return "[" + std::string(text) + "%" + std::to_string(in6->sin6_scope_id) + "] " +
           std::to_string(ntohs(in6->sin6_port));
}

TEST(NumericAddressTest, TakesNumericAddressesAndNeverAName) {
    const std::string loopbackIndex = std::to_string(::if_nametoindex("lo"));
    const struct {
        const char* host;
        int port;
        std::string expected;
    } cases[] = {
        {"127.0.0.1", 5314, "127.0.0.1 5314"},
        {"192.168.20.7", 0, "192.168.20.7 0"},
        {"localhost", 10110, "127.0.0.1 10110"},
        {"", 2947, "0.0.0.0 2947"},  // every address
        {"::1", 65535, "[::1%0] 65535"},
        {"fe80::1%3", 1, "[fe80::1%3] 1"},
        {"fe80::1%lo", 1, "[fe80::1%" + loopbackIndex + "] 1"},
        {"fe80::1%no-such-interface", 1, "refused"},
        {"gps.example", 10001, "refused"},
        {"127.0.0.1.5", 10001, "refused"},
        {"127.0.0.1", 65536, "refused"},
        {"127.0.0.1", -1, "refused"},
    };
    for (const auto& c : cases) EXPECT_EQ(c.expected, Text(c.host, c.port)) << c.host;
}

}  // namespace
