// The position manager against generated logs: the quality, position and
// class codes of each position type, the solution's fields, satellite counts
// and precision values as the position and NMEA services report them, the
// PSRXYZ diagnostics with the geodetic conversion, the base position and the
// undulation, and the published keys.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "platform/Core/Maths.h"
#include "tests/positionmanager/PositionManagerTestSupport.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace {

using namespace PositionManagerTest;
using nlohmann::json;

const uint16_t kRTK = Novatel::kRTKXYZMessageID;
const uint16_t kPDP = Novatel::kPDPXYZMessageID;

SCartesian Solution(uint32_t positionType, uint32_t solutionStatus = 0) {
    SCartesian log;
    log.positionType = positionType;
    log.solutionStatus = solutionStatus;
    return log;
}

// ECEF of a geodetic position on WGS-84, written out here so that the
// manager's conversion is checked against an independent one.
void ToECEF(double latitudeDegrees, double longitudeDegrees, double height, double& x, double& y,
            double& z) {
    const double a = 6378137.0;
    const double e2 = 6.69437999014e-3;
    const double lat = latitudeDegrees * Core::Maths::RADIANS_PER_DEGREE;
    const double lon = longitudeDegrees * Core::Maths::RADIANS_PER_DEGREE;
    const double n = a / std::sqrt(1.0 - e2 * std::sin(lat) * std::sin(lat));
    x = (n + height) * std::cos(lat) * std::cos(lon);
    y = (n + height) * std::cos(lat) * std::sin(lon);
    z = (n * (1.0 - e2) + height) * std::sin(lat);
}

struct SCodeCase {
    uint16_t messageId;
    uint32_t solutionStatus;
    uint32_t positionType;
    int solutionQuality;
    int positionQuality;
    int solutionClass;
};

void PrintTo(const SCodeCase& c, std::ostream* out) {
    *out << (c.messageId == kRTK ? "RTKXYZ" : "PDPXYZ") << " status " << c.solutionStatus
         << " type " << c.positionType;
}

class CodesByPositionType : public CFixture, public ::testing::WithParamInterface<SCodeCase> {};

// With a PDPSTAT of a good filter and no lockout running.
TEST_P(CodesByPositionType, GivesTheQualityPositionAndClassCodesOfTheType) {
    StartManager();
    const SCodeCase& c = GetParam();
    Feed(PDPSTATFrame(1, 1));
    const json tpv =
        FeedForTPV(CartesianFrame(c.messageId, Solution(c.positionType, c.solutionStatus)));
    EXPECT_EQ(c.solutionQuality, tpv.value("solutionQuality", -9));
    EXPECT_EQ(c.positionQuality, tpv.value("positionQuality", -9));
    EXPECT_EQ(c.solutionClass, tpv.value("solutionClass", -9));
}

INSTANTIATE_TEST_SUITE_P(
    PositionManager, CodesByPositionType,
    ::testing::Values(SCodeCase{kRTK, 0, 50, 3, 4, 6}, SCodeCase{kRTK, 0, 49, 2, 2, 6},
                      SCodeCase{kRTK, 0, 34, 2, 2, 6}, SCodeCase{kRTK, 0, 51, 1, 1, 6},
                      SCodeCase{kRTK, 0, 64, 3, 2, 2}, SCodeCase{kRTK, 0, 65, 2, 2, 2},
                      SCodeCase{kRTK, 0, 16, 1, 1, 4}, SCodeCase{kRTK, 0, 17, 1, 2, 4},
                      SCodeCase{kRTK, 0, 18, 1, 2, 4}, SCodeCase{kRTK, 0, 20, 1, 2, 4},
                      SCodeCase{kRTK, 0, 32, 1, 1, 5}, SCodeCase{kRTK, 0, 33, 1, 1, 5},
                      SCodeCase{kRTK, 0, 48, 1, 1, 5}, SCodeCase{kRTK, 0, 66, 1, 2, 5},
                      SCodeCase{kPDP, 0, 16, 2, 1, 4}, SCodeCase{kPDP, 0, 66, 2, 2, 5},
                      SCodeCase{kPDP, 0, 50, 3, 4, 6}, SCodeCase{kPDP, 0, 19, 0, 0, -1},
                      SCodeCase{kRTK, 0, 19, 0, 0, -1}, SCodeCase{kPDP, 0, 0, 0, 0, -1},
                      SCodeCase{kPDP, 0, 52, 0, 0, -1}, SCodeCase{kPDP, 1, 16, 0, 0, 4},
                      SCodeCase{kRTK, 2, 50, 0, 0, 6}));

