#pragma once
// CSentenceConstructor: the abstract framer. The receiver's byte stream mixes
// NovAtel binary logs, NovAtel ASCII sentences and NMEA sentences; each
// concrete framer recognises one kind, cuts complete sentences out of the
// stream once their checksum is right, and silently skips every other byte.
// The port handler gives every chunk it reads to each framer in turn, so the
// framers work independently on the same bytes.

#include <cstddef>
#include <cstdint>

#include "platform/Core/ByteVector.h"

class CSentenceConstructor {
public:
    CSentenceConstructor() = default;
    virtual ~CSentenceConstructor() = default;
    CSentenceConstructor(const CSentenceConstructor&) = delete;
    CSentenceConstructor& operator=(const CSentenceConstructor&) = delete;

    // Appends a chunk of the stream to the input queue. The queue has no limit;
    // bytes stay in it until the scanner consumes them.
    virtual void AddData(const ByteVector& data);

    // Runs the scanner once. 1: `sentence` is replaced by the next complete
    // sentence. -1: a candidate failed its checksum or length limit and
    // `sentence` is emptied. 0: more bytes are needed; `sentence` is untouched.
    virtual int GetSentence(ByteVector& sentence);

protected:
    // Consumes bytes from the front of the input queue until a sentence is
    // complete (it is then in m_completedSentence; result 1), a candidate
    // failed (-1) or the queue is empty (0). Never waits for input; the scanner
    // state and a partly assembled sentence survive until the next call.
    virtual int ExtractSentence() = 0;

    // The bytes in the input queue, front first, and how many there are. The
    // pointer is valid until the queue is next changed.
    const uint8_t* QueuedBytes() const { return m_input.data() + m_inputFront; }
    size_t QueuedCount() const { return m_input.size() - m_inputFront; }

    // Removes the first count bytes of the input queue (count must not exceed
    // its size).
    void DropQueuedBytes(size_t count);

    // Moves the first count bytes of the input queue to the end of the working
    // sentence (count must not exceed the queue's size).
    void MoveToWorkingSentence(size_t count);

    // Hands the working sentence over as the completed sentence.
    void CompleteWorkingSentence();

    // The offset of the first `byte` among the first count bytes at `bytes`, or
    // count when there is none.
    static size_t FindByte(const uint8_t* bytes, size_t count, uint8_t byte);

    // The offset of the first carriage return or line feed among the first count
    // bytes at `bytes`, or count when there is none.
    static size_t FindLineEnd(const uint8_t* bytes, size_t count);

    // The input queue: the bytes of m_input from m_inputFront on. Consuming
    // moves the front index instead of shifting bytes. The consumed part is
    // dropped as soon as the queue runs empty, or when data is added while it is
    // at least as large as the unread part; the buffer then never holds more
    // than twice the bytes left unread plus the chunk being added.
    ByteVector m_input;
    size_t m_inputFront = 0;
    ByteVector m_workingSentence;
    ByteVector m_completedSentence;
    // Deliberately unused: kept as part of every framer's state; nothing reads it.
    bool m_unusedFlag = false;
};
