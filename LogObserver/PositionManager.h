#pragma once
// The position manager: turns the receiver's RTKXYZ and PDPXYZ solutions into
// position solutions for the position service, hands the service the
// reference station's position and the geoid undulation (which the NMEA
// service shares), publishes position diagnostics as client
// "NovatelPositionManager", and runs the obstruction lockout that keeps PDP
// solutions at a low quality for a while after the receiver's PDP filter lost
// its phase measurements. Keys, codes and the lockout: docs/position-manager.md.

#include <cstdint>
#include <memory>

#include "LogObserver/LogObserver.h"
#include "platform/Core/Time.h"
#include "platform/Diagnostics/DiagnosticatorAPI.h"
#include "platform/Logging/RemoteLogger.h"
#include "platform/Net/NMEAHandlerAPI.h"
#include "platform/Position/PositionAPI.h"
#include "platform/Position/PositionSolution.h"

class CConfig;
class CGPSRecord;
class CReceiverStatusObserver;

namespace Novatel {
class CNovatelRecord;
class CNovatelCartesianLog;
class CNovatelPDPXYZ;
class CNovatelRTKXYZ;
class CNovatelPSRXYZ;
class CNovatelPDPSTAT;
class CNovatelPSRDOP;
class CNovatelSatsLog;
class CNovatelREFSTATION;
class CNovatelBESTPOS;
}  // namespace Novatel

class CPositionManager : public CLogObserver {
public:
    // The alarm raised while PDP solutions are held back after a phase outage.
    static const Diagnosticator::SDiagnosticId kObstructionLockoutAlarm;
    // Where the lockout's length is configured, and its default: whole seconds.
    static constexpr const char* kLockoutSection = "glide";
    static constexpr const char* kLockoutKey = "obstruction_lockout";
    static constexpr int32_t kDefaultLockoutSeconds = 60;
    // Software versions of the receiver card above this one keep PDP solutions
    // right after an outage themselves: the lockout is not run for them.
    static constexpr int32_t kLockoutLastSoftwareVersion = 10100;
    // Both precision values while no PSRDOP has arrived.
    static constexpr double kUnknownPrecision = 100.0;

    // A manager publishing where the system configuration store says and
    // reading the lockout length from it.
    CPositionManager();
    // As above with the given store, which must outlive the manager.
    explicit CPositionManager(CConfig& config);
    ~CPositionManager() override;

    CPositionManager(const CPositionManager&) = delete;
    CPositionManager& operator=(const CPositionManager&) = delete;

    // The observer that knows the receiver's software version; null (the
    // default) runs the lockout whatever the version.
    void SetStatusObserver(CReceiverStatusObserver* statusObserver) {
        m_statusObserver = statusObserver;
    }

    // Handles the position logs, PDPSTAT, PSRDOP, the satellite lists,
    // REFSTATION and BESTPOS; ignores every other record.
    void NewPacket(CGPSRecord* record) override;

    // Builds one solution from a Cartesian log and hands it to the position service.
    void NewPositionPacket(Novatel::CNovatelCartesianLog* log);

    // The lockout length read at construction.
    Core::Time GetLockoutDuration() const { return m_lockoutDuration; }

    // Solution class of a receiver position type (Position::SOLUTION_CLASS_...).
    static int32_t SolutionClass(unsigned positionType);
    // Geodetic latitude and longitude (radians) and ellipsoidal height
    // (metres) of an ECEF point on WGS-84, by Bowring's single-step formula:
    // well below a millimetre near the Earth's surface, which is all the
    // diagnostics need.
    static void BowringGeodetic(double x, double y, double z, double& latitude, double& longitude,
                                double& height);

private:
    void HandlePDPXYZ(Novatel::CNovatelPDPXYZ* log);
    void HandleRTKXYZ(Novatel::CNovatelRTKXYZ* log);
    void HandlePSRXYZ(const Novatel::CNovatelPSRXYZ* log);
    void HandlePSRDOP(const Novatel::CNovatelPSRDOP* record);
    void HandleSatsLog(const Novatel::CNovatelSatsLog* record);
    void HandleREFSTATION(const Novatel::CNovatelREFSTATION* record);
    void HandleBESTPOS(const Novatel::CNovatelBESTPOS* record);
    // Follows the latest PDPSTAT's phase flag (there must be one): restarts
    // the lockout while the flag stays 0 past its first epoch.
    void WatchPhaseFlag();
    // Publishes key with the fifteen status fields of a Cartesian log.
    void PublishSolutionInfo(const char* key, const Novatel::CNovatelCartesianLog* log);

    // Solution quality, 0 (none) to 3; clears the lockout alarm once the
    // lockout has run out.
    uint32_t SolutionQuality(const Novatel::CNovatelCartesianLog* log);
    // Position quality, 0 (none) to 4.
    uint32_t PositionQuality(const Novatel::CNovatelCartesianLog* log) const;
    // True when a solution of this log carries no position at all.
    static bool IsUnusable(const Novatel::CNovatelCartesianLog* log);

    std::unique_ptr<CPositionAPI> m_positionAPI;
    std::unique_ptr<CNMEAHandlerAPI> m_nmeaHandlerAPI;
    CRemoteLogger m_logger;
    CConfig& m_config;
    Diagnosticator::CDiagnosticatorAPI m_alarms;

    uint32_t m_pdpxyzCount = 0;
    uint32_t m_rtkxyzCount = 0;
    uint32_t m_psrdopCount = 0;
    uint32_t m_positionMessageCount = 0;

    std::unique_ptr<Novatel::CNovatelPDPSTAT> m_latestPDPSTAT;
    std::unique_ptr<Novatel::CNovatelPSRDOP> m_latestPSRDOP;

    Core::MonotonicTime m_lockoutTimer;  // expired until the first outage
    Core::Time m_lockoutDuration;
    int32_t m_previousPhaseFlag = 0;

    uint32_t m_rtkGPSSatellitesUsed = 0;
    uint32_t m_rtkGLONASSSatellitesUsed = 0;
    uint32_t m_pdpGPSSatellitesUsed = 0;
    uint32_t m_pdpGLONASSSatellitesUsed = 0;

    CReceiverStatusObserver* m_statusObserver = nullptr;
};
