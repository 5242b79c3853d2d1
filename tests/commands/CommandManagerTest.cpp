#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "control/CommandManager.h"
#include "control/ConstellationManager.h"
#include "control/NovatelAbbreviatedASCIICommand.h"
#include "platform/Config/Config.h"
#include "tests/commands/CommandsTestSupport.h"

using CommandsTest::CRecordingSource;
using CommandsTest::DefaultConfiguration;
using Lines = std::vector<std::string>;

namespace {

// The lines strictly between the first line equal to after and the next equal to before.
Lines Between(const Lines& lines, const std::string& after, const std::string& before) {
    auto first = std::find(lines.begin(), lines.end(), after + "\r\n");
    if (first == lines.end()) return {"<no " + after + ">"};
    auto last = std::find(first + 1, lines.end(), before + "\r\n");
    return Lines(first + 1, last);
}

Lines WithLineEnds(const Lines& texts) {
    Lines lines;
    for (const std::string& text : texts) lines.push_back(text + "\r\n");
    return lines;
}

class CommandManagerTest : public ::testing::Test {
protected:
    // A store holding extra, and a manager on it with the recording source and,
    // when asked, a constellation manager.
    void Open(const std::string& extra, bool withConstellation = false) {
        m_path = CommandsTest::WriteStore(m_dir, m_server, extra);
        m_config.reset(new CConfig(m_path));
        if (withConstellation) m_constellation.reset(new CConstellationManager(*m_config));
        m_manager.reset(new CCommandManager(*m_config));
        m_manager->SetByteSource(&m_source);
        m_manager->SetConstellationManager(m_constellation.get());
    }
    Lines Pending() const {
        return Lines(m_manager->GetPendingCommands().begin(),
                     m_manager->GetPendingCommands().end());
    }
    Lines Queue() const {
        return Lines(m_manager->GetSendQueue().begin(), m_manager->GetSendQueue().end());
    }
    Lines BuiltFrom(const std::string& extra, bool withConstellation = false) {
        Open(extra, withConstellation);
        EXPECT_TRUE(m_manager->BuildConfiguration());
        return Pending();
    }
    // What another process reading the store file sees.
    std::string Committed(const std::string& section, const std::string& key) const {
        return CConfig(m_path).GetString(section, key, "<absent>");
    }

