// The status client: link conditions and rate-limited activity notices.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "platform/Config/Config.h"
#include "platform/Logging/StatusClient.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::CLogServerStub;
using TestSupport::TempDir;

const Core::Time kLongInterval = Core::Time::FromSeconds(3600.0);

class StatusClientTest : public ::testing::Test {
protected:
    StatusClientTest()
        : m_config(TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_server.Port())) {}

    // Expects the next datagram to be the condition name with the value.
    void ExpectCondition(const std::string& name, int64_t value) {
        const nlohmann::json datagram = m_server.ReceiveJson();
        EXPECT_EQ(datagram.value("client", ""), "NovatelPortHandler");
        EXPECT_EQ(datagram.value("type", ""), "condition");
        EXPECT_EQ(datagram.value("name", ""), name);
        EXPECT_EQ(datagram.value("value", int64_t(-1)), value);
    }

    TempDir m_dir;
    CLogServerStub m_server;
    CConfig m_config;
};

TEST_F(StatusClientTest, LinkConditionsAreSentAtOnceWithTheirValue) {
    CStatusClient client("NovatelPortHandler", m_config, kLongInterval);
    client.RaiseCondition(CStatusClient::kPortTimeoutCondition, 1);
    client.RaiseCondition(CStatusClient::kRestartsExceededCondition, 1);
    client.RaiseCondition(CStatusClient::kRestartsExceededCondition, 1);
    ExpectCondition("receiver_port_timeout", 1);
    ExpectCondition("receiver_restarts_exceeded", 1);
    ExpectCondition("receiver_restarts_exceeded", 1);
}

// Within the interval only the first notice of each kind goes out; the rest
// are counted, per kind, until a flush, which sends nothing when none is pending.
TEST_F(StatusClientTest, ActivityWithinTheIntervalIsCountedPerKindNotSent) {
    CStatusClient client("NovatelPortHandler", m_config, kLongInterval);
    for (int i = 0; i < 1000; ++i) client.DataArrived();
    for (int i = 0; i < 3; ++i) client.SentenceArrived();
    client.RaiseCondition("marker", 0);
    ExpectCondition("receiver_data_arrived", 1);
    ExpectCondition("receiver_sentence_arrived", 1);
    ExpectCondition("marker", 0);
    client.FlushActivity();
    ExpectCondition("receiver_data_arrived", 999);
    ExpectCondition("receiver_sentence_arrived", 2);
    client.FlushActivity();
    client.RaiseCondition("marker", 0);
    ExpectCondition("marker", 0);
    EXPECT_EQ(client.GetLogger().GetSentCount(), 6u);
}

TEST_F(StatusClientTest, NoticeAfterTheIntervalIsSentWithTheCountSinceTheLast) {
    CStatusClient client("NovatelPortHandler", m_config, Core::Time::FromMilliseconds(100));
    client.SentenceArrived();
    ::usleep(250000);
    client.SentenceArrived();
    ExpectCondition("receiver_sentence_arrived", 1);
    ExpectCondition("receiver_sentence_arrived", 1);
}

TEST_F(StatusClientTest, DestructionSendsActivityNotYetReported) {
    {
        CStatusClient client("NovatelPortHandler", m_config, kLongInterval);
        for (int i = 0; i < 5; ++i) client.SentenceArrived();
    }
    ExpectCondition("receiver_sentence_arrived", 1);
    ExpectCondition("receiver_sentence_arrived", 4);
}

}  // namespace
