// The L-band logs: LBANDINFO and LBANDSTAT from generated frames (no public
// recording holds them), every status word bit against its flag, and the
// exact lines the decoded words and LBANDSTAT print.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>

#include "Logs/NovatelOEMV/LBandLog.h"
#include "Logs/NovatelOEMV/NovatelBinary/LBandStatusWords.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelLBANDINFOB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelLBANDSTATB.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "tests/logs/LogsTestSupport.h"

using namespace Novatel;

namespace {

using LogsTest::LogFrame;
using LogsTest::RecordPtr;

template <typename Word>
std::string Printed(const Word& word) {
    std::ostringstream out;
    word.Print(out);
    return out.str();
}

// --- Decoded words ----------------------------------------------------------

TEST(LBandSignalTracking, Word8043IsTrackingState3WithBitTimingLockAndErrorEachFromItsOwnBit) {
    const CLBandSignalTracking tracking(0x8043);
    EXPECT_EQ(tracking.GetRawWord(), 0x8043);
    EXPECT_EQ(tracking.GetTrackingState(), 3u);
    EXPECT_TRUE(tracking.HasBitTimingLock());
    EXPECT_TRUE(tracking.HasError());
    EXPECT_FALSE(tracking.IsPhaseLocked());
    EXPECT_FALSE(tracking.IsDCOffsetUnlocked());
    EXPECT_FALSE(tracking.IsAGCUnlocked());
    EXPECT_EQ(Printed(tracking),
              "[CLBandSignalTracking]: TrackingState=3 BitTimingLock=1 PhaseLocked=0 "
              "DCOffsetUnlocked=0 AGCUnlocked=0 Error=1\n");
    // Bits 2 to 5 and 10 to 14 name nothing; the state is bits 0 and 1 alone.
    const CLBandSignalTracking unnamed(0x7C3C);
    EXPECT_EQ(Printed(unnamed),
              "[CLBandSignalTracking]: TrackingState=0 BitTimingLock=0 PhaseLocked=0 "
              "DCOffsetUnlocked=0 AGCUnlocked=0 Error=0\n");
    EXPECT_TRUE(CLBandSignalTracking(1u << 7).IsPhaseLocked());
    EXPECT_TRUE(CLBandSignalTracking(1u << 8).IsDCOffsetUnlocked());
    EXPECT_TRUE(CLBandSignalTracking(1u << 9).IsAGCUnlocked());
    EXPECT_EQ(CLBandSignalTracking(0x0002).GetTrackingState(), 2u);
}

// The link error is decoded but deliberately not printed, and the raw word is
// printed under "SignalState".
TEST(OmnistarVBSStatusWord, LinkErrorIsDecodedButThePrintedLineShowsOnlyTheRawWord) {
    const COmnistarVBSStatusWord vbs(0x0008);
    EXPECT_TRUE(vbs.HasLinkError());
    EXPECT_EQ(Printed(vbs),
              "[COmnistarVBSStatusWord]:  SignalState=8 SubscriptionExpired=0 OutOfRegion=0 "
              "WetError=0 NoRemoteSites=0 NoAlmanac=0 NoPosition=0 NoTime=0 UpdatingData=0\n");
}

struct SFlagCase {
    unsigned bit;
    const char* printed;  // the pair that must read 1, or "" for a flag not printed
};

TEST(OmnistarVBSStatusWord, EachBitSetsItsFlagAndNoOther) {
    const SFlagCase cases[] = {
        {0, "SubscriptionExpired=1"}, {1, "OutOfRegion=1"}, {2, "WetError=1"},   {3, ""},
        {4, "NoRemoteSites=1"},       {5, "NoAlmanac=1"},   {6, "NoPosition=1"}, {7, "NoTime=1"},
        {15, "UpdatingData=1"}};
    for (const SFlagCase& c : cases) {
        const COmnistarVBSStatusWord vbs(static_cast<uint16_t>(1u << c.bit));
        const std::string line = Printed(vbs);
        const std::string rawPair = " SignalState=" + std::to_string(1u << c.bit) + " ";
        EXPECT_NE(line.find(rawPair), std::string::npos) << line;
        const std::string rest = line.substr(line.find(rawPair) + rawPair.size());
        // Exactly one flag reads 1 (none for the link error).
        const size_t ones = std::count(rest.begin(), rest.end(), '1');
        EXPECT_EQ(ones, c.printed[0] ? 1u : 0u) << "bit " << c.bit << ": " << line;
        if (c.printed[0]) {
            EXPECT_NE(rest.find(c.printed), std::string::npos) << line;
        }
    }
    const COmnistarVBSStatusWord all(0xFFFF);
    EXPECT_TRUE(all.IsSubscriptionExpired() && all.IsOutOfRegion() && all.HasWetError() &&
                all.HasLinkError() && all.HasNoRemoteSites() && all.HasNoAlmanac() &&
                all.HasNoPosition() && all.HasNoTime() && all.IsUpdatingData());
}

TEST(OmnistarHPStatusWord, EachBitSetsItsFlagAndNoOther) {
    const SFlagCase cases[] = {
        {0, "SubExpired=1"},        {1, "OutOfRegion=1"},       {2, "WetError=1"},
        {3, "LinkError=1"},         {4, "NoMeasurements=1"},    {5, "NoEphemeris=1"},
        {6, "NoInitialPosition=1"}, {7, "NoTimeSet=1"},         {8, "VelocityError=1"},
        {9, "NoBaseStations=1"},    {10, "NoMappingMessage=1"}, {26, "StaticInitialisationMode=1"},
        {31, "UpdatingData=1"}};
    for (unsigned bit = 0; bit < 32; ++bit) {
        const char* expected = "";
        for (const SFlagCase& c : cases) {
            if (c.bit == bit) expected = c.printed;
        }
        const std::string line = Printed(COmnistarHPStatusWord(1u << bit));
        EXPECT_EQ(std::count(line.begin(), line.end(), '1'), expected[0] ? 1 : 0)
            << "bit " << bit << ": " << line;
        if (expected[0]) {
            EXPECT_NE(line.find(expected), std::string::npos) << line;
        }
    }
    EXPECT_EQ(Printed(COmnistarHPStatusWord(0x84000001u)),
              "[COmnistarHPStatusWord]: SubExpired=1 OutOfRegion=0 WetError=0 LinkError=0 "
              "NoMeasurements=0 NoEphemeris=0 NoInitialPosition=0 NoTimeSet=0 VelocityError=0 "
              "NoBaseStations=0 NoMappingMessage=0 StaticInitialisationMode=1 UpdatingData=1\n");
}

// Convergence and the two authorisations are reported by a clear bit.
TEST(OmnistarHPAdditionalStatusWord, ZeroIsConvergedAndAuthorisedAndEachBitTurnsItsFlag) {
    const COmnistarHPAdditionalStatusWord word(0);
    EXPECT_TRUE(word.IsSolutionConverged());
    EXPECT_TRUE(word.IsHPAuthorised());
    EXPECT_TRUE(word.IsXPAuthorised());
    EXPECT_FALSE(word.IsSatelliteListAvailable());
    EXPECT_EQ(Printed(word),
              "[COmnistarHPAdditionalStatusWord]: SolutionConverged=1 "
              "SatelliteListAvailable=0 HPAuthorised=1 XPAuthorised=1\n");
    EXPECT_FALSE(COmnistarHPAdditionalStatusWord(0x0001).IsSolutionConverged());
    EXPECT_TRUE(COmnistarHPAdditionalStatusWord(0x0002).IsSatelliteListAvailable());
    EXPECT_FALSE(COmnistarHPAdditionalStatusWord(0x0010).IsHPAuthorised());
    EXPECT_FALSE(COmnistarHPAdditionalStatusWord(0x0020).IsXPAuthorised());
    // Bits 2, 3 and 6 to 15 name nothing.
    EXPECT_EQ(Printed(COmnistarHPAdditionalStatusWord(0xFFCC)),
              Printed(COmnistarHPAdditionalStatusWord(0)));
}

TEST(LBandStatusWords, PrintGoesToStandardOutputByDefault) {
    testing::internal::CaptureStdout();
    COmnistarHPAdditionalStatusWord(0x0033).Print();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[COmnistarHPAdditionalStatusWord]: SolutionConverged=0 "
              "SatelliteListAvailable=1 HPAuthorised=0 XPAuthorised=0\n");
}

