// The position service over real connections on 127.0.0.1: the gpsd
// requests and their replies, TPV and SKY reports to watching clients only,
// POLL and BASE, the NMEA service fed from each solution, a stalled client,
// and many clients at once.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "platform/Config/Config.h"
#include "platform/Net/NMEAHandlerAPI.h"
#include "platform/Net/NMEAService.h"
#include "platform/Net/SocketCollection.h"
#include "platform/Position/PositionAPI.h"
#include "platform/Position/PositionService.h"
#include "tests/net/NetTestSupport.h"
#include "tests/position/PositionTestSupport.h"
#include "tests/support/TestSupport.h"

namespace {

using NetTest::CClient;
using nlohmann::json;
using PositionTest::CReportReader;
using PositionTest::MakeSolution;

const char kWatch[] = "?WATCH={\"enable\":true,\"json\":true};\n";

class PositionServiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        TestSupport::WriteWholeFile(m_dir.File("system.conf"),
                                    "[PositionService]\nbind_address = 127.0.0.1\nport = 0\n"
                                    "[NMEAService]\nbind_address = 127.0.0.1\nport = 0\n");
        CConfig config(m_dir.File("system.conf"));
        ASSERT_TRUE(m_service.Start(config));
        ASSERT_TRUE(m_nmea.Start(config));
        m_service.SetNMEAService(&m_nmea);
        m_sockets.Add(&m_service);
        m_sockets.Add(&m_nmea);
    }

    // A connected client whose VERSION greeting has been read.
    std::unique_ptr<CClient> Connect(std::unique_ptr<CReportReader>& reader,
                                     int receiveBuffer = 0) {
        std::unique_ptr<CClient> client(new CClient(m_service.GetPort(), receiveBuffer));
        reader.reset(new CReportReader(*client));
        EXPECT_EQ("VERSION", reader->Next(m_sockets).value("class", ""));
        return client;
    }
    // Asks to watch and reads the DEVICES and WATCH replies.
    void Watch(CClient& client, CReportReader& reader) {
        client.Send(kWatch);
        std::vector<json> replies;
        ASSERT_TRUE(reader.Read(m_sockets, 2, replies));
        ASSERT_EQ("WATCH", replies[1].value("class", ""));
    }

    TestSupport::TempDir m_dir;
    CPositionService m_service;
    CNMEAService m_nmea;
    SocketCollectionC m_sockets;
    CPositionAPI m_api{&m_service};
};

TEST_F(PositionServiceTest, GreetsEveryClientWithTheProtocolVersion) {
    CClient client(m_service.GetPort());
    CReportReader reader(client);
    const json version = reader.Next(m_sockets);
    EXPECT_EQ("VERSION", version.value("class", ""));
    EXPECT_EQ(3, version.value("proto_major", 0));
    EXPECT_EQ(14, version.value("proto_minor", 0));
    EXPECT_TRUE(version.contains("release"));
    EXPECT_TRUE(version.contains("rev"));
}

TEST_F(PositionServiceTest, AnswersWatchWithDevicesThenTheSettingsItTook) {
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    client->Send(kWatch);
    std::vector<json> replies;
    ASSERT_TRUE(reader->Read(m_sockets, 2, replies));
    EXPECT_EQ("DEVICES", replies[0].value("class", ""));
    EXPECT_EQ("receiver", replies[0]["devices"][0].value("path", ""));
    EXPECT_EQ("WATCH", replies[1].value("class", ""));
    EXPECT_TRUE(replies[1].value("enable", false));
    EXPECT_TRUE(replies[1].value("json", false));
    EXPECT_EQ(1u, m_service.GetWatcherCount());
}

struct SRequestCase {
    const char* request;
    const char* expectedClass;
    const char* messageContains;  // for ERROR replies
};

const SRequestCase kRequests[] = {
    {"?VERSION;\n", "VERSION", ""},
    {"?DEVICES;\n", "DEVICES", ""},
    {"?VERSION\r\n", "VERSION", ""},
    {"?BASE;\n", "BASE", ""},
    {"?WATCH;\n", "WATCH", ""},
    {"?FOO;\n", "ERROR", "FOO"},
    {"hello\n", "ERROR", "hello"},
    {"?WATCH={\"enable\":tru};\n", "ERROR", "WATCH"},
    {"?WATCH={\"enable\":true;\n", "ERROR", "WATCH"},
    {"?WATCH=[1];\n", "ERROR", "WATCH"},
};

