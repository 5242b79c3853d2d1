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
#include "tests/logs/LogsTestSupport.h"

using namespace Novatel;

namespace {

using namespace LogsTest;

const double kDegree = 0.017453292519943295;

typedef bool (CCartesianLog::*VectorAccessor)(double&, double&, double&) const;
const VectorAccessor kVectorAccessors[] = {
    &CCartesianLog::GetPosition, &CCartesianLog::GetPositionStdDev, &CCartesianLog::GetVelocity,
    &CCartesianLog::GetVelocityStdDev};

// Every body field of a BESTXYZA / PSRXYZA line against the decoded record.
void ExpectCartesianMatchesTwin(const CNovatelCartesianLog& log,
                                const std::vector<std::string>& f) {
    ASSERT_EQ(f.size(), 28u);
    EXPECT_EQ(log.GetSolutionStatus(), Enumeration(f[0]));
    EXPECT_EQ(log.GetPositionType(), Enumeration(f[1]));
    EXPECT_EQ(log.GetVelocitySolutionStatus(), Enumeration(f[8]));
    EXPECT_EQ(log.GetVelocityType(), Enumeration(f[9]));
    const size_t firstField[] = {2, 5, 10, 13};  // of each accessor's three numbers
    const CCartesianLog& solution = log;
    for (size_t v = 0; v < 4; ++v) {
        double xyz[3] = {0, 0, 0};
        ASSERT_TRUE((solution.*kVectorAccessors[v])(xyz[0], xyz[1], xyz[2]));
        for (size_t i = 0; i < 3; ++i) {
            ExpectPrinted(xyz[i], f[firstField[v] + i],
                          "field " + std::to_string(firstField[v] + i));
        }
    }
    EXPECT_EQ(log.GetBaseStationID().size(), 4u);
    EXPECT_EQ(std::string(log.GetBaseStationID().c_str()), f[16]);  // printed up to the first NUL
    ExpectPrinted(log.GetVelocityLatency(), f[17], "velocity latency");
    ExpectPrinted(log.GetDifferentialAge(), f[18], "differential age");
    ExpectPrinted(log.GetSolutionAge(), f[19], "solution age");
    EXPECT_EQ(log.GetSatellitesTracked(), Unsigned(f[20]));
    EXPECT_EQ(log.GetSatellitesUsed(), Unsigned(f[21]));
    EXPECT_EQ(log.GetL1SatellitesUsed(), Unsigned(f[22]));
    EXPECT_EQ(log.GetMultiFrequencySatellitesUsed(), Unsigned(f[23]));
    EXPECT_EQ(log.GetReservedByte108(), Unsigned(f[24]));
    EXPECT_EQ(log.GetExtendedSolutionStatus(), Hex(f[25]));
    EXPECT_EQ(log.GetReservedByte110(), Hex(f[26]));
    EXPECT_EQ(log.GetSignalMask(), Hex(f[27]));
}

// Decodes each frame of one log and checks it, header and body, against its twin line.
template <typename Record>
void ExpectEachMatchesTwin(const std::vector<ByteVector>& frames,
                           const std::vector<SAsciiLog>& twins,
                           void (*check)(const Record&, const SAsciiLog&)) {
    for (size_t i = 0; i < frames.size(); ++i) {
        SCOPED_TRACE(twins[i].name + " #" + std::to_string(i));
        const auto log = Decode<Record>(frames[i]);
        ASSERT_NE(log, nullptr);
        ExpectHeaderMatchesTwin(dynamic_cast<const CNovatelBinaryRecord&>(*log), twins[i]);
        check(*log, twins[i]);
    }
}

// The recordings and how many BESTXYZ, PSRXYZ and BESTPOS logs each twin holds.
struct SPositionCounts {
    const char* recording;
    size_t bestxyz, psrxyz, bestpos;
};

void PrintTo(const SPositionCounts& c, std::ostream* out) { *out << c.recording; }

class PositionTwin : public ::testing::TestWithParam<SPositionCounts> {};

TEST_P(PositionTwin, EveryFieldOfBestxyzPsrxyzAndBestposUndulationMatchesItsTwin) {
    const SPositionCounts& c = GetParam();
    QUILLOND_TWIN_PAIRS(bestxyz, STwinCase(c.recording, c.bestxyz), kBESTXYZMessageID, "BESTXYZA");
    QUILLOND_TWIN_PAIRS(psrxyz, STwinCase(c.recording, c.psrxyz), kPSRXYZMessageID, "PSRXYZA");
    QUILLOND_TWIN_PAIRS(bestpos, STwinCase(c.recording, c.bestpos), kBESTPOSMessageID, "BESTPOSA");
    ExpectEachMatchesTwin<CNovatelBESTXYZ>(bestxyzFrames, bestxyz,
                                           [](const CNovatelBESTXYZ& log, const SAsciiLog& twin) {
                                               ExpectCartesianMatchesTwin(log, twin.body);
                                           });
    ExpectEachMatchesTwin<CNovatelPSRXYZ>(psrxyzFrames, psrxyz,
                                          [](const CNovatelPSRXYZ& log, const SAsciiLog& twin) {
                                              ExpectCartesianMatchesTwin(log, twin.body);
                                          });
    // BESTPOS is decoded for its undulation only (body field 6 of the twin).
    ExpectEachMatchesTwin<CNovatelBESTPOS>(
        bestposFrames, bestpos, [](const CNovatelBESTPOS& log, const SAsciiLog& twin) {
            ASSERT_GT(twin.body.size(), 5u);
            ExpectPrinted(log.GetUndulation(), twin.body[5], "undulation");
        });
}

INSTANTIATE_TEST_SUITE_P(Recordings, PositionTwin,
                         ::testing::Values(SPositionCounts{"oemv3-OneEach.gps", 1, 1, 1},
                                           SPositionCounts{"oemv3-OnceEachAgain.gps", 1, 1, 1},
                                           SPositionCounts{"oemv3-ParsingData.gps", 0, 0, 84},
                                           SPositionCounts{"oemv3-ParsingData2.gps", 1, 0, 20},
                                           SPositionCounts{"oemv3-PropakWithGlonass.gps", 2, 1, 1},
                                           SPositionCounts{"oemv3-MorePropak.gps", 1, 0, 1}),
                         [](const ::testing::TestParamInfo<SPositionCounts>& info) {
                             return FramingTest::RecordingTestName(info.param.recording);
                         });

// --- Generated frames -------------------------------------------------------

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
    const RecordPtr record(CreateRecord(LogFrame(messageId, DistinctCartesianBody())));
    // Consumers tell the four apart by class: the record is its own log's and no other's.
    EXPECT_EQ(dynamic_cast<CNovatelBESTXYZB*>(record.get()) != nullptr, messageId == 241);
    EXPECT_EQ(dynamic_cast<CNovatelPSRXYZB*>(record.get()) != nullptr, messageId == 243);
    EXPECT_EQ(dynamic_cast<CNovatelRTKXYZB*>(record.get()) != nullptr, messageId == 244);
    EXPECT_EQ(dynamic_cast<CNovatelPDPXYZB*>(record.get()) != nullptr, messageId == 471);
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
    const double expected[4][3] = {{-2694685.473, -4293642.366, 3857878.924},
                                   {0.25, 0.5, 0.75},
                                   {0.125, -1.0625, 2.5},
                                   {0.0625, 0.1875, 0.3125}};
    for (size_t v = 0; v < 4; ++v) {
        double xyz[3] = {0, 0, 0};
        ASSERT_TRUE((log->*kVectorAccessors[v])(xyz[0], xyz[1], xyz[2])) << v;
        for (size_t i = 0; i < 3; ++i) EXPECT_EQ(xyz[i], expected[v][i]) << v << "," << i;
    }
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
    ByteVector frame = LogFrame(GetParam(), DistinctCartesianBody());
    frame.back() ^= 0x01;
    const RecordPtr record(CreateRecord(frame));
    const CCartesianLog* log = dynamic_cast<const CCartesianLog*>(record.get());
    ASSERT_NE(log, nullptr);
    for (VectorAccessor accessor : kVectorAccessors) {
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

ByteVector DistinctGeodeticBody() {
    return Tools::CBodyWriter()
        .U32(1)           // solution status
        .U32(64)          // position type (OmniSTAR HP)
        .F64(45.0)        // latitude: 45 degrees
        .F64(-120.0)      // longitude
        .F64(123.4567)    // height
        .F32(-29.25f)     // undulation
        .U32(61)          // datum
        .F32(0.125f)      // sigma latitude
        .F32(0.375f)      // sigma longitude
        .F32(0.625f)      // sigma height
        .Text("HP01", 4)  // base station ID
        .F32(6.5f)        // differential age
        .F32(0.5f)        // solution age
        .U8(15)           // satellites tracked
        .U8(9)            // satellites used
        .U8(8)            // L1 used
        .U8(7)            // multi-frequency used
        .U8(0xB4)         // reserved 68
        .U8(0x05)         // extended solution status
        .U8(0xB6)         // reserved 70
        .U8(0x13)         // signal mask
        .Bytes();
}

TEST(OmnihpposLog, DecodesEveryFieldWithLatitudeAndLongitudeInRadians) {
    const RecordPtr record(CreateRecord(LogFrame(kOMNIHPPOSMessageID, DistinctGeodeticBody())));
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

    // A failed checksum withholds position and deviations, not the rest.
    ByteVector damaged = LogFrame(kOMNIHPPOSMessageID, DistinctGeodeticBody());
    damaged[damaged.size() - 2] ^= 0x80;
    const auto bad = Decode<CGeodeticLog>(damaged);
    ASSERT_NE(bad, nullptr);
    lat = lon = height = 7;
    EXPECT_FALSE(bad->GetPosition(lat, lon, height));
    EXPECT_EQ(lat + lon + height, 0.0);
    lat = lon = height = 7;
    EXPECT_FALSE(bad->GetPositionStdDev(lat, lon, height));
    EXPECT_EQ(lat + lon + height, 0.0);
    EXPECT_EQ(bad->GetUndulation(), -29.25);
}

TEST(BestposLog, OffersOnlyTheUndulationAndIsNoGeodeticLog) {
    const RecordPtr record(CreateRecord(LogFrame(kBESTPOSMessageID, DistinctGeodeticBody())));
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
    const ByteVector body = geodetic ? DistinctGeodeticBody() : DistinctCartesianBody();
    const ByteVector full = LogFrame(messageId, body);
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
