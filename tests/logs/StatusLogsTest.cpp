// RXSTATUS, PSRDOP, TIME, PDPSTAT and REFSTATION: decoding from built frames
// and real recordings, PSRDOP's integer reading of its values, and the length
// rules that end the process (exit status 1 for RXSTATUS, an assertion for
// PSRDOP).

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSTATB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRDOPB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelREFSTATIONB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRXSTATUSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelTIMEB.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "tests/logs/MeasurementLogsTestSupport.h"

using namespace MeasurementLogsTest;
using Novatel::CNovatelPDPSTATB;
using Novatel::CNovatelPSRDOPB;
using Novatel::CNovatelREFSTATIONB;
using Novatel::CNovatelRXSTATUS;
using Novatel::CNovatelRXSTATUSB;
using Novatel::CNovatelTIMEB;

namespace {

// ---- RXSTATUS

ByteVector RxstatusBody(uint32_t errorWord, uint32_t count, uint32_t groups) {
    Tools::CBodyWriter body;
    body.U32(errorWord).U32(count);
    for (uint32_t i = 0; i < groups; ++i) {
        body.U32(0x87 + i).U32(0x08 + i).U32(0x289 + i).U32(0x6FF + i);
    }
    return body.Bytes();
}

TEST(RxstatusLog, DecodesEveryFieldFromWhereTheHeaderLengthPutsTheBody) {
    const CNovatelRXSTATUSB record(
        LogFrameWithHeaderLength(Novatel::kRXSTATUSMessageID, 32, RxstatusBody(0x80000001, 2, 2)));
    EXPECT_EQ(record.GetErrorWord(), 0x80000001u);
    EXPECT_EQ(record.GetNumberOfStatusGroups(), 2u);
    ASSERT_EQ(record.GetStatusGroups().size(), 2u);
    const CNovatelRXSTATUS::SStatusGroup& second = record.GetStatusGroups()[1];
    EXPECT_EQ(second.m_status, 0x88u);
    EXPECT_EQ(second.m_priorityMask, 0x09u);
    EXPECT_EQ(second.m_eventSetMask, 0x28Au);
    EXPECT_EQ(second.m_eventClearMask, 0x700u);
    // The receiver status word is the first group's.
    EXPECT_EQ(record.GetStatusWord(), 0x87u);
}

TEST(RxstatusLog, LogWithoutGroupsHasStatusWordZero) {
    const CNovatelRXSTATUSB record(LogFrame(Novatel::kRXSTATUSMessageID, RxstatusBody(4, 0, 0)));
    EXPECT_EQ(record.GetErrorWord(), 4u);
    EXPECT_TRUE(record.GetStatusGroups().empty());
    EXPECT_EQ(record.GetStatusWord(), 0u);
}

struct SExitCase {
    const char* name;
    ByteVector frame;
    const char* printed;
};

void PrintTo(const SExitCase& c, std::ostream* out) { *out << c.name; }

class RxstatusLengthRule : public ::testing::TestWithParam<SExitCase> {};

TEST_P(RxstatusLengthRule, PrintsFoundAndExpectedSizesThenExitsWithStatusOne) {
    EXPECT_EXIT(
        {
            StandardOutputToStandardError();
            CNovatelRXSTATUSB record(GetParam().frame);
        },
        ::testing::ExitedWithCode(1), ::testing::ContainsRegex(Literal(GetParam().printed)));
}

INSTANTIATE_TEST_SUITE_P(
    Frames, RxstatusLengthRule,
    ::testing::Values(
        SExitCase{"OneByteTooLong",
                  Resized(LogFrame(Novatel::kRXSTATUSMessageID, RxstatusBody(0, 4, 4)), 1),
                  "CNovatelRXSTATUSB sentenceData.size() is 105 but expected (28 + 8 + (4 * 16) + "
                  "4)\n"},
        SExitCase{"GroupMissing", LogFrame(Novatel::kRXSTATUSMessageID, RxstatusBody(0, 4, 3)),
                  "CNovatelRXSTATUSB sentenceData.size() is 88 but expected (28 + 8 + (4 * 16) + "
                  "4)\n"},
        SExitCase{"HostileCount",
                  LogFrame(Novatel::kRXSTATUSMessageID, RxstatusBody(0, 0xFFFFFFFF, 1)),
                  "CNovatelRXSTATUSB sentenceData.size() is 56 but expected (28 + 8 + (-1 * 16) + "
                  "4)\n"}),
    [](const ::testing::TestParamInfo<SExitCase>& info) { return info.param.name; });

TEST(RxstatusLog, MatchesTheReceiversAsciiLog) {
    QUILLOND_REQUIRE_CAPTURE(recording, "oemv3-OneEach.gps");
    QUILLOND_REQUIRE_CAPTURE(twin, "oemv3-OneEach.asc");
    const auto pairs = TwinPairs(recording, twin, Novatel::kRXSTATUSMessageID, "RXSTATUSA");
    ASSERT_EQ(pairs.size(), 1u);
    const CNovatelRXSTATUSB record(pairs[0].first);
    const LogsTest::SAsciiLog& ascii = pairs[0].second;
    ExpectHeaderMatchesTwin(record, ascii);
    ASSERT_GE(ascii.body.size(), 2u);
    EXPECT_EQ(record.GetErrorWord(), Hex(ascii.body[0]));
    const size_t count = Unsigned(ascii.body[1]);
    ASSERT_EQ(ascii.body.size(), 2 + 4 * count);
    ASSERT_EQ(record.GetStatusGroups().size(), count);
    for (size_t i = 0; i < count; ++i) {
        const CNovatelRXSTATUS::SStatusGroup& group = record.GetStatusGroups()[i];
        EXPECT_EQ(group.m_status, Hex(ascii.body[2 + 4 * i])) << "group " << i;
        EXPECT_EQ(group.m_priorityMask, Hex(ascii.body[3 + 4 * i])) << "group " << i;
        EXPECT_EQ(group.m_eventSetMask, Hex(ascii.body[4 + 4 * i])) << "group " << i;
        EXPECT_EQ(group.m_eventClearMask, Hex(ascii.body[5 + 4 * i])) << "group " << i;
    }
}

// ---- PSRDOP

// The six values as the receiver sends them (singles), then the PRN list.
ByteVector PsrdopBody(uint32_t count, uint32_t prns) {
    Tools::CBodyWriter body;
    body.F32(2.0268f).F32(1.5f).F32(0.8726f).F32(1.3225f).F32(0.9937f).F32(5.0f).U32(count);
    for (uint32_t i = 0; i < prns; ++i) body.U32(16 + i);
    return body.Bytes();
}

// The single whose bits a PSRDOP value holds as an integer.
float SingleOfBits(double held) {
    const uint32_t bits = static_cast<uint32_t>(held);
    EXPECT_EQ(static_cast<double>(bits), held) << "not the integer value of 32 bits";
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

TEST(PsrdopLog, HoldsEachValueAsTheIntegerOfItsBits) {
    const CNovatelPSRDOPB record(
        LogFrameWithHeaderLength(Novatel::kPSRDOPMessageID, 44, PsrdopBody(2, 2)));
    // 1.5 is sent as 0x3FC00000.
    EXPECT_EQ(record.GetPDOP(), 1069547520.0);
    // 5.0 is sent as 0x40A00000.
    EXPECT_EQ(record.GetElevationCutoff(), 1084227584.0);
    EXPECT_FLOAT_EQ(SingleOfBits(record.GetGDOP()), 2.0268f);
    EXPECT_FLOAT_EQ(SingleOfBits(record.GetHDOP()), 0.8726f);
    EXPECT_FLOAT_EQ(SingleOfBits(record.GetHTDOP()), 1.3225f);
    EXPECT_FLOAT_EQ(SingleOfBits(record.GetTDOP()), 0.9937f);
    EXPECT_EQ(record.GetNumberOfPRNs(), 2u);
    EXPECT_EQ(record.GetPRNs(), (std::vector<uint32_t>{16, 17}));
}

class PsrdopLengthRule : public ::testing::TestWithParam<SExitCase> {};

TEST_P(PsrdopLengthRule, AbortsNamingTheSourceAndTheCondition) {
    EXPECT_DEATH(
        CNovatelPSRDOPB record(GetParam().frame),
        ::testing::ContainsRegex(AssertionPattern(
            "Logs/NovatelOEMV/NovatelBinary/NovatelPSRDOPB.cpp", ParseFunction("CNovatelPSRDOPB"),
            "sentenceData.size() == (m_header.m_headerLength + 28 + (numberPRNs * 4) + "
            "4)")));
}

INSTANTIATE_TEST_SUITE_P(
    Frames, PsrdopLengthRule,
    ::testing::Values(
        SExitCase{"OneByteTooLong",
                  Resized(LogFrame(Novatel::kPSRDOPMessageID, PsrdopBody(3, 3)), 1), ""},
        SExitCase{"PrnMissing", LogFrame(Novatel::kPSRDOPMessageID, PsrdopBody(3, 2)), ""},
        // 0x40000000 * 4 wraps a 32-bit sum back onto this frame's length.
        SExitCase{"CountThatWrapsThirtyTwoBits",
                  LogFrame(Novatel::kPSRDOPMessageID, PsrdopBody(0x40000000, 0)), ""},
        SExitCase{"HostileCount", LogFrame(Novatel::kPSRDOPMessageID, PsrdopBody(0xFFFFFFFF, 1)),
                  ""}),
    [](const ::testing::TestParamInfo<SExitCase>& info) { return info.param.name; });

struct SPsrdopTwinCase {
    const char* recording;
    const char* twin;
    size_t logs;
};

void PrintTo(const SPsrdopTwinCase& c, std::ostream* out) { *out << c.recording; }

class PsrdopTwin : public ::testing::TestWithParam<SPsrdopTwinCase> {};

TEST_P(PsrdopTwin, ValuesAndPrnsMatchTheReceiversAsciiLog) {
    QUILLOND_REQUIRE_CAPTURE(recording, GetParam().recording);
    QUILLOND_REQUIRE_CAPTURE(twin, GetParam().twin);
    const auto pairs = TwinPairs(recording, twin, Novatel::kPSRDOPMessageID, "PSRDOPA");
    EXPECT_EQ(pairs.size(), GetParam().logs);
    for (const auto& pair : pairs) {
        const CNovatelPSRDOPB record(pair.first);
        const LogsTest::SAsciiLog& ascii = pair.second;
        ExpectHeaderMatchesTwin(record, ascii);
        ASSERT_GE(ascii.body.size(), 7u);
        // The twin prints the singles; the record holds their bits as integers.
        ExpectPrinted(SingleOfBits(record.GetGDOP()), ascii.body[0], "GDOP");
        ExpectPrinted(SingleOfBits(record.GetPDOP()), ascii.body[1], "PDOP");
        ExpectPrinted(SingleOfBits(record.GetHDOP()), ascii.body[2], "HDOP");
        ExpectPrinted(SingleOfBits(record.GetHTDOP()), ascii.body[3], "HTDOP");
        ExpectPrinted(SingleOfBits(record.GetTDOP()), ascii.body[4], "TDOP");
        ExpectPrinted(SingleOfBits(record.GetElevationCutoff()), ascii.body[5], "cut-off");
        const size_t count = Unsigned(ascii.body[6]);
        ASSERT_EQ(ascii.body.size(), 7 + count);
        ASSERT_EQ(record.GetPRNs().size(), count);
        for (size_t i = 0; i < count; ++i) {
            EXPECT_EQ(record.GetPRNs()[i], Unsigned(ascii.body[7 + i])) << "PRN " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Recordings, PsrdopTwin,
    ::testing::Values(SPsrdopTwinCase{"oem6-psrdop.gps", "oem6-psrdop.asc", 1},
                      SPsrdopTwinCase{"oemv3-ParsingData.gps", "oemv3-ParsingData.asc", 4},
                      SPsrdopTwinCase{"oemv3-ParsingData2.gps", "oemv3-ParsingData2.asc", 1},
                      SPsrdopTwinCase{"oemv3-OnceEachAgain.gps", "oemv3-OnceEachAgain.asc", 1}),
    [](const ::testing::TestParamInfo<SPsrdopTwinCase>& info) {
        return FramingTest::RecordingTestName(info.param.recording);
    });

// ---- TIME

ByteVector TimeBody() {
    return Tools::CBodyWriter()
        .U32(0)
        .F64(-7.529078757338618e-10)
        .F64(1.0037581303083403e-09)
        .F64(-16.0)
        .U32(2014)
        .U8(11)
        .U8(24)
        .U8(20)
        .U8(29)
        .U32(50000)
        .U32(1)
        .Bytes();
}

TEST(TimeLog, DecodesClockModelAndUtcFields) {
    const CNovatelTIMEB record(LogFrame(Novatel::kTIMEMessageID, TimeBody()));
    EXPECT_EQ(record.GetClockModelStatus(), 0u);
    EXPECT_DOUBLE_EQ(record.GetClockOffset(), -7.529078757338618e-10);
    EXPECT_DOUBLE_EQ(record.GetClockOffsetStdDev(), 1.0037581303083403e-09);
    EXPECT_DOUBLE_EQ(record.GetUtcOffset(), -16.0);
    EXPECT_EQ(record.GetUtcYear(), 2014u);
    EXPECT_EQ(record.GetUtcMonth(), 11);
    EXPECT_EQ(record.GetUtcDay(), 24);
    EXPECT_EQ(record.GetUtcHour(), 20);
    EXPECT_EQ(record.GetUtcMinute(), 29);
    EXPECT_EQ(record.GetUtcMilliseconds(), 50000u);
    EXPECT_EQ(record.GetUtcStatus(), 1u);
}

TEST(TimeLog, FieldsBeyondAShortFrameReadZero) {
    // The body stops after the UTC offset; the CRC takes the place of the year.
    ByteVector body = TimeBody();
    body.resize(28);
    const CNovatelTIMEB record(LogFrame(Novatel::kTIMEMessageID, body));
    EXPECT_DOUBLE_EQ(record.GetUtcOffset(), -16.0);
    EXPECT_EQ(record.GetUtcMonth(), 0);
    EXPECT_EQ(record.GetUtcMinute(), 0);
    EXPECT_EQ(record.GetUtcMilliseconds(), 0u);
    EXPECT_EQ(record.GetUtcStatus(), 0u);
}

// No twin holds TIME; the receiver's UTC time of day must be its GPS time
// of week shifted by the UTC offset it reports in the same log.
TEST(TimeLog, UtcTimeOfDayAgreesWithTheHeaderTimeInEveryRealLog) {
    QUILLOND_REQUIRE_CAPTURE(path, "propak6-ins-ppp.gps");
    const std::vector<ByteVector> frames =
        LogsTest::FramesWithId(LogsTest::BinaryFramesOf(path), Novatel::kTIMEMessageID);
    EXPECT_EQ(frames.size(), 115u);
    const int64_t kDay = 86400000;
    for (const ByteVector& frame : frames) {
        const CNovatelTIMEB record(frame);
        const int64_t gpsMilliseconds = record.GetHeader().m_milliseconds;
        const int64_t offset = static_cast<int64_t>(record.GetUtcOffset() * 1000.0);
        const int64_t utcOfDay = (record.GetUtcHour() * 3600 + record.GetUtcMinute() * 60) * 1000 +
                                 record.GetUtcMilliseconds();
        EXPECT_EQ(utcOfDay, ((gpsMilliseconds + offset) % kDay + kDay) % kDay)
            << "seconds of week " << record.GetSeconds();
        EXPECT_EQ(record.GetUtcYear(), 2014u);
        EXPECT_EQ(record.GetUtcStatus(), 1u);
    }
}

// ---- PDPSTAT

TEST(PdpstatLog, KeepsFiveWordsThenThreeValuesInFrameOrder) {
    const ByteVector body = Tools::CBodyWriter()
                                .U32(7)
                                .U32(1)
                                .U32(3)
                                .U32(0)
                                .U32(9)
                                .F64(12.5)
                                .F64(0.25)
                                .F64(-3.125)
                                .Bytes();
    const CNovatelPDPSTATB record(LogFrame(Novatel::kPDPSTATMessageID, body));
    const uint32_t words[] = {7, 1, 3, 0, 9};
    for (size_t i = 0; i < 5; ++i) EXPECT_EQ(record.GetWord(i), words[i]) << "word " << i;
    EXPECT_EQ(record.GetValue(0), 12.5);
    EXPECT_EQ(record.GetValue(1), 0.25);
    EXPECT_EQ(record.GetValue(2), -3.125);
    EXPECT_EQ(record.GetWord(5), 0u);
    EXPECT_EQ(record.GetValue(3), 0.0);
}

TEST(PdpstatLog, EmptyBodyReadsZeroBeyondTheFrame) {
    const CNovatelPDPSTATB record(LogFrame(Novatel::kPDPSTATMessageID, ByteVector()));
    // Only the CRC follows the header: word 0 is made of it, the rest is past the end.
    for (size_t i = 1; i < 5; ++i) EXPECT_EQ(record.GetWord(i), 0u) << "word " << i;
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(record.GetValue(i), 0.0) << "value " << i;
}

// ---- REFSTATION

ByteVector RefstationBody(const std::string& stationID) {
    return Tools::CBodyWriter()
        .U32(1)  // status word: not decoded
        .F64(-1634532.443)
        .F64(-3664608.907)
        .F64(4942482.713)
        .U32(0xFFFFFFFF)  // reserved: not decoded
        .U32(4)
        .Text(stationID, 5)
        .Text("", 3)
        .Bytes();
}

TEST(RefstationLog, DecodesPositionTypeAndStationID) {
    const CNovatelREFSTATIONB record(
        LogFrame(Novatel::kREFSTATIONMessageID, RefstationBody("RS1")));
    double x = 0, y = 0, z = 0;
    EXPECT_TRUE(record.GetPosition(x, y, z));
    EXPECT_EQ(x, -1634532.443);
    EXPECT_EQ(y, -3664608.907);
    EXPECT_EQ(z, 4942482.713);
    EXPECT_EQ(record.GetStationType(), 4u);
    EXPECT_EQ(record.GetStationID(), "RS1");
}

TEST(RefstationLog, FiveCharacterIdEndsWithoutTerminatorInTheFrame) {
    // The byte after the ID field is not part of it, even when it is text.
    ByteVector body = RefstationBody("AB123");
    body[41] = 'X';
    const CNovatelREFSTATIONB record(LogFrame(Novatel::kREFSTATIONMessageID, body));
    EXPECT_EQ(record.GetStationID(), "AB123");
}

TEST(RefstationLog, WrongCrcGivesNoPositionButKeepsTheRest) {
    ByteVector frame = LogFrame(Novatel::kREFSTATIONMessageID, RefstationBody("RS1"));
    frame.back() ^= 0x01;
    const CNovatelREFSTATIONB record(frame);
    double x = 1, y = 1, z = 1;
    EXPECT_FALSE(record.GetPosition(x, y, z));
    EXPECT_EQ(x, 0.0);
    EXPECT_EQ(y, 0.0);
    EXPECT_EQ(z, 0.0);
    EXPECT_EQ(record.GetStationID(), "RS1");
}

// ---- The mixed corpus (no twin): values read with an independent decoder.

TEST(StatusLogsMixedCorpus, DecodesEachLogOfAnotherReceiverGeneration) {
    QUILLOND_REQUIRE_CAPTURE(path, "mixed-alllogs-repaired.gps");
    const std::vector<ByteVector> frames = LogsTest::BinaryFramesOf(path);

    const std::vector<ByteVector> rxstatus =
        LogsTest::FramesWithId(frames, Novatel::kRXSTATUSMessageID);
    ASSERT_EQ(rxstatus.size(), 1u);
    const CNovatelRXSTATUSB status(rxstatus[0]);
    EXPECT_EQ(status.GetErrorWord(), 0u);
    ASSERT_EQ(status.GetStatusGroups().size(), 4u);
    EXPECT_EQ(status.GetStatusGroups()[1].m_status, 262272u);
    EXPECT_EQ(status.GetStatusGroups()[1].m_priorityMask, 4104u);

    const std::vector<ByteVector> time = LogsTest::FramesWithId(frames, Novatel::kTIMEMessageID);
    ASSERT_EQ(time.size(), 1u);
    const CNovatelTIMEB clock(time[0]);
    EXPECT_DOUBLE_EQ(clock.GetUtcOffset(), -17.0);
    EXPECT_EQ(clock.GetUtcYear(), 2015u);
    EXPECT_EQ(clock.GetUtcMonth(), 9);
    EXPECT_EQ(clock.GetUtcDay(), 1);
    EXPECT_EQ(clock.GetUtcHour(), 8);
    EXPECT_EQ(clock.GetUtcMinute(), 2);
    EXPECT_EQ(clock.GetUtcMilliseconds(), 8000u);

    const std::vector<ByteVector> refstation =
        LogsTest::FramesWithId(frames, Novatel::kREFSTATIONMessageID);
    ASSERT_EQ(refstation.size(), 1u);
    const CNovatelREFSTATIONB base(refstation[0]);
    double x = 0, y = 0, z = 0;
    EXPECT_TRUE(base.GetPosition(x, y, z));
    EXPECT_DOUBLE_EQ(x, -1634532.443);
    EXPECT_DOUBLE_EQ(y, -3664608.907);
    EXPECT_DOUBLE_EQ(z, 4942482.713);
    EXPECT_EQ(base.GetStationType(), 4u);
    EXPECT_EQ(base.GetStationID(), "AAAA");

    const std::vector<ByteVector> psrdop =
        LogsTest::FramesWithId(frames, Novatel::kPSRDOPMessageID);
    ASSERT_EQ(psrdop.size(), 1u);
    const CNovatelPSRDOPB dop(psrdop[0]);
    EXPECT_EQ(dop.GetGDOP(), static_cast<double>(0x3FBF9DB2));
    EXPECT_EQ(dop.GetElevationCutoff(), static_cast<double>(0x40A00000));
    EXPECT_EQ(dop.GetPRNs().size(), 17u);
}

}  // namespace
