#include "LogObserver/PositionManager.h"

#include <cassert>
#include <cmath>

#include "LogObserver/ReceiverStatusObserver.h"
#include "Logs/NovatelOEMV/LogCast.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTPOS.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelCartesianLog.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSTATB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPXYZ.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRDOPB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRXYZ.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelREFSTATION.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKXYZ.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelSatsLog.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/NovatelRecord.h"
#include "platform/Config/Config.h"
#include "platform/Core/Maths.h"

namespace {

const char kClientName[] = "NovatelPositionManager";

// The fifteen status fields published for PSRXYZ, RTKXYZ and PDPXYZ.
const char kSolutionInfoFormat[] = "%d,%d,%d,%d,%f,%f,%f,%d,%d,%d,%d,%d,0x%08X,%d,0x%08X";

// Receiver position types that the quality codes single out.
const unsigned kTypePropagated = 19;
const unsigned kTypeNarrowFloat = 34;
const unsigned kTypeWideInteger = 49;
const unsigned kTypeNarrowInteger = 50;
const unsigned kTypeOmnistarHP = 64;
const unsigned kTypeOmnistarXP = 65;

// Satellite systems of the satellite lists, and the list entry's "used" bit.
const uint32_t kSystemGPS = 0;
const uint32_t kSystemGLONASS = 1;
const uint32_t kSatelliteUsedBit = 0x1;

// PDPSTAT words the quality and the lockout read: the second, which reads 1
// while the PDP filter's solution is good, and the fourth, the phase flag,
// which reads 0 while the filter has no phase measurements.
const size_t kPDPSTATGoodSolutionWord = 1;
const size_t kPDPSTATPhaseFlagWord = 3;

int32_t LockoutSeconds(const CConfig& config) {
    const int32_t seconds =
        config.GetInteger(CPositionManager::kLockoutSection, CPositionManager::kLockoutKey,
                          CPositionManager::kDefaultLockoutSeconds);
    return seconds > 0 ? seconds : 0;  // a negative length means no lockout, as 0 does
}

}  // namespace

const Diagnosticator::SDiagnosticId CPositionManager::kObstructionLockoutAlarm = {79141, 0};

CPositionManager::CPositionManager() : CPositionManager(CConfig::GetSystemConfig()) {}

CPositionManager::CPositionManager(CConfig& config)
    : m_positionAPI(new CPositionAPI()),
      m_nmeaHandlerAPI(new CNMEAHandlerAPI()),
      m_logger(kClientName, config, "localhost", 10001),
      m_config(config),
      m_alarms(kClientName, config) {
    m_lockoutDuration = Core::Time::FromSeconds(LockoutSeconds(m_config));
}

CPositionManager::~CPositionManager() {}

void CPositionManager::NewPacket(CGPSRecord* record) {
    if (record == nullptr) return;
    Novatel::CNovatelRecord* novatel = record->AsNovatelRecord();
    if (novatel == nullptr) return;

    if (auto* pdpxyz =
            Novatel::LogCast<Novatel::CNovatelPDPXYZ>(novatel, Novatel::kPDPXYZMessageID)) {
        HandlePDPXYZ(pdpxyz);
        return;
    }
    if (auto* rtkxyz =
            Novatel::LogCast<Novatel::CNovatelRTKXYZ>(novatel, Novatel::kRTKXYZMessageID)) {
        HandleRTKXYZ(rtkxyz);
        return;
    }
    if (auto* psrxyz =
            Novatel::LogCast<const Novatel::CNovatelPSRXYZ>(novatel, Novatel::kPSRXYZMessageID)) {
        HandlePSRXYZ(psrxyz);
        return;
    }
    if (auto* pdpstat =
            Novatel::LogCast<const Novatel::CNovatelPDPSTAT>(novatel, Novatel::kPDPSTATMessageID)) {
        m_latestPDPSTAT.reset(new Novatel::CNovatelPDPSTATB(pdpstat->GetSentenceData()));
        return;
    }
    if (auto* psrdop =
            Novatel::LogCast<const Novatel::CNovatelPSRDOP>(novatel, Novatel::kPSRDOPMessageID)) {
        HandlePSRDOP(psrdop);
        return;
    }
    const uint16_t messageId = novatel->GetMessageID();
    if (messageId == Novatel::kRTKSATSMessageID || messageId == Novatel::kPDPSATSMessageID) {
        if (auto* sats = dynamic_cast<const Novatel::CNovatelSatsLog*>(novatel))
            HandleSatsLog(sats);
    }
    if (auto* reference = Novatel::LogCast<const Novatel::CNovatelREFSTATION>(
            novatel, Novatel::kREFSTATIONMessageID)) {
        HandleREFSTATION(reference);
    }
    if (auto* bestpos =
            Novatel::LogCast<const Novatel::CNovatelBESTPOS>(novatel, Novatel::kBESTPOSMessageID)) {
        HandleBESTPOS(bestpos);
    }
}

