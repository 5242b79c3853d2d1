#pragma once
// Novatel::CNovatelTRACKSTAT: the receiver's TRACKSTAT log, the state of every
// tracking channel (which satellite and signal, how strong, whether the
// measurement went into the solution). The receiver status observer counts
// the satellites tracked from it and builds the sky view.

#include <cstdint>
#include <vector>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelTRACKSTAT : public virtual CNovatelRecord {
public:
    // One tracking channel. Numbers are the receiver's own enumerations.
    struct SChannel {
        uint16_t m_prn = 0;                // satellite PRN, or GLONASS slot; 0 when idle
        uint16_t m_glonassFrequency = 0;   // GLONASS frequency number
        uint32_t m_trackingStatus = 0;     // the channel tracking status word
        double m_pseudorange = 0;          // metres
        double m_doppler = 0;              // hertz
        double m_carrierToNoise = 0;       // dB-Hz
        double m_lockTime = 0;             // seconds of continuous tracking
        double m_pseudorangeResidual = 0;  // metres
        uint32_t m_rejectCode = 0;         // why the range was left out (0 used)
        double m_pseudorangeWeight = 0;    // weight in the solution
    };

    ~CNovatelTRACKSTAT() override = default;

    // The position solution status (receiver enumeration, 0 computed).
    uint32_t GetSolutionStatus() const { return m_solutionStatus; }
    // The position type (receiver enumeration).
    uint32_t GetPositionType() const { return m_positionType; }
    // The elevation cut-off angle, degrees.
    double GetElevationCutoff() const { return m_elevationCutoff; }
    // The number of channels the log announces.
    uint32_t GetNumberOfChannels() const { return m_numberOfChannels; }
    // The channels in the order the receiver sent them.
    const std::vector<SChannel>& GetChannels() const { return m_channels; }

protected:
    uint32_t m_solutionStatus = 0;
    uint32_t m_positionType = 0;
    double m_elevationCutoff = 0;
    uint32_t m_numberOfChannels = 0;
    std::vector<SChannel> m_channels;
};

}  // namespace Novatel