// --- Records ----------------------------------------------------------------

ByteVector LbandstatBody() {
    return Tools::CBodyWriter()
        .U32(1545865000)  // frequency, Hz
        .F32(42.5f)       // C/No
        .F32(1234.25f)    // lock time
        .F32(-3.5f)       // reserved
        .U16(0x8043)      // tracking word
        .U16(0x0008)      // VBS status word
        .U32(70001)       // bytes
        .U32(70002)       // good DGPS
        .U32(70003)       // bad data
        .U16(0xBEEF)      // reserved
        .U16(0x0012)      // HP additional status word
        .U32(70004)       // HP bytes
        .U32(0x80000400)  // HP status word
        .U32(0xCAFEF00D)  // reserved
        .Bytes();
}

TEST(LbandstatLog, FactoryMakesAnLBandRecordWithEveryFieldDecoded) {
    const RecordPtr record(CreateRecord(LogFrame(kLBANDSTATMessageID, LbandstatBody())));
    EXPECT_NE(dynamic_cast<CLBandLog*>(record.get()), nullptr);
    EXPECT_NE(dynamic_cast<CNovatelLBANDSTATB*>(record.get()), nullptr);
    const CNovatelLBANDSTAT* stat = dynamic_cast<const CNovatelLBANDSTAT*>(record.get());
    ASSERT_NE(stat, nullptr);
    EXPECT_EQ(stat->GetMessageID(), kLBANDSTATMessageID);
    EXPECT_EQ(stat->GetFrequency(), 1545865000u);
    EXPECT_EQ(stat->GetCNR(), 42.5f);
    EXPECT_EQ(stat->GetLockTime(), 1234.25f);
    EXPECT_EQ(stat->GetReservedAt12(), -3.5f);
    EXPECT_EQ(stat->GetSignalTracking().GetTrackingState(), 3u);
    EXPECT_TRUE(stat->GetSignalTracking().HasError());
    EXPECT_EQ(stat->GetVBSStatus().GetRawWord(), 0x0008);
    EXPECT_TRUE(stat->GetVBSStatus().HasLinkError());
    EXPECT_EQ(stat->GetBytes(), 70001u);
    EXPECT_EQ(stat->GetGoodDGPS(), 70002u);
    EXPECT_EQ(stat->GetBadData(), 70003u);
    EXPECT_EQ(stat->GetReservedAt32(), 0xBEEF);
    EXPECT_EQ(stat->GetHPAdditionalStatus().GetRawWord(), 0x0012);
    EXPECT_TRUE(stat->GetHPAdditionalStatus().IsSatelliteListAvailable());
    EXPECT_FALSE(stat->GetHPAdditionalStatus().IsHPAuthorised());
    EXPECT_EQ(stat->GetHPBytes(), 70004u);
    EXPECT_EQ(stat->GetHPStatus().GetRawWord(), 0x80000400u);
    EXPECT_TRUE(stat->GetHPStatus().HasNoMappingMessage());
    EXPECT_TRUE(stat->GetHPStatus().IsUpdatingData());
    EXPECT_EQ(stat->GetReservedAt44(), 0xCAFEF00Du);

    EXPECT_EQ(Printed(*stat),
              "[CNovatelLBANDSTAT]: Frequency=1545865000 CNR=42.5 Locktime=1234.25 "
              "RawSignalTracking=32835 RawVBSStatus=8 Bytes=70001 GoodDGPS=70002 BadData=70003 "
              "RawHPAdditionalStatus=18 HPBytes=70004 RawHPStatus=2147484672\n");
}

