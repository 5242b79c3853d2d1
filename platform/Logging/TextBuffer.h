#pragma once
// A growable run of characters that text is written into in place: kept by its
// owner and cleared, not freed, between uses, so writing a datagram allocates
// nothing once the buffer has grown to the largest one.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace Logging {

class CTextBuffer {
public:
    // An empty buffer with room for initialCapacity characters.
    explicit CTextBuffer(size_t initialCapacity = 256);

    const char* Data() const { return m_buffer.data(); }
    size_t Size() const { return m_size; }
    std::string ToString() const { return std::string(Data(), m_size); }

    // Empties the text and keeps the room.
    void Clear() { m_size = 0; }
    // Keeps only the first size characters (size must not exceed Size()).
    void Truncate(size_t size) { m_size = size; }

    // Room for at least length more characters, returned as where they go;
    // the caller writes them and then calls Commit with how many it wrote.
    char* Extend(size_t length) {
        if (m_buffer.size() - m_size < length) Grow(length);
        return m_buffer.data() + m_size;
    }
    void Commit(size_t length) { m_size += length; }

    void Append(char c) {
        *Extend(1) = c;
        ++m_size;
    }
    void Append(const char* text, size_t length) {
        std::memcpy(Extend(length), text, length);
        m_size += length;
    }
    void Append(const std::string& text) { Append(text.data(), text.size()); }
    // A string literal, its length known when compiling.
    template <size_t N>
    void AppendLiteral(const char (&text)[N]) {
        Append(text, N - 1);
    }

    // A whole number in decimal, with a minus sign when negative.
    void AppendInteger(int64_t value);
    void AppendUnsigned(uint64_t value);

private:
    void Grow(size_t length);
    // AppendUnsigned for a value of more than 32 bits.
    void AppendLarge(uint64_t value);

    std::vector<char> m_buffer;  // its size is the room; the text is the first m_size
    size_t m_size = 0;
};

}  // namespace Logging
