// The NMEA service over real connections on 127.0.0.1: sentences to every
// client with CR LF, position fixes as GPGGA and GPRMC, a stalled client, and
// the configuration keys.

#include <gtest/gtest.h>

#include <string>

#include "platform/Config/Config.h"
#include "platform/Core/Maths.h"
#include "platform/Net/NMEAHandlerAPI.h"
#include "platform/Net/NMEAService.h"
#include "platform/Net/SocketCollection.h"
#include "tests/net/NetTestSupport.h"
#include "tests/support/TestSupport.h"

namespace {

using NetTest::CClient;
using NetTest::PumpUntil;

const char kGSV[] = "$GPGSV,1,1,01,05,45,120,40*4E";
const char kZDA[] = "$GPZDA,123456.00,15,03,2024,00,00*6E";

class NMEAServiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        TestSupport::WriteWholeFile(m_dir.File("system.conf"),
                                    "[NMEAService]\nbind_address = 127.0.0.1\nport = 0\n");
        CConfig config(m_dir.File("system.conf"));
        ASSERT_TRUE(m_service.Start(config));
        m_sockets.Add(&m_service);
    }
    void AcceptClients(size_t count) {
        ASSERT_TRUE(PumpUntil(m_sockets, [&] { return m_service.GetClientCount() >= count; }));
    }
    // Pumps until the client has received exactly what was expected.
    void ExpectReceived(CClient& client, const std::string& expected) {
        auto allArrived = [&] {
            client.Poll();
            return client.Received().size() >= expected.size();
        };
        PumpUntil(m_sockets, allArrived);
        EXPECT_EQ(expected, client.Received());
    }

    TestSupport::TempDir m_dir;
    CNMEAService m_service;
    SocketCollectionC m_sockets;
    CNMEAHandlerAPI m_handle{&m_service};
};

TEST_F(NMEAServiceTest, SendsEverySentenceToEveryClientWithOneCRLF) {
    CClient first(m_service.GetPort());
    CClient second(m_service.GetPort());
    AcceptClients(2);
    m_handle.SetNMEAString("GPGSV", 1234000, kGSV);
    m_handle.SetNMEAString("GPZDA", 1234000, std::string(kZDA) + "\r\n");
    const std::string expected = std::string(kGSV) + "\r\n" + kZDA + "\r\n";
    ExpectReceived(first, expected);
    ExpectReceived(second, expected);
    EXPECT_EQ(2u, m_service.GetSentenceCount());
}

TEST_F(NMEAServiceTest, SendsAPositionFixAsGGAThenRMCWithTheGeoidalSeparation) {
    CClient client(m_service.GetPort());
    AcceptClients(1);
    SNMEAFix fix;
    fix.utcTime = Core::Time::FromMicroseconds(981162123040000);  // 2001-02-03 01:02:03.04
    fix.latitude = -(5 + 3.0000042 / 60) * Core::Maths::RADIANS_PER_DEGREE;
    fix.longitude = -(7 + 0.5 / 60) * Core::Maths::RADIANS_PER_DEGREE;
    fix.heightAboveEllipsoid = 12.0;
    fix.fixQuality = 1;
    fix.satellitesUsed = 5;
    fix.hdop = 1.26;
    fix.speedOverGround = 0.5;
    fix.trackDegrees = 5.0;
    fix.valid = true;
    m_handle.SetNMEAGeoidalSeparationValue(3.25);
    m_handle.AddPositionFix(fix);
    ExpectReceived(client,
                   "$GPGGA,010203.04,0503.000004,S,00700.500000,W,1,05,1.3,8.750,M,3.250,M,,*5E\r\n"
                   "$GPRMC,010203.04,A,0503.000004,S,00700.500000,W,0.972,5.00,030201,,,A*6C\r\n");
}