    TestSupport::CLogServerStub m_server;
    TestSupport::TempDir m_dir;
    std::string m_path;
    std::unique_ptr<CConfig> m_config;
    std::unique_ptr<CConstellationManager> m_constellation;
    std::unique_ptr<CCommandManager> m_manager;
    CRecordingSource m_source;
};

TEST_F(CommandManagerTest, BuildsDefaultConfigurationInOrderWithoutSendingIt) {
    EXPECT_EQ(DefaultConfiguration(), BuiltFrom("[Quillond]\n"));
    EXPECT_TRUE(Queue().empty());
    EXPECT_TRUE(m_source.m_written.empty());
}

// Every built line is what the typed command renders for its word and arguments.
TEST_F(CommandManagerTest, BuiltLinesMatchTypedCommandBytes) {
    for (const std::string& line :
         BuiltFrom("[Quillond]\ngps_logging_enabled = 1\n[Region]\nname = north_america\n", true)) {
        const size_t blank = line.find(' ');
        ASSERT_NE(std::string::npos, blank) << line;
        Novatel::CNovatelAbbreviatedASCIICommand command;
        command.SetCommand(line.substr(0, blank));
        command.SetArguments(line.substr(blank + 1, line.size() - blank - 3));
        ByteVector bytes;
        ASSERT_TRUE(command.Render(bytes));
        EXPECT_EQ(line, std::string(bytes.begin(), bytes.end()));
    }
}

struct SBlockCase {
    const char* name;
    const char* store;
    bool withConstellation;
    Lines block;  // the lines between "unlogall thisport" and "rtksource auto any"
};

void PrintTo(const SBlockCase& c, std::ostream* os) { *os << c.name; }

class ChannelAndSBASTest : public CommandManagerTest,
                           public ::testing::WithParamInterface<SBlockCase> {};

TEST_P(ChannelAndSBASTest, BuildsChannelAndSBASLines) {
    const SBlockCase& c = GetParam();
    EXPECT_EQ(WithLineEnds(c.block), Between(BuiltFrom(c.store, c.withConstellation),
                                             "unlogall thisport", "rtksource auto any"));
}

const char kWAAS[] = "[Region]\nname = north_america\n";
INSTANTIATE_TEST_SUITE_P(
    Cases, ChannelAndSBASTest,
    ::testing::Values(
        SBlockCase{"NoConstellationManager",
                   "[Quillond]\nsbas_prn = 122\n",
                   false,
                   {"sbascontrol disable"}},
        SBlockCase{"SBASOffConfigurationCurrent",
                   "[Quillond]\ncurrent_channel_configuration = 1\n",
                   true,
                   {"sbascontrol disable"}},
        SBlockCase{
            "SBASAutomaticPRN",
            "[Quillond]\ncurrent_channel_configuration = 2\n[Region]\nname = north_america\n",
            true,
            {"assign 12 auto", "assign 13 auto", "WAAS17 0 1 0 126 255 0 0 0 0 0 0 0",
             "sbascontrol enable auto 0 none"}},
        SBlockCase{"SBASChosenPRN",
                   "[Quillond]\ncurrent_channel_configuration = 2\nsbas_prn = 122\n"
                   "[Region]\nname = north_america\n",
                   true,
                   {"assign 12 122", "assign 13 idle", "sbascontrol enable auto 0 zerototwo"}},
        SBlockCase{"ChannelChangeWanted",
                   kWAAS,
                   true,
                   {"selectchanconfig 2", "assign 12 auto", "assign 13 auto",
                    "WAAS17 0 1 0 126 255 0 0 0 0 0 0 0", "sbascontrol enable auto 0 none"}},
        SBlockCase{"FixedConfigurationNeverSelects",
                   "[Quillond]\nreceiver_is_615 = 1\nforce_sbas_state = 1\n",
                   true,
                   {"sbascontrol disable"}}),
    [](const ::testing::TestParamInfo<SBlockCase>& info) { return info.param.name; });

struct SSettingCase {
    const char* store;
    const char* after;  // the block lies between these two lines
    const char* before;
    Lines block;
};

void PrintTo(const SSettingCase& c, std::ostream* os) {
    *os << ::testing::PrintToString(std::string(c.store));
}

class SettingLinesTest : public CommandManagerTest,
                         public ::testing::WithParamInterface<SSettingCase> {};

TEST_P(SettingLinesTest, BuildsLinesFromStoredSettings) {
    const SSettingCase& c = GetParam();
    EXPECT_EQ(WithLineEnds(c.block),
              Between(BuiltFrom(std::string("[Quillond]\n") + c.store), c.after, c.before));
}

const char kDiff[] = "psrdiffsource auto any";
const char kUsb1[] = "interfacemode usb1 novatel novatel";
const char kCom2[] = "com com2 115200 n 8 1 n off on";
const char kVersion[] = "log versionb once";
const char kTrack[] = "log trackstatb ontime 3";
const char kGpgsv[] = "log gpgsv ontime 1";
INSTANTIATE_TEST_SUITE_P(
    Ionosphere, SettingLinesTest,
    ::testing::Values(SSettingCase{"", kDiff, kUsb1, {"setionotype auto"}},
                      SSettingCase{
                          "ionosphere_mode = 1\n", kDiff, kUsb1, {"setionotype klobuchar"}},
                      SSettingCase{"ionosphere_mode = 2\n", kDiff, kUsb1, {"setionotype grid"}},
                      SSettingCase{"ionosphere_mode = 3\n", kDiff, kUsb1, {"setionotype auto"}},
                      SSettingCase{"ionosphere_mode = 7\n", kDiff, kUsb1, {"setionotype auto"}},
                      SSettingCase{"ionosphere_mode = -2\n", kDiff, kUsb1, {"setionotype auto"}}));
INSTANTIATE_TEST_SUITE_P(
    ReferenceFormat, SettingLinesTest,
    ::testing::Values(
        SSettingCase{
            "reference_format = ZOKA1\n", kCom2, kVersion, {"interfacemode com2 CMR none"}},
        SSettingCase{
            "reference_format = RTCM3\n", kCom2, kVersion, {"interfacemode com2 RTCMV3 none"}},
        SSettingCase{
            "reference_format = RTCM2\n", kCom2, kVersion, {"interfacemode com2 RTCM none"}},
        SSettingCase{
            "reference_format = NONE\n", kCom2, kVersion, {"interfacemode com2 RTCMV3 none"}},
        SSettingCase{"reference_format = CMR\n", kCom2, kVersion, {"interfacemode com2 CMR none"}},
        SSettingCase{
            "reference_format = RTCMV3\n", kCom2, kVersion, {"interfacemode com2 RTCMV3 none"}},
        SSettingCase{"reference_format = RTCM3\nreference_format_real = RTCM2\n",
                     kCom2,
                     kVersion,
                     {"interfacemode com2 RTCM none"}}));
INSTANTIATE_TEST_SUITE_P(
    PositionLogging, SettingLinesTest,
    ::testing::Values(
        SSettingCase{"position_update = 0.2\n",
                     kTrack,
                     kGpgsv,
                     {"pdpfilter enable", "pdpmode relative dynamic", "dynamics air",
                      "psrvelocitytype DOPPLER", "log pdpxyzb ontime 0.2",
                      "log pdpstatb ontime 0.2", "log rangeb ontime 0.5", "log timeb ontime 0.2"}},
        SSettingCase{"dynamics_type = land\npsrvelocitytype = PSR\ntimeb_update = 1\n"
                     "range_rate = 2\n",
                     kTrack,
                     kGpgsv,
                     {"pdpfilter enable", "pdpmode relative dynamic", "dynamics land",
                      "psrvelocitytype PSR", "log pdpxyzb ontime 0.1", "log pdpstatb ontime 0.1",
                      "log rangeb ontime 2", "log timeb ontime 1"}}));
INSTANTIATE_TEST_SUITE_P(
    GPSLogging, SettingLinesTest,
    ::testing::Values(SSettingCase{
        "gps_logging_enabled = 1\n",
        "log refstationb ontime 10",
        "LOG CHANCONFIGLISTB ONCE",
        {"LOG VERSIONB ONCE",       "LOG VERSIONA ONCE",           "LOG TRACKSTATB ONTIME 1",
         "LOG PSRXYZB ONTIME 1",    "LOG RAWEPHEMB ONCHANGED",     "LOG RAWWAASFRAMEB ONNEW",
         "LOG IONUTCB ONCHANGED ",  "LOG GLORAWEPHEMB ONCHANGED ", "LOG BASESTATIONOBSB ONNEW",
         "LOG PDPPOSB ONTIME 0.5",  "LOG PSRPOSB ONTIME 0.5",      "LOG BESTPOSB ONTIME 1",
         "LOG CBITHINTA ONCHANGED", "LOG ALMANACB ONCHANGED",      "LOG GLORAWALMB ONCHANGED",
         "LOG GLOCLOCKB ONCHANGED", "LOG PSRSATS ONTIME 0.5",      "LOG RTKSATSB ONTIME 0.5",
         "LOG RTKDATAB ONNEW",      "LOG MATCHEDSATSB ONNEW",      "LOG PORTSTATSB ONTIME 10",
         "LOG RXCONFIGA ONCE",      "LOG PASSCOM2B ONCHANGED"}}));

TEST_F(CommandManagerTest, BuildEmptiesSendQueueFirst) {
    Open("");
    m_manager->BuildConfiguration();
    ASSERT_TRUE(m_manager->QueueCommands());
    m_manager->BuildConfiguration();
    EXPECT_TRUE(Queue().empty());
    EXPECT_EQ("", m_manager->PopNextCommand());
}

TEST_F(CommandManagerTest, QueueingWithoutByteSourceQueuesNothing) {
    Open("");
    m_manager->BuildConfiguration();
    m_manager->SetByteSource(nullptr);
    EXPECT_FALSE(m_manager->QueueCommands());
    EXPECT_TRUE(Queue().empty());
}

TEST_F(CommandManagerTest, QueueingOpensClosedSourceAndReportsEachLine) {
    Open("");
    m_manager->BuildConfiguration();
    testing::internal::CaptureStdout();
    ASSERT_TRUE(m_manager->QueueCommands());
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(1, m_source.m_opens);
    EXPECT_EQ(DefaultConfiguration(), Queue());
    EXPECT_EQ(0u, printed.find("Queueing Novatel Command 'unlogall thisport\r\n'\n")) << printed;
    // Popped first in, first out.
    EXPECT_EQ("unlogall thisport\r\n", m_manager->PopNextCommand());
    EXPECT_EQ("sbascontrol disable\r\n", m_manager->PopNextCommand());
}

// Channel selections and resets go out with one queueing and are left out of the next.
TEST_F(CommandManagerTest, QueueingDropsOneShotLinesFromLaterQueueings) {
    Open("");
    const std::string file = m_dir.File("init.txt");
    TestSupport::WriteWholeFile(file,
                                "selectchanconfig 4\nSelectChanConfig 2\nFRESET STANDARD\n"
                                "rtkcommand reset\nlog versionb once\nlog rxstatusb onchanged");
    ASSERT_TRUE(m_manager->LoadInitialisations(file));
    ASSERT_TRUE(m_manager->QueueCommands());
    EXPECT_EQ(6u, Queue().size());
    m_manager->BuildConfiguration();  // empties the queue; the file's list is gone too
    ASSERT_TRUE(m_manager->LoadInitialisations(file));
    m_manager->QueueCommands();
    m_manager->QueueCommands();
    const Lines queue = Queue();
    ASSERT_EQ(8u, queue.size());
    EXPECT_EQ(WithLineEnds({"log versionb once", "log rxstatusb onchanged"}),
              Lines(queue.begin() + 6, queue.end()));
}

TEST_F(CommandManagerTest, SendFResetWritesAtOnceAndOnlyOnce) {
    Open("");
    m_manager->BuildConfiguration();
    ASSERT_TRUE(m_manager->SendFReset());
    ASSERT_EQ(Lines{"FRESET STANDARD\r\n"}, m_source.m_written);
    EXPECT_EQ("FRESET STANDARD\r\n", Queue().back());
    m_manager->BuildConfiguration();
    m_manager->QueueCommands();
    EXPECT_EQ(DefaultConfiguration(), Queue());
}

TEST_F(CommandManagerTest, SendNowKeepsLineForLaterQueueingsUnlessOneShot) {
    Open("");
    m_manager->SetByteSource(nullptr);
    EXPECT_FALSE(m_manager->SendNow("log bestposb once\r\n"));
    m_manager->SetByteSource(&m_source);
    EXPECT_TRUE(m_manager->ResetRTKFilter());
    m_manager->RequestReceiverInfo(0);
    EXPECT_EQ(WithLineEnds({"rtkcommand reset", "LOG CHANCONFIGLISTB ONCE", "LOG LOGLISTB ONCE",
                            "LOG RXCONFIGB ONCE"}),
              m_source.m_written);
    m_manager->QueueCommands();
    m_manager->QueueCommands();
    const Lines queue = Queue();
    ASSERT_EQ(9u, queue.size());
    const Lines second(queue.begin() + 5, queue.end());
    EXPECT_EQ(WithLineEnds({"log bestposb once", "LOG CHANCONFIGLISTB ONCE", "LOG LOGLISTB ONCE",
                            "LOG RXCONFIGB ONCE"}),
              second);
}

struct SFileCase {
    const char* contents;
    Lines pending;
};

void PrintTo(const SFileCase& c, std::ostream* os) {
    *os << ::testing::PrintToString(std::string(c.contents));
}

class LoadInitialisationsTest : public CommandManagerTest,
                                public ::testing::WithParamInterface<SFileCase> {};

// The read that meets the end still adds a line; empty lines stay as bare "\r\n".
TEST_P(LoadInitialisationsTest, ReplacesPendingByTrimmedFileLines) {
    Open("");
    m_manager->BuildConfiguration();
    const std::string file = m_dir.File("init.txt");
    TestSupport::WriteWholeFile(file, GetParam().contents);
    ASSERT_TRUE(m_manager->LoadInitialisations(file));
    EXPECT_EQ(GetParam().pending, Pending());
}

INSTANTIATE_TEST_SUITE_P(Files, LoadInitialisationsTest,
                         ::testing::Values(SFileCase{"a\n  b c \t\n\nd\n",
                                                     {"a\r\n", "b c\r\n", "\r\n", "d\r\n", "\r\n"}},
                                           SFileCase{"a\r\nb", {"a\r\n", "b\r\n"}},
                                           SFileCase{"", {"\r\n"}}));

TEST_F(CommandManagerTest, LoadInitialisationsKeepsListWhenFileCannotBeRead) {
    Open("");
    m_manager->BuildConfiguration();
    EXPECT_FALSE(m_manager->LoadInitialisations(m_dir.File("missing.txt")));
    EXPECT_FALSE(m_manager->LoadInitialisations(m_dir.Path()));  // a directory opens but fails
    EXPECT_EQ(DefaultConfiguration(), Pending());
    EXPECT_TRUE(m_manager->LoadInitialisations(""));
    EXPECT_EQ(DefaultConfiguration(), Pending());
}

TEST_F(CommandManagerTest, LoadInitialisationsKeepsOverlongLineWhole) {
    Open("");
    const std::string longLine = "log " + std::string(2000, 'x');
    const std::string file = m_dir.File("init.txt");
    TestSupport::WriteWholeFile(file, longLine);
    testing::internal::CaptureStderr();
    ASSERT_TRUE(m_manager->LoadInitialisations(file));
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find(":1: line longer"));
    EXPECT_EQ(Lines{longLine + "\r\n"}, Pending());
}

