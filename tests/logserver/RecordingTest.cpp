// Raw receiver data through quillond-logserver: put back together from its
// pieces, recorded only for the clients whose logging configuration asks for
// it, rotated into numbered files, and replayed by the daemon exactly as the
// raw bytes read directly.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "platform/Config/Config.h"
#include "platform/LogFile/LogFileReader.h"
#include "platform/Logging/LogClient.h"
#include "platform/Logging/RemoteLogger.h"
#include "tests/logserver/LogServerProcess.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using LogServerTesting::CLogServerProcess;
using LogServerTesting::Lines;
using TestSupport::RunProcess;
using TestSupport::SProcessResult;
using TestSupport::TempDir;

const char kPortHandler[] = "NovatelPortHandler";

typedef std::vector<std::pair<double, std::string>> RecordList;

RecordList ReadLog(const std::string& path) {
    CLogFileReader reader(path);
    RecordList records;
    double timestamp = 0.0;
    std::string data;
    while (reader.GetNextBinary(timestamp, data)) records.emplace_back(timestamp, data);
    EXPECT_FALSE(reader.HasFailed()) << path;
    return records;
}

// Bytes of every value, NULs and bytes that are not text included.
std::string Block(size_t size, unsigned seed) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 31 + seed * 7) % 256);
    return bytes;
}

std::string RawPiece(const std::string& client, size_t offset, size_t total,
                     const std::string& base64, double time) {
    return R"({"client":")" + client + R"(","type":"raw","name":")" + client + R"(","offset":)" +
           std::to_string(offset) + R"(,"total":)" + std::to_string(total) + R"(,"data":")" +
           base64 + R"(","time":)" + std::to_string(time) + "}";
}

// A recording log server in its own directory, with a store whose logging
// configuration records the port handler's raw data and not the other client's.
class RecordingTest : public ::testing::Test {
protected:
    void Start(const std::vector<std::string>& extraOptions = {}) {
        ::mkdir(m_dir.File("rec").c_str(), 0755);  // a test may have made it
        std::vector<std::string> options = {"--json", "--record-dir", m_dir.File("rec")};
        options.insert(options.end(), extraOptions.begin(), extraOptions.end());
        m_server.reset(new CLogServerProcess(m_dir, options, m_dir.File("system.conf")));
        ASSERT_TRUE(m_server->IsListening());
        TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_server->Port(),
                                       "[Logging.NovatelPortHandler]\nrecord_raw_data = 1\n"
                                       "[Logging.Other]\nrecord_raw_data = 0\n");
        m_store.reset(new CConfig(m_dir.File("system.conf")));
    }

    // The recorded files, in order of their numbers.
    std::vector<std::string> Files(const std::string& stem) {
        std::vector<std::string> files;
        for (unsigned number = 1;; ++number) {
            char name[64];
            std::snprintf(name, sizeof name, "%s-%04u.qlog", stem.c_str(), number);
            const std::string path = m_dir.File("rec/") + name;
            if (::access(path.c_str(), F_OK) != 0) break;
            files.push_back(path);
        }
        return files;
    }

    TempDir m_dir;
    std::unique_ptr<CLogServerProcess> m_server;
    std::unique_ptr<CConfig> m_store;
};

TEST_F(RecordingTest, RecordsWholeBlocksOfTheClientsConfiguredToBeRecorded) {
    Start();
    CLogClient portHandler(kPortHandler, *m_store);
    CRemoteLogger other("Other", *m_store);  // sends raw data although it is not to be recorded
    // 60000 bytes need several datagrams of at most 32 KiB.
    const std::vector<std::string> blocks = {Block(1500, 1), Block(60000, 2), Block(1, 3)};
    for (const std::string& block : blocks) {
        portHandler.SendRawData(kPortHandler, block);
        other.SendRawData("Other", block);
        ::usleep(20000);
    }
    SProcessResult result = m_server->Stop();
    EXPECT_EQ(0, result.exitStatus) << result.standardError;

    const std::vector<std::string> files = Files(kPortHandler);
    ASSERT_EQ(1u, files.size()) << result.standardOutput;
    const RecordList records = ReadLog(files[0]);
    ASSERT_EQ(blocks.size(), records.size());
    for (size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_EQ(blocks[i], records[i].second) << "block " << i;
        EXPECT_GT(records[i].first, 1.7e9) << "stamped with the datagram's Unix time";
    }
    EXPECT_TRUE(Files("Other").empty());
    const nlohmann::json summary = nlohmann::json::parse(Lines(result.standardOutput).back());
    EXPECT_EQ(3, summary["raw_blocks_recorded"]);
    EXPECT_EQ(3, summary["raw_blocks_not_recorded"]);
}

TEST_F(RecordingTest, RotatesBySizeIntoNumberedFilesThatTogetherHoldEveryBlock) {
    Start({"--rotate-bytes", "4096"});
    std::vector<std::string> blocks;
    for (unsigned i = 0; i < 20; ++i) blocks.push_back(Block(1000, i));
    CLogClient portHandler(kPortHandler, *m_store);
    for (const std::string& block : blocks) portHandler.SendRawData(kPortHandler, block);
    SProcessResult result = m_server->Stop();
    EXPECT_EQ(0, result.exitStatus) << result.standardError;

    const std::vector<std::string> files = Files(kPortHandler);
    ASSERT_GE(files.size(), 5u);  // four 1012-byte records fit under 4096 with the mark
    std::vector<std::string> recorded;
    for (const std::string& file : files) {
        EXPECT_LE(TestSupport::ReadWholeFile(file).size(), 4096u) << file;
        for (const auto& record : ReadLog(file)) recorded.push_back(record.second);
    }
    EXPECT_EQ(blocks, recorded);
}

