#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "LogObserver/ReceiverStatusObserver.h"
#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "control/CommandManager.h"
#include "control/ConstellationManager.h"
#include "control/NovatelMPIServer.h"
#include "platform/Config/Config.h"
#include "tests/mpi/MPITestSupport.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace {

using MPITest::CRpcClient;
using MPITest::Json;

typedef std::unique_ptr<CGPSRecord> RecordPtr;

// A VERSION record with one receiver card component.
RecordPtr VersionRecord() {
    Tools::CBodyWriter body;
    body.U32(1).U32(1);
    body.Text("G2LR0RGTT", 16).Text("DAB07170051", 16).Text("OEMV2-3.00-2T", 16);
    body.Text("3.800", 16).Text("3.000", 16).Text("2010/Mar/19", 12).Text("11:35:27", 12);
    Tools::SFrameHeader header;
    header.messageId = Novatel::kVERSIONMessageID;
    return RecordPtr(CreateRecord(Tools::BuildBinaryFrame(header, body.Bytes())));
}

// A CHANCONFIGLIST record: set 2 in use of two offered sets.
RecordPtr ChanConfigListRecord() {
    Tools::CBodyWriter body;
    body.U32(2).U32(2);
    body.U32(1).U32(14).U32(0);
    body.U32(2).U32(12).U32(0).U32(2).U32(4);
    Tools::SFrameHeader header;
    header.messageId = Novatel::kCHANCONFIGLISTMessageID;
    return RecordPtr(CreateRecord(Tools::BuildBinaryFrame(header, body.Bytes())));
}

class NovatelMPIServerTest : public ::testing::Test {
protected:
    NovatelMPIServerTest()
        : m_config(TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_logServer.Port(),
                                                  "[Region]\nname = north_america\n")),
          m_status(m_config),
          m_constellation(m_config),
          m_commands(m_config),
          m_server(m_config) {
        m_commands.SetByteSource(&m_source);
        m_commands.SetStatusObserver(&m_status);
        m_commands.SetConstellationManager(&m_constellation);
        m_server.SetCommandManager(&m_commands);
        m_server.SetStatusObserver(&m_status);
        m_sockets.SetServer(&m_server);
    }

    // Lines written to the receiver since the last call.
    std::vector<std::string> Written() {
        std::vector<std::string> lines;
        lines.swap(m_source.m_written);
        return lines;
    }

    TestSupport::TempDir m_dir;
    TestSupport::CLogServerStub m_logServer;
    CConfig m_config;
    MPITest::CRecordingSource m_source;
    CReceiverStatusObserver m_status;
    CConstellationManager m_constellation;
    CCommandManager m_commands;
    CNovatelMPIServer m_server;
    SocketCollectionC m_sockets;
};

TEST_F(NovatelMPIServerTest, RegistersTheMethodsInTableOrder) {
    const std::vector<std::string> expected = {
        "DummyFunction",
        "RequestNMEA",
        "novatel_SetSBASEnabled",
        "novatel_GetSBASEnabled",
        "novatel_SetSBASPRN",
        "novatel_GetSBASPRN",
        "novatel_SetReferenceFormat",
        "novatel_GetReferenceFormat",
        "novatel_SetGPSLoggingEnabled",
        "novatel_GetGPSLoggingEnabled",
        "novatel_RefreshRegionSettings",
        "novatel_ResetRTKFilter",
        "novatel_GetIonosphereMode",
        "novatel_SetIonosphereMode",
        "novatel_GetCurrentChannelConfiguration",
        "novatel_GetAllowableChannelConfigurations",
        "novatel_GetVersionInformation",
        "novatel_SendFReset",
        "novatel_RefreshReceiverConfiguration",
        "novatel_GetReceiverTrackingStatus",
    };
    EXPECT_EQ(expected, m_server.GetMethodNames());
    EXPECT_TRUE(m_server.IsListening());
}

