#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"

#include <algorithm>

#include "Logs/NovatelOEMV/SentenceChecksums.h"

namespace Novatel {

namespace {

const uint8_t kSentenceStart = '#';

bool IsLineEnd(uint8_t byte) { return byte == '\r' || byte == '\n'; }

}  // namespace

int CNovatelASCIISentenceConstructor::ExtractSentence() {
    while (QueuedCount() > 0) {
        if (m_state == Idle) {
            // Everything before the next "#" is dropped in one step.
            const size_t queued = QueuedCount();
            const size_t start = FindByte(QueuedBytes(), queued, kSentenceStart);
            if (start == queued) {
                DropQueuedBytes(queued);
                return 0;
            }
            DropQueuedBytes(start + 1);
            m_workingSentence.clear();
            m_workingSentence.push_back(kSentenceStart);
            m_state = InSentence;
            continue;
        }
        if (m_state != InSentence) {
            DropQueuedBytes(1);
            m_workingSentence.clear();
            m_state = Idle;
            return -1;
        }

        // Bytes up to the line end join the sentence as one run, as far as the limit
        // allows: appending stops once the sentence holds more than the limit. A "#" in
        // here is an ordinary byte.
        const size_t held = m_workingSentence.size();
        const size_t room = held <= kMaxSentenceBytes ? kMaxSentenceBytes + 1 - held : 0;
        const size_t queued = QueuedCount();
        const size_t run = FindLineEnd(QueuedBytes(), std::min(room, queued));
        MoveToWorkingSentence(run);
        if (run == queued) return 0;

        const uint8_t byte = QueuedBytes()[0];
        DropQueuedBytes(1);
        m_state = Idle;
        if (IsLineEnd(byte)) {
            // Deliberately the CR or LF that ends the sentence stays as its last byte: the
            // checksum test expects a byte after the CRC digits. The LF of a CR LF pair
            // then arrives while idle and is dropped.
            m_workingSentence.push_back(byte);
            if (HasValidAsciiChecksum(m_workingSentence)) {
                CompleteWorkingSentence();
                return 1;
            }
            m_workingSentence.clear();
            return -1;
        }
        // Overlong: the byte that found the overflow is lost with the sentence.
        m_workingSentence.clear();
        return -1;
    }
    return 0;
}

}  // namespace Novatel
