// RANGE and TRACKSTAT: decoding from built frames and from real recordings
// (checked against the receiver's ASCII twin), and the length rule that ends
// the process with the size found and expected. Also the factory's rows for
// all the measurement and status logs.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <typeinfo>

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
#include "tests/logs/MeasurementLogsTestSupport.h"

using namespace MeasurementLogsTest;
using Novatel::CNovatelRANGE;
using Novatel::CNovatelRANGEB;
using Novatel::CNovatelTRACKSTAT;
using Novatel::CNovatelTRACKSTATB;

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

// A header longer than 28 bytes moves the body: fields are read from there.
TEST(RangeLog, DecodesEveryFieldFromWhereTheHeaderLengthPutsTheBody) {
    const CNovatelRANGEB record(
        LogFrameWithHeaderLength(Novatel::kRANGEMessageID, 40, RangeBody(2, 2)));
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
    const ByteVector frame = LogFrame(Novatel::kRANGEMessageID, RangeBody(0, 0));
    ASSERT_EQ(frame.size(), 28u + 8u);
    const CNovatelRANGEB record(frame);
    EXPECT_EQ(record.GetNumberOfObservations(), 0u);
    EXPECT_TRUE(record.GetObservations().empty());
}

TEST(TrackstatLog, DecodesEveryFieldFromWhereTheHeaderLengthPutsTheBody) {
    const CNovatelTRACKSTATB record(
        LogFrameWithHeaderLength(Novatel::kTRACKSTATMessageID, 36, TrackstatBody(2, 2)));
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

// A frame whose length does not match its count, and what the process says
// before it ends.
struct SLengthCase {
    const char* name;
    bool range;  // RANGE, else TRACKSTAT
    ByteVector frame;
    std::string printed;
};

void PrintTo(const SLengthCase& c, std::ostream* out) { *out << c.name; }

class MeasurementLengthRule : public ::testing::TestWithParam<SLengthCase> {};

TEST_P(MeasurementLengthRule, PrintsFoundAndExpectedSizesThenAborts) {
    const SLengthCase& c = GetParam();
    const std::string assertion =
        c.range ? AssertionPattern("Logs/NovatelOEMV/NovatelBinary/NovatelRANGEB.cpp",
                                   ParseFunction("CNovatelRANGEB"),
                                   "sentenceData.size() == (m_header.m_headerLength + 4 + "
                                   "(m_numberOfObservations * 44) + 4)")
                : AssertionPattern("Logs/NovatelOEMV/NovatelBinary/NovatelTRACKSTATB.cpp",
                                   ParseFunction("CNovatelTRACKSTATB"),
                                   "sentenceData.size() == (m_header.m_headerLength + 16 + "
                                   "(m_numberOfChannels * 40) + 4)");
    // The size line comes first, then the assertion.
    const std::string expected = Literal(c.printed) + "\n" + assertion;
    if (c.range) {
        EXPECT_DEATH(
            {
                StandardOutputToStandardError();
                CNovatelRANGEB record(c.frame);
            },
            ::testing::ContainsRegex(expected));
    } else {
        EXPECT_DEATH(
            {
                StandardOutputToStandardError();
                CNovatelTRACKSTATB record(c.frame);
            },
            ::testing::ContainsRegex(expected));
    }
}

// The RANGE text names 16 for the count field that takes 4: kept word for word.
INSTANTIATE_TEST_SUITE_P(
    Frames, MeasurementLengthRule,
    ::testing::Values(
        SLengthCase{"TrackstatOneByteTooLong", false,
                    Resized(LogFrame(Novatel::kTRACKSTATMessageID, TrackstatBody(2, 2)), 1),
                    "CNovatelTRACKSTATB sentenceData.size() is 129 but expected (28 + 16 + (2 * "
                    "40) + 4)"},
        SLengthCase{"TrackstatOneChannelMissing", false,
                    LogFrame(Novatel::kTRACKSTATMessageID, TrackstatBody(3, 2)),
                    "CNovatelTRACKSTATB sentenceData.size() is 128 but expected (28 + 16 + (3 * "
                    "40) + 4)"},
        SLengthCase{"RangeOneByteTooLong", true,
                    Resized(LogFrame(Novatel::kRANGEMessageID, RangeBody(1, 1)), 1),
                    "CNovatelRANGEB sentenceData.size() is 81 but expected (28 + 16 + (1 * 44) + "
                    "4)"},
        SLengthCase{"RangeOneByteShort", true,
                    Resized(LogFrame(Novatel::kRANGEMessageID, RangeBody(1, 1)), -1),
                    "CNovatelRANGEB sentenceData.size() is 79 but expected (28 + 16 + (1 * 44) + "
                    "4)"},
        // 0x40000000 * 44 wraps a 32-bit sum back onto this frame's length.
        SLengthCase{"RangeCountThatWrapsThirtyTwoBits", true,
                    LogFrame(Novatel::kRANGEMessageID, RangeBody(0x40000000, 0)),
                    "CNovatelRANGEB sentenceData.size() is 36 but expected (28 + 16 + (1073741824 "
                    "* 44) + 4)"},
        SLengthCase{"RangeHostileCount", true,
                    LogFrame(Novatel::kRANGEMessageID, RangeBody(0xFFFFFFFF, 2)),
                    "CNovatelRANGEB sentenceData.size() is 124 but expected (28 + 16 + (-1 * 44) "
                    "+ 4)"},
        SLengthCase{
            "TrackstatHeaderLengthCounted", false,
            Resized(LogFrameWithHeaderLength(Novatel::kTRACKSTATMessageID, 32, TrackstatBody(1, 1)),
                    4),
            "CNovatelTRACKSTATB sentenceData.size() is 96 but expected (32 + 16 + (1 * "
            "40) + 4)"}),
    [](const ::testing::TestParamInfo<SLengthCase>& info) { return info.param.name; });

// Real recordings against their ASCII twins: every field the twin prints.

void ExpectRangeMatchesTwin(const CNovatelRANGEB& record, const LogsTest::SAsciiLog& twin) {
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

void ExpectTrackstatMatchesTwin(const CNovatelTRACKSTATB& record, const LogsTest::SAsciiLog& twin) {
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

struct STwinCase {
    const char* recording;
    const char* twin;
    size_t logs;
};

void PrintTo(const STwinCase& c, std::ostream* out) { *out << c.recording; }

std::string TwinCaseName(const ::testing::TestParamInfo<STwinCase>& info) {
    return FramingTest::RecordingTestName(info.param.recording);
}

class RangeTwin : public ::testing::TestWithParam<STwinCase> {};

TEST_P(RangeTwin, EveryObservationMatchesTheReceiversAsciiLog) {
    QUILLOND_REQUIRE_CAPTURE(recording, GetParam().recording);
    QUILLOND_REQUIRE_CAPTURE(twin, GetParam().twin);
    const auto pairs = TwinPairs(recording, twin, Novatel::kRANGEMessageID, "RANGEA");
    EXPECT_EQ(pairs.size(), GetParam().logs);
    for (const auto& pair : pairs) {
        ExpectRangeMatchesTwin(CNovatelRANGEB(pair.first), pair.second);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Recordings, RangeTwin,
    ::testing::Values(STwinCase{"oemv3-MorePropak.gps", "oemv3-MorePropak.asc", 1},
                      STwinCase{"oemv3-OnceEachAgain.gps", "oemv3-OnceEachAgain.asc", 1}),
    TwinCaseName);

class TrackstatTwin : public ::testing::TestWithParam<STwinCase> {};

TEST_P(TrackstatTwin, EveryChannelMatchesTheReceiversAsciiLog) {
    QUILLOND_REQUIRE_CAPTURE(recording, GetParam().recording);
    QUILLOND_REQUIRE_CAPTURE(twin, GetParam().twin);
    const auto pairs = TwinPairs(recording, twin, Novatel::kTRACKSTATMessageID, "TRACKSTATA");
    EXPECT_EQ(pairs.size(), GetParam().logs);
    for (const auto& pair : pairs) {
        ExpectTrackstatMatchesTwin(CNovatelTRACKSTATB(pair.first), pair.second);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Recordings, TrackstatTwin,
    ::testing::Values(STwinCase{"oemv3-ParsingData.gps", "oemv3-ParsingData.asc", 83},
                      STwinCase{"oemv3-ParsingData2.gps", "oemv3-ParsingData2.asc", 20}),
    TwinCaseName);

// The mixed corpus has no twin; its values were read from the file with an
// independent decoder.
TEST(MeasurementLogsMixedCorpus, RangeOfAnotherReceiverGeneration) {
    QUILLOND_REQUIRE_CAPTURE(path, "mixed-alllogs-repaired.gps");
    const ByteVector frame = OnlyFrame(path, Novatel::kRANGEMessageID);
    ASSERT_FALSE(frame.empty());
    const CNovatelRANGEB record(frame);
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
}

TEST(MeasurementLogsMixedCorpus, TrackstatOfAnotherReceiverGeneration) {
    QUILLOND_REQUIRE_CAPTURE(path, "mixed-alllogs-repaired.gps");
    const ByteVector frame = OnlyFrame(path, Novatel::kTRACKSTATMessageID);
    ASSERT_FALSE(frame.empty());
    const CNovatelTRACKSTATB record(frame);
    EXPECT_EQ(record.GetPositionType(), 16u);
    EXPECT_DOUBLE_EQ(record.GetElevationCutoff(), 5.0);
    ASSERT_EQ(record.GetChannels().size(), 71u);
    const CNovatelTRACKSTAT::SChannel& second = record.GetChannels()[1];
    EXPECT_EQ(second.m_prn, 20);
    EXPECT_DOUBLE_EQ(second.m_pseudorange, 23460304.786);
    EXPECT_EQ(second.m_rejectCode, 13u);
    const CNovatelTRACKSTAT::SChannel& idle = record.GetChannels().back();
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
        {Novatel::kRANGEMessageID, 4, typeid(CNovatelRANGEB)},
        {Novatel::kTRACKSTATMessageID, 16, typeid(CNovatelTRACKSTATB)},
        {Novatel::kRXSTATUSMessageID, 8, typeid(Novatel::CNovatelRXSTATUSB)},
        {Novatel::kTIMEMessageID, 44, typeid(Novatel::CNovatelTIMEB)},
        {Novatel::kPSRDOPMessageID, 28, typeid(Novatel::CNovatelPSRDOPB)},
        {Novatel::kREFSTATIONMessageID, 44, typeid(Novatel::CNovatelREFSTATIONB)},
        {Novatel::kPDPSTATMessageID, 44, typeid(Novatel::CNovatelPDPSTATB)},
        {Novatel::kRTKSATSMessageID, 4, typeid(Novatel::CNovatelRTKSATSB)},
        {Novatel::kPDPSATSMessageID, 4, typeid(Novatel::CNovatelPDPSATSB)},
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

}  // namespace
