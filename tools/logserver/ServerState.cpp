#include "tools/logserver/ServerState.h"

#include <cmath>
#include <cstdio>

namespace LogServer {

void CServerState::Apply(const SDatagram& datagram) {
    ++m_datagrams;
    SClientState& client = m_clients[datagram.client];
    ++client.datagrams;
    client.lastTime = datagram.time;
    const std::string stamp = ClockText(datagram.time) + " " + datagram.client + " ";
    if (datagram.type == "value") {
        client.values[datagram.key] = datagram.text;
    } else if (datagram.type == "condition") {
        client.conditions[datagram.name] = datagram.number;
    } else if (datagram.type == "line") {
        AddRecent(stamp + "line " + std::to_string(datagram.level) + ": " + datagram.text);
    } else if (datagram.type == "event") {
        AddRecent(stamp + "event " + datagram.name);
    } else if (datagram.type == "alarm") {
        const auto id = std::make_pair(datagram.code, datagram.index);
        if (datagram.raise) {
            SActiveAlarm& alarm = m_alarms[id];
            alarm.client = datagram.client;
            alarm.argument = datagram.argument;
            alarm.time = datagram.time;
        } else {
            m_alarms.erase(id);
        }
    }
}

void CServerState::AddMalformed(const std::string& description) {
    ++m_malformed;
    m_lastMalformed = description;
}

void CServerState::AddRawBlock(bool recorded, size_t bytes) {
    if (recorded) {
        ++m_recordedBlocks;
        m_recordedBytes += bytes;
    } else {
        ++m_unrecordedBlocks;
    }
}

void CServerState::AddRecent(const std::string& text) {
    m_recent.push_back(text);
    while (m_recent.size() > m_recentLimit) m_recent.pop_front();
}

nlohmann::json CServerState::Summary() const {
    nlohmann::json clients = nlohmann::json::object();
    for (const auto& entry : m_clients) {
        nlohmann::json& client = clients[entry.first];
        client["datagrams"] = entry.second.datagrams;
        client["values"] = entry.second.values;
        client["conditions"] = entry.second.conditions;
    }
    nlohmann::json alarms = nlohmann::json::array();
    for (const auto& entry : m_alarms) {
        alarms.push_back({{"code", entry.first.first},
                          {"index", entry.first.second},
                          {"argument", entry.second.argument},
                          {"client", entry.second.client}});
    }
    return {{"datagrams", m_datagrams},
            {"malformed", m_malformed},
            {"clients", clients},
            {"alarms", alarms},
            {"recent", m_recent},
            {"raw_blocks_recorded", m_recordedBlocks},
            {"raw_bytes_recorded", m_recordedBytes},
            {"raw_blocks_not_recorded", m_unrecordedBlocks},
            {"raw_blocks_lost", m_lostRawBlocks}};
}

std::string ClockText(double unixSeconds) {
    // A time stamp far outside any clock is shown as midnight rather than overflowing.
    if (!std::isfinite(unixSeconds) || unixSeconds < 0.0 || unixSeconds > 1e12) unixSeconds = 0.0;
    const int64_t milliseconds = static_cast<int64_t>(std::llround(unixSeconds * 1000.0));
    const int64_t ofDay = milliseconds % 86400000;
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", static_cast<int>(ofDay / 3600000),
                  static_cast<int>(ofDay / 60000 % 60), static_cast<int>(ofDay / 1000 % 60),
                  static_cast<int>(ofDay % 1000));
    return text;
}

}  // namespace LogServer
