// The remote logger's datagrams as a log server on loopback receives them:
// their fields and types, formatting, bytes that are not text, and sending
// when no server listens.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "platform/Config/Config.h"
#include "platform/Core/Time.h"
#include "platform/Logging/RemoteLogger.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::Base64Decode;
using TestSupport::CLogServerStub;
using TestSupport::FieldShape;
using TestSupport::TempDir;

const char kClient[] = "NovatelPortHandler";

// A logger pointed at a stub server through the store.
class RemoteLoggerTest : public ::testing::Test {
protected:
    RemoteLoggerTest()
        : m_config(TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_server.Port())),
          m_logger(kClient, m_config) {}

    TempDir m_dir;
    CLogServerStub m_server;
    CConfig m_config;
    CRemoteLogger m_logger;
};

struct SKindCase {
    const char* name;
    std::function<void(CRemoteLogger&)> send;
    // Every field but "client" and "time", with its value and JSON type.
    nlohmann::json expected;
};

const std::vector<SKindCase>& KindCases() {
    using Json = nlohmann::json;
    using Action = CRemoteLogger::EAlarmAction;
    static const std::vector<SKindCase> cases = {
        {"Value", [](CRemoteLogger& l) { PublishValue(l, "checksum_stats", "%d,%d", 12, 3); },
         Json{{"type", "value"},
              {"key", "checksum_stats"},
              {"value", "12,3"},
              {"category", 3},
              {"index", -1}}},
        {"Line", [](CRemoteLogger& l) { LogLine(l, "Sending buffered command: %s", "LOG"); },
         Json{{"type", "line"}, {"level", 4}, {"text", "Sending buffered command: LOG"}}},
        {"Event", [](CRemoteLogger& l) { l.SendEvent("QuillondPortTimeout"); },
         Json{{"type", "event"}, {"name", "QuillondPortTimeout"}}},
        {"Raw", [](CRemoteLogger& l) { l.SendRawData(kClient, "\xAA\x44\x12"); },
         Json{{"type", "raw"}, {"name", kClient}, {"offset", 0}, {"total", 3}, {"data", "qkQS"}}},
        {"AlarmRaise", [](CRemoteLogger& l) { l.SendAlarm(Action::Raise, 79141, 0, 1); },
         Json{{"type", "alarm"},
              {"action", "raise"},
              {"code", 79141},
              {"index", 0},
              {"argument", 1}}},
        {"AlarmClear", [](CRemoteLogger& l) { l.SendAlarm(Action::Clear, 70922, 6, 0); },
         Json{{"type", "alarm"},
              {"action", "clear"},
              {"code", 70922},
              {"index", 6},
              {"argument", 0}}},
        {"Condition", [](CRemoteLogger& l) { l.SendCondition("receiver_port_timeout", 1); },
         Json{{"type", "condition"}, {"name", "receiver_port_timeout"}, {"value", 1}}},
    };
    return cases;
}

TEST_F(RemoteLoggerTest, EveryKindCarriesExactlyTheDocumentedFields) {
    for (const SKindCase& c : KindCases()) {
        SCOPED_TRACE(c.name);
        const double before = static_cast<double>(Core::Time::Now().Milliseconds()) / 1000.0;
        c.send(m_logger);
        nlohmann::json datagram = m_server.ReceiveJson();
        const double after = static_cast<double>(Core::Time::Now().Milliseconds()) / 1000.0;
        ASSERT_TRUE(datagram.is_object());
        EXPECT_EQ(datagram.value("client", ""), kClient);
        // Unix seconds to the millisecond, as a JSON number.
        ASSERT_TRUE(datagram["time"].is_number_float());
        const double time = datagram["time"];
        EXPECT_GE(time, before);
        EXPECT_LE(time, after);
        EXPECT_NEAR(time * 1000.0, std::round(time * 1000.0), 1e-3);

        datagram.erase("client");
        datagram.erase("time");
        EXPECT_EQ(FieldShape(datagram), FieldShape(c.expected));
        EXPECT_EQ(datagram, c.expected);
    }
}

