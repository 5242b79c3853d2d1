#include "control/ConstellationManager.h"

#include <cstdio>

#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/LogCast.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelCHANCONFIGLIST.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelVERSION.h"
#include "platform/Config/Config.h"
#include "platform/Logging/LogClient.h"
#include "platform/Region/RegionManager.h"

namespace {

const char kClientName[] = "NovatelConstellationManager";
const char kSection[] = "Quillond";

const char kReceiverSupportsGLONASSKey[] = "receiver_supports_glonass";
const char kForceGLONASSStateKey[] = "force_glonass_state";
const char kForceGLONASSOnKey[] = "force_glonass_on";
const char kForceSBASStateKey[] = "force_sbas_state";
const char kForceSBASOnKey[] = "force_sbas_on";
const char kFixedConfigurationKey[] = "receiver_is_615";
const char kCurrentChannelConfigurationKey[] = "current_channel_configuration";

// The region setting naming the SBAS that serves the region, and its two
// values that matter here.
const char kRegionSBASSetting[] = "sbas";
const char kNoSBAS[] = "none";
const char kEGNOS[] = "egnos";

// The signal type codes the published text names.
const int32_t kSignalGPSL1 = 0;
const int32_t kSignalSBASL1 = 4;
const int32_t kSignalGLOL1 = 10;

}  // namespace

const Diagnosticator::SDiagnosticId CConstellationManager::kGLONASSAvailable = {79170, 0};

CConstellationManager::CConstellationManager()
    : m_config(CConfig::GetSystemConfig()),
      m_regionManager(Localisation::CRegionManager::GetInstance()) {
    Start();
}

CConstellationManager::CConstellationManager(CConfig& config)
    : m_config(config),
      m_ownRegionManager(new Localisation::CRegionManager(config)),
      m_regionManager(*m_ownRegionManager) {
    Start();
}

CConstellationManager::CConstellationManager(CConfig& config,
                                             const Localisation::CRegionManager& regionManager)
    : m_config(config), m_regionManager(regionManager) {
    Start();
}

CConstellationManager::~CConstellationManager() = default;

void CConstellationManager::Start() {
    m_logClient.reset(new CLogClient(kClientName, m_config, "localhost"));
    m_diagnostics.reset(new Diagnosticator::CDiagnosticatorAPI(kClientName, m_config));
    LoadSettings();
    m_logClient->LogLine(
        "CConstellationManager::CConstellationManager: loaded last sent channel config as %d",
        m_currentChannelConfiguration);
    RefreshSettings();
    m_config.Commit();
}

void CConstellationManager::LoadSettings() {
    m_receiverSupportsGLONASS = m_config.GetInteger(kSection, kReceiverSupportsGLONASSKey, 0) != 0;
    m_forceGLONASSState = m_config.GetInteger(kSection, kForceGLONASSStateKey, 0) != 0;
    m_forceGLONASSOn = m_config.GetInteger(kSection, kForceGLONASSOnKey, 0) != 0;
    m_forceSBASState = m_config.GetInteger(kSection, kForceSBASStateKey, 0) != 0;
    m_forceSBASOn = m_config.GetInteger(kSection, kForceSBASOnKey, 0) != 0;
    m_fixedConfiguration = m_config.GetInteger(kSection, kFixedConfigurationKey, 0) != 0;
    m_currentChannelConfiguration =
        m_config.GetInteger(kSection, kCurrentChannelConfigurationKey, 0);
}

void CConstellationManager::NewPacket(CGPSRecord* record) {
    if (record == nullptr) return;
    bool handled = false;
    if (const auto* version =
            Novatel::LogCast<const Novatel::CNovatelVERSION>(record, Novatel::kVERSIONMessageID)) {
        HandleVERSION(*version);
        handled = true;
    }
    if (const auto* list = Novatel::LogCast<const Novatel::CNovatelCHANCONFIGLIST>(
            record, Novatel::kCHANCONFIGLISTMessageID)) {
        HandleCHANCONFIGLIST(*list);
        handled = true;
    }
    if (handled) {
        m_logClient->LogLine("CConstellationManager::DispatchNovatelLog: updating channel config");
        UpdateChannelConfiguration(false);
    }
}

