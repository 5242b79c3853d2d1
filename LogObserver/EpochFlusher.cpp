#include "LogObserver/EpochFlusher.h"

#include "Logs/NovatelOEMV/LogCast.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSTAT.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPXYZ.h"
#include "main/PortHandler.h"

void EpochFlusher::NewPacket(CGPSRecord* record) {
    if (!m_portHandler || !record) return;
    // PDPSTAT and PDPXYZ close a receiver epoch.
    if (!Novatel::LogCast<Novatel::CNovatelPDPSTAT>(record, Novatel::kPDPSTATMessageID) &&
        !Novatel::LogCast<Novatel::CNovatelPDPXYZ>(record, Novatel::kPDPXYZMessageID)) {
        return;
    }
    m_portHandler->FlushRawData();
}
