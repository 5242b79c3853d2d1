// CLogFileReader: records come out as written, and every kind of damaged file
// ends the log with exactly one message naming the file and the offset.

#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>

#include "platform/LogFile/LogFileReader.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::TempDir;
using TestSupport::WriteWholeFile;

const std::string kMark = "QUILLOG1";

// The record layout written out by hand, independent of the code under test.
std::string RecordHeader(double timestamp, uint32_t count) {
    uint64_t bits = 0;
    std::memcpy(&bits, &timestamp, sizeof bits);
    std::string header;
    for (int i = 0; i < 8; ++i) header += static_cast<char>((bits >> (8 * i)) & 0xFF);
    for (int i = 0; i < 4; ++i) header += static_cast<char>((count >> (8 * i)) & 0xFF);
    return header;
}

std::string Record(double timestamp, const std::string& data) {
    return RecordHeader(timestamp, static_cast<uint32_t>(data.size())) + data;
}

// True when text holds "offset N" with N not followed by another digit.
bool NamesOffset(const std::string& text, unsigned long long offset) {
    const std::string wanted = "offset " + std::to_string(offset);
    size_t at = text.find(wanted);
    return at != std::string::npos &&
           (at + wanted.size() == text.size() ||
            !std::isdigit(static_cast<unsigned char>(text[at + wanted.size()])));
}

int CountLines(const std::string& text) {
    int lines = 0;
    for (char c : text) lines += c == '\n';
    return lines;
}

struct SDamagedCase {
    const char* name;
    std::string contents;
    int goodRecords;  // records before the fault, still delivered
    unsigned long long offset;
    const char* phrase;
};

class DamagedLogTest : public ::testing::TestWithParam<SDamagedCase> {};

TEST_P(DamagedLogTest, EndsWithOneMessageNamingFileAndOffset) {
    const SDamagedCase& test = GetParam();
    TempDir dir;
    const std::string path = dir.File("damaged.qlog");
    WriteWholeFile(path, test.contents);

    testing::internal::CaptureStderr();
    int records = 0;
    {
        CLogFileReader reader(path);
        double timestamp = 0.0;
        std::string data;
        while (reader.GetNextBinary(timestamp, data)) ++records;
        // Asking again after the end neither reads on nor repeats the message.
        EXPECT_EQ(0, reader.GetNextBinary(timestamp, data));
        EXPECT_EQ(0, reader.GetNextBinary(timestamp, data));
        EXPECT_TRUE(reader.HasFailed());
    }
    const std::string message = testing::internal::GetCapturedStderr();

    EXPECT_EQ(test.goodRecords, records);
    EXPECT_EQ(1, CountLines(message)) << message;
    EXPECT_NE(std::string::npos, message.find(path)) << message;
    EXPECT_TRUE(NamesOffset(message, test.offset)) << message;
    EXPECT_NE(std::string::npos, message.find(test.phrase)) << message;
}

const std::string kGood = Record(100.0, "abc");  // 15 bytes, at offset 8

INSTANTIATE_TEST_SUITE_P(
    Faults, DamagedLogTest,
    ::testing::Values(SDamagedCase{"EmptyFile", "", 0, 0, "no \"QUILLOG1\" mark"},
                      SDamagedCase{"ShortMark", "QUILL", 0, 0, "no \"QUILLOG1\" mark"},
                      SDamagedCase{"WrongMark", "QUILLOG2" + kGood, 0, 0, "no \"QUILLOG1\" mark"},
                      SDamagedCase{"TruncatedTimestamp", kMark + kGood + std::string(5, '\x01'), 1,
                                   23, "truncated timestamp"},
                      SDamagedCase{"TruncatedCount", kMark + RecordHeader(1.0, 3).substr(0, 10), 0,
                                   8, "truncated byte count"},
                      SDamagedCase{"TruncatedData",
                                   kMark + kGood + RecordHeader(2.0, 500) + std::string(12, 'x'), 1,
                                   23, "needs 500 bytes, 12 left"},
                      SDamagedCase{"LongerThanOneMebibyte",
                                   kMark + RecordHeader(1.0, 1048577) + std::string(100, 'x'), 0, 8,
                                   "1048577"},
                      SDamagedCase{"CountOfAllOnes", kMark + kGood + RecordHeader(1.0, 0xFFFFFFFFu),
                                   1, 23, "4294967295"}),
    [](const ::testing::TestParamInfo<SDamagedCase>& info) { return info.param.name; });

TEST(LogFileReaderTest, ReadsRecordsInOrderAndEndsSilentlyAtARecordBoundary) {
    TempDir dir;
    const std::string path = dir.File("good.qlog");
    const std::string binary("\0\xAA\x44\x12\0", 5);
    WriteWholeFile(path, kMark + Record(1.5, binary) + Record(-2.25, "") + Record(3e9, "end"));

    testing::internal::CaptureStderr();
    CLogFileReader reader(path);
    double timestamp = 0.0;
    std::string data;
    ASSERT_NE(0, reader.GetNextBinary(timestamp, data));
    EXPECT_EQ(1.5, timestamp);
    EXPECT_EQ(binary, data);
    ASSERT_NE(0, reader.GetNextBinary(timestamp, data));
    EXPECT_EQ(-2.25, timestamp);
    EXPECT_EQ("", data);
    ASSERT_NE(0, reader.GetNextBinary(timestamp, data));
    EXPECT_EQ(3e9, timestamp);
    EXPECT_EQ("end", data);
    EXPECT_EQ(0, reader.GetNextBinary(timestamp, data));
    EXPECT_FALSE(reader.HasFailed());
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(LogFileReaderTest, MissingFileIsReportedOnceAndReadsAsAnEmptyButWatchableLog) {
    TempDir dir;
    const std::string path = dir.File("absent.qlog");

    testing::internal::CaptureStderr();
    {
        CLogFileReader reader(path);
        double timestamp = 0.0;
        std::string data;
        EXPECT_EQ(0, reader.GetNextBinary(timestamp, data));
        EXPECT_EQ(0, reader.GetNextBinary(timestamp, data));
        EXPECT_TRUE(reader.HasFailed());
        // Still a descriptor that select() reports readable, so a replay ends.
        EXPECT_GT(reader.GetFileDescriptor(), 0);
    }
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_EQ(1, CountLines(message)) << message;
    EXPECT_NE(std::string::npos, message.find(path + ": cannot open")) << message;
}

}  // namespace
