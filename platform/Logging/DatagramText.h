#pragma once
// Writing the log datagrams' JSON text directly, without building a JSON
// object per datagram. Every piece is written exactly as the JSON library's
// compact dump writes it (the log server and the documented datagram format
// see no difference); text that is not plain printable ASCII is handed to the
// library itself, so escapes and the replacement of bad UTF-8 stay its own.

#include <cstdint>
#include <string>

namespace Logging {

// Appends text as a JSON string, quotes included. Bytes that are not valid
// UTF-8 are each replaced by U+FFFD, as the datagrams have always done.
void AppendJsonString(std::string& out, const std::string& text);

// Appends a JSON integer.
void AppendJsonInteger(std::string& out, int64_t value);

// Appends a JSON number: the shortest text that reads back as the same double,
// with ".0" on a whole number.
void AppendJsonNumber(std::string& out, double value);

}  // namespace Logging
