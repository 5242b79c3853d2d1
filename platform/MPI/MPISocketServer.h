#pragma once
// The message-passing server: the endpoint of MPISocketConnectionC served over
// TCP, one JSON-RPC 2.0 object per line each way (see MPISocketConnection.h).
// It listens on the address and port of section "MPIServer" of the
// configuration store (keys "bind_address", default 127.0.0.1, and "port",
// default 5314; port 0 takes any free port, GetPort tells which). As every
// SocketServerC it never blocks the main loop: a line over 64 KiB or a client
// that does not read its answers drops that client only.

#include <string>

#include "platform/MPI/MPISocketConnection.h"
#include "platform/Net/SocketServer.h"

class CConfig;

class MPISocketServerC : public SocketServerC, public MPISocketConnectionC {
public:
    static constexpr const char* kConfigSection = "MPIServer";
    static constexpr int kDefaultPort = 5314;
    static constexpr int kListenBacklog = 5;

    // With listenNow set, Start runs at once. The first form reads the
    // process-wide store; the second a store that must outlive the server.
    explicit MPISocketServerC(bool listenNow);
    MPISocketServerC(bool listenNow, CConfig& config);

    // Listens on the store's bind address and port. False, with one message
    // on standard error, when the service cannot be offered.
    bool Start();

protected:
    void OnLine(SocketConnectionC& client, const std::string& line) override;
    void DeliverToAll(const std::string& line) override;

private:
    CConfig& m_config;
};