TEST_F(PositionServiceTest, AnswersEachRequestWithItsReportAndAnythingElseWithAnError) {
    for (const SRequestCase& c : kRequests) {
        SCOPED_TRACE(c.request);
        std::unique_ptr<CReportReader> reader;
        auto client = Connect(reader);
        client->Send(c.request);
        const json reply = reader->Next(m_sockets);
        EXPECT_EQ(c.expectedClass, reply.value("class", ""));
        EXPECT_NE(std::string::npos, reply.value("message", "").find(c.messageContains));
    }
    EXPECT_EQ(0u, m_service.GetWatcherCount());
}

TEST_F(PositionServiceTest, AnswersSeveralRequestsOnOneLineInOrder) {
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    client->Send("?DEVICES;?VERSION;?POLL;\n");
    std::vector<json> replies;
    ASSERT_TRUE(reader->Read(m_sockets, 3, replies));
    EXPECT_EQ("DEVICES", replies[0].value("class", ""));
    EXPECT_EQ("VERSION", replies[1].value("class", ""));
    EXPECT_EQ("POLL", replies[2].value("class", ""));
}

TEST_F(PositionServiceTest, ReportsAKnownSolutionAsATPVWithEveryField) {
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    Watch(*client, *reader);
    // Set through the NMEA service's own interface: it must reach altMSL too.
    CNMEAHandlerAPI(&m_nmea).SetNMEAGeoidalSeparationValue(-17.25);
    m_api.SetECEFPositionData(MakeSolution(51.0789, -114.1337, 1117.75, 3.0, 4.0, 0.5));
    const json tpv = reader->Next(m_sockets);
    ASSERT_EQ("TPV", tpv.value("class", ""));
    EXPECT_EQ("receiver", tpv.value("device", ""));
    EXPECT_EQ(3, tpv.value("mode", 0));
    EXPECT_EQ(3, tpv.value("status", 0));
    EXPECT_EQ("2018-05-07T11:59:42.123Z", tpv.value("time", ""));
    EXPECT_NEAR(51.0789, tpv.value("lat", 0.0), 1e-9);
    EXPECT_NEAR(-114.1337, tpv.value("lon", 0.0), 1e-9);
    EXPECT_NEAR(1117.75, tpv.value("altHAE", 0.0), 1e-3);
    EXPECT_NEAR(1135.0, tpv.value("altMSL", 0.0), 1e-3);
    EXPECT_TRUE(tpv.contains("ecefx") && tpv.contains("ecefy") && tpv.contains("ecefz"));
    EXPECT_TRUE(tpv.contains("ecefvx") && tpv.contains("ecefvy") && tpv.contains("ecefvz"));
    // Equal ECEF sigmas stay equal in any rotation.
    EXPECT_NEAR(2.0, tpv.value("epx", 0.0), 1e-3);
    EXPECT_NEAR(2.0, tpv.value("epy", 0.0), 1e-3);
    EXPECT_NEAR(2.0, tpv.value("epv", 0.0), 1e-3);
    EXPECT_NEAR(3.464, tpv.value("ecefpAcc", 0.0), 1e-3);
    EXPECT_NEAR(5.0, tpv.value("speed", 0.0), 1e-3);
    EXPECT_NEAR(36.8699, tpv.value("track", 0.0), 1e-3);
    EXPECT_NEAR(0.5, tpv.value("climb", 0.0), 1e-3);
    EXPECT_NEAR(1.5, tpv.value("dgpsAge", 0.0), 1e-9);
    EXPECT_EQ(3, tpv.value("solutionQuality", -1));
    EXPECT_EQ(4, tpv.value("positionQuality", -1));
    EXPECT_EQ(Position::SOLUTION_CLASS_FIXED, tpv.value("solutionClass", 0));
    EXPECT_EQ(1u, m_service.GetSolutionCount());
}

