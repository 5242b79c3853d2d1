// How the constellation manager decides: the region's SBAS with its
// deliberate asymmetry, forced choices, a receiver without GLONASS, the fixed
// configuration, what it publishes when it decides, and the state that must
// survive a restart through the store.

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "control/ConstellationManager.h"
#include "tests/constellation/ConstellationTestSupport.h"

namespace {

using ConstellationTest::ChanConfigListRecord;
using ConstellationTest::CManagerFixture;
using ConstellationTest::GroupList;
using ConstellationTest::Joined;
using ConstellationTest::UpdateTexts;
using ConstellationTest::VersionRecord;

const char kGlonass[] = "[Quillond]\nreceiver_supports_glonass = 1\n";
const char kNoGlonass[] = "[Quillond]\nreceiver_supports_glonass = 0\n";

// A store with the given "Quillond" text, set to the region.
std::string InRegion(const std::string& quillond, const std::string& region) {
    return quillond + "[Region]\nname = " + region + "\n";
}

// ------------------------------------------------------------ decision table

struct SDecisionCase {
    const char* name;
    std::string store;  // sections "Quillond" and "Region"
    int32_t desired;
    bool glonass;
    bool sbas;
};

void PrintTo(const SDecisionCase& c, std::ostream* out) { *out << c.name; }

class ConstellationDecisionTest : public CManagerFixture,
                                  public ::testing::WithParamInterface<SDecisionCase> {};

TEST_P(ConstellationDecisionTest, ChoosesConfigurationFromRegionAbilityAndForcedSettings) {
    const SDecisionCase& c = GetParam();
    CConstellationManager& manager = Manager(c.store);
    EXPECT_EQ(c.desired, manager.GetDesiredChannelConfig());
    EXPECT_EQ(c.glonass, manager.IsGLONASSEnabled());
    EXPECT_EQ(c.sbas, manager.IsSBASEnabled());
}

INSTANTIATE_TEST_SUITE_P(
    , ConstellationDecisionTest,
    ::testing::Values(
        SDecisionCase{"WaasRegionWithoutGlonassUsesSbas", InRegion(kNoGlonass, "north_america"), 2,
                      false, true},
        SDecisionCase{"EgnosRegionDropsSbasWithGlonass", InRegion(kGlonass, "europe"), 4, true,
                      false},
        SDecisionCase{"RegionWithoutSbasStillUsesSbasWithGlonass", InRegion(kGlonass, "none"), 5,
                      true, true},
        SDecisionCase{"RegionWithoutSbasAndWithoutGlonassIsGpsOnly", InRegion(kNoGlonass, "none"),
                      1, false, false},
        SDecisionCase{"EgnosRegionWithoutGlonassUsesSbas", InRegion(kNoGlonass, "europe"), 2, false,
                      true},
        SDecisionCase{"MsasRegionWithGlonassUsesBoth", InRegion(kGlonass, "japan"), 5, true, true},
        SDecisionCase{"NoRegionSetMeansNoSbasEvenWithGlonass", kGlonass, 4, true, false},
        SDecisionCase{"NoRegionSetWithoutGlonassIsGpsOnly", kNoGlonass, 1, false, false},
        SDecisionCase{"UnknownRegionCountsAsRegionWithoutSbas", InRegion(kGlonass, "atlantis"), 5,
                      true, true},
        SDecisionCase{"RegionOverrideOfSbasIsHonoured",
                      InRegion(kNoGlonass, "europe") + "[Region.europe]\nsbas = none\n", 1, false,
                      false},
        SDecisionCase{
            "ForcedSbasOffWinsOverRegion",
            InRegion("[Quillond]\nforce_sbas_state = 1\nforce_sbas_on = 0\n", "north_america"), 1,
            false, false},
        SDecisionCase{"ForcedSbasOffWinsOverRegionWithGlonass",
                      InRegion("[Quillond]\nreceiver_supports_glonass = 1\nforce_sbas_state = 1\n"
                               "force_sbas_on = 0\n",
                               "none"),
                      4, true, false},
        SDecisionCase{"ForcedSbasOnWinsOverEgnosWithGlonass",
                      InRegion("[Quillond]\nreceiver_supports_glonass = 1\nforce_sbas_state = 1\n"
                               "force_sbas_on = 1\n",
                               "europe"),
                      5, true, true},
        SDecisionCase{"ForcedSbasOnWithoutRegion",
                      "[Quillond]\nforce_sbas_state = 1\nforce_sbas_on = 1\n", 2, false, true},
        SDecisionCase{"ForcedSbasValueIgnoredWhileNotForced",
                      "[Quillond]\nforce_sbas_state = 0\nforce_sbas_on = 1\n", 1, false, false},
        SDecisionCase{"ForcedGlonassOnNeedsReceiverSupport",
                      InRegion("[Quillond]\nreceiver_supports_glonass = 0\n"
                               "force_glonass_state = 1\nforce_glonass_on = 1\n",
                               "north_america"),
                      2, false, true},
        SDecisionCase{"ForcedGlonassOffOnCapableReceiver",
                      InRegion("[Quillond]\nreceiver_supports_glonass = 1\n"
                               "force_glonass_state = 1\nforce_glonass_on = 0\n",
                               "europe"),
                      2, false, true},
        SDecisionCase{
            "ForcedGlonassValueIgnoredWhileNotForced",
            InRegion("[Quillond]\nreceiver_supports_glonass = 1\nforce_glonass_on = 0\n", "europe"),
            4, true, false},
        SDecisionCase{"AnyNonZeroIntegerMeansTrue",
                      InRegion("[Quillond]\nreceiver_supports_glonass = -3\n", "none"), 5, true,
                      true}),
    [](const ::testing::TestParamInfo<SDecisionCase>& info) { return info.param.name; });

// ------------------------------------------------------- construction, refresh

typedef CManagerFixture ConstellationManagerTest;

TEST_F(ConstellationManagerTest, ConstructionReportsLoadedConfigurationThenDecides) {
    Manager(InRegion("[Quillond]\ncurrent_channel_configuration = 5\n", "north_america"));
    EXPECT_EQ(Joined({{"line CConstellationManager::CConstellationManager: loaded last sent "
                       "channel config as 5"},
                      UpdateTexts(1, 2)}),
              Sent());
}

TEST_F(ConstellationManagerTest, SetForcedSBASStoresChoiceAndDecidesWithoutRereadingRegion) {
    CConstellationManager& manager = Manager(InRegion(kNoGlonass, "north_america"));
    Sent();
    // A region change in the store is seen only by RefreshSettings.
    m_config->SetString("Region", "name", "none");

    EXPECT_TRUE(manager.SetForcedSBAS(false, true));
    EXPECT_EQ(2, manager.GetDesiredChannelConfig());
    EXPECT_EQ(UpdateTexts(0, 2), Sent());
    EXPECT_EQ(0, Stored("force_sbas_state"));
    EXPECT_EQ(1, Stored("force_sbas_on"));

    manager.RefreshSettings();
    EXPECT_EQ(1, manager.GetDesiredChannelConfig());
    EXPECT_EQ(UpdateTexts(1, 1), Sent());

    EXPECT_TRUE(manager.SetForcedSBAS(true, true));
    EXPECT_EQ(2, manager.GetDesiredChannelConfig());
    EXPECT_EQ(1, Stored("force_sbas_state"));
    EXPECT_EQ(1, Stored("force_sbas_on"));

    EXPECT_TRUE(manager.SetForcedSBAS(true, false));
    EXPECT_FALSE(manager.IsSBASEnabled());
    EXPECT_EQ(1, manager.GetDesiredChannelConfig());
    EXPECT_EQ(0, Stored("force_sbas_on"));
}

TEST_F(ConstellationManagerTest, RefreshSettingsFollowsRegionChangeInBothDirections) {
    CConstellationManager& manager = Manager(InRegion(kGlonass, "europe"));
    EXPECT_EQ(4, manager.GetDesiredChannelConfig());
    m_config->SetString("Region", "name", "india");
    manager.RefreshSettings();
    EXPECT_EQ(5, manager.GetDesiredChannelConfig());
    m_config->SetString("Region", "name", "");
    manager.RefreshSettings();
    EXPECT_EQ(4, manager.GetDesiredChannelConfig());
}

// ---------------------------------------------- selection and change requests

TEST_F(ConstellationManagerTest, ChangeIsNeededUntilDesiredConfigurationIsSelected) {
    CConstellationManager& manager = Manager(InRegion(kNoGlonass, "north_america"));
    int32_t current = -1;
    EXPECT_FALSE(manager.GetCurrentChannelConfiguration(current));
    EXPECT_EQ(0, current);
    EXPECT_TRUE(manager.NeedsChannelConfigChange());
    Sent();

    manager.ChannelConfigSelected(2);
    EXPECT_FALSE(manager.NeedsChannelConfigChange());
    EXPECT_TRUE(manager.GetCurrentChannelConfiguration(current));
    EXPECT_EQ(2, current);
    EXPECT_EQ(2, Stored("current_channel_configuration"));
    EXPECT_EQ(Joined({{"line CConstellationManager::ChannelConfigSelected: currentChannel: 2 "
                       "m_lastSetChannelConfiguration: 0"},
                      UpdateTexts(0, 2)}),
              Sent());
}

TEST_F(ConstellationManagerTest, SelectingTheCurrentConfigurationAgainOnlyLogs) {
    CConstellationManager& manager =
        Manager(InRegion("[Quillond]\ncurrent_channel_configuration = 2\n", "north_america"));
    Sent();
    manager.ChannelConfigSelected(2);
    EXPECT_EQ((std::vector<std::string>{
                  "line CConstellationManager::ChannelConfigSelected: currentChannel: 2 "
                  "m_lastSetChannelConfiguration: 2"}),
              Sent());
}

TEST_F(ConstellationManagerTest, ReportedConfigurationReopensTheDifference) {
    CConstellationManager& manager =
        Manager(InRegion("[Quillond]\ncurrent_channel_configuration = 2\n", "north_america"));
    EXPECT_FALSE(manager.NeedsChannelConfigChange());
    manager.NewPacket(ChanConfigListRecord(1, {GroupList{{12, 0}}}).get());
    EXPECT_TRUE(manager.NeedsChannelConfigChange());
    EXPECT_EQ(1, Stored("current_channel_configuration"));
}

// A receiver whose configuration is fixed is never asked to change, whatever
// the manager would choose.
class FixedConfigurationTest : public CManagerFixture,
                               public ::testing::WithParamInterface<const char*> {};

TEST_P(FixedConfigurationTest, FixedReceiverNeverNeedsChange) {
    CConstellationManager& manager = Manager(
        InRegion("[Quillond]\nreceiver_is_615 = 1\nreceiver_supports_glonass = 1\n", GetParam()));
    EXPECT_TRUE(manager.IsFixedConfiguration());
    EXPECT_FALSE(manager.NeedsChannelConfigChange());
    manager.NewPacket(ChanConfigListRecord(3, {}).get());
    EXPECT_FALSE(manager.NeedsChannelConfigChange());
    manager.SetForcedSBAS(true, false);
    EXPECT_FALSE(manager.NeedsChannelConfigChange());
}

INSTANTIATE_TEST_SUITE_P(, FixedConfigurationTest,
                         ::testing::Values("north_america", "europe", "none", ""));

// ------------------------------------------------------------------- restart

TEST_F(ConstellationManagerTest, StateSurvivesRestartThroughTheStore) {
    {
        CConstellationManager& manager = Manager(InRegion("", "none"));
        manager.NewPacket(VersionRecord({{1, "L12LGRV"}}).get());
        manager.NewPacket(ChanConfigListRecord(4, {GroupList{{12, 0}}}).get());
        manager.SetForcedSBAS(true, false);
        EXPECT_EQ(4, manager.GetDesiredChannelConfig());
        EXPECT_FALSE(manager.NeedsChannelConfigChange());
    }
    Sent();

    CConstellationManager& restarted = Reopen();
    EXPECT_TRUE(restarted.GetReceiverSupportsGLONASS());
    EXPECT_FALSE(restarted.IsSBASEnabled());
    EXPECT_EQ(4, restarted.GetDesiredChannelConfig());
    int32_t current = 0;
    EXPECT_TRUE(restarted.GetCurrentChannelConfiguration(current));
    EXPECT_EQ(4, current);
    EXPECT_FALSE(restarted.NeedsChannelConfigChange());
    EXPECT_EQ(Joined({{"line CConstellationManager::CConstellationManager: loaded last sent "
                       "channel config as 4"},
                      UpdateTexts(1, 4)}),
              Sent());
    // The offered configurations are the receiver's to tell again.
    std::vector<SChannelConfiguration> offered;
    EXPECT_FALSE(restarted.GetAllowableChannelConfigurations(offered));
    EXPECT_TRUE(offered.empty());
}

}  // namespace
