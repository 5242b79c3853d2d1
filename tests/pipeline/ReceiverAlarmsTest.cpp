// RXSTATUS logs fed to the daemon raise and clear exactly the alarms of the
// receiver's diagnostics table, as alarm datagrams on the log server: the
// whole table at every change of the error or status word, nothing otherwise.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/pipeline/PipelineTestSupport.h"

namespace {

using PipelineTest::CPipelineDaemon;
using PipelineTest::SEpochTime;

struct SAlarm {
    const char* name;
    int code;
    int index;
};
// In the order the daemon sends them.
const SAlarm kTable[] = {
    {"A1", 79151, 0},  {"A2", 79161, 4},   {"A3", 70950, 4},   {"A4", 70922, 5},
    {"A5", 70922, 6},  {"A6", 79195, 0},   {"A7", 79203, 12},  {"A8", 73505, 17},
    {"A9", 79200, 12}, {"A10", 79202, 12}, {"A11", 79207, 12},
};

constexpr uint32_t Bit(int n) { return 1u << n; }

struct SStep {
    uint32_t error;
    uint32_t status;
    bool sends;
    std::set<std::string> raised;
};

// "raise 70922/5" or "clear 79151/0" for each alarm datagram of the diagnostics client.
std::vector<std::string> AlarmDatagrams(const std::vector<nlohmann::json>& datagrams) {
    std::vector<std::string> alarms;
    for (const nlohmann::json& datagram : datagrams) {
        if (!datagram.is_object() || datagram.value("type", "") != "alarm" ||
            datagram.value("client", "") != "Diagnosticator") {
            continue;
        }
        const std::string action = datagram.value("action", "");
        const int argument = datagram.value("argument", -1);
        alarms.push_back(action + " " + std::to_string(datagram.value("code", 0)) + "/" +
                         std::to_string(datagram.value("index", 0)) +
                         ((action == "raise") == (argument == 1) ? "" : " bad argument"));
    }
    return alarms;
}

TEST(ReceiverAlarmsTest, RxStatusChangesSendTheWholeTableWithExactlyTheRaisedAlarms) {
    const uint32_t kAllSet = 0xFFFFFFFF;
    const std::vector<SStep> steps = {
        {0, 0, true, {}},                      // the first: every alarm cleared
        {0, 0, false, {}},                     // no change: nothing
        {0, Bit(5), true, {"A4"}},             // antenna open
        {Bit(9), Bit(5), true, {"A1", "A4"}},  // temperature outside limits too
        {0, Bit(13), true, {}},                // a bit without an alarm still sends the table
        {0, Bit(13), false, {}},
        {0,
         Bit(1) | Bit(2) | Bit(3) | Bit(6) | Bit(7) | Bit(9) | Bit(18) | Bit(24),
         true,
         {"A1", "A2", "A3", "A5", "A6", "A7", "A8", "A11"}},
        {Bit(1) | Bit(7) | Bit(16), 0, true, {"A2", "A10", "A11"}},
        {Bit(31), Bit(17), true, {"A9"}},
        {Bit(10), Bit(15), true, {"A9"}},
        {Bit(8) | Bit(20), Bit(11), true, {"A7"}},  // thermometer and loading bits raise nothing
        {kAllSet,
         kAllSet,
         true,
         {"A1", "A2", "A3", "A4", "A5", "A6", "A7", "A8", "A9", "A10", "A11"}},
        {0, 0, true, {}},
    };

    std::vector<std::string> expected;
    for (const SStep& step : steps) {
        if (!step.sends) continue;
        for (const SAlarm& alarm : kTable) {
            expected.push_back(std::string(step.raised.count(alarm.name) ? "raise " : "clear ") +
                               std::to_string(alarm.code) + "/" + std::to_string(alarm.index));
        }
    }

    CPipelineDaemon daemon;
    ASSERT_TRUE(daemon.Start()) << daemon.StandardError();
    SEpochTime time;
    std::string stream;
    for (const SStep& step : steps) {
        stream += PipelineTest::RxStatusFrame(time, step.error, step.status);
        time.milliseconds += 1000;
    }
    ASSERT_TRUE(daemon.Write(stream));
    EXPECT_TRUE(daemon.WaitForValues("rxstatus_messages", steps.size(), 20.0));
    daemon.Stop();
    EXPECT_EQ(0, daemon.ExitStatus()) << daemon.StandardError();

    EXPECT_EQ(expected, AlarmDatagrams(daemon.Datagrams()));
    EXPECT_EQ("0x00000000: No Errors", daemon.LastValue("ReceiverError"));
}

TEST(ReceiverAlarmsTest, FirstRxStatusWithEveryBitSetSendsNothingUntilAWordChanges) {
    CPipelineDaemon daemon;
    ASSERT_TRUE(daemon.Start()) << daemon.StandardError();
    SEpochTime time;
    std::string stream = PipelineTest::RxStatusFrame(time, 0xFFFFFFFF, 0xFFFFFFFF);
    time.milliseconds += 1000;
    stream += PipelineTest::RxStatusFrame(time, 0xFFFFFFFF, 0xFFFFFFFE);
    ASSERT_TRUE(daemon.Write(stream));
    EXPECT_TRUE(daemon.WaitForValues("rxstatus_messages", 2, 20.0));
    daemon.Stop();

    // Only the second log's change sends the table; bit 0 of S raises nothing.
    std::vector<std::string> expected;
    for (const SAlarm& alarm : kTable) {
        expected.push_back("raise " + std::to_string(alarm.code) + "/" +
                           std::to_string(alarm.index));
    }
    EXPECT_EQ(expected, AlarmDatagrams(daemon.Datagrams()));
}

}  // namespace
