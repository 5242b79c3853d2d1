#include "LogObserver/ReceiverStatusObserver.h"

#include <cstdio>
#include <string>

#include "LogObserver/ReceiverStatusTexts.h"
#include "LogObserver/TrackingSummary.h"
#include "Logs/NovatelOEMV/LogCast.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelCHANCONFIGLIST.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelCOMCONFIG.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSTAT.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRANGE.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRXSTATUS.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelTIME.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelTRACKSTAT.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelVERSION.h"
#include "Logs/NovatelOEMV/NovatelLengthCheck.h"
#include "Logs/NovatelOEMV/NovatelRecord.h"
#include "platform/Config/Config.h"
#include "platform/Core/Utilities.h"

namespace {

// The prefix of the firmware whose software version carries its number
// ("L6X10200" is version 10200).
const char kNumberedVersionPrefix[] = "L6X";
const size_t kNumberedVersionPrefixLength = sizeof kNumberedVersionPrefix - 1;

// The ports published from COMCONFIG, by the receiver's port identifier.
struct SPublishedPort {
    uint32_t port;
    const char* key;
};
const SPublishedPort kPublishedPorts[] = {
    {1, "COM1_Config"},  {2, "COM2_Config"},  {13, "USB1_Config"},
    {14, "USB2_Config"}, {15, "USB3_Config"},
};

const char kTrackstatFunction[] =
    "void CReceiverStatusObserver::NewPacket_TRACKSTAT(const Novatel::CNovatelTRACKSTAT*)";

// The seconds of week of a record's header.
double SecondsOf(const Novatel::CNovatelRecord& record) {
    unsigned week = 0;
    double seconds = 0.0;
    record.GetGPSTime(week, seconds);
    return seconds;
}

}  // namespace

const char CReceiverStatusObserver::kClientName[] = "NovatelReceiverStatus";
const Diagnosticator::SDiagnosticId CReceiverStatusObserver::kCPULoadAlarm = {79196, 0};

CReceiverStatusObserver::CReceiverStatusObserver()
    : CReceiverStatusObserver(CConfig::GetSystemConfig()) {}

CReceiverStatusObserver::CReceiverStatusObserver(CConfig& config)
    : m_logger(kClientName, config),
      m_alarms(kClientName, config),
      m_versionStrings(kNumberOfVersionStrings),
      m_trackingCounters(kNumberOfTrackingCounters, 0) {
    // Clients of the position service see an empty sky until the first TRACKSTAT.
    m_positionAPI.SetSkyView(m_skyView);
}

CReceiverStatusObserver::~CReceiverStatusObserver() = default;

void CReceiverStatusObserver::NewPacket(CGPSRecord* record) {
    if (record == nullptr) return;
    const Novatel::CNovatelRecord* novatel = record->AsNovatelRecord();
    if (novatel == nullptr) return;

    PublishHeaderValues(*novatel);

    if (auto* version =
            Novatel::LogCast<const Novatel::CNovatelVERSION>(novatel, Novatel::kVERSIONMessageID)) {
        NewPacket_VERSION(version);
    }
    if (auto* rxstatus = Novatel::LogCast<const Novatel::CNovatelRXSTATUS>(
            novatel, Novatel::kRXSTATUSMessageID)) {
        NewPacket_RXSTATUS(rxstatus);
    }
    if (auto* comconfig = Novatel::LogCast<const Novatel::CNovatelCOMCONFIG>(
            novatel, Novatel::kCOMCONFIGMessageID)) {
        NewPacket_COMCONFIG(comconfig);
    }
    if (auto* trackstat = Novatel::LogCast<const Novatel::CNovatelTRACKSTAT>(
            novatel, Novatel::kTRACKSTATMessageID)) {
        NewPacket_TRACKSTAT(trackstat);
    }
    if (auto* range =
            Novatel::LogCast<const Novatel::CNovatelRANGE>(novatel, Novatel::kRANGEMessageID)) {
        NewPacket_RANGE(range);
    }
    if (auto* pdpstat =
            Novatel::LogCast<const Novatel::CNovatelPDPSTAT>(novatel, Novatel::kPDPSTATMessageID)) {
        NewPacket_PDPSTAT(pdpstat);
    }
    if (auto* chanconfiglist = Novatel::LogCast<const Novatel::CNovatelCHANCONFIGLIST>(
            novatel, Novatel::kCHANCONFIGLISTMessageID)) {
        NewPacket_CHANCONFIGLIST(chanconfiglist);
    }
    if (auto* time =
            Novatel::LogCast<const Novatel::CNovatelTIME>(novatel, Novatel::kTIMEMessageID)) {
        // The clock is set before the TIME log is published, so readers of
        // the current time see this log's time from here on.
        unsigned week = 0;
        double seconds = 0.0;
        time->GetGPSTime(week, seconds);
        m_currentGPSWeek = week;
        m_currentTimeSeconds = seconds;
        NewPacket_TIME(time);
    }
}

