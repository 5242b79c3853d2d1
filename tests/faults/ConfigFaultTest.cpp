// A configuration store that cannot be read, or holds garbage: the daemon says
// so clearly, runs on defaults for what it could not read, and never writes
// over the file.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/faults/FaultSupport.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::RunProcess;
using TestSupport::SProcessResult;

// Replays two seconds of records with the given store; the daemon ends by itself.
SProcessResult ReplayWithStore(const TestSupport::TempDir& dir, const std::string& store) {
    TestSupport::WriteWholeFile(
        dir.File("replay.qlog"),
        FaultSupport::RecordedLog(10, 0.2,
                                  FaultSupport::NmeaSentence("GPZDA,123456.00,15,03,2024,00,00")));
    return RunProcess({TestSupport::BuiltProgram("quillond"), "-p", "-r", dir.File("replay.qlog")},
                      {{"QUILLOND_CONFIG", store}}, 60.0);
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

TEST(ConfigFaultTest, CorruptStoreIsReportedByFileAndKeyAndKeepsEveryLine) {
    TestSupport::TempDir dir;
    TestSupport::CLogServerStub logServer;
    // Private ports first, then garbage: binary bytes, a broken header, a line
    // without "=", an integer that is not one.
    std::string garbage = "\x01\x02\xff\xfe binary junk\n[Quillond\nno equals sign here\n";
    garbage += "[Quillond]\nbaud_rate = 12abc\n";
    garbage += std::string("\0\0\0", 3) + "= empty key\n";
    const std::string store =
        TestSupport::WriteServerConfig(dir, "127.0.0.1", logServer.Port(), garbage);
    const std::string before = TestSupport::ReadWholeFile(store);

    const SProcessResult result = ReplayWithStore(dir, store);
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    // Each problem names the file, so the operator knows where to look.
    EXPECT_NE(std::string::npos, result.standardError.find(store)) << result.standardError;
    EXPECT_NE(std::string::npos, result.standardError.find("baud_rate")) << result.standardError;
    // The daemon may commit its own state keys into the store, but every line
    // that was there, the garbage included, stays there byte for byte and in order.
    const std::vector<std::string> kept = Lines(TestSupport::ReadWholeFile(store));
    size_t next = 0;
    for (const std::string& line : Lines(before)) {
        while (next < kept.size() && kept[next] != line) ++next;
        ASSERT_LT(next, kept.size()) << "line lost: " << line;
        ++next;
    }
}

// A store path that exists but is no readable file.
struct SUnreadableCase {
    const char* name;
    void (*make)(const std::string& path);
};

class UnreadableStoreTest : public ::testing::TestWithParam<SUnreadableCase> {};

TEST_P(UnreadableStoreTest, RunsOnDefaultsSaysWhyAndNeverReplacesIt) {
    TestSupport::TempDir dir;
    const std::string store = dir.File("system.conf");
    GetParam().make(store);
    struct stat before;
    ASSERT_EQ(0, ::lstat(store.c_str(), &before));

    const SProcessResult result = ReplayWithStore(dir, store);
    // Every record of the replay was still taken in and the daemon ended normally.
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_NE(std::string::npos, result.standardError.find(store)) << result.standardError;

    struct stat after;
    ASSERT_EQ(0, ::lstat(store.c_str(), &after));
    EXPECT_EQ(before.st_mode, after.st_mode);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, UnreadableStoreTest,
    ::testing::Values(
        SUnreadableCase{"Directory", [](const std::string& path) { ::mkdir(path.c_str(), 0750); }},
        SUnreadableCase{"Fifo", [](const std::string& path) { ::mkfifo(path.c_str(), 0640); }}),
    [](const ::testing::TestParamInfo<SUnreadableCase>& info) {
        return std::string(info.param.name);
    });

}  // namespace
