#pragma once
// CConstellationManager: chooses the receiver's channel configuration (GPS
// only, GPS with SBAS, GPS with GLONASS, all three) and whether SBAS is in
// use, from what the receiver can do (its VERSION log), the region the device
// is set to and the choices a user forced. It follows the configuration the
// receiver reports (its CHANCONFIGLIST log), keeps its state in section
// "Quillond" of the configuration store so that it survives restarts, and
// tells the command manager which configuration to select.
// Decision table, keys and published values: docs/constellation.md.

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "LogObserver/LogObserver.h"
#include "platform/Diagnostics/DiagnosticatorAPI.h"

class CConfig;
class CGPSRecord;
class CLogClient;

namespace Localisation {
class CRegionManager;
}

namespace Novatel {
class CNovatelCHANCONFIGLIST;
class CNovatelVERSION;
}  // namespace Novatel

// One channel configuration the receiver offers.
struct SChannelConfiguration {
    int32_t m_number = 0;                               // the number "selectchanconfig" takes
    std::vector<std::pair<int32_t, int32_t>> m_groups;  // (number of channels, signal type code)
};

class CConstellationManager : public CLogObserver {
public:
    // Channel configuration numbers the manager asks for.
    static constexpr int32_t kGPSOnly = 1;
    static constexpr int32_t kGPSWithSBAS = 2;
    static constexpr int32_t kGPSWithGLONASS = 4;
    static constexpr int32_t kGPSWithGLONASSAndSBAS = 5;

    // The diagnostic raised while the receiver can track GLONASS (argument 1)
    // and cleared while it cannot; touched once a VERSION log has been seen.
    static const Diagnosticator::SDiagnosticId kGLONASSAvailable;

    // A manager on the system configuration store and the process's region manager.
    CConstellationManager();
    // A manager on the given store, which must outlive it. The region is read
    // from the same store (through the process's region manager when the
    // store is the system store).
    explicit CConstellationManager(CConfig& config);
    // A manager on the given store and region manager; both must outlive it.
    CConstellationManager(CConfig& config, const Localisation::CRegionManager& regionManager);
    ~CConstellationManager() override;

    CConstellationManager(const CConstellationManager&) = delete;
    CConstellationManager& operator=(const CConstellationManager&) = delete;

    // Learns from VERSION and CHANCONFIGLIST records; ignores every other record.
    void NewPacket(CGPSRecord* record) override;

    // True while the configuration the receiver should run is not the one it
    // runs; always false for a receiver with a fixed configuration.
    bool NeedsChannelConfigChange() const;
    // The configuration the receiver should run (1, 2, 4 or 5).
    int32_t GetDesiredChannelConfig() const;
    // Whether SBAS is in use.
    bool IsSBASEnabled() const;
    // Whether GLONASS is in use.
    bool IsGLONASSEnabled() const;
    // The configuration last reported by the receiver or last selected; false
    // (with configuration 0) while none is known.
    bool GetCurrentChannelConfiguration(int32_t& configuration) const;
    // The configurations the receiver last listed; false while it has listed none.
    bool GetAllowableChannelConfigurations(
        std::vector<SChannelConfiguration>& configurations) const;

    // Told by the command manager once it has sent "selectchanconfig" with
    // this configuration.
    void ChannelConfigSelected(int32_t configuration);
    // Forces SBAS on or off (forceState true) or leaves it to the region
    // (forceState false); stores the choice. Returns true.
    bool SetForcedSBAS(bool forceState, bool forcedValue);
    // Rereads the region's defaults and decides again.
    void RefreshSettings();
    // Decides which constellations are in use and which configuration the
    // receiver should run, and publishes the result. fromRefresh is set when
    // called from RefreshSettings (it only shows in the log line).
    void UpdateChannelConfiguration(bool fromRefresh);

    // Whether the receiver can track GLONASS, as last learnt.
    bool GetReceiverSupportsGLONASS() const { return m_receiverSupportsGLONASS; }
    // Whether the receiver's configuration is fixed ("receiver_is_615").
    bool IsFixedConfiguration() const { return m_fixedConfiguration; }

    // The name published for a signal type code: "GPSL1", "SBASL1", "GLOL1"
    // or "UNKNOWN".
    static const char* SignalName(int32_t signalType);
    // The published text of one configuration: "%2d %s, " for each group.
    static std::string DescribeChannelGroups(const SChannelConfiguration& configuration);

private:
    // Creates the clients, loads the stored state and decides for the first time.
    void Start();
    // Reads the stored state from section "Quillond".
    void LoadSettings();
    void HandleVERSION(const Novatel::CNovatelVERSION& version);
    void HandleCHANCONFIGLIST(const Novatel::CNovatelCHANCONFIGLIST& list);
    // Stores a new current configuration, writes it and decides again.
    void StoreCurrentConfiguration(int32_t configuration);
    void PublishOfferedConfigurations();

    CConfig& m_config;
    std::unique_ptr<Localisation::CRegionManager> m_ownRegionManager;  // set for a private store
    const Localisation::CRegionManager& m_regionManager;

    std::unique_ptr<CLogClient> m_logClient;
    std::unique_ptr<Diagnosticator::CDiagnosticatorAPI> m_diagnostics;
    bool m_receiverSupportsGLONASS = false;
    bool m_forceGLONASSState = false;
    bool m_forceGLONASSOn = false;
    bool m_regionSBAS = false;
    bool m_regionSBASWithGLONASS = false;
    bool m_forceSBASState = false;
    bool m_forceSBASOn = false;
    bool m_GLONASSInUse = false;
    bool m_SBASInUse = false;
    int32_t m_desiredChannelConfiguration = kGPSOnly;
    int32_t m_currentChannelConfiguration = 0;
    uint32_t m_versionLogsSeen = 0;
    std::vector<SChannelConfiguration> m_offeredConfigurations;
    bool m_fixedConfiguration = false;
};
