#include "tests/positionmanager/PositionManagerTestSupport.h"

#include <cstring>

#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "platform/Core/Utilities.h"
#include "platform/Net/NMEAHandlerAPI.h"
#include "platform/Position/PositionAPI.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace PositionManagerTest {

using nlohmann::json;

ByteVector Frame(uint16_t messageId, const ByteVector& body, uint32_t milliseconds) {
    Tools::SFrameHeader header;
    header.messageId = messageId;
    header.week = kWeek;
    header.milliseconds = milliseconds;
    return Tools::BuildBinaryFrame(header, body);
}

ByteVector CartesianFrame(uint16_t messageId, const SCartesian& log) {
    Tools::CBodyWriter body;
    body.U32(log.solutionStatus).U32(log.positionType).F64(log.x).F64(log.y).F64(log.z);
    body.F32(log.sigmaX).F32(log.sigmaY).F32(log.sigmaZ);
    body.U32(log.velocityStatus).U32(log.velocityType);
    body.F64(log.velocityX).F64(log.velocityY).F64(log.velocityZ);
    body.F32(log.velocitySigma).F32(log.velocitySigma).F32(log.velocitySigma);
    body.Text(log.baseStationID, 4).F32(log.velocityLatency).F32(log.differentialAge);
    body.F32(log.solutionAge).U8(log.satellitesTracked).U8(log.satellitesUsed);
    body.U8(log.l1SatellitesUsed).U8(log.multiFrequencySatellitesUsed).U8(log.reserved108);
    body.U8(log.extendedStatus).U8(log.reserved110).U8(log.signalMask);
    return Frame(messageId, body.Bytes());
}

ByteVector PDPSTATFrame(uint32_t goodSolution, uint32_t phaseFlag, uint32_t milliseconds) {
    Tools::CBodyWriter body;
    body.U32(7).U32(goodSolution).U32(9).U32(phaseFlag).U32(11);
    body.F64(12.345).F64(0.5).F64(1.25);
    return Frame(Novatel::kPDPSTATMessageID, body.Bytes(), milliseconds);
}

ByteVector PSRDOPFrame(const float values[6], const std::vector<uint32_t>& prns) {
    Tools::CBodyWriter body;
    for (int i = 0; i < 6; ++i) body.F32(values[i]);
    body.U32(static_cast<uint32_t>(prns.size()));
    for (uint32_t prn : prns) body.U32(prn);
    return Frame(Novatel::kPSRDOPMessageID, body.Bytes());
}

ByteVector SatsFrame(uint16_t messageId, const std::vector<SSatsEntry>& entries) {
    Tools::CBodyWriter body;
    body.U32(static_cast<uint32_t>(entries.size()));
    for (const SSatsEntry& entry : entries) {
        body.U32(entry.system).U16(entry.id).U16(0).U32(entry.status).U32(0x3);
    }
    return Frame(messageId, body.Bytes());
}

ByteVector REFSTATIONFrame(double x, double y, double z) {
    Tools::CBodyWriter body;
    body.U32(0).F64(x).F64(y).F64(z).U32(0).U32(1).Text("BASE1", 5);
    return Frame(Novatel::kREFSTATIONMessageID, body.Bytes());
}

ByteVector BESTPOSFrame(float undulation) {
    Tools::CBodyWriter body;
    body.U32(0).U32(16).F64(48.85).F64(2.35).F64(80.25).F32(undulation).U32(61);
    body.F32(1.0f).F32(1.0f).F32(2.0f).Text("", 4).F32(0.0f).F32(0.0f);
    body.U8(10).U8(9).U8(9).U8(9).U8(0).U8(6).U8(0).U8(3);
    return Frame(Novatel::kBESTPOSMessageID, body.Bytes());
}

ByteVector VERSIONFrame(const std::string& softwareVersion) {
    Tools::CBodyWriter body;
    body.U32(1).U32(1).Text("L1L2G", 16).Text("DAB06210079", 16).Text("OEMV3G-3.01", 16);
    body.Text(softwareVersion, 16).Text("L6X10000", 16).Text("2010/Apr/29", 12);
    body.Text("16:11:14", 12);
    return Frame(Novatel::kVERSIONMessageID, body.Bytes());
}

ByteVector Damaged(ByteVector frame) {
    frame.back() ^= 0xFF;
    return frame;
}

