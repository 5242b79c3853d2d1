#pragma once
// The log client: a remote logger whose output follows the client's logging
// configuration in the configuration store, with printf-style publication and
// the hand-over of raw receiver data for recording (docs/datagrams.md).

#include <cstdint>
#include <string>

#include "platform/Logging/RemoteLogger.h"

class CConfig;

// How much of one client's output goes to the log server. Kept in section
// "Logging.<client name>" of the configuration store.
struct SLoggingConfig {
    bool enabled = true;         // key "enabled": anything of this client is sent at all
    int32_t maxLevel = 7;        // key "max_level": log lines above this level are not sent
    bool recordRawData = false;  // key "record_raw_data": raw receiver data is sent to be recorded
};

class CLogClient {
public:
    // A client under the given name sending to host (the default, which
    // section "LogServer" of the system configuration store overrides, as for
    // CRemoteLogger). Its logging configuration lives in the same store.
    explicit CLogClient(const std::string& clientName, const std::string& host = "localhost");
    // As above with the given store, which must outlive the client.
    CLogClient(const std::string& clientName, CConfig& config,
               const std::string& host = "localhost");

    CLogClient(const CLogClient&) = delete;
    CLogClient& operator=(const CLogClient&) = delete;

    const std::string& GetClientName() const { return m_logger.GetClientName(); }

    // Reads the log server's address from the store again. True when it is usable.
    bool Connect();

    // Publishes a diagnostic value made from a printf-style format (category 3, index -1).
    void PublishValue(const char* key, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
    // Writes a free-text log line made from a printf-style format, at level 4.
    void LogLine(const char* format, ...) __attribute__((format(printf, 2, 3)));
    // Sends a named event.
    void LogEvent(const std::string& name);
    // Hands a block of raw receiver bytes over for recording: sent only while
    // this client's configuration asks for raw data to be recorded.
    void SendRawData(const std::string& name, const std::string& bytes);

    // The logging configuration of any client; absent keys give the defaults.
    SLoggingConfig GetLoggingConfig(const std::string& clientName) const;
    // Stores the logging configuration of a client and commits the store.
    // False when the store could not be written (the values stay in memory).
    bool SetLoggingConfig(const std::string& clientName, const SLoggingConfig& config);

    // The remote logger underneath, for the datagram counts.
    const CRemoteLogger& GetLogger() const { return m_logger; }

private:
    // This client's "enabled" key, read afresh: the check made before every
    // value and event, without the rest of the configuration.
    bool IsEnabled() const;

    CConfig& m_config;
    CRemoteLogger m_logger;
    const std::string m_section;  // this client's section of the store
};