class PositionManagerTest : public CFixture {
protected:
    void SetUp() override { StartManager(); }
};

TEST_F(PositionManagerTest, PDPXYZBeforeAnyPDPSTATGivesQualityOneAndPublishesOnlyItsCounts) {
    const json tpv = FeedForTPV(CartesianFrame(kPDP, Solution(50)));
    EXPECT_EQ(1, tpv.value("solutionQuality", -9));
    EXPECT_EQ(1, tpv.value("positionQuality", -9));
    const std::vector<json> datagrams = Datagrams();
    EXPECT_EQ(std::vector<std::string>{"1"}, Values(datagrams, "message18"));
    EXPECT_EQ(std::vector<std::string>{"1"}, Values(datagrams, "pos_messages"));
    EXPECT_EQ(2u, datagrams.size()) << "no info, no PDPSTAT values, no alarm";
}

TEST_F(PositionManagerTest, HoldsPDPSolutionsAtQualityOneWhileTheFilterReportsNoGoodSolution) {
    Feed(PDPSTATFrame(0, 1));
    EXPECT_EQ(1, FeedForTPV(CartesianFrame(kPDP, Solution(16))).value("solutionQuality", -9));
    Feed(PDPSTATFrame(1, 1));
    EXPECT_EQ(2, FeedForTPV(CartesianFrame(kPDP, Solution(16))).value("solutionQuality", -9));
}

TEST_F(PositionManagerTest, HandsOnTheLogsPositionVelocityTimeAndAges) {
    const SCartesian log;
    const json tpv = FeedForTPV(CartesianFrame(kRTK, log));
    EXPECT_NEAR(log.x, tpv.value("ecefx", 0.0), 1e-3);
    EXPECT_NEAR(log.y, tpv.value("ecefy", 0.0), 1e-3);
    EXPECT_NEAR(log.z, tpv.value("ecefz", 0.0), 1e-3);
    EXPECT_NEAR(log.velocityX, tpv.value("ecefvx", 0.0), 1e-3);
    EXPECT_NEAR(log.velocityY, tpv.value("ecefvy", 0.0), 1e-3);
    EXPECT_NEAR(log.velocityZ, tpv.value("ecefvz", 0.0), 1e-3);
    EXPECT_NEAR(std::sqrt(1.25 * 1.25 + 1.5 * 1.5 + 2.75 * 2.75), tpv.value("ecefpAcc", 0.0), 1e-3);
    EXPECT_EQ("2018-05-07T11:59:42.123Z", tpv.value("time", ""));
    EXPECT_NEAR(3.5, tpv.value("dgpsAge", 0.0), 1e-9);
}

TEST_F(PositionManagerTest, TakesSatelliteCountsFromTheListOfTheSolutionsOwnFilter) {
    Feed(SatsFrame(Novatel::kRTKSATSMessageID,
                   {{0, 1, 1}, {0, 2, 3}, {0, 3, 2}, {1, 40, 1}, {1, 41, 1}, {2, 120, 1}}));
    Feed(SatsFrame(Novatel::kPDPSATSMessageID,
                   {{0, 1, 1}, {0, 2, 1}, {0, 3, 1}, {0, 4, 1}, {0, 5, 1}, {1, 40, 1}}));
    FeedForTPV(CartesianFrame(kRTK, Solution(50)));
    EXPECT_EQ("04", NextGGA().at(7)) << "2 GPS and 2 GLONASS of RTKSATS used, not the log's 12";
    FeedForTPV(CartesianFrame(kPDP, Solution(16)));
    EXPECT_EQ("06", NextGGA().at(7)) << "5 GPS and 1 GLONASS of PDPSATS used";
}

TEST_F(PositionManagerTest, KeepsTheLogsOwnCountWhenTheListHasNoGPSSatelliteUsed) {
    Feed(SatsFrame(Novatel::kRTKSATSMessageID, {{0, 1, 0}, {1, 40, 1}, {1, 41, 1}}));
    FeedForTPV(CartesianFrame(kRTK, Solution(50)));
    EXPECT_EQ("12", NextGGA().at(7));
}