void CReceiverStatusObserver::PublishHeaderValues(const Novatel::CNovatelRecord& record) {
    const uint32_t status = record.GetReceiverStatus();
    if (!m_headerPublished || status != m_lastReceiverStatus) {
        m_lastReceiverStatus = status;
        PublishValue(m_logger, "ReceiverStatus", "0x%08X: %s", status,
                     ReceiverStatusTexts::StatusWordText(status).c_str());
    }

    const uint32_t idle = record.GetIdleTime();
    if (!m_headerPublished || idle != m_lastIdleTime) {
        m_lastIdleTime = idle;
        PublishValue(m_logger, "ReceiverCPUIdlePercentage", "%.1f", idle * 0.5);
        // Touched on changes only: the alarm service keeps the state between them.
        if (idle <= kCPULoadIdleLimit) {
            m_alarms.RaiseAlarm(kCPULoadAlarm, static_cast<int32_t>(idle));
        } else {
            m_alarms.ClearAlarm(kCPULoadAlarm);
        }
    }
    m_headerPublished = true;
}

void CReceiverStatusObserver::NewPacket_VERSION(const Novatel::CNovatelVERSION* record) {
    ++m_counters.version;
    PublishValue(m_logger, "version_messages", "%d", m_counters.version);

    const std::vector<Novatel::CNovatelVERSION::SComponent>& components = record->GetComponents();
    // The receiver card is the component whose facts are kept; a log that
    // does not name one is taken to list the card first.
    size_t card = 0;
    for (size_t i = 0; i < components.size(); ++i) {
        if (components[i].GetType() == Novatel::CNovatelVERSION::kReceiverCardComponent) {
            card = i;
            break;
        }
    }

    for (size_t i = 0; i < components.size(); ++i) {
        const Novatel::CNovatelVERSION::SComponent& component = components[i];
        const int32_t number = TranslateReceiverVersion(record, i);
        if (i == card) {
            m_softwareVersionNumber = number;
            m_versionStrings[kVersionModel] = component.GetModel();
            m_versionStrings[kVersionSerialNumber] = component.GetSerialNumber();
            m_versionStrings[kVersionHardware] = component.GetHardwareVersion();
            m_versionStrings[kVersionSoftware] = component.GetSoftwareVersion();
        }

        const int index = static_cast<int>(i);
        char key[64];
        const struct {
            const char* field;
            std::string value;
        } fields[] = {
            {"componentType", ReceiverStatusTexts::ComponentTypeName(component.GetType())},
            {"model", component.GetModel()},
            {"psn", component.GetSerialNumber()},
            {"hardwareVersion", component.GetHardwareVersion()},
            {"softwareVersion", component.GetSoftwareVersion()},
        };
        for (const auto& field : fields) {
            std::snprintf(key, sizeof key, "component_%02d.%s", index, field.field);
            PublishValue(m_logger, key, "%s", field.value.c_str());
        }
    }
}

int32_t CReceiverStatusObserver::TranslateReceiverVersion(const Novatel::CNovatelVERSION* record,
                                                          size_t component) {
    const std::string software = record->GetComponents()[component].GetSoftwareVersion();
    int32_t number = -1;
    if (software.compare(0, kNumberedVersionPrefixLength, kNumberedVersionPrefix) == 0) {
        Core::Utilities::ParseInt(software.substr(kNumberedVersionPrefixLength), number);
    }
    LogLine(
        m_logger,
        "CReceiverStatusObserver::TranslateReceiverVersion: got sw_version_int %d from version %s",
        number, software.c_str());
    return number;
}

