// Counting the satellites of a TRACKSTAT log and building the sky view: one
// satellite per PRN whatever its number of signals, code lock as "tracked",
// reject code 0 as "used", GLONASS slots, the L1 signal's strength.

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "LogObserver/TrackingSummary.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelTRACKSTAT.h"
#include "tests/statusobserver/StatusObserverTestSupport.h"

namespace {

using namespace StatusObserverTest;

STrackingSummary Summarise(const std::vector<SChannel>& channels) {
    std::unique_ptr<CGPSRecord> record(
        CreateRecord(Frame(Novatel::kTRACKSTATMessageID, TrackstatBody(channels))));
    const auto* trackstat = dynamic_cast<const Novatel::CNovatelTRACKSTAT*>(record.get());
    EXPECT_NE(nullptr, trackstat);
    return trackstat ? SummariseTracking(*trackstat) : STrackingSummary();
}

TEST(TrackingSummaryTest, SatelliteOnTwoSignalsCountsOnceAndUsesL1Strength) {
    // The L2 channel comes first here, so the L1 strength must replace it.
    const STrackingSummary summary = Summarise(
        {{16, kGPSL2Locked, 46.0f, kRejectNotApplicable}, {16, kGPSL1Locked, 50.0f, kRejectGood}});
    EXPECT_EQ(1, summary.gpsTracked);
    EXPECT_EQ(1, summary.gpsUsed);
    ASSERT_EQ(1u, summary.skyView.size());
    const CPositionAPI::sSSatinfo& satellite = summary.skyView[0];
    EXPECT_EQ(CPositionAPI::SYSTEM_GPS, satellite.system);
    EXPECT_EQ(16, satellite.prn);
    EXPECT_FLOAT_EQ(50.0f, static_cast<float>(satellite.carrierToNoise));
    EXPECT_TRUE(satellite.used);
    EXPECT_FALSE(satellite.directionKnown);
}

TEST(TrackingSummaryTest, IdleSearchingAndOtherSystemChannelsAreNotTracked) {
    const STrackingSummary summary = Summarise({{0, kGPSL1Locked, 50.0f, kRejectGood},
                                                {10, kGPSSearching, 30.0f, kRejectGood},
                                                {0, kLBand, 0.0f, kRejectNotApplicable},
                                                {12, kLBand | 0x1000, 40.0f, kRejectGood}});
    EXPECT_EQ(0, summary.TotalTracked());
    EXPECT_EQ(0, summary.TotalUsed());
    EXPECT_TRUE(summary.skyView.empty());
}

TEST(TrackingSummaryTest, RejectedRangeIsTrackedButNotUsed) {
    const STrackingSummary summary = Summarise({{7, kGPSL1Locked, 36.0f, kRejectNoIonoCorrection},
                                                {7, kGPSL2Locked, 30.0f, kRejectNotApplicable}});
    EXPECT_EQ(1, summary.gpsTracked);
    EXPECT_EQ(0, summary.gpsUsed);
    ASSERT_EQ(1u, summary.skyView.size());
    EXPECT_FALSE(summary.skyView[0].used);
}

TEST(TrackingSummaryTest, GlonassGetsItsSlotAndSbasItsPrn) {
    const STrackingSummary summary =
        Summarise({{38, kGLONASSL1Locked, 41.0f, kRejectGood},
                   {61, kGLONASSL1Locked, 35.0f, kRejectNoIonoCorrection},
                   {135, kSBASL1Locked, 44.0f, kRejectGood}});
    EXPECT_EQ(2, summary.glonassTracked);
    EXPECT_EQ(1, summary.glonassUsed);
    EXPECT_EQ(1, summary.sbasTracked);
    EXPECT_EQ(1, summary.sbasUsed);
    EXPECT_EQ(std::vector<int32_t>{135}, summary.sbasPRNs);
    ASSERT_EQ(3u, summary.skyView.size());
    EXPECT_EQ(CPositionAPI::SYSTEM_GLONASS, summary.skyView[0].system);
    EXPECT_EQ(1, summary.skyView[0].prn);
    EXPECT_EQ(24, summary.skyView[1].prn);
    EXPECT_EQ(CPositionAPI::SYSTEM_SBAS, summary.skyView[2].system);
    EXPECT_EQ(135, summary.skyView[2].prn);
}

TEST(TrackingSummaryTest, GlonassWithoutKnownSlotCountsButStaysOutOfTheSkyView) {
    const STrackingSummary summary = Summarise(
        {{37, kGLONASSL1Locked, 41.0f, kRejectGood}, {3, kGPSL1Locked, 45.0f, kRejectGood}});
    EXPECT_EQ(1, summary.glonassTracked);
    EXPECT_EQ(1, summary.glonassUsed);
    ASSERT_EQ(1u, summary.skyView.size());
    EXPECT_EQ(CPositionAPI::SYSTEM_GPS, summary.skyView[0].system);
}

TEST(TrackingSummaryTest, SamePrnInDifferentSystemsIsTwoSatellites) {
    // A GPS PRN and an SBAS PRN cannot collide, but GPS and GLONASS numbers can.
    const STrackingSummary summary = Summarise(
        {{40, kGPSL1Locked, 45.0f, kRejectGood}, {40, kGLONASSL1Locked, 41.0f, kRejectGood}});
    EXPECT_EQ(1, summary.gpsTracked);
    EXPECT_EQ(1, summary.glonassTracked);
    EXPECT_EQ(2u, summary.skyView.size());
}

}  // namespace
