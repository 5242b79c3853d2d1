#include "platform/Region/RegionManager.h"

#include <cstdio>

#include "platform/Config/Config.h"

namespace Localisation {

namespace {

// One row per region: the SBAS that serves it and that system's PRNs (the
// receiver's "assign" takes them; a blank-separated list).
struct SRegionRow {
    const char* region;
    const char* sbas;
    const char* sbasPrns;
};

const SRegionRow kRegionTable[] = {
    {"north_america", "waas", "122 134 135 138"},
    {"europe", "egnos", "120 124 126 131"},
    {"japan", "msas", "129 137"},
    {"india", "gagan", "127 128"},
    {"none", "none", ""},
};

// The setting names of the table; only these are looked up for overrides.
const char* const kSettingNames[] = {"sbas", "sbas_prns"};

void FillRow(const SRegionRow& row, SRegionDefaults& defaults) {
    defaults.region = row.region;
    defaults.settings.clear();
    defaults.settings["sbas"] = row.sbas;
    defaults.settings["sbas_prns"] = row.sbasPrns;
}

const SRegionRow* FindRow(const std::string& region) {
    for (const SRegionRow& row : kRegionTable) {
        if (region == row.region) return &row;
    }
    return nullptr;
}

}  // namespace

const char CRegionManager::kSection[] = "Region";
const char CRegionManager::kRegionKey[] = "name";
const char CRegionManager::kNoRegion[] = "none";

std::string SRegionDefaults::Get(const std::string& name, const std::string& fallback) const {
    auto found = settings.find(name);
    return found == settings.end() ? fallback : found->second;
}

CRegionManager& CRegionManager::GetInstance() {
    static CRegionManager manager(CConfig::GetSystemConfig());
    return manager;
}

CRegionManager::CRegionManager(const CConfig& config) : m_config(config) {}

std::string CRegionManager::GetRegion() const {
    return m_config.GetString(kSection, kRegionKey, "");
}

bool CRegionManager::RegionDefaults(SRegionDefaults& defaults) const {
    const std::string region = GetRegion();
    FillRow(*FindRow(kNoRegion), defaults);
    if (region.empty()) return false;

    if (const SRegionRow* row = FindRow(region)) {
        FillRow(*row, defaults);
    } else if (m_reported.insert(region).second) {
        std::fprintf(stderr, "%s: unknown region \"%s\" in [%s] %s; using the defaults of \"%s\"\n",
                     m_config.GetPath().c_str(), region.c_str(), kSection, kRegionKey, kNoRegion);
    }
    defaults.region = region;
    // An override may also give an unknown region its own settings.
    const std::string section = std::string(kSection) + "." + region;
    for (const char* name : kSettingNames) {
        defaults.settings[name] = m_config.GetString(section, name, defaults.settings[name]);
    }
    return true;
}

std::vector<std::string> CRegionManager::KnownRegions() {
    std::vector<std::string> regions;
    for (const SRegionRow& row : kRegionTable) regions.push_back(row.region);
    return regions;
}

bool CRegionManager::BuiltInDefaults(const std::string& region, SRegionDefaults& defaults) {
    const SRegionRow* row = FindRow(region);
    if (row == nullptr) return false;
    FillRow(*row, defaults);
    return true;
}

}  // namespace Localisation
