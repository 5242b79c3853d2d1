// The position logs: the Cartesian logs (BESTXYZ, PSRXYZ, RTKXYZ, PDPXYZ),
// OMNIHPPOS and BESTPOS against the receiver's own ASCII rendering of real
// recordings and against generated frames whose every field differs, so a
// field read from the wrong offset, in the wrong width or with the wrong unit
// shows; the checksum rule of the solution accessors; short and hostile frames.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Logs/NovatelOEMV/CartesianLog.h"
#include "Logs/NovatelOEMV/GeodeticLog.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTPOSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelOMNIHPPOSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKXYZB.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "tests/logs/AsciiTwin.h"

using namespace Novatel;

namespace {

typedef std::unique_ptr<CGPSRecord> RecordPtr;

const double kDegree = 0.017453292519943295;

// The receiver's enumerations as its ASCII logs spell them.
unsigned EnumValue(const std::string& name) {
    static const std::map<std::string, unsigned> values = {
        {"SOL_COMPUTED", 0},  {"INSUFFICIENT_OBS", 1}, {"NONE", 0},  {"DOPPLER_VELOCITY", 8},
        {"SINGLE", 16},       {"PSRDIFF", 17},         {"WAAS", 18}, {"PROPAGATED", 19},
        {"FINESTEERING", 180}};
    const auto found = values.find(name);
    EXPECT_NE(found, values.end()) << "enumeration " << name;
    return found == values.end() ? 0xFFFFFFFF : found->second;
}

double Number(const std::string& text) { return std::stod(text); }
unsigned Decimal(const std::string& text) { return static_cast<unsigned>(std::stoul(text)); }
unsigned Hexadecimal(const std::string& text) {
    return static_cast<unsigned>(std::stoul(text, nullptr, 16));
}

// Half a unit of the last printed digit, and a little for the binary value.
double PrintedTolerance(const std::string& text) {
    const std::string::size_type point = text.find('.');
    const int decimals = point == std::string::npos ? 0 : int(text.size() - point - 1);
    return 0.5 * std::pow(10.0, -decimals) * 1.0001;
}

#define EXPECT_PRINTED(actual, text) EXPECT_NEAR((actual), Number(text), PrintedTolerance(text))

// The header fields the twin prints: port, sequence, idle %, time status,
// week, seconds, receiver status, reserved, software build.
void ExpectHeaderMatchesTwin(const CNovatelBinaryRecord& record, const LogsTest::SAsciiLog& twin) {
    const SBinaryHeader& header = record.GetHeader();
    EXPECT_EQ(header.m_sequence, Decimal(twin.header[1]));
    EXPECT_NEAR(header.m_idleTime / 2.0, Number(twin.header[2]), 0.5);
    EXPECT_EQ(unsigned(header.m_timeStatus), EnumValue(twin.header[3]));
    unsigned week = 0;
    double seconds = 0;
    EXPECT_TRUE(record.GetGPSTime(week, seconds));
    EXPECT_EQ(week, Decimal(twin.header[4]));
    EXPECT_PRINTED(seconds, twin.header[5]);
    EXPECT_EQ(record.GetReceiverStatus(), Hexadecimal(twin.header[6]));
    EXPECT_EQ(header.m_softwareBuild, Decimal(twin.header[8]));
}

// A base station ID as the twin prints it: up to the first NUL.
std::string StationText(const std::string& id) { return std::string(id.c_str()); }

// Every body field of a BESTXYZA / PSRXYZA line against the decoded record.
void ExpectCartesianMatchesTwin(const CNovatelCartesianLog& log,
                                const std::vector<std::string>& f) {
    ASSERT_EQ(f.size(), 28u);
    EXPECT_EQ(log.GetSolutionStatus(), EnumValue(f[0]));
    EXPECT_EQ(log.GetPositionType(), EnumValue(f[1]));
    double a = 0, b = 0, c = 0;
    ASSERT_TRUE(log.GetPosition(a, b, c));
    EXPECT_PRINTED(a, f[2]);
    EXPECT_PRINTED(b, f[3]);
    EXPECT_PRINTED(c, f[4]);
    ASSERT_TRUE(log.GetPositionStdDev(a, b, c));
    EXPECT_PRINTED(a, f[5]);
    EXPECT_PRINTED(b, f[6]);
    EXPECT_PRINTED(c, f[7]);
    EXPECT_EQ(log.GetVelocitySolutionStatus(), EnumValue(f[8]));
    EXPECT_EQ(log.GetVelocityType(), EnumValue(f[9]));
    ASSERT_TRUE(log.GetVelocity(a, b, c));
    EXPECT_PRINTED(a, f[10]);
    EXPECT_PRINTED(b, f[11]);
    EXPECT_PRINTED(c, f[12]);
    ASSERT_TRUE(log.GetVelocityStdDev(a, b, c));
    EXPECT_PRINTED(a, f[13]);
    EXPECT_PRINTED(b, f[14]);
    EXPECT_PRINTED(c, f[15]);
    EXPECT_EQ(log.GetBaseStationID().size(), 4u);
    EXPECT_EQ(StationText(log.GetBaseStationID()), f[16]);
    EXPECT_PRINTED(log.GetVelocityLatency(), f[17]);
    EXPECT_PRINTED(log.GetDifferentialAge(), f[18]);
    EXPECT_PRINTED(log.GetSolutionAge(), f[19]);
    EXPECT_EQ(log.GetSatellitesTracked(), Decimal(f[20]));
    EXPECT_EQ(log.GetSatellitesUsed(), Decimal(f[21]));
    EXPECT_EQ(log.GetL1SatellitesUsed(), Decimal(f[22]));
    EXPECT_EQ(log.GetMultiFrequencySatellitesUsed(), Decimal(f[23]));
    EXPECT_EQ(log.GetReservedByte108(), Decimal(f[24]));
    EXPECT_EQ(log.GetExtendedSolutionStatus(), Hexadecimal(f[25]));
    EXPECT_EQ(log.GetReservedByte110(), Hexadecimal(f[26]));
    EXPECT_EQ(log.GetSignalMask(), Hexadecimal(f[27]));
}

// One recording and the position logs its twin holds.
struct STwinCase {
    const char* recording;  // the binary recording; its twin has the same name ending ".asc"
    size_t bestxyz;
    size_t psrxyz;
    size_t bestpos;
};

void PrintTo(const STwinCase& c, std::ostream* out) { *out << c.recording; }

class PositionLogsTwin : public ::testing::TestWithParam<STwinCase> {
protected:
    // The decoded records of one log ID, paired in order with the twin's lines,
    // after checking the counts and that each pair has the same time.
    template <typename Record>
    void ForEachPair(unsigned messageId, const char* twinName, size_t expected,
                     void (*check)(const Record&, const LogsTest::SAsciiLog&)) {
        const STwinCase& c = GetParam();
        QUILLOND_REQUIRE_CAPTURE(binaryPath, c.recording);
        std::string twinFile = c.recording;
        twinFile.replace(twinFile.size() - 4, 4, ".asc");
        QUILLOND_REQUIRE_CAPTURE(twinPath, twinFile);
        const std::vector<ByteVector> frames =
            LogsTest::FramesWithId(LogsTest::BinaryFramesOf(binaryPath), messageId);
        const std::vector<LogsTest::SAsciiLog> twins =
            LogsTest::LogsNamed(LogsTest::ReadAsciiTwin(twinPath), twinName);
        ASSERT_EQ(frames.size(), expected);
        ASSERT_EQ(twins.size(), expected);
        for (size_t i = 0; i < frames.size(); ++i) {
            SCOPED_TRACE(std::string(twinName) + " #" + std::to_string(i));
            const RecordPtr record(CreateRecord(frames[i]));
            const Record* log = dynamic_cast<const Record*>(record.get());
            ASSERT_NE(log, nullptr);
            ExpectHeaderMatchesTwin(dynamic_cast<const CNovatelBinaryRecord&>(*record), twins[i]);
            check(*log, twins[i]);
        }
    }
};

TEST_P(PositionLogsTwin, BestxyzMatchesEveryFieldOfItsTwin) {
    ForEachPair<CNovatelBESTXYZ>(kBESTXYZMessageID, "BESTXYZA", GetParam().bestxyz,
                                 [](const CNovatelBESTXYZ& log, const LogsTest::SAsciiLog& twin) {
                                     ExpectCartesianMatchesTwin(log, twin.body);
                                 });
}

TEST_P(PositionLogsTwin, PsrxyzMatchesEveryFieldOfItsTwin) {
    ForEachPair<CNovatelPSRXYZ>(kPSRXYZMessageID, "PSRXYZA", GetParam().psrxyz,
                                [](const CNovatelPSRXYZ& log, const LogsTest::SAsciiLog& twin) {
                                    ExpectCartesianMatchesTwin(log, twin.body);
                                });
}

// BESTPOS is decoded for its undulation only (body field 6 of the twin).
TEST_P(PositionLogsTwin, BestposUndulationMatchesItsTwin) {
    ForEachPair<CNovatelBESTPOS>(kBESTPOSMessageID, "BESTPOSA", GetParam().bestpos,
                                 [](const CNovatelBESTPOS& log, const LogsTest::SAsciiLog& twin) {
                                     ASSERT_GT(twin.body.size(), 5u);
                                     EXPECT_PRINTED(log.GetUndulation(), twin.body[5]);
                                 });
}

INSTANTIATE_TEST_SUITE_P(Recordings, PositionLogsTwin,
                         ::testing::Values(STwinCase{"oemv3-OneEach.gps", 1, 1, 1},
                                           STwinCase{"oemv3-OnceEachAgain.gps", 1, 1, 1},
                                           STwinCase{"oemv3-ParsingData.gps", 0, 0, 84},
                                           STwinCase{"oemv3-ParsingData2.gps", 1, 0, 20},
                                           STwinCase{"oemv3-PropakWithGlonass.gps", 2, 1, 1},
                                           STwinCase{"oemv3-MorePropak.gps", 1, 0, 1}),
                         [](const ::testing::TestParamInfo<STwinCase>& info) {
                             std::string name = info.param.recording;
                             for (char& ch : name) {
                                 if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
                             }
                             return name;
                         });

// --- Generated frames -------------------------------------------------------

Tools::SFrameHeader HeaderFor(uint16_t messageId) {
    Tools::SFrameHeader header;
    header.messageId = messageId;
    header.week = 2029;
    header.milliseconds = 345600500;
    return header;
}

// A Cartesian body whose every field has its own value; fractions that a
// single holds exactly so the standard deviations compare exactly.
ByteVector DistinctCartesianBody() {
    return Tools::CBodyWriter()
        .U32(2)             // solution status
        .U32(50)            // position type
        .F64(-2694685.473)  // X
        .F64(-4293642.366)  // Y
        .F64(3857878.924)   // Z
        .F32(0.25f)         // sigma X
        .F32(0.5f)          // sigma Y
        .F32(0.75f)         // sigma Z
        .U32(3)             // velocity solution status
        .U32(8)             // velocity type
        .F64(0.125)         // velocity X
        .F64(-1.0625)       // velocity Y
        .F64(2.5)           // velocity Z
        .F32(0.0625f)       // sigma velocity X
        .F32(0.1875f)       // sigma velocity Y
        .F32(0.3125f)       // sigma velocity Z
        .Text("AB12", 4)    // base station ID
        .F32(0.15f)         // velocity latency
        .F32(4.5f)          // differential age
        .F32(1.25f)         // solution age
        .U8(14)             // satellites tracked
        .U8(12)             // satellites used
        .U8(11)             // L1 used
        .U8(10)             // multi-frequency used
        .U8(0xA8)           // reserved 108
        .U8(0x06)           // extended solution status
        .U8(0xA9)           // reserved 110
        .U8(0x33)           // signal mask
        .Bytes();
}

class CartesianLogFrames : public ::testing::TestWithParam<uint16_t> {};

TEST_P(CartesianLogFrames, FactoryMakesItsClassWithEveryFieldAtItsOffset) {
    const uint16_t messageId = GetParam();
    const RecordPtr record(
        CreateRecord(Tools::BuildBinaryFrame(HeaderFor(messageId), DistinctCartesianBody())));
    switch (messageId) {
        case kBESTXYZMessageID:
            EXPECT_NE(dynamic_cast<CNovatelBESTXYZB*>(record.get()), nullptr);
            break;
        case kPSRXYZMessageID:
            EXPECT_NE(dynamic_cast<CNovatelPSRXYZB*>(record.get()), nullptr);
            break;
        case kRTKXYZMessageID:
            EXPECT_NE(dynamic_cast<CNovatelRTKXYZB*>(record.get()), nullptr);
            break;
        case kPDPXYZMessageID:
            EXPECT_NE(dynamic_cast<CNovatelPDPXYZB*>(record.get()), nullptr);
            break;
    }
    EXPECT_EQ(dynamic_cast<CGeodeticLog*>(record.get()), nullptr);
    // Consumers read the solution through the interface alone.
    const CCartesianLog* log = dynamic_cast<const CCartesianLog*>(record.get());
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(log->GetMessageID(), messageId);
    EXPECT_EQ(log->GetSolutionStatus(), 2u);
    EXPECT_EQ(log->GetPositionType(), 50u);
    EXPECT_EQ(log->GetVelocitySolutionStatus(), 3u);
    EXPECT_EQ(log->GetVelocityType(), 8u);
    EXPECT_EQ(log->GetSatellitesTracked(), 14u);
    EXPECT_EQ(log->GetSatellitesUsed(), 12u);
    double a = 0, b = 0, c = 0;
    ASSERT_TRUE(log->GetPosition(a, b, c));
    EXPECT_EQ(a, -2694685.473);
    EXPECT_EQ(b, -4293642.366);
    EXPECT_EQ(c, 3857878.924);
    ASSERT_TRUE(log->GetPositionStdDev(a, b, c));
    EXPECT_EQ(a, 0.25);
    EXPECT_EQ(b, 0.5);
    EXPECT_EQ(c, 0.75);
    ASSERT_TRUE(log->GetVelocity(a, b, c));
    EXPECT_EQ(a, 0.125);
    EXPECT_EQ(b, -1.0625);
    EXPECT_EQ(c, 2.5);
    ASSERT_TRUE(log->GetVelocityStdDev(a, b, c));
    EXPECT_EQ(a, 0.0625);
    EXPECT_EQ(b, 0.1875);
    EXPECT_EQ(c, 0.3125);
    // The receiver counts all systems together.
    EXPECT_EQ(log->GetGLONASSSatellitesUsed(), 0u);
    EXPECT_EQ(log->GetGLONASSSatellitesTracked(), 0u);
    EXPECT_EQ(log->GetSBASSatellitesUsed(), 0u);
    EXPECT_EQ(log->GetSBASSatellitesTracked(), 0u);

    const CNovatelCartesianLog& novatel = dynamic_cast<const CNovatelCartesianLog&>(*log);
    EXPECT_EQ(novatel.GetBaseStationID(), "AB12");
    EXPECT_EQ(novatel.GetVelocityLatency(), double(0.15f));
    EXPECT_EQ(novatel.GetDifferentialAge(), 4.5);
    EXPECT_EQ(novatel.GetSolutionAge(), 1.25);
    EXPECT_EQ(novatel.GetL1SatellitesUsed(), 11u);
    EXPECT_EQ(novatel.GetMultiFrequencySatellitesUsed(), 10u);
    EXPECT_EQ(novatel.GetReservedByte108(), 0xA8u);
    EXPECT_EQ(novatel.GetExtendedSolutionStatus(), 0x06u);
    EXPECT_EQ(novatel.GetReservedByte110(), 0xA9u);
    EXPECT_EQ(novatel.GetSignalMask(), 0x33u);
}

// A message that failed its checksum keeps its numbers, but its solution is
// not handed out: all four vector accessors answer false and zeros.
TEST_P(CartesianLogFrames, WrongCrcWithholdsTheSolutionButKeepsTheNumbers) {
    ByteVector frame = Tools::BuildBinaryFrame(HeaderFor(GetParam()), DistinctCartesianBody());
    frame.back() ^= 0x01;
    const RecordPtr record(CreateRecord(frame));
    const CCartesianLog* log = dynamic_cast<const CCartesianLog*>(record.get());
    ASSERT_NE(log, nullptr);
    typedef bool (CCartesianLog::*VectorAccessor)(double&, double&, double&) const;
    for (VectorAccessor accessor :
         {&CCartesianLog::GetPosition, &CCartesianLog::GetPositionStdDev,
          &CCartesianLog::GetVelocity, &CCartesianLog::GetVelocityStdDev}) {
        double a = 7, b = 7, c = 7;
        EXPECT_FALSE((log->*accessor)(a, b, c));
        EXPECT_EQ(a, 0.0);
        EXPECT_EQ(b, 0.0);
        EXPECT_EQ(c, 0.0);
    }
    EXPECT_EQ(log->GetPositionType(), 50u);
    EXPECT_EQ(log->GetSatellitesUsed(), 12u);
}

INSTANTIATE_TEST_SUITE_P(AllFour, CartesianLogFrames,
                         ::testing::Values(kBESTXYZMessageID, kPSRXYZMessageID, kRTKXYZMessageID,
                                           kPDPXYZMessageID),
                         [](const ::testing::TestParamInfo<uint16_t>& info) {
                             return "Id" + std::to_string(info.param);
                         });

// Consumers tell the four Cartesian logs apart by class: no record answers to
// another log's class.
TEST(CartesianLogs, EachRecordIsOnlyItsOwnLog) {
    const ByteVector body = DistinctCartesianBody();
    const RecordPtr best(CreateRecord(Tools::BuildBinaryFrame(HeaderFor(241), body)));
    const RecordPtr psr(CreateRecord(Tools::BuildBinaryFrame(HeaderFor(243), body)));
    const RecordPtr rtk(CreateRecord(Tools::BuildBinaryFrame(HeaderFor(244), body)));
    const RecordPtr pdp(CreateRecord(Tools::BuildBinaryFrame(HeaderFor(471), body)));
    const std::vector<CGPSRecord*> records = {best.get(), psr.get(), rtk.get(), pdp.get()};
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(dynamic_cast<CNovatelBESTXYZ*>(records[i]) != nullptr, i == 0) << i;
        EXPECT_EQ(dynamic_cast<CNovatelPSRXYZ*>(records[i]) != nullptr, i == 1) << i;
        EXPECT_EQ(dynamic_cast<CNovatelRTKXYZ*>(records[i]) != nullptr, i == 2) << i;
        EXPECT_EQ(dynamic_cast<CNovatelPDPXYZ*>(records[i]) != nullptr, i == 3) << i;
    }
}

