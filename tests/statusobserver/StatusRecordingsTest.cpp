// The receiver status observer fed whole real recordings, as the port handler
// would: tracking counts of GPS, GLONASS and SBAS satellites, versions and
// the header's status word as real receivers send them.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "tests/framing/FramingTestSupport.h"
#include "tests/statusobserver/StatusObserverTestSupport.h"

namespace {

using namespace StatusObserverTest;

class StatusRecordingsTest : public StatusObserverFixture {
protected:
    // Offers every frame of the recording to the observer and returns what it published.
    std::vector<Value> Replay(const std::string& path) {
        Novatel::CNovatelBinarySentenceConstructor framer;
        for (const ByteVector& frame :
             FramingTest::Feed(framer, FramingTest::ReadCapture(path)).sentences) {
            Feed(frame);
        }
        return Values();
    }
};

TEST_F(StatusRecordingsTest, OemvWithGlonassAndSbasCountsEachSystem) {
    QUILLOND_REQUIRE_CAPTURE(path, "oemv-2009-rtklib.gps");
    const std::vector<Value> values = Replay(path);
    const std::vector<std::string> tracked = Texts(values, "sats_tracked");
    ASSERT_EQ(50u, tracked.size());
    // At the start the receiver has no satellites yet; at the end it tracks
    // nine GPS satellites (all used), five GLONASS ones and two MSAS ones.
    EXPECT_EQ("0,0,0", tracked.front());
    EXPECT_EQ("16,9,2", tracked.back());
    EXPECT_EQ("9,9", Texts(values, "sats_tracked_gps").back());
    EXPECT_EQ("5,0", Texts(values, "sats_tracked_glonass").back());
    EXPECT_EQ("129 (MSAS),137 (MSAS),", Texts(values, "sbas_tracking").back());
    EXPECT_EQ((std::vector<int32_t>{9, 9, 5, 0, 2}), m_observer->GetTrackingCounters());
    EXPECT_EQ(16u, m_observer->GetSkyView().size());
    EXPECT_EQ("50,515265.000000", Texts(values, "trackstat_messages").back());

    // The status word is published on its changes only.
    const std::vector<std::string> status = Texts(values, "ReceiverStatus");
    ASSERT_FALSE(status.empty());
    for (size_t i = 1; i < status.size(); ++i) EXPECT_NE(status[i - 1], status[i]);
    EXPECT_NE(status.end(),
              std::find(status.begin(), status.end(),
                        "0x004C0020: Antenna open,Almanac invalid,Position solution invalid,Clock "
                        "model invalid,"));
}

TEST_F(StatusRecordingsTest, OemvVersionLogsKeepTheReceiverCard) {
    QUILLOND_REQUIRE_CAPTURE(path, "oemv3-ParsingData.gps");
    const std::vector<Value> values = Replay(path);
    EXPECT_EQ("3", Texts(values, "version_messages").back());
    EXPECT_EQ("GPSCARD", Texts(values, "component_00.componentType").back());
    EXPECT_EQ("USERINFO", Texts(values, "component_03.componentType").back());
    EXPECT_EQ("NBV07290013", Texts(values, "component_02.psn").back());
    EXPECT_EQ((std::vector<std::string>{"L12LRVA", "DAB07280012", "OEMV3G-4.00-X2T", "3.301"}),
              m_observer->GetVersionStrings());
    // This firmware's version is not of the numbered kind.
    EXPECT_EQ(-1, m_observer->GetSoftwareVersionNumber());

    const std::vector<std::string> gps = Texts(values, "sats_tracked_gps");
    ASSERT_EQ(83u, gps.size());
    for (const std::string& counts : gps) EXPECT_EQ("11,10", counts);
    EXPECT_EQ(std::vector<std::string>{"0x00000000: "}, Texts(values, "ReceiverStatus"));
}

}  // namespace
