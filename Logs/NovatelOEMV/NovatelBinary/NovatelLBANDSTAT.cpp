#include "Logs/NovatelOEMV/NovatelBinary/NovatelLBANDSTAT.h"

namespace Novatel {

CNovatelLBANDSTAT::~CNovatelLBANDSTAT() = default;

void CNovatelLBANDSTAT::Print(std::ostream& out) const {
    // The same separator as the decoded words' lines.
    out << "[CNovatelLBANDSTAT]:"
        << " Frequency=" << m_frequency << " CNR=" << m_cnr << " Locktime=" << m_lockTime
        << " RawSignalTracking=" << m_signalTracking.GetRawWord()
        << " RawVBSStatus=" << m_vbsStatus.GetRawWord() << " Bytes=" << m_bytes
        << " GoodDGPS=" << m_goodDGPS << " BadData=" << m_badData
        << " RawHPAdditionalStatus=" << m_hpAdditionalStatus.GetRawWord()
        << " HPBytes=" << m_hpBytes << " RawHPStatus=" << m_hpStatus.GetRawWord() << '\n';
}

}  // namespace Novatel
