// The alarm service client as a log server on loopback sees it: the alarm
// datagrams of raise and clear, and what the client remembers.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/Config/Config.h"
#include "platform/Diagnostics/DiagnosticatorAPI.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using Diagnosticator::CDiagnosticatorAPI;
using Diagnosticator::SDiagnosticId;
using TestSupport::CLogServerStub;
using TestSupport::TempDir;

const SDiagnosticId kLockout = {79141, 0};
const SDiagnosticId kCodeSharedIndex5 = {70922, 5};
const SDiagnosticId kCodeSharedIndex6 = {70922, 6};

class DiagnosticatorAPITest : public ::testing::Test {
protected:
    DiagnosticatorAPITest()
        : m_config(TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_server.Port())),
          m_alarms("NovatelPositionManager", m_config) {}

    // The action, code, index and argument of an alarm datagram, as one text.
    std::string NextAlarm() {
        nlohmann::json datagram = m_server.ReceiveJson();
        EXPECT_EQ("alarm", datagram.value("type", "")) << datagram.dump();
        EXPECT_EQ("NovatelPositionManager", datagram.value("client", "")) << datagram.dump();
        return datagram.value("action", "?") + " " + std::to_string(datagram.value("code", -1)) +
               "/" + std::to_string(datagram.value("index", -1)) + " " +
               std::to_string(datagram.value("argument", -1));
    }

    TempDir m_dir;
    CLogServerStub m_server;
    CConfig m_config;
    CDiagnosticatorAPI m_alarms;
};

TEST_F(DiagnosticatorAPITest, RaiseAndClearSendOneAlarmDatagramEach) {
    m_alarms.RaiseAlarm(kLockout, 1);
    EXPECT_EQ("raise 79141/0 1", NextAlarm());
    m_alarms.ClearAlarm(kLockout);
    EXPECT_EQ("clear 79141/0 0", NextAlarm());
    EXPECT_TRUE(m_server.Drain().empty());
}

TEST_F(DiagnosticatorAPITest, DatagramHasExactlyTheDocumentedFields) {
    m_alarms.RaiseAlarm(kLockout, 1);
    EXPECT_EQ(
        (std::vector<std::string>{"action:string", "argument:integer", "client:string",
                                  "code:integer", "index:integer", "time:number", "type:string"}),
        TestSupport::FieldShape(m_server.ReceiveJson()));
}

TEST_F(DiagnosticatorAPITest, RepeatedRaiseIsSentAgainSoARestartedServerLearnsIt) {
    m_alarms.RaiseAlarm(kLockout, 1);
    m_alarms.RaiseAlarm(kLockout, 1);
    m_alarms.RaiseAlarm(kLockout, 3);
    EXPECT_EQ("raise 79141/0 1", NextAlarm());
    EXPECT_EQ("raise 79141/0 1", NextAlarm());
    EXPECT_EQ("raise 79141/0 3", NextAlarm());
    int32_t argument = 0;
    EXPECT_TRUE(m_alarms.IsRaised(kLockout, argument));
    EXPECT_EQ(3, argument);
    EXPECT_EQ(1u, m_alarms.GetRaisedCount());
}

TEST_F(DiagnosticatorAPITest, ClearOfAnAlarmNeverRaisedHereIsStillSent) {
    // It may have been raised before this process started.
    m_alarms.ClearAlarm(kLockout);
    EXPECT_EQ("clear 79141/0 0", NextAlarm());
    EXPECT_FALSE(m_alarms.IsRaised(kLockout));
}

TEST_F(DiagnosticatorAPITest, AlarmsSharingACodeAreToldApartByIndex) {
    m_alarms.RaiseAlarm(kCodeSharedIndex5, 1);
    m_alarms.RaiseAlarm(kCodeSharedIndex6, 1);
    m_alarms.ClearAlarm(kCodeSharedIndex5);
    EXPECT_EQ("raise 70922/5 1", NextAlarm());
    EXPECT_EQ("raise 70922/6 1", NextAlarm());
    EXPECT_EQ("clear 70922/5 0", NextAlarm());
    EXPECT_FALSE(m_alarms.IsRaised(kCodeSharedIndex5));
    EXPECT_TRUE(m_alarms.IsRaised(kCodeSharedIndex6));
    EXPECT_EQ(1u, m_alarms.GetRaisedCount());
}

TEST(DiagnosticatorAPINoServerTest, RaisingWithNoServerListeningNeitherBlocksNorFails) {
    TempDir dir;
    CConfig config(TestSupport::WriteServerConfig(dir, "127.0.0.1", TestSupport::ClosedPort()));
    CDiagnosticatorAPI alarms(CDiagnosticatorAPI::kDefaultClientName, config);
    for (int i = 0; i < 100; ++i) alarms.RaiseAlarm(kLockout, i);
    int32_t argument = 0;
    EXPECT_TRUE(alarms.IsRaised(kLockout, argument));
    EXPECT_EQ(99, argument);
}

}  // namespace
