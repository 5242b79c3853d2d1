// The real daemon against the real receiver simulator on a pseudo-terminal:
// what the receiver is told, in what order and how often; how the daemon
// recovers from a silent receiver; how a lost phase lock reaches the solution
// quality; remote methods reaching the receiver; positions reaching gpsd
// clients. Each test runs a few seconds of real time.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "tests/endtoend/EndToEndRig.h"

namespace {

using EndToEnd::CRig;
using EndToEnd::DefaultConfigurationSequence;
using TestSupport::RunProcess;
using TestSupport::SProcessResult;

const char kConstellationManager[] = "NovatelConstellationManager";
const char kPositionManager[] = "NovatelPositionManager";
const char kPortHandler[] = "NovatelPortHandler";

bool Contains(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

size_t CountOf(const std::vector<std::string>& lines, const std::string& line) {
    return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
}

// The lines that start with the word "selectchanconfig".
std::vector<std::string> Selections(const std::vector<std::string>& lines) {
    std::vector<std::string> selections;
    for (const std::string& line : lines) {
        if (line.compare(0, 16, "selectchanconfig") == 0) selections.push_back(line);
    }
    return selections;
}

std::vector<std::string> WithoutSelections(const std::vector<std::string>& lines) {
    std::vector<std::string> rest;
    for (const std::string& line : lines) {
        if (line.compare(0, 16, "selectchanconfig") != 0) rest.push_back(line);
    }
    return rest;
}

// The lines from the last "unlogall thisport" on: the latest sequence sent.
std::vector<std::string> LastSequence(const std::vector<std::string>& lines) {
    const auto last = std::find(lines.rbegin(), lines.rend(), "unlogall thisport");
    if (last == lines.rend()) return {};
    return std::vector<std::string>(last.base() - 1, lines.end());
}

bool EndsWithFullSequence(const std::vector<std::string>& lines) {
    return WithoutSelections(LastSequence(lines)) == DefaultConfigurationSequence();
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

// A store value as the daemon wrote it: the text after "key = " in the file.
std::string StoreValue(const std::string& store, const std::string& key) {
    std::istringstream text(TestSupport::ReadWholeFile(store));
    std::string value;
    for (std::string line; std::getline(text, line);) {
        if (line.compare(0, key.size() + 3, key + " = ") == 0) value = line.substr(key.size() + 3);
    }
    return value;
}

// Starts the daemon and waits until the receiver runs the channel
// configuration the daemon wants (GPS and GLONASS) and the configuration
// that selected it has gone out whole.
void StartAndConverge(CRig& rig) {
    ASSERT_TRUE(rig.SimulatorReady()) << rig.Diagnosis();
    rig.StartDaemon();
    ASSERT_TRUE(rig.WaitFor(
        [&] {
            return Contains(rig.Values(kConstellationManager, "current_channel_configuration"),
                            "4") &&
                   EndsWithFullSequence(rig.Trace());
        },
        20.0))
        << rig.Diagnosis();
}

TEST(EndToEnd, ConfigurationSequenceReachesTheReceiverInTheDocumentedOrder) {
    CRig rig({});
    StartAndConverge(rig);
    // The trace as it stood with a whole sequence at its end (a late
    // CHANCONFIGLIST may start another one meanwhile).
    std::vector<std::string> trace;
    ASSERT_TRUE(rig.WaitFor(
        [&] {
            trace = rig.Trace();
            return EndsWithFullSequence(trace);
        },
        20.0));

    // Every sequence starts with "unlogall thisport"; one cut short by a
    // rebuild is a prefix of the full one, and the last one is whole.
    ASSERT_FALSE(trace.empty());
    EXPECT_EQ("unlogall thisport", trace.front());
    const std::vector<std::string> full = DefaultConfigurationSequence();
    std::vector<std::string> sequence;
    auto checkPrefix = [&] {
        const std::vector<std::string> lines = WithoutSelections(sequence);
        EXPECT_LE(lines.size(), full.size()) << Joined(sequence);
        EXPECT_TRUE(std::equal(lines.begin(), lines.begin() + std::min(lines.size(), full.size()),
                               full.begin()))
            << "out of order:\n"
            << Joined(sequence);
        // A selection, when there is one, is the second line.
        for (size_t i = 0; i < sequence.size(); ++i) {
            if (sequence[i].compare(0, 16, "selectchanconfig") == 0) {
                EXPECT_EQ(1u, i) << Joined(sequence);
            }
        }
    };
    for (const std::string& line : trace) {
        if (line == "unlogall thisport" && !sequence.empty()) {
            checkPrefix();
            sequence.clear();
        }
        sequence.push_back(line);
    }
    checkPrefix();
    EXPECT_EQ(full, WithoutSelections(sequence)) << Joined(trace);

    // A fresh store knows nothing of the receiver: GPS only is asked for at
    // once, then GPS with GLONASS when the VERSION log shows GLONASS (again
    // when a CHANCONFIGLIST asked for before that selection still reports 1).
    const std::vector<std::string> selections = Selections(trace);
    ASSERT_GE(selections.size(), 2u) << Joined(trace);
    EXPECT_EQ("selectchanconfig 1", selections.front());
    EXPECT_EQ(std::vector<std::string>(selections.size() - 1, "selectchanconfig 4"),
              std::vector<std::string>(selections.begin() + 1, selections.end()));
}

TEST(EndToEnd, ChannelConfigurationConvergesAndSurvivesARestart) {
    // A store that knows the receiver tracks GLONASS: GPS with GLONASS is
    // asked for once, and the receiver's CHANCONFIGLIST confirms it.
    CRig rig({}, "[Quillond]\nreceiver_supports_glonass = 1\n");
    StartAndConverge(rig);
    const std::vector<std::string> firstRun = rig.Trace();
    EXPECT_EQ((std::vector<std::string>{"selectchanconfig 4"}), Selections(firstRun))
        << Joined(firstRun);
    EXPECT_EQ("4", StoreValue(rig.StorePath(), "current_channel_configuration"));
    EXPECT_EQ(0, rig.StopDaemon()) << rig.Diagnosis();

    // A second daemon on the same store and the same receiver sends its whole
    // configuration but no selection.
    const size_t confirmations =
        rig.Values(kConstellationManager, "current_channel_configuration").size();
    const size_t mark = rig.Trace().size();
    rig.StartDaemon();
    ASSERT_TRUE(rig.WaitFor(
        [&] {
            const std::vector<std::string> reported =
                rig.Values(kConstellationManager, "current_channel_configuration");
            const std::vector<std::string> trace = rig.Trace();
            return reported.size() > confirmations && trace.size() > mark &&
                   EndsWithFullSequence(
                       std::vector<std::string>(trace.begin() + mark, trace.end()));
        },
        20.0))
        << rig.Diagnosis();
    const std::vector<std::string> trace = rig.Trace();
    const std::vector<std::string> secondRun(trace.begin() + mark, trace.end());
    EXPECT_TRUE(Selections(secondRun).empty()) << Joined(secondRun);
    EXPECT_EQ(DefaultConfigurationSequence(), secondRun);
    EXPECT_EQ("4", rig.Values(kConstellationManager, "current_channel_configuration").back());
    EXPECT_EQ(0, rig.StopDaemon()) << rig.Diagnosis();
}

TEST(EndToEnd, SilentReceiverRestartsTheLinkAndIsConfiguredAgain) {
    // Silent from 5 s for 12 s: the daemon's 10 s port time-out falls inside.
    CRig rig({"--silence", "5,12"});
    ASSERT_TRUE(rig.SimulatorReady()) << rig.Diagnosis();
    rig.StartDaemon();
    ASSERT_TRUE(rig.WaitFor(
        [&] { return Contains(rig.Values(kPortHandler, "receiver_initialisations"), "2"); }, 35.0))
        << rig.Diagnosis();
    EXPECT_EQ((std::vector<std::string>{"1", "2"}),
              rig.Values(kPortHandler, "receiver_initialisations"));
    bool timedOut = false;
    for (const nlohmann::json& datagram : rig.Datagrams()) {
        timedOut |= datagram.value("type", "") == "condition" &&
                    datagram.value("name", "") == "receiver_port_timeout";
    }
    EXPECT_TRUE(timedOut) << "no receiver_port_timeout condition";
    EXPECT_FALSE(rig.Values(kPositionManager, "message18").empty())
        << "no positions before the silence";

    // The fresh sequence goes out whole and the receiver's positions come
    // back once it speaks again.
    const size_t positionsBefore = rig.Values(kPositionManager, "message18").size();
    ASSERT_TRUE(rig.WaitFor(
        [&] {
            return EndsWithFullSequence(rig.Trace()) &&
                   rig.Values(kPositionManager, "message18").size() > positionsBefore + 10;
        },
        15.0))
        << Joined(rig.Trace()) << rig.Diagnosis();
    EXPECT_GE(CountOf(rig.Trace(), "unlogall thisport"), 2u);
    EXPECT_EQ((std::vector<std::string>{"1", "2"}),
              rig.Values(kPortHandler, "receiver_initialisations"));
    EXPECT_EQ(0, rig.StopDaemon()) << rig.Diagnosis();
}

TEST(EndToEnd, PhaseDropHoldsTheSolutionQualityDownForTheLockout) {
    // A receiver whose software does not right its PDP filter itself, phase
    // measurements lost for one second (ten PDPSTAT logs) from 6 s, and a
    // three-second lockout.
    CRig rig({"--software-version", "L6X10000", "--phase-drop", "6,10"},
             "[glide]\nobstruction_lockout = 3\n");
    ASSERT_TRUE(rig.SimulatorReady()) << rig.Diagnosis();
    rig.StartDaemon();
    ASSERT_TRUE(rig.WatchPositions(10.0)) << rig.Diagnosis();

    struct SAlarm {
        std::string action;
        double time;
    };
    auto alarms = [&] {
        std::vector<SAlarm> found;
        for (const nlohmann::json& datagram : rig.Datagrams()) {
            if (datagram.value("type", "") == "alarm" && datagram.value("code", 0) == 79141) {
                found.push_back({datagram.value("action", ""), datagram.value("time", 0.0)});
            }
        }
        return found;
    };
    auto clearedAfterRaise = [&] {
        bool raised = false;
        for (const SAlarm& alarm : alarms()) {
            if (alarm.action == "raise") raised = true;
            if (raised && alarm.action == "clear") return true;
        }
        return false;
    };
    ASSERT_TRUE(rig.WaitFor(clearedAfterRaise, 25.0)) << rig.Diagnosis();
    // A few more solutions after the lockout.
    const size_t seen = rig.Reports("TPV").size();
    rig.WaitFor([&] { return rig.Reports("TPV").size() > seen + 10; }, 5.0);

    double lastRaise = 0.0, clear = 0.0;
    for (const SAlarm& alarm : alarms()) {
        if (alarm.action == "raise") lastRaise = alarm.time;
        if (alarm.action == "clear" && lastRaise > 0.0 && clear == 0.0) clear = alarm.time;
    }
    EXPECT_GE(clear - lastRaise, 2.5) << "the lockout ended early";
    EXPECT_LE(clear - lastRaise, 10.0) << "the lockout lasted too long";

    // Solution quality: 2 before, one block of 1 (the lockout), 2 again; the
    // position stays a 3D fix throughout. The solutions before the first
    // PDPSTAT have quality 1, nothing being known of the filter yet.
    std::string qualities;
    for (const nlohmann::json& tpv : rig.Reports("TPV")) {
        EXPECT_EQ(3, tpv.value("mode", 0));
        const int quality = tpv.value("solutionQuality", -1);
        if (qualities.empty() && quality != 2) continue;
        if (qualities.empty() || qualities.back() != '0' + quality) {
            qualities += static_cast<char>('0' + quality);
        }
    }
    EXPECT_EQ("212", qualities);
    size_t lockedOut = 0;
    bool settled = false;
    for (const nlohmann::json& tpv : rig.Reports("TPV")) {
        const int quality = tpv.value("solutionQuality", -1);
        settled |= quality == 2;
        lockedOut += settled && quality == 1 ? 1 : 0;
    }
    // About four seconds at 10 Hz (the drop and the lockout after it).
    EXPECT_GE(lockedOut, 20u);
    EXPECT_EQ(0, rig.StopDaemon()) << rig.Diagnosis();
}

TEST(EndToEnd, RemoteMethodsChangeWhatTheReceiverIsTold) {
    CRig rig({});
    StartAndConverge(rig);
    const std::string port = std::to_string(rig.RemoteMethodPort());
    const std::string call = TestSupport::BuiltProgram("quillond-call");

    SProcessResult result = RunProcess(
        {call, "--port", port, "--timeout", "10", "novatel_SetIonosphereMode", "i:1"}, {}, 20.0);
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_EQ("[1]\n", result.standardOutput);
    // The configuration is built again with the new model and sent whole.
    std::vector<std::string> expected = DefaultConfigurationSequence();
    std::replace(expected.begin(), expected.end(), std::string("setionotype auto"),
                 std::string("setionotype klobuchar"));
    ASSERT_TRUE(
        rig.WaitFor([&] { return WithoutSelections(LastSequence(rig.Trace())) == expected; }, 10.0))
        << Joined(rig.Trace());
    EXPECT_EQ("1", StoreValue(rig.StorePath(), "ionosphere_mode"));

    result = RunProcess({call, "--port", port, "RequestNMEA", "GPGGA", "i:1000"}, {}, 20.0);
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_EQ("null\n", result.standardOutput);
    ASSERT_TRUE(rig.WaitFor([&] { return Contains(rig.Trace(), "log GPGGA ontime 1.000"); }, 10.0))
        << Joined(rig.Trace());

    // A refused value tells the receiver nothing.
    const size_t before = rig.Trace().size();
    result = RunProcess({call, "--port", port, "novatel_SetIonosphereMode", "i:7"}, {}, 20.0);
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_EQ("null\n", result.standardOutput);
    // Let a line that should not be sent have the time to arrive.
    rig.WaitFor([] { return false; }, 1.0);
    EXPECT_EQ(before, rig.Trace().size()) << Joined(rig.Trace());
    EXPECT_EQ(0, rig.StopDaemon()) << rig.Diagnosis();

    // The setting is kept in the store: a new daemon configures the receiver
    // with it from its first sequence on.
    const size_t mark = rig.Trace().size();
    rig.StartDaemon();
    ASSERT_TRUE(rig.WaitFor(
        [&] {
            const std::vector<std::string> trace = rig.Trace();
            return trace.size() > mark && WithoutSelections(LastSequence(std::vector<std::string>(
                                              trace.begin() + mark, trace.end()))) == expected;
        },
        20.0))
        << Joined(rig.Trace());
    EXPECT_EQ(0, rig.StopDaemon()) << rig.Diagnosis();
}

TEST(EndToEnd, PortRouterFaceCarriesTheSameConversation) {
    // The simulator's port as a port-router socket at the path the store
    // names for port 5: the same configuration and positions as on serial.
    CRig rig({}, "", CRig::EFace::kPortRouter);
    StartAndConverge(rig);
    const size_t positions = rig.Values(kPositionManager, "message18").size();
    EXPECT_TRUE(rig.WaitFor(
        [&] { return rig.Values(kPositionManager, "message18").size() > positions + 10; }, 10.0))
        << rig.Diagnosis();
    EXPECT_EQ((std::vector<std::string>{"1"}),
              rig.Values(kPortHandler, "receiver_initialisations"));
    EXPECT_EQ(0, rig.StopDaemon()) << rig.Diagnosis();
}

TEST(EndToEnd, PositionsReachGpsdClients) {
    const std::string gpspipe = "/usr/bin/gpspipe";
    if (::access(gpspipe.c_str(), X_OK) != 0) {
        GTEST_SKIP() << gpspipe << " not installed (Debian package gpsd-clients)";
    }
    CRig rig({});
    ASSERT_TRUE(rig.SimulatorReady()) << rig.Diagnosis();
    rig.StartDaemon();
    // The service listens once the daemon has started; positions follow.
    ASSERT_TRUE(
        rig.WaitFor([&] { return !rig.Values(kPositionManager, "pos_messages").empty(); }, 20.0))
        << rig.Diagnosis();

    const SProcessResult result = RunProcess(
        {gpspipe, "-w", "-n", "30", "127.0.0.1:" + std::to_string(rig.PositionPort())}, {}, 20.0);
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    std::istringstream lines(result.standardOutput);
    int fixes = 0;
    for (std::string line; std::getline(lines, line);) {
        const nlohmann::json report = nlohmann::json::parse(line, nullptr, false);
        if (!report.is_object() || report.value("class", "") != "TPV") continue;
        ASSERT_EQ(3, report.value("mode", 0)) << line;
        // The simulator's default place, with its wander of well under a metre.
        EXPECT_NEAR(51.4779, report.value("lat", 0.0), 1e-4) << line;
        EXPECT_NEAR(-0.0015, report.value("lon", 0.0), 1e-4) << line;
        EXPECT_NEAR(92.0, report.value("altHAE", 0.0), 5.0) << line;
        ++fixes;
    }
    EXPECT_GE(fixes, 10) << result.standardOutput;
    EXPECT_EQ(0, rig.StopDaemon()) << rig.Diagnosis();
}

}  // namespace
