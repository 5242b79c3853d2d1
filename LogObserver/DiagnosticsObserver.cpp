#include "LogObserver/DiagnosticsObserver.h"

#include "Logs/NovatelOEMV/LogCast.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRXSTATUS.h"
#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace {

// Every raise carries this argument.
constexpr int32_t kRaisedArgument = 1;

constexpr uint32_t Bit(unsigned n) { return 1u << n; }

// Receiver status word bits.
constexpr uint32_t kStatusTemperature = Bit(1);
constexpr uint32_t kStatusSupplyVoltage = Bit(2);
constexpr uint32_t kStatusAntennaNotPowered = Bit(3);
constexpr uint32_t kStatusAntennaOpen = Bit(5);
constexpr uint32_t kStatusAntennaShorted = Bit(6);
constexpr uint32_t kStatusCpuOverload = Bit(7);
constexpr uint32_t kStatusPortOverruns = Bit(8) | Bit(9) | Bit(10) | Bit(11);  // COM1-3, USB
constexpr uint32_t kStatusHardware = Bit(15) | Bit(17);                        // L1 and L2 AGC
constexpr uint32_t kStatusAlmanac = Bit(18);
constexpr uint32_t kStatusSoftwareResource = Bit(24);

// Receiver error word bits.
constexpr uint32_t kErrorInvalidFirmware = Bit(1);
constexpr uint32_t kErrorSupplyVoltage = Bit(7);
constexpr uint32_t kErrorTemperature = Bit(9);
// DRAM, ROM, ESN access, slow ADC, MINOS5, L1/L2 PLL, L1/L2 hardware, NVM,
// component hardware.
constexpr uint32_t kErrorHardware = Bit(0) | Bit(2) | Bit(4) | Bit(6) | Bit(10) | Bit(11) |
                                    Bit(12) | Bit(13) | Bit(14) | Bit(15) | Bit(31);
constexpr uint32_t kErrorSoftwareResource = Bit(16);

}  // namespace

CDiagnosticsObserver::CDiagnosticsObserver() {}

CDiagnosticsObserver::CDiagnosticsObserver(CConfig& config)
    : m_alarms(Diagnosticator::CDiagnosticatorAPI::kDefaultClientName, config) {}

void CDiagnosticsObserver::NewPacket(CGPSRecord* record) {
    if (!record) return;
    Novatel::CNovatelRecord* novatel = record->AsNovatelRecord();
    if (!novatel) return;
    Novatel::CNovatelRXSTATUS* rxstatus =
        Novatel::LogCast<Novatel::CNovatelRXSTATUS>(novatel, Novatel::kRXSTATUSMessageID);
    if (!rxstatus) return;

    const uint32_t errorWord = rxstatus->GetErrorWord();
    const uint32_t statusWord = rxstatus->GetStatusWord();
    if (errorWord == m_lastErrorWord && statusWord == m_lastStatusWord) return;
    m_lastErrorWord = errorWord;
    m_lastStatusWord = statusWord;
    UpdateAlarms(errorWord, statusWord);
}

void CDiagnosticsObserver::UpdateAlarms(uint32_t errorWord, uint32_t statusWord) {
    const struct {
        const Diagnosticator::SDiagnosticId& id;
        bool raised;
    } alarms[] = {
        {kTemperatureAlarm, (statusWord & kStatusTemperature) || (errorWord & kErrorTemperature)},
        {kSupplyVoltageAlarm,
         (statusWord & kStatusSupplyVoltage) || (errorWord & kErrorSupplyVoltage)},
        {kAntennaNotPoweredAlarm, (statusWord & kStatusAntennaNotPowered) != 0},
        {kAntennaOpenAlarm, (statusWord & kStatusAntennaOpen) != 0},
        {kAntennaShortedAlarm, (statusWord & kStatusAntennaShorted) != 0},
        {kCpuOverloadAlarm, (statusWord & kStatusCpuOverload) != 0},
        {kPortOverrunAlarm, (statusWord & kStatusPortOverruns) != 0},
        {kAlmanacInvalidAlarm, (statusWord & kStatusAlmanac) != 0},
        {kHardwareAlarm, (errorWord & kErrorHardware) || (statusWord & kStatusHardware)},
        {kFirmwareAlarm, (errorWord & kErrorInvalidFirmware) != 0},
        {kSoftwareResourceAlarm,
         (errorWord & kErrorSoftwareResource) || (statusWord & kStatusSoftwareResource)},
    };
    // Every alarm is sent at every change, so the alarm service's list is
    // right again even after it missed a datagram.
    for (const auto& alarm : alarms) {
        if (alarm.raised) {
            m_alarms.RaiseAlarm(alarm.id, kRaisedArgument);
        } else {
            m_alarms.ClearAlarm(alarm.id);
        }
    }
}