// The datagram the JSON library's compact dump gives for client, fields in
// order and the time stamp the datagram carries.
std::string LibraryDatagram(const std::string& client, const nlohmann::ordered_json& fields,
                            const std::string& received) {
    using Ordered = nlohmann::ordered_json;
    Ordered expected;
    expected["client"] = client;
    for (const auto& field : fields.items()) expected[field.key()] = field.value();
    expected["time"] = Ordered::parse(received, nullptr, false).value("time", -1.0);
    return expected.dump(-1, ' ', false, Ordered::error_handler_t::replace);
}

TEST(RemoteLoggerTextTest, EveryKindIsByteForByteTheLibrarysDumpOfItsFields) {
    using Ordered = nlohmann::ordered_json;
    using Action = CRemoteLogger::EAlarmAction;
    struct SCase {
        const char* name;
        std::function<void(CRemoteLogger&)> send;
        Ordered fields;  // in their order, without client and time
    };
    const std::string longText(3000, 'w');
    const std::vector<SCase> cases = {
        {"Value",
         [](CRemoteLogger& l) { PublishValue(l, "checksum_stats", "%d,%d", 12, 3); },
         {{"type", "value"},
          {"key", "checksum_stats"},
          {"value", "12,3"},
          {"category", 3},
          {"index", -1}}},
        {"ValueAfterALongerOne",
         [](CRemoteLogger& l) { PublishValue(l, "QLS_42", "%d", 1); },
         {{"type", "value"}, {"key", "QLS_42"}, {"value", "1"}, {"category", 3}, {"index", -1}}},
        {"ValueFromTheCLibrary",
         [](CRemoteLogger& l) { PublishValue(l, "pos", "%.3f,%5d", 1.23456, 42); },
         {{"type", "value"},
          {"key", "pos"},
          {"value", "1.235,   42"},
          {"category", 3},
          {"index", -1}}},
        {"ValueWithEscapesAndBadUtf8",
         [](CRemoteLogger& l) { PublishValue(l, "k\\ey\"", "%s", "\xAA\x44\x12 \"OEMV\"\n\xFF"); },
         {{"type", "value"},
          {"key", "k\\ey\""},
          {"value", "\xAA\x44\x12 \"OEMV\"\n\xFF"},
          {"category", 3},
          {"index", -1}}},
        {"ValueOfAnyCategory",
         [](CRemoteLogger& l) { l.SendValue("k", "v\t", -7, 12); },
         {{"type", "value"}, {"key", "k"}, {"value", "v\t"}, {"category", -7}, {"index", 12}}},
        {"LongLine",
         [&](CRemoteLogger& l) { LogLine(l, "%s%d", longText.c_str(), 1); },
         {{"type", "line"}, {"level", 4}, {"text", longText + "1"}}},
        {"Line",
         [](CRemoteLogger& l) { l.SendLine(2, "\x01 odd \xC3"); },
         {{"type", "line"}, {"level", 2}, {"text", "\x01 odd \xC3"}}},
        {"Event",
         [](CRemoteLogger& l) { l.SendEvent("QuillondPortTimeout"); },
         {{"type", "event"}, {"name", "QuillondPortTimeout"}}},
        {"Raw",
         [](CRemoteLogger& l) { l.SendRawData("Port\"1", std::string("\xAA\x00\x12\x7F", 4)); },
         {{"type", "raw"}, {"name", "Port\"1"}, {"offset", 0}, {"total", 4}, {"data", "qgASfw=="}}},
        {"AlarmRaise",
         [](CRemoteLogger& l) { l.SendAlarm(Action::Raise, 79141, 0, 1); },
         {{"type", "alarm"}, {"action", "raise"}, {"code", 79141}, {"index", 0}, {"argument", 1}}},
        {"AlarmClear",
         [](CRemoteLogger& l) { l.SendAlarm(Action::Clear, -70922, -6, 0); },
         {{"type", "alarm"},
          {"action", "clear"},
          {"code", -70922},
          {"index", -6},
          {"argument", 0}}},
        {"Condition",
         [](CRemoteLogger& l) { l.SendCondition("receiver_port_timeout", INT64_C(-9000000000)); },
         {{"type", "condition"},
          {"name", "receiver_port_timeout"},
          {"value", INT64_C(-9000000000)}}},
    };
    TempDir dir;
    CLogServerStub server;
    CConfig config(TestSupport::WriteServerConfig(dir, "127.0.0.1", server.Port()));
    for (const std::string& client : {std::string(kClient), std::string("Odd \"client\"\t\xFE")}) {
        CRemoteLogger logger(client, config);
        for (const SCase& c : cases) {
            SCOPED_TRACE(client + " " + c.name);
            c.send(logger);
            const std::string received = server.Receive();
            EXPECT_EQ(LibraryDatagram(client, c.fields, received), received);
        }
    }
}

