#pragma once
// Novatel::CNovatelSatsLog: a satellite list of one of the receiver's
// solution filters (RTKSATS, PDPSATS): which satellites of which systems the
// filter knows and whether it used them. The position manager counts the GPS
// and GLONASS satellites used from it; the message ID tells the filters apart.

#include <cstdint>
#include <vector>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelSatsLog : public virtual CNovatelRecord {
public:
    // One satellite of the list. Numbers are the receiver's own enumerations.
    struct SSatellite {
        uint32_t m_system = 0;           // satellite system (0 GPS, 1 GLONASS, ...)
        uint16_t m_satelliteID = 0;      // PRN, or GLONASS slot
        int32_t m_frequencyChannel = 0;  // GLONASS: signed channel number; others as sent
        uint32_t m_status = 0;           // bit 0 set when the filter used the satellite
        uint32_t m_signalMask = 0;       // signals used
    };

    ~CNovatelSatsLog() override = default;

    // The satellites in the order the receiver sent them; empty when the frame
    // was too short for the count it carried.
    const std::vector<SSatellite>& GetSatellites() const { return m_satellites; }

protected:
    std::vector<SSatellite> m_satellites;
};

}  // namespace Novatel
