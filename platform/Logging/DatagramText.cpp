#include "platform/Logging/DatagramText.h"

#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>

#include "platform/Logging/FormatText.h"

namespace Logging {

namespace {

// Milliseconds below this (the year 2248) are written by AppendJsonTime itself: up to
// there neighbouring doubles lie far closer together than a thousandth of a second,
// so the shortest text that reads back as milliseconds / 1000.0, which the library
// writes, is the seconds with their three decimals, trailing zeros dropped.
const int64_t kDirectTimeLimit = int64_t(1) << 43;

// Bytes the library copies unchanged into a string: printable ASCII other
// than the quote and the backslash.
inline bool IsPlain(unsigned char byte) {
    return byte >= 0x20 && byte <= 0x7E && byte != '"' && byte != '\\';
}

// The same test for a machine word of bytes at once: true when any byte is
// not plain. Each term sets a byte's top bit where that byte is below 0x20,
// above 0x7E, or equal to the quote or the backslash.
using Word = unsigned long;
const Word kOnes = ~Word(0) / 255;
const Word kHighs = kOnes * 0x80;

inline bool HasZeroByte(Word word) { return ((word - kOnes) & ~word & kHighs) != 0; }

inline bool HasUnplainByte(Word word) {
    const bool below = ((word - kOnes * 0x20) & ~word & kHighs) != 0;
    // Adding one takes 0x7F to 0x80; the bytes from 0x80 up have the bit already.
    const bool above = (((word + kOnes) | word) & kHighs) != 0;
    return below || above || HasZeroByte(word ^ (kOnes * '"')) ||
           HasZeroByte(word ^ (kOnes * '\\'));
}

bool IsPlain(const char* text, size_t length) {
    if (length >= sizeof(Word)) {
        // Whole words, the last one overlapping the one before where the
        // length is not a multiple of the word.
        Word word;
        for (size_t i = 0; i + sizeof(Word) < length; i += sizeof(Word)) {
            std::memcpy(&word, text + i, sizeof(Word));
            if (HasUnplainByte(word)) return false;
        }
        std::memcpy(&word, text + length - sizeof(Word), sizeof(Word));
        return !HasUnplainByte(word);
    }
    for (size_t i = 0; i < length; ++i) {
        if (!IsPlain(static_cast<unsigned char>(text[i]))) return false;
    }
    return true;
}

// The library's own string writer, for text that needs escapes or holds bad UTF-8.
void AppendEscaped(CTextBuffer& out, const std::string& text) {
    out.Append(nlohmann::ordered_json(text).dump(-1, ' ', false,
                                                 nlohmann::ordered_json::error_handler_t::replace));
}

}  // namespace

void AppendJsonString(CTextBuffer& out, const char* text, size_t length) {
    if (!IsPlain(text, length)) {
        AppendEscaped(out, std::string(text, length));
        return;
    }
    char* to = out.Extend(length + 2);
    to[0] = '"';
    std::memcpy(to + 1, text, length);
    to[length + 1] = '"';
    out.Commit(length + 2);
}

void AppendJsonFormatted(CTextBuffer& out, const char* format, va_list args) {
    // Printed in place behind its opening quote, which is all a plain text needs.
    out.Append('"');
    const size_t start = out.Size();
    AppendFormatted(out, format, args);
    const size_t length = out.Size() - start;
    if (IsPlain(out.Data() + start, length)) {
        out.Append('"');
        return;
    }
    const std::string text(out.Data() + start, length);
    out.Truncate(start - 1);
    AppendEscaped(out, text);
}

void AppendJsonNumber(CTextBuffer& out, double value) {
    if (!std::isfinite(value)) {
        out.AppendLiteral("null");
        return;
    }
    // The library's own conversion, as its dump uses it for a double.
    char* text = out.Extend(64);
    char* end = nlohmann::detail::to_chars(text, text + 64, value);
    out.Commit(static_cast<size_t>(end - text));
}

namespace {

// The decimals of a time stamp's seconds: none but ".0" for a whole second,
// else up to three without trailing zeros.
void AppendMilliseconds(CTextBuffer& out, unsigned fraction) {
    char* text = out.Extend(4);
    text[0] = '.';
    if (fraction == 0) {
        text[1] = '0';
        out.Commit(2);
        return;
    }
    size_t length = 4;
    text[1] = static_cast<char>('0' + fraction / 100);
    text[2] = static_cast<char>('0' + fraction / 10 % 10);
    text[3] = static_cast<char>('0' + fraction % 10);
    while (text[length - 1] == '0') --length;
    out.Commit(length);
}

}  // namespace

void AppendJsonTime(CTextBuffer& out, int64_t milliseconds) {
    if (milliseconds < 0 || milliseconds >= kDirectTimeLimit) {
        AppendJsonNumber(out, static_cast<double>(milliseconds) / 1000.0);
        return;
    }
    out.AppendUnsigned(static_cast<uint64_t>(milliseconds / 1000));
    AppendMilliseconds(out, static_cast<unsigned>(milliseconds % 1000));
}

void CTimeStampText::Append(CTextBuffer& out, int64_t milliseconds) {
    if (milliseconds < 0 || milliseconds >= kDirectTimeLimit) {
        AppendJsonTime(out, milliseconds);
        return;
    }
    const int64_t second = milliseconds / 1000;
    if (second != m_second) {
        CTextBuffer digits(sizeof(m_digits));
        digits.AppendUnsigned(static_cast<uint64_t>(second));
        m_length = digits.Size();
        std::memcpy(m_digits, digits.Data(), m_length);
        m_second = second;
    }
    out.Append(m_digits, m_length);
    AppendMilliseconds(out, static_cast<unsigned>(milliseconds - second * 1000));
}

}  // namespace Logging