void CPositionManager::HandlePDPXYZ(Novatel::CNovatelPDPXYZ* log) {
    ++m_pdpxyzCount;
    // Named after the receiver's message number of the PDP solution on
    // purpose: the device's diagnostics pages read these keys.
    PublishValue(m_logger, "message18", "%d", static_cast<int>(m_pdpxyzCount));
    if (m_latestPDPSTAT) {
        PublishSolutionInfo("message18_info", log);
        const Novatel::CNovatelPDPSTAT& stat = *m_latestPDPSTAT;
        PublishValue(m_logger, "message18_pdpstat", "%d,%d,%d,%d,%d,%5.2lf,%2.5lf,%2.5lf",
                     static_cast<int>(stat.GetWord(0)), static_cast<int>(stat.GetWord(1)),
                     static_cast<int>(stat.GetWord(2)), static_cast<int>(stat.GetWord(3)),
                     static_cast<int>(stat.GetWord(4)), stat.GetValue(0), stat.GetValue(1),
                     stat.GetValue(2));
    }
    const bool lockoutInReceiver =
        m_statusObserver != nullptr &&
        m_statusObserver->GetSoftwareVersionNumber() > kLockoutLastSoftwareVersion;
    // Without a PDPSTAT nothing is known of the filter's phase measurements.
    if (!lockoutInReceiver && m_latestPDPSTAT) WatchPhaseFlag();
    NewPositionPacket(log);
}

void CPositionManager::WatchPhaseFlag() {
    const Novatel::CNovatelPDPSTAT& stat = *m_latestPDPSTAT;
    const int32_t phaseFlag = static_cast<int32_t>(stat.GetWord(kPDPSTATPhaseFlagWord));
    if (phaseFlag == 0) {
        if (m_previousPhaseFlag == 0) {
            // Restarted at every epoch of the outage: the lockout runs out only
            // after the flag has been back for its whole length.
            m_lockoutTimer = Core::MonotonicTime::Now() + m_lockoutDuration;
            m_alarms.RaiseAlarm(kObstructionLockoutAlarm, 1);
        } else {
            unsigned week = 0;
            double seconds = 0.0;
            stat.GetGPSTime(week, seconds);
            LogLine(m_logger, "Glide dropped zero phase measurements: %d %lf",
                    static_cast<int>(week), seconds);
        }
    }
    m_previousPhaseFlag = phaseFlag;
}

void CPositionManager::HandleRTKXYZ(Novatel::CNovatelRTKXYZ* log) {
    ++m_rtkxyzCount;
    PublishValue(m_logger, "rtkxyz", "%d", static_cast<int>(m_rtkxyzCount));
    PublishSolutionInfo("rtkxyz_info", log);
    NewPositionPacket(log);
}

void CPositionManager::HandlePSRXYZ(const Novatel::CNovatelPSRXYZ* log) {
    PublishSolutionInfo("psrxyz_info", log);
    if (log->GetSolutionStatus() != 0) return;
    double x = 0.0, y = 0.0, z = 0.0;
    log->GetPosition(x, y, z);
    double latitude = 0.0, longitude = 0.0, height = 0.0;
    BowringGeodetic(x, y, z, latitude, longitude, height);
    PublishValue(m_logger, "psrxyz_pos", "%.4f,%.4f,%.4f,%.12f,%.12f,%.4f", x, y, z,
                 latitude * Core::Maths::DEGREES_PER_RADIAN,
                 longitude * Core::Maths::DEGREES_PER_RADIAN, height);
}

void CPositionManager::HandlePSRDOP(const Novatel::CNovatelPSRDOP* record) {
    ++m_psrdopCount;
    PublishValue(m_logger, "psrdop_messages", "%d", static_cast<int>(m_psrdopCount));
    m_latestPSRDOP.reset(new Novatel::CNovatelPSRDOPB(record->GetSentenceData()));
}

