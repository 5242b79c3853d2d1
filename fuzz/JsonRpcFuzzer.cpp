// Fuzz target: the remote method server's JSON-RPC line handler, with the
// daemon's own methods registered and wired to a command manager, status
// observer and constellation manager as at start-up (no receiver attached:
// commands are queued, never written). Each input line is one request; every
// answer must be one line holding a JSON-RPC 2.0 object.

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "LogObserver/ReceiverStatusObserver.h"
#include "control/CommandManager.h"
#include "control/ConstellationManager.h"
#include "control/NovatelMPIServer.h"
#include "fuzz/FuzzSupport.h"
#include "platform/Config/Config.h"

namespace {

// The daemon's parts behind the methods, on a private store: every service
// on a port of the kernel's choosing, the log server on the discard port.
struct SDaemonParts {
    SDaemonParts()
        : config(Store()), status(config), constellation(config), commands(config), server(config) {
        commands.SetStatusObserver(&status);
        commands.SetConstellationManager(&constellation);
        server.SetCommandManager(&commands);
        server.SetStatusObserver(&status);
    }
    static const std::string& Store() {
        static const std::string path = Fuzz::ScratchPath("mpi.conf");
        static const std::string text =
            "[LogServer]\nhost = 127.0.0.1\nport = 9\n[NMEAService]\nport = 0\n"
            "[PositionService]\nport = 0\n[MPIServer]\nport = 0\n";
        Fuzz::WriteFile(path, reinterpret_cast<const uint8_t*>(text.data()), text.size());
        ::setenv("QUILLOND_CONFIG", path.c_str(), 1);
        std::atexit([] { Fuzz::RemoveScratch(path); });
        return path;
    }
    CConfig config;
    CReceiverStatusObserver status;
    CConstellationManager constellation;
    CCommandManager commands;
    CNovatelMPIServer server;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static SDaemonParts* parts = new SDaemonParts;  // lives as long as the process
    const std::string text(reinterpret_cast<const char*>(data), size);
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        const std::string answer = parts->server.HandleRequest(text.substr(start, end - start));
        start = end + 1;
        if (answer.empty()) continue;
        FUZZ_CHECK(answer.find('\n') == std::string::npos);
        const nlohmann::json parsed = nlohmann::json::parse(answer, nullptr, false);
        FUZZ_CHECK(parsed.is_object());
        FUZZ_CHECK(parsed.value("jsonrpc", "") == "2.0");
        FUZZ_CHECK(parsed.contains("result") != parsed.contains("error"));
    }
    return 0;
}