TEST(LbandinfoLog, FactoryMakesAnLBandRecordWithEveryWordInFrameOrder) {
    const ByteVector body = Tools::CBodyWriter()
                                .U32(1545865)  // frequency, kHz
                                .U32(1200)     // baud
                                .U16(0x1234)   // service ID
                                .U16(0x5678)   // reserved
                                .U32(700123)   // OmniSTAR serial number
                                .U32(1)        // VBS subscription
                                .U32(1700)     // VBS expiry week
                                .U32(86400)    // VBS expiry seconds
                                .U32(2)        // HP subscription
                                .U32(1701)     // HP expiry week
                                .U32(172800)   // HP expiry seconds
                                .U32(3)        // HP subscription mode
                                .Bytes();
    const RecordPtr record(CreateRecord(LogFrame(kLBANDINFOMessageID, body)));
    EXPECT_NE(dynamic_cast<CLBandLog*>(record.get()), nullptr);
    EXPECT_NE(dynamic_cast<CNovatelLBANDINFOB*>(record.get()), nullptr);
    const CNovatelLBANDINFO* info = dynamic_cast<const CNovatelLBANDINFO*>(record.get());
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->GetFrequency(), 1545865u);
    EXPECT_EQ(info->GetBaudRate(), 1200u);
    EXPECT_EQ(info->GetServiceID(), 0x1234);
    EXPECT_EQ(info->GetReserved(), 0x5678);
    EXPECT_EQ(info->GetOmnistarSerialNumber(), 700123u);
    EXPECT_EQ(info->GetVBSSubscription(), 1u);
    EXPECT_EQ(info->GetVBSExpiryWeek(), 1700u);
    EXPECT_EQ(info->GetVBSExpirySeconds(), 86400u);
    EXPECT_EQ(info->GetHPSubscription(), 2u);
    EXPECT_EQ(info->GetHPExpiryWeek(), 1701u);
    EXPECT_EQ(info->GetHPExpirySeconds(), 172800u);
    EXPECT_EQ(info->GetHPSubscriptionMode(), 3u);
}

