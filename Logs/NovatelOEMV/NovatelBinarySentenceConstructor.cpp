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

}  // namespace

int CNovatelBinarySentenceConstructor::ExtractSentence() {
    while (!m_input.empty()) {
        switch (m_state) {
            case WaitSync1:
                SeekFirstSyncByte();
                break;
            case WaitSync2:
                if (m_input.front() == kSync2) {
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
                if (m_input.front() == kSync3) {
                    MoveToWorkingSentence(1);
                    m_state = ReadHeaderLength;
                } else {
                    // Deliberately not put back, unlike in WaitSync2, so a frame starting on
                    // this byte (AA 44 AA 44 12 ...) is missed; kept so the published frame
                    // and checksum counts stay comparable with the framer's history.
                    m_input.pop_front();
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
                m_input.pop_front();
                m_workingSentence.clear();
                m_state = WaitSync1;
                break;
        }
    }
    return 0;
}

void CNovatelBinarySentenceConstructor::SeekFirstSyncByte() {
    // Everything before the next first sync byte is dropped in one step.
    const auto sync = std::find(m_input.begin(), m_input.end(), kSync1);
    if (sync == m_input.end()) {
        m_input.clear();
        return;
    }
    m_input.erase(m_input.begin(), sync + 1);
    m_workingSentence.clear();
    m_workingSentence.push_back(kSync1);
    m_state = WaitSync2;
}

void CNovatelBinarySentenceConstructor::CollectHeader() {
    const size_t held = m_workingSentence.size();
    if (held < kHeaderBytesBeforeLengthHigh) {
        MoveToWorkingSentence(std::min(kHeaderBytesBeforeLengthHigh - held, m_input.size()));
        return;
    }
    MoveToWorkingSentence(1);
    m_messageLength = m_workingSentence[kMessageLengthOffset] +
                      256u * m_workingSentence[kMessageLengthOffset + 1];
    // Deliberately no limit on H or M and no check of H: a corrupted length makes the
    // framer collect up to 255 + 65535 + 4 bytes before the CRC rejects them as one
    // candidate, which the checksum counts rely on.
    m_expectedLength = m_messageLength + m_headerLength + kNovatelCrcSize;
    m_state = ReadBody;
}

int CNovatelBinarySentenceConstructor::CollectBody() {
    // At least one byte is taken even when the header claims a frame shorter than the
    // ten bytes already held; the CRC check then rejects it.
    const size_t held = m_workingSentence.size();
    const size_t wanted = held < m_expectedLength ? m_expectedLength - held : 1;
    MoveToWorkingSentence(std::min(wanted, m_input.size()));
    if (m_workingSentence.size() < m_expectedLength) return 0;
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
