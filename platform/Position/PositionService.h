#pragma once
// The position service: a TCP server (by default 127.0.0.1, port 2947) that
// speaks gpsd's JSON client protocol, so gpsd's own clients and libraries
// take the daemon's solutions unmodified. A client gets a VERSION report on
// connecting; after ?WATCH={"enable":true,"json":true} it gets a TPV report
// for every solution and a SKY report for every sky view. ?POLL, ?VERSION,
// ?DEVICES and ?BASE are answered at once; anything else gets an ERROR. Each
// solution also goes to the NMEA service as GPGGA and GPRMC. A client that
// does not keep up is dropped (see SocketServerC).

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Net/SocketServer.h"
#include "platform/Position/GpsdReports.h"
#include "platform/Position/PositionAPI.h"
#include "platform/Position/PositionSolution.h"

class CConfig;
class CNMEAService;

class CPositionService : public SocketServerC {
public:
    static constexpr const char* kConfigSection = "PositionService";
    static constexpr int kDefaultPort = 2947;
    static constexpr int kListenBacklog = 16;
    // The name reports give the receiver ("device", "path").
    static constexpr const char* kDefaultDevicePath = "receiver";

    CPositionService();
    // Stops being the process's position service when it was.
    ~CPositionService() override;

    // Listens on the address and port of section "PositionService" of the
    // store (keys "bind_address" and "port"). False, with one message on
    // standard error, when the service cannot be offered.
    bool Start(const CConfig& config);

    void SetDevicePath(const std::string& path) { m_devicePath = path; }
    // The NMEA service that gets each solution and shares the geoidal
    // separation; null (the default) means the process's (CNMEAHandlerAPI).
    void SetNMEAService(CNMEAService* service) { m_nmeaService = service; }

    // Sends the solution as TPV to every watching client, keeps it for POLL
    // and hands it to the NMEA service as a position fix.
    void PublishSolution(const Position::SECEFPositionSolutionData& solution);
    // Sends the satellites as SKY to every watching client and keeps them.
    void PublishSkyView(const std::vector<CPositionAPI::sSSatinfo>& satellites);
    // Keeps the reference station's ECEF position for ?BASE.
    void SetBasePosition(double x, double y, double z);

    // The geoid's height above the ellipsoid, metres: altMSL is altHAE less
    // this. One value serves both services: it is handed on to the NMEA
    // service, and read back from it, so a value set only through
    // CNMEAHandlerAPI counts here too. Without an NMEA service the value set
    // here is used (0 until set).
    void SetGeoidalSeparation(double metres);
    double GetGeoidalSeparation() const;

    // Solutions published so far.
    uint64_t GetSolutionCount() const { return m_solutionCount; }
    // Clients that get TPV and SKY reports.
    size_t GetWatcherCount() const;

protected:
    std::unique_ptr<SocketConnectionC> CreateConnection(int descriptor, const std::string& peer,
                                                        uint64_t id) override;
    void OnConnect(SocketConnectionC& client) override;
    void OnLine(SocketConnectionC& client, const std::string& line) override;
    void OnDisconnect(SocketConnectionC& client) override;

private:
    class CClient;

    CNMEAService* NMEATarget() const;
    // Answers one request: its name ("WATCH") and its JSON argument ("" when none).
    void Answer(CClient& client, const std::string& name, const std::string& argument);
    void AnswerWatch(CClient& client, const std::string& argument);
    void SendToWatchers(const std::string& report);
    void FeedNMEAService(const Position::SECEFPositionSolutionData& solution);

    std::string m_devicePath = kDefaultDevicePath;
    std::string m_activated;  // when the service started listening, for DEVICE
    CNMEAService* m_nmeaService = nullptr;
    double m_geoidalSeparation = 0.0;
    std::vector<CClient*> m_clients;  // owned by the base class
    bool m_haveSolution = false;
    Position::SECEFPositionSolutionData m_solution;
    bool m_haveSkyView = false;
    std::vector<CPositionAPI::sSSatinfo> m_skyView;
    bool m_haveBase = false;
    double m_base[3] = {0.0, 0.0, 0.0};
    uint64_t m_solutionCount = 0;
};
