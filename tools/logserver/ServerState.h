#pragma once
// What the log server knows: the latest value of every key and condition of
// every client, the active alarms, the recent log lines and events, and the
// counts of datagrams taken and refused.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "tools/logserver/Datagram.h"

namespace LogServer {

struct SClientState {
    std::map<std::string, std::string> values;  // key -> latest text
    std::map<std::string, int64_t> conditions;  // condition name -> latest value
    uint64_t datagrams = 0;
    double lastTime = 0.0;  // "time" of its latest datagram
};

struct SActiveAlarm {
    std::string client;  // who raised it
    int64_t argument = 0;
    double time = 0.0;
};

class CServerState {
public:
    // Keeps the latest recentLimit log lines and events.
    explicit CServerState(size_t recentLimit) : m_recentLimit(recentLimit) {}

    // Takes in a checked datagram.
    void Apply(const SDatagram& datagram);
    // Counts a refused datagram and remembers why.
    void AddMalformed(const std::string& description);
    // Counts a raw block that was completed, and one that was lost half-way.
    void AddRawBlock(bool recorded, size_t bytes);
    void AddLostRawBlock() { ++m_lostRawBlocks; }

    const std::map<std::string, SClientState>& Clients() const { return m_clients; }
    // Active alarms by code and index.
    const std::map<std::pair<int64_t, int64_t>, SActiveAlarm>& Alarms() const { return m_alarms; }
    // Recent lines and events, oldest first, already in readable form.
    const std::deque<std::string>& Recent() const { return m_recent; }
    uint64_t GetDatagramCount() const { return m_datagrams; }
    uint64_t GetMalformedCount() const { return m_malformed; }
    const std::string& GetLastMalformed() const { return m_lastMalformed; }
    uint64_t GetRecordedBlockCount() const { return m_recordedBlocks; }
    uint64_t GetRecordedByteCount() const { return m_recordedBytes; }
    uint64_t GetUnrecordedBlockCount() const { return m_unrecordedBlocks; }
    uint64_t GetLostRawBlockCount() const { return m_lostRawBlocks; }

    // Everything above as one JSON object.
    nlohmann::json Summary() const;

private:
    void AddRecent(const std::string& text);

    size_t m_recentLimit;
    std::map<std::string, SClientState> m_clients;
    std::map<std::pair<int64_t, int64_t>, SActiveAlarm> m_alarms;
    std::deque<std::string> m_recent;
    uint64_t m_datagrams = 0;
    uint64_t m_malformed = 0;
    std::string m_lastMalformed;
    uint64_t m_recordedBlocks = 0;
    uint64_t m_recordedBytes = 0;
    uint64_t m_unrecordedBlocks = 0;
    uint64_t m_lostRawBlocks = 0;
};

// A Unix time as "HH:MM:SS.mmm" UTC, for readable output.
std::string ClockText(double unixSeconds);

}  // namespace LogServer
