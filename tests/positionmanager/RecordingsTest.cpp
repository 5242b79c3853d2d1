// The position manager fed every record of real recordings: the PSRXYZ
// diagnostics against the receiver's own ASCII rendering of the same logs
// (the geodetic position against the BESTPOS of the same minute), the
// undulation of a real BESTPOS, and no solution from logs that carry none.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "platform/Core/Utilities.h"
#include "tests/positionmanager/PositionManagerTestSupport.h"

namespace {

using namespace PositionManagerTest;
using nlohmann::json;

// The body fields of the twin's first log of that name ("PSRXYZA").
std::vector<std::string> TwinBody(const std::string& path, const std::string& name) {
    for (const std::string& line :
         Core::Utilities::SplitString(TestSupport::ReadWholeFile(path), '\n')) {
        if (line.compare(0, name.size() + 2, "#" + name + ",") != 0) continue;
        const size_t semicolon = line.find(';');
        const size_t star = line.rfind('*');
        return Core::Utilities::SplitString(line.substr(semicolon + 1, star - semicolon - 1), ',');
    }
    return {};
}

double Number(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

class RecordingsTest : public CFixture, public ::testing::WithParamInterface<const char*> {
protected:
    void SetUp() override { StartManager(); }

    // Offers the manager every record the recording's binary frames make.
    void FeedRecording(const std::string& path) {
        const std::string bytes = TestSupport::ReadWholeFile(path);
        Novatel::CNovatelBinarySentenceConstructor framer;
        framer.AddData(ByteVector(bytes.begin(), bytes.end()));
        ByteVector sentence;
        for (int result = framer.GetSentence(sentence); result != 0;
             result = framer.GetSentence(sentence)) {
            if (result != 1) continue;
            std::unique_ptr<CGPSRecord> record(CreateRecord(sentence));
            m_manager->NewPacket(record.get());
        }
    }
};

TEST_P(RecordingsTest, PublishesPSRXYZAsTheReceiverRendersItAndNearItsBESTPOS) {
    const std::string name = GetParam();
    QUILLOND_REQUIRE_CAPTURE(recording, name + ".gps");
    QUILLOND_REQUIRE_CAPTURE(twin, name + ".asc");
    const std::vector<std::string> psrxyz = TwinBody(twin, "PSRXYZA");
    const std::vector<std::string> bestpos = TwinBody(twin, "BESTPOSA");
    ASSERT_EQ(28u, psrxyz.size());
    ASSERT_GE(bestpos.size(), 6u);
    ASSERT_EQ("SOL_COMPUTED", psrxyz[0]);
    ASSERT_EQ("SINGLE", psrxyz[1]);
    ASSERT_EQ("DOPPLER_VELOCITY", psrxyz[9]);

    FeedRecording(recording);
    const std::vector<json> datagrams = Datagrams();

    // Statuses SOL_COMPUTED (0), SINGLE (16), SOL_COMPUTED, DOPPLER_VELOCITY (8);
    // the ages are singles widened.
    char info[200];
    std::snprintf(info, sizeof(info), "0,16,0,8,%f,%f,%f,%d,%d,%d,%d,0,0x%08X,0,0x%08X",
                  static_cast<double>(static_cast<float>(Number(psrxyz[17]))),
                  static_cast<double>(static_cast<float>(Number(psrxyz[18]))),
                  static_cast<double>(static_cast<float>(Number(psrxyz[19]))),
                  std::atoi(psrxyz[20].c_str()), std::atoi(psrxyz[21].c_str()),
                  std::atoi(psrxyz[22].c_str()), std::atoi(psrxyz[23].c_str()),
                  static_cast<unsigned>(std::strtoul(psrxyz[25].c_str(), nullptr, 16)),
                  static_cast<unsigned>(std::strtoul(psrxyz[27].c_str(), nullptr, 16)));
    EXPECT_EQ(std::vector<std::string>{info}, Values(datagrams, "psrxyz_info"));

    const std::vector<std::string> positions = Values(datagrams, "psrxyz_pos");
    ASSERT_EQ(1u, positions.size());
    double x = 0, y = 0, z = 0, latitude = 0, longitude = 0, height = 0;
    ASSERT_EQ(6, std::sscanf(positions[0].c_str(), "%lf,%lf,%lf,%lf,%lf,%lf", &x, &y, &z, &latitude,
                             &longitude, &height));
    EXPECT_NEAR(Number(psrxyz[2]), x, 5e-5);
    EXPECT_NEAR(Number(psrxyz[4]), z, 5e-5);
    // The BESTPOS is a single point solution of the same site some seconds
    // apart: metres, not more. Its height is above the geoid.
    EXPECT_NEAR(Number(bestpos[2]), latitude, 1e-4);
    EXPECT_NEAR(Number(bestpos[3]), longitude, 1e-4);
    EXPECT_NEAR(Number(bestpos[4]) + Number(bestpos[5]), height, 10.0);

    char undulation[32];
    std::snprintf(undulation, sizeof(undulation), "%f",
                  static_cast<double>(static_cast<float>(Number(bestpos[5]))));
    EXPECT_EQ(undulation, Values(datagrams, "novatel_undulation").at(0));
    EXPECT_NEAR(Number(bestpos[5]), m_nmeaService.GetGeoidalSeparation(), 1e-5);
    EXPECT_EQ(0u, m_positionService.GetSolutionCount()) << "no RTKXYZ or PDPXYZ in the recording";
}

INSTANTIATE_TEST_SUITE_P(PositionManager, RecordingsTest,
                         ::testing::Values("oemv3-PropakWithGlonass", "oemv3-OneEach",
                                           "oemv3-OnceEachAgain"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             std::string name = info.param;
                             for (char& c : name) {
                                 if (c == '-') c = '_';
                             }
                             return name;
                         });

}  // namespace
