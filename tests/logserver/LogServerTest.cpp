// quillond-logserver as a process: its options, the state it keeps from every
// kind of datagram, and that garbage is counted and shown but never stops it.

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/Config/Config.h"
#include "platform/Logging/RemoteLogger.h"
#include "tests/logserver/LogServerProcess.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using LogServerTesting::CLogServerProcess;
using LogServerTesting::Lines;
using nlohmann::json;
using TestSupport::RunProcess;
using TestSupport::SProcessResult;
using TestSupport::TempDir;

const std::string kTool = TestSupport::BuiltProgram("quillond-logserver");

// The JSON lines of a --json run with the given "logserver" kind.
std::vector<json> OfKind(const std::string& output, const std::string& kind) {
    std::vector<json> found;
    for (const std::string& line : Lines(output)) {
        json object = json::parse(line, nullptr, false);
        EXPECT_FALSE(object.is_discarded()) << "not JSON: " << line;
        if (!object.is_discarded() && object.value("logserver", "") == kind)
            found.push_back(object);
    }
    return found;
}

json Summary(const std::string& output) {
    std::vector<json> summaries = OfKind(output, "summary");
    EXPECT_EQ(1u, summaries.size()) << output;
    return summaries.empty() ? json::object() : summaries.back();
}

TEST(LogServerOptionsTest, HelpPrintsTheUsageAndExitsZero) {
    for (const char* option : {"--help", "-h"}) {
        SProcessResult result = RunProcess({kTool, option});
        EXPECT_EQ(0, result.exitStatus) << option;
        EXPECT_EQ(0u, result.standardOutput.find("Usage: quillond-logserver [options]\n"))
            << result.standardOutput;
        EXPECT_NE(std::string::npos, result.standardOutput.find("--record-dir"));
    }
}

TEST(LogServerOptionsTest, RejectsBadOptionsWithAMessage) {
    const std::vector<std::vector<std::string>> cases = {
        {"--port", "0"},
        {"--port", "65536"},
        {"--port", "10x"},
        {"--port"},
        {"--rotate-bytes", "0"},
        {"--rotate-bytes", "-4"},
        {"--duration", "soon"},
        {"--duration", "-1"},
        {"--bogus"},
        {"--bind", "not.an.ip"},
        {"--record-dir", "/nonexistent/dir"},
        {"stray"},
    };
    for (const auto& arguments : cases) {
        std::vector<std::string> argv = {kTool, "--duration", "0"};
        argv.insert(argv.end(), arguments.begin(), arguments.end());
        SProcessResult result = RunProcess(argv, {}, 20.0);
        EXPECT_NE(0, result.exitStatus) << arguments[0];
        EXPECT_FALSE(result.signalled) << arguments[0];
        EXPECT_FALSE(result.standardError.empty()) << arguments[0];
    }
}

// A running tool with --json and a remote logger pointed at it.
class LogServerTest : public ::testing::Test {
protected:
    LogServerTest() : m_server(m_dir, {"--json", "--lines", "3"}, m_dir.File("system.conf")) {}

    void SetUp() override {
        ASSERT_TRUE(m_server.IsListening());
        m_store.reset(
            new CConfig(TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_server.Port())));
    }

    // A logger under the given client name sending to the tool.
    std::unique_ptr<CRemoteLogger> Logger(const std::string& client) {
        return std::unique_ptr<CRemoteLogger>(new CRemoteLogger(client, *m_store));
    }

    TempDir m_dir;
    CLogServerProcess m_server;
    std::unique_ptr<CConfig> m_store;
};

TEST_F(LogServerTest, KeepsLatestValuesActiveAlarmsAndRecentLines) {
    std::unique_ptr<CRemoteLogger> port = Logger("NovatelPortHandler");
    std::unique_ptr<CRemoteLogger> position = Logger("NovatelPositionManager");
    using Action = CRemoteLogger::EAlarmAction;
    PublishValue(*port, "checksum_stats", "%d,%d", 12, 3);
    PublishValue(*port, "checksum_stats", "%d,%d", 20, 3);
    PublishValue(*position, "pos_messages", "%d", 7);
    port->SendCondition("receiver_port_timeout", 1);
    for (int i = 1; i <= 4; ++i) LogLine(*port, "line %d", i);
    port->SendEvent("QuillondPortTimeout");
    position->SendAlarm(Action::Raise, 79141, 0, 1);
    position->SendAlarm(Action::Raise, 70922, 5, 1);
    position->SendAlarm(Action::Raise, 70922, 6, 2);
    position->SendAlarm(Action::Clear, 70922, 5, 0);
    position->SendAlarm(Action::Clear, 11111, 0, 0);  // never raised: no harm
    SProcessResult result = m_server.Stop();
    EXPECT_EQ(0, result.exitStatus) << result.standardError;

    EXPECT_EQ(14u, OfKind(result.standardOutput, "datagram").size());
    json summary = Summary(result.standardOutput);
    EXPECT_EQ(14, summary["datagrams"]);
    EXPECT_EQ(0, summary["malformed"]);
    const json& portState = summary["clients"]["NovatelPortHandler"];
    EXPECT_EQ("20,3", portState["values"]["checksum_stats"]);
    EXPECT_EQ(1, portState["conditions"]["receiver_port_timeout"]);
    EXPECT_EQ("7", summary["clients"]["NovatelPositionManager"]["values"]["pos_messages"]);
    ASSERT_EQ(2u, summary["alarms"].size()) << summary["alarms"];
    EXPECT_EQ(70922, summary["alarms"][0]["code"]);
    EXPECT_EQ(6, summary["alarms"][0]["index"]);
    EXPECT_EQ(2, summary["alarms"][0]["argument"]);
    EXPECT_EQ(79141, summary["alarms"][1]["code"]);
    // --lines 3 keeps the last three of five lines and events.
    ASSERT_EQ(3u, summary["recent"].size());
    EXPECT_NE(std::string::npos, summary["recent"][0].get<std::string>().find("line 3"));
    EXPECT_NE(std::string::npos,
              summary["recent"][2].get<std::string>().find("event QuillondPortTimeout"));
}