// A cut frame reads zeros for what it no longer holds and nothing beyond its
// end (the logs group runs under AddressSanitizer). Frames are cut from the
// first length that still holds the message ID.
TEST(LBandLogs, CutFramesYieldZerosBeyondTheirEnd) {
    const size_t withMessageId = 6;
    const ByteVector stat = LogFrame(kLBANDSTATMessageID, LbandstatBody());
    for (size_t length = withMessageId; length <= stat.size(); ++length) {
        const RecordPtr record(CreateRecord(ByteVector(stat.begin(), stat.begin() + length)));
        const CNovatelLBANDSTAT* log = dynamic_cast<const CNovatelLBANDSTAT*>(record.get());
        ASSERT_NE(log, nullptr) << length;
        EXPECT_EQ(log->GetReservedAt44(), length >= 28 + 48 ? 0xCAFEF00Du : 0u) << length;
        EXPECT_EQ(log->GetHPStatus().GetRawWord(), length >= 28 + 44 ? 0x80000400u : 0u);
        EXPECT_EQ(log->GetSignalTracking().GetRawWord(), length >= 28 + 18 ? 0x8043 : 0);
    }
    const ByteVector info = LogFrame(kLBANDINFOMessageID, ByteVector(44, 0x01));
    for (size_t length = withMessageId; length <= info.size(); ++length) {
        const RecordPtr record(CreateRecord(ByteVector(info.begin(), info.begin() + length)));
        const CNovatelLBANDINFO* log = dynamic_cast<const CNovatelLBANDINFO*>(record.get());
        ASSERT_NE(log, nullptr) << length;
        EXPECT_EQ(log->GetHPSubscriptionMode(), length >= 28 + 44 ? 0x01010101u : 0u) << length;
    }
}

}  // namespace
