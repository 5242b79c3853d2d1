// The receive path of the real daemon: the screen dump over recordings, the
// checksum statistics it publishes, and the restart of a silent link.

#include <dirent.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::RunProcess;
using TestSupport::SProcessResult;

class ReceivePathTest : public ::testing::Test {
protected:
    SProcessResult Run(std::vector<std::string> arguments, double timeout = 120.0,
                       int timeoutSignal = SIGKILL) {
        arguments.insert(arguments.begin(), TestSupport::BuiltProgram("quillond"));
        return RunProcess(arguments, {{"QUILLOND_CONFIG", m_config}}, timeout, timeoutSignal);
    }
    std::vector<std::string> Values(const std::vector<nlohmann::json>& datagrams,
                                    const std::string& key) {
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
    ASSERT_EQ(0, RunProcess({TestSupport::BuiltProgram("quillond-mkcapture"), "-n", "3", "-w",
                             "2390", "-s", "604799", capture})
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
              TestSupport::ScreenDumpLines(result.standardOutput));
    // Two binary logs and one NMEA sentence per epoch. The text framers also
    // read the binary frames, where a '$' or '#' byte starts a candidate that
    // then fails its checksum: those count as failures.
    std::vector<std::string> stats = Values(m_server.Drain(), "checksum_stats");
    ASSERT_FALSE(stats.empty());
    EXPECT_EQ(0u, stats.back().find("9,")) << stats.back();
}

// What the three framers make of a whole recording, worked out in this process.
struct SExpected {
    std::vector<std::string> packetIds;  // message ID of every binary frame, in stream order
    size_t responses = 0;
    std::string checksumStats;  // "good,bad" over all framers, the last one published
};

SExpected FrameInProcess(const std::string& path) {
    std::string text = TestSupport::ReadWholeFile(path);
    ByteVector bytes(text.begin(), text.end());
    Novatel::CNovatelBinarySentenceConstructor binary;
    Novatel::CNovatelASCIISentenceConstructor ascii;
    CNMEASentenceConstructor nmea;
    CSentenceConstructor* framers[] = {&binary, &ascii, &nmea};
    SExpected expected;
    size_t good = 0, bad = 0;
    for (CSentenceConstructor* framer : framers) {
        framer->AddData(bytes);
        ByteVector sentence;
        for (int result; (result = framer->GetSentence(sentence)) != 0;) {
            if (result < 0) {
                ++bad;
                continue;
            }
            ++good;
            if (framer != &binary) continue;
            expected.packetIds.push_back(std::to_string(sentence[4] | (sentence[5] << 8)));
            if (sentence[6] & 0x80) ++expected.responses;
        }
    }
    // Nothing is published for a stream without a single candidate.
    if (good + bad > 0) expected.checksumStats = std::to_string(good) + "," + std::to_string(bad);
    return expected;
}

TEST_F(ReceivePathTest, EveryRecordingRunsToItsEndWithOneLinePerBinaryRecord) {
    std::vector<std::string> recordings;
    if (DIR* directory = ::opendir(QUILLOND_CAPTURES_DIR)) {
        while (struct dirent* entry = ::readdir(directory)) {
            std::string name = entry->d_name;
            if (name[0] != '.' && name != "README.md") recordings.push_back(name);
        }
        ::closedir(directory);
    }
    if (recordings.empty()) GTEST_SKIP() << "no recordings in " << QUILLOND_CAPTURES_DIR;

    for (const std::string& name : recordings) {
        std::string path = std::string(QUILLOND_CAPTURES_DIR) + "/" + name;
        SExpected expected = FrameInProcess(path);

        // The daemon publishes several datagrams per sentence: keep reading
        // while it runs so none is lost to a full socket buffer, and after it
        // ended until the socket has been quiet for a while. Each recording
        // gets a log server of its own, so nothing of one run reaches the next.
        TestSupport::CLogServerStub server;
        TestSupport::TempDir dir;
        std::string config = TestSupport::WriteServerConfig(dir, "127.0.0.1", server.Port());
        std::atomic<bool> daemonEnded(false);
        std::string lastStats;
        std::thread collector([&] {
            for (;;) {
                std::string datagram = server.ReceiveWithin(0.5);
                if (datagram.empty()) {
                    if (daemonEnded) return;
                    continue;
                }
                if (datagram.find("\"checksum_stats\"") == std::string::npos) continue;
                lastStats = nlohmann::json::parse(datagram)["value"];
            }
        });
        SProcessResult result =
            RunProcess({TestSupport::BuiltProgram("quillond"), "-p", "-d", "-f", path},
                       {{"QUILLOND_CONFIG", config}}, 120.0);
        daemonEnded = true;
        collector.join();

        EXPECT_EQ(0, result.exitStatus) << name << ": " << result.standardError;
        std::vector<std::string> packetIds;
        size_t responses = 0;
        for (const std::string& line : Lines(result.standardOutput)) {
            if (line.compare(0, 5, "ID = ") == 0)
                packetIds.push_back(line.substr(5, line.find(',') - 5));
            if (line.compare(0, 14, "Response: Log=") == 0) ++responses;
        }
        EXPECT_EQ(expected.packetIds, packetIds) << name;
        EXPECT_EQ(expected.responses, responses) << name;
        EXPECT_EQ(expected.checksumStats, lastStats) << name;
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
        const unsigned char bad[] = {0xAA, 0x44, 0x12, 0x1C, 0x65, 0x00, 0x00, 0x20, 0x00, 0x00, 0,
                                     0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,
                                     0,    0,    0,    0,    0,    0,    1,    2,    3,    4};
        for (int i = 0; i < 1200; ++i) {
            if (::write(master, bad, sizeof bad) < 0) break;
            ::usleep(10000);
        }
        ::_exit(0);
    }
    SProcessResult result = Run({"-p", "-s", name, "-b", "115200", "-u", "none"}, 11.5, SIGTERM);
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
    ::close(master);
    EXPECT_EQ(0, result.exitStatus) << result.standardError;

    std::vector<nlohmann::json> datagrams = m_server.Drain();
    EXPECT_EQ((std::vector<std::string>{"1", "2"}), Values(datagrams, "receiver_initialisations"));
    bool timeoutEvent = false, condition = false;
    for (const nlohmann::json& datagram : datagrams) {
        timeoutEvent |= datagram.value("type", "") == "event" &&
                        datagram.value("name", "") == "QuillondPortTimeout";
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
