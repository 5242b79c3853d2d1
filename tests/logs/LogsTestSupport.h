#pragma once
// Helpers for the log tests: frames with a chosen header length, the texts of
// the length checks that end the process, and the receiver's own ASCII
// rendering of a recording ("twin") for checking decoded logs field by field.
//
// A twin line looks like
//   #BESTPOSA,COM1,0,65.5,FINESTEERING,1687,419928.000,00000000,6145,3153;SOL_COMPUTED,...*49329266
// Header fields come before ';', body fields after it, up to '*'; quotes
// around text fields are removed.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "platform/Core/Utilities.h"
#include "tests/framing/FramingTestSupport.h"

namespace LogsTest {

typedef std::unique_ptr<CGPSRecord> RecordPtr;

// The function text every length check of a log's parser names.
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

// A frame with extra bytes inserted before its CRC (the CRC made right again),
// or with bytes taken away when extra is negative.
inline ByteVector Resized(const ByteVector& frame, int extra) {
    ByteVector resized(frame.begin(), frame.end() - kNovatelCrcSize);
    resized.resize(static_cast<size_t>(static_cast<int>(resized.size()) + extra), 0x5A);
    const uint32_t crc = Tools::NovatelCrc32(resized.data(), resized.size());
    for (int i = 0; i < 4; ++i) resized.push_back(static_cast<uint8_t>(crc >> (8 * i)));
    return resized;
}

// A log frame whose header is headerLength bytes long (at least 28); the
// extra header bytes are filler that no log may read as its body.
inline ByteVector LogFrameWithHeaderLength(uint16_t messageId, uint8_t headerLength,
                                           const ByteVector& body) {
    ByteVector frame = LogFrame(messageId, ByteVector(headerLength - 28, 0xEE));
    frame[3] = headerLength;
    frame[8] = static_cast<uint8_t>(body.size());
    frame[9] = static_cast<uint8_t>(body.size() >> 8);
    frame.insert(frame.end() - kNovatelCrcSize, body.begin(), body.end());
    return Resized(frame, 0);
}

// The record the factory makes of a frame, as the wanted class (null if not).
template <typename Log>
std::unique_ptr<const Log> Decode(const ByteVector& frame) {
    RecordPtr record(CreateRecord(frame));
    const Log* log = dynamic_cast<const Log*>(record.get());
    if (log != nullptr) record.release();
    return std::unique_ptr<const Log>(log);
}

// --- The twin ---------------------------------------------------------------

struct SAsciiLog {
    std::string name;                 // "BESTPOSA"
    std::vector<std::string> header;  // port, sequence, idle, time status, week, seconds, ...
    std::vector<std::string> body;
};

// The twin's logs of one name ("BESTPOSA"), in file order.
inline std::vector<SAsciiLog> ReadAsciiTwin(const std::string& path, const std::string& name) {
    std::vector<SAsciiLog> logs;
    for (const std::string& rawLine :
         Core::Utilities::SplitString(TestSupport::ReadWholeFile(path), '\n')) {
        const std::string line = Core::Utilities::trim(rawLine);
        const std::string::size_type semicolon = line.find(';');
        const std::string::size_type star = line.rfind('*');
        if (line.empty() || line[0] != '#' || semicolon == std::string::npos ||
            star == std::string::npos || star < semicolon) {
            continue;
        }
        SAsciiLog log;
        std::vector<std::string> header =
            Core::Utilities::SplitString(line.substr(1, semicolon - 1), ',');
        log.name = header[0];
        if (log.name != name) continue;
        log.header.assign(header.begin() + 1, header.end());
        for (std::string field :
             Core::Utilities::SplitString(line.substr(semicolon + 1, star - semicolon - 1), ',')) {
            if (field.size() >= 2 && field.front() == '"' && field.back() == '"') {
                field = field.substr(1, field.size() - 2);
            }
            log.body.push_back(field);
        }
        logs.push_back(log);
    }
    return logs;
}

// Every binary frame with a good CRC in a recording, in stream order.
inline std::vector<ByteVector> BinaryFramesOf(const std::string& path) {
    Novatel::CNovatelBinarySentenceConstructor framer;
    return FramingTest::Feed(framer, FramingTest::ReadCapture(path)).sentences;
}

// The frames of one message ID, in order (responses excluded).
inline std::vector<ByteVector> FramesWithId(const std::vector<ByteVector>& frames,
                                            unsigned messageId) {
    std::vector<ByteVector> matching;
    for (const ByteVector& frame : frames) {
        if (frame.size() >= 28 && (frame[4] | (frame[5] << 8)) == static_cast<int>(messageId) &&
            (frame[6] & 0x80) == 0) {
            matching.push_back(frame);
        }
    }
    return matching;
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
        {"SOL_COMPUTED", 0},   {"INSUFFICIENT_OBS", 1}, {"NONE", 0},
        {"GOOD", 0},           {"DOPPLER_VELOCITY", 8}, {"OBSL2", 13},
        {"SINGLE", 16},        {"NOIONOCORR", 16},      {"PSRDIFF", 17},
        {"WAAS", 18},          {"PROPAGATED", 19},      {"NA", 99},
        {"FINESTEERING", 180},
    };
    const auto found = kValues.find(name);
    EXPECT_NE(found, kValues.end()) << "no number known for " << name;
    return found == kValues.end() ? 0xFFFFFFFF : found->second;
}

