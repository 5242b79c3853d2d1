#pragma once
// Helpers for the measurement and status log tests: frames with a chosen
// header length, the expected texts of the length checks that end the process,
// and comparisons against the receiver's ASCII twin of a recording.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"
#include "tests/framing/FramingTestSupport.h"
#include "tests/logs/AsciiTwin.h"

namespace MeasurementLogsTest {

// The function text every length check of these logs names.
inline std::string ParseFunction(const std::string& className) {
    return "virtual void Novatel::" + className +
           "::ParseSentenceData(const std::vector<unsigned char, std::allocator<unsigned char> "
           ">&)";
}

// Text as a POSIX extended regular expression that matches exactly that text.
inline std::string Literal(const std::string& text) {
    std::string pattern;
    for (char c : text) {
        if (std::string(".[]{}()\\*+?^$|").find(c) != std::string::npos) pattern += '\\';
        pattern += c;
    }
    return pattern;
}

// The line a failed length check writes, for any line number of the source.
inline std::string AssertionPattern(const std::string& source, const std::string& function,
                                    const std::string& condition) {
    return Literal(source) + ":[0-9]+: " + Literal(function) + ": Assertion `" +
           Literal(condition) + "' failed\\.";
}

// Lets a death test see what the dying code printed on standard output.
inline void StandardOutputToStandardError() {
    std::fflush(stdout);
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

// A log frame with the standard 28-byte header.
inline ByteVector LogFrame(uint16_t messageId, const ByteVector& body) {
    return FramingTest::BinaryFrame(messageId, body);
}

// A log frame whose header is headerLength bytes long (at least 28); the
// extra header bytes are filler that no log may read as its body.
inline ByteVector LogFrameWithHeaderLength(uint16_t messageId, uint8_t headerLength,
                                           const ByteVector& body) {
    ByteVector frame = LogFrame(messageId, ByteVector(headerLength - 28, 0xEE));
    frame.resize(frame.size() - kNovatelCrcSize);
    frame[3] = headerLength;
    frame[8] = static_cast<uint8_t>(body.size());
    frame[9] = static_cast<uint8_t>(body.size() >> 8);
    frame.insert(frame.end(), body.begin(), body.end());
    const uint32_t crc = Tools::NovatelCrc32(frame.data(), frame.size());
    for (int i = 0; i < 4; ++i) frame.push_back(static_cast<uint8_t>(crc >> (8 * i)));
    return frame;
}

// A frame with extra bytes inserted before its CRC (the CRC made right again),
// or with bytes taken away when extra is negative.
inline ByteVector Resized(const ByteVector& frame, int extra) {
    ByteVector resized(frame.begin(), frame.end() - kNovatelCrcSize);
    resized.resize(static_cast<size_t>(static_cast<int>(resized.size()) + extra), 0x5A);
    const uint32_t crc = Tools::NovatelCrc32(resized.data(), resized.size());
    for (int i = 0; i < 4; ++i) resized.push_back(static_cast<uint8_t>(crc >> (8 * i)));
    return resized;
}

// Expects value to be what the twin printed, to the twin's number of
// decimals: the receiver rounds the value it sent to that many places.
inline void ExpectPrinted(double value, const std::string& printed, const std::string& what) {
    const std::string::size_type point = printed.find('.');
    const int decimals =
        point == std::string::npos ? 0 : static_cast<int>(printed.size() - point - 1);
    const double tolerance =
        0.5 * std::pow(10.0, -decimals) * (1 + 1e-9) + std::fabs(value) * 1e-15;
    EXPECT_NEAR(value, std::strtod(printed.c_str(), nullptr), tolerance) << what;
}

// The twin's hexadecimal word ("18109c04").
inline uint32_t Hex(const std::string& printed) {
    return static_cast<uint32_t>(std::strtoul(printed.c_str(), nullptr, 16));
}

inline unsigned Unsigned(const std::string& printed) {
    return static_cast<unsigned>(std::strtoul(printed.c_str(), nullptr, 10));
}

// The receiver's numbers for the enumeration names its twins print.
inline uint32_t Enumeration(const std::string& name) {
    static const std::map<std::string, uint32_t> kValues = {
        {"SOL_COMPUTED", 0}, {"SINGLE", 16}, {"GOOD", 0},           {"OBSL2", 13},
        {"NOIONOCORR", 16},  {"NA", 99},     {"FINESTEERING", 180},
    };
    const auto found = kValues.find(name);
    EXPECT_NE(found, kValues.end()) << "no number known for " << name;
    return found == kValues.end() ? 0xFFFFFFFF : found->second;
}

// Expects the record's header to be the one the twin printed: idle time,
// time status, week, seconds, receiver status and software build.
inline void ExpectHeaderMatchesTwin(const Novatel::CNovatelBinaryRecord& record,
                                    const LogsTest::SAsciiLog& twin) {
    ASSERT_GE(twin.header.size(), 9u) << twin.name;
    ExpectPrinted(record.GetIdleTime() * 0.5, twin.header[2], "idle time");
    EXPECT_EQ(static_cast<uint32_t>(record.GetTimeStatus()), Enumeration(twin.header[3]));
    EXPECT_EQ(record.GetWeek(), Unsigned(twin.header[4]));
    ExpectPrinted(record.GetSeconds(), twin.header[5], "seconds of week");
    EXPECT_EQ(record.GetReceiverStatus(), Hex(twin.header[6]));
    EXPECT_EQ(record.GetHeader().m_softwareBuild, Unsigned(twin.header[8]));
}

// The frames of one log in a recording, each with its twin line, in order.
// Fails (and returns nothing) unless both hold the same number of that log.
inline std::vector<std::pair<ByteVector, LogsTest::SAsciiLog>> TwinPairs(
    const std::string& recordingPath, const std::string& twinPath, uint16_t messageId,
    const std::string& asciiName) {
    const std::vector<ByteVector> frames =
        LogsTest::FramesWithId(LogsTest::BinaryFramesOf(recordingPath), messageId);
    const std::vector<LogsTest::SAsciiLog> twins =
        LogsTest::LogsNamed(LogsTest::ReadAsciiTwin(twinPath), asciiName);
    std::vector<std::pair<ByteVector, LogsTest::SAsciiLog>> pairs;
    EXPECT_EQ(frames.size(), twins.size()) << asciiName;
    if (frames.size() != twins.size()) return pairs;
    for (size_t i = 0; i < frames.size(); ++i) pairs.emplace_back(frames[i], twins[i]);
    return pairs;
}

// The one frame of a log that a recording holds.
inline ByteVector OnlyFrame(const std::string& recordingPath, uint16_t messageId) {
    const std::vector<ByteVector> frames =
        LogsTest::FramesWithId(LogsTest::BinaryFramesOf(recordingPath), messageId);
    EXPECT_EQ(frames.size(), 1u) << "message ID " << messageId;
    return frames.empty() ? ByteVector() : frames.front();
}

}  // namespace MeasurementLogsTest
