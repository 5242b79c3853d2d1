#pragma once
// CNMEARecord: one NMEA sentence from the receiver, kept as the bytes its
// framer delivered, from "$" to the line terminator. NMEA sentences carry no
// header, so the record's GPS time is its arrival time and its message ID is
// the reserved value kNMEAMessageID.

#include <string>

#include "Logs/NovatelOEMV/GPSRecord.h"
#include "platform/Core/ByteVector.h"

// The message ID that marks an NMEA record; no NovAtel log uses it.
const uint16_t kNMEAMessageID = 0xFFFF;

class CNMEARecord : public CGPSRecord {
public:
    explicit CNMEARecord(const ByteVector& sentence);
    ~CNMEARecord() override;

    // The arrival time converted to GPS week and seconds of week; always true.
    bool GetGPSTime(unsigned& week, double& seconds) const override;
    // Always kNMEAMessageID.
    uint16_t GetMessageID() const override;
    // Always 0: an NMEA sentence has no receiver time status.
    int GetTimeStatus() const override;

    // The whole sentence as text, line terminator included.
    std::string GetSentence() const;

private:
    ByteVector m_sentence;
};