TEST_F(RemoteLoggerTest, PrintfWrappersDoNotTruncateLongText) {
    const std::string longText(20000, 'x');
    PublishValue(m_logger, "long", "<%s|%05d>", longText.c_str(), 42);
    LogLine(m_logger, "%s%s", longText.c_str(), "end");
    EXPECT_EQ(m_server.ReceiveJson()["value"], "<" + longText + "|00042>");
    EXPECT_EQ(m_server.ReceiveJson()["text"], longText + "end");
}

TEST_F(RemoteLoggerTest, TextThatIsNotUtf8IsDeliveredWithReplacementCharacters) {
    // Raw receiver bytes in a value: a binary sync pattern and a lone high byte.
    PublishValue(m_logger, "version", "%s", "\xAA\x44\x12 OEMV \xFF!");
    const nlohmann::json datagram = m_server.ReceiveJson();
    EXPECT_EQ(datagram["value"], "\xEF\xBF\xBD\x44\x12 OEMV \xEF\xBF\xBD!");
}

TEST_F(RemoteLoggerTest, RawDataRoundTripsEveryByteValue) {
    std::string bytes;
    for (int round = 0; round < 2; ++round) {
        for (int value = 0; value < 256; ++value) bytes += static_cast<char>(value);
    }
    bytes += std::string(3, '\0');
    m_logger.SendRawData("NovatelPortHandler", bytes);
    const nlohmann::json datagram = m_server.ReceiveJson();
    EXPECT_EQ(datagram["name"], "NovatelPortHandler");
    EXPECT_EQ(datagram["offset"], 0);
    EXPECT_EQ(datagram["total"], bytes.size());
    EXPECT_EQ(Base64Decode(datagram.value("data", "")), bytes);
}

TEST_F(RemoteLoggerTest, RawBlockTooLargeForOneDatagramIsSplitAtOffsets) {
    std::string bytes;
    unsigned state = 12345;
    for (int i = 0; i < 70000; ++i) {
        state = state * 1103515245u + 12345u;
        bytes += static_cast<char>(state >> 24);
    }
    m_logger.SendRawData("block", bytes);

    std::string joined;
    int pieces = 0;
    while (joined.size() < bytes.size()) {
        const std::string text = m_server.Receive();
        ASSERT_FALSE(text.empty()) << "piece missing after " << joined.size() << " bytes";
        EXPECT_LE(text.size(), CRemoteLogger::kMaxDatagramSize);
        const nlohmann::json piece = nlohmann::json::parse(text);
        EXPECT_EQ(piece["name"], "block");
        EXPECT_EQ(piece["offset"], joined.size());
        EXPECT_EQ(piece["total"], bytes.size());
        joined += Base64Decode(piece.value("data", ""));
        ++pieces;
    }
    EXPECT_EQ(pieces, 3);
    EXPECT_EQ(joined, bytes);
}

TEST_F(RemoteLoggerTest, EmptyRawBlockSendsNothing) {
    m_logger.SendRawData("block", "");
    m_logger.SendEvent("marker");
    EXPECT_EQ(m_server.ReceiveJson()["type"], "event");
}

TEST(RemoteLoggerAddressTest, GivenHostAndPortApplyWhenTheStoreHasNone) {
    TempDir dir;
    CLogServerStub server;
    TestSupport::WriteWholeFile(dir.File("system.conf"), "[Quillond]\nio_type = 1\n");
    CConfig config(dir.File("system.conf"));
    CRemoteLogger logger("Client", config, "127.0.0.1", server.Port());
    logger.SendEvent("here");
    EXPECT_EQ(server.ReceiveJson()["name"], "here");
}

TEST(RemoteLoggerAddressTest, StoreOverridesGivenHostAndPort) {
    TempDir dir;
    CLogServerStub server;
    CConfig config(TestSupport::WriteServerConfig(dir, "127.0.0.1", server.Port()));
    CRemoteLogger logger("Client", config, "::1", TestSupport::ClosedPort());
    logger.SendEvent("here");
    EXPECT_EQ(server.ReceiveJson()["name"], "here");
}

