#include "platform/Logging/FormatText.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace Logging {

namespace {

// Almost every value and log line fits here, so it is printed once.
const size_t kShortText = 256;

// Digits after the point of "%f".
const int kFixedDigits = 6;
// The fraction of a double is worked out exactly in 64 bits when it has at most this many
// binary places: ten times it then still fits.
const int kMaxFractionBits = 60;

// Appends what "%f" prints for value, exactly as the C library does (round half to even
// on the exact binary value), for the doubles whose digits 64-bit arithmetic gives
// exactly: whole parts below 2^63 and values from 2^-8 up. False for any other value.
bool AppendFixed(CTextBuffer& out, double value) {
    if (!std::isfinite(value)) return false;
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const bool negative = (bits >> 63) != 0;
    const int exponent = static_cast<int>((bits >> 52) & 0x7FFu);
    uint64_t mantissa = bits & ((uint64_t(1) << 52) - 1);
    uint64_t whole = 0;
    uint64_t fraction = 0;
    int fractionBits = 0;  // value = whole + fraction / 2^fractionBits
    if (exponent == 0) {
        if (mantissa != 0) return false;  // subnormal
    } else {
        mantissa |= uint64_t(1) << 52;
        const int shift = 1075 - exponent;  // value = mantissa / 2^shift
        if (shift <= 0) {
            if (-shift > 10) return false;
            whole = mantissa << -shift;
        } else if (shift > kMaxFractionBits) {
            return false;
        } else {
            whole = mantissa >> shift;
            fraction = mantissa & ((uint64_t(1) << shift) - 1);
            fractionBits = shift;
        }
    }

    char digits[kFixedDigits];
    const uint64_t mask = fractionBits > 0 ? (uint64_t(1) << fractionBits) - 1 : 0;
    for (int i = 0; i < kFixedDigits; ++i) {
        fraction *= 10;
        digits[i] = static_cast<char>(fractionBits > 0 ? fraction >> fractionBits : 0);
        fraction &= mask;
    }
    if (fractionBits > 0) {
        const uint64_t half = uint64_t(1) << (fractionBits - 1);
        if (fraction > half || (fraction == half && (digits[kFixedDigits - 1] & 1) != 0)) {
            int i = kFixedDigits - 1;
            for (; i >= 0 && ++digits[i] == 10; --i) digits[i] = 0;
            if (i < 0) ++whole;
        }
    }
    if (negative) out.Append('-');
    out.AppendUnsigned(whole);
    char* text = out.Extend(kFixedDigits + 1);
    text[0] = '.';
    for (int i = 0; i < kFixedDigits; ++i) text[i + 1] = static_cast<char>('0' + digits[i]);
    out.Commit(kFixedDigits + 1);
    return true;
}

// Prints the formats the daemon's values use (conversions d, i, u, s, f and lf with no
// flags, width or precision, and "%%") without the C library's general machinery.
// False, with args partly used and text partly written, for anything else.
bool FormatPlain(CTextBuffer& out, const char* format, va_list args) {
    const char* p = format;
    for (;;) {
        const char* run = p;
        while (*p != '\0' && *p != '%') ++p;
        out.Append(run, static_cast<size_t>(p - run));
        if (*p == '\0') return true;
        ++p;
        if (*p == '%') {
            out.Append('%');
            ++p;
            continue;
        }
        const bool isLong = *p == 'l';
        if (isLong) ++p;
        switch (*p) {
            case 'd':
            case 'i':
                if (isLong) return false;
                out.AppendInteger(va_arg(args, int));
                break;
            case 'u':
                if (isLong) return false;
                out.AppendUnsigned(va_arg(args, unsigned));
                break;
            case 's': {
                if (isLong) return false;
                const char* text = va_arg(args, const char*);
                if (text == nullptr) return false;
                out.Append(text, std::strlen(text));
                break;
            }
            case 'f':
                if (!AppendFixed(out, va_arg(args, double))) return false;
                break;
            default:
                return false;
        }
        ++p;
    }
}

}  // namespace

void AppendFormatted(CTextBuffer& out, const char* format, va_list args) {
    const size_t start = out.Size();
    va_list plainArgs;
    va_copy(plainArgs, args);
    // The analyzer takes a va_list parameter for uninitialised; it is the caller's, started.
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    const bool plain = FormatPlain(out, format, plainArgs);
    va_end(plainArgs);
    if (plain) return;
    out.Truncate(start);

    // Print into the room at hand with a copy of the arguments; only a longer
    // text is printed again, with the originals, into room of its size.
    char* room = out.Extend(kShortText);
    va_list firstArgs;
    va_copy(firstArgs, args);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    const int length = std::vsnprintf(room, kShortText, format, firstArgs);
    va_end(firstArgs);
    if (length <= 0) return;
    if (static_cast<size_t>(length) >= kShortText) {
        room = out.Extend(static_cast<size_t>(length) + 1);
        std::vsnprintf(room, static_cast<size_t>(length) + 1, format, args);
    }
    out.Commit(static_cast<size_t>(length));
}

std::string FormatText(const char* format, va_list args) {
    CTextBuffer text(kShortText);
    AppendFormatted(text, format, args);
    return text.ToString();
}

}  // namespace Logging
