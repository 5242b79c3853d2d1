#pragma once
// How the log server shows what it receives: JSON lines (one object per line,
// for programs), plain readable lines (when standard output is not a
// terminal), or a live summary redrawn at most once a second (on a terminal).

#include <cstdio>
#include <string>

#include "platform/Core/Time.h"
#include "tools/logserver/Datagram.h"
#include "tools/logserver/RawRecorder.h"
#include "tools/logserver/ServerState.h"

namespace LogServer {

class COutput {
public:
    enum EMode { kJsonLines, kPlainLines, kLiveView };

    // Writes to stream (not owned) in the given mode; the live view shows state.
    COutput(EMode mode, FILE* stream, const CServerState& state);

    // Announces where the server listens and what it records.
    void Started(const std::string& address, int port, const std::string& recordDirectory);
    // One checked datagram (raw pieces only through RawPiece).
    void Datagram(const SDatagram& datagram);
    // One raw piece and what became of it.
    void RawPiece(const SDatagram& piece, const SRawOutcome& outcome);
    // One refused datagram: where from, its size and why.
    void Malformed(const std::string& from, size_t size, const std::string& reason);
    // Redraws the live view when it is due (at most once a second).
    void Tick();
    // The closing summary.
    void Finished();

private:
    void Line(const nlohmann::json& object);
    void Plain(const std::string& text);
    void Redraw();

    EMode m_mode;
    FILE* m_stream;
    const CServerState& m_state;
    bool m_dirty = true;
    Core::MonotonicTime m_nextRedraw;
};

}  // namespace LogServer
