#pragma once
// The framer for NovAtel ASCII sentences (command responses and ASCII logs):
// "#", the text, "*", eight hexadecimal CRC-32 digits, and the line end. The
// sentence ends at the first carriage return or line feed, which is kept as its
// last byte, and is released only when its CRC is right.

#include "Logs/NovatelOEMV/SentenceConstructor.h"

namespace Novatel {

class CNovatelASCIISentenceConstructor : public CSentenceConstructor {
public:
    enum TextFrameState : unsigned {
        Idle = 0,        // outside a sentence, waiting for "#"
        InSentence = 1,  // collecting up to the line end
    };

    // Bytes a sentence may hold before the next non-terminating byte rejects it.
    // Deliberately larger than the NMEA framer's 1024; each framer keeps its own.
    static constexpr size_t kMaxSentenceBytes = 4096;

    CNovatelASCIISentenceConstructor() = default;
    ~CNovatelASCIISentenceConstructor() override = default;

protected:
    int ExtractSentence() override;

private:
    unsigned m_state = Idle;
};

}  // namespace Novatel
