#pragma once
// Passes the receiver's own NMEA sentences of four kinds ("GPGSA", "GPGSV",
// "GPZDA" and "GPGST") to the device's NMEA service, stamped with the receiver
// time of the latest TIME log cut to whole seconds. Every other sentence, and
// one whose checksum does not hold, is dropped here.

#include <cstdint>
#include <set>
#include <string>

#include "LogObserver/LogObserver.h"
#include "platform/Net/NMEAHandlerAPI.h"

class CNMEAService;
class CReceiverStatusObserver;

class CNMEALogObserver : public CLogObserver {
public:
    // Feeds the process's NMEA service.
    CNMEALogObserver();
    // Feeds the given service (not owned; it must outlive the observer).
    explicit CNMEALogObserver(CNMEAService* service);

    // The status observer whose current time stamps the sentences (not owned).
    // Until it is set sentences carry the time 0.
    void SetStatusObserver(CReceiverStatusObserver* statusObserver);

    // Hands an accepted NMEA sentence to the service; ignores every other record.
    void NewPacket(CGPSRecord* record) override;

    // The time in milliseconds that the last sentence passed on carried; -1 before the first.
    int64_t GetLastTimeMilliseconds() const { return m_lastTimeMilliseconds; }
    // How many sentences have been passed on to the service.
    uint64_t GetPassedCount() const { return m_passedCount; }

private:
    // Milliseconds of the status observer's current time, cut to whole seconds
    // for the sentence kinds that the service expects on the second.
    int32_t SentenceTime(const std::string& name) const;
    // Writes one line on standard error for the first malformed sentence only.
    void ReportMalformed(const std::string& sentence);

    CNMEAHandlerAPI m_nmeaAPI;
    std::set<std::string> m_acceptedNames;
    CReceiverStatusObserver* m_statusObserver = nullptr;
    int64_t m_lastTimeMilliseconds = -1;
    uint64_t m_passedCount = 0;
    bool m_reportedMalformed = false;
};
