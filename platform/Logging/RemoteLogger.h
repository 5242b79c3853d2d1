#pragma once
// The remote logger: a component's line to the device's log server. Every call
// sends one JSON datagram (format and kinds in docs/datagrams.md) carrying the
// client's name and a Unix time stamp. It never blocks and never fails its
// caller; with no log server listening the datagrams are simply lost.

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/Logging/DatagramSender.h"
#include "platform/Logging/DatagramText.h"
#include "platform/Logging/TextBuffer.h"

class CConfig;

class CRemoteLogger {
public:
    // The category and index every published diagnostic value carries, and the
    // level of a free-text log line.
    static constexpr int kValueCategory = 3;
    static constexpr int kValueIndex = -1;
    static constexpr int kLineLevel = 4;
    // A datagram is kept to this size: a larger raw-data block goes out in pieces.
    static constexpr size_t kMaxDatagramSize = 32768;

    // What an alarm datagram asks of the alarm service.
    enum class EAlarmAction { Raise, Clear };

    // A logger for the named client. host and port are the defaults, which
    // section "LogServer" of the system configuration store ("host", "port")
    // overrides.
    explicit CRemoteLogger(const std::string& clientName, const std::string& host = "localhost",
                           int port = 10001);
    // As above with the overrides read from the given store, which must
    // outlive the logger.
    CRemoteLogger(const std::string& clientName, const CConfig& config,
                  const std::string& host = "localhost", int port = 10001);

    CRemoteLogger(const CRemoteLogger&) = delete;
    CRemoteLogger& operator=(const CRemoteLogger&) = delete;

    const std::string& GetClientName() const { return m_clientName; }

    // Reads the log server's address from the store again and sends there from
    // now on. True when the address is usable.
    bool Reconnect();

    // A diagnostic value: key, its text, category and index ("value" datagram).
    void SendValue(const std::string& key, const std::string& value, int category, int index);
    // As SendValue, with the text made from a printf-style format and its
    // arguments, which it uses up (the caller only va_ends them).
    void SendFormattedValue(const char* key, int category, int index, const char* format,
                            va_list args) __attribute__((format(printf, 5, 0)));
    // One free-text log line at the given level ("line").
    void SendLine(int level, const std::string& text);
    // As SendLine, with the line made from a printf-style format and its arguments.
    void SendFormattedLine(int level, const char* format, va_list args)
        __attribute__((format(printf, 3, 0)));
    // A named event, such as a port time-out ("event").
    void SendEvent(const std::string& name);
    // A block of raw receiver bytes (any bytes, NULs included) handed over for
    // recording ("raw"). A block that would make a datagram larger than
    // kMaxDatagramSize goes out as several, each with its byte offset; an
    // empty block sends nothing.
    void SendRawData(const std::string& name, const std::string& bytes);
    // Asks the alarm service to raise or clear an alarm ("alarm").
    void SendAlarm(EAlarmAction action, int32_t code, int32_t index, int32_t argument);
    // A named condition of the client and its value ("condition").
    void SendCondition(const std::string& name, int64_t value);

    // Datagrams the kernel took, and datagrams dropped, since construction.
    uint64_t GetSentCount() const { return m_sender.GetSentCount(); }
    uint64_t GetDroppedCount() const { return m_sender.GetDroppedCount(); }

private:
    // Starts a datagram of the given type in m_text: the opening brace, the
    // client and the type; the fields that follow each begin with a comma.
    template <size_t N>
    void Begin(const char (&type)[N]);
    // Ends the datagram in m_text with its time stamp, Unix seconds to the
    // millisecond, and sends it.
    void Finish();
    // Writes a raw-data piece up to the text of its data.
    void BeginRawPiece(const std::string& name, size_t offset, size_t total);

    const CConfig& m_config;
    std::string m_clientName;
    std::string m_defaultHost;
    int m_defaultPort;
    Logging::CDatagramSender m_sender;
    std::string m_opening;        // the opening brace and the client field, written once
    Logging::CTextBuffer m_text;  // the datagram being written, kept between datagrams
    Logging::CTimeStampText m_timeStamp;
};

// Publishes a diagnostic value whose text is made from a printf-style format,
// with category 3 and index -1. The text may be of any length.
void PublishValue(CRemoteLogger& logger, const char* key, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// Writes one free-text log line, made from a printf-style format, at level 4.
void LogLine(CRemoteLogger& logger, const char* format, ...) __attribute__((format(printf, 2, 3)));
