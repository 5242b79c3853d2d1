#pragma once
// The alarm service client: raises and clears the device's numbered alarms by
// sending "alarm" datagrams to the log server (docs/datagrams.md), which keeps
// the device's list of active alarms.
//
// Every raise and every clear is sent, also when it changes nothing in this
// client's view: a clear of an alarm this client never raised may undo one
// raised before the process restarted, and a raise repeated after the log
// server restarted puts the alarm back on its list. The client remembers what
// it raised (with the argument) so that its owner can ask.

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "platform/Logging/RemoteLogger.h"

class CConfig;

namespace Diagnosticator {

// An alarm's identity: its code, and an index that tells alarms with the same
// code apart. Defined once for the program as static constants.
struct SDiagnosticId {
    int32_t code;
    int32_t index;
};

class CDiagnosticatorAPI {
public:
    // The client name every alarm datagram carries when the owner gives none.
    static const char kDefaultClientName[];  // "Diagnosticator"

    // A client sending where CRemoteLogger does (section "LogServer" of the
    // system configuration store, else localhost port 10001).
    explicit CDiagnosticatorAPI(const std::string& clientName = kDefaultClientName);
    // As above with the given store, which must outlive the client.
    CDiagnosticatorAPI(const std::string& clientName, const CConfig& config);

    CDiagnosticatorAPI(const CDiagnosticatorAPI&) = delete;
    CDiagnosticatorAPI& operator=(const CDiagnosticatorAPI&) = delete;

    // Raises the alarm with the given argument; sent every time.
    void RaiseAlarm(const SDiagnosticId& id, int32_t argument);
    // Clears the alarm; sent every time, raised here before or not.
    void ClearAlarm(const SDiagnosticId& id);

    // True while this client has the alarm raised; argument is then the one
    // it was last raised with.
    bool IsRaised(const SDiagnosticId& id) const;
    bool IsRaised(const SDiagnosticId& id, int32_t& argument) const;
    // How many alarms this client has raised and not cleared.
    size_t GetRaisedCount() const { return m_raised.size(); }

    // The logger underneath, for the datagram counts.
    const CRemoteLogger& GetLogger() const { return m_logger; }

private:
    using Key = std::pair<int32_t, int32_t>;  // code, index

    CRemoteLogger m_logger;
    std::map<Key, int32_t> m_raised;  // argument of each alarm raised and not cleared
};

}  // namespace Diagnosticator
