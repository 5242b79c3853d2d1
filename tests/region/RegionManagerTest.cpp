// The region manager: the built-in table, the store's region name and
// per-region overrides, and what an unset or unknown region gives.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/Config/Config.h"
#include "platform/Region/RegionManager.h"
#include "tests/support/TestSupport.h"

namespace {

using Localisation::CRegionManager;
using Localisation::SRegionDefaults;
using TestSupport::TempDir;

// A manager on a store file holding the given text.
class RegionManagerTest : public ::testing::Test {
protected:
    CRegionManager& Manager(const std::string& storeText) {
        TestSupport::WriteWholeFile(m_dir.File("system.conf"), storeText);
        m_config.reset(new CConfig(m_dir.File("system.conf")));
        m_manager.reset(new CRegionManager(*m_config));
        return *m_manager;
    }

    TempDir m_dir;
    std::unique_ptr<CConfig> m_config;
    std::unique_ptr<CRegionManager> m_manager;
};

struct SRegionCase {
    const char* region;
    const char* sbas;
    const char* sbasPrns;
};

class RegionTableTest : public RegionManagerTest,
                        public ::testing::WithParamInterface<SRegionCase> {};

TEST_P(RegionTableTest, RegionGivesItsSbasSystemAndPrns) {
    const SRegionCase& c = GetParam();
    CRegionManager& manager = Manager(std::string("[Region]\nname = ") + c.region + "\n");
    EXPECT_EQ(c.region, manager.GetRegion());
    SRegionDefaults defaults;
    ASSERT_TRUE(manager.RegionDefaults(defaults));
    EXPECT_EQ(c.region, defaults.region);
    EXPECT_EQ(c.sbas, defaults.Get("sbas", "?"));
    EXPECT_EQ(c.sbasPrns, defaults.Get("sbas_prns", "?"));
}

// The SBAS PRNs agree with the tracking status's table of SBAS names.
INSTANTIATE_TEST_SUITE_P(, RegionTableTest,
                         ::testing::Values(SRegionCase{"north_america", "waas", "122 134 135 138"},
                                           SRegionCase{"europe", "egnos", "120 124 126 131"},
                                           SRegionCase{"japan", "msas", "129 137"},
                                           SRegionCase{"india", "gagan", "127 128"},
                                           SRegionCase{"none", "none", ""}),
                         [](const ::testing::TestParamInfo<SRegionCase>& info) {
                             return std::string(info.param.region);
                         });

TEST(RegionTableCompletenessTest, EveryKnownRegionHasEverySetting) {
    ASSERT_FALSE(CRegionManager::KnownRegions().empty());
    for (const std::string& region : CRegionManager::KnownRegions()) {
        SRegionDefaults defaults;
        ASSERT_TRUE(CRegionManager::BuiltInDefaults(region, defaults)) << region;
        EXPECT_EQ(1u, defaults.settings.count("sbas")) << region;
        EXPECT_EQ(1u, defaults.settings.count("sbas_prns")) << region;
    }
    SRegionDefaults defaults;
    EXPECT_FALSE(CRegionManager::BuiltInDefaults("atlantis", defaults));
}

TEST_F(RegionManagerTest, UnsetRegionReportsNoDefaultsButFillsThoseOfNone) {
    for (const char* text : {"", "[Region]\nname =\n"}) {
        CRegionManager& manager = Manager(text);
        EXPECT_EQ("", manager.GetRegion()) << text;
        SRegionDefaults defaults;
        defaults.settings["stale"] = "x";
        EXPECT_FALSE(manager.RegionDefaults(defaults)) << text;
        EXPECT_EQ("none", defaults.Get("sbas", "?")) << text;
        EXPECT_EQ(0u, defaults.settings.count("stale")) << text;
    }
}

TEST_F(RegionManagerTest, UnknownRegionGetsTheDefaultsOfNoneAndOneMessage) {
    CRegionManager& manager = Manager("[Region]\nname = atlantis\n");
    SRegionDefaults defaults;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(manager.RegionDefaults(defaults));
    EXPECT_TRUE(manager.RegionDefaults(defaults));
    const std::string messages = testing::internal::GetCapturedStderr();
    EXPECT_EQ("atlantis", defaults.region);
    EXPECT_EQ("none", defaults.Get("sbas", "?"));
    EXPECT_NE(std::string::npos, messages.find("unknown region \"atlantis\"")) << messages;
    EXPECT_EQ(messages.find('\n'), messages.size() - 1) << "one message only: " << messages;
}

TEST_F(RegionManagerTest, StoreOverridesTheTableForTheCurrentRegionOnly) {
    CRegionManager& manager = Manager(
        "[Region]\nname = europe\n"
        "[Region.europe]\nsbas = none\n"
        "[Region.japan]\nsbas = waas\n");
    SRegionDefaults defaults;
    ASSERT_TRUE(manager.RegionDefaults(defaults));
    EXPECT_EQ("none", defaults.Get("sbas", "?"));
    EXPECT_EQ("120 124 126 131", defaults.Get("sbas_prns", "?"));  // not overridden
}

TEST_F(RegionManagerTest, UnknownRegionMayBeGivenItsOwnSettings) {
    testing::internal::CaptureStderr();
    CRegionManager& manager =
        Manager("[Region]\nname = australia\n[Region.australia]\nsbas = sbas_test\n");
    SRegionDefaults defaults;
    ASSERT_TRUE(manager.RegionDefaults(defaults));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ("sbas_test", defaults.Get("sbas", "?"));
}

TEST_F(RegionManagerTest, RegionChangedInTheStoreIsSeenAtTheNextCall) {
    CRegionManager& manager = Manager("[Region]\nname = europe\n");
    m_config->SetString("Region", "name", "india");
    SRegionDefaults defaults;
    ASSERT_TRUE(manager.RegionDefaults(defaults));
    EXPECT_EQ("gagan", defaults.Get("sbas", "?"));
}

TEST(SRegionDefaultsTest, GetGivesTheFallbackForAMissingSetting) {
    SRegionDefaults defaults;
    defaults.settings["sbas"] = "egnos";
    EXPECT_EQ("egnos", defaults.Get("sbas", "none"));
    EXPECT_EQ("none", defaults.Get("glonass", "none"));
}

}  // namespace
