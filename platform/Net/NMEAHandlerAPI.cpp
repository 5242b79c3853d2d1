#include "platform/Net/NMEAHandlerAPI.h"

#include "platform/Net/NMEAService.h"

namespace {

CNMEAService* g_service = nullptr;

}  // namespace

void CNMEAHandlerAPI::SetService(CNMEAService* service) { g_service = service; }

CNMEAService* CNMEAHandlerAPI::GetService() { return g_service; }

CNMEAService* CNMEAHandlerAPI::Target() const { return m_service ? m_service : g_service; }

void CNMEAHandlerAPI::SetNMEAString(const std::string& name, int64_t timeMilliseconds,
                                    const std::string& sentence) {
    if (CNMEAService* service = Target()) service->SendSentence(name, timeMilliseconds, sentence);
}

void CNMEAHandlerAPI::SetNMEAGeoidalSeparationValue(double separation) {
    if (CNMEAService* service = Target()) service->SetGeoidalSeparation(separation);
}

void CNMEAHandlerAPI::AddPositionFix(const SNMEAFix& fix) {
    if (CNMEAService* service = Target()) service->SendPositionFix(fix);
}
