#include "platform/Logging/TextBuffer.h"

namespace Logging {

namespace {

// Decimal digits of the largest 64-bit value.
const size_t kMaxDigits = 20;

size_t DigitCount(uint32_t value) {
    if (value < 100000) {
        if (value < 100) return value < 10 ? 1 : 2;
        if (value < 1000) return 3;
        return value < 10000 ? 4 : 5;
    }
    if (value < 10000000) return value < 1000000 ? 6 : 7;
    if (value < 100000000) return 8;
    return value < 1000000000 ? 9 : 10;
}

}  // namespace

CTextBuffer::CTextBuffer(size_t initialCapacity)
    : m_buffer(initialCapacity > 0 ? initialCapacity : 1) {}

void CTextBuffer::Grow(size_t length) {
    // At least doubled, so a long run of appends copies each character a
    // bounded number of times.
    const size_t wanted = m_size + length;
    m_buffer.resize(wanted > 2 * m_buffer.size() ? wanted : 2 * m_buffer.size());
}

void CTextBuffer::AppendUnsigned(uint64_t value) {
    // 32-bit arithmetic where it suffices (on the 32-bit target a 64-bit
    // division is a library call), digits written in place from the end, two at a time.
    if (value > UINT32_MAX) {
        AppendLarge(value);
        return;
    }
    static const char kPairs[] =
        "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
        "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
        "8081828384858687888990919293949596979899";
    uint32_t low = static_cast<uint32_t>(value);
    const size_t count = DigitCount(low);
    char* end = Extend(count) + count;
    while (low >= 100) {
        const uint32_t pair = low % 100;
        low /= 100;
        end -= 2;
        end[0] = kPairs[2 * pair];
        end[1] = kPairs[2 * pair + 1];
    }
    if (low >= 10) {
        end[-2] = kPairs[2 * low];
        end[-1] = kPairs[2 * low + 1];
    } else {
        end[-1] = static_cast<char>('0' + low);
    }
    m_size += count;
}

void CTextBuffer::AppendLarge(uint64_t value) {
    char digits[kMaxDigits];
    char* first = digits + kMaxDigits;
    do {
        *--first = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    Append(first, static_cast<size_t>(digits + kMaxDigits - first));
}

void CTextBuffer::AppendInteger(int64_t value) {
    if (value < 0) {
        Append('-');
        // Negated in unsigned arithmetic, so the smallest value has its digits too.
        AppendUnsigned(uint64_t(0) - static_cast<uint64_t>(value));
    } else {
        AppendUnsigned(static_cast<uint64_t>(value));
    }
}

}  // namespace Logging
