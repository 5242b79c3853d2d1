// Fuzz target: the position service's gpsd-protocol command parser. The input
// is what one client sends, cut into lines as the server cuts them; each line
// goes to the service for a client on one end of a socket pair, whose other
// end is read empty after every line. Every reply must be whole JSON lines.

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "fuzz/FuzzSupport.h"
#include "platform/Position/PositionService.h"

namespace {

// The service with its client hooks opened to the harness.
class CFuzzPositionService : public CPositionService {
public:
    std::unique_ptr<SocketConnectionC> Connect(int descriptor) {
        std::unique_ptr<SocketConnectionC> client = CreateConnection(descriptor, "fuzz:1", 1);
        OnConnect(*client);
        return client;
    }
    void Line(SocketConnectionC& client, const std::string& line) { OnLine(client, line); }
    void Disconnect(SocketConnectionC& client) { OnDisconnect(client); }
};

// Reads what the service sent so far and checks that it is whole JSON lines.
void CheckReplies(int descriptor, std::string& pending) {
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::recv(descriptor, buffer, sizeof buffer, MSG_DONTWAIT);
        if (got <= 0) break;
        pending.append(buffer, static_cast<size_t>(got));
    }
    size_t end;
    while ((end = pending.find("\r\n")) != std::string::npos) {
        const nlohmann::json report = nlohmann::json::parse(pending.substr(0, end), nullptr, false);
        FUZZ_CHECK(report.is_object());
        FUZZ_CHECK(report.contains("class"));
        pending.erase(0, end + 2);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static CFuzzPositionService* service = new CFuzzPositionService;
    int pair[2];
    FUZZ_CHECK(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) == 0);
    std::string replies;
    {
        std::unique_ptr<SocketConnectionC> client = service->Connect(pair[0]);
        const std::string text(reinterpret_cast<const char*>(data), size);
        size_t start = 0;
        while (start < text.size() && !client->IsClosing()) {
            size_t end = text.find('\n', start);
            if (end == std::string::npos) break;  // an open line is never handed on
            size_t length = end - start;
            if (length > 0 && text[end - 1] == '\r') --length;
            service->Line(*client, text.substr(start, length));
            start = end + 1;
            CheckReplies(pair[1], replies);
        }
        service->Disconnect(*client);
    }  // closes pair[0]
    CheckReplies(pair[1], replies);
    FUZZ_CHECK(replies.empty());
    ::close(pair[1]);
    return 0;
}
