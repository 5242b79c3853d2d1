// The receive path of the real daemon: the screen dump over recordings, the
// checksum statistics it publishes, and the restart of a silent link.

#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::RunProcess;
using TestSupport::SProcessResult;

class ReceivePathTest : public ::testing::Test {
protected:
    SProcessResult Run(std::vector<std::string> arguments, double timeout = 120.0, int timeoutSignal = SIGKILL) {
        arguments.insert(arguments.begin(), TestSupport::BuiltProgram("quillond"));
        return RunProcess(arguments, {{"QUILLOND_CONFIG", m_config}}, timeout, timeoutSignal);
    }
    std::vector<std::string> Values(const std::vector<nlohmann::json>& datagrams, const std::string& key) {
        std::vector<std::string> values;
        for (const nlohmann::json& datagram : datagrams) {
            if (datagram.value("type", "") == "value" && datagram.value("key", "") == key) {
                values.push_back(datagram["value"]);
            }
        }
        return values;
    }

    TestSupport::CLogServerStub m_server;
    TestSupport::TempDir m_dir;
    std::string m_config = TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_server.Port());
};

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

TEST_F(ReceivePathTest, ScreenDumpShowsEveryBinaryRecordInStreamOrder) {
    std::string capture = m_dir.File("demo.gps");
    ASSERT_EQ(0, RunProcess({TestSupport::BuiltProgram("quillond-mkcapture"), "-n", "3", "-w", "2390",
                             "-s", "604799", capture})
                     .exitStatus);
    SProcessResult result = Run({"-p", "-d", "-f", capture});
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    // The epoch at 604799 s is the week's last; the next starts week 2391 at 0.
    EXPECT_EQ((std::vector<std::string>{
                  "ID = 101, size = 44, week = 2390, seconds = 604799",
                  "ID = 42, size = 72, week = 2390, seconds = 604799",
                  "ID = 101, size = 44, week = 2391, seconds = 0",
                  "ID = 42, size = 72, week = 2391, seconds = 0",
                  "ID = 101, size = 44, week = 2391, seconds = 1",
                  "ID = 42, size = 72, week = 2391, seconds = 1",
              }),
              Lines(result.standardOutput));
    // Two binary logs and one NMEA sentence per epoch. The text framers also
    // read the binary frames, where a '$' or '#' byte starts a candidate that
    // then fails its checksum: those count as failures.
    std::vector<std::string> stats = Values(m_server.Drain(), "checksum_stats");
    ASSERT_FALSE(stats.empty());
    EXPECT_EQ(0u, stats.back().find("9,")) << stats.back();
}

TEST_F(ReceivePathTest, EveryRecordingRunsToItsEndWithOneLinePerBinaryRecord) {
    // Binary frames with a good CRC in each recording, counted once with an
    // independent scan (sync bytes, lengths, CRC) that follows the framer's rules.
    struct SCase {
        const char* name;
        size_t binaryRecords;
        size_t responses;
    } cases[] = {
        {"oemv3-OneEach.gps", 8, 0},
        {"mixed-alllogs-repaired.gps", 572, 0},
        {"mixed-alllogs-crlf-damaged.gps", 489, 0},
        {"oem729-qlnav.gps", 117, 0},
        {"udp-ascii-nmea-mix.txt", 0, 0},
    };
    for (const SCase& c : cases) {
        std::string path = TestSupport::CapturePath(c.name);
        if (path.empty()) {
            std::cout << "recording " << c.name << " not found; skipped\n";
            continue;
        }
        SProcessResult result = Run({"-p", "-d", "-f", path});
        EXPECT_EQ(0, result.exitStatus) << c.name << ": " << result.standardError;
        size_t packets = 0, responses = 0;
        for (const std::string& line : Lines(result.standardOutput)) {
            if (line.compare(0, 5, "ID = ") == 0) ++packets;
            if (line.compare(0, 14, "Response: Log=") == 0) ++responses;
        }
        EXPECT_EQ(c.binaryRecords, packets) << c.name;
        m_server.Drain();
    }
}

TEST_F(ReceivePathTest, GarbageOnlyLinkIsRestartedAfterTenSeconds) {
    int master = -1, slave = -1;
    char name[256];
    ASSERT_EQ(0, ::openpty(&master, &slave, name, nullptr, nullptr));
    ::close(slave);
    // A writer keeps the line busy with frames whose CRC is wrong: bytes keep
    // arriving, checksums keep failing, no record is ever built.
    pid_t writer = ::fork();
    if (writer == 0) {
        const unsigned char bad[] = {0xAA, 0x44, 0x12, 0x1C, 0x65, 0x00, 0x00, 0x20, 0x00, 0x00, 0, 0, 0, 0,
                                     0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0, 0, 0, 0,
                                     1,    2,    3,    4};
        for (int i = 0; i < 1200; ++i) {
            if (::write(master, bad, sizeof bad) < 0) break;
            ::usleep(10000);
        }
        ::_exit(0);
    }
    SProcessResult result = Run({"-p", "-s", name, "-b", "115200"}, 11.5, SIGTERM);
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
    ::close(master);
    EXPECT_EQ(0, result.exitStatus) << result.standardError;

    std::vector<nlohmann::json> datagrams = m_server.Drain();
    EXPECT_EQ((std::vector<std::string>{"1", "2"}), Values(datagrams, "receiver_initialisations"));
    bool timeoutEvent = false, condition = false;
    for (const nlohmann::json& datagram : datagrams) {
        timeoutEvent |= datagram.value("type", "") == "event" && datagram.value("name", "") == "QuillondPortTimeout";
        condition |= datagram.value("type", "") == "condition" &&
                     datagram.value("name", "") == "receiver_port_timeout";
    }
    EXPECT_TRUE(timeoutEvent);
    EXPECT_TRUE(condition);
    std::vector<std::string> stats = Values(datagrams, "checksum_stats");
    ASSERT_FALSE(stats.empty());
    EXPECT_EQ(0u, stats.back().find("0,")) << "no sentence may pass: " << stats.back();
}

}  // namespace
