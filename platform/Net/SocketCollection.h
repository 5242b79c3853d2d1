#pragma once
// The socket servers the main loop serves: it puts their sockets in the select
// sets and lets them handle what select found ready. One of them may be
// recorded as the main server, whose Idle the loop calls when a pass timed out.

#include <sys/select.h>

#include <vector>

#include "platform/Net/SocketServer.h"

class SocketCollectionC {
public:
    SocketCollectionC() = default;
    SocketCollectionC(const SocketCollectionC&) = delete;
    SocketCollectionC& operator=(const SocketCollectionC&) = delete;

    // Adds a server (not owned; it must outlive the collection or be removed
    // first). Adding one twice has no effect.
    void Add(SocketServerC* server);
    // Takes a server out; when it was the recorded server, none is recorded.
    void Remove(SocketServerC* server);
    // Records the server whose Idle the main loop calls, adding it when needed.
    void SetServer(SocketServerC* server);
    // The recorded server, or null.
    SocketServerC* GetServer() const { return m_server; }

    // Adds every server's sockets to the sets; returns the largest descriptor
    // added, -1 when none.
    int AddToSets(fd_set& readSet, fd_set& writeSet);
    // Lets every server handle its sockets that are ready in the sets filled
    // by the last AddToSets and select.
    void HandleReady(const fd_set& readSet, const fd_set& writeSet);

private:
    std::vector<SocketServerC*> m_servers;
    SocketServerC* m_server = nullptr;
};
