// What the constellation manager learns from the receiver's VERSION and
// CHANCONFIGLIST logs and publishes about them: GLONASS support from the
// receiver card's model, the GLONASS-availability diagnostic, the offered
// configurations and their published text, and the real recordings.

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "control/ConstellationManager.h"
#include "tests/constellation/ConstellationTestSupport.h"
#include "tests/framing/FramingTestSupport.h"

namespace {

using ConstellationTest::ChanConfigListRecord;
using ConstellationTest::CManagerFixture;
using ConstellationTest::GroupList;
using ConstellationTest::Joined;
using ConstellationTest::RecordPtr;
using ConstellationTest::UpdateTexts;
using ConstellationTest::VersionRecord;

const std::string kRaiseGlonass = "alarm raise 79170/0 1";
const std::string kClearGlonass = "alarm clear 79170/0";
const std::string kDispatchLine =
    "line CConstellationManager::DispatchNovatelLog: updating channel config";

typedef CManagerFixture ConstellationRecordsTest;

// ------------------------------------------------------------------- VERSION

struct SModelCase {
    const char* name;
    std::vector<std::pair<uint32_t, std::string>> components;
    bool storedBefore;
    bool supports;
};

void PrintTo(const SModelCase& c, std::ostream* out) { *out << c.name; }

class GlonassSupportTest : public CManagerFixture,
                           public ::testing::WithParamInterface<SModelCase> {};

TEST_P(GlonassSupportTest, ReceiverCardModelDecidesGlonassSupport) {
    const SModelCase& c = GetParam();
    CConstellationManager& manager =
        Manager(std::string("[Quillond]\nreceiver_supports_glonass = ") +
                (c.storedBefore ? "1" : "0") + "\n");
    Sent();
    manager.NewPacket(VersionRecord(c.components).get());
    EXPECT_EQ(c.supports, manager.GetReceiverSupportsGLONASS());
    EXPECT_EQ(c.supports, manager.IsGLONASSEnabled());
    EXPECT_EQ(c.supports ? 1 : 0, Stored("receiver_supports_glonass"));
    const int desired = c.supports ? 4 : 1;
    EXPECT_EQ(Joined({{kDispatchLine},
                      UpdateTexts(0, desired),
                      {c.supports ? kRaiseGlonass : kClearGlonass}}),
              Sent());
}

INSTANTIATE_TEST_SUITE_P(
    , GlonassSupportTest,
    ::testing::Values(
        SModelCase{"ModelWithGSetsSupport", {{1, "L12LGRV"}}, false, true},
        SModelCase{"ModelWithoutGClearsStoredSupport", {{1, "L12LRV"}}, true, false},
        SModelCase{"LowerCaseGDoesNotCount", {{1, "l12lgrv"}}, true, false},
        SModelCase{"OtherComponentsAreIgnored", {{13, "GGGG"}, {3, "G"}}, false, false},
        SModelCase{"OtherComponentsDoNotClearSupport", {{12, ""}, {15, "TiWiR2"}}, true, true},
        SModelCase{"LastReceiverCardWins", {{1, "L12LGRV"}, {1, "D2JRPRTTNW4"}}, false, false},
        SModelCase{"NoComponentsKeepStoredSupport", {}, true, true}),
    [](const ::testing::TestParamInfo<SModelCase>& info) { return info.param.name; });

TEST_F(ConstellationRecordsTest, DiagnosticWaitsForFirstVersionLog) {
    CConstellationManager& manager =
        Manager("[Quillond]\nreceiver_supports_glonass = 1\n[Region]\nname = europe\n");
    manager.SetForcedSBAS(true, true);
    manager.ChannelConfigSelected(5);
    manager.NewPacket(ChanConfigListRecord(5, {}).get());
    for (const std::string& text : Sent()) EXPECT_EQ(std::string::npos, text.find("alarm")) << text;

    // From the first VERSION on, every decision restates the diagnostic.
    manager.NewPacket(VersionRecord({{1, "OEMV3G"}}).get());
    EXPECT_EQ(Joined({{kDispatchLine}, UpdateTexts(0, 5), {kRaiseGlonass}}), Sent());
    manager.RefreshSettings();
    EXPECT_EQ(Joined({UpdateTexts(1, 5), {kRaiseGlonass}}), Sent());
}

// ------------------------------------------------------------ CHANCONFIGLIST

TEST_F(ConstellationRecordsTest, ChanConfigListIsPublishedAsDocumented) {
    CConstellationManager& manager =
        Manager("[Quillond]\ncurrent_channel_configuration = 1\n[Region]\nname = europe\n");
    Sent();
    manager.NewPacket(ChanConfigListRecord(2, {GroupList{{14, 0}}, GroupList{{12, 0}, {2, 4}},
                                               GroupList{{8, 0}, {6, 10}},
                                               GroupList{{8, 0}, {2, 4}, {4, 10}, {1, 99}}})
                          .get());
    EXPECT_EQ(
        Joined(
            {{"line CConstellationManager::DispatchNovatelLog_CHANCONFIGLIST: currentChannel: 2 "
              "m_lastSetChannelConfiguration: 1"},
             UpdateTexts(0, 2),
             {"value current_channel_configuration=2", "value number_channel_configs_available=4",
              "value channel_config_1=14 GPSL1, ", "value channel_config_2=12 GPSL1,  2 SBASL1, ",
              "value channel_config_3= 8 GPSL1,  6 GLOL1, ",
              "value channel_config_4= 8 GPSL1,  2 SBASL1,  4 GLOL1,  1 UNKNOWN, ", kDispatchLine},
             UpdateTexts(0, 2)}),
        Sent());
    EXPECT_EQ(2, Stored("current_channel_configuration"));

    std::vector<SChannelConfiguration> offered;
    ASSERT_TRUE(manager.GetAllowableChannelConfigurations(offered));
    ASSERT_EQ(4u, offered.size());
    EXPECT_EQ(3, offered[2].m_number);
    EXPECT_EQ((std::vector<std::pair<int32_t, int32_t>>{{8, 0}, {6, 10}}), offered[2].m_groups);
}

TEST_F(ConstellationRecordsTest, UnchangedConfigurationIsNotStoredAgain) {
    CConstellationManager& manager = Manager("[Quillond]\ncurrent_channel_configuration = 1\n");
    Sent();
    manager.NewPacket(ChanConfigListRecord(1, {GroupList{{12, 0}}}).get());
    EXPECT_EQ(Joined({{"line CConstellationManager::DispatchNovatelLog_CHANCONFIGLIST: "
                       "currentChannel: 1 m_lastSetChannelConfiguration: 1",
                       "value current_channel_configuration=1",
                       "value number_channel_configs_available=1",
                       "value channel_config_1=12 GPSL1, ", kDispatchLine},
                      UpdateTexts(0, 1)}),
              Sent());
}

TEST_F(ConstellationRecordsTest, EmptyListPublishesNoConfigurationAndForgetsTheOldOnes) {
    CConstellationManager& manager = Manager("");
    manager.NewPacket(ChanConfigListRecord(0, {GroupList{{12, 0}}, GroupList{}}).get());
    std::vector<SChannelConfiguration> offered;
    ASSERT_TRUE(manager.GetAllowableChannelConfigurations(offered));
    ASSERT_EQ(2u, offered.size());
    EXPECT_TRUE(offered[1].m_groups.empty());
    // A set without groups is still published, with an empty text.
    const std::vector<std::string> first = Sent();
    EXPECT_NE(first.end(), std::find(first.begin(), first.end(), "value channel_config_2="));

    manager.NewPacket(ChanConfigListRecord(0, {}).get());
    EXPECT_EQ(Joined({{"line CConstellationManager::DispatchNovatelLog_CHANCONFIGLIST: "
                       "currentChannel: 0 m_lastSetChannelConfiguration: 0",
                       "value current_channel_configuration=0",
                       "value number_channel_configs_available=0", kDispatchLine},
                      UpdateTexts(0, 1)}),
              Sent());
    EXPECT_FALSE(manager.GetAllowableChannelConfigurations(offered));
    EXPECT_TRUE(offered.empty());
}

TEST_F(ConstellationRecordsTest, OtherRecordsAndNullAreIgnored) {
    CConstellationManager& manager = Manager("[Quillond]\ncurrent_channel_configuration = 2\n");
    Sent();
    manager.NewPacket(nullptr);
    Tools::SFrameHeader header;
    header.messageId = 7777;  // a log nobody decodes: a plain binary record
    RecordPtr plain(CreateRecord(Tools::BuildBinaryFrame(header, ByteVector(8, 0))));
    manager.NewPacket(plain.get());
    RecordPtr nmea(
        CreateRecord(FramingTest::Bytes(FramingTest::NmeaSentence("GPGGA,,,,,,0,,,,,,,,"))));
    manager.NewPacket(nmea.get());
    EXPECT_TRUE(Sent().empty());
    int32_t current = 0;
    EXPECT_TRUE(manager.GetCurrentChannelConfiguration(current));
    EXPECT_EQ(2, current);
}

// ------------------------------------------------------------- signal names

struct SSignalCase {
    int32_t code;
    const char* name;
};

void PrintTo(const SSignalCase& c, std::ostream* out) { *out << c.code; }

class SignalNameTest : public ::testing::TestWithParam<SSignalCase> {};

TEST_P(SignalNameTest, SignalCodeHasItsPublishedName) {
    EXPECT_STREQ(GetParam().name, CConstellationManager::SignalName(GetParam().code));
}

// Codes 1, 5, 8 and 16 are real receivers' GPS and GLONASS codes that the table leaves unnamed.
INSTANTIATE_TEST_SUITE_P(, SignalNameTest,
                         ::testing::Values(SSignalCase{0, "GPSL1"}, SSignalCase{4, "SBASL1"},
                                           SSignalCase{10, "GLOL1"}, SSignalCase{1, "UNKNOWN"},
                                           SSignalCase{5, "UNKNOWN"}, SSignalCase{8, "UNKNOWN"},
                                           SSignalCase{16, "UNKNOWN"}, SSignalCase{-1, "UNKNOWN"}),
                         [](const ::testing::TestParamInfo<SSignalCase>& info) {
                             const int32_t code = info.param.code;
                             return code < 0 ? "Minus" + std::to_string(-code)
                                             : "Code" + std::to_string(code);
                         });

TEST(ChannelGroupTextTest, EveryGroupIsPaddedToTwoDigitsAndEndsInCommaBlank) {
    SChannelConfiguration configuration;
    configuration.m_groups = {{9, 0}, {10, 4}, {100, 10}, {-1, 3}};
    EXPECT_EQ(" 9 GPSL1, 10 SBASL1, 100 GLOL1, -1 UNKNOWN, ",
              CConstellationManager::DescribeChannelGroups(configuration));
}

// -------------------------------------------------------- real recordings

std::vector<RecordPtr> RecordsOf(const std::string& path) {
    Novatel::CNovatelBinarySentenceConstructor framer;
    std::vector<RecordPtr> records;
    for (const ByteVector& frame :
         FramingTest::Feed(framer, FramingTest::ReadCapture(path)).sentences) {
        records.emplace_back(CreateRecord(frame));
    }
    return records;
}

TEST_F(ConstellationRecordsTest, RealOem6ChanConfigListIsPublished) {
    QUILLOND_REQUIRE_CAPTURE(path, "oem6-chanconfiglist.gps");
    CConstellationManager& manager = Manager("");
    Sent();
    const std::vector<RecordPtr> records = RecordsOf(path);
    ASSERT_EQ(1u, records.size());
    manager.NewPacket(records[0].get());

    // The receiver offers GPS L1/L2, QZSS, SBAS, GLONASS L1/L2 and L-band
    // channels; only SBAS L1 has a name in the published table.
    const std::vector<std::string> sent = Sent();
    const std::vector<std::string> expected = {
        "value current_channel_configuration=1", "value number_channel_configs_available=2",
        "value channel_config_1=16 UNKNOWN,  3 UNKNOWN,  4 SBASL1, 14 UNKNOWN,  1 UNKNOWN, ",
        "value channel_config_2=16 UNKNOWN,  3 UNKNOWN,  4 SBASL1, 14 UNKNOWN,  1 UNKNOWN, "};
    for (const std::string& text : expected) {
        EXPECT_NE(sent.end(), std::find(sent.begin(), sent.end(), text)) << text;
    }
    std::vector<SChannelConfiguration> offered;
    ASSERT_TRUE(manager.GetAllowableChannelConfigurations(offered));
    ASSERT_EQ(2u, offered.size());
    EXPECT_EQ((std::vector<std::pair<int32_t, int32_t>>{{16, 1}, {3, 27}, {4, 4}, {14, 8}, {1, 9}}),
              offered[0].m_groups);
    EXPECT_EQ(
        (std::vector<std::pair<int32_t, int32_t>>{{16, 16}, {3, 27}, {4, 4}, {14, 25}, {1, 9}}),
        offered[1].m_groups);
    EXPECT_EQ(1, Stored("current_channel_configuration"));
}

struct SVersionRecording {
    const char* recording;
    bool supports;
};

void PrintTo(const SVersionRecording& c, std::ostream* out) { *out << c.recording; }

class RealVersionTest : public CManagerFixture,
                        public ::testing::WithParamInterface<SVersionRecording> {};

TEST_P(RealVersionTest, RealVersionLogGivesReceiverGlonassSupport) {
    QUILLOND_REQUIRE_CAPTURE(path, GetParam().recording);
    // Start from the opposite of what the recording should teach.
    CConstellationManager& manager =
        Manager(std::string("[Quillond]\nreceiver_supports_glonass = ") +
                (GetParam().supports ? "0" : "1") + "\n");
    size_t versions = 0;
    for (const RecordPtr& record : RecordsOf(path)) {
        if (record && record->GetMessageID() == Novatel::kVERSIONMessageID) ++versions;
        manager.NewPacket(record.get());
    }
    ASSERT_GT(versions, 0u);
    EXPECT_EQ(GetParam().supports, manager.GetReceiverSupportsGLONASS());
    EXPECT_EQ(GetParam().supports ? 1 : 0, Stored("receiver_supports_glonass"));
}

// The ProPak-V3's card is an "L12LGRV" (GLONASS option); the OEM638 card of
// the OEM6 recording is "D2JRPRTTNW4", whose model has no "G".
INSTANTIATE_TEST_SUITE_P(, RealVersionTest,
                         ::testing::Values(SVersionRecording{"oemv3-PropakWithGlonass.gps", true},
                                           SVersionRecording{"oem7-version.gps", false}),
                         [](const ::testing::TestParamInfo<SVersionRecording>& info) {
                             return FramingTest::RecordingTestName(info.param.recording);
                         });

}  // namespace
