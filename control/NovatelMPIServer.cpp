#include "control/NovatelMPIServer.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "LogObserver/ReceiverStatusObserver.h"
#include "control/CommandManager.h"
#include "control/ConstellationManager.h"
#include "platform/Config/Config.h"
#include "platform/MPI/MPICallback.h"

namespace {

const char* const kTrackingCallback = "cb_trackingStatus";
const size_t kNMEANameLength = 5;
const uint32_t kHighestIonosphereMode = 3;

// Truncates toward zero as the device's conversion does: a sum that is not a
// number gives the smallest integer, one beyond the range the nearest end.
int32_t TruncateToInteger(double value) {
    if (std::isnan(value)) return std::numeric_limits<int32_t>::min();
    if (value >= 2147483648.0) return std::numeric_limits<int32_t>::max();
    if (value <= -2147483649.0) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

BListC OneInteger(int32_t value) {
    BListC list;
    list.Append(value);
    return list;
}

}  // namespace

CNovatelMPIServer::CNovatelMPIServer() : MPISocketServerC(true) { RegisterMethods(); }

CNovatelMPIServer::CNovatelMPIServer(CConfig& config) : MPISocketServerC(true, config) {
    RegisterMethods();
}

void CNovatelMPIServer::RegisterMethods() {
    using Callback = MPICallback<CNovatelMPIServer>;
    const struct {
        const char* name;
        Callback::Handler handler;
    } methods[] = {
        {"DummyFunction", &CNovatelMPIServer::api_DummyFunction},
        {"RequestNMEA", &CNovatelMPIServer::api_RequestNMEA},
        {"novatel_SetSBASEnabled", &CNovatelMPIServer::api_SetSBASEnabled},
        {"novatel_GetSBASEnabled", &CNovatelMPIServer::api_GetSBASEnabled},
        {"novatel_SetSBASPRN", &CNovatelMPIServer::api_SetSBASPRN},
        {"novatel_GetSBASPRN", &CNovatelMPIServer::api_GetSBASPRN},
        {"novatel_SetReferenceFormat", &CNovatelMPIServer::api_SetReferenceFormat},
        {"novatel_GetReferenceFormat", &CNovatelMPIServer::api_GetReferenceFormat},
        {"novatel_SetGPSLoggingEnabled", &CNovatelMPIServer::api_SetGPSLoggingEnabled},
        {"novatel_GetGPSLoggingEnabled", &CNovatelMPIServer::api_GetGPSLoggingEnabled},
        {"novatel_RefreshRegionSettings", &CNovatelMPIServer::api_RefreshRegionSettings},
        {"novatel_ResetRTKFilter", &CNovatelMPIServer::api_ResetRTKFilter},
        {"novatel_GetIonosphereMode", &CNovatelMPIServer::api_GetIonosphereMode},
        {"novatel_SetIonosphereMode", &CNovatelMPIServer::api_SetIonosphereMode},
        {"novatel_GetCurrentChannelConfiguration",
         &CNovatelMPIServer::api_GetCurrentChannelConfiguration},
        {"novatel_GetAllowableChannelConfigurations",
         &CNovatelMPIServer::api_GetAllowableChannelConfigurations},
        {"novatel_GetVersionInformation", &CNovatelMPIServer::api_GetVersionInformation},
        {"novatel_SendFReset", &CNovatelMPIServer::api_SendFReset},
        {"novatel_RefreshReceiverConfiguration",
         &CNovatelMPIServer::api_RefreshReceiverConfiguration},
        {"novatel_GetReceiverTrackingStatus", &CNovatelMPIServer::api_GetReceiverTrackingStatus},
    };
    for (const auto& method : methods) {
        MPISocketConnectionC::AddCallback(method.name, new Callback(this, method.handler));
    }
    MPISocketConnectionC::RegisterCallback(kTrackingCallback);
    m_callbackTimer =
        Core::MonotonicTime::Now() + Core::Time::FromSeconds(kCallbackIntervalSeconds);
}

void CNovatelMPIServer::Idle() {
    if (!m_statusObserver) return;
    const std::vector<int32_t> counters = m_statusObserver->GetTrackingCounters();
    if (!m_callbackTimer.HasExpired()) return;
    BListC status;
    for (int32_t counter : counters) status.Append(counter);
    MPISocketConnectionC::PostCallback(kTrackingCallback, status);
    m_callbackTimer =
        Core::MonotonicTime::Now() + Core::Time::FromSeconds(kCallbackIntervalSeconds);
}

BListC CNovatelMPIServer::api_DummyFunction(const BListC& arguments) {
    // A connectivity test: the sum of an integer and a double, truncated.
    if (arguments.Size() != 2) return OneInteger(0);
    const double sum = static_cast<double>(arguments.GetInteger(0)) + arguments.GetDouble(1);
    return OneInteger(TruncateToInteger(sum));
}

BListC CNovatelMPIServer::api_RequestNMEA(const BListC& arguments) {
    if (arguments.Size() != 2) return BListC::Null();
    const std::string& name = arguments.GetString(0);
    const int32_t rate = arguments.GetInteger(1);
    if (name.size() != kNMEANameLength) {
        std::printf("Invalid Sentence size\n");
        return BListC::Null();
    }
    char command[64];
    if (rate > 0) {
        std::snprintf(command, sizeof(command), "log %s ontime %.3f", name.c_str(), rate / 1000.0);
    } else if (rate < 0) {
        std::snprintf(command, sizeof(command), "log %s", name.c_str());
    } else {
        std::snprintf(command, sizeof(command), "unlog %s", name.c_str());
    }
    if (!m_commandManager) {
        std::printf("CommandManager not yet initialised\n");
        return BListC::Null();
    }
    std::printf("Sending command '%s'\n", command);
    m_commandManager->SendNow(std::string(command) + "\r\n");
    return BListC::Null();
}

BListC CNovatelMPIServer::api_SetSBASEnabled(const BListC& arguments) {
    if (!m_commandManager) return BListC::Null();
    m_commandManager->SetSBASEnabled(arguments.GetInteger(0) != 0);
    return BListC();
}

BListC CNovatelMPIServer::api_GetSBASEnabled(const BListC&) {
    std::printf("CNovatelMPIServer::api_GetSBASEnable\n");
    if (!m_commandManager || !m_commandManager->GetConstellationManager()) return BListC::Null();
    return OneInteger(m_commandManager->GetConstellationManager()->IsSBASEnabled() ? 1 : 0);
}

BListC CNovatelMPIServer::api_SetSBASPRN(const BListC& arguments) {
    if (!m_commandManager) return BListC::Null();
    m_commandManager->SetSBASPRN(arguments.GetInteger(0));
    return BListC();
}

BListC CNovatelMPIServer::api_GetSBASPRN(const BListC&) {
    if (!m_commandManager) return BListC::Null();
    return OneInteger(m_commandManager->GetSBASPRN());
}

BListC CNovatelMPIServer::api_SetReferenceFormat(const BListC& arguments) {
    if (!m_commandManager) return BListC::Null();
    // A refused format changes nothing and still gets the empty answer.
    m_commandManager->SetReferenceFormat(arguments.GetString(0));
    return BListC();
}

BListC CNovatelMPIServer::api_GetReferenceFormat(const BListC&) {
    BListC result;
    result.Append(m_commandManager ? m_commandManager->GetReferenceFormat() : std::string());
    return result;
}

BListC CNovatelMPIServer::api_SetGPSLoggingEnabled(const BListC& arguments) {
    if (!m_commandManager) return BListC::Null();
    m_commandManager->SetGPSLoggingEnabled(arguments.GetInteger(0) != 0);
    return BListC();
}

BListC CNovatelMPIServer::api_GetGPSLoggingEnabled(const BListC&) {
    std::printf("CNovatelMPIServer::api_GetGPSLoggingEnabled\n");
    if (!m_commandManager) return BListC::Null();
    return OneInteger(m_commandManager->GetGPSLoggingEnabled() ? 1 : 0);
}

BListC CNovatelMPIServer::api_RefreshRegionSettings(const BListC&) {
    if (!m_commandManager) return BListC::Null();
    m_commandManager->RefreshRegionSettings();
    return BListC();
}

BListC CNovatelMPIServer::api_ResetRTKFilter(const BListC&) {
    if (!m_commandManager) return BListC::Null();
    m_commandManager->ResetRTKFilter();
    return BListC();
}

BListC CNovatelMPIServer::api_GetIonosphereMode(const BListC&) {
    if (!m_commandManager) return BListC::Null();
    return OneInteger(static_cast<int32_t>(m_commandManager->GetIonosphereMode()));
}

BListC CNovatelMPIServer::api_SetIonosphereMode(const BListC& arguments) {
    if (!m_commandManager || arguments.Empty()) return BListC::Null();
    // Compared unsigned, so a negative mode is refused as well.
    const uint32_t mode = static_cast<uint32_t>(arguments.GetInteger(0));
    if (mode > kHighestIonosphereMode) return BListC::Null();
    return OneInteger(m_commandManager->SetIonosphereMode(mode) ? 1 : 0);
}

BListC CNovatelMPIServer::api_GetCurrentChannelConfiguration(const BListC&) {
    if (!m_commandManager) return BListC::Null();
    int32_t configuration = 0;
    const CConstellationManager* constellation = m_commandManager->GetConstellationManager();
    if (!constellation || !constellation->GetCurrentChannelConfiguration(configuration)) {
        configuration = 0;
    }
    return OneInteger(configuration);
}

BListC CNovatelMPIServer::api_GetAllowableChannelConfigurations(const BListC&) {
    if (!m_commandManager) return BListC::Null();
    BListC result;
    std::vector<SChannelConfiguration> configurations;
    const CConstellationManager* constellation = m_commandManager->GetConstellationManager();
    if (!constellation || !constellation->GetAllowableChannelConfigurations(configurations)) {
        return result;
    }
    for (const SChannelConfiguration& configuration : configurations) {
        BListC groups;
        for (const auto& group : configuration.m_groups) {
            groups.Append(BListC().Append(group.first).Append(group.second));
        }
        result.Append(BListC().Append(configuration.m_number).Append(groups));
    }
    return result;
}

BListC CNovatelMPIServer::api_GetVersionInformation(const BListC&) {
    if (!m_commandManager || !m_statusObserver) return BListC::Null();
    BListC result;
    for (const std::string& text : m_statusObserver->GetVersionStrings()) result.Append(text);
    return result;
}

BListC CNovatelMPIServer::api_SendFReset(const BListC&) {
    if (!m_commandManager) return BListC::Null();
    return OneInteger(m_commandManager->SendFReset() ? 1 : 0);
}

BListC CNovatelMPIServer::api_RefreshReceiverConfiguration(const BListC&) {
    if (!m_commandManager) return BListC::Null();
    // Blocks the loop for the three pauses, about 0.15 s; the receiver needs them.
    m_commandManager->RequestReceiverInfo(kReceiverInfoPauseMicroseconds);
    return OneInteger(1);
}

BListC CNovatelMPIServer::api_GetReceiverTrackingStatus(const BListC&) {
    if (!m_commandManager || !m_statusObserver) return BListC::Null();
    const std::vector<std::string> versions = m_statusObserver->GetVersionStrings();
    BListC result;
    result.Append(versions.size() > 3 ? versions[3] : std::string());
    result.Append(versions.size() > 1 ? versions[1] : std::string());
    for (int32_t counter : m_statusObserver->GetTrackingCounters()) result.Append(counter);
    return result;
}