void CPositionManager::HandleSatsLog(const Novatel::CNovatelSatsLog* record) {
    uint32_t gps = 0;
    uint32_t glonass = 0;
    for (const Novatel::CNovatelSatsLog::SSatellite& satellite : record->GetSatellites()) {
        if ((satellite.m_status & kSatelliteUsedBit) == 0) continue;
        if (satellite.m_system == kSystemGPS) ++gps;
        if (satellite.m_system == kSystemGLONASS) ++glonass;
    }
    const uint16_t messageId = record->GetMessageID();
    if (messageId == Novatel::kRTKSATSMessageID) {
        m_rtkGPSSatellitesUsed = gps;
        m_rtkGLONASSSatellitesUsed = glonass;
    } else if (messageId == Novatel::kPDPSATSMessageID) {
        m_pdpGPSSatellitesUsed = gps;
        m_pdpGLONASSSatellitesUsed = glonass;
    }
}

void CPositionManager::HandleREFSTATION(const Novatel::CNovatelREFSTATION* record) {
    double x = 0.0, y = 0.0, z = 0.0;
    if (!record->GetPosition(x, y, z)) return;
    PublishValue(m_logger, "reference_position_ecef", "%.3f,%.3f,%.3f", x, y, z);
    m_positionAPI->SetBasePosition(x, y, z);
}

void CPositionManager::HandleBESTPOS(const Novatel::CNovatelBESTPOS* record) {
    const double undulation = record->GetUndulation();
    PublishValue(m_logger, "novatel_undulation", "%f", undulation);
    m_nmeaHandlerAPI->SetNMEAGeoidalSeparationValue(undulation);
    // The position service's mean-sea-level altitudes use the same value.
    m_positionAPI->SetGeoidalSeparation(undulation);
}

void CPositionManager::PublishSolutionInfo(const char* key,
                                           const Novatel::CNovatelCartesianLog* log) {
    PublishValue(m_logger, key, kSolutionInfoFormat, static_cast<int>(log->GetSolutionStatus()),
                 static_cast<int>(log->GetPositionType()),
                 static_cast<int>(log->GetVelocitySolutionStatus()),
                 static_cast<int>(log->GetVelocityType()), log->GetVelocityLatency(),
                 log->GetDifferentialAge(), log->GetSolutionAge(),
                 static_cast<int>(log->GetSatellitesTracked()),
                 static_cast<int>(log->GetSatellitesUsed()),
                 static_cast<int>(log->GetL1SatellitesUsed()),
                 static_cast<int>(log->GetMultiFrequencySatellitesUsed()), 0,
                 log->GetExtendedSolutionStatus(), 0, log->GetSignalMask());
}

void CPositionManager::NewPositionPacket(Novatel::CNovatelCartesianLog* log) {
    assert(m_positionAPI);

    Position::SECEFPositionSolutionData solution;
    log->GetPosition(solution.x, solution.y, solution.z);
    log->GetVelocity(solution.velocityX, solution.velocityY, solution.velocityZ);
    log->GetPositionStdDev(solution.sigmaX, solution.sigmaY, solution.sigmaZ);
    unsigned week = 0;
    double seconds = 0.0;
    log->GetGPSTime(week, seconds);
    solution.gpsWeek = week;
    solution.gpsSeconds = seconds;
    solution.systemTime = Core::Time::Now().Seconds();
    solution.solutionQuality = SolutionQuality(log);
    solution.positionQuality = PositionQuality(log);
    solution.differentialAge = log->GetDifferentialAge();

    solution.gpsSatellitesUsed = log->GetSatellitesUsed();
    solution.glonassSatellitesUsed = 0;
    const uint16_t messageId = log->GetMessageID();
    if (messageId == Novatel::kRTKXYZMessageID && m_rtkGPSSatellitesUsed > 0) {
        solution.gpsSatellitesUsed = m_rtkGPSSatellitesUsed;
        solution.glonassSatellitesUsed = m_rtkGLONASSSatellitesUsed;
    } else if (messageId == Novatel::kPDPXYZMessageID && m_pdpGPSSatellitesUsed > 0) {
        solution.gpsSatellitesUsed = m_pdpGPSSatellitesUsed;
        solution.glonassSatellitesUsed = m_pdpGLONASSSatellitesUsed;
    }
    solution.reserved = 0;

    // PSRDOP has no vertical dilution: the second value is the position and
    // time dilution, which bounds the position dilution from above.
    solution.horizontalDop = kUnknownPrecision;
    solution.positionDop = kUnknownPrecision;
    if (m_latestPSRDOP) {
        const double pdop = m_latestPSRDOP->GetPDOP();
        const double tdop = m_latestPSRDOP->GetTDOP();
        solution.horizontalDop = m_latestPSRDOP->GetHDOP();
        solution.positionDop = std::sqrt(pdop * pdop + tdop * tdop);
    }
    solution.solutionClass = SolutionClass(log->GetPositionType());
    solution.latency = log->GetVelocityLatency();

    m_positionAPI->SetECEFPositionData(solution);
    ++m_positionMessageCount;
    PublishValue(m_logger, "pos_messages", "%d", static_cast<int>(m_positionMessageCount));
}

