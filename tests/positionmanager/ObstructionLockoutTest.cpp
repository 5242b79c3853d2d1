// The obstruction lockout: PDP solutions stay at quality 1 until the PDP
// filter's phase flag has been back for the whole configured lockout, the
// alarm follows the lockout, the first epoch of a drop only logs, receivers
// whose software does this themselves bypass it, and the configured length.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "LogObserver/ReceiverStatusObserver.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "platform/Core/Time.h"
#include "tests/positionmanager/PositionManagerTestSupport.h"

namespace {

using namespace PositionManagerTest;
using nlohmann::json;

const uint16_t kPDP = Novatel::kPDPXYZMessageID;

class ObstructionLockoutTest : public CFixture {
protected:
    void SetUp() override { StartManager("[glide]\nobstruction_lockout = 1\n"); }

    // Solution quality of a PDPXYZ sent after a PDPSTAT with the given phase flag.
    int QualityAfterPhaseFlag(uint32_t phaseFlag, uint32_t milliseconds = kMilliseconds) {
        Feed(PDPSTATFrame(1, phaseFlag, milliseconds));
        SCartesian log;
        log.positionType = 16;
        return FeedForTPV(CartesianFrame(kPDP, log)).value("solutionQuality", -9);
    }

    // A status observer that learnt the receiver card's software version.
    void UseStatusObserverOfVersion(const std::string& softwareVersion) {
        m_statusObserver.reset(new CReceiverStatusObserver(*m_config));
        std::unique_ptr<CGPSRecord> version(CreateRecord(VERSIONFrame(softwareVersion)));
        m_statusObserver->NewPacket(version.get());
        m_manager->SetStatusObserver(m_statusObserver.get());
    }

    static std::vector<json> Alarms(const std::vector<json>& datagrams) {
        return OfType(datagrams, "alarm");
    }

