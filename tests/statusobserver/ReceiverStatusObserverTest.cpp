// The receiver status observer with records built from frames, its datagrams
// caught by a log server stub: the header values published on change only,
// the CPU-load alarm, every log's keys and formats, and the facts kept for
// the other components.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "LogObserver/ReceiverStatusObserver.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelTRACKSTATB.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "tests/statusobserver/StatusObserverTestSupport.h"

namespace {

using namespace StatusObserverTest;
using nlohmann::json;

const uint16_t kUnhandledLogId = 42;  // BESTPOS: only the header is published

typedef StatusObserverFixture ReceiverStatusObserverTest;

TEST_F(ReceiverStatusObserverTest, PublishesStatusWordTextOnlyWhenTheWordChanges) {
    SHeader header;
    header.receiverStatus = 0x81;
    Feed(Frame(kUnhandledLogId, {}, header));
    Feed(Frame(kUnhandledLogId, {}, header));
    header.receiverStatus = 0;
    Feed(Frame(kUnhandledLogId, {}, header));
    header.receiverStatus = 0x00040000;
    Feed(Frame(kUnhandledLogId, {}, header));
    EXPECT_EQ((std::vector<std::string>{"0x00000081: Error,CPU overload,",
                                        "0x00000000: ", "0x00040000: Almanac invalid,"}),
              Texts(Values(), "ReceiverStatus"));
}

TEST_F(ReceiverStatusObserverTest, IdleTimeRaisesCpuLoadAlarmAtOrBelowLimitOnChangesOnly) {
    std::vector<json> datagrams;
    for (uint8_t idle : {10, 10, 4, 4, 6}) {
        SHeader header;
        header.idleTime = idle;
        Feed(Frame(kUnhandledLogId, {}, header));
        for (const json& datagram : Datagrams()) datagrams.push_back(datagram);
    }
    EXPECT_EQ((std::vector<std::string>{"5.0", "2.0", "3.0"}),
              Texts(ValuesOf(datagrams), "ReceiverCPUIdlePercentage"));

    std::vector<std::string> alarms;
    for (const json& datagram : datagrams) {
        if (datagram.value("type", "") != "alarm") continue;
        EXPECT_EQ(CReceiverStatusObserver::kCPULoadAlarm.code, datagram.value("code", 0));
        EXPECT_EQ(CReceiverStatusObserver::kCPULoadAlarm.index, datagram.value("index", -1));
        alarms.push_back(datagram.value("action", "") + " " +
                         std::to_string(datagram.value("argument", -1)));
    }
    // The first value clears what an earlier run may have left raised.
    EXPECT_EQ((std::vector<std::string>{"clear 0", "raise 4", "clear 0"}), alarms);
}

TEST_F(ReceiverStatusObserverTest, IdleTimeAtExactlyTheLimitRaisesTheAlarm) {
    SHeader header;
    header.idleTime = CReceiverStatusObserver::kCPULoadIdleLimit;
    Feed(Frame(kUnhandledLogId, {}, header));
    std::vector<std::string> actions;
    for (const json& datagram : Datagrams()) {
        if (datagram.value("type", "") == "alarm") actions.push_back(datagram.value("action", ""));
    }
    EXPECT_EQ(std::vector<std::string>{"raise"}, actions);
}

TEST_F(ReceiverStatusObserverTest, HeaderValuesComeBeforeTheLogsOwnValues) {
    Feed(Frame(Novatel::kCHANCONFIGLISTMessageID, Tools::CBodyWriter().U32(1).U32(0).Bytes()));
    const std::vector<Value> values = Values();
    ASSERT_EQ(3u, values.size());
    EXPECT_EQ("ReceiverStatus", values[0].first);
    EXPECT_EQ("ReceiverCPUIdlePercentage", values[1].first);
    EXPECT_EQ(Value("chanconfiglist_messages", "1"), values[2]);
}

TEST_F(ReceiverStatusObserverTest, IgnoresNullAndNmeaRecords) {
    m_observer->NewPacket(nullptr);
    const std::string gga = "$GPZDA,120000.00,21,11,2026,,*60\r\n";
    Feed(ByteVector(gga.begin(), gga.end()));
    EXPECT_TRUE(Datagrams().empty());
}

TEST_F(ReceiverStatusObserverTest, CountsEachLogWithSecondsOfWeekOfItsHeader) {
    struct SCase {
        uint16_t messageId;
        ByteVector body;
        const char* key;
        const char* second;  // the second count's text
    } cases[] = {
        {Novatel::kRANGEMessageID, Tools::CBodyWriter().U32(0).Bytes(), "range_messages",
         "2,419234.000000"},
        {Novatel::kPDPSTATMessageID, ByteVector(44, 0), "pdpstat_messages", "2,419234.000000"},
        {Novatel::kRXSTATUSMessageID, RxstatusBody(0, 0), "rxstatus_messages", "2,419234.000000"},
        {Novatel::kCOMCONFIGMessageID, ComconfigBody({}), "comconfig_messages", "2,419234.000000"},
        {Novatel::kTRACKSTATMessageID, TrackstatBody({}), "trackstat_messages", "2,419234.000000"},
        {Novatel::kCHANCONFIGLISTMessageID, Tools::CBodyWriter().U32(1).U32(0).Bytes(),
         "chanconfiglist_messages", "2"},
        {Novatel::kVERSIONMessageID, VersionBody({}), "version_messages", "2"},
        {Novatel::kTIMEMessageID, TimeBody(), "time_messages", "2"},
    };
    for (const SCase& c : cases) {
        SHeader first;
        first.milliseconds = 1500;
        Feed(Frame(c.messageId, c.body, first));
        Feed(Frame(c.messageId, c.body));
    }
    const std::vector<Value> values = Values();
    for (const SCase& c : cases) {
        const std::vector<std::string> texts = Texts(values, c.key);
        ASSERT_EQ(2u, texts.size()) << c.key;
        EXPECT_EQ(std::string(c.second).find(',') == std::string::npos ? "1" : "1,1.500000",
                  texts[0])
            << c.key;
        EXPECT_EQ(c.second, texts[1]) << c.key;
    }
}

TEST_F(ReceiverStatusObserverTest, PublishesErrorWordWithItsTexts) {
    Feed(Frame(Novatel::kRXSTATUSMessageID, RxstatusBody(0, 0)));
    Feed(Frame(Novatel::kRXSTATUSMessageID, RxstatusBody(0x80000003, 0)));
    EXPECT_EQ((std::vector<std::string>{"0x00000000: No Errors",
                                        "0x80000003: DRAM Error,Invalid firmware,Component "
                                        "hardware failure,"}),
              Texts(Values(), "ReceiverError"));
}

TEST_F(ReceiverStatusObserverTest, TimeLogSetsCurrentTimeBeforePublishingIt) {
    EXPECT_EQ(0.0, m_observer->GetCurrentTimeSeconds());
    EXPECT_EQ(0u, m_observer->GetCurrentGPSWeek());
    // Other logs do not move the clock.
    Feed(Frame(Novatel::kRANGEMessageID, Tools::CBodyWriter().U32(0).Bytes()));
    EXPECT_EQ(0.0, m_observer->GetCurrentTimeSeconds());

    SHeader header;
    header.week = 2238;
    header.milliseconds = 345600125;
    Feed(Frame(Novatel::kTIMEMessageID, TimeBody(), header));
    EXPECT_EQ(2238u, m_observer->GetCurrentGPSWeek());
    EXPECT_DOUBLE_EQ(345600.125, m_observer->GetCurrentTimeSeconds());
    const std::vector<Value> values = Values();
    EXPECT_EQ(std::vector<std::string>{"2238,345600.125"}, Texts(values, "gps_time"));
    EXPECT_EQ(std::vector<std::string>{"1"}, Texts(values, "time_messages"));
}

TEST_F(ReceiverStatusObserverTest, TranslatesSoftwareVersionOnlyFromL6XNumbers) {
    struct SCase {
        const char* softwareVersion;
        int32_t number;
    } cases[] = {
        {"L6X10200", 10200}, {"L6X9", 9},      {"3.301", -1},     {"L6X", -1},
        {"L6X10200b", -1},   {"l6x10200", -1}, {"XL6X10200", -1},
    };
    for (const SCase& c : cases) {
        Feed(Frame(Novatel::kVERSIONMessageID,
                   VersionBody({{1, "L12LRVA", "DAB07280012", "OEMV3G-4.00", c.softwareVersion}})));
        EXPECT_EQ(c.number, m_observer->GetSoftwareVersionNumber()) << c.softwareVersion;
        std::vector<std::string> lines;
        for (const json& datagram : Datagrams()) {
            if (datagram.value("type", "") == "line") lines.push_back(datagram.value("text", ""));
        }
        EXPECT_EQ(std::vector<std::string>{"CReceiverStatusObserver::TranslateReceiverVersion: got "
                                           "sw_version_int " +
                                           std::to_string(c.number) + " from version " +
                                           c.softwareVersion},
                  lines);
    }
}

TEST_F(ReceiverStatusObserverTest, SoftwareVersionNumberIsUnknownBeforeAnyVersionLog) {
    EXPECT_EQ(-1, m_observer->GetSoftwareVersionNumber());
    EXPECT_EQ(std::vector<std::string>(4), m_observer->GetVersionStrings());
}

TEST_F(ReceiverStatusObserverTest, PublishesEveryComponentAndKeepsTheReceiverCardsFacts) {
    Feed(Frame(Novatel::kVERSIONMessageID,
               VersionBody({{3, "DL-V3", "NBV07290013", "5.00", ""},
                            {1, "L12LRVA", "DAB07280012", "OEMV3G-4.00-X2T", "L6X10300"},
                            {981073925, "DL-V3", "0", "", "L6X1"}})));
    EXPECT_EQ(10300, m_observer->GetSoftwareVersionNumber());
    EXPECT_EQ((std::vector<std::string>{"L12LRVA", "DAB07280012", "OEMV3G-4.00-X2T", "L6X10300"}),
              m_observer->GetVersionStrings());

    std::vector<Value> components;
    for (const Value& value : Values()) {
        if (value.first.compare(0, 10, "component_") == 0) components.push_back(value);
    }
    const std::vector<Value> expected = {
        {"component_00.componentType", "ENCLOSURE"},
        {"component_00.model", "DL-V3"},
        {"component_00.psn", "NBV07290013"},
        {"component_00.hardwareVersion", "5.00"},
        {"component_00.softwareVersion", ""},
        {"component_01.componentType", "GPSCARD"},
        {"component_01.model", "L12LRVA"},
        {"component_01.psn", "DAB07280012"},
        {"component_01.hardwareVersion", "OEMV3G-4.00-X2T"},
        {"component_01.softwareVersion", "L6X10300"},
        {"component_02.componentType", "DB_USERAPPAUTO"},
        {"component_02.model", "DL-V3"},
        {"component_02.psn", "0"},
        {"component_02.hardwareVersion", ""},
        {"component_02.softwareVersion", "L6X1"},
    };
    EXPECT_EQ(expected, components);
}

TEST_F(ReceiverStatusObserverTest, VersionLogWithoutReceiverCardUsesItsFirstComponent) {
    Feed(Frame(Novatel::kVERSIONMessageID, VersionBody({{1, "A", "B", "C", "L6X10200"}})));
    Feed(Frame(Novatel::kVERSIONMessageID,
               VersionBody({{13, "OEM615", "BJYA1", "OEM615-1.01", "3.301"},
                            {77, "X", "Y", "Z", "L6X5"}})));
    EXPECT_EQ(-1, m_observer->GetSoftwareVersionNumber());
    EXPECT_EQ("OEM615", m_observer->GetVersionStrings()[CReceiverStatusObserver::kVersionModel]);
    EXPECT_EQ(std::vector<std::string>{"77"}, Texts(Values(), "component_01.componentType"));
}

TEST_F(ReceiverStatusObserverTest, PublishesTheDevicesPortsWithProtocolNames) {
    Feed(Frame(Novatel::kCOMCONFIGMessageID, ComconfigBody({{1, 115200, 1, 15},
                                                            {2, 9600, 11, 0},
                                                            {3, 9600, 1, 1},
                                                            {13, 57600, 14, 20},
                                                            {14, 57600, 19, 18},
                                                            {15, 57600, 2, 3},
                                                            {16, 9600, 1, 1}})));
    const std::vector<Value> values = Values();
    std::vector<Value> ports;
    for (const Value& value : values) {
        if (value.first.find("_Config") != std::string::npos) ports.push_back(value);
    }
    const std::vector<Value> expected = {
        {"COM1_Config", "115200,NOVATEL,NOVATELBINARY"},
        {"COM2_Config", "9600,UNKNOWN (11),NONE"},
        {"USB1_Config", "57600,RTCMV3,MRTCA"},
        {"USB2_Config", "57600,UNKNOWN (19),GENERIC"},
        {"USB3_Config", "57600,RTCM,RTCA"},
    };
    EXPECT_EQ(expected, ports);
}

TEST_F(ReceiverStatusObserverTest, PublishesTrackingCountsAndSbasSystems) {
    Feed(Frame(Novatel::kTRACKSTATMessageID,
               TrackstatBody({{16, kGPSL1Locked, 50.0f, kRejectGood},
                              {16, kGPSL2Locked, 46.0f, kRejectNotApplicable},
                              {7, kGPSL1Locked, 36.0f, kRejectNoIonoCorrection},
                              {10, kGPSSearching, 0.0f, kRejectNotApplicable},
                              {45, kGLONASSL1Locked, 41.0f, kRejectGood},
                              {131, kSBASL1Locked, 44.0f, kRejectNotApplicable},
                              {133, kSBASL1Locked, 40.0f, kRejectNotApplicable},
                              {0, kLBand, 0.0f, kRejectNotApplicable}})));
    const std::vector<Value> values = Values();
    EXPECT_EQ(std::vector<std::string>{"131 (EGNOS),133 (),"}, Texts(values, "sbas_tracking"));
    EXPECT_EQ(std::vector<std::string>{"2,1"}, Texts(values, "sats_tracked_gps"));
    EXPECT_EQ(std::vector<std::string>{"1,1"}, Texts(values, "sats_tracked_glonass"));
    EXPECT_EQ(std::vector<std::string>{"5,2,2"}, Texts(values, "sats_tracked"));
    EXPECT_EQ((std::vector<int32_t>{2, 1, 1, 1, 2}), m_observer->GetTrackingCounters());
    ASSERT_EQ(5u, m_observer->GetSkyView().size());
    EXPECT_EQ(8, m_observer->GetSkyView()[2].prn);  // GLONASS slot of PRN 45
}

TEST_F(ReceiverStatusObserverTest, TrackingCountersStartAtZeroAndFollowTheLastLog) {
    EXPECT_EQ(std::vector<int32_t>(5, 0), m_observer->GetTrackingCounters());
    Feed(Frame(Novatel::kTRACKSTATMessageID,
               TrackstatBody({{3, kGPSL1Locked, 50.0f, kRejectGood}})));
    Feed(Frame(Novatel::kTRACKSTATMessageID, TrackstatBody({})));
    EXPECT_EQ(std::vector<int32_t>(5, 0), m_observer->GetTrackingCounters());
    EXPECT_TRUE(m_observer->GetSkyView().empty());
    const std::vector<Value> values = Values();
    EXPECT_EQ((std::vector<std::string>{"", ""}), Texts(values, "sbas_tracking"));
    EXPECT_EQ((std::vector<std::string>{"1,1,0", "0,0,0"}), Texts(values, "sats_tracked"));
}

// A TRACKSTAT record whose channel list does not match the count it announces.
class CInconsistentTRACKSTAT : public Novatel::CNovatelTRACKSTATB {
public:
    explicit CInconsistentTRACKSTAT(const ByteVector& frame) : CNovatelTRACKSTATB(frame) {
        m_numberOfChannels = 3;
    }
};

TEST(ReceiverStatusObserverDeathTest, TrackstatWithChannelCountMismatchStopsTheProcess) {
    CInconsistentTRACKSTAT record(
        Frame(Novatel::kTRACKSTATMessageID, TrackstatBody({{3, kGPSL1Locked, 50.0f, 0}})));
    EXPECT_DEATH(
        {
            TestSupport::TempDir dir;
            CConfig config(
                TestSupport::WriteServerConfig(dir, "127.0.0.1", TestSupport::ClosedPort()));
            CReceiverStatusObserver(config).NewPacket(&record);
        },
        "LogObserver/ReceiverStatusObserver\\.cpp:[0-9]+: void "
        "CReceiverStatusObserver::NewPacket_TRACKSTAT\\(const Novatel::CNovatelTRACKSTAT\\*\\): "
        "Assertion `record->GetChannels\\(\\)\\.size\\(\\) == "
        "record->GetNumberOfChannels\\(\\)' failed\\.");
}

}  // namespace
