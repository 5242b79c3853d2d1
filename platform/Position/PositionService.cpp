#include "platform/Position/PositionService.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <nlohmann/json.hpp>

#include "platform/Config/Config.h"
#include "platform/Core/Maths.h"
#include "platform/Core/Time.h"
#include "platform/Net/NMEAHandlerAPI.h"
#include "platform/Net/NMEAService.h"
#include "platform/Position/Geodesy.h"

namespace {

// Longest request name and argument quoted back in an ERROR report.
const size_t kQuotedLength = 80;

std::string Quoted(const std::string& text) {
    return text.size() > kQuotedLength ? text.substr(0, kQuotedLength) + "..." : text;
}

// The end (one past the closing brace) of the JSON object starting at start,
// or npos when it does not close on this line. Braces inside strings do not count.
size_t ObjectEnd(const std::string& text, size_t start) {
    int depth = 0;
    bool inString = false;
    for (size_t i = start; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '{') {
            ++depth;
        } else if (c == '}' && --depth == 0) {
            return i + 1;
        }
    }
    return std::string::npos;
}

// Sets flag from a boolean member of the request; members of another kind are ignored.
void TakeBool(const nlohmann::json& request, const char* key, bool& flag) {
    auto it = request.find(key);
    if (it != request.end() && it->is_boolean()) flag = it->get<bool>();
}

// The GGA fix quality of a solution class.
int NMEAQuality(int32_t solutionClass) {
    switch (solutionClass) {
        case Position::SOLUTION_CLASS_FIXED:
            return 4;
        case Position::SOLUTION_CLASS_FLOAT:
            return 5;
        case Position::SOLUTION_CLASS_DIFFERENTIAL:
            return 2;
        default:
            return 1;
    }
}

}  // namespace

// A client and what it asked to watch.
class CPositionService::CClient : public SocketConnectionC {
public:
    using SocketConnectionC::SocketConnectionC;
    bool IsWatching() const { return watch.enable && watch.json; }
    GpsdReports::SWatch watch;
};

CPositionService::CPositionService() : SocketServerC(kConfigSection) {}

CPositionService::~CPositionService() {
    if (CPositionAPI::GetService() == this) CPositionAPI::SetService(nullptr);
}

bool CPositionService::Start(const CConfig& config) {
    SetBindAddress(config.GetString(kConfigSection, "bind_address", kDefaultBindAddress));
    m_activated = GpsdReports::UnixTime(Core::Time::Now().Seconds());
    return Listen(config.GetInteger(kConfigSection, "port", kDefaultPort), kListenBacklog);
}

CNMEAService* CPositionService::NMEATarget() const {
    return m_nmeaService ? m_nmeaService : CNMEAHandlerAPI::GetService();
}

void CPositionService::SetGeoidalSeparation(double metres) {
    m_geoidalSeparation = metres;
    if (CNMEAService* nmea = NMEATarget()) nmea->SetGeoidalSeparation(metres);
}

double CPositionService::GetGeoidalSeparation() const {
    const CNMEAService* nmea = NMEATarget();
    return nmea ? nmea->GetGeoidalSeparation() : m_geoidalSeparation;
}

size_t CPositionService::GetWatcherCount() const {
    return static_cast<size_t>(std::count_if(m_clients.begin(), m_clients.end(), [](CClient* c) {
        return c->IsWatching() && !c->IsClosing();
    }));
}

std::unique_ptr<SocketConnectionC> CPositionService::CreateConnection(int descriptor,
                                                                      const std::string& peer,
                                                                      uint64_t id) {
    return std::unique_ptr<SocketConnectionC>(new CClient(descriptor, peer, id));
}

void CPositionService::OnConnect(SocketConnectionC& client) {
    m_clients.push_back(static_cast<CClient*>(&client));
    Send(client, GpsdReports::Version());
}

void CPositionService::OnDisconnect(SocketConnectionC& client) {
    m_clients.erase(std::remove(m_clients.begin(), m_clients.end(), &client), m_clients.end());
}

void CPositionService::OnLine(SocketConnectionC& connection, const std::string& line) {
    CClient& client = static_cast<CClient&>(connection);
    // A line holds one or more requests: "?NAME;" or "?NAME={...};", the
    // semicolon optional at the end of the line.
    size_t at = 0;
    while (at < line.size() && !client.IsClosing()) {
        const unsigned char c = static_cast<unsigned char>(line[at]);
        if (std::isspace(c) || c == ';') {
            ++at;
            continue;
        }
        if (c != '?') {
            Send(client,
                 GpsdReports::Error("Unrecognized request '" + Quoted(line.substr(at)) + "'"));
            return;
        }
        size_t end = ++at;
        while (end < line.size() && std::isalpha(static_cast<unsigned char>(line[end]))) ++end;
        const std::string name = line.substr(at, end - at);
        std::string argument;
        if (end < line.size() && line[end] == '=') {
            const size_t close = ObjectEnd(line, end + 1);
            if (close == std::string::npos || line[end + 1] != '{') {
                Send(client, GpsdReports::Error("Invalid " + Quoted(name) + " argument '" +
                                                Quoted(line.substr(end + 1)) + "'"));
                return;
            }
            argument = line.substr(end + 1, close - end - 1);
            end = close;
        }
        if (end < line.size() && line[end] != ';' &&
            !std::isspace(static_cast<unsigned char>(line[end]))) {
            Send(client,
                 GpsdReports::Error("Unrecognized request '" + Quoted(line.substr(at - 1)) + "'"));
            return;
        }
        Answer(client, name, argument);
        at = end;
    }
}