TEST_F(PositionServiceTest, ReportsTrackWestOfNorthBetween180And360) {
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    Watch(*client, *reader);
    m_api.SetECEFPositionData(MakeSolution(-33.9, 151.2, 40.0, -1.0, -1.0, -0.25));
    const json tpv = reader->Next(m_sockets);
    EXPECT_NEAR(225.0, tpv.value("track", 0.0), 1e-3);
    EXPECT_NEAR(-0.25, tpv.value("climb", 0.0), 1e-3);
}

TEST_F(PositionServiceTest, WritesAVanishingClimbAsZeroNotMinusZero) {
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    Watch(*client, *reader);
    m_api.SetECEFPositionData(MakeSolution(51.0789, -114.1337, 1117.75, 3.0, 4.0, 0.0));
    const json tpv = reader->Next(m_sockets);
    ASSERT_TRUE(tpv.contains("climb"));
    EXPECT_FALSE(std::signbit(tpv["climb"].get<double>()));
}

TEST_F(PositionServiceTest, ReportsASolutionOfQualityZeroAsMode1WithoutAPosition) {
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    Watch(*client, *reader);
    Position::SECEFPositionSolutionData solution = MakeSolution(10, 20, 30, 0, 0, 0);
    solution.solutionQuality = 0;
    m_api.SetECEFPositionData(solution);
    const json tpv = reader->Next(m_sockets);
    EXPECT_EQ(1, tpv.value("mode", 0));
    EXPECT_FALSE(tpv.contains("lat"));
    EXPECT_FALSE(tpv.contains("ecefx"));
    EXPECT_EQ("2018-05-07T11:59:42.123Z", tpv.value("time", ""));
    EXPECT_EQ(0, tpv.value("solutionQuality", -1));
}

TEST_F(PositionServiceTest, MapsEachSolutionClassToItsFixStatus) {
    const struct {
        int32_t solutionClass;
        int status;
    } cases[] = {{Position::SOLUTION_CLASS_DIFFERENTIAL, 2},
                 {Position::SOLUTION_CLASS_FIXED, 3},
                 {Position::SOLUTION_CLASS_FLOAT, 4},
                 {Position::SOLUTION_CLASS_CODE, 1},
                 {Position::SOLUTION_CLASS_NONE, 1}};
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    Watch(*client, *reader);
    for (const auto& c : cases) {
        Position::SECEFPositionSolutionData solution = MakeSolution(1, 2, 3, 0, 0, 0);
        solution.solutionClass = c.solutionClass;
        m_api.SetECEFPositionData(solution);
        EXPECT_EQ(c.status, reader->Next(m_sockets).value("status", 0)) << c.solutionClass;
    }
}

TEST_F(PositionServiceTest, SendsNoTPVToAClientThatDoesNotWatch) {
    std::unique_ptr<CReportReader> watcherReader, idleReader;
    auto watcher = Connect(watcherReader);
    auto idle = Connect(idleReader);
    Watch(*watcher, *watcherReader);
    m_api.SetECEFPositionData(MakeSolution(1, 2, 3, 0, 0, 0));
    m_api.SetSkyView({});
    EXPECT_EQ("TPV", watcherReader->Next(m_sockets).value("class", ""));
    EXPECT_EQ("SKY", watcherReader->Next(m_sockets).value("class", ""));
    // The idle client's next report is the answer to its own request, so
    // nothing was queued for it before.
    idle->Send("?VERSION;\n");
    EXPECT_EQ("VERSION", idleReader->Next(m_sockets).value("class", ""));
    EXPECT_EQ(0u, idleReader->Pending(m_sockets));
}

TEST_F(PositionServiceTest, StopsReportsWhenTheClientDisablesWatching) {
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    Watch(*client, *reader);
    client->Send("?WATCH={\"enable\":false};\n");
    const json reply = reader->Next(m_sockets);
    EXPECT_EQ("WATCH", reply.value("class", ""));
    EXPECT_FALSE(reply.value("enable", true));
    m_api.SetECEFPositionData(MakeSolution(1, 2, 3, 0, 0, 0));
    EXPECT_EQ(0u, reader->Pending(m_sockets));
}

