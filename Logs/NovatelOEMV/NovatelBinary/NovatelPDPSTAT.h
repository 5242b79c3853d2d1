#pragma once
// Novatel::CNovatelPDPSTAT: the receiver's PDPSTAT log, the state of its PDP
// filter. Its fields are kept as the receiver sends them, five integer words
// then three floating values, in frame order; the position manager reads the
// words by position (the fourth is the filter's phase flag). A PDPSTAT also
// closes a receiver epoch for the epoch flusher.

#include <cstddef>
#include <cstdint>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelPDPSTAT : public virtual CNovatelRecord {
public:
    static constexpr size_t kNumberOfWords = 5;
    static constexpr size_t kNumberOfValues = 3;

    ~CNovatelPDPSTAT() override = default;

    // Integer word `index` (0 to 4) in frame order; 0 for any other index.
    uint32_t GetWord(size_t index) const { return index < kNumberOfWords ? m_words[index] : 0; }
    // Floating value `index` (0 to 2) in frame order; 0 for any other index.
    double GetValue(size_t index) const { return index < kNumberOfValues ? m_values[index] : 0; }

protected:
    uint32_t m_words[kNumberOfWords] = {};
    double m_values[kNumberOfValues] = {};
};

}  // namespace Novatel
