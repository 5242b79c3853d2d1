#include "LogObserver/EpochFlusher.h"

#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSTAT.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPXYZ.h"
#include "main/PortHandler.h"

void EpochFlusher::NewPacket(CGPSRecord* record) {
    if (!m_portHandler || !record) return;
    // PDPSTAT and PDPXYZ close a receiver epoch.
    if (!dynamic_cast<Novatel::CNovatelPDPSTAT*>(record) &&
        !dynamic_cast<Novatel::CNovatelPDPXYZ*>(record)) {
        return;
    }
    m_portHandler->FlushRawData();
}
