#include "Logs/NovatelOEMV/SentenceChecksums.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace {

const uint8_t kNmeaStart = '$';
const uint8_t kAsciiStart = '#';
const uint8_t kChecksumMark = '*';
const size_t kNmeaChecksumDigits = 2;
const size_t kAsciiCrcDigits = 8;
// Sentences of this many bytes or fewer cannot hold "#", text, "*" and the CRC.
const size_t kAsciiShortestRejected = 9;

// HexToUInt on a range of a sentence. The text conversion needs a terminated
// string; for checksum fields this short one stays inside the string object.
unsigned HexDigitsToUInt(const uint8_t* digits, size_t count) {
    const std::string text(digits, digits + count);
    // strtoull is 64 bits wide on every platform, so the low 32 bits kept are the same
    // on the device as on a development host.
    return static_cast<unsigned>(std::strtoull(text.c_str(), nullptr, 16));
}

}  // namespace

unsigned HexToUInt(const ByteVector& bytes) {
    const std::string text = ExtractText(bytes, 0, bytes.size(), true);
    return static_cast<unsigned>(std::strtoull(text.c_str(), nullptr, 16));
}

bool HasValidNmeaChecksum(const ByteVector& sentence) {
    if (sentence.empty()) return false;
    const auto dollar = std::find(sentence.begin(), sentence.end(), kNmeaStart);
    if (dollar == sentence.end()) return false;
    const auto star = std::find(dollar + 1, sentence.end(), kChecksumMark);
    if (star == sentence.end()) return false;
    const size_t d = static_cast<size_t>(dollar - sentence.begin());
    const size_t s = static_cast<size_t>(star - sentence.begin());
    if (s + kNmeaChecksumDigits >= sentence.size()) return false;

    const unsigned expected = HexDigitsToUInt(&sentence[s + 1], kNmeaChecksumDigits) & 0xFFu;
    // Deliberate: with nothing between "$" and "*" the byte after "$" (the "*" itself)
    // stands as the checksum, so "$*2A" passes; sentences checked again later rely on
    // the same verdict.
    unsigned computed = sentence[d + 1];
    for (size_t i = d + 2; i < s; ++i) computed ^= sentence[i];
    return computed == expected;
}

bool HasValidAsciiChecksum(const ByteVector& sentence) {
    const size_t size = sentence.size();
    if (size <= kAsciiShortestRejected) return false;
    const auto lastStar = std::find(sentence.rbegin(), sentence.rend(), kChecksumMark);
    if (lastStar == sentence.rend()) return false;
    const size_t s = static_cast<size_t>(sentence.rend() - lastStar) - 1;
    if (s < 2) return false;
    const auto hash = std::find(sentence.begin(), sentence.end(), kAsciiStart);
    if (hash == sentence.end()) return false;
    const size_t h = static_cast<size_t>(hash - sentence.begin());
    if (h + 1 >= size - 1) return false;
    // Text between "#" and "*", then the eight CRC digits and at least a line terminator.
    if (!(h + 1 < s - 1 && size > s + kAsciiCrcDigits + 1)) return false;

    const uint32_t computed = Crc32Block(s - h - 1, &sentence[h + 1]);
    const unsigned expected = HexDigitsToUInt(&sentence[s + 1], kAsciiCrcDigits);
    return computed == expected;
}
