#include "platform/Logging/RemoteLogger.h"

#include <algorithm>
#include <cstdarg>
#include <nlohmann/json.hpp>

#include "platform/Config/Config.h"
#include "platform/Core/Time.h"
#include "platform/Logging/Base64.h"
#include "platform/Logging/DatagramText.h"
#include "platform/Logging/FormatText.h"

namespace {

// Keeps the fields in the order they are written, as docs/datagrams.md shows them.
using Json = nlohmann::ordered_json;

const char kServerSection[] = "LogServer";

std::string ServerHost(const CConfig& config, const std::string& defaultHost) {
    return config.GetString(kServerSection, "host", defaultHost);
}

int ServerPort(const CConfig& config, int defaultPort) {
    return config.GetInteger(kServerSection, "port", defaultPort);
}

Json Datagram(const std::string& client, const char* type) {
    Json datagram;
    datagram["client"] = client;
    datagram["type"] = type;
    return datagram;
}

// Adds the time stamp, Unix seconds to the millisecond, and gives the text.
// Text that is not valid UTF-8 (a value may hold raw receiver bytes) has each
// bad sequence replaced by U+FFFD instead of failing the call.
std::string Finish(Json& datagram) {
    datagram["time"] = static_cast<double>(Core::Time::Now().Milliseconds()) / 1000.0;
    return datagram.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// The busy kinds (values, lines, events) are written straight to text in the
// same field order and form as a dumped Json object; building one per datagram
// cost more than everything else the daemon does with a record.
std::string Opening(const std::string& client, const char* type) {
    std::string text;
    text.reserve(160);
    text += "{\"client\":";
    Logging::AppendJsonString(text, client);
    text += ",\"type\":\"";
    text += type;
    text += '"';
    return text;
}

void AddString(std::string& text, const char* name, const std::string& value) {
    text += ",\"";
    text += name;
    text += "\":";
    Logging::AppendJsonString(text, value);
}

void AddInteger(std::string& text, const char* name, int64_t value) {
    text += ",\"";
    text += name;
    text += "\":";
    Logging::AppendJsonInteger(text, value);
}

// As Finish, for a datagram written as text.
std::string& Close(std::string& text) {
    text += ",\"time\":";
    Logging::AppendJsonNumber(text, static_cast<double>(Core::Time::Now().Milliseconds()) / 1000.0);
    text += '}';
    return text;
}

Json RawPiece(const std::string& client, const std::string& name, size_t offset, size_t total,
              const std::string& encoded) {
    Json datagram = Datagram(client, "raw");
    datagram["name"] = name;
    datagram["offset"] = offset;
    datagram["total"] = total;
    datagram["data"] = encoded;
    return datagram;
}

}  // namespace

CRemoteLogger::CRemoteLogger(const std::string& clientName, const std::string& host, int port)
    : CRemoteLogger(clientName, CConfig::GetSystemConfig(), host, port) {}

CRemoteLogger::CRemoteLogger(const std::string& clientName, const CConfig& config,
                             const std::string& host, int port)
    : m_config(config),
      m_clientName(clientName),
      m_defaultHost(host),
      m_defaultPort(port),
      m_sender(clientName, ServerHost(config, host), ServerPort(config, port)) {}

bool CRemoteLogger::Reconnect() {
    return m_sender.Open(ServerHost(m_config, m_defaultHost), ServerPort(m_config, m_defaultPort));
}

void CRemoteLogger::SendValue(const std::string& key, const std::string& value, int category,
                              int index) {
    std::string text = Opening(m_clientName, "value");
    AddString(text, "key", key);
    AddString(text, "value", value);
    AddInteger(text, "category", category);
    AddInteger(text, "index", index);
    m_sender.Send(Close(text));
}

void CRemoteLogger::SendLine(int level, const std::string& text) {
    std::string datagram = Opening(m_clientName, "line");
    AddInteger(datagram, "level", level);
    AddString(datagram, "text", text);
    m_sender.Send(Close(datagram));
}

void CRemoteLogger::SendEvent(const std::string& name) {
    std::string text = Opening(m_clientName, "event");
    AddString(text, "name", name);
    m_sender.Send(Close(text));
}

void CRemoteLogger::SendRawData(const std::string& name, const std::string& bytes) {
    if (bytes.empty()) return;
    // A piece's datagram without its data tells how much room the data has;
    // the slack covers a longer time stamp than the one measured.
    Json empty = RawPiece(m_clientName, name, bytes.size(), bytes.size(), "");
    const size_t overhead = Finish(empty).size() + 32;
    const size_t room = kMaxDatagramSize > overhead ? kMaxDatagramSize - overhead : 0;
    const size_t pieceSize = std::max<size_t>(room / 4 * 3, 3);

    for (size_t offset = 0; offset < bytes.size(); offset += pieceSize) {
        Json piece = RawPiece(m_clientName, name, offset, bytes.size(),
                              Logging::Base64Encode(bytes.substr(offset, pieceSize)));
        m_sender.Send(Finish(piece));
    }
}

void CRemoteLogger::SendAlarm(EAlarmAction action, int32_t code, int32_t index, int32_t argument) {
    Json datagram = Datagram(m_clientName, "alarm");
    datagram["action"] = action == EAlarmAction::Raise ? "raise" : "clear";
    datagram["code"] = code;
    datagram["index"] = index;
    datagram["argument"] = argument;
    m_sender.Send(Finish(datagram));
}

void CRemoteLogger::SendCondition(const std::string& name, int64_t value) {
    Json datagram = Datagram(m_clientName, "condition");
    datagram["name"] = name;
    datagram["value"] = value;
    m_sender.Send(Finish(datagram));
}

void PublishValue(CRemoteLogger& logger, const char* key, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const std::string value = Logging::FormatText(format, args);
    va_end(args);
    logger.SendValue(key, value, CRemoteLogger::kValueCategory, CRemoteLogger::kValueIndex);
}

void LogLine(CRemoteLogger& logger, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const std::string text = Logging::FormatText(format, args);
    va_end(args);
    logger.SendLine(CRemoteLogger::kLineLevel, text);
}
