#pragma once
// The receiver status observer: publishes the receiver's health (status word,
// CPU idle time, error word), clock, tracking, versions and port settings as
// diagnostic values, raises the CPU-load alarm, hands the satellites in view
// to the position service, and keeps the receiver facts other components read
// (software version number, current GPS time, version strings, tracking
// counters). docs/receiver-status.md lists the keys and their formats.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "LogObserver/LogObserver.h"
#include "platform/Diagnostics/DiagnosticatorAPI.h"
#include "platform/Logging/RemoteLogger.h"
#include "platform/Position/PositionAPI.h"

class CConfig;
class CGPSRecord;

namespace Novatel {
class CNovatelRecord;
class CNovatelVERSION;
class CNovatelRXSTATUS;
class CNovatelCOMCONFIG;
class CNovatelTRACKSTAT;
class CNovatelRANGE;
class CNovatelPDPSTAT;
class CNovatelCHANCONFIGLIST;
class CNovatelTIME;
}  // namespace Novatel

class CReceiverStatusObserver : public CLogObserver {
public:
    // The client name of the observer's datagrams (values, lines and alarms).
    static const char kClientName[];  // "NovatelReceiverStatus"
    // The CPU-load alarm (code 79196, index 0): raised while the receiver's
    // processor is idle 2.5 % of the time or less.
    static const Diagnosticator::SDiagnosticId kCPULoadAlarm;
    // The idle time, in the header's half-percent steps, at or below which the
    // CPU-load alarm is raised.
    static constexpr uint32_t kCPULoadIdleLimit = 5;

    // Positions in GetVersionStrings.
    enum EVersionString {
        kVersionModel,
        kVersionSerialNumber,
        kVersionHardware,
        kVersionSoftware,
        kNumberOfVersionStrings
    };
    // Positions in GetTrackingCounters.
    enum ETrackingCounter {
        kTrackedGPS,
        kUsedGPS,
        kTrackedGLONASS,
        kUsedGLONASS,
        kTrackedSBAS,
        kNumberOfTrackingCounters
    };

    // An observer publishing where the system configuration store says.
    CReceiverStatusObserver();
    // As above with the given store, which must outlive the observer.
    explicit CReceiverStatusObserver(CConfig& config);
    ~CReceiverStatusObserver() override;

    CReceiverStatusObserver(const CReceiverStatusObserver&) = delete;
    CReceiverStatusObserver& operator=(const CReceiverStatusObserver&) = delete;

    // Publishes the header's status word and idle time of every NovAtel
    // record when they change, then handles the logs this observer knows.
    void NewPacket(CGPSRecord* record) override;

    // The receiver card's software version as a number ("L6X10200" gives
    // 10200); -1 until a VERSION log gave one, and after one that did not.
    int32_t GetSoftwareVersionNumber() const { return m_softwareVersionNumber; }
    // Seconds of the GPS week of the last TIME log; 0.0 until the first.
    double GetCurrentTimeSeconds() const { return m_currentTimeSeconds; }
    // GPS week of the last TIME log; 0 until the first.
    uint32_t GetCurrentGPSWeek() const { return m_currentGPSWeek; }
    // The receiver card's model, serial number, hardware version and software
    // version, in that order (EVersionString); empty until a VERSION log.
    std::vector<std::string> GetVersionStrings() const { return m_versionStrings; }
    // From the last TRACKSTAT log: GPS satellites tracked and used in the
    // solution, GLONASS tracked and used, SBAS tracked, in that order
    // (ETrackingCounter); all 0 until the first.
    std::vector<int32_t> GetTrackingCounters() const { return m_trackingCounters; }
    // The sky view last handed to the position service (empty at first).
    const std::vector<CPositionAPI::sSSatinfo>& GetSkyView() const { return m_skyView; }

private:
    // Messages handled, one count per log.
    struct SMessageCounters {
        int32_t pdpstat = 0;
        int32_t range = 0;
        int32_t trackstat = 0;
        int32_t time = 0;
        int32_t rxstatus = 0;
        int32_t version = 0;
        int32_t comconfig = 0;
        int32_t chanconfiglist = 0;
    };

    void PublishHeaderValues(const Novatel::CNovatelRecord& record);
    void NewPacket_VERSION(const Novatel::CNovatelVERSION* record);
    void NewPacket_RXSTATUS(const Novatel::CNovatelRXSTATUS* record);
    void NewPacket_COMCONFIG(const Novatel::CNovatelCOMCONFIG* record);
    void NewPacket_TRACKSTAT(const Novatel::CNovatelTRACKSTAT* record);
    void NewPacket_RANGE(const Novatel::CNovatelRANGE* record);
    void NewPacket_PDPSTAT(const Novatel::CNovatelPDPSTAT* record);
    void NewPacket_CHANCONFIGLIST(const Novatel::CNovatelCHANCONFIGLIST* record);
    void NewPacket_TIME(const Novatel::CNovatelTIME* record);
    // The software version number of one VERSION component (-1 unless its
    // software version is "L6X" and a number), logged as a line.
    int32_t TranslateReceiverVersion(const Novatel::CNovatelVERSION* record, size_t component);

    CRemoteLogger m_logger;
    Diagnosticator::CDiagnosticatorAPI m_alarms;
    CPositionAPI m_positionAPI;

    int32_t m_softwareVersionNumber = -1;
    uint32_t m_currentGPSWeek = 0;
    double m_currentTimeSeconds = 0.0;
    // The header values last published; nothing is published before the first record.
    bool m_headerPublished = false;
    uint32_t m_lastReceiverStatus = 0;
    uint32_t m_lastIdleTime = 0;
    SMessageCounters m_counters;
    std::vector<std::string> m_versionStrings;
    std::vector<int32_t> m_trackingCounters;
    std::vector<CPositionAPI::sSSatinfo> m_skyView;
};