ByteVector DistinctGeodeticBody(double latitudeDegrees) {
    return Tools::CBodyWriter()
        .U32(1)                // solution status
        .U32(64)               // position type (OmniSTAR HP)
        .F64(latitudeDegrees)  // latitude
        .F64(-120.0)           // longitude
        .F64(123.4567)         // height
        .F32(-29.25f)          // undulation
        .U32(61)               // datum
        .F32(0.125f)           // sigma latitude
        .F32(0.375f)           // sigma longitude
        .F32(0.625f)           // sigma height
        .Text("HP01", 4)       // base station ID
        .F32(6.5f)             // differential age
        .F32(0.5f)             // solution age
        .U8(15)                // satellites tracked
        .U8(9)                 // satellites used
        .U8(8)                 // L1 used
        .U8(7)                 // multi-frequency used
        .U8(0xB4)              // reserved 68
        .U8(0x05)              // extended solution status
        .U8(0xB6)              // reserved 70
        .U8(0x13)              // signal mask
        .Bytes();
}

TEST(OmnihpposLog, DecodesEveryFieldWithLatitudeAndLongitudeInRadians) {
    const RecordPtr record(CreateRecord(
        Tools::BuildBinaryFrame(HeaderFor(kOMNIHPPOSMessageID), DistinctGeodeticBody(45.0))));
    EXPECT_NE(dynamic_cast<CNovatelOMNIHPPOSB*>(record.get()), nullptr);
    EXPECT_EQ(dynamic_cast<CCartesianLog*>(record.get()), nullptr);
    const CGeodeticLog* log = dynamic_cast<const CGeodeticLog*>(record.get());
    ASSERT_NE(log, nullptr);
    double lat = 0, lon = 0, height = 0;
    ASSERT_TRUE(log->GetPosition(lat, lon, height));
    EXPECT_EQ(lat, 0.7853981633974483);
    EXPECT_EQ(lon, -120.0 * kDegree);
    EXPECT_EQ(height, 123.4567);
    ASSERT_TRUE(log->GetPositionStdDev(lat, lon, height));
    // Standard deviations are metres, not angles: no conversion.
    EXPECT_EQ(lat, 0.125);
    EXPECT_EQ(lon, 0.375);
    EXPECT_EQ(height, 0.625);
    EXPECT_EQ(log->GetUndulation(), -29.25);
    EXPECT_EQ(log->GetDifferentialAge(), 6.5);
    EXPECT_EQ(log->GetSolutionAge(), 0.5);
    EXPECT_EQ(log->GetPositionType(), 64u);
    EXPECT_EQ(log->GetSolutionStatus(), 1u);
    EXPECT_EQ(log->GetSatellitesUsed(), 9u);

    const CNovatelGeodeticLog& novatel = dynamic_cast<const CNovatelGeodeticLog&>(*log);
    EXPECT_EQ(novatel.GetDatumID(), 61u);
    EXPECT_EQ(novatel.GetBaseStationID(), "HP01");
    EXPECT_EQ(novatel.GetSatellitesTracked(), 15u);
    EXPECT_EQ(novatel.GetL1SatellitesUsed(), 8u);
    EXPECT_EQ(novatel.GetMultiFrequencySatellitesUsed(), 7u);
    EXPECT_EQ(novatel.GetReservedByte68(), 0xB4u);
    EXPECT_EQ(novatel.GetExtendedSolutionStatus(), 0x05u);
    EXPECT_EQ(novatel.GetReservedByte70(), 0xB6u);
    EXPECT_EQ(novatel.GetSignalMask(), 0x13u);
}