TEST_F(PositionManagerTest, SendsPrecisionValuesOf100UntilAPSRDOPArrives) {
    FeedForTPV(CartesianFrame(kRTK, Solution(50)));
    json sky = SkyReport();
    EXPECT_DOUBLE_EQ(100.0, sky.value("hdop", 0.0));
    EXPECT_DOUBLE_EQ(100.0, sky.value("pdop", 0.0));

    const float dops[6] = {2.5f, 1.5f, 0.75f, 1.25f, 1.0f, 5.0f};
    Feed(PSRDOPFrame(dops, {3, 6, 7, 16}));
    FeedForTPV(CartesianFrame(kRTK, Solution(50)));
    sky = SkyReport();
    // The values stay the integers of the bits the receiver sent (0.75 is 0x3F400000).
    EXPECT_DOUBLE_EQ(BitsOf(0.75f), sky.value("hdop", 0.0));
    const double pdop = BitsOf(1.5f), tdop = BitsOf(1.0f);
    EXPECT_NEAR(std::sqrt(pdop * pdop + tdop * tdop), sky.value("pdop", 0.0), 0.01);
    EXPECT_EQ(std::vector<std::string>{"1"}, Values(Datagrams(), "psrdop_messages"));
}

TEST_F(PositionManagerTest, PublishesRTKXYZCountAndStatusFields) {
    FeedForTPV(CartesianFrame(kRTK, Solution(50)));
    FeedForTPV(CartesianFrame(kRTK, Solution(49)));
    const std::vector<json> datagrams = Datagrams();
    EXPECT_EQ((std::vector<std::string>{"1", "2"}), Values(datagrams, "rtkxyz"));
    EXPECT_EQ((std::vector<std::string>{"1", "2"}), Values(datagrams, "pos_messages"));
    EXPECT_EQ("0,49,0,8,0.150000,3.500000,0.250000,14,12,11,9,0,0x00000006,0,0x00000033",
              Values(datagrams, "rtkxyz_info").at(1));
}

TEST_F(PositionManagerTest, PublishesPDPXYZFieldsWithTheLatestPDPSTAT) {
    Tools::CBodyWriter pdpstat;
    pdpstat.U32(7).U32(1).U32(9).U32(1).U32(0xFFFFFFFF).F64(3.5).F64(0.5).F64(1.25);
    Feed(Frame(Novatel::kPDPSTATMessageID, pdpstat.Bytes()));
    FeedForTPV(CartesianFrame(kPDP, Solution(16)));
    const std::vector<json> datagrams = Datagrams();
    EXPECT_EQ(std::vector<std::string>{"1"}, Values(datagrams, "message18"));
    EXPECT_EQ(std::vector<std::string>{"0,16,0,8,0.150000,3.500000,0.250000,14,12,11,9,0,"
                                       "0x00000006,0,0x00000033"},
              Values(datagrams, "message18_info"));
    EXPECT_EQ(std::vector<std::string>{"7,1,9,1,-1, 3.50,0.50000,1.25000"},
              Values(datagrams, "message18_pdpstat"));
}

TEST_F(PositionManagerTest, PublishesOnlyTheStatusFieldsOfAPSRXYZWithoutASolution) {
    Feed(CartesianFrame(Novatel::kPSRXYZMessageID, Solution(0, 1)));
    const std::vector<json> datagrams = Datagrams();
    EXPECT_EQ(std::vector<std::string>{"1,0,0,8,0.150000,3.500000,0.250000,14,12,11,9,0,"
                                       "0x00000006,0,0x00000033"},
              Values(datagrams, "psrxyz_info"));
    EXPECT_EQ(1u, datagrams.size());
    EXPECT_EQ(0u, m_positionService.GetSolutionCount());
}

