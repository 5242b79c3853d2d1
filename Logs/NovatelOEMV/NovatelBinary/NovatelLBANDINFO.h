#pragma once
// Novatel::CNovatelLBANDINFO: the receiver's L-band service configuration:
// the frequency and rate it listens on, the service and the OmniSTAR
// subscriptions (VBS and HP) with their expiry. The words are kept as the
// receiver sends them; the enumerations are the receiver's own.

#include <cstdint>

#include "Logs/NovatelOEMV/LBandLog.h"
#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelLBANDINFO : public virtual CNovatelRecord, public CLBandLog {
public:
    ~CNovatelLBANDINFO() override = default;

    // The frequency selected for the L-band service, kHz.
    uint32_t GetFrequency() const { return m_frequency; }
    // The data rate of the L-band signal, baud.
    uint32_t GetBaudRate() const { return m_baudRate; }
    // The service ID of the L-band satellite.
    uint16_t GetServiceID() const { return m_serviceID; }
    // The reserved half-word after the service ID, as sent.
    uint16_t GetReserved() const { return m_reserved; }
    // The OmniSTAR serial number of the receiver.
    uint32_t GetOmnistarSerialNumber() const { return m_omnistarSerialNumber; }
    // The VBS subscription type (receiver enumeration).
    uint32_t GetVBSSubscription() const { return m_vbsSubscription; }
    // The GPS week and seconds of week at which the VBS subscription expires.
    uint32_t GetVBSExpiryWeek() const { return m_vbsExpiryWeek; }
    uint32_t GetVBSExpirySeconds() const { return m_vbsExpirySeconds; }
    // The HP subscription type (receiver enumeration).
    uint32_t GetHPSubscription() const { return m_hpSubscription; }
    // The GPS week and seconds of week at which the HP subscription expires.
    uint32_t GetHPExpiryWeek() const { return m_hpExpiryWeek; }
    uint32_t GetHPExpirySeconds() const { return m_hpExpirySeconds; }
    // The HP subscription mode (receiver enumeration: HP, XP, ...).
    uint32_t GetHPSubscriptionMode() const { return m_hpSubscriptionMode; }

protected:
    uint32_t m_frequency = 0;
    uint32_t m_baudRate = 0;
    uint16_t m_serviceID = 0;
    uint16_t m_reserved = 0;
    uint32_t m_omnistarSerialNumber = 0;
    uint32_t m_vbsSubscription = 0;
    uint32_t m_vbsExpiryWeek = 0;
    uint32_t m_vbsExpirySeconds = 0;
    uint32_t m_hpSubscription = 0;
    uint32_t m_hpExpiryWeek = 0;
    uint32_t m_hpExpirySeconds = 0;
    uint32_t m_hpSubscriptionMode = 0;
};

}  // namespace Novatel
