#include "platform/MPI/MPISocketServer.h"

#include "platform/Config/Config.h"

MPISocketServerC::MPISocketServerC(bool listenNow)
    : MPISocketServerC(listenNow, CConfig::GetSystemConfig()) {}

MPISocketServerC::MPISocketServerC(bool listenNow, CConfig& config)
    : SocketServerC(kConfigSection), m_config(config) {
    if (listenNow) Start();
}

bool MPISocketServerC::Start() {
    SetBindAddress(m_config.GetString(kConfigSection, "bind_address", kDefaultBindAddress));
    return Listen(m_config.GetInteger(kConfigSection, "port", kDefaultPort), kListenBacklog);
}

void MPISocketServerC::OnLine(SocketConnectionC& client, const std::string& line) {
    const std::string answer = HandleRequest(line);
    if (!answer.empty()) Send(client, answer + "\n");
}

void MPISocketServerC::DeliverToAll(const std::string& line) { Broadcast(line + "\n"); }
