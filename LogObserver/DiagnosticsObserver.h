#pragma once
// Turns the receiver's RXSTATUS log into the device's alarms: the receiver
// error word and the receiver status word are decoded bit by bit, and each
// alarm of a fixed table is raised or cleared whenever either word changes.

#include <cstdint>

#include "LogObserver/LogObserver.h"
#include "platform/Diagnostics/DiagnosticatorAPI.h"

class CConfig;

class CDiagnosticsObserver : public CLogObserver {
public:
    // The receiver's alarms, in the order they are raised or cleared. Two alarms
    // share code 70922 and are told apart by their index.
    static constexpr Diagnosticator::SDiagnosticId kTemperatureAlarm{79151, 0};
    static constexpr Diagnosticator::SDiagnosticId kSupplyVoltageAlarm{79161, 4};
    static constexpr Diagnosticator::SDiagnosticId kAntennaNotPoweredAlarm{70950, 4};
    static constexpr Diagnosticator::SDiagnosticId kAntennaOpenAlarm{70922, 5};
    static constexpr Diagnosticator::SDiagnosticId kAntennaShortedAlarm{70922, 6};
    static constexpr Diagnosticator::SDiagnosticId kCpuOverloadAlarm{79195, 0};
    static constexpr Diagnosticator::SDiagnosticId kPortOverrunAlarm{79203, 12};
    static constexpr Diagnosticator::SDiagnosticId kAlmanacInvalidAlarm{73505, 17};
    static constexpr Diagnosticator::SDiagnosticId kHardwareAlarm{79200, 12};
    static constexpr Diagnosticator::SDiagnosticId kFirmwareAlarm{79202, 12};
    static constexpr Diagnosticator::SDiagnosticId kSoftwareResourceAlarm{79207, 12};

    // Sends its alarms where the system configuration store says.
    CDiagnosticsObserver();
    // As above with the given store, which must outlive the observer.
    explicit CDiagnosticsObserver(CConfig& config);

    // Handles RXSTATUS records; ignores every other record.
    void NewPacket(CGPSRecord* record) override;

    // The alarm client, so its owner can ask which alarms are raised.
    const Diagnosticator::CDiagnosticatorAPI& GetAlarms() const { return m_alarms; }

private:
    // Raises or clears every alarm of the table for the two words.
    void UpdateAlarms(uint32_t errorWord, uint32_t statusWord);

    Diagnosticator::CDiagnosticatorAPI m_alarms;
    // Both start with every bit set, so the first RXSTATUS sets every alarm.
    uint32_t m_lastStatusWord = 0xFFFFFFFFu;
    uint32_t m_lastErrorWord = 0xFFFFFFFFu;
};
