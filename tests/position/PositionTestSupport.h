#pragma once
// Helpers for the position service tests: a solution at a chosen place with
// a chosen local velocity, and a client that reads whole JSON reports.

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/Position/PositionSolution.h"
#include "tests/net/NetTestSupport.h"

class SocketCollectionC;

namespace PositionTest {

// A solution of quality 3, class RTK fixed, at latitude and longitude
// (degrees) and height, moving east, north and up at the given speeds, with
// 2 m standard deviation on every axis, at GPS week 2000, 129600.123 s
// (2018-05-07T11:59:42.123Z).
Position::SECEFPositionSolutionData MakeSolution(double latitude, double longitude, double height,
                                                 double east, double north, double up);

// Reads one CR LF ended report at a time from a NetTest::CClient.
class CReportReader {
public:
    explicit CReportReader(NetTest::CClient& client) : m_client(client) {}
    // Pumps until count more reports have arrived (false when they did not)
    // and returns them parsed; a line that is not JSON fails the test.
    bool Read(SocketCollectionC& sockets, size_t count, std::vector<nlohmann::json>& reports);
    // Reads one report, or a null value when none came.
    nlohmann::json Next(SocketCollectionC& sockets);
    // Reports not taken yet, after pumping briefly.
    size_t Pending(SocketCollectionC& sockets);

private:
    NetTest::CClient& m_client;
    size_t m_taken = 0;  // bytes of Received() already returned
};

}  // namespace PositionTest
