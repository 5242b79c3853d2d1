#include "platform/Logging/LogClient.h"

#include <cstdarg>

#include "platform/Config/Config.h"

namespace {

const int kServerPort = 10001;

std::string ConfigSection(const std::string& clientName) { return "Logging." + clientName; }

}  // namespace

CLogClient::CLogClient(const std::string& clientName, const std::string& host)
    : CLogClient(clientName, CConfig::GetSystemConfig(), host) {}

CLogClient::CLogClient(const std::string& clientName, CConfig& config, const std::string& host)
    : m_config(config),
      m_logger(clientName, config, host, kServerPort),
      m_section(ConfigSection(clientName)) {}

bool CLogClient::Connect() { return m_logger.Reconnect(); }

bool CLogClient::IsEnabled() const {
    static const std::string kEnabledKey = "enabled";
    return m_config.GetInteger(m_section, kEnabledKey, SLoggingConfig().enabled ? 1 : 0) != 0;
}

void CLogClient::PublishValue(const char* key, const char* format, ...) {
    if (!IsEnabled()) return;
    va_list args;
    va_start(args, format);
    m_logger.SendFormattedValue(key, CRemoteLogger::kValueCategory, CRemoteLogger::kValueIndex,
                                format, args);
    va_end(args);
}

void CLogClient::LogLine(const char* format, ...) {
    const SLoggingConfig config = GetLoggingConfig(GetClientName());
    if (!config.enabled || CRemoteLogger::kLineLevel > config.maxLevel) return;
    va_list args;
    va_start(args, format);
    m_logger.SendFormattedLine(CRemoteLogger::kLineLevel, format, args);
    va_end(args);
}

void CLogClient::LogEvent(const std::string& name) {
    if (!IsEnabled()) return;
    m_logger.SendEvent(name);
}

void CLogClient::SendRawData(const std::string& name, const std::string& bytes) {
    // Recording is off unless asked for, so that key is read first and usually alone.
    static const std::string kRecordRawDataKey = "record_raw_data";
    const SLoggingConfig defaults;
    if (m_config.GetInteger(m_section, kRecordRawDataKey, defaults.recordRawData ? 1 : 0) == 0) {
        return;
    }
    if (!IsEnabled()) return;
    m_logger.SendRawData(name, bytes);
}

SLoggingConfig CLogClient::GetLoggingConfig(const std::string& clientName) const {
    // Read afresh on every use: another object of this process may have
    // changed it through its own client (the remote method that switches raw
    // data recording does).
    const std::string section = ConfigSection(clientName);
    const SLoggingConfig defaults;
    SLoggingConfig config;
    config.enabled = m_config.GetInteger(section, "enabled", defaults.enabled ? 1 : 0) != 0;
    config.maxLevel = m_config.GetInteger(section, "max_level", defaults.maxLevel);
    config.recordRawData =
        m_config.GetInteger(section, "record_raw_data", defaults.recordRawData ? 1 : 0) != 0;
    return config;
}

bool CLogClient::SetLoggingConfig(const std::string& clientName, const SLoggingConfig& config) {
    const std::string section = ConfigSection(clientName);
    m_config.SetInteger(section, "enabled", config.enabled ? 1 : 0);
    m_config.SetInteger(section, "max_level", config.maxLevel);
    m_config.SetInteger(section, "record_raw_data", config.recordRawData ? 1 : 0);
    return m_config.Commit();
}