// Expects the record's header to be the one the twin printed: sequence, idle
// time, time status, week, seconds, receiver status and software build.
inline void ExpectHeaderMatchesTwin(const Novatel::CNovatelBinaryRecord& record,
                                    const SAsciiLog& twin) {
    ASSERT_GE(twin.header.size(), 9u) << twin.name;
    EXPECT_EQ(record.GetHeader().m_sequence, Unsigned(twin.header[1]));
    ExpectPrinted(record.GetIdleTime() * 0.5, twin.header[2], "idle time");
    EXPECT_EQ(static_cast<uint32_t>(record.GetTimeStatus()), Enumeration(twin.header[3]));
    unsigned week = 0;
    double seconds = 0;
    EXPECT_TRUE(record.GetGPSTime(week, seconds));
    EXPECT_EQ(week, Unsigned(twin.header[4]));
    ExpectPrinted(seconds, twin.header[5], "seconds of week");
    EXPECT_EQ(record.GetReceiverStatus(), Hex(twin.header[6]));
    EXPECT_EQ(record.GetHeader().m_softwareBuild, Unsigned(twin.header[8]));
}

// One recording, its twin ("name.gps" -> "name.asc" unless given) and how
// many of the log under test the twin holds.
struct STwinCase {
    const char* recording;
    size_t logs;
    const char* twin = nullptr;
    STwinCase(const char* r, size_t n, const char* t = nullptr) : recording(r), logs(n), twin(t) {}
    std::string TwinFile() const {
        if (twin != nullptr) return twin;
        std::string file = recording;
        return file.replace(file.size() - 4, 4, ".asc");
    }
};

inline void PrintTo(const STwinCase& c, std::ostream* out) { *out << c.recording; }

inline std::string TwinCaseName(const ::testing::TestParamInfo<STwinCase>& info) {
    return FramingTest::RecordingTestName(info.param.recording);
}

// The frames of one log in a recording, each with its twin line, in order.
// Skips when a file is absent; fails unless both hold `logs` of that log.
#define QUILLOND_TWIN_PAIRS(pairs, twinCase, messageId, asciiName)                           \
    QUILLOND_REQUIRE_CAPTURE(pairs##Recording, (twinCase).recording);                        \
    QUILLOND_REQUIRE_CAPTURE(pairs##Twin, (twinCase).TwinFile());                            \
    const std::vector<ByteVector> pairs##Frames =                                            \
        ::LogsTest::FramesWithId(::LogsTest::BinaryFramesOf(pairs##Recording), (messageId)); \
    const std::vector<::LogsTest::SAsciiLog> pairs =                                         \
        ::LogsTest::ReadAsciiTwin(pairs##Twin, (asciiName));                                 \
    ASSERT_EQ(pairs##Frames.size(), (twinCase).logs) << (asciiName);                         \
    ASSERT_EQ(pairs.size(), (twinCase).logs) << (asciiName)

}  // namespace LogsTest
