#pragma once
// printf-style formatting of any length, for the logging wrappers whose
// callers pass a format and its arguments.

#include <cstdarg>
#include <string>

#include "platform/Logging/TextBuffer.h"

namespace Logging {

// Appends the text printf would print for format and args; never truncated. A
// format the C library rejects appends nothing. Like vsnprintf, it leaves args
// used up: the caller only va_ends it.
void AppendFormatted(CTextBuffer& out, const char* format, va_list args)
    __attribute__((format(printf, 2, 0)));

// As AppendFormatted, as a string of its own.
std::string FormatText(const char* format, va_list args) __attribute__((format(printf, 1, 0)));

}  // namespace Logging