TEST_F(LogServerTest, CountsAndShowsMalformedDatagramsAndKeepsRunning) {
    const std::string valid =
        R"({"client":"C","type":"value","key":"k","value":"v","category":3,"index":-1,"time":1.5})";
    const std::vector<std::string> garbage = {
        "{\"client\":",                                   // cut short
        std::string("\x00\x01\xfe\xff binary \x00", 13),  // binary junk
        std::string(60000, '\xA5'),                       // oversized junk
        "[1,2,3]",                                        // not an object
        "{}",
        R"({"client":"C","type":"gossip","time":1})",
        R"({"client":"C","type":"value","key":"k","time":1})",  // fields missing
        R"({"client":"C","type":"value","key":"k","value":5,"category":3,"index":-1,"time":1})",
        R"({"client":"C","type":"line","level":4,"text":"t"})",  // no time
        R"({"client":"C","type":"alarm","action":"toggle","code":1,"index":0,"argument":1,"time":1})",
        R"({"client":"C","type":"raw","name":"n","offset":0,"total":3,"data":"!!!!","time":1})",
        R"({"client":"C","type":"raw","name":"n","offset":2,"total":3,"data":"qkQS","time":1})",
        R"({"client":"C","type":"raw","name":"n","offset":0,"total":99999999,"data":"qkQS","time":1})",
        R"({"client":"C","type":"raw","name":"n","offset":-1,"total":3,"data":"qkQS","time":1})",
    };
    m_server.Send(valid);
    for (const std::string& datagram : garbage) m_server.Send(datagram);
    m_server.Send("");
    m_server.Send(valid);
    SProcessResult result = m_server.Stop();
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_FALSE(result.signalled);

    const size_t expectedMalformed = garbage.size() + 1;
    std::vector<json> malformed = OfKind(result.standardOutput, "malformed");
    ASSERT_EQ(expectedMalformed, malformed.size()) << result.standardOutput;
    for (size_t i = 0; i < malformed.size(); ++i) {
        EXPECT_EQ(static_cast<int>(i + 1), malformed[i]["malformed"]);  // the running count
        EXPECT_FALSE(malformed[i]["reason"].get<std::string>().empty());
        EXPECT_EQ(0u, malformed[i]["from"].get<std::string>().find("127.0.0.1:"));
    }
    EXPECT_EQ(60000, malformed[2]["size"]);
    json summary = Summary(result.standardOutput);
    EXPECT_EQ(static_cast<int>(expectedMalformed), summary["malformed"]);
    EXPECT_EQ(2, summary["datagrams"]);  // both good ones, before and after the garbage
    EXPECT_EQ("v", summary["clients"]["C"]["values"]["k"]);
}

TEST(LogServerOutputTest, PrintsPlainLinesWhenOutputIsNotATerminal) {
    TempDir dir;
    CLogServerProcess server(dir, {}, dir.File("system.conf"));
    ASSERT_TRUE(server.IsListening());
    server.Send(
        R"({"client":"NovatelPortHandler","type":"value","key":"checksum_stats","value":"12,3","category":3,"index":-1,"time":1763700000.125})");
    server.Send(
        R"({"client":"NovatelPositionManager","type":"alarm","action":"raise","code":79141,"index":0,"argument":1,"time":1763700000.125})");
    server.Send("not json\x1b[2J");
    SProcessResult result = server.Stop();
    EXPECT_EQ(0, result.exitStatus);
    const std::string& out = result.standardOutput;
    EXPECT_NE(std::string::npos, out.find("04:40:00.125 NovatelPortHandler checksum_stats = 12,3"))
        << out;
    EXPECT_NE(std::string::npos, out.find("NovatelPositionManager raises alarm 79141/0 argument 1"))
        << out;
    EXPECT_NE(std::string::npos, out.find("malformed datagram of 12 bytes")) << out;
    EXPECT_EQ(std::string::npos, out.find('\x1b')) << "no terminal control from a datagram";
}

TEST(LogServerOutputTest, OnceEndsAfterTheFirstDatagramAndDurationEndsByItself) {
    TempDir dir;
    CLogServerProcess once(dir, {"--json", "--once"}, dir.File("system.conf"));
    ASSERT_TRUE(once.IsListening());
    once.Send("garbage");
    SProcessResult result = once.Wait(20.0);
    EXPECT_EQ(0, result.exitStatus);
    EXPECT_EQ(1, Summary(result.standardOutput)["malformed"]);

    TempDir other;
    CLogServerProcess timed(other, {"--json", "--duration", "0.5"}, other.File("system.conf"));
    result = timed.Wait(20.0);
    EXPECT_EQ(0, result.exitStatus);
    EXPECT_EQ(0, Summary(result.standardOutput)["datagrams"]);
}

}  // namespace
