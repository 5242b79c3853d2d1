#include "platform/Logging/RemoteLogger.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "platform/Config/Config.h"
#include "platform/Core/Time.h"
#include "platform/Logging/Base64.h"
#include "platform/Logging/DatagramText.h"

namespace {

const char kServerSection[] = "LogServer";

// Room kept in a raw-data piece for a time stamp longer than the one measured.
const size_t kRawSlack = 32;

std::string ServerHost(const CConfig& config, const std::string& defaultHost) {
    return config.GetString(kServerSection, "host", defaultHost);
}

int ServerPort(const CConfig& config, int defaultPort) {
    return config.GetInteger(kServerSection, "port", defaultPort);
}

// The opening of every datagram of a client, up to the type's text.
std::string Opening(const std::string& client) {
    Logging::CTextBuffer text;
    text.AppendLiteral("{\"client\":");
    Logging::AppendJsonString(text, client);
    text.AppendLiteral(",\"type\":\"");
    return text.ToString();
}

}  // namespace

// Every datagram is written as text in one buffer, in the field order and form
// of a compact dump of a JSON object (docs/datagrams.md), and sent from there.
// Building an object, or a string, per datagram cost more than everything else
// the daemon does with a record.

CRemoteLogger::CRemoteLogger(const std::string& clientName, const std::string& host, int port)
    : CRemoteLogger(clientName, CConfig::GetSystemConfig(), host, port) {}

CRemoteLogger::CRemoteLogger(const std::string& clientName, const CConfig& config,
                             const std::string& host, int port)
    : m_config(config),
      m_clientName(clientName),
      m_defaultHost(host),
      m_defaultPort(port),
      m_sender(clientName, ServerHost(config, host), ServerPort(config, port)),
      m_opening(Opening(clientName)) {}

bool CRemoteLogger::Reconnect() {
    return m_sender.Open(ServerHost(m_config, m_defaultHost), ServerPort(m_config, m_defaultPort));
}

template <size_t N>
void CRemoteLogger::Begin(const char (&type)[N]) {
    m_text.Clear();
    m_text.Append(m_opening);
    m_text.AppendLiteral(type);
    m_text.Append('"');
}

void CRemoteLogger::Finish() {
    m_text.AppendLiteral(",\"time\":");
    m_timeStamp.Append(m_text, Core::Time::Now().Milliseconds());
    m_text.Append('}');
    m_sender.Send(m_text.Data(), m_text.Size());
}

void CRemoteLogger::SendValue(const std::string& key, const std::string& value, int category,
                              int index) {
    Begin("value");
    m_text.AppendLiteral(",\"key\":");
    Logging::AppendJsonString(m_text, key);
    m_text.AppendLiteral(",\"value\":");
    Logging::AppendJsonString(m_text, value);
    m_text.AppendLiteral(",\"category\":");
    Logging::AppendJsonInteger(m_text, category);
    m_text.AppendLiteral(",\"index\":");
    Logging::AppendJsonInteger(m_text, index);
    Finish();
}

void CRemoteLogger::SendFormattedValue(const char* key, int category, int index, const char* format,
                                       va_list args) {
    Begin("value");
    m_text.AppendLiteral(",\"key\":");
    Logging::AppendJsonString(m_text, key, std::strlen(key));
    m_text.AppendLiteral(",\"value\":");
    Logging::AppendJsonFormatted(m_text, format, args);
    m_text.AppendLiteral(",\"category\":");
    Logging::AppendJsonInteger(m_text, category);
    m_text.AppendLiteral(",\"index\":");
    Logging::AppendJsonInteger(m_text, index);
    Finish();
}

void CRemoteLogger::SendLine(int level, const std::string& text) {
    Begin("line");
    m_text.AppendLiteral(",\"level\":");
    Logging::AppendJsonInteger(m_text, level);
    m_text.AppendLiteral(",\"text\":");
    Logging::AppendJsonString(m_text, text);
    Finish();
}

void CRemoteLogger::SendFormattedLine(int level, const char* format, va_list args) {
    Begin("line");
    m_text.AppendLiteral(",\"level\":");
    Logging::AppendJsonInteger(m_text, level);
    m_text.AppendLiteral(",\"text\":");
    Logging::AppendJsonFormatted(m_text, format, args);
    Finish();
}

void CRemoteLogger::SendEvent(const std::string& name) {
    Begin("event");
    m_text.AppendLiteral(",\"name\":");
    Logging::AppendJsonString(m_text, name);
    Finish();
}

void CRemoteLogger::BeginRawPiece(const std::string& name, size_t offset, size_t total) {
    Begin("raw");
    m_text.AppendLiteral(",\"name\":");
    Logging::AppendJsonString(m_text, name);
    m_text.AppendLiteral(",\"offset\":");
    m_text.AppendUnsigned(offset);
    m_text.AppendLiteral(",\"total\":");
    m_text.AppendUnsigned(total);
    m_text.AppendLiteral(",\"data\":\"");
}

void CRemoteLogger::SendRawData(const std::string& name, const std::string& bytes) {
    if (bytes.empty()) return;
    // A piece's datagram without its data tells how much room the data has;
    // the slack covers a longer time stamp than the one measured.
    BeginRawPiece(name, bytes.size(), bytes.size());
    m_text.AppendLiteral("\",\"time\":");
    m_timeStamp.Append(m_text, Core::Time::Now().Milliseconds());
    m_text.Append('}');
    const size_t overhead = m_text.Size() + kRawSlack;
    const size_t room = kMaxDatagramSize > overhead ? kMaxDatagramSize - overhead : 0;
    const size_t pieceSize = std::max<size_t>(room / 4 * 3, 3);

    for (size_t offset = 0; offset < bytes.size(); offset += pieceSize) {
        BeginRawPiece(name, offset, bytes.size());
        Logging::AppendBase64(m_text, bytes.data() + offset,
                              std::min(pieceSize, bytes.size() - offset));
        m_text.Append('"');
        Finish();
    }
}

void CRemoteLogger::SendAlarm(EAlarmAction action, int32_t code, int32_t index, int32_t argument) {
    Begin("alarm");
    if (action == EAlarmAction::Raise) {
        m_text.AppendLiteral(",\"action\":\"raise\"");
    } else {
        m_text.AppendLiteral(",\"action\":\"clear\"");
    }
    m_text.AppendLiteral(",\"code\":");
    Logging::AppendJsonInteger(m_text, code);
    m_text.AppendLiteral(",\"index\":");
    Logging::AppendJsonInteger(m_text, index);
    m_text.AppendLiteral(",\"argument\":");
    Logging::AppendJsonInteger(m_text, argument);
    Finish();
}

void CRemoteLogger::SendCondition(const std::string& name, int64_t value) {
    Begin("condition");
    m_text.AppendLiteral(",\"name\":");
    Logging::AppendJsonString(m_text, name);
    m_text.AppendLiteral(",\"value\":");
    Logging::AppendJsonInteger(m_text, value);
    Finish();
}

void PublishValue(CRemoteLogger& logger, const char* key, const char* format, ...) {
    va_list args;
    va_start(args, format);
    logger.SendFormattedValue(key, CRemoteLogger::kValueCategory, CRemoteLogger::kValueIndex,
                              format, args);
    va_end(args);
}

void LogLine(CRemoteLogger& logger, const char* format, ...) {
    va_list args;
    va_start(args, format);
    logger.SendFormattedLine(CRemoteLogger::kLineLevel, format, args);
    va_end(args);
}
