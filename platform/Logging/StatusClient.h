#pragma once
// The port handler's status client: reports the receiver link's conditions and
// its activity to the log server as "condition" datagrams (docs/datagrams.md).
// Activity notices come with every read and every sentence, so they are
// counted and sent at most once per interval for each kind.

#include <cstdint>
#include <string>

#include "platform/Core/Time.h"
#include "platform/Logging/RemoteLogger.h"

class CConfig;

class CStatusClient {
public:
    // The two link conditions, each raised with the value 1: nothing decodable
    // arrived for the port time-out, and the link has been (re)started ten
    // times or more.
    static const char kPortTimeoutCondition[];       // "receiver_port_timeout"
    static const char kRestartsExceededCondition[];  // "receiver_restarts_exceeded"
    // The two activity notices; their value is the number of notices since
    // the previous datagram of the same kind.
    static const char kDataActivity[];      // "receiver_data_arrived"
    static const char kSentenceActivity[];  // "receiver_sentence_arrived"

    // A status client under the given name, sending where CRemoteLogger does
    // (section "LogServer" of the system configuration store, else localhost
    // port 10001), with at most one activity datagram per kind per interval.
    explicit CStatusClient(const std::string& clientName,
                           Core::Time activityInterval = Core::Time::FromSeconds(1.0));
    // As above with the given store, which must outlive the client.
    CStatusClient(const std::string& clientName, const CConfig& config,
                  Core::Time activityInterval = Core::Time::FromSeconds(1.0));
    // Sends the activity not yet reported.
    ~CStatusClient();

    CStatusClient(const CStatusClient&) = delete;
    CStatusClient& operator=(const CStatusClient&) = delete;

    // Sends the condition at once with its value (0 when it no longer holds).
    void RaiseCondition(const std::string& name, int64_t value);

    // Notices that bytes arrived from the receiver, and that a sentence with a
    // good checksum arrived. The first notice of a kind is sent at once; the
    // ones that follow within the interval are counted into the next datagram.
    void DataArrived() { Notice(m_data); }
    void SentenceArrived() { Notice(m_sentences); }

    // Sends the activity counted but not yet reported, for each kind that has some.
    void FlushActivity();

    const CRemoteLogger& GetLogger() const { return m_logger; }

private:
    struct SActivity {
        const char* name;
        uint64_t pending;              // notices not yet sent
        Core::MonotonicTime nextSend;  // no datagram of this kind before then
    };

    void Notice(SActivity& activity);
    void SendActivity(SActivity& activity);

    CRemoteLogger m_logger;
    Core::Time m_interval;
    SActivity m_data;
    SActivity m_sentences;
};
