#include "LogObserver/NMEALogObserver.h"

#include <cmath>
#include <cstdio>

#include "LogObserver/ReceiverStatusObserver.h"
#include "Logs/NovatelOEMV/NMEARecord.h"
#include "Logs/NovatelOEMV/SentenceChecksums.h"
#include "platform/Core/ByteVector.h"

namespace {

// "$" and the five characters of the talker and sentence name ("$GPGSV").
const size_t kShortestSentence = 6;
const size_t kNameOffset = 1;
const size_t kNameLength = 5;

// The sentence kinds stamped with whole seconds. All of the accepted kinds are
// here; a kind accepted later but not listed keeps its milliseconds.
const char* const kWholeSecondNames[] = {"GPGSV", "GPGST", "GPZDA", "GPGSA"};

}  // namespace

CNMEALogObserver::CNMEALogObserver() : CNMEALogObserver(nullptr) {}

CNMEALogObserver::CNMEALogObserver(CNMEAService* service)
    : m_nmeaAPI(service), m_acceptedNames{"GPGSA", "GPGSV", "GPZDA", "GPGST"} {}

void CNMEALogObserver::SetStatusObserver(CReceiverStatusObserver* statusObserver) {
    m_statusObserver = statusObserver;
}

void CNMEALogObserver::NewPacket(CGPSRecord* record) {
    // Checked by message ID first: the cast is costly and most records are binary.
    if (!record || record->GetMessageID() != kNMEAMessageID) return;
    CNMEARecord* nmea = dynamic_cast<CNMEARecord*>(record);
    if (!nmea) return;

    const std::string sentence = nmea->GetSentence();
    if (sentence.size() < kShortestSentence) {
        ReportMalformed(sentence);
        return;
    }
    // The framer has checked the sentence already; the check is repeated so that
    // nothing reaches the service's clients that they would reject.
    if (!HasValidNmeaChecksum(ByteVector(sentence.begin(), sentence.end()))) {
        ReportMalformed(sentence);
        return;
    }
    const std::string name = sentence.substr(kNameOffset, kNameLength);
    if (m_acceptedNames.count(name) == 0) return;

    const int32_t time = SentenceTime(name);
    m_nmeaAPI.SetNMEAString(name, time, sentence);
    m_lastTimeMilliseconds = time;
    ++m_passedCount;
}

int32_t CNMEALogObserver::SentenceTime(const std::string& name) const {
    const double seconds = m_statusObserver ? m_statusObserver->GetCurrentTimeSeconds() : 0.0;
    // Seconds of week fit a signed 32-bit count of milliseconds (at most 604,800,000).
    int32_t time = static_cast<int32_t>(std::llround(seconds * 1000.0));
    for (const char* wholeSecondName : kWholeSecondNames) {
        if (name == wholeSecondName) {
            time = time / 1000 * 1000;
            break;
        }
    }
    return time;
}

void CNMEALogObserver::ReportMalformed(const std::string& sentence) {
    if (m_reportedMalformed) return;
    m_reportedMalformed = true;
    std::string shown = sentence;
    while (!shown.empty() && (shown.back() == '\r' || shown.back() == '\n')) shown.pop_back();
    std::fprintf(stderr,
                 "CNMEALogObserver::NewPacket dropped a malformed NMEA sentence \"%s\" (too short "
                 "or a wrong checksum); further ones are dropped silently\n",
                 shown.c_str());
}
