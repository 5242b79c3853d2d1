#include "platform/Logging/Base64.h"

#include <cstddef>
#include <cstdint>

namespace Logging {

namespace {

const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string Base64Encode(const std::string& bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const uint32_t group = static_cast<uint32_t>(static_cast<uint8_t>(bytes[i])) << 16 |
                               static_cast<uint32_t>(static_cast<uint8_t>(bytes[i + 1])) << 8 |
                               static_cast<uint32_t>(static_cast<uint8_t>(bytes[i + 2]));
        text += kAlphabet[(group >> 18) & 0x3F];
        text += kAlphabet[(group >> 12) & 0x3F];
        text += kAlphabet[(group >> 6) & 0x3F];
        text += kAlphabet[group & 0x3F];
    }
    const size_t rest = bytes.size() - i;
    if (rest > 0) {
        uint32_t group = static_cast<uint32_t>(static_cast<uint8_t>(bytes[i])) << 16;
        if (rest == 2) group |= static_cast<uint32_t>(static_cast<uint8_t>(bytes[i + 1])) << 8;
        text += kAlphabet[(group >> 18) & 0x3F];
        text += kAlphabet[(group >> 12) & 0x3F];
        text += rest == 2 ? kAlphabet[(group >> 6) & 0x3F] : '=';
        text += '=';
    }
    return text;
}

}  // namespace Logging
