#pragma once
// Writes a line to standard output for every NovAtel record, and a second one
// for every command response, so an operator can watch the receiver's traffic
// live (option -d). NMEA records are not shown.

#include <ostream>

#include "LogObserver/LogObserver.h"

class CScreenDumpObserver : public CLogObserver {
public:
    CScreenDumpObserver();
    // Writes to the given stream instead of standard output.
    explicit CScreenDumpObserver(std::ostream& out) : m_out(out) {}
    void NewPacket(CGPSRecord* record) override;

private:
    std::ostream& m_out;
};
