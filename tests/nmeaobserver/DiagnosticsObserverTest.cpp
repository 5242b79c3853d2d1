// The diagnostics observer as the log server sees it: the alarm datagrams that
// RXSTATUS records with given error and status words produce.

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "LogObserver/DiagnosticsObserver.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "platform/Config/Config.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace {

// The alarm table as code/index, in the order the alarms are sent (A1 to A11).
const char* const kAlarmTable[] = {"79151/0",  "79161/4",  "70950/4",  "70922/5",
                                   "70922/6",  "79195/0",  "79203/12", "73505/17",
                                   "79200/12", "79202/12", "79207/12"};
const size_t kAlarmCount = sizeof(kAlarmTable) / sizeof(kAlarmTable[0]);

uint32_t Bit(unsigned n) { return 1u << n; }

// A binary RXSTATUS frame; the first status word is the receiver status word,
// the others are auxiliary status words.
ByteVector RxstatusFrame(uint32_t errorWord, const std::vector<uint32_t>& statusWords,
                         uint32_t otherMasks = 0) {
    Tools::CBodyWriter body;
    body.U32(errorWord).U32(static_cast<uint32_t>(statusWords.size()));
    for (uint32_t status : statusWords)
        body.U32(status).U32(otherMasks).U32(otherMasks).U32(otherMasks);
    Tools::SFrameHeader header;
    header.messageId = Novatel::kRXSTATUSMessageID;
    return Tools::BuildBinaryFrame(header, body.Bytes());
}

class DiagnosticsObserverTest : public ::testing::Test {
protected:
    DiagnosticsObserverTest()
        : m_config(TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_server.Port())) {}

    static void Offer(CDiagnosticsObserver& observer, const ByteVector& sentence) {
        std::unique_ptr<CGPSRecord> record(CreateRecord(sentence));
        observer.NewPacket(record.get());
    }

    // The next alarm datagram as "raise 79151/0 1" or "clear 79151/0 0".
    std::string NextAlarm() {
        const nlohmann::json datagram = m_server.ReceiveJson();
        EXPECT_EQ("alarm", datagram.value("type", "")) << datagram.dump();
        return datagram.value("action", "?") + " " + std::to_string(datagram.value("code", -1)) +
               "/" + std::to_string(datagram.value("index", -1)) + " " +
               std::to_string(datagram.value("argument", -1));
    }

    // The eleven datagrams of one change, expected to raise exactly the given
    // alarms (numbers 1 to 11 of the table) and clear all others, in table order.
    void ExpectAlarmSet(const std::set<int>& raised, const std::string& what) {
        for (size_t i = 0; i < kAlarmCount; ++i) {
            const bool up = raised.count(static_cast<int>(i + 1)) != 0;
            EXPECT_EQ(std::string(up ? "raise " : "clear ") + kAlarmTable[i] + (up ? " 1" : " 0"),
                      NextAlarm())
                << what << ", alarm A" << i + 1;
        }
    }

    TestSupport::TempDir m_dir;
    TestSupport::CLogServerStub m_server;
    CConfig m_config;
};

