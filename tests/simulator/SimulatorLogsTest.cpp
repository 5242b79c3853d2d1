// Every log the simulator produces decodes through the daemon's framers and
// record factory into the right class, with values that fit the scenario.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <typeinfo>

#include "Logs/NovatelOEMV/CartesianLog.h"
#include "Logs/NovatelOEMV/NMEARecord.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTPOSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelCHANCONFIGLISTB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelCOMCONFIGB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelLBANDSTATB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSATSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSTATB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRDOPB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRANGEB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelREFSTATIONB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKSATSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRXSTATUSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelTIMEB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelTRACKSTATB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelVERSIONB.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/SentenceChecksums.h"
#include "tests/simulator/StreamDecoder.h"

namespace {

using namespace SimulatorTest;
using Simulator::CSimulatedReceiver;
using Simulator::SReceiverSettings;

struct SLogCase {
    const char* name;
    uint16_t id;
    bool (*isRightClass)(const CGPSRecord*);
};

template <typename T>
bool Is(const CGPSRecord* record) {
    return dynamic_cast<const T*>(record) != nullptr;
}

const SLogCase kLogs[] = {
    {"PDPSTAT", Novatel::kPDPSTATMessageID, Is<Novatel::CNovatelPDPSTATB>},
    {"PDPXYZ", Novatel::kPDPXYZMessageID, Is<Novatel::CNovatelPDPXYZB>},
    {"RTKXYZ", Novatel::kRTKXYZMessageID, Is<Novatel::CNovatelRTKXYZB>},
    {"PSRXYZ", Novatel::kPSRXYZMessageID, Is<Novatel::CNovatelPSRXYZB>},
    {"BESTXYZ", Novatel::kBESTXYZMessageID, Is<Novatel::CNovatelBESTXYZB>},
    {"BESTPOS", Novatel::kBESTPOSMessageID, Is<Novatel::CNovatelBESTPOSB>},
    {"PSRDOP", Novatel::kPSRDOPMessageID, Is<Novatel::CNovatelPSRDOPB>},
    {"RANGE", Novatel::kRANGEMessageID, Is<Novatel::CNovatelRANGEB>},
    {"TRACKSTAT", Novatel::kTRACKSTATMessageID, Is<Novatel::CNovatelTRACKSTATB>},
    {"TIME", Novatel::kTIMEMessageID, Is<Novatel::CNovatelTIMEB>},
    {"RXSTATUS", Novatel::kRXSTATUSMessageID, Is<Novatel::CNovatelRXSTATUSB>},
    {"VERSION", Novatel::kVERSIONMessageID, Is<Novatel::CNovatelVERSIONB>},
    {"COMCONFIG", Novatel::kCOMCONFIGMessageID, Is<Novatel::CNovatelCOMCONFIGB>},
    {"CHANCONFIGLIST", Novatel::kCHANCONFIGLISTMessageID, Is<Novatel::CNovatelCHANCONFIGLISTB>},
    {"RTKSATS", Novatel::kRTKSATSMessageID, Is<Novatel::CNovatelRTKSATSB>},
    {"PDPSATS", Novatel::kPDPSATSMessageID, Is<Novatel::CNovatelPDPSATSB>},
    {"REFSTATION", Novatel::kREFSTATIONMessageID, Is<Novatel::CNovatelREFSTATIONB>},
    {"LBANDSTAT", Novatel::kLBANDSTATMessageID, Is<Novatel::CNovatelLBANDSTATB>},
};

// GLONASS in view needs a set with GLONASS channels.
SReceiverSettings AllSystems() {
    SReceiverSettings settings;
    settings.channelSet = 5;
    return settings;
}

double FloatOfBits(double storedBits) {
    const uint32_t bits = static_cast<uint32_t>(storedBits);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

TEST(SimulatorLogs, EveryBinaryLogDecodesIntoItsClassWithValidCrc) {
    for (const SLogCase& log : kLogs) {
        SCOPED_TRACE(log.name);
        CSimulatedReceiver receiver(AllSystems());
        receiver.Advance(1000);
        const SDecoded decoded =
            Decode(RunCommands(receiver, {std::string("log ") + log.name + "B once"}));
        EXPECT_EQ(0, decoded.binaryFailures);
        ASSERT_EQ(1u, decoded.records.size());
        const CGPSRecord* record = decoded.records[0].get();
        EXPECT_EQ(log.id, record->GetMessageID());
        EXPECT_TRUE(log.isRightClass(record));
        unsigned week = 0;
        double seconds = 0;
        EXPECT_TRUE(record->GetGPSTime(week, seconds)) << "CRC flagged invalid";
        EXPECT_EQ(2390u, week);
        EXPECT_DOUBLE_EQ(345601.0, seconds);
    }
}

TEST(SimulatorLogs, EveryAsciiLogPassesTheAsciiFramerChecksum) {
    for (const SLogCase& log : kLogs) {
        SCOPED_TRACE(log.name);
        CSimulatedReceiver receiver(AllSystems());
        const SDecoded decoded =
            Decode(RunCommands(receiver, {std::string("log ") + log.name + "A once"}));
        EXPECT_EQ(0, decoded.textFailures);
        ASSERT_EQ(1u, decoded.asciiLogs.size());
        EXPECT_EQ(std::string("#") + log.name + "A,COM1,",
                  decoded.asciiLogs[0].substr(0, std::strlen(log.name) + 8));
        EXPECT_TRUE(decoded.records.empty());
    }
}

TEST(SimulatorLogs, NameWithoutFormLetterGivesTheAsciiForm) {
    CSimulatedReceiver receiver{SReceiverSettings()};
    const SDecoded decoded = Decode(RunCommands(receiver, {"log version"}));
    ASSERT_EQ(1u, decoded.asciiLogs.size());
    EXPECT_EQ(0u, decoded.asciiLogs[0].find("#VERSIONA,"));
}

TEST(SimulatorLogs, NmeaLogsCarryValidChecksumsAndBecomeNmeaRecords) {
    const char* const kSentences[] = {"gpgsv", "gpgsa", "gpzda", "gpgst", "gpgga"};
    for (const char* name : kSentences) {
        SCOPED_TRACE(name);
        CSimulatedReceiver receiver(AllSystems());
        const SDecoded decoded = Decode(RunCommands(receiver, {std::string("log ") + name}));
        EXPECT_EQ(0, decoded.textFailures);
        const auto sentences = decoded.Of<CNMEARecord>(0xFFFF);
        ASSERT_FALSE(sentences.empty());
        for (const CNMEARecord* sentence : sentences) {
            ASSERT_NE(nullptr, sentence);
            const std::string expected = std::string("$") + name;
            EXPECT_EQ(0, strncasecmp(expected.c_str(), sentence->GetSentence().c_str(), 6));
        }
    }
}

TEST(SimulatorLogs, PositionsLieAtTheConfiguredPlace) {
    SReceiverSettings settings;
    settings.scenario.latitudeDegrees = -33.86;
    settings.scenario.longitudeDegrees = 151.21;
    settings.scenario.heightMetres = 40.0;
    CSimulatedReceiver receiver(settings);
    const Simulator::SVector truth = Simulator::CScenario::ToEcef(-33.86, 151.21, 40.0);
    const SDecoded decoded =
        Decode(RunCommands(receiver, {"log pdpxyzb once", "log psrxyzb once", "log rtkxyzb once",
                                      "log bestxyzb once"}));
    ASSERT_EQ(4u, decoded.records.size());
    for (const auto& record : decoded.records) {
        const CCartesianLog* log = dynamic_cast<const CCartesianLog*>(record.get());
        ASSERT_NE(nullptr, log);
        double x, y, z;
        ASSERT_TRUE(log->GetPosition(x, y, z));
        EXPECT_LT(std::hypot(std::hypot(x - truth.x, y - truth.y), z - truth.z), 3.0);
        EXPECT_EQ(0u, log->GetSolutionStatus());
        EXPECT_GE(log->GetSatellitesTracked(), log->GetSatellitesUsed());
        EXPECT_GE(log->GetSatellitesUsed(), 4u);
    }
}

TEST(SimulatorLogs, TimeLogGivesTheUtcOfTheStartTime) {
    // GPS week 2390, 345600 s is 2025-10-30 00:00:00 GPS, 18 s ahead of UTC.
    CSimulatedReceiver receiver{SReceiverSettings()};
    const SDecoded decoded = Decode(RunCommands(receiver, {"log timeb once"}));
    const auto times = decoded.Of<Novatel::CNovatelTIME>(Novatel::kTIMEMessageID);
    ASSERT_EQ(1u, times.size());
    EXPECT_EQ(2025u, times[0]->GetUtcYear());
    EXPECT_EQ(10, times[0]->GetUtcMonth());
    EXPECT_EQ(29, times[0]->GetUtcDay());
    EXPECT_EQ(23, times[0]->GetUtcHour());
    EXPECT_EQ(59, times[0]->GetUtcMinute());
    EXPECT_EQ(42000u, times[0]->GetUtcMilliseconds());
    EXPECT_DOUBLE_EQ(-18.0, times[0]->GetUtcOffset());
}

TEST(SimulatorLogs, PseudorangesFitTheElevationsOfTheSkyView) {
    // Elevation and range of a satellite on a circular orbit of radius r seen
    // from radius R: rho = -R sin(el) + sqrt(R^2 sin^2(el) + r^2 - R^2).
    CSimulatedReceiver receiver(AllSystems());
    const Simulator::SSnapshot snapshot = receiver.Snapshot();
    ASSERT_GE(snapshot.tracked.size(), 6u);
    const SDecoded decoded = Decode(RunCommands(receiver, {"log rangeb once"}));
    const auto ranges = decoded.Of<Novatel::CNovatelRANGE>(Novatel::kRANGEMessageID);
    ASSERT_EQ(1u, ranges.size());
    const auto& observations = ranges[0]->GetObservations();
    ASSERT_EQ(snapshot.tracked.size(), observations.size());
    const double R =
        std::hypot(std::hypot(snapshot.geometry.antenna.x, snapshot.geometry.antenna.y),
                   snapshot.geometry.antenna.z);
    for (size_t i = 0; i < observations.size(); ++i) {
        const Simulator::SSatelliteView& view = snapshot.tracked[i].view;
        if (view.system == Simulator::kSBAS) continue;
        const double r = view.system == Simulator::kGPS ? 26559.7e3 : 25508.0e3;
        const double s = std::sin(view.elevationDegrees * M_PI / 180.0);
        const double expected = -R * s + std::sqrt(R * R * s * s + r * r - R * R);
        EXPECT_NEAR(expected, observations[i].m_pseudorange, 30e3) << "PRN " << view.prn;
        EXPECT_GE(view.elevationDegrees, 5.0);
        EXPECT_GT(observations[i].m_carrierToNoise, 30.0);
    }
}

TEST(SimulatorLogs, DilutionsArePlausibleAndConsistent) {
    CSimulatedReceiver receiver{SReceiverSettings()};
    const SDecoded decoded = Decode(RunCommands(receiver, {"log psrdopb once"}));
    const auto dops = decoded.Of<Novatel::CNovatelPSRDOP>(Novatel::kPSRDOPMessageID);
    ASSERT_EQ(1u, dops.size());
    // The records keep the raw bits of the singles as integers.
    const double pdop = FloatOfBits(dops[0]->GetPDOP());
    const double hdop = FloatOfBits(dops[0]->GetHDOP());
    const double gdop = FloatOfBits(dops[0]->GetGDOP());
    EXPECT_GT(pdop, 0.9);
    EXPECT_LT(pdop, 6.0);
    EXPECT_LT(hdop, pdop);
    EXPECT_GT(gdop, pdop);
    EXPECT_EQ(dops[0]->GetNumberOfPRNs(), dops[0]->GetPRNs().size());
    EXPECT_GE(dops[0]->GetNumberOfPRNs(), 4u);
}

TEST(SimulatorLogs, VersionNamesTheModelAndTheConfiguredSoftware) {
    struct {
        bool glonass;
        const char* version;
        bool modelHasG;
    } const kCases[] = {{true, "L6X10200", true}, {false, "L6X10050", false}};
    for (const auto& c : kCases) {
        SReceiverSettings settings;
        settings.glonassModel = c.glonass;
        settings.softwareVersion = c.version;
        CSimulatedReceiver receiver(settings);
        const SDecoded decoded = Decode(RunCommands(receiver, {"log versionb once"}));
        const auto versions = decoded.Of<Novatel::CNovatelVERSION>(Novatel::kVERSIONMessageID);
        ASSERT_EQ(1u, versions.size());
        const auto& card = versions[0]->GetComponents().at(0);
        EXPECT_EQ(Novatel::CNovatelVERSION::kReceiverCardComponent, card.GetType());
        EXPECT_EQ(c.modelHasG, card.GetModel().find('G') != std::string::npos) << card.GetModel();
        EXPECT_EQ(c.version, card.GetSoftwareVersion());
    }
}

TEST(SimulatorLogs, GlonassIsTrackedOnlyInASetWithGlonassChannels) {
    struct {
        uint32_t set;
        bool glonass;
        bool sbas;
    } const kCases[] = {{1, false, false}, {2, false, true}, {4, true, false}, {5, true, true}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.set);
        SReceiverSettings settings;
        settings.channelSet = c.set;
        CSimulatedReceiver receiver(settings);
        const SDecoded decoded =
            Decode(RunCommands(receiver, {"log trackstatb once", "log pdpsatsb once"}));
        const auto tracks = decoded.Of<Novatel::CNovatelTRACKSTAT>(Novatel::kTRACKSTATMessageID);
        ASSERT_EQ(1u, tracks.size());
        bool glonass = false, sbas = false;
        for (const auto& channel : tracks[0]->GetChannels()) {
            const uint32_t system = (channel.m_trackingStatus >> 16) & 7;
            glonass |= system == 1;
            sbas |= system == 2;
        }
        EXPECT_EQ(c.glonass, glonass);
        EXPECT_EQ(c.sbas, sbas);
        const auto sats = decoded.Of<Novatel::CNovatelSatsLog>(Novatel::kPDPSATSMessageID);
        ASSERT_EQ(1u, sats.size());
        for (const auto& satellite : sats[0]->GetSatellites()) {
            EXPECT_EQ(1u, satellite.m_status & 1);
            if (satellite.m_system == 1) {
                EXPECT_GE(satellite.m_frequencyChannel, -7);
                EXPECT_LE(satellite.m_frequencyChannel, 6);
            }
        }
    }
}

TEST(SimulatorLogs, MovingAntennaMovesAtTheConfiguredSpeed) {
    SReceiverSettings settings;
    settings.scenario.circleRadiusMetres = 200.0;
    settings.scenario.speedMetresPerSecond = 10.0;
    CSimulatedReceiver receiver(settings);
    const SDecoded decoded = Decode(RunCommands(receiver, {"log pdpxyzb ontime 1"}, 10000));
    const auto fixes = decoded.Of<CCartesianLog>(Novatel::kPDPXYZMessageID);
    ASSERT_EQ(10u, fixes.size());
    double x0, y0, z0, x1, y1, z1, vx, vy, vz;
    ASSERT_TRUE(fixes.front()->GetPosition(x0, y0, z0));
    ASSERT_TRUE(fixes.back()->GetPosition(x1, y1, z1));
    ASSERT_TRUE(fixes.back()->GetVelocity(vx, vy, vz));
    EXPECT_NEAR(10.0, std::hypot(std::hypot(vx, vy), vz), 0.5);
    // Nine seconds on a 200 m circle: a chord of 2 * 200 * sin(90 / 2 / 200) metres.
    EXPECT_NEAR(2 * 200 * std::sin(90.0 / 400.0), std::hypot(std::hypot(x1 - x0, y1 - y0), z1 - z0),
                2.0);
}

TEST(SimulatorLogs, ReferenceStationSitsAtTheConfiguredBaseline) {
    SReceiverSettings settings;
    CSimulatedReceiver receiver(settings);
    const SDecoded decoded = Decode(RunCommands(receiver, {"log refstationb once"}));
    const auto stations = decoded.Of<Novatel::CNovatelREFSTATION>(Novatel::kREFSTATIONMessageID);
    ASSERT_EQ(1u, stations.size());
    double x, y, z;
    ASSERT_TRUE(stations[0]->GetPosition(x, y, z));
    const Simulator::SVector antenna = receiver.Snapshot().geometry.antenna;
    EXPECT_NEAR(std::hypot(1500.0, 800.0),
                std::hypot(std::hypot(x - antenna.x, y - antenna.y), z - antenna.z), 5.0);
    EXPECT_EQ("1", stations[0]->GetStationID());
}

}  // namespace
