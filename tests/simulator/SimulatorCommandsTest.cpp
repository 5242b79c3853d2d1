// The simulator's side of the command dialogue: answers, log scheduling in
// simulated time, port settings, the escape sequence, resets and channel sets.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "Logs/NovatelOEMV/NovatelBinary/NovatelCHANCONFIGLIST.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelCOMCONFIG.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "tests/simulator/StreamDecoder.h"

namespace {

using namespace SimulatorTest;
using Simulator::CSimulatedReceiver;
using Simulator::SReceiverSettings;

const char kOk[] = "\r\n<OK\r\n[COM1]";

std::string Answer(CSimulatedReceiver& receiver, const std::string& command) {
    return Text(RunCommands(receiver, {command}));
}

TEST(SimulatorCommands, AnswersEachCommandLineWithOkOrAnError) {
    struct {
        const char* command;
        const char* answer;
    } const kCases[] = {
        {"unlogall thisport", kOk},
        {"sbascontrol disable", kOk},
        {"rtksource auto any", kOk},
        {"interfacemode usb1 novatel novatel", kOk},
        {"com com2 115200 n 8 1 n off on", kOk},
        {"interfacemode com2 RTCMV3 none", kOk},
        {"log rawephemb onchanged", kOk},  // accepted, though never output here
        {"WAAS17 0 1 0 126 255 0 0 0 0 0 0 0", kOk},
        {"frobnicate now", "\r\n<ERROR:Invalid Message ID\r\n[COM1]"},
        {"log nosuchlogb ontime 1", "\r\n<ERROR:Invalid Message. Field = 2\r\n[COM1]"},
        {"log pdpxyzb ontime 0.3", "\r\n<ERROR:Invalid Message. Field = 4\r\n[COM1]"},
        {"log pdpxyzb sometimes", "\r\n<ERROR:Invalid Message. Field = 3\r\n[COM1]"},
        {"com thisport 12345", "\r\n<ERROR:Invalid Message. Field = 3\r\n[COM1]"},
        {"selectchanconfig 9", "\r\n<ERROR:Invalid Message. Field = 2\r\n[COM1]"},
        {"unlog bestposb", "\r\n<ERROR:Log does not exist\r\n[COM1]"},
    };
    for (const auto& c : kCases) {
        CSimulatedReceiver receiver{SReceiverSettings()};
        EXPECT_EQ(c.answer, Answer(receiver, c.command)) << c.command;
    }
}

TEST(SimulatorCommands, AcceptsEveryLineTheDaemonSendsForItsConfiguration) {
    const char* const kLines[] = {"unlogall thisport",
                                  "selectchanconfig 5",
                                  "assign 12 122",
                                  "assign 13 idle",
                                  "sbascontrol enable auto 0 zerototwo",
                                  "assign 12 auto",
                                  "assign 13 auto",
                                  "WAAS17 0 1 0 126 255 0 0 0 0 0 0 0",
                                  "sbascontrol enable auto 0 none",
                                  "sbascontrol disable",
                                  "rtksource auto any",
                                  "psrdiffsource auto any",
                                  "setionotype klobuchar",
                                  "setionotype grid",
                                  "setionotype auto",
                                  "interfacemode usb1 novatel novatel",
                                  "interfacemode usb2 novatel novatel",
                                  "interfacemode usb3 novatel novatel",
                                  "com com2 115200 n 8 1 n off on",
                                  "interfacemode com2 CMR none",
                                  "interfacemode com2 RTCMV3 none",
                                  "interfacemode com2 RTCM none",
                                  "log versionb once",
                                  "log rxstatusb once",
                                  "log psrdopb ontime 10",
                                  "log rxstatusb onchanged",
                                  "log comconfigb ontime 10",
                                  "log trackstatb ontime 3",
                                  "pdpfilter enable",
                                  "pdpmode relative dynamic",
                                  "dynamics air",
                                  "psrvelocitytype DOPPLER",
                                  "log pdpxyzb ontime 0.1",
                                  "log pdpstatb ontime 0.1",
                                  "log rangeb ontime 0.5",
                                  "log timeb ontime 0.1",
                                  "log gpgsv ontime 1",
                                  "log gpgsa ontime 1",
                                  "log gpzda ontime 1",
                                  "log gpgst ontime 1",
                                  "log refstationb ontime 10",
                                  "LOG VERSIONB ONCE",
                                  "LOG VERSIONA ONCE",
                                  "LOG TRACKSTATB ONTIME 1",
                                  "LOG PSRXYZB ONTIME 1",
                                  "LOG RAWEPHEMB ONCHANGED",
                                  "LOG RAWWAASFRAMEB ONNEW",
                                  "LOG IONUTCB ONCHANGED ",
                                  "LOG GLORAWEPHEMB ONCHANGED ",
                                  "LOG BASESTATIONOBSB ONNEW",
                                  "LOG PDPPOSB ONTIME 0.5",
                                  "LOG PSRPOSB ONTIME 0.5",
                                  "LOG BESTPOSB ONTIME 1",
                                  "LOG CBITHINTA ONCHANGED",
                                  "LOG ALMANACB ONCHANGED",
                                  "LOG GLORAWALMB ONCHANGED",
                                  "LOG GLOCLOCKB ONCHANGED",
                                  "LOG PSRSATS ONTIME 0.5",
                                  "LOG RTKSATSB ONTIME 0.5",
                                  "LOG RTKDATAB ONNEW",
                                  "LOG MATCHEDSATSB ONNEW",
                                  "LOG PORTSTATSB ONTIME 10",
                                  "LOG RXCONFIGA ONCE",
                                  "LOG PASSCOM2B ONCHANGED",
                                  "LOG CHANCONFIGLISTB ONCE",
                                  "LOG LOGLISTB ONCE",
                                  "LOG RXCONFIGB ONCE",
                                  "rtkcommand reset",
                                  "log version",
                                  "log comconfig"};
    for (const char* line : kLines) {
        CSimulatedReceiver receiver{SReceiverSettings()};
        EXPECT_EQ(0u, Answer(receiver, line).find(kOk)) << line;
    }
}

TEST(SimulatorCommands, LineEndsAndSplitInputAreHandledLikeOneLine) {
    CSimulatedReceiver receiver{SReceiverSettings()};
    receiver.Receive("log ti");
    EXPECT_TRUE(receiver.TakeOutput().empty());
    receiver.Receive("meb once\r");
    receiver.Receive("\n");
    const SDecoded decoded = Decode(receiver.TakeOutput());
    EXPECT_EQ(1u, decoded.Count(Novatel::kTIMEMessageID));
}

TEST(SimulatorCommands, OntimeLogsComeAtTheirRateInSimulatedTime) {
    struct {
        const char* command;
        uint16_t id;
        uint32_t periodMs;
    } const kCases[] = {
        {"log pdpxyzb ontime 0.1", Novatel::kPDPXYZMessageID, 100},
        {"log rangeb ontime 0.5", Novatel::kRANGEMessageID, 500},
        {"log timeb ontime 0.05", Novatel::kTIMEMessageID, 50},
        {"log trackstatb ontime 3", Novatel::kTRACKSTATMessageID, 3000},
        {"log psrdopb ontime 10", Novatel::kPSRDOPMessageID, 10000},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.command);
        const uint32_t runMs = std::max(3 * c.periodMs, 2000u);
        CSimulatedReceiver receiver{SReceiverSettings()};
        const SDecoded decoded = Decode(RunCommands(receiver, {c.command}, runMs));
        const auto records = decoded.Of<CGPSRecord>(c.id);
        ASSERT_EQ(runMs / c.periodMs, records.size());
        double previous = -1.0;
        for (const CGPSRecord* record : records) {
            unsigned week;
            double seconds;
            record->GetGPSTime(week, seconds);
            // Aligned to whole multiples of the period in GPS time.
            const double aligned = std::fmod(seconds * 1000.0, c.periodMs);
            EXPECT_NEAR(0.0, aligned, 1e-3);
            if (previous >= 0) {
                EXPECT_NEAR(c.periodMs / 1000.0, seconds - previous, 1e-6);
            }
            previous = seconds;
        }
    }
}

