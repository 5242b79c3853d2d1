// GPGGA and GPRMC made from position fixes, compared byte for byte with
// sentences worked out by hand, and the checksum and line end rules.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "platform/Core/Maths.h"
#include "platform/Net/NMEASentences.h"

namespace {

SNMEAFix Fix(int64_t unixMicroseconds, double latitudeDegrees, double longitudeDegrees) {
    SNMEAFix fix;
    fix.utcTime = Core::Time::FromMicroseconds(unixMicroseconds);
    fix.latitude = latitudeDegrees * Core::Maths::RADIANS_PER_DEGREE;
    fix.longitude = longitudeDegrees * Core::Maths::RADIANS_PER_DEGREE;
    fix.valid = true;
    return fix;
}

struct SCase {
    const char* name;
    SNMEAFix fix;
    double geoidalSeparation;
    const char* gga;
    const char* rmc;
};

SCase NorthEastRtk() {
    // 2024-03-15 12:34:56.78 UTC
    SNMEAFix fix = Fix(1710506096780000, 51 + 6.9847031 / 60, 114 + 2.1234564 / 60);
    fix.heightAboveEllipsoid = 1100.25;
    fix.fixQuality = 4;
    fix.satellitesUsed = 12;
    fix.hdop = 0.9;
    fix.speedOverGround = 10.0;
    fix.trackDegrees = 45.678;
    return {"NorthEastRtk", fix, -17.5,
            "$GPGGA,123456.78,5106.984703,N,11402.123456,E,4,12,0.9,1117.750,M,-17.500,M,,*73",
            "$GPRMC,123456.78,A,5106.984703,N,11402.123456,E,19.438,45.68,150324,,,D*68"};
}

SCase SouthWestLeadingZeros() {
    // 2001-02-03 01:02:03.04 UTC
    SNMEAFix fix = Fix(981162123040000, -(5 + 3.0000042 / 60), -(7 + 0.5 / 60));
    fix.heightAboveEllipsoid = 12.0;
    fix.fixQuality = 1;
    fix.satellitesUsed = 5;
    fix.hdop = 1.26;
    fix.speedOverGround = 0.5;
    fix.trackDegrees = 5.0;
    return {"SouthWestLeadingZeros", fix, 3.25,
            "$GPGGA,010203.04,0503.000004,S,00700.500000,W,1,05,1.3,8.750,M,3.250,M,,*5E",
            "$GPRMC,010203.04,A,0503.000004,S,00700.500000,W,0.972,5.00,030201,,,A*6C"};
}

SCase RoundingCarriesIntoDegreesAndTheNextDay() {
    // 2023-12-31 23:59:59.996 UTC rounds to 2024-01-01 00:00:00.00; minutes of
    // 59.9999996 round up to a whole degree; a track of 359.999 is 0.00.
    SNMEAFix fix = Fix(1704067199996000, 10 + 59.9999996 / 60, -(179 + 59.9999999 / 60));
    fix.fixQuality = 2;
    fix.hdop = 2.0;
    fix.trackDegrees = 359.999;
    return {"RoundingCarriesIntoDegreesAndTheNextDay", fix, 0.0,
            "$GPGGA,000000.00,1100.000000,N,18000.000000,W,2,00,2.0,0.000,M,0.000,M,,*46",
            "$GPRMC,000000.00,A,1100.000000,N,18000.000000,W,0.000,0.00,010124,,,D*76"};
}

SCase InvalidFixSendsOnlyTheTime() {
    SNMEAFix fix = Fix(1710506096780000, 51, 114);
    fix.valid = false;
    fix.fixQuality = 4;  // ignored without a valid fix
    fix.satellitesUsed = 7;
    return {"InvalidFixSendsOnlyTheTime", fix, -17.5, "$GPGGA,123456.78,,,,,0,07,,,,,,,*47",
            "$GPRMC,123456.78,V,,,,,,,150324,,,N*74"};
}

SCase PositionThatIsNotANumberCountsAsInvalid() {
    SNMEAFix fix = Fix(1710506096780000, NAN, 114);
    fix.fixQuality = 1;
    fix.satellitesUsed = 7;
    return {"PositionThatIsNotANumberCountsAsInvalid", fix, 0.0,
            "$GPGGA,123456.78,,,,,0,07,,,,,,,*47", "$GPRMC,123456.78,V,,,,,,,150324,,,N*74"};
}

TEST(NMEASentencesTest, BuildsGGAAndRMCExactlyForKnownFixes) {
    for (const SCase& c :
         {NorthEastRtk(), SouthWestLeadingZeros(), RoundingCarriesIntoDegreesAndTheNextDay(),
          InvalidFixSendsOnlyTheTime(), PositionThatIsNotANumberCountsAsInvalid()}) {
        EXPECT_EQ(c.gga, NMEA::BuildGPGGA(c.fix, c.geoidalSeparation)) << c.name;
        EXPECT_EQ(c.rmc, NMEA::BuildGPRMC(c.fix)) << c.name;
    }
}

TEST(NMEASentencesTest, ChecksumMatchesAPublishedSentence) {
    // The textbook GPGGA example with its published checksum 47.
    EXPECT_EQ("$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47",
              NMEA::MakeSentence("GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,"));
    EXPECT_EQ("0A", NMEA::Checksum("\x0a"));  // two digits, upper case
}

TEST(NMEASentencesTest, EndsEverySentenceWithExactlyOneCRLF) {
    const std::string plain = "$GPZDA,123456.00,15,03,2024,00,00*6E";
    for (const char* ending : {"", "\r\n", "\n", "\r", "\r\n\r\n"}) {
        EXPECT_EQ(plain + "\r\n", NMEA::WithLineEnd(plain + ending))
            << ::testing::PrintToString(ending);
    }
}

}  // namespace
