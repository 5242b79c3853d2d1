#pragma once
// Ends the port handler's raw-data blocks on receiver epochs: a PDPSTAT or
// PDPXYZ record closes an epoch, so the pending block is handed over then
// rather than at an arbitrary byte.

#include "LogObserver/LogObserver.h"

class CPortHandler;

class EpochFlusher : public CLogObserver {
public:
    EpochFlusher() {}
    // Records are ignored until the port handler is set.
    void SetPortHandler(CPortHandler* portHandler) { m_portHandler = portHandler; }
    void NewPacket(CGPSRecord* record) override;

private:
    CPortHandler* m_portHandler = nullptr;
};
