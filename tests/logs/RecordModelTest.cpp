// The record model: the NMEA record's time and ID, the binary header as every
// binary record reads it (short and damaged frames included), the message
// body's bounds, and dynamic casts through the virtual bases of the tree.

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "Logs/NovatelOEMV/CartesianLog.h"
#include "Logs/NovatelOEMV/GeodeticLog.h"
#include "Logs/NovatelOEMV/LBandLog.h"
#include "Logs/NovatelOEMV/LogCast.h"
#include "Logs/NovatelOEMV/NMEARecord.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelLBANDSTATB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRXSTATUS.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelResponse.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "tests/framing/FramingTestSupport.h"
#include "tools/common/NovatelFrameBuilder.h"

using namespace FramingTest;
using Novatel::CNovatelBinaryRecord;
using Novatel::SBinaryHeader;

namespace {

double GpsSecondsSinceEpoch(const Core::Time& time) {
    unsigned week;
    double seconds;
    time.AsGPSTime(week, seconds);
    return week * 604800.0 + seconds;
}

// Every header field distinct and wider than a byte where the field is, so a
// field read from the wrong offset or in the wrong byte order shows.
Tools::SFrameHeader DistinctHeader() {
    Tools::SFrameHeader header;
    header.messageId = 0x1234;
    header.messageType = 0x02;
    header.portAddress = 0x41;
    header.sequence = 0x0506;
    header.idleTime = 0x37;
    header.timeStatus = 180;
    header.week = 2029;
    header.milliseconds = 345600500;
    header.receiverStatus = 0x81020304;
    header.softwareVersion = 0x0A0B;
    return header;
}

TEST(NMEARecord, ReportsNmeaIdAndItsArrivalTimeAsGpsTime) {
    const std::string text = NmeaSentence("GPZDA,201530.00,04,07,2002,00,00");
    const Core::Time before = Core::Time::Now();
    const CNMEARecord record(Bytes(text));
    const Core::Time after = Core::Time::Now();

    EXPECT_EQ(record.GetMessageID(), 65535);
    EXPECT_EQ(record.GetSentence(), text);
    unsigned week = 0;
    double seconds = -1;
    ASSERT_TRUE(record.GetGPSTime(week, seconds));
    EXPECT_GE(week * 604800.0 + seconds, GpsSecondsSinceEpoch(before));
    EXPECT_LE(week * 604800.0 + seconds, GpsSecondsSinceEpoch(after));
    // The Core::Time overload deliberately leaves its argument alone.
    Core::Time time = Core::Time::FromSeconds(42.0);
    record.GetTime(time);
    EXPECT_EQ(time, Core::Time::FromSeconds(42.0));
}

TEST(NovatelBinaryRecord, ReadsEveryHeaderFieldLittleEndian) {
    const ByteVector body = CountingBody(12);
    const ByteVector frame = Tools::BuildBinaryFrame(DistinctHeader(), body);
    const CNovatelBinaryRecord record(frame);
    const SBinaryHeader& header = record.GetHeader();

    EXPECT_EQ(header.m_headerLength, 28);
    EXPECT_EQ(header.m_messageType, 0x02);
    EXPECT_EQ(header.m_portAddress, 0x41);
    EXPECT_EQ(header.m_messageLength, 12);
    EXPECT_EQ(header.m_sequence, 0x0506);
    EXPECT_EQ(header.m_reserved, 0);
    EXPECT_EQ(header.m_softwareBuild, 0x0A0B);
    EXPECT_EQ(record.GetMessageID(), 0x1234);
    EXPECT_EQ(record.GetIdleTime(), 0x37);
    EXPECT_EQ(record.GetTimeStatus(), 180);
    EXPECT_EQ(record.GetWeek(), 2029);
    EXPECT_EQ(record.GetSeconds(), 345600.5);
    EXPECT_EQ(record.GetReceiverStatus(), 0x81020304u);
    EXPECT_EQ(record.GetSentenceData(), frame);
    EXPECT_EQ(record.GetMessageBody(), body);
}

TEST(NovatelBinaryRecord, GpsTimeIsFalseWhenCrcIsWrongButStillFilled) {
    const ByteVector intact = Tools::BuildBinaryFrame(DistinctHeader(), CountingBody(8));
    ByteVector damaged(intact.begin(), intact.end() - 1);
    damaged.push_back(static_cast<uint8_t>(intact.back() ^ 0x01));
    for (const ByteVector& frame : {intact, damaged}) {
        const CNovatelBinaryRecord record(frame);
        unsigned week = 0;
        double seconds = 0;
        EXPECT_EQ(record.GetGPSTime(week, seconds), frame == intact);
        EXPECT_EQ(week, 2029u);
        EXPECT_EQ(seconds, 345600.5);
    }
}

TEST(NovatelBinaryRecord, HeaderFieldsBeyondAShortFrameAreZero) {
    const ByteVector full = Tools::BuildBinaryFrame(DistinctHeader(), CountingBody(8));
    // 14 bytes end right after the time status; the week would be bytes 14 and 15.
    const CNovatelBinaryRecord cut(ByteVector(full.begin(), full.begin() + 14));
    EXPECT_EQ(cut.GetMessageID(), 0x1234);
    EXPECT_EQ(cut.GetHeader().m_messageLength, 8);
    EXPECT_EQ(cut.GetTimeStatus(), 180);
    EXPECT_EQ(cut.GetWeek(), 0);
    EXPECT_EQ(cut.GetSeconds(), 0.0);
    EXPECT_EQ(cut.GetReceiverStatus(), 0u);
    EXPECT_EQ(cut.GetHeader().m_softwareBuild, 0);
    EXPECT_TRUE(cut.GetMessageBody().empty());

    const CNovatelBinaryRecord empty{ByteVector()};
    EXPECT_EQ(empty.GetHeader().m_headerLength, 0);
    EXPECT_EQ(empty.GetMessageID(), 0);
    EXPECT_FALSE(empty.IsCrcValid());
}

// A frame whose header length and message length bytes say what the case says,
// whatever the frame really holds; the CRC is not recomputed.
ByteVector FrameClaiming(uint8_t headerLength, uint16_t messageLength, size_t bodySize) {
    ByteVector frame = Tools::BuildBinaryFrame(DistinctHeader(), CountingBody(bodySize));
    frame[3] = headerLength;
    frame[8] = static_cast<uint8_t>(messageLength);
    frame[9] = static_cast<uint8_t>(messageLength >> 8);
    return frame;
}

TEST(NovatelBinaryRecord, MessageBodyNeverReachesPastTheBodyOfTheFrame) {
    const struct {
        const char* name;
        ByteVector frame;
        ByteVector body;
    } cases[] = {
        {"length claims more than the frame", FrameClaiming(28, 1000, 12), CountingBody(12)},
        {"length claims less", FrameClaiming(28, 5, 12), CountingBody(5)},
        {"empty body", FrameClaiming(28, 0, 0), {}},
        {"header longer than the frame", FrameClaiming(200, 12, 12), {}},
        {"shorter header", FrameClaiming(24, 4, 12), {0, 0, 0x0B, 0x0A}},  // reserved, build
        {"no CRC", {0xAA, 0x44, 0x12, 28}, {}},
    };
    for (const auto& c : cases) {
        const CNovatelBinaryRecord record(c.frame);
        EXPECT_EQ(record.GetMessageBody(), c.body) << c.name;
        EXPECT_EQ(record.GetMessageBodySize(), c.body.size()) << c.name;
    }
}

// A record shaped like the receiver's logs: the binary layer joined with two of
// the interfaces that consumers cast to, all sharing one CGPSRecord part.
// Interfaces derive virtually from CGPSRecord: a log that is both a NovAtel
// record and an interface still holds exactly one CGPSRecord part.
static_assert(std::is_convertible<Novatel::CNovatelBESTXYZB*, CGPSRecord*>::value,
              "an interface must not add a second CGPSRecord part");
static_assert(std::is_convertible<Novatel::CNovatelLBANDSTATB*, CGPSRecord*>::value,
              "an interface must not add a second CGPSRecord part");

TEST(RecordTree, DynamicCastsReachEveryLayerThroughTheVirtualBases) {
    const ByteVector frame = Tools::BuildBinaryFrame(DistinctHeader(), CountingBody(4));

    std::unique_ptr<CGPSRecord> plain(new CNovatelBinaryRecord(frame));
    EXPECT_NE(dynamic_cast<Novatel::CNovatelRecord*>(plain.get()), nullptr);
    EXPECT_NE(dynamic_cast<CNovatelBinaryRecord*>(plain.get()), nullptr);
    EXPECT_EQ(dynamic_cast<CNMEARecord*>(plain.get()), nullptr);
    EXPECT_EQ(dynamic_cast<CCartesianLog*>(plain.get()), nullptr);
    EXPECT_EQ(dynamic_cast<Novatel::CNovatelResponse*>(plain.get()), nullptr);
    EXPECT_EQ(plain->GetMessageID(), 0x1234);

    std::unique_ptr<CGPSRecord> nmea(new CNMEARecord(Bytes("$GPZDA*00\r")));
    EXPECT_EQ(dynamic_cast<Novatel::CNovatelRecord*>(nmea.get()), nullptr);

    std::unique_ptr<CGPSRecord> cartesian(new Novatel::CNovatelBESTXYZB(frame));
    CCartesianLog* asCartesian = dynamic_cast<CCartesianLog*>(cartesian.get());
    ASSERT_NE(asCartesian, nullptr);
    EXPECT_EQ(dynamic_cast<CGeodeticLog*>(cartesian.get()), nullptr);
    EXPECT_EQ(dynamic_cast<CLBandLog*>(cartesian.get()), nullptr);
    EXPECT_NE(dynamic_cast<Novatel::CNovatelRecord*>(asCartesian), nullptr);
    EXPECT_EQ(static_cast<CGPSRecord*>(asCartesian), cartesian.get());
    EXPECT_EQ(asCartesian->GetMessageID(), 0x1234);

    std::unique_ptr<CGPSRecord> lband(new Novatel::CNovatelLBANDSTATB(frame));
    CLBandLog* asLBand = dynamic_cast<CLBandLog*>(lband.get());
    ASSERT_NE(asLBand, nullptr);
    EXPECT_EQ(dynamic_cast<CCartesianLog*>(asLBand), nullptr);
    EXPECT_EQ(static_cast<CGPSRecord*>(asLBand), lband.get());
}

// The observers tell records apart with AsNovatelRecord, AsResponse and
// LogCast; each must agree with the dynamic cast it stands for.
TEST(RecordTree, KindAccessorsAndLogCastAgreeWithDynamicCasts) {
    Tools::SFrameHeader header;
    header.messageId = Novatel::kRXSTATUSMessageID;
    const ByteVector body(8, 0);  // no status words
    std::unique_ptr<CGPSRecord> rxstatus(CreateRecord(Tools::BuildBinaryFrame(header, body)));
    header.messageType = Novatel::kResponseMessageBit;  // a response to a command with that ID
    std::unique_ptr<CGPSRecord> response(
        CreateRecord(Tools::BuildBinaryFrame(header, Tools::CBodyWriter().U32(1).Bytes())));
    std::unique_ptr<CGPSRecord> nmea(new CNMEARecord(Bytes("$GPZDA*00\r")));

    for (CGPSRecord* record : {rxstatus.get(), response.get(), nmea.get()}) {
        EXPECT_EQ(record->AsNovatelRecord(), dynamic_cast<Novatel::CNovatelRecord*>(record));
        if (Novatel::CNovatelRecord* novatel = record->AsNovatelRecord()) {
            EXPECT_EQ(novatel->AsResponse(), dynamic_cast<Novatel::CNovatelResponse*>(record));
        }
    }
    EXPECT_NE(response->AsNovatelRecord()->AsResponse(), nullptr);

    using Novatel::LogCast;
    EXPECT_NE((LogCast<Novatel::CNovatelRXSTATUS>(rxstatus.get(), Novatel::kRXSTATUSMessageID)),
              nullptr);
    EXPECT_EQ((LogCast<Novatel::CNovatelRXSTATUS>(rxstatus.get(), Novatel::kVERSIONMessageID)),
              nullptr);
    EXPECT_EQ((LogCast<Novatel::CNovatelRXSTATUS>(response.get(), Novatel::kRXSTATUSMessageID)),
              nullptr)
        << "a response carries the ID of the command it answers but is not that log";
    EXPECT_EQ((LogCast<Novatel::CNovatelRXSTATUS, CGPSRecord>(nullptr, 93)), nullptr);
}

}  // namespace
