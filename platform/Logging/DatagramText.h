#pragma once
// Writing the log datagrams' JSON text directly into a buffer, without
// building a JSON object per datagram. Every piece is written exactly as the
// JSON library's compact dump writes it (the log server and the documented
// datagram format see no difference); text that is not plain printable ASCII
// is handed to the library itself, so escapes and the replacement of bad
// UTF-8 stay its own.

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/Logging/TextBuffer.h"

namespace Logging {

// Appends text as a JSON string, quotes included. Bytes that are not valid
// UTF-8 are each replaced by U+FFFD, as the datagrams have always done.
void AppendJsonString(CTextBuffer& out, const char* text, size_t length);
inline void AppendJsonString(CTextBuffer& out, const std::string& text) {
    AppendJsonString(out, text.data(), text.size());
}

// Appends the text printf would print for format and args (see
// AppendFormatted) as a JSON string, as AppendJsonString does.
void AppendJsonFormatted(CTextBuffer& out, const char* format, va_list args)
    __attribute__((format(printf, 2, 0)));

// Appends a JSON integer.
inline void AppendJsonInteger(CTextBuffer& out, int64_t value) { out.AppendInteger(value); }

// Appends a JSON number: the shortest text that reads back as the same double,
// with ".0" on a whole number; null for infinities and NaN.
void AppendJsonNumber(CTextBuffer& out, double value);

// Appends a time stamp given in milliseconds as the JSON number of its
// seconds, exactly as AppendJsonNumber writes milliseconds / 1000.0, without
// working through the double for the time stamps of this and the next
// centuries.
void AppendJsonTime(CTextBuffer& out, int64_t milliseconds);

// Writes time stamps exactly as AppendJsonTime does, keeping the text of the
// last whole second, which the datagrams sent within that second share.
class CTimeStampText {
public:
    void Append(CTextBuffer& out, int64_t milliseconds);

private:
    int64_t m_second = -1;  // the whole second whose digits m_digits holds
    char m_digits[24];
    size_t m_length = 0;
};

}  // namespace Logging