TEST_F(NMEAServiceTest, RefusesSentencesThatWouldBreakTheStreamAndSaysSoOnce) {
    CClient client(m_service.GetPort());
    AcceptClients(1);
    ::testing::internal::CaptureStderr();
    m_handle.SetNMEAString("GPGSV", 0, "$GPGSV,1,1\r\n,01*00");
    m_handle.SetNMEAString("GPGSV", 0, "$GPGSV,1,1\n,02*00");
    m_handle.SetNMEAString("GPZDA", 0, "\r\n");
    m_handle.SetNMEAString("GPZDA", 0, kZDA);
    const std::string error = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(
        "NMEAService: refused a GPGSV sentence with a line break inside; further ones are refused "
        "silently\n"
        "NMEAService: refused an empty GPZDA sentence; further ones are refused silently\n",
        error);
    ExpectReceived(client, std::string(kZDA) + "\r\n");
}

TEST_F(NMEAServiceTest, KeepsServingOthersWhenAClientStallsItsReading) {
    CClient stalled(m_service.GetPort(), 4096);
    CClient reader(m_service.GetPort());
    AcceptClients(2);
    std::string sent;
    ::testing::internal::CaptureStderr();
    for (int i = 0; m_service.GetDroppedCount() == 0 && i < 200000; ++i) {
        m_handle.SetNMEAString("GPGSV", i, kGSV);
        sent += std::string(kGSV) + "\r\n";
        NetTest::Pump(m_sockets, 0);
        reader.Poll();
    }
    const std::string error = ::testing::internal::GetCapturedStderr();
    ASSERT_EQ(1u, m_service.GetDroppedCount());
    EXPECT_NE(std::string::npos, error.find("does not read its data")) << error;
    EXPECT_EQ(1u, m_service.GetClientCount());
    ExpectReceived(reader, sent);
}

TEST_F(NMEAServiceTest, IgnoresWhatClientsSend) {
    CClient client(m_service.GetPort());
    AcceptClients(1);
    // More than a line may hold, without a line end: still no reason to drop.
    client.Send(std::string(SocketServerC::kDefaultMaxLineLength * 2, 'x'));
    for (int i = 0; i < 20; ++i) NetTest::Pump(m_sockets, 5);
    m_handle.SetNMEAString("GPZDA", 0, kZDA);
    ExpectReceived(client, std::string(kZDA) + "\r\n");
    EXPECT_EQ(0u, m_service.GetDroppedCount());
}

TEST(NMEAServiceStartTest, ReportsAPortInUseAndOffersNoService) {
    NetTest::CBusyPort busy;
    TestSupport::TempDir dir;
    TestSupport::WriteWholeFile(dir.File("system.conf"),
                                "[NMEAService]\nport = " + std::to_string(busy.Port()) + "\n");
    CConfig config(dir.File("system.conf"));
    CNMEAService service;
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(service.Start(config));
    EXPECT_EQ("NMEAService: cannot listen on 127.0.0.1:" + std::to_string(busy.Port()) +
                  ": Address already in use; the service is not offered\n",
              ::testing::internal::GetCapturedStderr());
    EXPECT_FALSE(service.IsListening());
}

TEST(NMEAHandlerAPITest, FeedsTheProcessServiceUntilItGoesAway) {
    SNMEAFix fix;
    {
        CNMEAService service;
        CNMEAHandlerAPI::SetService(&service);
        CNMEAHandlerAPI handle;
        handle.SetNMEAGeoidalSeparationValue(-12.5);
        EXPECT_EQ(-12.5, service.GetGeoidalSeparation());
        handle.SetNMEAString("GPZDA", 0, kZDA);
        EXPECT_EQ(1u, service.GetSentenceCount());
    }
    // The service is gone: handles drop what they get.
    EXPECT_EQ(nullptr, CNMEAHandlerAPI::GetService());
    CNMEAHandlerAPI handle;
    handle.SetNMEAString("GPZDA", 0, kZDA);
    handle.AddPositionFix(fix);
}

}  // namespace
