#pragma once
// The NMEA service: a TCP server (by default 127.0.0.1, port 10110, the
// registered NMEA-0183 port) that sends every sentence it is given to every
// connected client, each ending in CR LF, and adds GPGGA and GPRMC sentences
// made from each position fix. A navigation program, or gpsd reading
// tcp://127.0.0.1:10110, gets its fixes from it. Clients send nothing it
// reads; a client that does not keep up is dropped (see SocketServerC).

#include <cstdint>
#include <string>

#include "platform/Net/NMEASentences.h"
#include "platform/Net/SocketServer.h"

class CConfig;

class CNMEAService : public SocketServerC {
public:
    static constexpr const char* kConfigSection = "NMEAService";
    static constexpr int kDefaultPort = 10110;
    static constexpr int kListenBacklog = 5;

    CNMEAService();
    // Stops being the process's NMEA service when it was.
    ~CNMEAService() override;

    // Listens on the address and port of section "NMEAService" of the store
    // (keys "bind_address" and "port"). False, with one message on standard
    // error, when the service cannot be offered.
    bool Start(const CConfig& config);

    // Sends one sentence (starting with "$" or "!") to every client, ended by
    // exactly one CR LF whether or not it came with one. An empty sentence or
    // one with a line break inside is refused with a message (once per kind),
    // as it would corrupt the stream. name and time (milliseconds) describe
    // the sentence; the text goes out as it is.
    void SendSentence(const std::string& name, int64_t timeMilliseconds,
                      const std::string& sentence);

    // The geoid's height above the ellipsoid, in metres, used by the GPGGA
    // sentences from now on (0 until set).
    void SetGeoidalSeparation(double metres) { m_geoidalSeparation = metres; }
    double GetGeoidalSeparation() const { return m_geoidalSeparation; }

    // Sends the GPGGA and then the GPRMC sentence of one position fix.
    void SendPositionFix(const SNMEAFix& fix);

    uint64_t GetSentenceCount() const { return m_sentenceCount; }

private:
    double m_geoidalSeparation = 0.0;
    uint64_t m_sentenceCount = 0;  // sentences sent (to any number of clients)
    bool m_reportedEmpty = false;
    bool m_reportedLineBreak = false;
};
