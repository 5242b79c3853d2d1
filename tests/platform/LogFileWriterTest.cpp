// CLogFileWriter: what it writes reads back unchanged, byte for byte in the
// documented layout, and appending never extends foreign or damaged files.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "platform/LogFile/LogFileReader.h"
#include "platform/LogFile/LogFileWriter.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::ReadWholeFile;
using TestSupport::TempDir;
using TestSupport::WriteWholeFile;

typedef std::vector<std::pair<double, std::string>> RecordList;

RecordList ReadAll(const std::string& path) {
    CLogFileReader reader(path);
    RecordList records;
    double timestamp = 0.0;
    std::string data;
    while (reader.GetNextBinary(timestamp, data)) records.emplace_back(timestamp, data);
    EXPECT_FALSE(reader.HasFailed()) << path;
    return records;
}

TEST(LogFileWriterTest, RoundTripKeepsTimesAndBinaryBytesIncludingEmptyRecords) {
    TempDir dir;
    const std::string path = dir.File("round.qlog");
    const std::string withNuls("\0\xAA\x44\x12\0\xFF", 6);
    const ByteVector vectorBytes = {0x00, 0x01, 0x80, 0xFE, 0x00};
    std::string long_(70000, '\0');
    for (size_t i = 0; i < long_.size(); ++i) long_[i] = static_cast<char>(i * 7);

    CLogFileWriter writer;
    ASSERT_TRUE(writer.Open(path));
    EXPECT_TRUE(writer.Write(1020717528.125, withNuls));
    EXPECT_TRUE(writer.Write(0.0, std::string()));
    EXPECT_TRUE(writer.Write(-3.5, vectorBytes));
    EXPECT_TRUE(writer.Write(1e-9, long_));
    ASSERT_TRUE(writer.Close());

    const RecordList expected = {{1020717528.125, withNuls},
                                 {0.0, ""},
                                 {-3.5, std::string(vectorBytes.begin(), vectorBytes.end())},
                                 {1e-9, long_}};
    EXPECT_EQ(expected, ReadAll(path));
}

TEST(LogFileWriterTest, WritesTheMarkThenLittleEndianTimeAndCount) {
    TempDir dir;
    const std::string path = dir.File("layout.qlog");
    CLogFileWriter writer;
    ASSERT_TRUE(writer.Open(path));
    ASSERT_TRUE(writer.Write(1.0, std::string("AB")));
    ASSERT_TRUE(writer.Close());

    // 1.0 is 0x3FF0000000000000; the count 2 follows in four bytes.
    const std::string expected = std::string("QUILLOG1") + std::string("\0\0\0\0\0\0\xF0\x3F", 8) +
                                 std::string("\x02\0\0\0", 4) + "AB";
    EXPECT_EQ(expected, ReadWholeFile(path));
}

TEST(LogFileWriterTest, RefusesARecordOverTheLimitAndStaysUsable) {
    TempDir dir;
    const std::string path = dir.File("limit.qlog");
    CLogFileWriter writer;
    ASSERT_TRUE(writer.Open(path));

    testing::internal::CaptureStderr();
    EXPECT_FALSE(writer.Write(1.0, std::string(1048577, 'x')));
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, message.find(path)) << message;
    EXPECT_NE(std::string::npos, message.find("1048577")) << message;

    EXPECT_TRUE(writer.Write(2.0, std::string(1048576, 'y')));
    ASSERT_TRUE(writer.Close());
    const RecordList records = ReadAll(path);
    ASSERT_EQ(1u, records.size());
    EXPECT_EQ(2.0, records[0].first);
    EXPECT_EQ(1048576u, records[0].second.size()) << "the reader takes a record of exactly 1 MiB";
}

