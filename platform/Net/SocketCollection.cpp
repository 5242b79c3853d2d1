#include "platform/Net/SocketCollection.h"

#include <algorithm>

void SocketCollectionC::Add(SocketServerC* server) {
    if (server && std::find(m_servers.begin(), m_servers.end(), server) == m_servers.end()) {
        m_servers.push_back(server);
    }
}

void SocketCollectionC::Remove(SocketServerC* server) {
    m_servers.erase(std::remove(m_servers.begin(), m_servers.end(), server), m_servers.end());
    if (m_server == server) m_server = nullptr;
}

void SocketCollectionC::SetServer(SocketServerC* server) {
    Add(server);
    m_server = server;
}

int SocketCollectionC::AddToSets(fd_set& readSet, fd_set& writeSet) {
    int largest = -1;
    for (SocketServerC* server : m_servers) {
        largest = std::max(largest, server->AddToSets(readSet, writeSet));
    }
    return largest;
}

void SocketCollectionC::HandleReady(const fd_set& readSet, const fd_set& writeSet) {
    for (SocketServerC* server : m_servers) server->HandleReady(readSet, writeSet);
}
