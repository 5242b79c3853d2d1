// Faults injected on request show in the output the way the daemon will see them.

#include <gtest/gtest.h>

#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSTAT.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "tests/simulator/StreamDecoder.h"

namespace {

using namespace SimulatorTest;
using Simulator::CSimulatedReceiver;
using Simulator::SReceiverSettings;

double SecondsOf(const CGPSRecord* record) {
    unsigned week;
    double seconds;
    record->GetGPSTime(week, seconds);
    return seconds - 345600.0;
}

TEST(SimulatorFaults, SilenceStopsAllOutputForItsDuration) {
    SReceiverSettings settings;
    settings.faults.silenceStart = 3.0;
    settings.faults.silenceSeconds = 4.0;
    CSimulatedReceiver receiver(settings);
    const SDecoded decoded = Decode(RunCommands(receiver, {"log timeb ontime 1"}, 10000));
    std::vector<double> times;
    for (const CGPSRecord* record : decoded.Of<CGPSRecord>(Novatel::kTIMEMessageID))
        times.push_back(SecondsOf(record));
    EXPECT_EQ((std::vector<double>{1, 2, 7, 8, 9, 10}), times);
}

TEST(SimulatorFaults, CorruptedCrcsAreRejectedByTheFramerAndTheRestDecodes) {
    SReceiverSettings settings;
    settings.faults.corruptEvery = 3;
    CSimulatedReceiver receiver(settings);
    const SDecoded decoded = Decode(RunCommands(receiver, {"log timeb ontime 1"}, 9000));
    EXPECT_EQ(3, decoded.binaryFailures);
    EXPECT_EQ(6u, decoded.Count(Novatel::kTIMEMessageID));
}

TEST(SimulatorFaults, GarbageBytesLoseNoLog) {
    SReceiverSettings settings;
    settings.faults.garbageBytes = 200;
    CSimulatedReceiver receiver(settings);
    const ByteVector output =
        RunCommands(receiver, {"log timeb ontime 0.5", "log gpzda ontime 1"}, 10000);
    const SDecoded decoded = Decode(output);
    EXPECT_EQ(20u, decoded.Count(Novatel::kTIMEMessageID));
    EXPECT_EQ(10u, decoded.Count(0xFFFF));
    // The junk is really there: the output is larger than the logs alone.
    CSimulatedReceiver clean{SReceiverSettings()};
    const ByteVector cleanOutput =
        RunCommands(clean, {"log timeb ontime 0.5", "log gpzda ontime 1"}, 10000);
    EXPECT_EQ(cleanOutput.size() + 10 * 200, output.size());
}

TEST(SimulatorFaults, PhaseDropZeroesPdpstatFourthWordForTheGivenEpochs) {
    SReceiverSettings settings;
    settings.faults.phaseDropStart = 2.0;
    settings.faults.phaseDropEpochs = 5;
    CSimulatedReceiver receiver(settings);
    const SDecoded decoded = Decode(RunCommands(receiver, {"log pdpstatb ontime 0.5"}, 6000));
    const auto stats = decoded.Of<Novatel::CNovatelPDPSTAT>(Novatel::kPDPSTATMessageID);
    ASSERT_EQ(12u, stats.size());
    for (const Novatel::CNovatelPDPSTAT* stat : stats) {
        const double t = SecondsOf(stat);
        const bool dropped = t >= 2.0 && t < 4.5;  // five epochs at 2 Hz from 2 s
        EXPECT_EQ(dropped, stat->GetWord(3) == 0) << "at " << t;
        EXPECT_GT(stat->GetWord(2), 0u);
    }
}

}  // namespace
