// The sky view reaches the position service's clients: an empty sky when the
// observer starts, then the satellites of each TRACKSTAT log, over a real
// connection on 127.0.0.1.

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "platform/Net/SocketCollection.h"
#include "platform/Position/PositionAPI.h"
#include "platform/Position/PositionService.h"
#include "tests/net/NetTestSupport.h"
#include "tests/position/PositionTestSupport.h"
#include "tests/statusobserver/StatusObserverTestSupport.h"

namespace {

using namespace StatusObserverTest;
using nlohmann::json;

TEST(SkyViewServiceTest, ObserverSendsEmptySkyAtStartThenEachTrackstatsSatellites) {
    TestSupport::TempDir dir;
    TestSupport::CLogServerStub logServer;
    CConfig config(
        TestSupport::WriteServerConfig(dir, "127.0.0.1", logServer.Port(),
                                       "[PositionService]\nbind_address = 127.0.0.1\nport = 0\n"));
    CPositionService service;
    ASSERT_TRUE(service.Start(config));
    CPositionAPI::SetService(&service);
    SocketCollectionC sockets;
    sockets.Add(&service);

    NetTest::CClient client(service.GetPort());
    PositionTest::CReportReader reader(client);
    ASSERT_EQ("VERSION", reader.Next(sockets).value("class", ""));
    client.Send("?WATCH={\"enable\":true,\"json\":true};\n");
    std::vector<json> replies;
    ASSERT_TRUE(reader.Read(sockets, 2, replies));

    CReceiverStatusObserver observer(config);
    const json empty = reader.Next(sockets);
    ASSERT_EQ("SKY", empty.value("class", ""));
    EXPECT_EQ(0, empty.value("nSat", -1));

    std::unique_ptr<CGPSRecord> record(
        CreateRecord(Frame(Novatel::kTRACKSTATMessageID,
                           TrackstatBody({{16, kGPSL1Locked, 45.25f, kRejectGood},
                                          {16, kGPSL2Locked, 40.0f, kRejectNotApplicable},
                                          {42, kGLONASSL1Locked, 38.0f, kRejectNoIonoCorrection},
                                          {131, kSBASL1Locked, 41.0f, kRejectNotApplicable}}))));
    observer.NewPacket(record.get());
    const json sky = reader.Next(sockets);
    ASSERT_EQ("SKY", sky.value("class", ""));
    EXPECT_EQ(3, sky.value("nSat", 0));
    EXPECT_EQ(1, sky.value("uSat", -1));
    const json& satellites = sky["satellites"];
    ASSERT_EQ(3u, satellites.size());
    EXPECT_EQ(16, satellites[0].value("PRN", 0));
    EXPECT_TRUE(satellites[0].value("used", false));
    EXPECT_NEAR(45.25, satellites[0].value("ss", 0.0), 0.06);
    EXPECT_EQ(5, satellites[1].value("svid", 0));  // GLONASS slot 5 (PRN 42)
    EXPECT_FALSE(satellites[1].value("used", true));
    EXPECT_EQ(131, satellites[2].value("svid", 0));

    CPositionAPI::SetService(nullptr);
}

}  // namespace