TEST_F(PositionServiceTest, TakesJsonAsTheFormWhenWatchNamesNone) {
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    client->Send("?WATCH={\"enable\":true}\n");
    std::vector<json> replies;
    ASSERT_TRUE(reader->Read(m_sockets, 2, replies));
    EXPECT_TRUE(replies[1].value("json", false));
    m_api.SetECEFPositionData(MakeSolution(1, 2, 3, 0, 0, 0));
    EXPECT_EQ("TPV", reader->Next(m_sockets).value("class", ""));
}

TEST_F(PositionServiceTest, ReportsTheSkyViewWithGpsdSatelliteNumbers) {
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    Watch(*client, *reader);
    CPositionAPI::sSSatinfo gps;
    gps.prn = 7;
    gps.carrierToNoise = 45.25;
    gps.used = true;
    gps.directionKnown = true;
    gps.elevation = 30.0;
    gps.azimuth = 270.0;
    CPositionAPI::sSSatinfo glonass;
    glonass.system = CPositionAPI::SYSTEM_GLONASS;
    glonass.prn = 5;
    glonass.carrierToNoise = 38.0;
    CPositionAPI::sSSatinfo sbas;
    sbas.system = CPositionAPI::SYSTEM_SBAS;
    sbas.prn = 131;
    m_api.SetSkyView({gps, glonass, sbas});
    const json sky = reader->Next(m_sockets);
    ASSERT_EQ("SKY", sky.value("class", ""));
    EXPECT_EQ(3, sky.value("nSat", 0));
    EXPECT_EQ(1, sky.value("uSat", 0));
    const json& sats = sky["satellites"];
    ASSERT_EQ(3u, sats.size());
    EXPECT_EQ(7, sats[0].value("PRN", 0));
    EXPECT_EQ(0, sats[0].value("gnssid", -1));
    EXPECT_NEAR(30.0, sats[0].value("el", 0.0), 1e-9);
    EXPECT_NEAR(270.0, sats[0].value("az", 0.0), 1e-9);
    EXPECT_NEAR(45.3, sats[0].value("ss", 0.0), 0.06);
    EXPECT_TRUE(sats[0].value("used", false));
    EXPECT_EQ(69, sats[1].value("PRN", 0));
    EXPECT_EQ(6, sats[1].value("gnssid", -1));
    EXPECT_EQ(5, sats[1].value("svid", 0));
    EXPECT_FALSE(sats[1].contains("el"));  // unknown, so left out
    EXPECT_FALSE(sats[1].value("used", true));
    EXPECT_EQ(131, sats[2].value("PRN", 0));
    EXPECT_EQ(1, sats[2].value("gnssid", -1));
}

TEST_F(PositionServiceTest, PollReportsNothingActiveBeforeAnyData) {
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    client->Send("?POLL;\n");
    const json poll = reader->Next(m_sockets);
    EXPECT_EQ("POLL", poll.value("class", ""));
    EXPECT_EQ(0, poll.value("active", -1));
    EXPECT_TRUE(poll["tpv"].empty());
    EXPECT_TRUE(poll["sky"].empty());
    EXPECT_NE(std::string::npos, poll.value("time", "").find('Z'));
}

TEST_F(PositionServiceTest, PollReportsTheLatestTPVAndSkyToAClientThatDoesNotWatch) {
    m_api.SetECEFPositionData(MakeSolution(1, 2, 3, 0, 0, 0));
    m_api.SetECEFPositionData(MakeSolution(45, 7, 300, 0, 0, 0));
    CPositionAPI::sSSatinfo sat;
    sat.prn = 12;
    m_api.SetSkyView({sat});
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    client->Send("?POLL;\n");
    const json poll = reader->Next(m_sockets);
    EXPECT_EQ(1, poll.value("active", 0));
    ASSERT_EQ(1u, poll["tpv"].size());
    EXPECT_NEAR(45.0, poll["tpv"][0].value("lat", 0.0), 1e-9);
    ASSERT_EQ(1u, poll["sky"].size());
    EXPECT_EQ(12, poll["sky"][0]["satellites"][0].value("PRN", 0));
}

