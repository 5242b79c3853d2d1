#include "platform/Logging/StatusClient.h"

#include "platform/Config/Config.h"

const char CStatusClient::kPortTimeoutCondition[] = "receiver_port_timeout";
const char CStatusClient::kRestartsExceededCondition[] = "receiver_restarts_exceeded";
const char CStatusClient::kDataActivity[] = "receiver_data_arrived";
const char CStatusClient::kSentenceActivity[] = "receiver_sentence_arrived";

CStatusClient::CStatusClient(const std::string& clientName, Core::Time activityInterval)
    : CStatusClient(clientName, CConfig::GetSystemConfig(), activityInterval) {}

CStatusClient::CStatusClient(const std::string& clientName, const CConfig& config,
                             Core::Time activityInterval)
    : m_logger(clientName, config),
      m_interval(activityInterval),
      m_data{kDataActivity, 0, Core::MonotonicTime()},
      m_sentences{kSentenceActivity, 0, Core::MonotonicTime()} {}

CStatusClient::~CStatusClient() { FlushActivity(); }

void CStatusClient::RaiseCondition(const std::string& name, int64_t value) {
    m_logger.SendCondition(name, value);
}

void CStatusClient::Notice(SActivity& activity) {
    ++activity.pending;
    if (activity.nextSend.HasExpired()) SendActivity(activity);
}

void CStatusClient::FlushActivity() {
    if (m_data.pending > 0) SendActivity(m_data);
    if (m_sentences.pending > 0) SendActivity(m_sentences);
}

void CStatusClient::SendActivity(SActivity& activity) {
    m_logger.SendCondition(activity.name, static_cast<int64_t>(activity.pending));
    activity.pending = 0;
    activity.nextSend = Core::MonotonicTime::Now() + m_interval;
}