TEST_F(NovatelMPIServerTest, DummyFunctionAddsAndTruncatesTowardZero) {
    struct SCase {
        const char* params;
        Json result;
    };
    const SCase cases[] = {
        {"[2, 3.7]", Json::parse("[5]")},
        {"[-2, 0.5]", Json::parse("[-1]")},
        {"[2, 3]", Json::parse("[5]")},  // an integer serves as the double
        {"[2]", Json::parse("[0]")},
        {"[]", Json::parse("[0]")},
        {"[1, 2.0, 3]", Json::parse("[0]")},
        {"[2147483647, 10.0]", Json::parse("[2147483647]")},
        {"[-2147483648, -10.0]", Json::parse("[-2147483648]")},
    };
    m_server.SetCommandManager(nullptr);  // works without one
    CRpcClient client(m_sockets, m_server.GetPort());
    for (const SCase& c : cases) {
        EXPECT_EQ(c.result, client.Result("DummyFunction", Json::parse(c.params))) << c.params;
    }
    EXPECT_EQ(-32602, client.ErrorCode("DummyFunction", Json::parse("[2.5, 1.0]")));
}

TEST_F(NovatelMPIServerTest, RequestNMEASendsTheLogCommandForTheRate) {
    struct SCase {
        int rate;
        std::string line;
    };
    const SCase cases[] = {
        {1000, "log GPGGA ontime 1.000\r\n"},
        {250, "log GPGGA ontime 0.250\r\n"},
        {0, "unlog GPGGA\r\n"},
        {-1, "log GPGGA\r\n"},
    };
    CRpcClient client(m_sockets, m_server.GetPort());
    for (const SCase& c : cases) {
        ::testing::internal::CaptureStdout();
        EXPECT_TRUE(client.Result("RequestNMEA", Json::array({"GPGGA", c.rate})).is_null());
        const std::string printed = ::testing::internal::GetCapturedStdout();
        EXPECT_EQ(std::vector<std::string>{c.line}, Written()) << c.rate;
        const std::string command = c.line.substr(0, c.line.size() - 2);
        EXPECT_NE(std::string::npos, printed.find("Sending command '" + command + "'\n"));
        // Kept for the next QueueCommands.
        EXPECT_EQ(c.line, m_commands.GetPendingCommands().back());
    }
}

TEST_F(NovatelMPIServerTest, RequestNMEARefusesNamesThatAreNotFiveLettersAndWrongCounts) {
    CRpcClient client(m_sockets, m_server.GetPort());
    for (const char* name : {"GPGGAX", "GGA", ""}) {
        ::testing::internal::CaptureStdout();
        EXPECT_TRUE(client.Result("RequestNMEA", Json::array({name, 1000})).is_null());
        EXPECT_EQ("Invalid Sentence size\n", ::testing::internal::GetCapturedStdout()) << name;
    }
    EXPECT_TRUE(client.Result("RequestNMEA", Json::array({"GPGGA"})).is_null());
    EXPECT_TRUE(client.Result("RequestNMEA", Json::array({"GPGGA", 1, 2})).is_null());
    EXPECT_TRUE(Written().empty());
}

TEST_F(NovatelMPIServerTest, SetIonosphereModeTakesZeroToThreeOnly) {
    CRpcClient client(m_sockets, m_server.GetPort());
    EXPECT_EQ(Json::parse("[1]"), client.Result("novatel_SetIonosphereMode", Json::array({3})));
    EXPECT_EQ(Json::parse("[3]"), client.Result("novatel_GetIonosphereMode"));
    EXPECT_EQ(3, m_config.GetInteger("Quillond", "ionosphere_mode", -1));
    for (const char* params : {"[4]", "[-1]", "[]"}) {
        EXPECT_TRUE(client.Result("novatel_SetIonosphereMode", Json::parse(params)).is_null())
            << params;
        EXPECT_EQ(Json::parse("[3]"), client.Result("novatel_GetIonosphereMode")) << params;
    }
}

