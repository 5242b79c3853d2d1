#include "Logs/NovatelOEMV/NovatelBinary/NovatelCartesianLog.h"

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

CNovatelCartesianLog::~CNovatelCartesianLog() = default;

bool CNovatelCartesianLog::GetPosition(double& x, double& y, double& z) const {
    return CopyIfValid(IsCrcValid(), m_x, m_y, m_z, x, y, z);
}

bool CNovatelCartesianLog::GetPositionStdDev(double& sx, double& sy, double& sz) const {
    return CopyIfValid(IsCrcValid(), m_sigmaX, m_sigmaY, m_sigmaZ, sx, sy, sz);
}

bool CNovatelCartesianLog::GetVelocity(double& vx, double& vy, double& vz) const {
    return CopyIfValid(IsCrcValid(), m_velocityX, m_velocityY, m_velocityZ, vx, vy, vz);
}

bool CNovatelCartesianLog::GetVelocityStdDev(double& sx, double& sy, double& sz) const {
    return CopyIfValid(IsCrcValid(), m_sigmaVelocityX, m_sigmaVelocityY, m_sigmaVelocityZ, sx, sy,
                       sz);
}

}  // namespace Novatel
