#include "platform/Logging/Base64.h"

#include <cstdint>

namespace Logging {

namespace {

const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

uint32_t Byte(const char* bytes, size_t i) {
    return static_cast<uint32_t>(static_cast<uint8_t>(bytes[i]));
}

}  // namespace

void AppendBase64(CTextBuffer& out, const char* bytes, size_t length) {
    const size_t textLength = (length + 2) / 3 * 4;
    char* text = out.Extend(textLength);
    size_t i = 0;
    for (; i + 3 <= length; i += 3) {
        const uint32_t group = Byte(bytes, i) << 16 | Byte(bytes, i + 1) << 8 | Byte(bytes, i + 2);
        *text++ = kAlphabet[(group >> 18) & 0x3F];
        *text++ = kAlphabet[(group >> 12) & 0x3F];
        *text++ = kAlphabet[(group >> 6) & 0x3F];
        *text++ = kAlphabet[group & 0x3F];
    }
    const size_t rest = length - i;
    if (rest > 0) {
        uint32_t group = Byte(bytes, i) << 16;
        if (rest == 2) group |= Byte(bytes, i + 1) << 8;
        *text++ = kAlphabet[(group >> 18) & 0x3F];
        *text++ = kAlphabet[(group >> 12) & 0x3F];
        *text++ = rest == 2 ? kAlphabet[(group >> 6) & 0x3F] : '=';
        *text++ = '=';
    }
    out.Commit(textLength);
}

std::string Base64Encode(const std::string& bytes) {
    CTextBuffer text((bytes.size() + 2) / 3 * 4);
    AppendBase64(text, bytes.data(), bytes.size());
    return text.ToString();
}

}  // namespace Logging
