// quillond-raw2log: the recorded log holds the capture unchanged, and each
// record carries the GPS time of the first good frame that starts in it.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/LogFile/LogFileReader.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::BuiltProgram;
using TestSupport::RunProcess;
using TestSupport::SProcessResult;
using TestSupport::TempDir;
using TestSupport::WriteWholeFile;

const std::string kTool = BuiltProgram("quillond-raw2log");

typedef std::vector<std::pair<double, std::string>> RecordList;

uint32_t NovatelCrc(const std::string& bytes) {
    uint32_t crc = 0;
    for (unsigned char byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
    }
    return crc;
}

void PutLittleEndian(std::string& out, uint32_t value, int size) {
    for (int i = 0; i < size; ++i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

// A NovAtel binary frame with a 28-byte header, the given time and body, and
// its CRC (spoiled on request).
std::string Frame(uint16_t week, uint32_t milliseconds, size_t bodySize, bool goodCrc = true) {
    std::string frame("\xAA\x44\x12", 3);
    frame += static_cast<char>(28);
    PutLittleEndian(frame, 42, 2);  // message id
    PutLittleEndian(frame, 0, 2);   // message type, port
    PutLittleEndian(frame, static_cast<uint32_t>(bodySize), 2);
    PutLittleEndian(frame, 0, 2);     // sequence
    frame += '\0';                    // idle time
    frame += static_cast<char>(180);  // time status: fine
    PutLittleEndian(frame, week, 2);
    PutLittleEndian(frame, milliseconds, 4);
    PutLittleEndian(frame, 0, 4);  // receiver status
    PutLittleEndian(frame, 0, 4);  // reserved, software version
    for (size_t i = 0; i < bodySize; ++i) frame += static_cast<char>(i * 13);
    PutLittleEndian(frame, NovatelCrc(frame) ^ (goodCrc ? 0u : 1u), 4);
    return frame;
}

double GpsSeconds(uint16_t week, uint32_t milliseconds) {
    return week * 604800.0 + milliseconds / 1000.0;
}

RecordList ReadLog(const std::string& path) {
    CLogFileReader reader(path);
    RecordList records;
    double timestamp = 0.0;
    std::string data;
    while (reader.GetNextBinary(timestamp, data)) records.emplace_back(timestamp, data);
    EXPECT_FALSE(reader.HasFailed());
    return records;
}

std::string Joined(const RecordList& records) {
    std::string all;
    for (const auto& record : records) all += record.second;
    return all;
}

SProcessResult Convert(const std::vector<std::string>& options, const std::string& input,
                       const std::string& output) {
    std::vector<std::string> argv = {kTool};
    argv.insert(argv.end(), options.begin(), options.end());
    argv.push_back(input);
    argv.push_back(output);
    return RunProcess(argv);
}

TEST(Raw2LogTest, HelpPrintsTheUsageAndExitsZero) {
    for (const char* option : {"--help", "-h"}) {
        SProcessResult result = RunProcess({kTool, option});
        EXPECT_EQ(0, result.exitStatus) << option;
        EXPECT_EQ(0u, result.standardOutput.find(
                          "Usage: quillond-raw2log [-z chunk] INPUT.raw OUTPUT.qlog\n"))
            << result.standardOutput;
    }
}

TEST(Raw2LogTest, RejectsBadArgumentsWithAMessageAndNoOutput) {
    TempDir dir;
    const std::string input = dir.File("in.raw");
    const std::string output = dir.File("out.qlog");
    WriteWholeFile(input, Frame(1687, 1000, 8));
    const std::vector<std::vector<std::string>> cases = {
        {},
        {input},
        {input, output, "extra"},
        {"-z", "0", input, output},
        {"-z", "-5", input, output},
        {"-z", "12abc", input, output},
        {"-z", "1048577", input, output},
        {"-z"},
        {"--bogus", input, output},
    };
    for (const auto& arguments : cases) {
        std::vector<std::string> argv = {kTool};
        argv.insert(argv.end(), arguments.begin(), arguments.end());
        SProcessResult result = RunProcess(argv);
        std::string shown;
        for (const auto& argument : arguments) shown += argument + " ";
        EXPECT_NE(0, result.exitStatus) << shown;
        EXPECT_FALSE(result.signalled) << shown;
        EXPECT_NE(std::string::npos, result.standardError.find("--help")) << shown;
        EXPECT_EQ("", TestSupport::ReadWholeFile(output)) << shown;
    }
}

TEST(Raw2LogTest, ReportsAnUnreadableInputOrUnwritableOutput) {
    TempDir dir;
    const std::string missing = dir.File("missing.raw");
    SProcessResult result = Convert({}, missing, dir.File("out.qlog"));
    EXPECT_NE(0, result.exitStatus);
    EXPECT_NE(std::string::npos, result.standardError.find(missing)) << result.standardError;

    const std::string input = dir.File("in.raw");
    WriteWholeFile(input, "data");
    const std::string unwritable = dir.File("no-such-dir/out.qlog");
    result = Convert({}, input, unwritable);
    EXPECT_NE(0, result.exitStatus);
    EXPECT_NE(std::string::npos, result.standardError.find(unwritable)) << result.standardError;
}

TEST(Raw2LogTest, RefusesToOverwriteItsInput) {
    TempDir dir;
    const std::string input = dir.File("in.raw");
    const std::string contents = Frame(1687, 1000, 8);
    WriteWholeFile(input, contents);
    SProcessResult result = Convert({}, input, input);
    EXPECT_NE(0, result.exitStatus);
    EXPECT_EQ(contents, TestSupport::ReadWholeFile(input));
}

// 64-byte chunks over: junk, frame A (starts in chunk 1), junk, frame B
// (starts in chunk 2, ends in chunk 3), a frame with a bad CRC (chunk 3),
// junk (chunk 4).
TEST(Raw2LogTest, StampsEachChunkWithTheFirstGoodFrameStartingInIt) {
    const std::string frameA = Frame(1687, 419206100, 20);  // 52 bytes
    const std::string frameB = Frame(1687, 419207100, 20);
    const std::string badFrame = Frame(2100, 1000, 4, false);  // 36 bytes
    std::string raw = std::string(70, 'x') + frameA;           // A at 70..121
    raw += std::string(180 - raw.size(), 'y') + frameB;        // B at 180..231
    raw += std::string(236 - raw.size(), 'z') + badFrame;      // bad at 236..271
    raw += std::string(300 - raw.size(), 'w');
    ASSERT_EQ(300u, raw.size());

    TempDir dir;
    WriteWholeFile(dir.File("in.raw"), raw);
    SProcessResult result = Convert({"-z", "64"}, dir.File("in.raw"), dir.File("out.qlog"));
    ASSERT_EQ(0, result.exitStatus) << result.standardError;

    const RecordList records = ReadLog(dir.File("out.qlog"));
    ASSERT_EQ(5u, records.size());
    EXPECT_EQ(raw, Joined(records));
    const double a = GpsSeconds(1687, 419206100);
    const double b = GpsSeconds(1687, 419207100);
    const double expected[] = {a, a, b, b, b};
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_DOUBLE_EQ(expected[i], records[i].first) << "record " << i;
        EXPECT_EQ(i < 4 ? 64u : 44u, records[i].second.size());
    }
}

// A frame starting on a chunk's last byte and running on for many chunks
// still stamps that chunk: the look-ahead reaches its end.
TEST(Raw2LogTest, LooksAheadForAFrameThatRunsPastItsChunk) {
    const std::string head(31, 'h');
    const std::string longFrame = Frame(1800, 123456789, 3000);
    const std::string later = Frame(1800, 123457789, 4);
    const std::string raw = head + longFrame + later;

    TempDir dir;
    WriteWholeFile(dir.File("in.raw"), raw);
    SProcessResult result = Convert({"-z", "32"}, dir.File("in.raw"), dir.File("out.qlog"));
    ASSERT_EQ(0, result.exitStatus) << result.standardError;

    const RecordList records = ReadLog(dir.File("out.qlog"));
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(raw, Joined(records));
    const double first = GpsSeconds(1800, 123456789);
    EXPECT_DOUBLE_EQ(first, records.front().first);
    // The chunks holding the rest of the long frame keep its stamp until the
    // chunk in which the next frame starts.
    const size_t laterChunk = (head.size() + longFrame.size()) / 32;
    for (size_t i = 0; i < laterChunk; ++i) EXPECT_DOUBLE_EQ(first, records[i].first) << i;
    EXPECT_DOUBLE_EQ(GpsSeconds(1800, 123457789), records[laterChunk].first);
}

TEST(Raw2LogTest, CaptureWithoutACompleteGoodFrameIsStampedZero) {
    // Text only, then a frame cut off by the end of the capture.
    const std::string raw = std::string(100, 'q') + "<OK\r\n" + Frame(1687, 5000, 40).substr(0, 50);
    TempDir dir;
    WriteWholeFile(dir.File("in.raw"), raw);
    SProcessResult result = Convert({"-z", "16"}, dir.File("in.raw"), dir.File("out.qlog"));
    ASSERT_EQ(0, result.exitStatus) << result.standardError;

    const RecordList records = ReadLog(dir.File("out.qlog"));
    EXPECT_EQ(raw, Joined(records));
    for (const auto& record : records) EXPECT_EQ(0.0, record.first);
}

TEST(Raw2LogTest, EmptyCaptureGivesALogWithoutRecords) {
    TempDir dir;
    WriteWholeFile(dir.File("in.raw"), "");
    SProcessResult result = Convert({}, dir.File("in.raw"), dir.File("out.qlog"));
    ASSERT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_EQ("QUILLOG1", TestSupport::ReadWholeFile(dir.File("out.qlog")));
}

// Week 1687 is where this receiver's recording lies; any stamp must be a GPS
// time between 1980 and week 3000.
TEST(Raw2LogTest, ConvertsARealCaptureWithoutChangingItsBytes) {
    QUILLOND_REQUIRE_CAPTURE(capture, "oemv3-OneEach.gps");
    TempDir dir;
    SProcessResult result = Convert({}, capture, dir.File("out.qlog"));
    ASSERT_EQ(0, result.exitStatus) << result.standardError;

    const RecordList records = ReadLog(dir.File("out.qlog"));
    const std::string raw = TestSupport::ReadWholeFile(capture);
    EXPECT_EQ((raw.size() + 1023) / 1024, records.size());
    EXPECT_EQ(raw, Joined(records));
    double previous = 0.0;
    for (const auto& record : records) {
        EXPECT_GE(record.first, previous);
        EXPECT_GE(record.first, 1687 * 604800.0);
        EXPECT_LT(record.first, 1688 * 604800.0);
        previous = record.first;
    }
}

TEST(Raw2LogTest, ConvertsALongerCaptureInLargerChunks) {
    QUILLOND_REQUIRE_CAPTURE(capture, "oemv-2009-rtklib.gps");
    TempDir dir;
    SProcessResult result = Convert({"-z", "4096"}, capture, dir.File("out.qlog"));
    ASSERT_EQ(0, result.exitStatus) << result.standardError;

    const RecordList records = ReadLog(dir.File("out.qlog"));
    const std::string raw = TestSupport::ReadWholeFile(capture);
    EXPECT_EQ((raw.size() + 4095) / 4096, records.size());
    EXPECT_EQ(raw, Joined(records));
    for (const auto& record : records) {
        EXPECT_GE(record.first, 0.0);
        EXPECT_LT(record.first, 3000 * 604800.0);
    }
    // The receiver knew its time by the end of the recording.
    EXPECT_GT(records.back().first, 1562 * 604800.0);
}

}  // namespace