TEST(SimulatorCommands, UnlogallThisportStopsEveryLogAndUnlogStopsOne) {
    CSimulatedReceiver receiver{SReceiverSettings()};
    RunCommands(receiver, {"log timeb ontime 1", "log pdpxyzb ontime 1", "log gpgsa ontime 1"},
                2000);
    SDecoded decoded = Decode(RunCommands(receiver, {"unlog timeb"}, 3000));
    EXPECT_EQ(0u, decoded.Count(Novatel::kTIMEMessageID));
    EXPECT_EQ(3u, decoded.Count(Novatel::kPDPXYZMessageID));
    EXPECT_EQ(3u, decoded.Count(0xFFFF));
    decoded = Decode(RunCommands(receiver, {"unlogall thisport"}, 3000));
    EXPECT_TRUE(decoded.records.empty());
    EXPECT_TRUE(receiver.GetActiveLogs().empty());
}

TEST(SimulatorCommands, RepeatedLogRequestReplacesTheEarlierRate) {
    CSimulatedReceiver receiver{SReceiverSettings()};
    const SDecoded decoded =
        Decode(RunCommands(receiver, {"log timeb ontime 0.1", "log timeb ontime 1"}, 5000));
    EXPECT_EQ(5u, decoded.Count(Novatel::kTIMEMessageID));
}