TEST_F(RecordingTest, APieceThatDoesNotContinueItsBlockDropsThatBlockOnly) {
    Start();
    const double time = 1763700000.0;
    // "AAECAwQ=" is 00 01 02 03 04; "BQYHCAk=" is 05 06 07 08 09; "BQYHCA==" 05 06 07 08.
    m_server->Send(RawPiece(kPortHandler, 0, 10, "AAECAwQ=", time));
    m_server->Send(RawPiece(kPortHandler, 6, 10, "BQYHCA==", time));      // gap: dropped
    m_server->Send(RawPiece(kPortHandler, 5, 10, "BQYHCAk=", time + 1));  // nothing to continue
    m_server->Send(RawPiece(kPortHandler, 0, 10, "AAECAwQ=", time + 2));
    m_server->Send(RawPiece(kPortHandler, 5, 10, "BQYHCAk=", time + 2.5));
    SProcessResult result = m_server->Stop();
    EXPECT_EQ(0, result.exitStatus) << result.standardError;

    const std::vector<std::string> files = Files(kPortHandler);
    ASSERT_EQ(1u, files.size());
    const RecordList records = ReadLog(files[0]);
    ASSERT_EQ(1u, records.size());
    EXPECT_EQ(std::string("\0\1\2\3\4\5\6\7\10\11", 10), records[0].second);
    EXPECT_DOUBLE_EQ(time + 2, records[0].first);  // the time of its first piece
    const nlohmann::json summary = nlohmann::json::parse(Lines(result.standardOutput).back());
    EXPECT_EQ(1, summary["raw_blocks_lost"]);
    EXPECT_EQ(1, summary["raw_blocks_recorded"]);
}

TEST_F(RecordingTest, NumberingContinuesAfterTheFilesOfAnEarlierRun) {
    ASSERT_EQ(0, ::mkdir(m_dir.File("rec").c_str(), 0755));
    TestSupport::WriteWholeFile(m_dir.File("rec/NovatelPortHandler-0007.qlog"), "earlier");
    Start();
    m_server->Send(RawPiece(kPortHandler, 0, 5, "AAECAwQ=", 1763700000.0));
    m_server->Stop();
    EXPECT_EQ("earlier",
              TestSupport::ReadWholeFile(m_dir.File("rec/NovatelPortHandler-0007.qlog")));
    EXPECT_EQ(1u, ReadLog(m_dir.File("rec/NovatelPortHandler-0008.qlog")).size());
}

TEST_F(RecordingTest, ConfigurationChangedWhileRunningTakesEffectAtTheNextBlock) {
    Start();
    const double time = 1763700000.0;
    m_server->Send(RawPiece(kPortHandler, 0, 5, "AAECAwQ=", time));
    ::usleep(200000);
    // As the remote method that switches GPS logging off commits it.
    CLogClient settings(kPortHandler, *m_store);
    SLoggingConfig off = settings.GetLoggingConfig(kPortHandler);
    off.recordRawData = false;
    ASSERT_TRUE(settings.SetLoggingConfig(kPortHandler, off));
    m_server->Send(RawPiece(kPortHandler, 0, 5, "BQYHCAk=", time + 1));
    SProcessResult result = m_server->Stop();
    EXPECT_EQ(0, result.exitStatus) << result.standardError;

    const RecordList records = ReadLog(m_dir.File("rec/NovatelPortHandler-0001.qlog"));
    ASSERT_EQ(1u, records.size());
    EXPECT_EQ(std::string("\0\1\2\3\4", 5), records[0].second);
}

TEST_F(RecordingTest, RecordedFileReplaysThroughTheDaemonLikeTheRawBytes) {
    Start();
    const std::string capture = m_dir.File("synthetic.gps");
    ASSERT_EQ(0, RunProcess({TestSupport::BuiltProgram("quillond-mkcapture"), "-n", "6", capture})
                     .exitStatus);
    const std::string raw = TestSupport::ReadWholeFile(capture);
    ASSERT_GT(raw.size(), 1024u);

    // As the port handler hands it over: blocks of a little more than 1 KiB.
    CLogClient portHandler(kPortHandler, *m_store);
    for (size_t at = 0; at < raw.size(); at += 1100) {
        portHandler.SendRawData(kPortHandler, raw.substr(at, 1100));
    }
    SProcessResult result = m_server->Stop();
    ASSERT_EQ(0, result.exitStatus) << result.standardError;
    const std::vector<std::string> files = Files(kPortHandler);
    ASSERT_EQ(1u, files.size());

    std::string replayed;
    for (const auto& record : ReadLog(files[0])) replayed += record.second;
    EXPECT_EQ(raw, replayed);

    TempDir daemonDir;
    const std::string config =
        TestSupport::WriteServerConfig(daemonDir, "127.0.0.1", TestSupport::ClosedPort());
    const std::map<std::string, std::string> environment = {{"QUILLOND_CONFIG", config}};
    const std::string daemon = TestSupport::BuiltProgram("quillond");
    SProcessResult direct = RunProcess({daemon, "-p", "-d", "-f", capture}, environment, 120.0);
    SProcessResult replay = RunProcess({daemon, "-p", "-d", "-r", files[0]}, environment, 120.0);
    EXPECT_EQ(0, direct.exitStatus) << direct.standardError;
    EXPECT_EQ(0, replay.exitStatus) << replay.standardError;
    ASSERT_FALSE(TestSupport::ScreenDumpLines(direct.standardOutput).empty());
    EXPECT_EQ(TestSupport::ScreenDumpLines(direct.standardOutput),
              TestSupport::ScreenDumpLines(replay.standardOutput));
}

}  // namespace
