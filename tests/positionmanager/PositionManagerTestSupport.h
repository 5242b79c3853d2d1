#pragma once
// Helpers for the position manager tests: generated frames of the logs it
// reads, and a fixture that runs a manager against real parts: a log server
// stub for its datagrams and alarms, a position service and an NMEA service
// on port 0 with a watching client each, and a private configuration store.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "LogObserver/PositionManager.h"
#include "Logs/NovatelOEMV/GPSRecord.h"
#include "platform/Config/Config.h"
#include "platform/Core/ByteVector.h"
#include "platform/Net/NMEAService.h"
#include "platform/Net/SocketCollection.h"
#include "platform/Position/PositionService.h"
#include "tests/net/NetTestSupport.h"
#include "tests/position/PositionTestSupport.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace PositionManagerTest {

// The GPS time every generated frame carries unless a test says otherwise.
const uint16_t kWeek = 2000;
const uint32_t kMilliseconds = 129600123;

// The fields of a Cartesian solution body, every one distinct by default.
struct SCartesian {
    uint32_t solutionStatus = 0;
    uint32_t positionType = 16;
    double x = 4198944.6161, y = 174747.2383, z = 4781886.8769;  // near 48.9 N, 2.4 E
    float sigmaX = 1.25f, sigmaY = 1.5f, sigmaZ = 2.75f;
    uint32_t velocityStatus = 0;
    uint32_t velocityType = 8;
    double velocityX = 0.5, velocityY = -0.25, velocityZ = 0.125;
    float velocitySigma = 0.0625f;
    std::string baseStationID = "AB12";
    float velocityLatency = 0.15f;
    float differentialAge = 3.5f;
    float solutionAge = 0.25f;
    uint8_t satellitesTracked = 14;
    uint8_t satellitesUsed = 12;
    uint8_t l1SatellitesUsed = 11;
    uint8_t multiFrequencySatellitesUsed = 9;
    uint8_t reserved108 = 0;
    uint8_t extendedStatus = 0x06;
    uint8_t reserved110 = 0;
    uint8_t signalMask = 0x33;
};

// One entry of a satellite list.
struct SSatsEntry {
    uint32_t system;
    uint16_t id;
    uint32_t status;
};

ByteVector Frame(uint16_t messageId, const ByteVector& body, uint32_t milliseconds = kMilliseconds);
ByteVector CartesianFrame(uint16_t messageId, const SCartesian& log);
// PDPSTAT with word 1 (good solution) and word 3 (phase flag) as given; the
// other words and the values are fixed, distinct numbers.
ByteVector PDPSTATFrame(uint32_t goodSolution, uint32_t phaseFlag,
                        uint32_t milliseconds = kMilliseconds);
// PSRDOP with the six values sent as singles and the given PRNs.
ByteVector PSRDOPFrame(const float values[6], const std::vector<uint32_t>& prns);
ByteVector SatsFrame(uint16_t messageId, const std::vector<SSatsEntry>& entries);
ByteVector REFSTATIONFrame(double x, double y, double z);
ByteVector BESTPOSFrame(float undulation);
// VERSION with one receiver card component of the given software version.
ByteVector VERSIONFrame(const std::string& softwareVersion);
// The frame with its CRC made wrong.
ByteVector Damaged(ByteVector frame);

// The integer value of a single's bits, as PSRDOP values are held.
double BitsOf(float value);

class CFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Creates the manager; extra store text (such as a lockout) goes before.
    void StartManager(const std::string& extraConfig = "");
    // Decodes the frame with the record factory and offers it to the manager.
    void Feed(const ByteVector& frame);
    // Feeds the frame and returns the TPV report the solution gave, passing
    // over other reports.
    nlohmann::json FeedForTPV(const ByteVector& frame);
    // The next GGA sentence's fields ($GPGGA first), after pumping the services.
    std::vector<std::string> NextGGA();
    // Publishes an empty sky view and returns its SKY report, which carries
    // the latest solution's precision values.
    nlohmann::json SkyReport();
    // The manager's datagrams that arrived since the last call.
    std::vector<nlohmann::json> Datagrams();
    // The texts of the manager's values of key among datagrams, in order.
    static std::vector<std::string> Values(const std::vector<nlohmann::json>& datagrams,
                                           const std::string& key);
    // The datagrams of one type ("alarm", "line").
    static std::vector<nlohmann::json> OfType(const std::vector<nlohmann::json>& datagrams,
                                              const std::string& type);

    TestSupport::TempDir m_dir;
    TestSupport::CLogServerStub m_logServer;
    std::unique_ptr<CConfig> m_config;
    CPositionService m_positionService;
    CNMEAService m_nmeaService;
    SocketCollectionC m_sockets;
    std::unique_ptr<NetTest::CClient> m_tpvClient;
    std::unique_ptr<PositionTest::CReportReader> m_tpvReader;
    std::unique_ptr<NetTest::CClient> m_nmeaClient;
    size_t m_nmeaTaken = 0;
    std::unique_ptr<CPositionManager> m_manager;
};

}  // namespace PositionManagerTest