struct SSentCase {
    const char* line;
    int32_t current;  // the constellation manager's configuration afterwards
};

void PrintTo(const SSentCase& c, std::ostream* os) {
    *os << ::testing::PrintToString(std::string(c.line));
}

class CommandSentTest : public CommandManagerTest,
                        public ::testing::WithParamInterface<SSentCase> {};

TEST_P(CommandSentTest, ReportsOnlyLowerCaseSelectionWithNumber) {
    Open("[Quillond]\ncurrent_channel_configuration = 1\n", true);
    m_manager->CommandSent(GetParam().line);
    int32_t current = 0;
    m_constellation->GetCurrentChannelConfiguration(current);
    EXPECT_EQ(GetParam().current, current);
}

INSTANTIATE_TEST_SUITE_P(Lines, CommandSentTest,
                         ::testing::Values(SSentCase{"selectchanconfig 4\r\n", 4},
                                           SSentCase{"selectchanconfig 5", 5},
                                           SSentCase{"SELECTCHANCONFIG 4\r\n", 1},
                                           SSentCase{"selectchanconfig\r\n", 1},
                                           SSentCase{"selectchanconfig x4\r\n", 1},
                                           SSentCase{"selectchanconfig  4\r\n", 1},
                                           SSentCase{"log versionb once\r\n", 1}));