TEST_F(NovatelMPIServerTest, SetEnabledTreatsEveryNonZeroValueAsOn) {
    struct SCase {
        int value;
        int expected;
    };
    const SCase cases[] = {{0, 0}, {-1, 1}, {0, 0}, {7, 1}, {-2147483647 - 1, 1}};
    CRpcClient client(m_sockets, m_server.GetPort());
    for (const SCase& c : cases) {
        EXPECT_EQ(Json::array(), client.Result("novatel_SetSBASEnabled", Json::array({c.value})));
        EXPECT_EQ(Json::array({c.expected}), client.Result("novatel_GetSBASEnabled")) << c.value;
        EXPECT_EQ(Json::array(),
                  client.Result("novatel_SetGPSLoggingEnabled", Json::array({c.value})));
        EXPECT_EQ(Json::array({c.expected}), client.Result("novatel_GetGPSLoggingEnabled"))
            << c.value;
    }
}

TEST_F(NovatelMPIServerTest, SettersForwardToTheCommandManager) {
    CRpcClient client(m_sockets, m_server.GetPort());
    EXPECT_EQ(Json::array(), client.Result("novatel_SetSBASPRN", Json::array({122})));
    EXPECT_EQ(Json::array({122}), client.Result("novatel_GetSBASPRN"));

    EXPECT_EQ(Json::array(), client.Result("novatel_SetReferenceFormat", Json::array({"RTCM3"})));
    EXPECT_EQ(Json::array({"RTCM3"}), client.Result("novatel_GetReferenceFormat"));
    // A refused format still gets the empty answer and changes nothing.
    EXPECT_EQ(Json::array(), client.Result("novatel_SetReferenceFormat", Json::array({"NONE"})));
    EXPECT_EQ(Json::array({"RTCM3"}), client.Result("novatel_GetReferenceFormat"));
    EXPECT_EQ(-32602, client.ErrorCode("novatel_SetReferenceFormat", Json::array({3})));
    EXPECT_EQ(-32602, client.ErrorCode("novatel_SetSBASPRN", Json::array()));
}

TEST_F(NovatelMPIServerTest, ResetsAndRequestsReachTheReceiverAtOnce) {
    CRpcClient client(m_sockets, m_server.GetPort());
    EXPECT_EQ(Json::array(), client.Result("novatel_ResetRTKFilter"));
    EXPECT_EQ(std::vector<std::string>{"rtkcommand reset\r\n"}, Written());

    EXPECT_EQ(Json::array({1}), client.Result("novatel_SendFReset"));
    EXPECT_EQ(std::vector<std::string>{"FRESET STANDARD\r\n"}, Written());

    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Json::array({1}), client.Result("novatel_RefreshReceiverConfiguration"));
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_EQ((std::vector<std::string>{"LOG CHANCONFIGLISTB ONCE\r\n", "LOG LOGLISTB ONCE\r\n",
                                        "LOG RXCONFIGB ONCE\r\n"}),
              Written());
    EXPECT_GE(seconds, 0.14);  // three pauses of 50 ms

    m_source.m_written.clear();
    m_commands.BuildConfiguration();
    EXPECT_EQ(Json::array(), client.Result("novatel_RefreshRegionSettings"));
    ASSERT_FALSE(m_commands.GetSendQueue().empty());
    EXPECT_EQ("unlogall thisport\r\n", m_commands.GetSendQueue().front());
}

TEST_F(NovatelMPIServerTest, ChannelConfigurationsComeFromTheConstellationManager) {
    CRpcClient client(m_sockets, m_server.GetPort());
    EXPECT_EQ(Json::array({0}), client.Result("novatel_GetCurrentChannelConfiguration"));
    EXPECT_EQ(Json::array(), client.Result("novatel_GetAllowableChannelConfigurations"));

    RecordPtr record = ChanConfigListRecord();
    ASSERT_TRUE(record);
    m_constellation.NewPacket(record.get());
    EXPECT_EQ(Json::array({2}), client.Result("novatel_GetCurrentChannelConfiguration"));
    EXPECT_EQ(Json::parse("[[1,[[14,0]]],[2,[[12,0],[2,4]]]]"),
              client.Result("novatel_GetAllowableChannelConfigurations"));
}