TEST_F(DiagnosticsObserverTest, EachWordBitRaisesExactlyTheAlarmsOfTheTable) {
    const struct {
        uint32_t error;
        uint32_t status;
        std::set<int> raised;
    } cases[] = {
        {0, 0, {}},
        {0, Bit(1), {1}},
        {Bit(9), 0, {1}},
        {0, Bit(2), {2}},
        {Bit(7), 0, {2}},
        {0, Bit(3), {3}},
        {0, Bit(5), {4}},
        {0, Bit(6), {5}},
        {0, Bit(7), {6}},
        {0, Bit(8), {7}},
        {0, Bit(9), {7}},
        {0, Bit(10), {7}},
        {0, Bit(11), {7}},
        {0, Bit(18), {8}},
        {Bit(0), 0, {9}},
        {Bit(2), 0, {9}},
        {Bit(4), 0, {9}},
        {Bit(6), 0, {9}},
        {Bit(10) | Bit(11) | Bit(12), 0, {9}},
        {Bit(13), 0, {9}},
        {Bit(14), 0, {9}},
        {Bit(15), 0, {9}},
        {Bit(31), 0, {9}},
        {0, Bit(15), {9}},
        {0, Bit(17), {9}},
        {Bit(1), 0, {10}},
        {Bit(16), 0, {11}},
        {0, Bit(24), {11}},
        {Bit(1) | Bit(9), Bit(5) | Bit(6), {1, 4, 5, 10}},
        // Bits the table does not name drive no alarm.
        {Bit(3) | Bit(5) | Bit(8) | 0x7FFE0000u, 0, {}},
        {0, Bit(0) | Bit(4) | Bit(12) | Bit(13) | Bit(14) | Bit(16) | 0xFEF80000u, {}},
    };
    for (const auto& c : cases) {
        CDiagnosticsObserver observer(m_config);
        Offer(observer, RxstatusFrame(c.error, {c.status}));
        char what[64];
        std::snprintf(what, sizeof(what), "E=0x%08X S=0x%08X", c.error, c.status);
        ExpectAlarmSet(c.raised, what);
        if (HasFailure()) break;  // later datagrams would no longer line up
    }
    EXPECT_TRUE(m_server.Drain().empty());
}

TEST_F(DiagnosticsObserverTest, UnchangedWordsSendNothingAndAnyChangeSendsTheWholeTable) {
    CDiagnosticsObserver observer(m_config);
    Offer(observer, RxstatusFrame(0, {Bit(3)}));
    ExpectAlarmSet({3}, "first");
    Offer(observer, RxstatusFrame(0, {Bit(3)}));
    EXPECT_TRUE(m_server.Drain().empty()) << "an unchanged RXSTATUS touched the alarms";

    // A change in a bit that drives no alarm still sends every alarm again.
    Offer(observer, RxstatusFrame(0, {Bit(3) | Bit(19)}));
    ExpectAlarmSet({3}, "status bit 19 set");
    Offer(observer, RxstatusFrame(Bit(1), {Bit(3) | Bit(19)}));
    ExpectAlarmSet({3, 10}, "error bit 1 set");
    Offer(observer, RxstatusFrame(0, {0}));
    ExpectAlarmSet({}, "all clear");
    EXPECT_TRUE(m_server.Drain().empty());
}

TEST_F(DiagnosticsObserverTest, FirstRecordWithEveryBitSetSendsNothing) {
    // Deliberate: the remembered words start with every bit set.
    CDiagnosticsObserver observer(m_config);
    Offer(observer, RxstatusFrame(0xFFFFFFFFu, {0xFFFFFFFFu}));
    EXPECT_TRUE(m_server.Drain().empty());
    Offer(observer, RxstatusFrame(0xFFFFFFFFu, {0xFFFFFFFEu}));
    ExpectAlarmSet({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}, "every alarm bit set");
}

TEST_F(DiagnosticsObserverTest, ReadsOnlyTheFirstStatusGroupsStatusWord) {
    CDiagnosticsObserver observer(m_config);
    Offer(observer, RxstatusFrame(0, {0, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu}, 0xFFFFFFFFu));
    ExpectAlarmSet({}, "auxiliary words and masks all set");
    // A log without groups has a receiver status word of 0.
    Offer(observer, RxstatusFrame(Bit(16), {}));
    ExpectAlarmSet({11}, "no groups");
}

TEST_F(DiagnosticsObserverTest, IgnoresNullNmeaAndOtherNovAtelRecords) {
    CDiagnosticsObserver observer(m_config);
    observer.NewPacket(nullptr);
    const std::string gsv = "$GPGSV,1,1,01,05,45,120,40*4E\r";
    Offer(observer, ByteVector(gsv.begin(), gsv.end()));
    Tools::SFrameHeader header;
    header.messageId = Novatel::kTIMEMessageID;
    header.receiverStatus = 0xFFFFFFFFu;  // the header's copy of the status word is not read
    Offer(observer, Tools::BuildBinaryFrame(header, ByteVector(44, 0)));
    EXPECT_TRUE(m_server.Drain().empty());
    EXPECT_EQ(0u, observer.GetAlarms().GetRaisedCount());
}

}  // namespace
