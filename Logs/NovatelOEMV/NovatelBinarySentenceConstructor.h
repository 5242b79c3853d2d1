#pragma once
// The framer for NovAtel binary logs: finds the three sync bytes, reads the
// header and message lengths out of the header, collects exactly header +
// message + CRC and releases the frame only when its CRC-32 is right.

#include "Logs/NovatelOEMV/SentenceConstructor.h"

namespace Novatel {

class CNovatelBinarySentenceConstructor : public CSentenceConstructor {
public:
    // What the scanner is waiting for.
    enum BinaryFrameState : unsigned {
        WaitSync1 = 0,         // 0xAA
        WaitSync2 = 1,         // 0x44
        WaitSync3 = 2,         // 0x12
        ReadHeaderLength = 3,  // the header length byte
        ReadHeader = 4,        // header bytes up to and including the message length
        ReadBody = 5,          // the rest of the frame up to the expected length
    };

    CNovatelBinarySentenceConstructor() = default;
    ~CNovatelBinarySentenceConstructor() override = default;

protected:
    int ExtractSentence() override;

private:
    // WaitSync1: drops everything up to the next 0xAA and starts a frame with it.
    // When the ten bytes up to the message length are queued behind it, the sync,
    // header length and message length steps are taken here at once, with the
    // outcome the byte-wise states would reach, and as much of the frame as is
    // queued is collected in one step; the result of ExtractSentence, or 0.
    int SeekFirstSyncByte();
    // ReadHeader: collects the header up to the message length and works out the
    // expected frame length.
    void CollectHeader();
    // Takes the header and message lengths from the first ten bytes of the frame
    // at frameStart and moves on to ReadBody.
    void StartBody(const uint8_t* frameStart);
    // The bytes ReadBody collects: the expected length, but at least one byte
    // more than the ten held when the length became known.
    size_t CandidateLength() const;
    // ReadBody: collects up to the expected length, then checks the CRC; the
    // result of ExtractSentence, or 0 while bytes are missing.
    int CollectBody();
    // Checks the CRC of the complete candidate and returns to WaitSync1; 1 when
    // it passed (the frame is then the completed sentence), -1 when it failed.
    int CheckFrame();

    unsigned m_state = WaitSync1;
    unsigned m_expectedLength = 0;  // header + message + CRC, once the header says
    unsigned m_messageLength = 0;
    unsigned m_headerLength = 0;
};

}  // namespace Novatel
