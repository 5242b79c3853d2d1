// The log client: its printf-style operations, and the logging configuration
// in the store that decides what it sends.

#include <gtest/gtest.h>

#include <string>

#include "platform/Config/Config.h"
#include "platform/Logging/LogClient.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::CLogServerStub;
using TestSupport::TempDir;

const char kPortHandler[] = "NovatelPortHandler";

class LogClientTest : public ::testing::Test {
protected:
    LogClientTest()
        : m_configPath(TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_server.Port())),
          m_config(m_configPath),
          m_client(kPortHandler, m_config) {}

    // The type of the next datagram, after sending a marker event so that a
    // datagram that should not have been sent shows up in its place.
    std::string NextTypeBeforeMarker() {
        m_client.LogEvent("marker");
        const nlohmann::json datagram = m_server.ReceiveJson();
        if (datagram.value("type", "") == "event" && datagram.value("name", "") == "marker") {
            return "marker";
        }
        m_server.ReceiveJson();  // the marker
        return datagram.value("type", "");
    }

    TempDir m_dir;
    CLogServerStub m_server;
    std::string m_configPath;
    CConfig m_config;
    CLogClient m_client;
};

TEST_F(LogClientTest, PublishesFormattedValueLineAtLevelFourAndNamedEvent) {
    m_client.PublishValue("QLS_42", "%lf,%d,%lf", 1.5, 7, 345600.25);
    const nlohmann::json datagram = m_server.ReceiveJson();
    EXPECT_EQ(datagram["client"], kPortHandler);
    EXPECT_EQ(datagram["type"], "value");
    EXPECT_EQ(datagram["key"], "QLS_42");
    EXPECT_EQ(datagram["value"], "1.500000,7,345600.250000");
    EXPECT_EQ(datagram["category"], 3);
    EXPECT_EQ(datagram["index"], -1);

    m_client.LogLine("Sending buffered command: %s", "LOG VERSIONB ONCE\r\n");
    m_client.LogEvent("QuillondPortTimeout");
    const nlohmann::json line = m_server.ReceiveJson();
    EXPECT_EQ(line["type"], "line");
    EXPECT_EQ(line["level"], 4);
    EXPECT_EQ(line["text"], "Sending buffered command: LOG VERSIONB ONCE\r\n");
    const nlohmann::json event = m_server.ReceiveJson();
    EXPECT_EQ(event["type"], "event");
    EXPECT_EQ(event["name"], "QuillondPortTimeout");
}

TEST_F(LogClientTest, RawDataIsHeldBackUntilRecordingIsConfigured) {
    m_client.SendRawData(kPortHandler, "\xAA\x44\x12");
    EXPECT_EQ(NextTypeBeforeMarker(), "marker");

    SLoggingConfig config = m_client.GetLoggingConfig(kPortHandler);
    config.recordRawData = true;
    ASSERT_TRUE(m_client.SetLoggingConfig(kPortHandler, config));
    m_client.SendRawData(kPortHandler, std::string("\xAA\x44\x12\x00", 4));
    const nlohmann::json datagram = m_server.ReceiveJson();
    EXPECT_EQ(datagram["type"], "raw");
    EXPECT_EQ(TestSupport::Base64Decode(datagram.value("data", "")),
              std::string("\xAA\x44\x12\x00", 4));
}

TEST_F(LogClientTest, ConfigurationSetThroughAnotherClientTakesEffectAtOnce) {
    // The remote method that switches raw recording holds a different client.
    CLogClient other("NovatelConstellationManager", m_config);
    SLoggingConfig config = other.GetLoggingConfig(kPortHandler);
    config.recordRawData = true;
    ASSERT_TRUE(other.SetLoggingConfig(kPortHandler, config));
    m_client.SendRawData(kPortHandler, "bytes");
    EXPECT_EQ(NextTypeBeforeMarker(), "raw");
}

TEST_F(LogClientTest, LoggingConfigurationIsCommittedAndReadBack) {
    const SLoggingConfig defaults = m_client.GetLoggingConfig("Unknown");
    EXPECT_TRUE(defaults.enabled);
    EXPECT_EQ(defaults.maxLevel, 7);
    EXPECT_FALSE(defaults.recordRawData);

    SLoggingConfig changed;
    changed.enabled = false;
    changed.maxLevel = 2;
    changed.recordRawData = true;
    ASSERT_TRUE(m_client.SetLoggingConfig(kPortHandler, changed));

    CConfig reread(m_configPath);
    EXPECT_EQ(reread.GetInteger("Logging.NovatelPortHandler", "enabled", -1), 0);
    EXPECT_EQ(reread.GetInteger("Logging.NovatelPortHandler", "max_level", -1), 2);
    EXPECT_EQ(reread.GetInteger("Logging.NovatelPortHandler", "record_raw_data", -1), 1);
    CLogClient fresh("Reader", reread);
    const SLoggingConfig read = fresh.GetLoggingConfig(kPortHandler);
    EXPECT_FALSE(read.enabled);
    EXPECT_EQ(read.maxLevel, 2);
    EXPECT_TRUE(read.recordRawData);
    // The server address in the same file is kept.
    EXPECT_EQ(reread.GetInteger("LogServer", "port", 0), m_server.Port());
}

TEST_F(LogClientTest, DisabledClientSendsNothing) {
    SLoggingConfig config;
    config.enabled = false;
    config.recordRawData = true;
    ASSERT_TRUE(m_client.SetLoggingConfig(kPortHandler, config));
    m_client.PublishValue("checksum_stats", "%d,%d", 1, 0);
    m_client.LogLine("quiet");
    m_client.SendRawData(kPortHandler, "bytes");
    m_client.LogEvent("QuillondPortTimeout");

    CLogClient marker("Marker", m_config);
    marker.LogEvent("marker");
    EXPECT_EQ(m_server.ReceiveJson()["client"], "Marker");
}

TEST_F(LogClientTest, LinesAboveTheMaximumLevelAreNotSent) {
    SLoggingConfig config;
    config.maxLevel = 3;
    ASSERT_TRUE(m_client.SetLoggingConfig(kPortHandler, config));
    m_client.LogLine("too detailed");
    EXPECT_EQ(NextTypeBeforeMarker(), "marker");
    m_client.PublishValue("still", "%s", "sent");
    EXPECT_EQ(NextTypeBeforeMarker(), "value");
}

TEST_F(LogClientTest, ConnectFollowsAChangedServerAddress) {
    CLogServerStub moved;
    m_config.SetInteger("LogServer", "port", moved.Port());
    EXPECT_TRUE(m_client.Connect());
    m_client.LogEvent("moved");
    EXPECT_EQ(moved.ReceiveJson()["name"], "moved");
}

}  // namespace