void CConstellationManager::HandleVERSION(const Novatel::CNovatelVERSION& version) {
    ++m_versionLogsSeen;
    for (const Novatel::CNovatelVERSION::SComponent& component : version.GetComponents()) {
        if (component.GetType() != Novatel::CNovatelVERSION::kReceiverCardComponent) continue;
        // The receiver card's model designator carries a "G" when the card
        // has its GLONASS option.
        const bool supportsGLONASS = component.GetModel().find('G') != std::string::npos;
        if (supportsGLONASS == m_receiverSupportsGLONASS) continue;
        m_receiverSupportsGLONASS = supportsGLONASS;
        m_config.SetInteger(kSection, kReceiverSupportsGLONASSKey, supportsGLONASS ? 1 : 0);
        m_config.Commit();
    }
}

void CConstellationManager::HandleCHANCONFIGLIST(const Novatel::CNovatelCHANCONFIGLIST& list) {
    const int32_t reported = static_cast<int32_t>(list.GetCurrentConfigSet());
    m_logClient->LogLine(
        "CConstellationManager::DispatchNovatelLog_CHANCONFIGLIST: currentChannel: %d "
        "m_lastSetChannelConfiguration: %d",
        reported, m_currentChannelConfiguration);
    if (reported != m_currentChannelConfiguration) StoreCurrentConfiguration(reported);

    m_offeredConfigurations.clear();
    for (const Novatel::CNovatelCHANCONFIGLIST::SChannelConfigSet& set : list.GetConfigSets()) {
        SChannelConfiguration configuration;
        configuration.m_number = static_cast<int32_t>(set.set_number);
        for (const Novatel::CNovatelCHANCONFIGLIST::SChannelGroup& group : set.signals) {
            configuration.m_groups.emplace_back(static_cast<int32_t>(group.number_channels),
                                                static_cast<int32_t>(group.signal_type));
        }
        m_offeredConfigurations.push_back(configuration);
    }
    PublishOfferedConfigurations();
}

void CConstellationManager::PublishOfferedConfigurations() {
    m_logClient->PublishValue(kCurrentChannelConfigurationKey, "%d", m_currentChannelConfiguration);
    m_logClient->PublishValue("number_channel_configs_available", "%d",
                              static_cast<int>(m_offeredConfigurations.size()));
    for (const SChannelConfiguration& configuration : m_offeredConfigurations) {
        char key[32];
        std::snprintf(key, sizeof key, "channel_config_%d", configuration.m_number);
        m_logClient->PublishValue(key, "%s", DescribeChannelGroups(configuration).c_str());
    }
}

void CConstellationManager::StoreCurrentConfiguration(int32_t configuration) {
    m_currentChannelConfiguration = configuration;
    m_config.SetInteger(kSection, kCurrentChannelConfigurationKey, configuration);
    m_config.Commit();
    UpdateChannelConfiguration(false);
}

bool CConstellationManager::NeedsChannelConfigChange() const {
    if (m_fixedConfiguration) return false;
    return m_desiredChannelConfiguration != m_currentChannelConfiguration;
}

int32_t CConstellationManager::GetDesiredChannelConfig() const {
    return m_desiredChannelConfiguration;
}

bool CConstellationManager::IsSBASEnabled() const { return m_SBASInUse; }

bool CConstellationManager::IsGLONASSEnabled() const { return m_GLONASSInUse; }

bool CConstellationManager::GetCurrentChannelConfiguration(int32_t& configuration) const {
    configuration = m_currentChannelConfiguration;
    return m_currentChannelConfiguration != 0;
}

bool CConstellationManager::GetAllowableChannelConfigurations(
    std::vector<SChannelConfiguration>& configurations) const {
    configurations = m_offeredConfigurations;
    return !m_offeredConfigurations.empty();
}

