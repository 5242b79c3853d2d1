#pragma once
// Novatel::CNovatelRANGE: the receiver's RANGE log, one observation per signal
// tracked (pseudorange, carrier phase, Doppler, signal strength and lock
// time). The receiver status observer counts it.

#include <cstdint>
#include <vector>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelRANGE : public virtual CNovatelRecord {
public:
    // One signal of one satellite, as the receiver measured it.
    struct SObservation {
        uint16_t m_prn = 0;               // satellite PRN, or GLONASS slot
        uint16_t m_glonassFrequency = 0;  // GLONASS frequency number
        double m_pseudorange = 0;         // metres
        double m_pseudorangeStdDev = 0;   // metres
        double m_carrierPhase = 0;        // accumulated Doppler range, cycles
        double m_carrierPhaseStdDev = 0;  // cycles
        double m_doppler = 0;             // hertz
        double m_carrierToNoise = 0;      // dB-Hz
        double m_lockTime = 0;            // seconds of continuous tracking
        uint32_t m_trackingStatus = 0;    // the channel tracking status word
    };

    ~CNovatelRANGE() override = default;

    // The number of observations the log announces.
    uint32_t GetNumberOfObservations() const { return m_numberOfObservations; }
    // The observations in the order the receiver sent them.
    const std::vector<SObservation>& GetObservations() const { return m_observations; }

protected:
    uint32_t m_numberOfObservations = 0;
    std::vector<SObservation> m_observations;
};

}  // namespace Novatel