TEST(RemoteLoggerAddressTest, ReconnectFollowsAChangedStore) {
    TempDir dir;
    CLogServerStub first;
    CLogServerStub second;
    CConfig config(TestSupport::WriteServerConfig(dir, "localhost", first.Port()));
    CRemoteLogger logger("Client", config);
    logger.SendEvent("to first");
    config.SetInteger("LogServer", "port", second.Port());
    EXPECT_TRUE(logger.Reconnect());
    logger.SendEvent("to second");
    EXPECT_EQ(first.ReceiveJson()["name"], "to first");
    EXPECT_EQ(second.ReceiveJson()["name"], "to second");
}

TEST(RemoteLoggerNobodyListeningTest, SendsToAClosedPortNeitherBlockNorFail) {
    TempDir dir;
    CConfig config(TestSupport::WriteServerConfig(dir, "127.0.0.1", TestSupport::ClosedPort()));
    CRemoteLogger logger("Client", config);
    ::testing::internal::CaptureStderr();
    for (int i = 0; i < 10000; ++i) PublishValue(logger, "count", "%d", i);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(logger.GetSentCount() + logger.GetDroppedCount(), 10000u);
}

TEST(RemoteLoggerNobodyListeningTest, ServerThatNeverReadsDoesNotHoldUpTheSender) {
    TempDir dir;
    CLogServerStub server(4096);  // never read: its buffer fills at once and the rest is lost
    CConfig config(TestSupport::WriteServerConfig(dir, "127.0.0.1", server.Port()));
    CRemoteLogger logger("Client", config);
    const std::string block(20000, '\x55');
    ::testing::internal::CaptureStderr();
    for (int i = 0; i < 200; ++i) logger.SendRawData("block", block);
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(logger.GetSentCount() + logger.GetDroppedCount(), 200u);
}

TEST(RemoteLoggerFailureTest, UnusableHostIsReportedOnceAndEverythingDropped) {
    TempDir dir;
    CConfig config(TestSupport::WriteServerConfig(dir, "log-server.invalid", 10001));
    ::testing::internal::CaptureStderr();
    {
        CRemoteLogger logger("NovatelPositionManager", config);
        for (int i = 0; i < 100; ++i) LogLine(logger, "line %d", i);
        EXPECT_EQ(logger.GetSentCount(), 0u);
        EXPECT_EQ(logger.GetDroppedCount(), 100u);
    }
    const std::string messages = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(messages.begin(), messages.end(), '\n'), 1) << messages;
    EXPECT_NE(messages.find("log-server.invalid"), std::string::npos) << messages;
    EXPECT_NE(messages.find("NovatelPositionManager"), std::string::npos) << messages;
}

TEST(RemoteLoggerFailureTest, PortOutOfRangeIsReportedOnce) {
    TempDir dir;
    CConfig config(TestSupport::WriteServerConfig(dir, "127.0.0.1", 70000));
    ::testing::internal::CaptureStderr();
    CRemoteLogger logger("Client", config);
    logger.SendEvent("lost");
    const std::string messages = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(messages.begin(), messages.end(), '\n'), 1) << messages;
    EXPECT_EQ(logger.GetDroppedCount(), 1u);
}

TEST(RemoteLoggerFailureTest, RepeatedSendFailuresAreReportedOnce) {
    TempDir dir;
    CLogServerStub server;
    CConfig config(TestSupport::WriteServerConfig(dir, "127.0.0.1", server.Port()));
    CRemoteLogger logger("Client", config);
    // Longer than any UDP datagram can be: the kernel refuses each at once.
    const std::string tooLong(70000, 'x');
    ::testing::internal::CaptureStderr();
    LogLine(logger, "%s", tooLong.c_str());
    LogLine(logger, "%s", tooLong.c_str());
    LogLine(logger, "fits");
    LogLine(logger, "%s", tooLong.c_str());
    const std::string messages = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(messages.begin(), messages.end(), '\n'), 1) << messages;
    EXPECT_EQ(logger.GetDroppedCount(), 3u);
    EXPECT_EQ(server.ReceiveJson()["text"], "fits");
}

}  // namespace
