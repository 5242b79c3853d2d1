#pragma once
// CNovatelMPIServer lets other processes on the device query and change the
// daemon's receiver settings over the message-passing interface (TCP, section
// "MPIServer" of the store, port 5314 by default). Its methods forward to the
// command manager, to the constellation manager through it, and to the
// receiver status observer; every 2 s it posts the "cb_trackingStatus"
// callback with the tracking counters. Methods and examples:
// docs/remote-methods.md.

#include <cstdint>

#include "platform/Core/Time.h"
#include "platform/MPI/BList.h"
#include "platform/MPI/MPISocketServer.h"

class CCommandManager;
class CConfig;
class CReceiverStatusObserver;

class CNovatelMPIServer : public MPISocketServerC {
public:
    // How often the tracking callback goes out.
    static constexpr double kCallbackIntervalSeconds = 2.0;
    // The pause after each receiver information request.
    static constexpr uint32_t kReceiverInfoPauseMicroseconds = 50000;

    // A server on the system store, listening at once, with the methods registered.
    CNovatelMPIServer();
    // The same on the given store, which must outlive the server.
    explicit CNovatelMPIServer(CConfig& config);

    // Not owned; until set, the methods that need them answer no result.
    void SetCommandManager(CCommandManager* commandManager) { m_commandManager = commandManager; }
    void SetStatusObserver(CReceiverStatusObserver* statusObserver) {
        m_statusObserver = statusObserver;
    }

    // Posts "cb_trackingStatus" with the five tracking counters once the
    // callback timer has expired, and re-arms it for 2 s.
    void Idle() override;

    // The method handlers, in registration order. Each takes the call's
    // arguments and returns its result list, or a null list for no result.
    BListC api_DummyFunction(const BListC& arguments);
    BListC api_RequestNMEA(const BListC& arguments);
    BListC api_SetSBASEnabled(const BListC& arguments);
    BListC api_GetSBASEnabled(const BListC& arguments);
    BListC api_SetSBASPRN(const BListC& arguments);
    BListC api_GetSBASPRN(const BListC& arguments);
    BListC api_SetReferenceFormat(const BListC& arguments);
    BListC api_GetReferenceFormat(const BListC& arguments);
    BListC api_SetGPSLoggingEnabled(const BListC& arguments);
    BListC api_GetGPSLoggingEnabled(const BListC& arguments);
    BListC api_RefreshRegionSettings(const BListC& arguments);
    BListC api_ResetRTKFilter(const BListC& arguments);
    BListC api_GetIonosphereMode(const BListC& arguments);
    BListC api_SetIonosphereMode(const BListC& arguments);
    BListC api_GetCurrentChannelConfiguration(const BListC& arguments);
    BListC api_GetAllowableChannelConfigurations(const BListC& arguments);
    BListC api_GetVersionInformation(const BListC& arguments);
    BListC api_SendFReset(const BListC& arguments);
    BListC api_RefreshReceiverConfiguration(const BListC& arguments);
    BListC api_GetReceiverTrackingStatus(const BListC& arguments);

private:
    void RegisterMethods();

    CCommandManager* m_commandManager = nullptr;
    CReceiverStatusObserver* m_statusObserver = nullptr;
    Core::MonotonicTime m_callbackTimer;
};