void CPositionService::Answer(CClient& client, const std::string& name,
                              const std::string& argument) {
    if (name == "WATCH") {
        AnswerWatch(client, argument);
    } else if (name == "VERSION") {
        Send(client, GpsdReports::Version());
    } else if (name == "DEVICES") {
        Send(client, GpsdReports::Devices(m_devicePath, m_activated));
    } else if (name == "POLL") {
        Send(client,
             GpsdReports::Poll(Core::Time::Now().Seconds(), m_haveSolution ? &m_solution : nullptr,
                               GetGeoidalSeparation(), m_haveSkyView ? &m_skyView : nullptr,
                               m_devicePath));
    } else if (name == "BASE") {
        Send(client, GpsdReports::Base(m_haveBase, m_base[0], m_base[1], m_base[2], m_devicePath));
    } else {
        Send(client, GpsdReports::Error("Unrecognized request '" + Quoted(name) + "'"));
    }
}

void CPositionService::AnswerWatch(CClient& client, const std::string& argument) {
    if (!argument.empty()) {
        const nlohmann::json request = nlohmann::json::parse(argument, nullptr, false);
        if (!request.is_object()) {
            Send(client, GpsdReports::Error("Invalid WATCH: " + Quoted(argument)));
            return;
        }
        GpsdReports::SWatch& watch = client.watch;
        TakeBool(request, "enable", watch.enable);
        TakeBool(request, "json", watch.json);
        TakeBool(request, "scaled", watch.scaled);
        TakeBool(request, "timing", watch.timing);
        TakeBool(request, "split24", watch.split24);
        TakeBool(request, "pps", watch.pps);
        auto raw = request.find("raw");
        if (raw != request.end() && raw->is_number_integer()) watch.raw = raw->get<int>();
        // Enabling without naming a form means JSON, as gpsd's clients expect.
        if (watch.enable && request.find("json") == request.end() &&
            request.find("nmea") == request.end()) {
            watch.json = true;
        }
        // NMEA comes from the NMEA service's own port, not from this one.
        watch.nmea = false;
    }
    if (client.watch.enable) Send(client, GpsdReports::Devices(m_devicePath, m_activated));
    Send(client, GpsdReports::Watch(client.watch));
}

void CPositionService::SendToWatchers(const std::string& report) {
    // Send may drop a client; it stays in the list until OnDisconnect.
    for (CClient* client : m_clients) {
        if (client->IsWatching()) Send(*client, report);
    }
}

void CPositionService::PublishSolution(const Position::SECEFPositionSolutionData& solution) {
    m_solution = solution;
    m_haveSolution = true;
    ++m_solutionCount;
    // Reports are written only for someone: most of the time nobody watches.
    if (GetWatcherCount() > 0) {
        SendToWatchers(GpsdReports::TPV(solution, GetGeoidalSeparation(), m_devicePath));
    }
    FeedNMEAService(solution);
}

void CPositionService::PublishSkyView(const std::vector<CPositionAPI::sSSatinfo>& satellites) {
    m_skyView = satellites;
    m_haveSkyView = true;
    if (GetWatcherCount() > 0) {
        SendToWatchers(
            GpsdReports::Sky(satellites, m_haveSolution ? &m_solution : nullptr, m_devicePath));
    }
}

void CPositionService::SetBasePosition(double x, double y, double z) {
    m_base[0] = x;
    m_base[1] = y;
    m_base[2] = z;
    m_haveBase = true;
}

void CPositionService::FeedNMEAService(const Position::SECEFPositionSolutionData& solution) {
    CNMEAService* nmea = NMEATarget();
    if (!nmea) return;
    const Position::SGeodeticPosition where =
        Position::ECEFToGeodetic(solution.x, solution.y, solution.z);
    const Position::SLocalVector velocity =
        Position::ECEFToLocal(where, solution.velocityX, solution.velocityY, solution.velocityZ);
    double track = std::atan2(velocity.east, velocity.north) * Core::Maths::DEGREES_PER_RADIAN;
    if (track < 0.0) track += 360.0;

    SNMEAFix fix;
    fix.utcTime = Core::Time::FromMilliseconds(
        GpsdReports::UnixMilliseconds(solution.gpsWeek, solution.gpsSeconds));
    fix.latitude = where.latitude;
    fix.longitude = where.longitude;
    fix.heightAboveEllipsoid = where.height;
    fix.valid = solution.solutionQuality > 0;
    fix.fixQuality = fix.valid ? NMEAQuality(solution.solutionClass) : 0;
    fix.satellitesUsed =
        static_cast<int>(solution.gpsSatellitesUsed + solution.glonassSatellitesUsed);
    fix.hdop = solution.horizontalDop;
    fix.speedOverGround = std::hypot(velocity.east, velocity.north);
    fix.trackDegrees = track;
    nmea->SendPositionFix(fix);
}
