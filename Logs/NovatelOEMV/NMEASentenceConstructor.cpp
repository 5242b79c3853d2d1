#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"

#include <algorithm>

#include "Logs/NovatelOEMV/SentenceChecksums.h"

namespace {

const uint8_t kSentenceStart = '$';

bool IsLineEnd(uint8_t byte) { return byte == '\r' || byte == '\n'; }

bool EndsRun(uint8_t byte) { return IsLineEnd(byte) || byte == kSentenceStart; }

}  // namespace

void CNMEASentenceConstructor::StartSentence() {
    m_workingSentence.clear();
    m_workingSentence.push_back(kSentenceStart);
    m_state = InSentence;
}

int CNMEASentenceConstructor::ExtractSentence() {
    while (!m_input.empty()) {
        if (m_state == Idle) {
            // Everything before the next "$" is dropped in one step.
            const auto start = std::find(m_input.begin(), m_input.end(), kSentenceStart);
            if (start == m_input.end()) {
                m_input.clear();
                return 0;
            }
            m_input.erase(m_input.begin(), start + 1);
            StartSentence();
            continue;
        }
        if (m_state != InSentence) {
            const uint8_t byte = m_input.front();
            m_input.pop_front();
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
        const auto runEnd =
            m_input.begin() + static_cast<std::ptrdiff_t>(std::min(room, m_input.size()));
        const auto stop =
            std::find_if(m_input.begin(), runEnd, [](uint8_t byte) { return EndsRun(byte); });
        MoveToWorkingSentence(static_cast<size_t>(stop - m_input.begin()));
        if (m_input.empty()) return 0;

        const uint8_t byte = m_input.front();
        m_input.pop_front();
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