TEST(LogFileWriterTest, AppendContinuesAnExistingLog) {
    TempDir dir;
    const std::string path = dir.File("grow.qlog");
    {
        CLogFileWriter first;
        ASSERT_TRUE(first.Open(path, CLogFileWriter::kAppend));  // missing: starts anew
        ASSERT_TRUE(first.Write(1.0, std::string("one")));
        ASSERT_TRUE(first.Write(2.0, std::string()));
    }
    CLogFileWriter second;
    ASSERT_TRUE(second.Open(path, CLogFileWriter::kAppend));
    ASSERT_TRUE(second.Write(3.0, std::string("three")));
    ASSERT_TRUE(second.Close());
    EXPECT_EQ((RecordList{{1.0, "one"}, {2.0, ""}, {3.0, "three"}}), ReadAll(path));
}

TEST(LogFileWriterTest, TruncateReplacesAnyFileAndAppendToAnEmptyFileWritesTheMark) {
    const struct {
        const char* before;
        CLogFileWriter::EOpenMode mode;
    } cases[] = {{"whatever was here before", CLogFileWriter::kTruncate},
                 {"", CLogFileWriter::kAppend}};
    for (const auto& c : cases) {
        TempDir dir;
        const std::string path = dir.File("old.qlog");
        WriteWholeFile(path, c.before);
        CLogFileWriter writer;
        ASSERT_TRUE(writer.Open(path, c.mode)) << c.before;
        ASSERT_TRUE(writer.Write(4.0, std::string("x")));
        ASSERT_TRUE(writer.Close());
        EXPECT_EQ((RecordList{{4.0, "x"}}), ReadAll(path)) << c.before;
    }
}

struct SRefusedAppend {
    const char* name;
    std::string contents;
};

class RefusedAppendTest : public ::testing::TestWithParam<SRefusedAppend> {};

TEST_P(RefusedAppendTest, LeavesTheFileUntouchedAndSaysWhy) {
    TempDir dir;
    const std::string path = dir.File("foreign.qlog");
    WriteWholeFile(path, GetParam().contents);

    testing::internal::CaptureStderr();
    CLogFileWriter writer;
    EXPECT_FALSE(writer.Open(path, CLogFileWriter::kAppend));
    EXPECT_FALSE(writer.IsOpen());
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, message.find(path + ": cannot append")) << message;
    EXPECT_EQ(GetParam().contents, ReadWholeFile(path));
}

INSTANTIATE_TEST_SUITE_P(
    Faults, RefusedAppendTest,
    ::testing::Values(
        SRefusedAppend{"NotALog", "$GPGGA,123519,4807.038,N*47\r\n"},
        SRefusedAppend{"ShorterThanTheMark", "QUILL"},
        SRefusedAppend{"TruncatedHeader", std::string("QUILLOG1") + std::string(7, '\0')},
        SRefusedAppend{"TruncatedData", std::string("QUILLOG1") + std::string(8, '\0') +
                                            std::string("\x09\0\0\0", 4) + "only5"},
        SRefusedAppend{"CountOverTheLimit", std::string("QUILLOG1") + std::string(8, '\0') +
                                                std::string("\x01\0\x10\0", 4)}),
    [](const ::testing::TestParamInfo<SRefusedAppend>& info) { return info.param.name; });

TEST(LogFileWriterTest, ReportsAFileThatCannotBeCreated) {
    TempDir dir;
    const std::string path = dir.File("no-such-dir/x.qlog");
    testing::internal::CaptureStderr();
    CLogFileWriter writer;
    EXPECT_FALSE(writer.Open(path));
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, message.find("CLogFileWriter: " + path)) << message;
}

TEST(LogFileWriterTest, WriteWithoutAnOpenFileFailsWithOneMessage) {
    testing::internal::CaptureStderr();
    CLogFileWriter writer;
    EXPECT_FALSE(writer.Write(1.0, std::string("a")));
    EXPECT_FALSE(writer.Write(2.0, ByteVector{1}));
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_EQ(1, static_cast<int>(std::count(message.begin(), message.end(), '\n'))) << message;
}

}  // namespace
