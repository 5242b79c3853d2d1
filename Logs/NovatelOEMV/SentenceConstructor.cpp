#include "Logs/NovatelOEMV/SentenceConstructor.h"

#include <cstring>

void CSentenceConstructor::AddData(const ByteVector& data) {
    // Scanners normally empty the queue before the next chunk, which also resets it
    // (DropQueuedBytes). A caller that has not drained it leaves a consumed part in
    // front; it is dropped here once it is at least as large as the unread part, so
    // the shift costs no more than the bytes that were consumed.
    if (m_inputFront > 0 && m_inputFront >= QueuedCount()) {
        m_input.erase(m_input.begin(), m_input.begin() + static_cast<std::ptrdiff_t>(m_inputFront));
        m_inputFront = 0;
    }
    m_input.insert(m_input.end(), data.begin(), data.end());
}

int CSentenceConstructor::GetSentence(ByteVector& sentence) {
    const int result = ExtractSentence();
    if (result == 1) {
        // Swapping hands out the sentence without a copy and lets the caller's
        // old buffer serve as the next completed sentence.
        sentence.swap(m_completedSentence);
        m_completedSentence.clear();
        return 1;
    }
    if (result == -1) {
        sentence.clear();
        return -1;
    }
    return 0;
}

void CSentenceConstructor::DropQueuedBytes(size_t count) {
    m_inputFront += count;
    if (m_inputFront == m_input.size()) {
        // Empty: the buffer (and its capacity) is reused from its start.
        m_input.clear();
        m_inputFront = 0;
    }
}

void CSentenceConstructor::MoveToWorkingSentence(size_t count) {
    const uint8_t* front = QueuedBytes();
    m_workingSentence.insert(m_workingSentence.end(), front, front + count);
    DropQueuedBytes(count);
}

void CSentenceConstructor::CompleteWorkingSentence() {
    // The working sentence is emptied before every new sentence starts, so
    // handing its buffer over instead of copying it changes nothing visible.
    m_completedSentence.swap(m_workingSentence);
    m_workingSentence.clear();
}

size_t CSentenceConstructor::FindByte(const uint8_t* bytes, size_t count, uint8_t byte) {
    if (count == 0) return 0;
    const void* found = std::memchr(bytes, byte, count);
    return found ? static_cast<size_t>(static_cast<const uint8_t*>(found) - bytes) : count;
}

size_t CSentenceConstructor::FindLineEnd(const uint8_t* bytes, size_t count) {
    // Two library searches, the second only up to where the first stopped, cost far
    // less per byte than one loop that tests each byte for both.
    return FindByte(bytes, FindByte(bytes, count, '\r'), '\n');
}
