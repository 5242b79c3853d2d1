#include "platform/Net/NMEAService.h"

#include <cstdio>

#include "platform/Config/Config.h"
#include "platform/Net/NMEAHandlerAPI.h"

CNMEAService::CNMEAService() : SocketServerC(kConfigSection) {
    SetLineEnd("");  // clients only listen
}

CNMEAService::~CNMEAService() {
    if (CNMEAHandlerAPI::GetService() == this) CNMEAHandlerAPI::SetService(nullptr);
}

bool CNMEAService::Start(const CConfig& config) {
    SetBindAddress(config.GetString(kConfigSection, "bind_address", kDefaultBindAddress));
    return Listen(config.GetInteger(kConfigSection, "port", kDefaultPort), kListenBacklog);
}

void CNMEAService::SendSentence(const std::string& name, int64_t timeMilliseconds,
                                const std::string& sentence) {
    (void)timeMilliseconds;
    const std::string line = NMEA::WithLineEnd(sentence);
    if (line.size() == 2) {
        if (!m_reportedEmpty) {
            std::fprintf(stderr,
                         "%s: refused an empty %s sentence; further ones are refused silently\n",
                         GetName().c_str(), name.c_str());
            m_reportedEmpty = true;
        }
        return;
    }
    if (line.find_first_of("\r\n") != line.size() - 2) {
        if (!m_reportedLineBreak) {
            std::fprintf(stderr,
                         "%s: refused a %s sentence with a line break inside; further ones are "
                         "refused silently\n",
                         GetName().c_str(), name.c_str());
            m_reportedLineBreak = true;
        }
        return;
    }
    ++m_sentenceCount;
    Broadcast(line);
}

void CNMEAService::SendPositionFix(const SNMEAFix& fix) {
    SendSentence("GPGGA", fix.utcTime.Milliseconds(), NMEA::BuildGPGGA(fix, m_geoidalSeparation));
    SendSentence("GPRMC", fix.utcTime.Milliseconds(), NMEA::BuildGPRMC(fix));
}
