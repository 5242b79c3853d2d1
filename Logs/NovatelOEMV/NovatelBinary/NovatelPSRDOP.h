#pragma once
// Novatel::CNovatelPSRDOP: the receiver's PSRDOP log, the dilutions of
// precision of its pseudorange solution and the satellites that went into it.
// The position manager passes precision values from it on with every solution.
//
// The six values are held as the integer value of the 32 bits the receiver
// sent for each (a PDOP of 1.5, bits 0x3FC00000, is held as 1069547520.0), not
// as the single-precision numbers those bits encode. This is deliberate and
// kept: the consumers receive the numbers exactly as held.

#include <cstdint>
#include <vector>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelPSRDOP : public virtual CNovatelRecord {
public:
    ~CNovatelPSRDOP() override = default;

    // Geometric dilution of precision, held as its bits' integer value.
    double GetGDOP() const { return m_gdop; }
    // Position dilution of precision, held as its bits' integer value.
    double GetPDOP() const { return m_pdop; }
    // Horizontal dilution of precision, held as its bits' integer value.
    double GetHDOP() const { return m_hdop; }
    // Horizontal and time dilution of precision, held as its bits' integer value.
    double GetHTDOP() const { return m_htdop; }
    // Time dilution of precision, held as its bits' integer value.
    double GetTDOP() const { return m_tdop; }
    // The elevation cut-off angle, held as its bits' integer value.
    double GetElevationCutoff() const { return m_elevationCutoff; }
    // The number of satellites the log announces.
    uint32_t GetNumberOfPRNs() const { return m_numberPRNs; }
    // The PRNs of the satellites used, in the order the receiver sent them.
    const std::vector<uint32_t>& GetPRNs() const { return m_prns; }

protected:
    double m_gdop = 0;
    double m_pdop = 0;
    double m_hdop = 0;
    double m_htdop = 0;
    double m_tdop = 0;
    double m_elevationCutoff = 0;
    uint32_t m_numberPRNs = 0;
    std::vector<uint32_t> m_prns;
};

}  // namespace Novatel