void CConstellationManager::ChannelConfigSelected(int32_t configuration) {
    m_logClient->LogLine(
        "CConstellationManager::ChannelConfigSelected: currentChannel: %d "
        "m_lastSetChannelConfiguration: %d",
        configuration, m_currentChannelConfiguration);
    if (configuration == m_currentChannelConfiguration) return;
    StoreCurrentConfiguration(configuration);
}

bool CConstellationManager::SetForcedSBAS(bool forceState, bool forcedValue) {
    m_forceSBASState = forceState;
    m_forceSBASOn = forcedValue;
    m_config.SetInteger(kSection, kForceSBASStateKey, forceState ? 1 : 0);
    m_config.SetInteger(kSection, kForceSBASOnKey, forcedValue ? 1 : 0);
    m_config.Commit();
    UpdateChannelConfiguration(false);
    return true;
}

void CConstellationManager::RefreshSettings() {
    Localisation::SRegionDefaults defaults;
    if (m_regionManager.RegionDefaults(defaults)) {
        const std::string sbas = defaults.Get(kRegionSBASSetting, kNoSBAS);
        m_regionSBAS = sbas != kNoSBAS;
        // Deliberately asymmetric and kept: a region without SBAS still gets
        // SBAS alongside GLONASS, while an EGNOS region drops SBAS as soon as
        // GLONASS is in use; devices in the field run with this choice.
        m_regionSBASWithGLONASS = sbas != kEGNOS;
    } else {
        m_regionSBAS = false;
        m_regionSBASWithGLONASS = false;
    }
    UpdateChannelConfiguration(true);
}

void CConstellationManager::UpdateChannelConfiguration(bool fromRefresh) {
    if (!m_receiverSupportsGLONASS) {
        m_GLONASSInUse = false;
    } else if (m_forceGLONASSState) {
        m_GLONASSInUse = m_forceGLONASSOn;
    } else {
        m_GLONASSInUse = true;
    }

    if (m_forceSBASState) {
        m_SBASInUse = m_forceSBASOn;
    } else if (m_GLONASSInUse) {
        m_SBASInUse = m_regionSBASWithGLONASS;
    } else {
        m_SBASInUse = m_regionSBAS;
    }

    if (m_GLONASSInUse) {
        m_desiredChannelConfiguration = m_SBASInUse ? kGPSWithGLONASSAndSBAS : kGPSWithGLONASS;
    } else {
        m_desiredChannelConfiguration = m_SBASInUse ? kGPSWithSBAS : kGPSOnly;
    }

    m_logClient->PublishValue("desired_channel_configuration", "%d", m_desiredChannelConfiguration);
    m_logClient->LogLine("CConstellationManager::UpdateChannelConfiguration(%d) %d",
                         fromRefresh ? 1 : 0, m_desiredChannelConfiguration);

    // Until the receiver has described itself the stored ability may be stale,
    // so the diagnostic waits for the first VERSION log.
    if (m_versionLogsSeen > 0) {
        if (m_receiverSupportsGLONASS) {
            m_diagnostics->RaiseAlarm(kGLONASSAvailable, 1);
        } else {
            m_diagnostics->ClearAlarm(kGLONASSAvailable);
        }
    }
}

const char* CConstellationManager::SignalName(int32_t signalType) {
    switch (signalType) {
        case kSignalGPSL1:
            return "GPSL1";
        case kSignalSBASL1:
            return "SBASL1";
        case kSignalGLOL1:
            return "GLOL1";
        default:
            return "UNKNOWN";
    }
}

std::string CConstellationManager::DescribeChannelGroups(
    const SChannelConfiguration& configuration) {
    std::string text;
    for (const std::pair<int32_t, int32_t>& group : configuration.m_groups) {
        char part[48];
        std::snprintf(part, sizeof part, "%2d %s, ", group.first, SignalName(group.second));
        text += part;
    }
    return text;
}