    std::unique_ptr<CReceiverStatusObserver> m_statusObserver;
};

TEST_F(ObstructionLockoutTest, HoldsQualityAtOneUntilThePhaseFlagHasBeenBackForTheLockout) {
    EXPECT_EQ(2, QualityAfterPhaseFlag(1));
    EXPECT_EQ(1u, Alarms(Datagrams()).size()) << "the idle lockout's alarm is cleared";

    // The first epoch of the drop is only logged.
    EXPECT_EQ(2, QualityAfterPhaseFlag(0, 129700500));
    std::vector<json> datagrams = Datagrams();
    const std::vector<json> lines = OfType(datagrams, "line");
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ("Glide dropped zero phase measurements: 2000 129700.500000",
              lines[0].value("text", ""));

    // From the second epoch on the lockout starts, with its alarm.
    EXPECT_EQ(1, QualityAfterPhaseFlag(0));
    const Core::MonotonicTime restarted = Core::MonotonicTime::Now();
    datagrams = Alarms(Datagrams());
    ASSERT_EQ(1u, datagrams.size());
    EXPECT_EQ("raise", datagrams[0].value("action", ""));
    EXPECT_EQ(79141, datagrams[0].value("code", 0));
    EXPECT_EQ(0, datagrams[0].value("index", -1));
    EXPECT_EQ(1, datagrams[0].value("argument", 0));

    // The flag is back, but the lockout has not run out.
    const int qualityWhileLocked = QualityAfterPhaseFlag(1);
    if ((Core::MonotonicTime::Now() - restarted).Seconds() < 0.9) {
        EXPECT_EQ(1, qualityWhileLocked);
        EXPECT_TRUE(Alarms(Datagrams()).empty());
    }

    while ((Core::MonotonicTime::Now() - restarted).Seconds() < 1.05) usleep(20000);
    EXPECT_EQ(2, QualityAfterPhaseFlag(1));
    datagrams = Alarms(Datagrams());
    ASSERT_EQ(1u, datagrams.size());
    EXPECT_EQ("clear", datagrams[0].value("action", ""));
    EXPECT_EQ(79141, datagrams[0].value("code", 0));
}

TEST_F(ObstructionLockoutTest, RestartsTheLockoutAtEveryEpochWhileThePhaseFlagStaysZero) {
    QualityAfterPhaseFlag(1);
    QualityAfterPhaseFlag(0);
    const Core::MonotonicTime start = Core::MonotonicTime::Now();
    Core::MonotonicTime lastRestart = start;
    size_t epochs = 0;
    while ((Core::MonotonicTime::Now() - start).Seconds() < 1.3) {
        lastRestart = Core::MonotonicTime::Now();
        EXPECT_EQ(1, QualityAfterPhaseFlag(0));
        ++epochs;
        usleep(100000);
    }
    const int qualityAfterOutage = QualityAfterPhaseFlag(1);
    if ((Core::MonotonicTime::Now() - lastRestart).Seconds() < 0.9) {
        EXPECT_EQ(1, qualityAfterOutage) << "the lockout runs from the last epoch of the outage";
    }
    size_t raised = 0;
    for (const json& alarm : Alarms(Datagrams())) raised += alarm.value("action", "") == "raise";
    EXPECT_EQ(epochs, raised) << "raised at every epoch of the outage after the first";
}

TEST_F(ObstructionLockoutTest, LeavesRTKSolutionsAlone) {
    QualityAfterPhaseFlag(0);
    QualityAfterPhaseFlag(0);
    SCartesian log;
    log.positionType = 50;
    EXPECT_EQ(
        3, FeedForTPV(CartesianFrame(Novatel::kRTKXYZMessageID, log)).value("solutionQuality", -9));
}

TEST_F(ObstructionLockoutTest, IsBypassedForReceiverSoftwareAbove10100) {
    UseStatusObserverOfVersion("L6X10200");
    EXPECT_EQ(2, QualityAfterPhaseFlag(0));
    EXPECT_EQ(2, QualityAfterPhaseFlag(0));
    EXPECT_EQ(2, QualityAfterPhaseFlag(0));
    const std::vector<json> datagrams = Datagrams();
    EXPECT_TRUE(OfType(datagrams, "line").empty());
    for (const json& alarm : Alarms(datagrams)) EXPECT_EQ("clear", alarm.value("action", ""));
}

TEST_F(ObstructionLockoutTest, RunsForReceiverSoftware10100AndForUnknownVersions) {
    UseStatusObserverOfVersion("L6X10100");
    EXPECT_EQ(1, QualityAfterPhaseFlag(0)) << "the previous flag starts at 0";
    m_manager->SetStatusObserver(nullptr);
    EXPECT_EQ(1, QualityAfterPhaseFlag(0));
    UseStatusObserverOfVersion("OEMV3-3.701");  // no number: -1
    EXPECT_EQ(1, QualityAfterPhaseFlag(0));
}

struct SLengthCase {
    const char* config;
    double seconds;
};

void PrintTo(const SLengthCase& c, std::ostream* out) { *out << "store \"" << c.config << "\""; }

class LockoutLength : public CFixture, public ::testing::WithParamInterface<SLengthCase> {};

TEST_P(LockoutLength, IsReadInWholeSecondsFromTheStore) {
    StartManager(GetParam().config);
    EXPECT_DOUBLE_EQ(GetParam().seconds, m_manager->GetLockoutDuration().Seconds());
}

INSTANTIATE_TEST_SUITE_P(
    PositionManager, LockoutLength,
    ::testing::Values(SLengthCase{"", 60.0}, SLengthCase{"[glide]\nobstruction_lockout = 5\n", 5.0},
                      SLengthCase{"[glide]\nobstruction_lockout = 0\n", 0.0},
                      SLengthCase{"[glide]\nobstruction_lockout = -3\n", 0.0},
                      SLengthCase{"[glide]\nobstruction_lockout = 2s\n", 60.0}));

class LockoutOfZero : public CFixture {};

TEST_F(LockoutOfZero, NeverHoldsQualityDown) {
    StartManager("[glide]\nobstruction_lockout = 0\n");
    SCartesian log;
    log.positionType = 16;
    for (int i = 0; i < 3; ++i) {
        Feed(PDPSTATFrame(1, 0));
        EXPECT_EQ(2, FeedForTPV(CartesianFrame(kPDP, log)).value("solutionQuality", -9));
    }
}

}  // namespace