TEST_F(NovatelMPIServerTest, VersionAndTrackingStatusComeFromTheStatusObserver) {
    RecordPtr record = VersionRecord();
    ASSERT_TRUE(record);
    m_status.NewPacket(record.get());
    const std::vector<std::string> versions = m_status.GetVersionStrings();
    ASSERT_EQ(4u, versions.size());
    ASSERT_FALSE(versions[1].empty());

    CRpcClient client(m_sockets, m_server.GetPort());
    EXPECT_EQ(Json(versions), client.Result("novatel_GetVersionInformation"));
    Json tracking = Json::array({versions[3], versions[1]});
    for (int32_t counter : m_status.GetTrackingCounters()) tracking.push_back(counter);
    ASSERT_EQ(7u, tracking.size());
    EXPECT_EQ(tracking, client.Result("novatel_GetReceiverTrackingStatus"));

    m_server.SetStatusObserver(nullptr);
    EXPECT_TRUE(client.Result("novatel_GetVersionInformation").is_null());
    EXPECT_TRUE(client.Result("novatel_GetReceiverTrackingStatus").is_null());
}

TEST_F(NovatelMPIServerTest, AnswersNoResultUntilACommandManagerIsSet) {
    m_server.SetCommandManager(nullptr);
    CRpcClient client(m_sockets, m_server.GetPort());
    for (const std::string& method : m_server.GetMethodNames()) {
        if (method == "DummyFunction" || method == "novatel_GetReferenceFormat") continue;
        const Json params = method == "RequestNMEA" ? Json::array({"GPGGA", 1000})
                            : method.find("_Set") != std::string::npos ? Json::array({1})
                                                                       : Json::array();
        ::testing::internal::CaptureStdout();
        EXPECT_TRUE(client.Result(method, params).is_null()) << method;
        const std::string printed = ::testing::internal::GetCapturedStdout();
        if (method == "RequestNMEA") {
            EXPECT_EQ("CommandManager not yet initialised\n", printed);
        }
    }
    EXPECT_EQ(Json::array({""}), client.Result("novatel_GetReferenceFormat"));
    EXPECT_TRUE(Written().empty());
}

TEST_F(NovatelMPIServerTest, PrintsTheGetterNamesOnStandardOutput) {
    CRpcClient client(m_sockets, m_server.GetPort());
    ::testing::internal::CaptureStdout();
    client.Result("novatel_GetSBASEnabled");
    client.Result("novatel_GetGPSLoggingEnabled");
    EXPECT_EQ("CNovatelMPIServer::api_GetSBASEnable\nCNovatelMPIServer::api_GetGPSLoggingEnabled\n",
              ::testing::internal::GetCapturedStdout());
}

TEST_F(NovatelMPIServerTest, PostsTrackingStatusEveryTwoSecondsFromIdle) {
    CRpcClient client(m_sockets, m_server.GetPort());
    const auto start = std::chrono::steady_clock::now();
    std::vector<double> arrivals;
    // As the main loop: a short select pass, then Idle.
    while (arrivals.size() < 2) {
        const double elapsed =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        ASSERT_LT(elapsed, 8.0) << "callbacks so far: " << arrivals.size();
        NetTest::Pump(m_sockets, 10);
        m_server.Idle();
        client.Socket().Poll();
        const std::string unread = client.Unread();
        if (unread.find('\n') == std::string::npos) continue;
        const Json callback = client.NextLine();
        EXPECT_EQ("cb_trackingStatus", callback.value("method", ""));
        EXPECT_FALSE(callback.contains("id"));
        EXPECT_EQ(Json(m_status.GetTrackingCounters()), callback["params"]);
        arrivals.push_back(elapsed);
    }
    // About 2 s after construction and 2 s apart; generous bounds for a busy machine.
    EXPECT_GT(arrivals[0], 1.5);
    EXPECT_LT(arrivals[0], 3.5);
    EXPECT_GT(arrivals[1] - arrivals[0], 1.5);
    EXPECT_LT(arrivals[1] - arrivals[0], 3.5);
}

}  // namespace