TEST_F(CommandManagerTest, RecordsRequeueWholeConfigurationWhileChannelChangeIsWanted) {
    Open(kWAAS, true);
    m_manager->NewPacket(nullptr);
    ASSERT_GE(Queue().size(), 2u);
    EXPECT_EQ("unlogall thisport\r\n", m_manager->PopNextCommand());
    const std::string select = m_manager->PopNextCommand();
    EXPECT_EQ("selectchanconfig 2\r\n", select);
    m_manager->CommandSent(select);
    const size_t left = Queue().size();
    m_manager->NewPacket(nullptr);
    EXPECT_EQ(left, Queue().size()) << "requeued although the channel change was made";
}

struct SSetterCase {
    const char* name;
    void (*apply)(CCommandManager& manager, bool changed);  // the current value unless changed
    const char* key;
    const char* stored;  // committed under key when changed
    const char* line;    // then found in the queue
};

void PrintTo(const SSetterCase& c, std::ostream* os) { *os << c.name; }

class SetterTest : public CommandManagerTest, public ::testing::WithParamInterface<SSetterCase> {
protected:
    void SetUp() override {
        Open("");
        m_manager->BuildConfiguration();
    }
};

TEST_P(SetterTest, ChangedValueIsCommittedAndConfigurationRequeued) {
    GetParam().apply(*m_manager, true);
    EXPECT_EQ(GetParam().stored, Committed("Quillond", GetParam().key));
    const Lines queue = Queue();
    ASSERT_FALSE(queue.empty());
    EXPECT_EQ("unlogall thisport\r\n", queue.front());
    EXPECT_NE(queue.end(),
              std::find(queue.begin(), queue.end(), GetParam().line + std::string("\r\n")));
}