TEST(OmnihpposLog, WrongCrcWithholdsPositionAndDeviations) {
    ByteVector frame =
        Tools::BuildBinaryFrame(HeaderFor(kOMNIHPPOSMessageID), DistinctGeodeticBody(45.0));
    frame[frame.size() - 2] ^= 0x80;
    const RecordPtr record(CreateRecord(frame));
    const CGeodeticLog* log = dynamic_cast<const CGeodeticLog*>(record.get());
    ASSERT_NE(log, nullptr);
    double a = 7, b = 7, c = 7;
    EXPECT_FALSE(log->GetPosition(a, b, c));
    EXPECT_EQ(a + b + c, 0.0);
    a = b = c = 7;
    EXPECT_FALSE(log->GetPositionStdDev(a, b, c));
    EXPECT_EQ(a + b + c, 0.0);
    EXPECT_EQ(log->GetUndulation(), -29.25);
}

TEST(BestposLog, OffersOnlyTheUndulationAndIsNoGeodeticLog) {
    const RecordPtr record(CreateRecord(
        Tools::BuildBinaryFrame(HeaderFor(kBESTPOSMessageID), DistinctGeodeticBody(45.0))));
    const CNovatelBESTPOS* bestpos = dynamic_cast<const CNovatelBESTPOS*>(record.get());
    ASSERT_NE(bestpos, nullptr);
    EXPECT_NE(dynamic_cast<const CNovatelBESTPOSB*>(record.get()), nullptr);
    EXPECT_EQ(bestpos->GetUndulation(), -29.25);
    EXPECT_EQ(dynamic_cast<const CGeodeticLog*>(record.get()), nullptr);
    EXPECT_EQ(dynamic_cast<const CCartesianLog*>(record.get()), nullptr);
}

