#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"

#include <algorithm>

#include "Logs/NovatelOEMV/SentenceChecksums.h"

namespace Novatel {

namespace {

const uint8_t kSentenceStart = '#';

bool IsLineEnd(uint8_t byte) { return byte == '\r' || byte == '\n'; }

}  // namespace

int CNovatelASCIISentenceConstructor::ExtractSentence() {
    while (!m_input.empty()) {
        if (m_state == Idle) {
            // Everything before the next "#" is dropped in one step.
            const auto start = std::find(m_input.begin(), m_input.end(), kSentenceStart);
            if (start == m_input.end()) {
                m_input.clear();
                return 0;
            }
            m_input.erase(m_input.begin(), start + 1);
            m_workingSentence.clear();
            m_workingSentence.push_back(kSentenceStart);
            m_state = InSentence;
            continue;
        }
        if (m_state != InSentence) {
            m_input.pop_front();
            m_workingSentence.clear();
            m_state = Idle;
            return -1;
        }

        // Bytes up to the line end join the sentence as one run, as far as the limit
        // allows: appending stops once the sentence holds more than the limit. A "#" in
        // here is an ordinary byte.
        const size_t held = m_workingSentence.size();
        const size_t room = held <= kMaxSentenceBytes ? kMaxSentenceBytes + 1 - held : 0;
        const auto runEnd =
            m_input.begin() + static_cast<std::ptrdiff_t>(std::min(room, m_input.size()));
        const auto lineEnd =
            std::find_if(m_input.begin(), runEnd, [](uint8_t byte) { return IsLineEnd(byte); });
        MoveToWorkingSentence(static_cast<size_t>(lineEnd - m_input.begin()));
        if (m_input.empty()) return 0;

        const uint8_t byte = m_input.front();
        m_input.pop_front();
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
