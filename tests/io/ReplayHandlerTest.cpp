// CReplayHandler: records come out at the pace they were recorded, with the
// console line for each paced record, and the end of the log ends the replay.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "io/ReplayHandler.h"
#include "platform/LogFile/LogFileWriter.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::TempDir;

typedef std::vector<std::pair<double, std::string>> RecordList;

std::string WriteLog(const TempDir& dir, const RecordList& records) {
    const std::string path = dir.File("replay.qlog");
    CLogFileWriter writer;
    EXPECT_TRUE(writer.Open(path));
    for (const auto& record : records) EXPECT_TRUE(writer.Write(record.first, record.second));
    EXPECT_TRUE(writer.Close());
    return path;
}

std::string Text(const ByteVector& bytes) { return std::string(bytes.begin(), bytes.end()); }

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(ReplayHandlerTest, PacesRecordsByTheirRecordedGapsAndPrintsOneLineEach) {
    TempDir dir;
    CReplayHandler replay;
    replay.SetPortName(WriteLog(dir, {{1000.0, "first"}, {1000.1, "second"}, {1000.2, "third"}}));
    ASSERT_EQ(1, replay.Open());

    testing::internal::CaptureStdout();
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ("first", Text(replay.Read()));
    const double firstDelay = SecondsSince(start);  // measured from 0.0: a long gap, not waited for
    start = std::chrono::steady_clock::now();
    EXPECT_EQ("second", Text(replay.Read()));
    EXPECT_EQ("third", Text(replay.Read()));
    const double pacedDelay = SecondsSince(start);
    EXPECT_TRUE(replay.Read().empty());
    const std::string console = testing::internal::GetCapturedStdout();

    EXPECT_LT(firstDelay, 1.0);
    EXPECT_GE(pacedDelay, 0.15);
    EXPECT_LE(pacedDelay, 1.5);
    EXPECT_EQ("Timestamp=1000.100,  dt=0.100\nTimestamp=1000.200,  dt=0.100\n", console);
}

// Backward steps and gaps of ten seconds or more pass at once, unannounced;
// the next gap is measured from the record before, even after a step back.
TEST(ReplayHandlerTest, BackwardStepsAndLongGapsPassAtOnceAndGapsCountFromTheRecordBefore) {
    TempDir dir;
    CReplayHandler replay;
    // 2000 -> 1992: backwards; -> 1992.05 paced; -> 2010: 18 s; -> 2020: exactly
    // 10 s; -> 2020.05 paced.
    replay.SetPortName(WriteLog(dir, {{2000.0, "a"},
                                      {1992.0, "b"},
                                      {1992.05, "c"},
                                      {2010.0, "d"},
                                      {2020.0, "e"},
                                      {2020.05, "f"}}));
    ASSERT_EQ(1, replay.Open());

    testing::internal::CaptureStdout();
    const auto start = std::chrono::steady_clock::now();
    std::string read;
    for (ByteVector bytes; !(bytes = replay.Read()).empty();) read += Text(bytes);
    const double elapsed = SecondsSince(start);
    const std::string console = testing::internal::GetCapturedStdout();

    EXPECT_EQ("abcdef", read);
    EXPECT_EQ("Timestamp=1992.050,  dt=0.050\nTimestamp=2020.050,  dt=0.050\n", console);
    EXPECT_LT(elapsed, 5.0);  // waiting for any of the long gaps would take 8 s or more
}

TEST(ReplayHandlerTest, EmptyRecordDoesNotEndTheReplay) {
    TempDir dir;
    CReplayHandler replay;
    replay.SetPortName(WriteLog(dir, {{100.0, "a"}, {100.0, ""}, {100.0, "b"}}));
    ASSERT_EQ(1, replay.Open());
    EXPECT_EQ("a", Text(replay.Read()));
    EXPECT_EQ("b", Text(replay.Read()));
    EXPECT_TRUE(replay.Read().empty());
}

int ThrownCode(CReplayHandler& replay) {
    try {
        replay.Read();
    } catch (int code) {
        return code;
    }
    return 0;
}

TEST(ReplayHandlerTest, OpenNeedsAPathTheDescriptorFollowsTheReaderAndReadWithoutOneThrowsOne) {
    TempDir dir;
    CReplayHandler replay;
    EXPECT_EQ(1, ThrownCode(replay));
    EXPECT_EQ(0, replay.Open());
    EXPECT_FALSE(replay.IsOpen());
    EXPECT_EQ(-1, replay.GetFileDescriptor());

    EXPECT_EQ(1, replay.SetPortName(WriteLog(dir, {{100.0, "x"}})));
    ASSERT_EQ(1, replay.Open());
    EXPECT_TRUE(replay.IsOpen());
    EXPECT_GT(replay.GetFileDescriptor(), 2);

    EXPECT_EQ(1, replay.Close());
    EXPECT_FALSE(replay.IsOpen());
    EXPECT_EQ(-1, replay.GetFileDescriptor());
    EXPECT_EQ(1, ThrownCode(replay));
}

TEST(ReplayHandlerTest, MissingFileIsReportedOnceAndTheFirstReadEndsTheReplay) {
    TempDir dir;
    const std::string path = dir.File("absent.qlog");
    CReplayHandler replay;
    replay.SetPortName(path);

    testing::internal::CaptureStderr();
    ASSERT_EQ(1, replay.Open());
    // A watchable descriptor, so the main loop gets to the read that ends it.
    EXPECT_GT(replay.GetFileDescriptor(), 0);
    EXPECT_TRUE(replay.Read().empty());
    EXPECT_TRUE(replay.Read().empty());
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_EQ("CLogFileReader: " + path + ": cannot open: No such file or directory\n", message);
}

}  // namespace