TEST(SimulatorCommands, OnchangedSetupLogComesAgainOnlyWhenItChanges) {
    CSimulatedReceiver receiver{SReceiverSettings()};
    SDecoded decoded = Decode(RunCommands(receiver, {"log comconfigb onchanged"}, 5000));
    EXPECT_EQ(1u, decoded.Count(Novatel::kCOMCONFIGMessageID));
    decoded = Decode(RunCommands(receiver, {"com com2 57600"}, 5000));
    const auto configs = decoded.Of<Novatel::CNovatelCOMCONFIG>(Novatel::kCOMCONFIGMessageID);
    ASSERT_EQ(1u, configs.size());
    EXPECT_EQ(57600u, configs[0]->GetPorts().at(1).m_baudRate);
}

TEST(SimulatorCommands, ComThisportRecordsTheNewRate) {
    CSimulatedReceiver receiver{SReceiverSettings()};
    EXPECT_EQ(9600u, receiver.GetBaudRate());
    EXPECT_EQ(kOk, Answer(receiver, "com thisport 115200"));
    EXPECT_EQ(115200u, receiver.GetBaudRate());
    const SDecoded decoded = Decode(RunCommands(receiver, {"log comconfigb once"}));
    const auto configs = decoded.Of<Novatel::CNovatelCOMCONFIG>(Novatel::kCOMCONFIGMessageID);
    ASSERT_EQ(1u, configs.size());
    ASSERT_EQ(6u, configs[0]->GetNumberOfPorts());
    const auto& com1 = configs[0]->GetPorts()[0];
    EXPECT_EQ(1u, com1.m_port);
    EXPECT_EQ(115200u, com1.m_baudRate);
    EXPECT_EQ(1u, com1.m_receiveInterfaceMode);
    EXPECT_TRUE(com1.m_responses);
}

TEST(SimulatorCommands, InterfacemodeReportedInComconfig) {
    CSimulatedReceiver receiver{SReceiverSettings()};
    const SDecoded decoded =
        Decode(RunCommands(receiver, {"interfacemode com2 RTCMV3 none", "log comconfigb once"}));
    const auto configs = decoded.Of<Novatel::CNovatelCOMCONFIG>(Novatel::kCOMCONFIGMessageID);
    ASSERT_EQ(1u, configs.size());
    EXPECT_EQ(14u, configs[0]->GetPorts()[1].m_receiveInterfaceMode);
    EXPECT_EQ(0u, configs[0]->GetPorts()[1].m_transmitInterfaceMode);
}

