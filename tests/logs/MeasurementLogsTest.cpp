// The measurement and status logs RANGE, TRACKSTAT, RXSTATUS, PSRDOP, TIME,
// PDPSTAT and REFSTATION: decoding from built frames and from real recordings
// (checked against the receiver's ASCII twin), the length rules that end the
// process (exit status 1 for RXSTATUS, an assertion for the others) with the
// size found and expected, PSRDOP's integer reading of its values, and the
// factory's rows for all these logs.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSATSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSTATB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRDOPB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRANGEB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelREFSTATIONB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKSATSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRXSTATUSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelTIMEB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelTRACKSTATB.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "tests/logs/LogsTestSupport.h"

using namespace LogsTest;
using namespace Novatel;

namespace {

// A RANGE body with n observations whose fields all differ from each other.
ByteVector RangeBody(uint32_t count, uint32_t observations) {
    Tools::CBodyWriter body;
    body.U32(count);
    for (uint32_t i = 0; i < observations; ++i) {
        body.U16(static_cast<uint16_t>(3 + i))
            .U16(static_cast<uint16_t>(9 + i))
            .F64(21128957.505 + i)
            .F32(0.036f)
            .F64(-106341096.538592 - i)
            .F32(0.010f)
            .F32(2313.016f)
            .F32(50.0f + i)
            .F32(4803.358f)
            .U32(0x18109C24 + i);
    }
    return body.Bytes();
}

// A TRACKSTAT body with n channels whose fields all differ from each other.
ByteVector TrackstatBody(uint32_t count, uint32_t channels) {
    Tools::CBodyWriter body;
    body.U32(0).U32(16).F32(5.0f).U32(count);
    for (uint32_t i = 0; i < channels; ++i) {
        body.U16(static_cast<uint16_t>(20 + i))
            .U16(static_cast<uint16_t>(65529))
            .U32(0x08109C44 + i)
            .F64(22849497.218 + i)
            .F32(-2295.719f)
            .F32(46.471f)
            .F32(3806.34f)
            .F32(-0.788f)
            .U32(13 + i)
            .F32(0.247f);
    }
    return body.Bytes();
}

ByteVector RxstatusBody(uint32_t errorWord, uint32_t count, uint32_t groups) {
    Tools::CBodyWriter body;
    body.U32(errorWord).U32(count);
    for (uint32_t i = 0; i < groups; ++i) {
        body.U32(0x87 + i).U32(0x08 + i).U32(0x289 + i).U32(0x6FF + i);
    }
    return body.Bytes();
}

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

// A header longer than 28 bytes moves the body: fields are read from there.
TEST(RangeLog, DecodesEveryFieldFromWhereTheHeaderLengthPutsTheBody) {
    const CNovatelRANGEB record(LogFrameWithHeaderLength(kRANGEMessageID, 40, RangeBody(2, 2)));
    ASSERT_EQ(record.GetNumberOfObservations(), 2u);
    ASSERT_EQ(record.GetObservations().size(), 2u);
    const CNovatelRANGE::SObservation& second = record.GetObservations()[1];
    EXPECT_EQ(second.m_prn, 4);
    EXPECT_EQ(second.m_glonassFrequency, 10);
    EXPECT_DOUBLE_EQ(second.m_pseudorange, 21128958.505);
    EXPECT_FLOAT_EQ(static_cast<float>(second.m_pseudorangeStdDev), 0.036f);
    EXPECT_DOUBLE_EQ(second.m_carrierPhase, -106341097.538592);
    EXPECT_FLOAT_EQ(static_cast<float>(second.m_carrierPhaseStdDev), 0.010f);
    EXPECT_FLOAT_EQ(static_cast<float>(second.m_doppler), 2313.016f);
    EXPECT_FLOAT_EQ(static_cast<float>(second.m_carrierToNoise), 51.0f);
    EXPECT_FLOAT_EQ(static_cast<float>(second.m_lockTime), 4803.358f);
    EXPECT_EQ(second.m_trackingStatus, 0x18109C25u);
    EXPECT_EQ(record.GetObservations()[0].m_prn, 3);
}

TEST(RangeLog, ZeroObservationsInHeaderPlusEightBytesIsAnEmptyList) {
    const ByteVector frame = LogFrame(kRANGEMessageID, RangeBody(0, 0));
    ASSERT_EQ(frame.size(), 28u + 8u);
    const CNovatelRANGEB record(frame);
    EXPECT_EQ(record.GetNumberOfObservations(), 0u);
    EXPECT_TRUE(record.GetObservations().empty());
}

TEST(TrackstatLog, DecodesEveryFieldFromWhereTheHeaderLengthPutsTheBody) {
    const CNovatelTRACKSTATB record(
        LogFrameWithHeaderLength(kTRACKSTATMessageID, 36, TrackstatBody(2, 2)));
    EXPECT_EQ(record.GetSolutionStatus(), 0u);
    EXPECT_EQ(record.GetPositionType(), 16u);
    EXPECT_DOUBLE_EQ(record.GetElevationCutoff(), 5.0);
    ASSERT_EQ(record.GetNumberOfChannels(), 2u);
    ASSERT_EQ(record.GetChannels().size(), 2u);
    const CNovatelTRACKSTAT::SChannel& second = record.GetChannels()[1];
    EXPECT_EQ(second.m_prn, 21);
    EXPECT_EQ(second.m_glonassFrequency, 65529);
    EXPECT_EQ(second.m_trackingStatus, 0x08109C45u);
    EXPECT_DOUBLE_EQ(second.m_pseudorange, 22849498.218);
    EXPECT_FLOAT_EQ(static_cast<float>(second.m_doppler), -2295.719f);
    EXPECT_FLOAT_EQ(static_cast<float>(second.m_carrierToNoise), 46.471f);
    EXPECT_FLOAT_EQ(static_cast<float>(second.m_lockTime), 3806.34f);
    EXPECT_FLOAT_EQ(static_cast<float>(second.m_pseudorangeResidual), -0.788f);
    EXPECT_EQ(second.m_rejectCode, 14u);
    EXPECT_FLOAT_EQ(static_cast<float>(second.m_pseudorangeWeight), 0.247f);
}

TEST(RxstatusLog, DecodesEveryFieldFromWhereTheHeaderLengthPutsTheBody) {
    const CNovatelRXSTATUSB record(
        LogFrameWithHeaderLength(kRXSTATUSMessageID, 32, RxstatusBody(0x80000001, 2, 2)));
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
    const CNovatelRXSTATUSB record(LogFrame(kRXSTATUSMessageID, RxstatusBody(4, 0, 0)));
    EXPECT_EQ(record.GetErrorWord(), 4u);
    EXPECT_TRUE(record.GetStatusGroups().empty());
    EXPECT_EQ(record.GetStatusWord(), 0u);
}

TEST(PsrdopLog, HoldsEachValueAsTheIntegerOfItsBits) {
    const CNovatelPSRDOPB record(LogFrameWithHeaderLength(kPSRDOPMessageID, 44, PsrdopBody(2, 2)));
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

// A frame whose length does not match its count, the size line the log
// prints first (none for PSRDOP) and the assertion that ends the process;
// RXSTATUS exits with status 1 instead.
struct SLengthCase {
    const char* name;
    std::function<void(const ByteVector&)> parse;
    ByteVector frame;
    std::string printed;
    std::string assertion;  // empty: exit status 1
};

void PrintTo(const SLengthCase& c, std::ostream* out) { *out << c.name; }

class LengthRule : public ::testing::TestWithParam<SLengthCase> {};

TEST_P(LengthRule, PrintsFoundAndExpectedSizesThenEndsTheProcess) {
    const SLengthCase& c = GetParam();
    const auto parse = [&c] {
        StandardOutputToStandardError();
        c.parse(c.frame);
    };
    if (c.assertion.empty()) {
        EXPECT_EXIT(parse(), ::testing::ExitedWithCode(1),
                    ::testing::ContainsRegex(Literal(c.printed)));
    } else {
        // The size line comes first, then the assertion.
        EXPECT_DEATH(parse(), ::testing::ContainsRegex(c.printed.empty() ? c.assertion
                                                                         : Literal(c.printed) +
                                                                               "\n" + c.assertion));
    }
}

template <typename Log>
void Parse(const ByteVector& frame) {
    Log log(frame);
}

const std::string kRangeAssertion = AssertionPattern(
    "Logs/NovatelOEMV/NovatelBinary/NovatelRANGEB.cpp", ParseFunction("CNovatelRANGEB"),
    "sentenceData.size() == (m_header.m_headerLength + 4 + (m_numberOfObservations * 44) + 4)");
const std::string kTrackstatAssertion = AssertionPattern(
    "Logs/NovatelOEMV/NovatelBinary/NovatelTRACKSTATB.cpp", ParseFunction("CNovatelTRACKSTATB"),
    "sentenceData.size() == (m_header.m_headerLength + 16 + (m_numberOfChannels * 40) + 4)");
const std::string kPsrdopAssertion = AssertionPattern(
    "Logs/NovatelOEMV/NovatelBinary/NovatelPSRDOPB.cpp", ParseFunction("CNovatelPSRDOPB"),
    "sentenceData.size() == (m_header.m_headerLength + 28 + (numberPRNs * 4) + 4)");

// The RANGE text names 16 for the count field that takes 4: kept word for word.
// Counts of 0x40000000 wrap a 32-bit sum of RANGE (* 44) or PSRDOP (* 4) back
// onto the frame's length.
INSTANTIATE_TEST_SUITE_P(
    Frames, LengthRule,
    ::testing::Values(
        SLengthCase{"TrackstatOneByteTooLong", Parse<CNovatelTRACKSTATB>,
                    Resized(LogFrame(kTRACKSTATMessageID, TrackstatBody(2, 2)), 1),
                    "CNovatelTRACKSTATB sentenceData.size() is 129 but expected (28 + 16 + (2 * "
                    "40) + 4)",
                    kTrackstatAssertion},
        SLengthCase{"TrackstatOneChannelMissing", Parse<CNovatelTRACKSTATB>,
                    LogFrame(kTRACKSTATMessageID, TrackstatBody(3, 2)),
                    "CNovatelTRACKSTATB sentenceData.size() is 128 but expected (28 + 16 + (3 * "
                    "40) + 4)",
                    kTrackstatAssertion},
        SLengthCase{
            "TrackstatHeaderLengthCounted", Parse<CNovatelTRACKSTATB>,
            Resized(LogFrameWithHeaderLength(kTRACKSTATMessageID, 32, TrackstatBody(1, 1)), 4),
            "CNovatelTRACKSTATB sentenceData.size() is 96 but expected (32 + 16 + (1 * "
            "40) + 4)",
            kTrackstatAssertion},
        SLengthCase{"RangeOneByteTooLong", Parse<CNovatelRANGEB>,
                    Resized(LogFrame(kRANGEMessageID, RangeBody(1, 1)), 1),
                    "CNovatelRANGEB sentenceData.size() is 81 but expected (28 + 16 + (1 * 44) + "
                    "4)",
                    kRangeAssertion},
        SLengthCase{"RangeOneByteShort", Parse<CNovatelRANGEB>,
                    Resized(LogFrame(kRANGEMessageID, RangeBody(1, 1)), -1),
                    "CNovatelRANGEB sentenceData.size() is 79 but expected (28 + 16 + (1 * 44) + "
                    "4)",
                    kRangeAssertion},
        SLengthCase{"RangeCountThatWrapsThirtyTwoBits", Parse<CNovatelRANGEB>,
                    LogFrame(kRANGEMessageID, RangeBody(0x40000000, 0)),
                    "CNovatelRANGEB sentenceData.size() is 36 but expected (28 + 16 + (1073741824 "
                    "* 44) + 4)",
                    kRangeAssertion},
        SLengthCase{"RangeHostileCount", Parse<CNovatelRANGEB>,
                    LogFrame(kRANGEMessageID, RangeBody(0xFFFFFFFF, 2)),
                    "CNovatelRANGEB sentenceData.size() is 124 but expected (28 + 16 + (-1 * 44) "
                    "+ 4)",
                    kRangeAssertion},
        SLengthCase{
            "RxstatusOneByteTooLong", Parse<CNovatelRXSTATUSB>,
            Resized(LogFrame(kRXSTATUSMessageID, RxstatusBody(0, 4, 4)), 1),
            "CNovatelRXSTATUSB sentenceData.size() is 105 but expected (28 + 8 + (4 * 16) + "
            "4)\n",
            ""},
        SLengthCase{"RxstatusGroupMissing", Parse<CNovatelRXSTATUSB>,
                    LogFrame(kRXSTATUSMessageID, RxstatusBody(0, 4, 3)),
                    "CNovatelRXSTATUSB sentenceData.size() is 88 but expected (28 + 8 + (4 * 16) + "
                    "4)\n",
                    ""},
        SLengthCase{
            "RxstatusHostileCount", Parse<CNovatelRXSTATUSB>,
            LogFrame(kRXSTATUSMessageID, RxstatusBody(0, 0xFFFFFFFF, 1)),
            "CNovatelRXSTATUSB sentenceData.size() is 56 but expected (28 + 8 + (-1 * 16) + "
            "4)\n",
            ""},
        SLengthCase{"PsrdopOneByteTooLong", Parse<CNovatelPSRDOPB>,
                    Resized(LogFrame(kPSRDOPMessageID, PsrdopBody(3, 3)), 1), "", kPsrdopAssertion},
        SLengthCase{"PsrdopPrnMissing", Parse<CNovatelPSRDOPB>,
                    LogFrame(kPSRDOPMessageID, PsrdopBody(3, 2)), "", kPsrdopAssertion},
        SLengthCase{"PsrdopCountThatWrapsThirtyTwoBits", Parse<CNovatelPSRDOPB>,
                    LogFrame(kPSRDOPMessageID, PsrdopBody(0x40000000, 0)), "", kPsrdopAssertion},
        SLengthCase{"PsrdopHostileCount", Parse<CNovatelPSRDOPB>,
                    LogFrame(kPSRDOPMessageID, PsrdopBody(0xFFFFFFFF, 1)), "", kPsrdopAssertion}),
    [](const ::testing::TestParamInfo<SLengthCase>& info) { return info.param.name; });

// Real recordings against their ASCII twins: every field the twin prints.

void ExpectRangeMatchesTwin(const ByteVector& frame, const SAsciiLog& twin) {
    const CNovatelRANGEB record(frame);
    ExpectHeaderMatchesTwin(record, twin);
    ASSERT_FALSE(twin.body.empty());
    const size_t count = Unsigned(twin.body[0]);
    ASSERT_EQ(twin.body.size(), 1 + 10 * count);
    ASSERT_EQ(record.GetObservations().size(), count);
    for (size_t i = 0; i < count; ++i) {
        const CNovatelRANGE::SObservation& observation = record.GetObservations()[i];
        const std::string* field = &twin.body[1 + 10 * i];
        const std::string at = "observation " + std::to_string(i);
        EXPECT_EQ(observation.m_prn, Unsigned(field[0])) << at;
        EXPECT_EQ(observation.m_glonassFrequency, Unsigned(field[1])) << at;
        ExpectPrinted(observation.m_pseudorange, field[2], at + " pseudorange");
        ExpectPrinted(observation.m_pseudorangeStdDev, field[3], at + " pseudorange sigma");
        ExpectPrinted(observation.m_carrierPhase, field[4], at + " carrier phase");
        ExpectPrinted(observation.m_carrierPhaseStdDev, field[5], at + " carrier phase sigma");
        ExpectPrinted(observation.m_doppler, field[6], at + " Doppler");
        ExpectPrinted(observation.m_carrierToNoise, field[7], at + " C/N0");
        ExpectPrinted(observation.m_lockTime, field[8], at + " lock time");
        EXPECT_EQ(observation.m_trackingStatus, Hex(field[9])) << at;
    }
}

void ExpectTrackstatMatchesTwin(const ByteVector& frame, const SAsciiLog& twin) {
    const CNovatelTRACKSTATB record(frame);
    ExpectHeaderMatchesTwin(record, twin);
    ASSERT_GE(twin.body.size(), 4u);
    EXPECT_EQ(record.GetSolutionStatus(), Enumeration(twin.body[0]));
    EXPECT_EQ(record.GetPositionType(), Enumeration(twin.body[1]));
    ExpectPrinted(record.GetElevationCutoff(), twin.body[2], "elevation cut-off");
    const size_t count = Unsigned(twin.body[3]);
    ASSERT_EQ(twin.body.size(), 4 + 10 * count);
    ASSERT_EQ(record.GetChannels().size(), count);
    for (size_t i = 0; i < count; ++i) {
        const CNovatelTRACKSTAT::SChannel& channel = record.GetChannels()[i];
        const std::string* field = &twin.body[4 + 10 * i];
        const std::string at = "channel " + std::to_string(i);
        EXPECT_EQ(channel.m_prn, Unsigned(field[0])) << at;
        EXPECT_EQ(channel.m_glonassFrequency, Unsigned(field[1])) << at;
        EXPECT_EQ(channel.m_trackingStatus, Hex(field[2])) << at;
        ExpectPrinted(channel.m_pseudorange, field[3], at + " pseudorange");
        ExpectPrinted(channel.m_doppler, field[4], at + " Doppler");
        ExpectPrinted(channel.m_carrierToNoise, field[5], at + " C/N0");
        ExpectPrinted(channel.m_lockTime, field[6], at + " lock time");
        ExpectPrinted(channel.m_pseudorangeResidual, field[7], at + " residual");
        EXPECT_EQ(channel.m_rejectCode, Enumeration(field[8])) << at;
        ExpectPrinted(channel.m_pseudorangeWeight, field[9], at + " weight");
    }
}

void ExpectRxstatusMatchesTwin(const ByteVector& frame, const SAsciiLog& ascii) {
    const CNovatelRXSTATUSB record(frame);
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

void ExpectPsrdopMatchesTwin(const ByteVector& frame, const SAsciiLog& ascii) {
    const CNovatelPSRDOPB record(frame);
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

// One log of one recording against its twin.
struct STwinRow {
    const char* log;
    STwinCase recording;
    uint16_t messageId;
    void (*check)(const ByteVector&, const SAsciiLog&);
};

void PrintTo(const STwinRow& c, std::ostream* out) {
    *out << c.log << " " << c.recording.recording;
}

class Twin : public ::testing::TestWithParam<STwinRow> {};

TEST_P(Twin, EveryFieldMatchesTheReceiversAsciiLog) {
    const STwinRow& c = GetParam();
    QUILLOND_TWIN_PAIRS(twins, c.recording, c.messageId, c.log + std::string("A"));
    for (size_t i = 0; i < twins.size(); ++i) {
        SCOPED_TRACE(i);
        c.check(twinsFrames[i], twins[i]);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Recordings, Twin,
    ::testing::Values(STwinRow{"RANGE", STwinCase("oemv3-MorePropak.gps", 1), kRANGEMessageID,
                               ExpectRangeMatchesTwin},
                      STwinRow{"RANGE", STwinCase("oemv3-OnceEachAgain.gps", 1), kRANGEMessageID,
                               ExpectRangeMatchesTwin},
                      STwinRow{"TRACKSTAT", STwinCase("oemv3-ParsingData.gps", 83),
                               kTRACKSTATMessageID, ExpectTrackstatMatchesTwin},
                      STwinRow{"TRACKSTAT", STwinCase("oemv3-ParsingData2.gps", 20),
                               kTRACKSTATMessageID, ExpectTrackstatMatchesTwin},
                      STwinRow{"RXSTATUS", STwinCase("oemv3-OneEach.gps", 1), kRXSTATUSMessageID,
                               ExpectRxstatusMatchesTwin},
                      STwinRow{"PSRDOP", STwinCase("oem6-psrdop.gps", 1), kPSRDOPMessageID,
                               ExpectPsrdopMatchesTwin},
                      STwinRow{"PSRDOP", STwinCase("oemv3-ParsingData.gps", 4), kPSRDOPMessageID,
                               ExpectPsrdopMatchesTwin},
                      STwinRow{"PSRDOP", STwinCase("oemv3-ParsingData2.gps", 1), kPSRDOPMessageID,
                               ExpectPsrdopMatchesTwin},
                      STwinRow{"PSRDOP", STwinCase("oemv3-OnceEachAgain.gps", 1), kPSRDOPMessageID,
                               ExpectPsrdopMatchesTwin}),
    [](const ::testing::TestParamInfo<STwinRow>& info) {
        return std::string(info.param.log) + "_" +
               FramingTest::RecordingTestName(info.param.recording.recording);
    });

// The mixed corpus has no twin; its values were read from the file with an
// independent decoder.
TEST(MeasurementLogsMixedCorpus, RangeAndTrackstatOfAnotherReceiverGeneration) {
    QUILLOND_REQUIRE_CAPTURE(path, "mixed-alllogs-repaired.gps");
    const std::vector<ByteVector> frames = BinaryFramesOf(path);
    const std::vector<ByteVector> range = FramesWithId(frames, kRANGEMessageID);
    ASSERT_EQ(range.size(), 1u);
    const CNovatelRANGEB record(range[0]);
    EXPECT_EQ(record.GetWeek(), 1860);
    ASSERT_EQ(record.GetObservations().size(), 38u);
    const CNovatelRANGE::SObservation& first = record.GetObservations().front();
    EXPECT_EQ(first.m_prn, 20);
    EXPECT_DOUBLE_EQ(first.m_pseudorange, 23462960.317);
    EXPECT_DOUBLE_EQ(first.m_carrierPhase, -123298725.456778);
    EXPECT_EQ(first.m_trackingStatus, 135306244u);
    const CNovatelRANGE::SObservation& last = record.GetObservations().back();
    EXPECT_EQ(last.m_prn, 41);
    EXPECT_EQ(last.m_glonassFrequency, 13);
    EXPECT_FLOAT_EQ(static_cast<float>(last.m_doppler), -2223.72607421875f);
    EXPECT_EQ(last.m_trackingStatus, 11615371u);

    const std::vector<ByteVector> trackstat = FramesWithId(frames, kTRACKSTATMessageID);
    ASSERT_EQ(trackstat.size(), 1u);
    const CNovatelTRACKSTATB tracking(trackstat[0]);
    EXPECT_EQ(tracking.GetPositionType(), 16u);
    EXPECT_DOUBLE_EQ(tracking.GetElevationCutoff(), 5.0);
    ASSERT_EQ(tracking.GetChannels().size(), 71u);
    const CNovatelTRACKSTAT::SChannel& second = tracking.GetChannels()[1];
    EXPECT_EQ(second.m_prn, 20);
    EXPECT_DOUBLE_EQ(second.m_pseudorange, 23460304.786);
    EXPECT_EQ(second.m_rejectCode, 13u);
    const CNovatelTRACKSTAT::SChannel& idle = tracking.GetChannels().back();
    EXPECT_EQ(idle.m_prn, 0);
    EXPECT_EQ(idle.m_trackingStatus, 2187788448u);
    EXPECT_EQ(idle.m_rejectCode, 99u);
}

// The factory builds each measurement and status log's own class from a
// well-formed frame of its ID.
struct SFactoryRow {
    uint16_t messageId;
    size_t bodySize;  // all zeros: every count 0
    const std::type_info& made;
};

TEST(MeasurementLogsFactory, BuildsTheClassOfEachMessageId) {
    const SFactoryRow rows[] = {
        {kRANGEMessageID, 4, typeid(CNovatelRANGEB)},
        {kTRACKSTATMessageID, 16, typeid(CNovatelTRACKSTATB)},
        {kRXSTATUSMessageID, 8, typeid(CNovatelRXSTATUSB)},
        {kTIMEMessageID, 44, typeid(CNovatelTIMEB)},
        {kPSRDOPMessageID, 28, typeid(CNovatelPSRDOPB)},
        {kREFSTATIONMessageID, 44, typeid(CNovatelREFSTATIONB)},
        {kPDPSTATMessageID, 44, typeid(CNovatelPDPSTATB)},
        {kRTKSATSMessageID, 4, typeid(CNovatelRTKSATSB)},
        {kPDPSATSMessageID, 4, typeid(CNovatelPDPSATSB)},
    };
    for (const SFactoryRow& row : rows) {
        const std::unique_ptr<CGPSRecord> record(
            CreateRecord(LogFrame(row.messageId, ByteVector(row.bodySize, 0))));
        ASSERT_NE(record, nullptr);
        const CGPSRecord& made = *record;
        EXPECT_TRUE(typeid(made) == row.made) << "message ID " << row.messageId;
        EXPECT_EQ(record->GetMessageID(), row.messageId);
    }
}

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
    const CNovatelTIMEB record(LogFrame(kTIMEMessageID, TimeBody()));
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
    const CNovatelTIMEB record(LogFrame(kTIMEMessageID, body));
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
    const std::vector<ByteVector> frames = FramesWithId(BinaryFramesOf(path), kTIMEMessageID);
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

TEST(PdpstatLog, KeepsFiveWordsThenThreeValuesInFrameOrderAndZerosPastTheEnd) {
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
    const CNovatelPDPSTATB record(LogFrame(kPDPSTATMessageID, body));
    const uint32_t words[] = {7, 1, 3, 0, 9};
    for (size_t i = 0; i < 5; ++i) EXPECT_EQ(record.GetWord(i), words[i]) << "word " << i;
    EXPECT_EQ(record.GetValue(0), 12.5);
    EXPECT_EQ(record.GetValue(1), 0.25);
    EXPECT_EQ(record.GetValue(2), -3.125);
    EXPECT_EQ(record.GetWord(5), 0u);
    EXPECT_EQ(record.GetValue(3), 0.0);
    // Only the CRC follows an empty body's header: word 0 is made of it, the rest is past the end.
    const CNovatelPDPSTATB empty(LogFrame(kPDPSTATMessageID, ByteVector()));
    for (size_t i = 1; i < 5; ++i) EXPECT_EQ(empty.GetWord(i), 0u) << "word " << i;
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(empty.GetValue(i), 0.0) << "value " << i;
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

TEST(RefstationLog, DecodesPositionTypeAndIdAndWithholdsPositionOnWrongCrc) {
    ByteVector frame = LogFrame(kREFSTATIONMessageID, RefstationBody("RS1"));
    for (bool crcGood : {true, false}) {
        const CNovatelREFSTATIONB record(frame);
        double xyz[3] = {1, 1, 1};
        EXPECT_EQ(record.GetPosition(xyz[0], xyz[1], xyz[2]), crcGood);
        const double expected[3] = {-1634532.443, -3664608.907, 4942482.713};
        for (int i = 0; i < 3; ++i) EXPECT_EQ(xyz[i], crcGood ? expected[i] : 0.0) << crcGood;
        EXPECT_EQ(record.GetStationType(), 4u);
        EXPECT_EQ(record.GetStationID(), "RS1");
        frame.back() ^= 0x01;
    }
    // A five-character ID has no terminator in the frame: the byte after the
    // field is not part of it, even when it is text.
    ByteVector body = RefstationBody("AB123");
    body[41] = 'X';
    EXPECT_EQ(CNovatelREFSTATIONB(LogFrame(kREFSTATIONMessageID, body)).GetStationID(), "AB123");
}

// ---- The mixed corpus (no twin): values read with an independent decoder.

TEST(StatusLogsMixedCorpus, DecodesEachLogOfAnotherReceiverGeneration) {
    QUILLOND_REQUIRE_CAPTURE(path, "mixed-alllogs-repaired.gps");
    const std::vector<ByteVector> frames = BinaryFramesOf(path);

    const std::vector<ByteVector> rxstatus = FramesWithId(frames, kRXSTATUSMessageID);
    ASSERT_EQ(rxstatus.size(), 1u);
    const CNovatelRXSTATUSB status(rxstatus[0]);
    EXPECT_EQ(status.GetErrorWord(), 0u);
    ASSERT_EQ(status.GetStatusGroups().size(), 4u);
    EXPECT_EQ(status.GetStatusGroups()[1].m_status, 262272u);
    EXPECT_EQ(status.GetStatusGroups()[1].m_priorityMask, 4104u);

    const std::vector<ByteVector> time = FramesWithId(frames, kTIMEMessageID);
    ASSERT_EQ(time.size(), 1u);
    const CNovatelTIMEB clock(time[0]);
    EXPECT_DOUBLE_EQ(clock.GetUtcOffset(), -17.0);
    EXPECT_EQ(clock.GetUtcYear(), 2015u);
    EXPECT_EQ(clock.GetUtcMonth(), 9);
    EXPECT_EQ(clock.GetUtcDay(), 1);
    EXPECT_EQ(clock.GetUtcHour(), 8);
    EXPECT_EQ(clock.GetUtcMinute(), 2);
    EXPECT_EQ(clock.GetUtcMilliseconds(), 8000u);

    const std::vector<ByteVector> refstation = FramesWithId(frames, kREFSTATIONMessageID);
    ASSERT_EQ(refstation.size(), 1u);
    const CNovatelREFSTATIONB base(refstation[0]);
    double x = 0, y = 0, z = 0;
    EXPECT_TRUE(base.GetPosition(x, y, z));
    EXPECT_DOUBLE_EQ(x, -1634532.443);
    EXPECT_DOUBLE_EQ(y, -3664608.907);
    EXPECT_DOUBLE_EQ(z, 4942482.713);
    EXPECT_EQ(base.GetStationType(), 4u);
    EXPECT_EQ(base.GetStationID(), "AAAA");

    const std::vector<ByteVector> psrdop = FramesWithId(frames, kPSRDOPMessageID);
    ASSERT_EQ(psrdop.size(), 1u);
    const CNovatelPSRDOPB dop(psrdop[0]);
    EXPECT_EQ(dop.GetGDOP(), static_cast<double>(0x3FBF9DB2));
    EXPECT_EQ(dop.GetElevationCutoff(), static_cast<double>(0x40A00000));
    EXPECT_EQ(dop.GetPRNs().size(), 17u);
}

}  // namespace
