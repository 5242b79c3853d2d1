#pragma once
// Base64 (the standard alphabet with "=" padding) for carrying raw receiver
// bytes, NULs included, inside the text of a JSON datagram.

#include <string>

namespace Logging {

// The base64 form of any bytes; four characters for every three bytes begun.
std::string Base64Encode(const std::string& bytes);

}  // namespace Logging