TEST(SimulatorCommands, PortInAnotherModeHearsOnlyTheEscapeSequence) {
    CSimulatedReceiver receiver{SReceiverSettings()};
    EXPECT_EQ(kOk, Answer(receiver, "interfacemode thisport rtcmv3 novatel"));
    EXPECT_EQ("", Answer(receiver, "log timeb once"));
    // The first "+++" has no line end, as the breakout sends it.
    receiver.Receive("+++");
    EXPECT_EQ("\r\n[COM1]", Text(receiver.TakeOutput()));
    receiver.Receive("+++\r\n");
    EXPECT_EQ("\r\n[COM1]", Text(receiver.TakeOutput()));
    const SDecoded decoded =
        Decode(RunCommands(receiver, {"log version", "com thisport 115200", "log comconfig"}));
    EXPECT_EQ(2u, decoded.asciiLogs.size());
    EXPECT_EQ(115200u, receiver.GetBaudRate());
}

TEST(SimulatorCommands, FresetClearsLogsRebootsAndRestoresDefaults) {
    SReceiverSettings settings;
    settings.channelSet = 2;
    CSimulatedReceiver receiver(settings);
    RunCommands(receiver, {"log timeb ontime 1", "selectchanconfig 5", "com thisport 115200"},
                1000);
    EXPECT_EQ(5u, receiver.GetCurrentChannelSet());
    EXPECT_EQ(kOk, Answer(receiver, "FRESET STANDARD"));
    EXPECT_EQ(1u, receiver.GetResetCount());
    // Rebooting: deaf and silent for three seconds, then the prompt.
    receiver.Receive("log versionb once\r\n");
    receiver.Advance(2900);
    EXPECT_TRUE(receiver.TakeOutput().empty());
    receiver.Advance(200);
    EXPECT_EQ("\r\n[COM1]", Text(receiver.TakeOutput()));
    EXPECT_TRUE(receiver.GetActiveLogs().empty());
    EXPECT_EQ(2u, receiver.GetCurrentChannelSet());
    EXPECT_EQ(9600u, receiver.GetBaudRate());
}

TEST(SimulatorCommands, SelectchanconfigChangesTheSetChanconfiglistReports) {
    CSimulatedReceiver receiver{SReceiverSettings()};
    const SDecoded decoded =
        Decode(RunCommands(receiver, {"selectchanconfig 4", "log chanconfiglistb once"}));
    const auto lists =
        decoded.Of<Novatel::CNovatelCHANCONFIGLIST>(Novatel::kCHANCONFIGLISTMessageID);
    ASSERT_EQ(1u, lists.size());
    EXPECT_EQ(4u, lists[0]->GetCurrentConfigSet());
    ASSERT_EQ(5u, lists[0]->GetNumberOfConfigSets());
    const auto& set4 = lists[0]->GetConfigSets()[3];
    ASSERT_EQ(2u, set4.signals.size());
    EXPECT_EQ(10u, set4.signals[1].signal_type);  // GLONASS L1
}

TEST(SimulatorCommands, ReceiverWithoutGlonassOffersNoGlonassSet) {
    SReceiverSettings settings;
    settings.glonassModel = false;
    CSimulatedReceiver receiver(settings);
    EXPECT_EQ("\r\n<ERROR:Invalid Message. Field = 2\r\n[COM1]",
              Answer(receiver, "selectchanconfig 4"));
    const SDecoded decoded = Decode(RunCommands(receiver, {"log chanconfiglistb once"}));
    const auto lists =
        decoded.Of<Novatel::CNovatelCHANCONFIGLIST>(Novatel::kCHANCONFIGLISTMessageID);
    ASSERT_EQ(1u, lists.size());
    EXPECT_EQ(3u, lists[0]->GetNumberOfConfigSets());
    for (const auto& set : lists[0]->GetConfigSets())
        for (const auto& group : set.signals) EXPECT_NE(10u, group.signal_type);
}

}  // namespace
