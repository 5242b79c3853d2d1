// The NMEA port of the daemon: of the receiver's own sentences only
// well-formed GPGSA, GPGSV, GPZDA and GPGST pass, unchanged and in order;
// the service's own GPGGA and GPRMC follow each solution.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/pipeline/PipelineTestSupport.h"

namespace {

using PipelineTest::CPipelineDaemon;
using PipelineTest::NmeaSentence;
using PipelineTest::SEpochTime;

std::string WithoutLineEnd(const std::string& sentence) {
    return sentence.substr(0, sentence.size() - 2);
}

// "ddmm.mmmmmm,N" or "dddmm.mmmmmm,E" of an angle in degrees.
std::string NmeaAngle(double degrees, int degreeDigits, char positive, char negative) {
    const double magnitude = std::fabs(degrees);
    const int whole = static_cast<int>(magnitude);
    char text[32];
    std::snprintf(text, sizeof text, "%0*d%09.6f,%c", degreeDigits, whole,
                  (magnitude - whole) * 60.0, degrees < 0 ? negative : positive);
    return text;
}

TEST(NmeaPortTest, PassesOnlyAcceptedReceiverSentencesThenTheSolutionsOwn) {
    CPipelineDaemon daemon;
    ASSERT_TRUE(daemon.Start()) << daemon.StandardError();
    const int client = TestSupport::ConnectLoopback(daemon.NmeaPort(), 10.0);
    ASSERT_GE(client, 0);

    SEpochTime time;
    time.week = 2300;
    time.milliseconds = 1234568;
    struct SCase {
        std::string sentence;
        bool passes;
    };
    const SCase cases[] = {
        {NmeaSentence("GPGSA,A,3,05,12,,,,,,,,,,,2.1,1.2,1.7"), true},
        {NmeaSentence("GPGGA,002016.00,5104.7340,N,11408.0220,W,1,08,1.2,1117.7,M,-17.5,M,,"),
         false},                                             // the service makes its own
        {NmeaSentence("GLGSV,1,1,01,65,40,120,42"), false},  // not the GPS talker
        {NmeaSentence("GPZDA,002016.00,15,02,2024,00,00"), true},
        {NmeaSentence("GPGSV,1,1,01,05,40,120,45", true), false},               // wrong checksum
        {NmeaSentence("gpgst,002016.00,1.1,0.5,0.4,30.0,0.5,0.4,0.9"), false},  // lower case
        {NmeaSentence("GPRMC,002016.00,A,5104.7340,N,11408.0220,W,0.0,0.0,150224,,"), false},
        {NmeaSentence("GPGST,002016.00,1.1,0.5,0.4,30.0,0.5,0.4,0.9"), true},
        {NmeaSentence("GPGSV,1,1,01,05,40,120,45"), true},
    };
    std::string stream = PipelineTest::TimeFrame(time);
    std::vector<std::string> expected;
    for (const SCase& c : cases) {
        stream += c.sentence;
        if (c.passes) expected.push_back(WithoutLineEnd(c.sentence));
    }
    ASSERT_TRUE(daemon.Write(stream));
    std::vector<std::string> lines = PipelineTest::ReadLinesUntil(
        client, 30.0,
        [&](const std::vector<std::string>& got) { return got.size() >= expected.size(); });
    // Then a solution: its GPGGA and GPRMC. It is written only now because
    // the framers take a chunk's binary frames before its NMEA sentences.
    const double latitude = 51.0789, longitude = -114.1337;
    ASSERT_TRUE(daemon.Write(
        PipelineTest::PdpXyzFrame(time, PipelineTest::PositionAt(latitude, longitude, 1100.0))));
    const std::vector<std::string> more = PipelineTest::ReadLinesUntil(
        client, 30.0, [](const std::vector<std::string>& got) { return got.size() >= 2; });
    lines.insert(lines.end(), more.begin(), more.end());
    // Anything late, such as a refused sentence, would come within this time.
    const std::vector<std::string> late = PipelineTest::ReadLinesFor(client, 0.5);
    lines.insert(lines.end(), late.begin(), late.end());
    ::close(client);
    daemon.Stop();
    EXPECT_EQ(0, daemon.ExitStatus()) << daemon.StandardError();

    ASSERT_EQ(expected.size() + 2, lines.size())
        << ::testing::PrintToString(lines) << "\nchecksums " << daemon.LastValue("checksum_stats")
        << ", NMEA records " << daemon.Values("QLS_65535").size() << "\n"
        << daemon.StandardError();
    EXPECT_EQ(expected, std::vector<std::string>(lines.begin(), lines.end() - 2));
    // 1234.568 s of GPS week 2300 less 18 leap seconds: 00:20:16.568, to hundredths.
    const std::string gga = lines[lines.size() - 2];
    const std::string position =
        NmeaAngle(latitude, 2, 'N', 'S') + "," + NmeaAngle(longitude, 3, 'E', 'W');
    EXPECT_EQ(0u, gga.find("$GPGGA,002016.57," + position + ",1,09,")) << gga;
    EXPECT_EQ(0u, lines.back().find("$GPRMC,002016.57,A," + position + ",")) << lines.back();
    // The dropped sentences' checksum failure is counted by the framer, not reported again.
    EXPECT_EQ(std::string::npos, daemon.StandardError().find("CNMEALogObserver"))
        << daemon.StandardError();
}

}  // namespace
