#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"

#include <algorithm>

#include "Logs/NovatelOEMV/SentenceChecksums.h"

namespace {

const uint8_t kSentenceStart = '$';

bool IsLineEnd(uint8_t byte) { return byte == '\r' || byte == '\n'; }

}  // namespace

void CNMEASentenceConstructor::StartSentence() {
    m_workingSentence.clear();
    m_workingSentence.push_back(kSentenceStart);
    m_state = InSentence;
}

int CNMEASentenceConstructor::ExtractSentence() {
    while (QueuedCount() > 0) {
        if (m_state == Idle) {
            // Everything before the next "$" is dropped in one step.
            const size_t queued = QueuedCount();
            const size_t start = FindByte(QueuedBytes(), queued, kSentenceStart);
            if (start == queued) {
                DropQueuedBytes(queued);
                return 0;
            }
            DropQueuedBytes(start + 1);
            StartSentence();
            continue;
        }
        if (m_state != InSentence) {
            const uint8_t byte = QueuedBytes()[0];
            DropQueuedBytes(1);
            if (byte == kSentenceStart) {
                StartSentence();
                continue;
            }
            m_workingSentence.clear();
            m_state = Idle;
            return -1;
        }

        // Bytes up to the line end or the next "$" join the sentence as one run, as far
        // as the limit allows: appending stops once the sentence holds more than it.
        const size_t held = m_workingSentence.size();
        const size_t room = held <= kMaxSentenceBytes ? kMaxSentenceBytes + 1 - held : 0;
        const size_t queued = QueuedCount();
        const uint8_t* bytes = QueuedBytes();
        const size_t run =
            FindByte(bytes, FindLineEnd(bytes, std::min(room, queued)), kSentenceStart);
        MoveToWorkingSentence(run);
        if (run == queued) return 0;

        const uint8_t byte = QueuedBytes()[0];
        DropQueuedBytes(1);
        if (byte == kSentenceStart) {
            // Deliberate: a "$" abandons the sentence silently, with no -1, so a sentence
            // cut short by the next one never counts as a checksum failure.
            StartSentence();
            continue;
        }
        m_state = Idle;
        if (IsLineEnd(byte)) {
            // Deliberately the CR or LF that ends the sentence stays as its last byte:
            // sentences are passed on whole, terminator included. The LF of a CR LF pair
            // then arrives while idle and is dropped.
            m_workingSentence.push_back(byte);
            if (HasValidNmeaChecksum(m_workingSentence)) {
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
