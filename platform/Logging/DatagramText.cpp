#include "platform/Logging/DatagramText.h"

#include <nlohmann/json.hpp>

namespace Logging {

namespace {

// Bytes the library copies unchanged into a string: printable ASCII other
// than the quote and the backslash.
bool NeedsNoEscape(const std::string& text) {
    for (char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte > 0x7E || byte == '"' || byte == '\\') return false;
    }
    return true;
}

}  // namespace

void AppendJsonString(std::string& out, const std::string& text) {
    if (NeedsNoEscape(text)) {
        out += '"';
        out += text;
        out += '"';
        return;
    }
    out += nlohmann::ordered_json(text).dump(-1, ' ', false,
                                             nlohmann::ordered_json::error_handler_t::replace);
}

void AppendJsonInteger(std::string& out, int64_t value) { out += std::to_string(value); }

void AppendJsonNumber(std::string& out, double value) {
    if (!std::isfinite(value)) {
        out += "null";
        return;
    }
    // The library's own conversion, as its dump uses it for a double.
    char buffer[64];
    char* end = nlohmann::detail::to_chars(buffer, buffer + sizeof(buffer), value);
    out.append(buffer, end);
}

}  // namespace Logging
