#pragma once
// Base64 (the standard alphabet with "=" padding) for carrying raw receiver
// bytes, NULs included, inside the text of a JSON datagram.

#include <cstddef>
#include <string>

#include "platform/Logging/TextBuffer.h"

namespace Logging {

// Appends the base64 form of length bytes; four characters for every three bytes begun.
void AppendBase64(CTextBuffer& out, const char* bytes, size_t length);

// The base64 form of any bytes.
std::string Base64Encode(const std::string& bytes);

}  // namespace Logging
