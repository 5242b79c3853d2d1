#include "LogObserver/EpochFlusher.h"

#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "main/PortHandler.h"

void EpochFlusher::NewPacket(CGPSRecord* record) {
    if (!m_portHandler || !record) return;
    // PDPSTAT and PDPXYZ close a receiver epoch; the factory builds their
    // records for exactly these message IDs.
    Novatel::CNovatelBinaryRecord* binary = dynamic_cast<Novatel::CNovatelBinaryRecord*>(record);
    if (!binary) return;
    uint16_t messageId = binary->GetMessageID();
    if (messageId != Novatel::kPDPXYZMessageID && messageId != Novatel::kPDPSTATMessageID) return;
    m_portHandler->FlushRawData();
}
