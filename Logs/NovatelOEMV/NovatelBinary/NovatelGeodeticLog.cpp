#include "Logs/NovatelOEMV/NovatelBinary/NovatelGeodeticLog.h"

namespace Novatel {

namespace {

// A solution from a message that failed its checksum is not handed out: the
// caller gets zeros and false.
bool CopyIfValid(bool valid, double a, double b, double c, double& outA, double& outB,
                 double& outC) {
    outA = valid ? a : 0.0;
    outB = valid ? b : 0.0;
    outC = valid ? c : 0.0;
    return valid;
}

}  // namespace

CNovatelGeodeticLog::~CNovatelGeodeticLog() = default;

bool CNovatelGeodeticLog::GetPosition(double& lat, double& lon, double& height) const {
    return CopyIfValid(IsCrcValid(), m_latitude, m_longitude, m_height, lat, lon, height);
}

bool CNovatelGeodeticLog::GetPositionStdDev(double& sLat, double& sLon, double& sHeight) const {
    return CopyIfValid(IsCrcValid(), m_sigmaLatitude, m_sigmaLongitude, m_sigmaHeight, sLat, sLon,
                       sHeight);
}

}  // namespace Novatel
