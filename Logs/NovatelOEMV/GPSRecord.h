#pragma once
// CGPSRecord: the root of every record decoded from the receiver's output. A
// record knows when its sentence arrived (the wall clock when it was decoded)
// and answers its measurement time and message ID; observers see every record
// through this interface and tell the kinds apart by message ID or by a
// dynamic cast to CNMEARecord, CCartesianLog, CGeodeticLog, CLBandLog or a
// Novatel:: class.
//
// Records are made on the heap by the factory (RecordFactory.h), lent to the
// observers for one call and deleted by the port handler through the virtual
// destructor; they are never copied.

#include <cstdint>

#include "platform/Core/Time.h"

namespace Novatel {
class CNovatelRecord;
}

class CGPSRecord {
public:
    // Stamps the record with the current wall-clock time as its arrival time.
    CGPSRecord();
    virtual ~CGPSRecord();
    CGPSRecord(const CGPSRecord&) = delete;
    CGPSRecord& operator=(const CGPSRecord&) = delete;

    // Stores the arrival time as seconds since the Unix epoch.
    virtual void GetTime(double& seconds) const;
    // The arrival time as seconds since the Unix epoch.
    virtual double GetTimeAsDouble() const;
    // Deliberately leaves `time` as it was and does not fetch the arrival time;
    // no caller relies on it. Use GetArrivalTime or GetTimeAsDouble instead.
    virtual void GetTime(Core::Time& time) const;
    // The measurement time as GPS week and seconds of week; false when the
    // record's time cannot be trusted (a binary frame whose CRC is wrong).
    virtual bool GetGPSTime(unsigned& week, double& seconds) const = 0;
    // The receiver's message ID; 65535 for an NMEA sentence.
    virtual uint16_t GetMessageID() const = 0;
    // The integer the port handler publishes with every record's statistics
    // ("QLS_<id>": now, this value, seconds of week): the receiver's time status
    // from the binary header (the receiver's own enumeration, 180 for fine
    // steering, 20 for unknown), or 0 for a record without one (NMEA).
    virtual int GetTimeStatus() const = 0;

    // The record as a NovAtel record, or null for any other kind (NMEA). Every
    // observer asks this of every record: a dynamic cast through the record
    // tree's virtual bases costs hundreds of instructions, this one call.
    virtual Novatel::CNovatelRecord* AsNovatelRecord();

    // When the sentence arrived (was decoded), not when the receiver measured.
    Core::Time GetArrivalTime() const { return m_arrivalTime; }

private:
    Core::Time m_arrivalTime;
};
