#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"

#include <algorithm>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// The part of the frame layout the framer reads, in frame order.
const uint8_t kSync1 = 0xAA;            // offset 0
const uint8_t kSync2 = 0x44;            // offset 1
const uint8_t kSync3 = 0x12;            // offset 2
const size_t kHeaderLengthOffset = 3;   // unsigned 8: header length H, counted from offset 0
const size_t kMessageLengthOffset = 8;  // unsigned 16 LE: message length M, the body bytes
                                        // after the header; the CRC-32 follows the body

// The header is collected up to the low byte of the message length; the next
// byte completes the length.
const size_t kHeaderBytesBeforeLengthHigh = kMessageLengthOffset + 1;
// Bytes from the first sync byte to the end of the message length.
const size_t kFrameStartBytes = kMessageLengthOffset + 2;

}  // namespace

int CNovatelBinarySentenceConstructor::ExtractSentence() {
    while (QueuedCount() > 0) {
        switch (m_state) {
            case WaitSync1: {
                const int result = SeekFirstSyncByte();
                if (result != 0) return result;
                break;
            }
            case WaitSync2:
                if (QueuedBytes()[0] == kSync2) {
                    MoveToWorkingSentence(1);
                    m_state = WaitSync3;
                } else {
                    // The byte stays at the front (is put back) and is examined again as a
                    // first sync byte, so a run such as AA AA 44 12 still finds its frame.
                    m_workingSentence.clear();
                    m_state = WaitSync1;
                }
                break;
            case WaitSync3:
                if (QueuedBytes()[0] == kSync3) {
                    MoveToWorkingSentence(1);
                    m_state = ReadHeaderLength;
                } else {
                    // Deliberately not put back, unlike in WaitSync2, so a frame starting on
                    // this byte (AA 44 AA 44 12 ...) is missed; kept so the published frame
                    // and checksum counts stay comparable with the framer's history.
                    DropQueuedBytes(1);
                    m_workingSentence.clear();
                    m_state = WaitSync1;
                }
                break;
            case ReadHeaderLength:
                MoveToWorkingSentence(1);
                m_headerLength = m_workingSentence[kHeaderLengthOffset];
                m_state = ReadHeader;
                break;
            case ReadHeader:
                CollectHeader();
                break;
            case ReadBody: {
                const int result = CollectBody();
                if (result != 0) return result;
                break;
            }
            default:
                DropQueuedBytes(1);
                m_workingSentence.clear();
                m_state = WaitSync1;
                break;
        }
    }
    return 0;
}

int CNovatelBinarySentenceConstructor::SeekFirstSyncByte() {
    // Everything before the next first sync byte is dropped in one step.
    const size_t queued = QueuedCount();
    const size_t sync = FindByte(QueuedBytes(), queued, kSync1);
    if (sync == queued) {
        DropQueuedBytes(queued);
        return 0;
    }
    m_workingSentence.clear();
    if (queued - sync < kFrameStartBytes) {
        // The start of the frame is split across chunks: the states take it byte by byte.
        DropQueuedBytes(sync + 1);
        m_workingSentence.push_back(kSync1);
        m_state = WaitSync2;
        return 0;
    }
    const uint8_t* start = QueuedBytes() + sync;
    if (start[1] != kSync2) {
        // As in WaitSync2: the byte after the AA is examined again as a first sync byte.
        DropQueuedBytes(sync + 1);
        return 0;
    }
    if (start[2] != kSync3) {
        // As in WaitSync3: the byte in place of the third sync byte is dropped with
        // the two before it, deliberately (see there).
        DropQueuedBytes(sync + 3);
        return 0;
    }
    StartBody(start);
    // The whole candidate, or what has arrived of it, in one step; ReadBody waits for
    // the rest.
    DropQueuedBytes(sync);
    const size_t candidate = CandidateLength();
    MoveToWorkingSentence(std::min(candidate, QueuedCount()));
    return m_workingSentence.size() == candidate ? CheckFrame() : 0;
}

void CNovatelBinarySentenceConstructor::CollectHeader() {
    const size_t held = m_workingSentence.size();
    if (held < kHeaderBytesBeforeLengthHigh) {
        MoveToWorkingSentence(std::min(kHeaderBytesBeforeLengthHigh - held, QueuedCount()));
        return;
    }
    MoveToWorkingSentence(1);
    StartBody(m_workingSentence.data());
}

void CNovatelBinarySentenceConstructor::StartBody(const uint8_t* frameStart) {
    m_headerLength = frameStart[kHeaderLengthOffset];
    m_messageLength =
        frameStart[kMessageLengthOffset] + 256u * frameStart[kMessageLengthOffset + 1];
    // Deliberately no limit on H or M and no check of H: a corrupted length makes the
    // framer collect up to 255 + 65535 + 4 bytes before the CRC rejects them as one
    // candidate, which the checksum counts rely on.
    m_expectedLength = m_messageLength + m_headerLength + kNovatelCrcSize;
    // One allocation at most for the whole frame instead of a growth step per chunk.
    m_workingSentence.reserve(CandidateLength());
    m_state = ReadBody;
}

size_t CNovatelBinarySentenceConstructor::CandidateLength() const {
    // A header claiming a frame shorter than the ten bytes read before its length was
    // known still costs one byte more; the CRC check then rejects the candidate.
    return std::max<size_t>(m_expectedLength, kFrameStartBytes + 1);
}

int CNovatelBinarySentenceConstructor::CollectBody() {
    // Fewer bytes than the candidate are held whenever ReadBody is entered.
    const size_t candidate = CandidateLength();
    MoveToWorkingSentence(std::min(candidate - m_workingSentence.size(), QueuedCount()));
    return m_workingSentence.size() == candidate ? CheckFrame() : 0;
}

int CNovatelBinarySentenceConstructor::CheckFrame() {
    // Bytes of a rejected frame are never searched for a new sync pattern: the scan
    // resumes after the frame's last byte.
    m_state = WaitSync1;
    if (HasValidCrc(m_workingSentence)) {
        CompleteWorkingSentence();
        return 1;
    }
    m_workingSentence.clear();
    return -1;
}

}  // namespace Novatel
