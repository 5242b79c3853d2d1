#pragma once
// Novatel::CNovatelOMNIHPPOS: the receiver's OmniSTAR HP/XP corrected solution as latitude,
// longitude and height. Its fields are those of the geodetic solution body that it shares with
// other logs; the class tells this log apart from them (consumers dynamic-cast to it).

#include "Logs/NovatelOEMV/NovatelBinary/NovatelGeodeticLog.h"

namespace Novatel {

class CNovatelOMNIHPPOS : public virtual CNovatelGeodeticLog {
public:
    ~CNovatelOMNIHPPOS() override = default;
};

}  // namespace Novatel
