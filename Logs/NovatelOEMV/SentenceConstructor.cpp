#include "Logs/NovatelOEMV/SentenceConstructor.h"

void CSentenceConstructor::AddData(const ByteVector& data) {
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

void CSentenceConstructor::MoveToWorkingSentence(size_t count) {
    const auto end = m_input.begin() + static_cast<std::ptrdiff_t>(count);
    m_workingSentence.insert(m_workingSentence.end(), m_input.begin(), end);
    m_input.erase(m_input.begin(), end);
}

void CSentenceConstructor::CompleteWorkingSentence() {
    // The working sentence is emptied before every new sentence starts, so
    // handing its buffer over instead of copying it changes nothing visible.
    m_completedSentence.swap(m_workingSentence);
    m_workingSentence.clear();
}
