#include "platform/Position/PositionAPI.h"

#include "platform/Net/NMEAHandlerAPI.h"
#include "platform/Position/PositionService.h"

namespace {

CPositionService* g_service = nullptr;

}  // namespace

void CPositionAPI::SetService(CPositionService* service) { g_service = service; }

CPositionService* CPositionAPI::GetService() { return g_service; }

CPositionService* CPositionAPI::Target() const { return m_service ? m_service : g_service; }

void CPositionAPI::SetECEFPositionData(const Position::SECEFPositionSolutionData& solution) {
    if (CPositionService* service = Target()) service->PublishSolution(solution);
}

void CPositionAPI::SetBasePosition(double x, double y, double z) {
    if (CPositionService* service = Target()) service->SetBasePosition(x, y, z);
}

void CPositionAPI::SetSkyView(const std::vector<sSSatinfo>& satellites) {
    if (CPositionService* service = Target()) service->PublishSkyView(satellites);
}

void CPositionAPI::SetGeoidalSeparation(double metres) {
    // The service hands the value on to the NMEA service; without one the
    // NMEA service still gets it.
    if (CPositionService* service = Target()) {
        service->SetGeoidalSeparation(metres);
    } else {
        CNMEAHandlerAPI().SetNMEAGeoidalSeparationValue(metres);
    }
}
