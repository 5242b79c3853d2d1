#pragma once
// Novatel::CNovatelLBANDSTAT: the state of the receiver's L-band channel: the
// signal it tracks, how much OmniSTAR data it has decoded, and the VBS and HP
// status words, each decoded into named flags.

#include <cstdint>
#include <iostream>

#include "Logs/NovatelOEMV/LBandLog.h"
#include "Logs/NovatelOEMV/NovatelBinary/LBandStatusWords.h"
#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelLBANDSTAT : public virtual CNovatelRecord, public CLBandLog {
public:
    ~CNovatelLBANDSTAT() override;

    // The measured frequency of the L-band signal, Hz.
    uint32_t GetFrequency() const { return m_frequency; }
    // The carrier to noise density ratio, dB-Hz.
    float GetCNR() const { return m_cnr; }
    // How long the signal has been tracked without a break, seconds.
    float GetLockTime() const { return m_lockTime; }
    // The reserved single after the lock time, as sent.
    float GetReservedAt12() const { return m_reservedAt12; }
    // The signal tracking word, decoded.
    const CLBandSignalTracking& GetSignalTracking() const { return m_signalTracking; }
    // The OmniSTAR VBS status word, decoded.
    const COmnistarVBSStatusWord& GetVBSStatus() const { return m_vbsStatus; }
    // Bytes handed to the VBS decoder.
    uint32_t GetBytes() const { return m_bytes; }
    // Good differential messages decoded.
    uint32_t GetGoodDGPS() const { return m_goodDGPS; }
    // Bad data blocks seen.
    uint32_t GetBadData() const { return m_badData; }
    // The reserved half-word before the HP additional status, as sent.
    uint16_t GetReservedAt32() const { return m_reservedAt32; }
    // The OmniSTAR HP additional status word, decoded.
    const COmnistarHPAdditionalStatusWord& GetHPAdditionalStatus() const {
        return m_hpAdditionalStatus;
    }
    // Bytes handed to the HP decoder.
    uint32_t GetHPBytes() const { return m_hpBytes; }
    // The OmniSTAR HP status word, decoded.
    const COmnistarHPStatusWord& GetHPStatus() const { return m_hpStatus; }
    // The reserved word at the end of the log, as sent.
    uint32_t GetReservedAt44() const { return m_reservedAt44; }

    // Writes "[CNovatelLBANDSTAT]:" and the printed fields (raw words in
    // decimal), one line.
    void Print(std::ostream& out = std::cout) const;

protected:
    uint32_t m_frequency = 0;
    float m_cnr = 0.0f;
    float m_lockTime = 0.0f;
    float m_reservedAt12 = 0.0f;
    CLBandSignalTracking m_signalTracking;
    COmnistarVBSStatusWord m_vbsStatus;
    uint32_t m_bytes = 0;
    uint32_t m_goodDGPS = 0;
    uint32_t m_badData = 0;
    uint16_t m_reservedAt32 = 0;
    COmnistarHPAdditionalStatusWord m_hpAdditionalStatus;
    uint32_t m_hpBytes = 0;
    COmnistarHPStatusWord m_hpStatus;
    uint32_t m_reservedAt44 = 0;
};

}  // namespace Novatel
