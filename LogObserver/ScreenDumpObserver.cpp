#include "LogObserver/ScreenDumpObserver.h"

#include <iostream>

#include "Logs/NovatelOEMV/NovatelBinary/NovatelResponse.h"
#include "Logs/NovatelOEMV/NovatelRecord.h"

CScreenDumpObserver::CScreenDumpObserver() : m_out(std::cout) {}

void CScreenDumpObserver::NewPacket(CGPSRecord* record) {
    Novatel::CNovatelRecord* novatel = dynamic_cast<Novatel::CNovatelRecord*>(record);
    if (!novatel) return;

    unsigned messageId = novatel->GetMessageID();
    size_t bodySize = novatel->GetMessageBody().size();
    unsigned week = 0;
    double seconds = 0.0;
    novatel->GetGPSTime(week, seconds);
    // Seconds in the stream's default notation: six significant digits.
    m_out << "ID = " << messageId << ", size = " << bodySize << ", week = " << week
          << ", seconds = " << seconds << std::endl;

    Novatel::CNovatelResponse* response = dynamic_cast<Novatel::CNovatelResponse*>(record);
    if (!response) return;
    m_out << "Response: Log=" << messageId << ", ID=" << response->GetResponseID() << ": \""
          << response->GetResponseText() << "\"" << std::endl;
}