TEST_F(PositionManagerTest, PublishesAComputedPSRXYZAsGeodeticPositionButSendsNoSolution) {
    SCartesian log;
    ToECEF(-33.856784, 151.215297, 42.125, log.x, log.y, log.z);
    Feed(CartesianFrame(Novatel::kPSRXYZMessageID, log));
    const std::vector<std::string> positions = Values(Datagrams(), "psrxyz_pos");
    ASSERT_EQ(1u, positions.size());
    double x = 0, y = 0, z = 0, latitude = 0, longitude = 0, height = 0;
    ASSERT_EQ(6, std::sscanf(positions[0].c_str(), "%lf,%lf,%lf,%lf,%lf,%lf", &x, &y, &z, &latitude,
                             &longitude, &height))
        << positions[0];
    EXPECT_NEAR(log.x, x, 1e-4);
    EXPECT_NEAR(log.z, z, 1e-4);
    EXPECT_NEAR(-33.856784, latitude, 1e-9);
    EXPECT_NEAR(151.215297, longitude, 1e-9);
    EXPECT_NEAR(42.125, height, 2e-4);
    EXPECT_EQ(0u, m_positionService.GetSolutionCount());
}

TEST(PositionManagerBowring, MatchesTheExactConversionAtKnownPoints) {
    const double points[][3] = {{0.0, 0.0, 0.0},
                                {45.0, 10.0, 100.0},
                                {-33.9, 151.2, 50.0},
                                {60.0, -120.0, 3000.0},
                                {89.5, 45.0, 10.0},
                                {-70.25, -179.75, -40.0},
                                {32.595328, -85.29565, 174.36}};
    for (const auto& point : points) {
        double x = 0, y = 0, z = 0;
        ToECEF(point[0], point[1], point[2], x, y, z);
        double latitude = 0, longitude = 0, height = 0;
        CPositionManager::BowringGeodetic(x, y, z, latitude, longitude, height);
        EXPECT_NEAR(point[0], latitude * Core::Maths::DEGREES_PER_RADIAN, 1e-9) << point[0];
        EXPECT_NEAR(point[1], longitude * Core::Maths::DEGREES_PER_RADIAN, 1e-9) << point[1];
        EXPECT_NEAR(point[2], height, 1e-3) << point[0];
    }
}

TEST_F(PositionManagerTest, HandsAReferenceStationsPositionToThePositionService) {
    Feed(REFSTATIONFrame(-2694685.473, -4293642.366, 3857878.924));
    EXPECT_EQ(std::vector<std::string>{"-2694685.473,-4293642.366,3857878.924"},
              Values(Datagrams(), "reference_position_ecef"));
    m_tpvClient->Send("?BASE;\n");
    const json base = m_tpvReader->Next(m_sockets);
    EXPECT_EQ("BASE", base.value("class", ""));
    EXPECT_NEAR(-2694685.473, base.value("ecefx", 0.0), 1e-6);
    EXPECT_NEAR(3857878.924, base.value("ecefz", 0.0), 1e-6);
}

TEST_F(PositionManagerTest, IgnoresAReferenceStationWhoseChecksumIsWrong) {
    Feed(Damaged(REFSTATIONFrame(-2694685.473, -4293642.366, 3857878.924)));
    EXPECT_TRUE(Datagrams().empty());
    m_tpvClient->Send("?BASE;\n");
    EXPECT_FALSE(m_tpvReader->Next(m_sockets).contains("ecefx"));
}

TEST_F(PositionManagerTest, GivesTheUndulationToTheNMEAAndPositionServices) {
    Feed(BESTPOSFrame(-29.2f));
    EXPECT_EQ(std::vector<std::string>{"-29.200001"}, Values(Datagrams(), "novatel_undulation"));
    EXPECT_NEAR(-29.2, m_nmeaService.GetGeoidalSeparation(), 1e-6);
    const json tpv = FeedForTPV(CartesianFrame(kRTK, Solution(50)));
    EXPECT_NEAR(-29.2, tpv.value("geoidSep", 0.0), 1e-3);
    EXPECT_NEAR(tpv.value("altHAE", 0.0) + 29.2, tpv.value("altMSL", 0.0), 1e-3);
    EXPECT_EQ("-29.200", NextGGA().at(11));
}

TEST_F(PositionManagerTest, IgnoresNullAndNMEARecords) {
    m_manager->NewPacket(nullptr);
    const std::string gga =
        "$GPGGA,115942.12,4851.000,N,00221.000,E,1,08,0.9,80.2,M,46.9,M,,*48\r\n";
    std::unique_ptr<CGPSRecord> nmea(CreateRecord(ByteVector(gga.begin(), gga.end())));
    m_manager->NewPacket(nmea.get());
    EXPECT_TRUE(Datagrams().empty());
    EXPECT_EQ(0u, m_positionService.GetSolutionCount());
}

}  // namespace
