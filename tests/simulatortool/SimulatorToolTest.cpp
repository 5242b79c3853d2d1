// quillond-sim run as a program: usage, refused options, the files it
// writes and its live mode's pseudo-terminal, link and socket.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "platform/LogFile/LogFileReader.h"
#include "tests/simulator/StreamDecoder.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::BuiltProgram;
using TestSupport::RunProcess;
using TestSupport::SProcessResult;
using TestSupport::TempDir;

const std::string kTool = BuiltProgram("quillond-sim");

bool Exists(const std::string& path) {
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0;
}

TEST(SimulatorTool, HelpPrintsUsageAndSucceeds) {
    const SProcessResult result = RunProcess({kTool, "--help"});
    EXPECT_EQ(0, result.exitStatus);
    EXPECT_EQ(0u, result.standardOutput.find("Usage: quillond-sim"));
    EXPECT_NE(std::string::npos, result.standardOutput.find("--phase-drop T,N"));
}

TEST(SimulatorTool, RefusesBadOptionValuesWithAMessage) {
    struct {
        std::vector<std::string> arguments;
        const char* message;
    } const kCases[] = {
        {{"--position", "95,0,0"}, "bad value \"95,0,0\" for --position"},
        {{"--start", "2390"}, "bad value \"2390\" for --start"},
        {{"--silence", "3,4,5"}, "bad value \"3,4,5\" for --silence"},
        {{"--corrupt-crc", "0"}, "bad value \"0\" for --corrupt-crc"},
        {{"--baud", "12345"}, "bad value \"12345\" for --baud"},
        {{"--capture", "a", "--recorded-log", "b"}, "not both"},
        {{"stray"}, "unexpected argument \"stray\""},
    };
    for (const auto& c : kCases) {
        std::vector<std::string> argv = {kTool};
        argv.insert(argv.end(), c.arguments.begin(), c.arguments.end());
        const SProcessResult result = RunProcess(argv);
        EXPECT_EQ(2, result.exitStatus) << c.message;
        EXPECT_NE(std::string::npos, result.standardError.find(c.message)) << result.standardError;
    }
}

TEST(SimulatorTool, CaptureWithoutCommandsHoldsTheDaemonsUsualLogs) {
    TempDir dir;
    const SProcessResult result =
        RunProcess({kTool, "--capture", dir.File("sim.gps"), "--seconds", "10"});
    ASSERT_EQ(0, result.exitStatus) << result.standardError;
    const std::string bytes = TestSupport::ReadWholeFile(dir.File("sim.gps"));
    const SimulatorTest::SDecoded decoded =
        SimulatorTest::Decode(ByteVector(bytes.begin(), bytes.end()));
    EXPECT_EQ(0, decoded.binaryFailures);
    EXPECT_EQ(1u, decoded.Count(Novatel::kVERSIONMessageID));
    EXPECT_EQ(100u, decoded.Count(Novatel::kPDPXYZMessageID));  // 10 Hz from 0.1 s to 10 s
    EXPECT_EQ(100u, decoded.Count(Novatel::kPDPSTATMessageID));
    EXPECT_EQ(20u, decoded.Count(Novatel::kRANGEMessageID));
    EXPECT_EQ(1u, decoded.Count(Novatel::kCHANCONFIGLISTMessageID));
}

TEST(SimulatorTool, RecordedLogWithFaultsAndCommands) {
    TempDir dir;
    const SProcessResult result =
        RunProcess({kTool, "--recorded-log", dir.File("sim.qlog"), "--seconds", "6", "--command",
                    "log timeb ontime 1", "--silence", "2,2", "--no-glonass"});
    ASSERT_EQ(0, result.exitStatus) << result.standardError;
    CLogFileReader reader(dir.File("sim.qlog"));
    double stamp;
    std::string data, all;
    while (reader.GetNextBinary(stamp, data)) all += data;
    EXPECT_FALSE(reader.HasFailed());
    // TIME at 1, 4, 5 and 6 s: silent from 2 s to 4 s.
    EXPECT_EQ(
        4u,
        SimulatorTest::Decode(ByteVector(all.begin(), all.end())).Count(Novatel::kTIMEMessageID));
}

TEST(SimulatorTool, LiveModePrintsThePortAndCleansUpItsLinkAndSocket) {
    TempDir dir;
    const std::string link = dir.File("gps0"), socket = dir.File("tty_socket_5");
    // Ended by SIGTERM after a second, as a user would end it.
    const SProcessResult result =
        RunProcess({kTool, "--link", link, "--socket", socket}, {}, 1.0, SIGTERM);
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_EQ(0u, result.standardOutput.find("/dev/pts/"));
    EXPECT_FALSE(Exists(link));
    EXPECT_FALSE(Exists(socket));
}

}  // namespace