TEST_P(SetterTest, UnchangedValueWritesAndQueuesNothing) {
    GetParam().apply(*m_manager, false);
    EXPECT_EQ("<absent>", Committed("Quillond", GetParam().key));
    EXPECT_TRUE(Queue().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Setters, SetterTest,
    ::testing::Values(
        SSetterCase{"GPSLogging", [](CCommandManager& m, bool c) { m.SetGPSLoggingEnabled(c); },
                    "gps_logging_enabled", "1", "LOG PASSCOM2B ONCHANGED"},
        SSetterCase{"Ionosphere",
                    [](CCommandManager& m, bool c) { EXPECT_TRUE(m.SetIonosphereMode(c ? 2 : 0)); },
                    "ionosphere_mode", "2", "setionotype grid"},
        SSetterCase{"SBASPRN", [](CCommandManager& m, bool c) { m.SetSBASPRN(c ? 122 : 0); },
                    "sbas_prn", "122", "sbascontrol disable"},
        SSetterCase{"ReferenceFormat",
                    [](CCommandManager& m, bool c) {
                        EXPECT_EQ(0, m.SetReferenceFormat(c ? "RTCM3" : "ZOKA1"));
                    },
                    "reference_format_real", "RTCM3", "interfacemode com2 RTCMV3 none"}),
    [](const ::testing::TestParamInfo<SSetterCase>& info) { return info.param.name; });

TEST_F(CommandManagerTest, RefusedReferenceFormatChangesNothing) {
    Open("");
    m_manager->BuildConfiguration();
    for (const char* format : {"NONE", "RTCM", "RTCMV3", "zoka1", ""}) {
        EXPECT_NE(0, m_manager->SetReferenceFormat(format)) << format;
    }
    EXPECT_EQ("ZOKA1", m_manager->GetReferenceFormat());
    EXPECT_EQ("<absent>", Committed("Quillond", "reference_format_real"));
    EXPECT_TRUE(Queue().empty());
}

TEST_F(CommandManagerTest, GPSLoggingSwitchesPortHandlerRawRecordingKeepingOtherFields) {
    Open("[Logging.NovatelPortHandler]\nmax_level = 5\n");
    m_manager->BuildConfiguration();
    m_manager->SetGPSLoggingEnabled(true);
    EXPECT_EQ("1", Committed("Logging.NovatelPortHandler", "record_raw_data"));
    EXPECT_EQ("5", Committed("Logging.NovatelPortHandler", "max_level"));
    m_manager->SetGPSLoggingEnabled(false);
    EXPECT_EQ("0", Committed("Logging.NovatelPortHandler", "record_raw_data"));
}

TEST_F(CommandManagerTest, SBASChoiceIsForcedThroughConstellationManager) {
    Open("");
    EXPECT_FALSE(m_manager->SetSBASEnabled(true));
    Open("[Quillond]\ncurrent_channel_configuration = 2\n", true);
    ASSERT_TRUE(m_manager->SetSBASEnabled(true));
    EXPECT_EQ(1, CConfig(m_path).GetInteger("Quillond", "force_sbas_state", 0));
    EXPECT_EQ(1, CConfig(m_path).GetInteger("Quillond", "force_sbas_on", 0));
    EXPECT_EQ(
        WithLineEnds({"assign 12 auto", "assign 13 auto", "WAAS17 0 1 0 126 255 0 0 0 0 0 0 0",
                      "sbascontrol enable auto 0 none"}),
        Between(Queue(), "unlogall thisport", "rtksource auto any"));
}

}  // namespace
