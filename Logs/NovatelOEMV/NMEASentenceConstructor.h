#pragma once
// The framer for NMEA sentences: "$", the text, "*", two hexadecimal checksum
// digits, and the line end. The sentence ends at the first carriage return or
// line feed, which is kept as its last byte, and is released only when its
// checksum is right. A "$" always starts a new sentence.

#include "Logs/NovatelOEMV/SentenceConstructor.h"

class CNMEASentenceConstructor : public CSentenceConstructor {
public:
    enum TextFrameState : unsigned {
        Idle = 0,        // outside a sentence, waiting for "$"
        InSentence = 1,  // collecting up to the line end
    };

    // Bytes a sentence may hold before the next non-terminating byte rejects it.
    // Deliberately smaller than the NovAtel ASCII framer's 4096.
    static constexpr size_t kMaxSentenceBytes = 1024;

    CNMEASentenceConstructor() = default;
    ~CNMEASentenceConstructor() override = default;

protected:
    int ExtractSentence() override;

private:
    // Empties the working sentence and starts it with "$".
    void StartSentence();

    unsigned m_state = Idle;
};
