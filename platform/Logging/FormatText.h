#pragma once
// printf-style formatting into a std::string of any length, for the logging
// wrappers whose callers pass a format and its arguments.

#include <cstdarg>
#include <string>

namespace Logging {

// The text printf would print for format and args; never truncated. A format
// the C library rejects gives the empty string. Like vsnprintf, it leaves args
// used up: the caller only va_ends it.
std::string FormatText(const char* format, va_list args) __attribute__((format(printf, 1, 0)));

}  // namespace Logging