double BitsOf(float value) {
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return static_cast<double>(bits);
}

void CFixture::SetUp() {}

void CFixture::TearDown() {
    m_manager.reset();
    CPositionAPI::SetService(nullptr);
    CNMEAHandlerAPI::SetService(nullptr);
}

void CFixture::StartManager(const std::string& extraConfig) {
    m_config.reset(new CConfig(
        TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_logServer.Port(), extraConfig)));
    ASSERT_TRUE(m_positionService.Start(*m_config));
    ASSERT_TRUE(m_nmeaService.Start(*m_config));
    m_positionService.SetNMEAService(&m_nmeaService);
    m_sockets.Add(&m_positionService);
    m_sockets.Add(&m_nmeaService);
    CPositionAPI::SetService(&m_positionService);
    CNMEAHandlerAPI::SetService(&m_nmeaService);

    m_tpvClient.reset(new NetTest::CClient(m_positionService.GetPort()));
    m_tpvReader.reset(new PositionTest::CReportReader(*m_tpvClient));
    ASSERT_EQ("VERSION", m_tpvReader->Next(m_sockets).value("class", ""));
    m_tpvClient->Send("?WATCH={\"enable\":true,\"json\":true};\n");
    std::vector<json> replies;
    ASSERT_TRUE(m_tpvReader->Read(m_sockets, 2, replies));
    ASSERT_EQ("WATCH", replies[1].value("class", ""));
    m_nmeaClient.reset(new NetTest::CClient(m_nmeaService.GetPort()));
    ASSERT_TRUE(NetTest::PumpUntil(m_sockets, [&] { return m_nmeaService.GetClientCount() > 0; }));

    m_manager.reset(new CPositionManager(*m_config));
}

void CFixture::Feed(const ByteVector& frame) {
    std::unique_ptr<CGPSRecord> record(CreateRecord(frame));
    ASSERT_NE(record, nullptr);
    m_manager->NewPacket(record.get());
}

json CFixture::FeedForTPV(const ByteVector& frame) {
    Feed(frame);
    // Other observers' reports (a status observer's SKY) may come first.
    for (int i = 0; i < 5; ++i) {
        json report = m_tpvReader->Next(m_sockets);
        if (report.value("class", "") == "TPV") return report;
        if (report.is_null()) break;
    }
    ADD_FAILURE() << "no TPV report came";
    return json();
}

std::vector<std::string> CFixture::NextGGA() {
    size_t start = std::string::npos;
    size_t end = std::string::npos;
    auto found = [&] {
        m_nmeaClient->Poll();
        start = m_nmeaClient->Received().find("$GPGGA", m_nmeaTaken);
        if (start == std::string::npos) return false;
        end = m_nmeaClient->Received().find("\r\n", start);
        return end != std::string::npos;
    };
    if (!NetTest::PumpUntil(m_sockets, found, 5.0)) {
        ADD_FAILURE() << "no GPGGA sentence came";
        return {};
    }
    const std::string sentence = m_nmeaClient->Received().substr(start, end - start);
    m_nmeaTaken = end + 2;
    return Core::Utilities::SplitString(sentence, ',');
}

json CFixture::SkyReport() {
    CPositionAPI(&m_positionService).SetSkyView({});
    for (int i = 0; i < 10; ++i) {
        json report = m_tpvReader->Next(m_sockets);
        if (report.value("class", "") == "SKY" || report.is_null()) return report;
    }
    return json();
}

std::vector<json> CFixture::Datagrams() {
    std::vector<json> mine;
    for (const json& datagram : m_logServer.Drain()) {
        if (datagram.value("client", "") == "NovatelPositionManager") mine.push_back(datagram);
    }
    return mine;
}

std::vector<std::string> CFixture::Values(const std::vector<json>& datagrams,
                                          const std::string& key) {
    std::vector<std::string> values;
    for (const json& datagram : datagrams) {
        if (datagram.value("type", "") == "value" && datagram.value("key", "") == key) {
            values.push_back(datagram.value("value", ""));
        }
    }
    return values;
}

std::vector<json> CFixture::OfType(const std::vector<json>& datagrams, const std::string& type) {
    std::vector<json> matching;
    for (const json& datagram : datagrams) {
        if (datagram.value("type", "") == type) matching.push_back(datagram);
    }
    return matching;
}

}  // namespace PositionManagerTest