void CReceiverStatusObserver::NewPacket_RXSTATUS(const Novatel::CNovatelRXSTATUS* record) {
    ++m_counters.rxstatus;
    PublishValue(m_logger, "rxstatus_messages", "%d,%lf", m_counters.rxstatus, SecondsOf(*record));
    const uint32_t error = record->GetErrorWord();
    PublishValue(m_logger, "ReceiverError", "0x%08X: %s", error,
                 ReceiverStatusTexts::ErrorWordText(error).c_str());
}

void CReceiverStatusObserver::NewPacket_COMCONFIG(const Novatel::CNovatelCOMCONFIG* record) {
    ++m_counters.comconfig;
    PublishValue(m_logger, "comconfig_messages", "%d,%lf", m_counters.comconfig,
                 SecondsOf(*record));
    for (const Novatel::CNovatelCOMCONFIG::SPortConfig& port : record->GetPorts()) {
        for (const SPublishedPort& published : kPublishedPorts) {
            if (port.m_port != published.port) continue;
            PublishValue(
                m_logger, published.key, "%d,%s,%s", static_cast<int>(port.m_baudRate),
                ReceiverStatusTexts::PortProtocolName(port.m_receiveInterfaceMode).c_str(),
                ReceiverStatusTexts::PortProtocolName(port.m_transmitInterfaceMode).c_str());
        }
    }
}

void CReceiverStatusObserver::NewPacket_TRACKSTAT(const Novatel::CNovatelTRACKSTAT* record) {
    // The record holds as many channels as it announces; the summary relies on it.
    NOVATEL_CHECK_LENGTH(record->GetChannels().size() == record->GetNumberOfChannels(),
                         "record->GetChannels().size() == record->GetNumberOfChannels()",
                         kTrackstatFunction);
    ++m_counters.trackstat;
    PublishValue(m_logger, "trackstat_messages", "%d,%lf", m_counters.trackstat,
                 SecondsOf(*record));

    const STrackingSummary summary = SummariseTracking(*record);
    std::string sbas;
    for (int32_t prn : summary.sbasPRNs) {
        char entry[64];
        std::snprintf(entry, sizeof entry, "%d (%s),", static_cast<int>(prn),
                      ReceiverStatusTexts::SBASSystemName(prn).c_str());
        sbas += entry;
    }
    PublishValue(m_logger, "sbas_tracking", "%s", sbas.c_str());
    PublishValue(m_logger, "sats_tracked_gps", "%d,%d", summary.gpsTracked, summary.gpsUsed);
    PublishValue(m_logger, "sats_tracked_glonass", "%d,%d", summary.glonassTracked,
                 summary.glonassUsed);
    PublishValue(m_logger, "sats_tracked", "%d,%d,%d", summary.TotalTracked(), summary.TotalUsed(),
                 summary.sbasTracked);

    m_trackingCounters[kTrackedGPS] = summary.gpsTracked;
    m_trackingCounters[kUsedGPS] = summary.gpsUsed;
    m_trackingCounters[kTrackedGLONASS] = summary.glonassTracked;
    m_trackingCounters[kUsedGLONASS] = summary.glonassUsed;
    m_trackingCounters[kTrackedSBAS] = summary.sbasTracked;

    m_skyView = summary.skyView;
    m_positionAPI.SetSkyView(m_skyView);
}

void CReceiverStatusObserver::NewPacket_RANGE(const Novatel::CNovatelRANGE* record) {
    ++m_counters.range;
    PublishValue(m_logger, "range_messages", "%d,%lf", m_counters.range, SecondsOf(*record));
}

void CReceiverStatusObserver::NewPacket_PDPSTAT(const Novatel::CNovatelPDPSTAT* record) {
    ++m_counters.pdpstat;
    PublishValue(m_logger, "pdpstat_messages", "%d,%lf", m_counters.pdpstat, SecondsOf(*record));
}

void CReceiverStatusObserver::NewPacket_CHANCONFIGLIST(
    const Novatel::CNovatelCHANCONFIGLIST* /*record*/) {
    ++m_counters.chanconfiglist;
    PublishValue(m_logger, "chanconfiglist_messages", "%d", m_counters.chanconfiglist);
}

void CReceiverStatusObserver::NewPacket_TIME(const Novatel::CNovatelTIME* /*record*/) {
    ++m_counters.time;
    PublishValue(m_logger, "time_messages", "%d", m_counters.time);
    PublishValue(m_logger, "gps_time", "%u,%.3f", static_cast<unsigned>(m_currentGPSWeek),
                 m_currentTimeSeconds);
}