TEST_F(PositionServiceTest, ReportsTheBasePositionOnceKnown) {
    std::unique_ptr<CReportReader> reader;
    auto client = Connect(reader);
    client->Send("?BASE;\n");
    EXPECT_FALSE(reader->Next(m_sockets).contains("ecefx"));
    m_api.SetBasePosition(6378137.0, 0.0, 0.0);
    client->Send("?BASE;\n");
    const json base = reader->Next(m_sockets);
    EXPECT_EQ("BASE", base.value("class", ""));
    EXPECT_NEAR(6378137.0, base.value("ecefx", 0.0), 1e-3);
    EXPECT_NEAR(0.0, base.value("lat", 1.0), 1e-9);
    EXPECT_NEAR(0.0, base.value("altHAE", 1.0), 1e-3);
}

TEST_F(PositionServiceTest, FeedsEachSolutionToTheNMEAServiceAsGGAAndRMC) {
    CClient nmeaClient(m_nmea.GetPort());
    ASSERT_TRUE(NetTest::PumpUntil(m_sockets, [&] { return m_nmea.GetClientCount() == 1; }));
    m_api.SetGeoidalSeparation(-17.5);
    m_api.SetECEFPositionData(MakeSolution(51.5, -0.5, 100.0, 0.0, 2.0, 0.0));
    auto twoLines = [&] {
        nmeaClient.Poll();
        const std::string& text = nmeaClient.Received();
        return text.find("\r\n") != std::string::npos &&
               text.find("\r\n", text.find("\r\n") + 2) != std::string::npos;
    };
    ASSERT_TRUE(NetTest::PumpUntil(m_sockets, twoLines));
    const std::string& text = nmeaClient.Received();
    EXPECT_EQ(0u, text.find("$GPGGA,115942.12,5130.000000,N,00030.000000,W,4,12,0.8,117.500,M,"
                            "-17.500,M,"))
        << text;
    EXPECT_NE(std::string::npos, text.find("$GPRMC,115942.12,A,")) << text;
    EXPECT_DOUBLE_EQ(-17.5, m_nmea.GetGeoidalSeparation());
}

TEST_F(PositionServiceTest, DropsAStalledClientWhileOthersGetEveryReport) {
    m_service.SetMaxOutput(16384);
    std::unique_ptr<CReportReader> stalledReader, readingReader;
    auto stalled = Connect(stalledReader, 4096);
    auto reading = Connect(readingReader);
    Watch(*stalled, *stalledReader);
    Watch(*reading, *readingReader);
    // Publish until the client that stopped reading is dropped; the one that
    // reads must get every report all the same.
    size_t published = 0;
    ::testing::internal::CaptureStderr();
    while (m_service.GetDroppedCount() == 0 && published < 100000) {
        m_api.SetECEFPositionData(MakeSolution(1, 2, 3, 0, 0, 0));
        ++published;
        NetTest::Pump(m_sockets, 0);
        reading->Poll();
    }
    const std::string error = ::testing::internal::GetCapturedStderr();
    ASSERT_EQ(1u, m_service.GetDroppedCount());
    EXPECT_NE(std::string::npos, error.find("does not read its data")) << error;
    m_api.SetECEFPositionData(MakeSolution(1, 2, 3, 0, 0, 0));
    ++published;
    std::vector<json> reports;
    ASSERT_TRUE(readingReader->Read(m_sockets, published, reports));
    EXPECT_EQ("TPV", reports.back().value("class", ""));
    EXPECT_EQ(1u, m_service.GetWatcherCount());
    EXPECT_EQ(1u, m_service.GetClientCount());
}

TEST_F(PositionServiceTest, ServesAHundredWatchingClients) {
    const size_t kClients = 100;
    std::vector<std::unique_ptr<CClient>> clients;
    std::vector<std::unique_ptr<CReportReader>> readers(kClients);
    for (size_t i = 0; i < kClients; ++i) {
        clients.push_back(Connect(readers[i]));
        clients.back()->Send(kWatch);
    }
    ASSERT_TRUE(
        NetTest::PumpUntil(m_sockets, [&] { return m_service.GetWatcherCount() == kClients; }));
    m_api.SetECEFPositionData(MakeSolution(1, 2, 3, 0, 0, 0));
    for (size_t i = 0; i < kClients; ++i) {
        std::vector<json> replies;
        ASSERT_TRUE(readers[i]->Read(m_sockets, 3, replies)) << "client " << i;
        EXPECT_EQ("TPV", replies[2].value("class", "")) << "client " << i;
    }
}

}  // namespace
