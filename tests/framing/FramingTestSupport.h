#pragma once
// Helpers for the framer tests: feeding a framer in chunks and collecting what
// it hands out, and building binary frames and text sentences with their
// checksums computed independently of the code under test.

#include <cctype>
#include <cstdio>
#include <string>
#include <vector>

#include "Logs/NovatelOEMV/SentenceConstructor.h"
#include "platform/Core/ByteVector.h"
#include "tests/support/TestSupport.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace FramingTest {

inline ByteVector Bytes(const std::string& text) { return ByteVector(text.begin(), text.end()); }

inline std::string Text(const ByteVector& bytes) { return std::string(bytes.begin(), bytes.end()); }

inline ByteVector Join(const std::vector<ByteVector>& parts) {
    ByteVector joined;
    for (const ByteVector& part : parts) joined.insert(joined.end(), part.begin(), part.end());
    return joined;
}

// What a framer handed out: the sentences in order and the number of -1 results.
struct SDrained {
    std::vector<ByteVector> sentences;
    int failures = 0;
};

// Calls GetSentence until it reports that it needs more bytes.
inline void Drain(CSentenceConstructor& framer, SDrained& drained) {
    ByteVector sentence;
    for (;;) {
        const int result = framer.GetSentence(sentence);
        if (result == 1) {
            drained.sentences.push_back(sentence);
        } else if (result == -1) {
            ++drained.failures;
        } else {
            return;
        }
    }
}

// Feeds data in chunks of chunkSize bytes (all at once when 0), draining the
// framer after each chunk as the port handler does.
inline SDrained Feed(CSentenceConstructor& framer, const ByteVector& data, size_t chunkSize = 0) {
    SDrained drained;
    if (chunkSize == 0) chunkSize = data.size() > 0 ? data.size() : 1;
    for (size_t at = 0; at < data.size(); at += chunkSize) {
        const size_t end = at + chunkSize < data.size() ? at + chunkSize : data.size();
        framer.AddData(ByteVector(data.begin() + static_cast<std::ptrdiff_t>(at),
                                  data.begin() + static_cast<std::ptrdiff_t>(end)));
        Drain(framer, drained);
    }
    return drained;
}

// A binary log with the standard 28-byte header and a correct CRC.
inline ByteVector BinaryFrame(uint16_t messageId, const ByteVector& body) {
    Tools::SFrameHeader header;
    header.messageId = messageId;
    header.week = 2029;
    header.milliseconds = 345600500;
    return Tools::BuildBinaryFrame(header, body);
}

// A body of count bytes counting up from first, wrapping at 256.
inline ByteVector CountingBody(size_t count, uint8_t first = 1) {
    ByteVector body(count);
    for (size_t i = 0; i < count; ++i) body[i] = static_cast<uint8_t>(first + i);
    return body;
}

// A frame with any header length: sync, the length byte, filler up to the
// message length field, filler to the end of the header, body, CRC.
inline ByteVector FrameWithHeaderLength(uint8_t headerLength, const ByteVector& body) {
    ByteVector frame = {0xAA,
                        0x44,
                        0x12,
                        headerLength,
                        0x11,
                        0x22,
                        0x33,
                        0x44,
                        static_cast<uint8_t>(body.size()),
                        static_cast<uint8_t>(body.size() >> 8)};
    while (frame.size() < headerLength) frame.push_back(0x55);
    frame.insert(frame.end(), body.begin(), body.end());
    const uint32_t crc = Tools::NovatelCrc32(frame.data(), frame.size());
    for (int i = 0; i < 4; ++i) frame.push_back(static_cast<uint8_t>(crc >> (8 * i)));
    return frame;
}

inline std::string Hex(unsigned value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*x", digits, value);
    return text;
}

// "$", the text, "*", the two-digit exclusive-or of the text, the line end.
inline std::string NmeaSentence(const std::string& text, const std::string& lineEnd = "\r\n") {
    unsigned checksum = 0;
    for (char c : text) checksum ^= static_cast<uint8_t>(c);
    return "$" + text + "*" + Hex(checksum, 2) + lineEnd;
}

// "#", the text, "*", the eight-digit CRC-32 of the text, the line end.
inline std::string AsciiSentence(const std::string& text, const std::string& lineEnd = "\r\n") {
    const ByteVector bytes = Bytes(text);
    return "#" + text + "*" + Hex(Tools::NovatelCrc32(bytes.data(), bytes.size()), 8) + lineEnd;
}

// A recording's file name as a test name ("oemv3-OneEach.gps" -> "oemv3_OneEach_gps").
inline std::string RecordingTestName(const char* file) {
    std::string name = file;
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    return name;
}

// The whole of a recording as bytes.
inline ByteVector ReadCapture(const std::string& path) {
    return Bytes(TestSupport::ReadWholeFile(path));
}

}  // namespace FramingTest