bool CPositionManager::IsUnusable(const Novatel::CNovatelCartesianLog* log) {
    return log->GetSolutionStatus() != 0 || log->GetPositionType() == kTypePropagated ||
           SolutionClass(log->GetPositionType()) == Position::SOLUTION_CLASS_NONE;
}

uint32_t CPositionManager::SolutionQuality(const Novatel::CNovatelCartesianLog* log) {
    if (IsUnusable(log)) return 0;
    if (!m_latestPDPSTAT) return 1;
    switch (log->GetPositionType()) {
        case kTypeOmnistarHP:
        case kTypeNarrowInteger:
            return 3;
        case kTypeOmnistarXP:
        case kTypeWideInteger:
        case kTypeNarrowFloat:
            return 2;
        default:
            break;
    }
    if (log->GetMessageID() == Novatel::kRTKXYZMessageID) return 1;

    // A PDP solution: best only when the filter has converged and no lockout runs.
    const bool lockoutOver = m_lockoutTimer.HasExpired();
    if (lockoutOver) m_alarms.ClearAlarm(kObstructionLockoutAlarm);
    return lockoutOver && m_latestPDPSTAT->GetWord(kPDPSTATGoodSolutionWord) == 1 ? 2 : 1;
}

uint32_t CPositionManager::PositionQuality(const Novatel::CNovatelCartesianLog* log) const {
    if (IsUnusable(log)) return 0;
    if (!m_latestPDPSTAT) return 1;
    // Position types as the receiver numbers them (see SolutionClass).
    switch (log->GetPositionType()) {
        case 17:
        case 18:
        case 20:
        case 34:
        case 49:
        case 64:
        case 65:
        case 66:
            return 2;
        case 50:
            return 4;
        default:
            return 1;
    }
}

int32_t CPositionManager::SolutionClass(unsigned positionType) {
    switch (positionType) {
        case 16:
        case 17:
        case 18:
        case 20:
            return Position::SOLUTION_CLASS_CODE;
        case 32:
        case 33:
        case 48:
        case 66:
            return Position::SOLUTION_CLASS_FLOAT;
        case 34:
        case 49:
        case 50:
        case 51:
            return Position::SOLUTION_CLASS_FIXED;
        case 64:
        case 65:
            return Position::SOLUTION_CLASS_DIFFERENTIAL;
        default:
            return Position::SOLUTION_CLASS_NONE;
    }
}

void CPositionManager::BowringGeodetic(double x, double y, double z, double& latitude,
                                       double& longitude, double& height) {
    const double a = Core::Maths::WGS84_SEMI_MAJOR_AXIS;
    const double b = Core::Maths::WGS84_SEMI_MINOR_AXIS;
    const double e2 = Core::Maths::WGS84_FIRST_ECCENTRICITY_SQUARED;
    const double es2 = Core::Maths::WGS84_SECOND_ECCENTRICITY_SQUARED;

    const double p = std::sqrt(x * x + y * y);
    const double theta = std::atan2(z * a, p * b);
    const double sinTheta = std::sin(theta);
    const double cosTheta = std::cos(theta);
    latitude = std::atan2(z + es2 * b * sinTheta * sinTheta * sinTheta,
                          p - e2 * a * cosTheta * cosTheta * cosTheta);
    longitude = std::atan2(y, x);
    const double sinLatitude = std::sin(latitude);
    const double w = 1.0 - e2 * sinLatitude * sinLatitude;
    height = w > 0.0 ? p / std::cos(latitude) - a / std::sqrt(w) : 0.0;
}
