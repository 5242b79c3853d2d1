#pragma once
// Novatel::CNovatelREFSTATION: the receiver's REFSTATION log, the position and
// identity of the base station whose corrections it receives. The position
// manager hands the position to the position service.

#include <cstdint>
#include <string>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelREFSTATION : public virtual CNovatelRecord {
public:
    ~CNovatelREFSTATION() override = default;

    // The base station's ECEF position, metres. When the record's CRC was
    // wrong the three are set to 0.0 and the result is false.
    bool GetPosition(double& x, double& y, double& z) const {
        const bool valid = IsCrcValid();
        x = valid ? m_x : 0.0;
        y = valid ? m_y : 0.0;
        z = valid ? m_z : 0.0;
        return valid;
    }
    // The station type word (receiver enumeration of the correction format).
    uint32_t GetStationType() const { return m_stationType; }
    // The station ID, at most five characters.
    const std::string& GetStationID() const { return m_stationID; }

protected:
    double m_x = 0;
    double m_y = 0;
    double m_z = 0;
    uint32_t m_stationType = 0;
    std::string m_stationID;
};

}  // namespace Novatel
