#include "platform/Diagnostics/DiagnosticatorAPI.h"

namespace Diagnosticator {

const char CDiagnosticatorAPI::kDefaultClientName[] = "Diagnosticator";

CDiagnosticatorAPI::CDiagnosticatorAPI(const std::string& clientName) : m_logger(clientName) {}

CDiagnosticatorAPI::CDiagnosticatorAPI(const std::string& clientName, const CConfig& config)
    : m_logger(clientName, config) {}

void CDiagnosticatorAPI::RaiseAlarm(const SDiagnosticId& id, int32_t argument) {
    m_raised[Key(id.code, id.index)] = argument;
    m_logger.SendAlarm(CRemoteLogger::EAlarmAction::Raise, id.code, id.index, argument);
}

void CDiagnosticatorAPI::ClearAlarm(const SDiagnosticId& id) {
    m_raised.erase(Key(id.code, id.index));
    m_logger.SendAlarm(CRemoteLogger::EAlarmAction::Clear, id.code, id.index, 0);
}

bool CDiagnosticatorAPI::IsRaised(const SDiagnosticId& id) const {
    int32_t argument = 0;
    return IsRaised(id, argument);
}

bool CDiagnosticatorAPI::IsRaised(const SDiagnosticId& id, int32_t& argument) const {
    auto found = m_raised.find(Key(id.code, id.index));
    if (found == m_raised.end()) return false;
    argument = found->second;
    return true;
}

}  // namespace Diagnosticator