// --- Short and hostile frames ----------------------------------------------

// The full frame cut at every length, and one whose header length points past
// its end: each field the cut frame no longer holds reads 0, nothing is read
// outside the frame (the logs group runs under AddressSanitizer).
class PositionLogTruncation : public ::testing::TestWithParam<uint16_t> {};

TEST_P(PositionLogTruncation, CutFrameYieldsZerosBeyondItsEndAndNeverReadsPastIt) {
    const uint16_t messageId = GetParam();
    const bool geodetic = messageId == kOMNIHPPOSMessageID || messageId == kBESTPOSMessageID;
    const ByteVector body = geodetic ? DistinctGeodeticBody(45.0) : DistinctCartesianBody();
    const ByteVector full = Tools::BuildBinaryFrame(HeaderFor(messageId), body);
    // From one byte: the factory reads the first byte unchecked, as framers never
    // deliver an empty sentence.
    for (size_t length = 1; length <= full.size(); ++length) {
        const ByteVector cut(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(length));
        const RecordPtr record(CreateRecord(cut));
        ASSERT_NE(record, nullptr) << length;
        // Once the message ID is in, the record is the log's own class.
        const bool hasMessageId = length >= 6;
        EXPECT_EQ(dynamic_cast<CNovatelBinaryRecord*>(record.get())->GetMessageID() == messageId,
                  hasMessageId)
            << length;
        if (const CNovatelCartesianLog* log =
                dynamic_cast<const CNovatelCartesianLog*>(record.get())) {
            // The last byte of the body is the signal mask; the satellites
            // tracked are 8 bytes before it.
            EXPECT_EQ(log->GetSignalMask(), length >= 28 + 112 ? 0x33u : 0u) << length;
            EXPECT_EQ(log->GetSatellitesTracked(), length >= 28 + 105 ? 14u : 0u) << length;
            EXPECT_EQ(log->GetBaseStationID(), length >= 28 + 92 ? "AB12" : "") << length;
            EXPECT_EQ(log->GetSolutionStatus(), length >= 28 + 4 ? 2u : 0u) << length;
        }
        if (const CNovatelGeodeticLog* log =
                dynamic_cast<const CNovatelGeodeticLog*>(record.get())) {
            EXPECT_EQ(log->GetSignalMask(), length >= 28 + 72 ? 0x13u : 0u) << length;
            EXPECT_EQ(log->GetBaseStationID(), length >= 28 + 56 ? "HP01" : "") << length;
        }
        if (const CNovatelBESTPOS* log = dynamic_cast<const CNovatelBESTPOS*>(record.get())) {
            EXPECT_EQ(log->GetUndulation(), length >= 28 + 36 ? -29.25 : 0.0) << length;
        }
    }
    ByteVector farBody = full;
    farBody[3] = 0xFF;  // header length: the body would start past the frame's end
    const RecordPtr record(CreateRecord(farBody));
    ASSERT_NE(record, nullptr);
    if (const CCartesianLog* log = dynamic_cast<const CCartesianLog*>(record.get())) {
        EXPECT_EQ(log->GetSatellitesTracked(), 0u);
        EXPECT_EQ(log->GetPositionType(), 0u);
    }
}

INSTANTIATE_TEST_SUITE_P(PositionLogs, PositionLogTruncation,
                         ::testing::Values(kBESTXYZMessageID, kPSRXYZMessageID, kRTKXYZMessageID,
                                           kPDPXYZMessageID, kOMNIHPPOSMessageID,
                                           kBESTPOSMessageID),
                         [](const ::testing::TestParamInfo<uint16_t>& info) {
                             return "Id" + std::to_string(info.param);
                         });

}  // namespace
