#include "Logs/NovatelOEMV/NMEARecord.h"

CNMEARecord::CNMEARecord(const ByteVector& sentence) : m_sentence(sentence) {}

CNMEARecord::~CNMEARecord() = default;

bool CNMEARecord::GetGPSTime(unsigned& week, double& seconds) const {
    GetArrivalTime().AsGPSTime(week, seconds);
    return true;
}

uint16_t CNMEARecord::GetMessageID() const { return kNMEAMessageID; }

int CNMEARecord::GetTimeStatus() const { return 0; }

std::string CNMEARecord::GetSentence() const {
    return std::string(m_sentence.begin(), m_sentence.end());
}
