#pragma once
// The region manager: which region of the world the device is set to, and the
// settings that follow from it (which SBAS serves the region, its PRNs), from
// a built-in table that the configuration store may override per region.
// Keys and table: docs/configuration.md, section "Region".

#include <map>
#include <set>
#include <string>
#include <vector>

class CConfig;

namespace Localisation {

// A region's default settings: setting name to text value, e.g. "sbas" to
// "egnos". Every region of the table has every setting of the table.
struct SRegionDefaults {
    std::string region;                           // the region they belong to
    std::map<std::string, std::string> settings;  // setting name -> value

    // The value of a setting, or fallback when the region has none.
    std::string Get(const std::string& name, const std::string& fallback) const;
};

class CRegionManager {
public:
    // Store section and key of the current region's name.
    static const char kSection[];    // "Region"
    static const char kRegionKey[];  // "name"
    // The region whose defaults an unknown region name gets.
    static const char kNoRegion[];  // "none"

    // The manager shared by the process, on the system configuration store;
    // created on first use.
    static CRegionManager& GetInstance();

    // A manager on the given store, which must outlive it.
    explicit CRegionManager(const CConfig& config);

    CRegionManager(const CRegionManager&) = delete;
    CRegionManager& operator=(const CRegionManager&) = delete;

    // The name of the region the device is set to; "" while it is set to none.
    // Read from the store at every call.
    std::string GetRegion() const;

    // Fills defaults with the current region's settings: the built-in table's
    // row, with the store's per-region overrides (section "Region.<name>")
    // laid over it. An unknown region name gets the row of "none" and one
    // message on standard error. Returns false, with the row of "none" filled
    // in, while the device is set to no region at all.
    bool RegionDefaults(SRegionDefaults& defaults) const;

    // The regions of the built-in table, in the table's order.
    static std::vector<std::string> KnownRegions();
    // The built-in row of a region; false for a region not in the table.
    static bool BuiltInDefaults(const std::string& region, SRegionDefaults& defaults);

private:
    const CConfig& m_config;
    mutable std::set<std::string> m_reported;  // names already reported as unknown
};

}  // namespace Localisation
