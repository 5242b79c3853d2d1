// RTKSATS and PDPSATS, the satellite lists of the receiver's filters: their
// entries, the signed GLONASS frequency channel, and the silent skip of a
// list too short for its count.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSATSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKSATSB.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "tests/logs/LogsTestSupport.h"

using namespace LogsTest;
using namespace Novatel;

namespace {

struct SEntry {
    uint32_t system;
    uint16_t id;
    uint16_t channel;  // as sent
    uint32_t status;
    uint32_t signalMask;
};

ByteVector SatsBody(uint32_t count, const std::vector<SEntry>& entries) {
    Tools::CBodyWriter body;
    body.U32(count);
    for (const SEntry& entry : entries) {
        body.U32(entry.system)
            .U16(entry.id)
            .U16(entry.channel)
            .U32(entry.status)
            .U32(entry.signalMask);
    }
    return body.Bytes();
}

// The body starts where the header length says (48 here, not 28).
TEST(SatsLog, DecodesEveryEntryOfEitherList) {
    const std::vector<SEntry> entries = {{0, 20, 0, 17, 0x3}, {7, 193, 0, 1, 0x100}};
    for (uint16_t messageId : {kRTKSATSMessageID, kPDPSATSMessageID}) {
        const std::unique_ptr<CGPSRecord> record(
            CreateRecord(LogFrameWithHeaderLength(messageId, 48, SatsBody(2, entries))));
        const CNovatelSatsLog* sats = dynamic_cast<const CNovatelSatsLog*>(record.get());
        ASSERT_NE(sats, nullptr) << "message ID " << messageId;
        EXPECT_EQ(sats->GetMessageID(), messageId);
        ASSERT_EQ(sats->GetSatellites().size(), 2u);
        const CNovatelSatsLog::SSatellite& qzss = sats->GetSatellites()[1];
        EXPECT_EQ(qzss.m_system, 7u);
        EXPECT_EQ(qzss.m_satelliteID, 193);
        EXPECT_EQ(qzss.m_frequencyChannel, 0);
        EXPECT_EQ(qzss.m_status, 1u);
        EXPECT_EQ(qzss.m_signalMask, 0x100u);
        EXPECT_EQ(sats->GetSatellites()[0].m_satelliteID, 20);
    }
}

// The channel is signed for GLONASS (system 1) only: both sides of the sign
// boundary, and the same bits for other systems.
TEST(SatsLog, FrequencyChannelIsSignedForGlonassOnly) {
    const struct {
        uint32_t system;
        uint16_t sent;
        int32_t held;
    } cases[] = {{1, 65529, -7}, {1, 32767, 32767}, {1, 32768, -32768},
                 {1, 65535, -1}, {0, 65529, 65529}, {2, 40000, 40000}};
    for (const auto& c : cases) {
        const CNovatelRTKSATSB record(
            LogFrame(kRTKSATSMessageID, SatsBody(1, {{c.system, 5, c.sent, 1, 0}})));
        ASSERT_EQ(record.GetSatellites().size(), 1u);
        EXPECT_EQ(record.GetSatellites()[0].m_frequencyChannel, c.held)
            << "system " << c.system << ", sent " << c.sent;
    }
}

// A list too short for its count is dropped without a word and the process
// carries on.
TEST(SatsLog, ListShorterThanItsCountIsSkippedSilently) {
    const std::vector<SEntry> two = {{0, 20, 0, 17, 0}, {1, 10, 65529, 17, 0}};
    const ByteVector frames[] = {
        LogFrame(kPDPSATSMessageID, SatsBody(3, two)),
        Resized(LogFrame(kPDPSATSMessageID, SatsBody(2, two)), -1),
        LogFrame(kPDPSATSMessageID, SatsBody(0xFFFFFFFF, two)),
        LogFrame(kPDPSATSMessageID, ByteVector()),
    };
    for (const ByteVector& frame : frames) {
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        const CNovatelPDPSATSB record(frame);
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
        EXPECT_TRUE(record.GetSatellites().empty()) << "frame of " << frame.size() << " bytes";
    }
}

TEST(SatsLog, FrameLongerThanItsListIsDecoded) {
    const std::vector<SEntry> one = {{1, 10, 65529, 17, 0}};
    const CNovatelRTKSATSB record(Resized(LogFrame(kRTKSATSMessageID, SatsBody(1, one)), 7));
    ASSERT_EQ(record.GetSatellites().size(), 1u);
    EXPECT_EQ(record.GetSatellites()[0].m_frequencyChannel, -7);
}

// The mixed corpus holds one list of each filter (no twin); values read with
// an independent decoder: 9 GPS, 1 QZSS and 9 GLONASS satellites, all status 17.
TEST(SatsLog, ListsOfARealReceiver) {
    QUILLOND_REQUIRE_CAPTURE(path, "mixed-alllogs-repaired.gps");
    const std::vector<ByteVector> frames = BinaryFramesOf(path);
    for (uint16_t messageId : {kRTKSATSMessageID, kPDPSATSMessageID}) {
        const std::vector<ByteVector> lists = FramesWithId(frames, messageId);
        ASSERT_EQ(lists.size(), 1u) << "message ID " << messageId;
        const std::unique_ptr<CGPSRecord> record(CreateRecord(lists[0]));
        const CNovatelSatsLog* sats = dynamic_cast<const CNovatelSatsLog*>(record.get());
        ASSERT_NE(sats, nullptr);
        ASSERT_EQ(sats->GetSatellites().size(), 19u);
        const uint16_t expectedIds[] = {20, 2, 24, 6,  12, 25, 13, 17, 5, 193,
                                        10, 6, 9,  11, 5,  20, 19, 21, 4};
        const uint32_t expectedSystems[] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 7,
                                            1, 1, 1, 1, 1, 1, 1, 1, 1};
        for (size_t i = 0; i < 19; ++i) {
            const CNovatelSatsLog::SSatellite& satellite = sats->GetSatellites()[i];
            EXPECT_EQ(satellite.m_satelliteID, expectedIds[i]) << "entry " << i;
            EXPECT_EQ(satellite.m_system, expectedSystems[i]) << "entry " << i;
            EXPECT_EQ(satellite.m_frequencyChannel, 0) << "entry " << i;
            EXPECT_EQ(satellite.m_status, 17u) << "entry " << i;
            EXPECT_EQ(satellite.m_signalMask, 0u) << "entry " << i;
        }
    }
}

}  // namespace
