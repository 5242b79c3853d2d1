#include "tests/position/PositionTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

#include "platform/Core/Maths.h"
#include "platform/Position/Geodesy.h"

namespace PositionTest {

Position::SECEFPositionSolutionData MakeSolution(double latitude, double longitude, double height,
                                                 double east, double north, double up) {
    Position::SGeodeticPosition where;
    where.latitude = latitude * Core::Maths::RADIANS_PER_DEGREE;
    where.longitude = longitude * Core::Maths::RADIANS_PER_DEGREE;
    where.height = height;
    Position::SECEFPositionSolutionData s;
    Position::GeodeticToECEF(where, s.x, s.y, s.z);
    const double sinLat = std::sin(where.latitude), cosLat = std::cos(where.latitude);
    const double sinLon = std::sin(where.longitude), cosLon = std::cos(where.longitude);
    s.velocityX = -sinLon * east - sinLat * cosLon * north + cosLat * cosLon * up;
    s.velocityY = cosLon * east - sinLat * sinLon * north + cosLat * sinLon * up;
    s.velocityZ = cosLat * north + sinLat * up;
    s.sigmaX = s.sigmaY = s.sigmaZ = 2.0;
    s.gpsWeek = 2000;
    s.gpsSeconds = 129600.123;
    s.solutionQuality = 3;
    s.positionQuality = 4;
    s.differentialAge = 1.5;
    s.gpsSatellitesUsed = 9;
    s.glonassSatellitesUsed = 3;
    s.horizontalDop = 0.8;
    s.positionDop = 1.4;
    s.solutionClass = Position::SOLUTION_CLASS_FIXED;
    return s;
}

bool CReportReader::Read(SocketCollectionC& sockets, size_t count,
                         std::vector<nlohmann::json>& reports) {
    reports.clear();
    auto complete = [&] {
        m_client.Poll();
        size_t found = 0;
        size_t at = m_taken;
        while (found < count) {
            const size_t end = m_client.Received().find("\r\n", at);
            if (end == std::string::npos) break;
            ++found;
            at = end + 2;
        }
        return found == count;
    };
    if (!NetTest::PumpUntil(sockets, complete, 5.0)) return false;
    for (size_t i = 0; i < count; ++i) {
        const size_t end = m_client.Received().find("\r\n", m_taken);
        const std::string line = m_client.Received().substr(m_taken, end - m_taken);
        m_taken = end + 2;
        nlohmann::json report = nlohmann::json::parse(line, nullptr, false);
        EXPECT_TRUE(report.is_object()) << "not a JSON object: " << line;
        reports.push_back(report);
    }
    return true;
}

nlohmann::json CReportReader::Next(SocketCollectionC& sockets) {
    std::vector<nlohmann::json> reports;
    if (!Read(sockets, 1, reports)) return nlohmann::json();
    return reports[0];
}

size_t CReportReader::Pending(SocketCollectionC& sockets) {
    for (int i = 0; i < 5; ++i) NetTest::Pump(sockets, 5);
    m_client.Poll();
    size_t count = 0;
    for (size_t at = m_client.Received().find("\r\n", m_taken); at != std::string::npos;
         at = m_client.Received().find("\r\n", at + 2)) {
        ++count;
    }
    return count;
}

}  // namespace PositionTest
