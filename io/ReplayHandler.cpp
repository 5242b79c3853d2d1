#include "io/ReplayHandler.h"

#include <unistd.h>

#include <cstdio>

namespace {

// Gaps at least this long (seconds) are not waited for.
const double kLongestPause = 10.0;

}  // namespace

CReplayHandler::CReplayHandler() : m_previousTimestamp(0.0) {}

CReplayHandler::~CReplayHandler() {}

int CReplayHandler::Open() {
    if (m_path.empty()) return 0;
    m_reader.reset(new CLogFileReader(m_path));
    return 1;
}

int CReplayHandler::Close() {
    m_reader.reset();
    return 1;
}

ByteVector CReplayHandler::Read(int /*count*/) {
    if (!m_reader) throw 1;

    double timestamp = 0.0;
    std::string data;
    // An empty record would read as the end of the data; pass over it.
    do {
        if (!m_reader->GetNextBinary(timestamp, data)) return ByteVector();
    } while (data.empty());

    double dt = timestamp - m_previousTimestamp;
    if (dt > 0.0 && dt < kLongestPause) {
        ::usleep(static_cast<useconds_t>(dt * 1000000.0));
        std::printf("Timestamp=%.3f,  dt=%.3f\n", timestamp, dt);
        std::fflush(stdout);
    }
    m_previousTimestamp = timestamp;
    return ByteVector(data.begin(), data.end());
}

int CReplayHandler::Write(const std::string& /*text*/) { return 1; }

int CReplayHandler::Write(const ByteVector& /*bytes*/) { return 1; }

int CReplayHandler::SetPortName(const std::string& name) {
    m_path = name;
    return 1;
}

int CReplayHandler::GetFileDescriptor() { return m_reader ? m_reader->GetFileDescriptor() : -1; }
