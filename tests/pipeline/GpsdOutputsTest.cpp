// Solutions fed to the daemon as PDPXYZ logs reach gpsd's world two ways:
// the position service speaks gpsd's protocol to gpspipe and Python's gps
// module directly, and gpsd itself reads the NMEA port's GPGGA and GPRMC.
// Expected positions are chosen geodetically and converted to ECEF here.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/pipeline/PipelineTestSupport.h"

namespace {

using PipelineTest::CPipelineDaemon;
using PipelineTest::SEpochTime;
using PipelineTest::SPosition;

const char kGpspipe[] = "/usr/bin/gpspipe";
const char kGpsd[] = "/usr/sbin/gpsd";
const char kPython[] = "/usr/bin/python3";

const double kLatitude = -33.8567844;
const double kLongitude = 151.2152967;
const double kHeight = 43.125;
const float kUndulation = 22.5f;

// Writes one epoch (BESTPOS, PDPXYZ) every 200 ms from a thread of its own
// until destroyed, and remembers each epoch's TPV time.
class CEpochFeeder {
public:
    explicit CEpochFeeder(CPipelineDaemon& daemon) : m_daemon(daemon) {
        m_thread = std::thread([this] { Run(); });
    }
    ~CEpochFeeder() { Times(); }
    // Stops feeding; the TPV times of the epochs written.
    std::set<std::string> Times() {
        m_stop = true;
        if (m_thread.joinable()) m_thread.join();
        return m_times;
    }

private:
    void Run() {
        const SPosition position = PipelineTest::PositionAt(kLatitude, kLongitude, kHeight);
        SEpochTime time;
        time.week = 2310;
        time.milliseconds = 302400250;
        while (!m_stop) {
            m_times.insert(PipelineTest::TpvTime(time));
            if (!m_daemon.Write(PipelineTest::BestPosFrame(time, position, kUndulation) +
                                PipelineTest::PdpXyzFrame(time, position))) {
                return;
            }
            time.milliseconds += 1000;
            ::usleep(200000);
        }
    }

    CPipelineDaemon& m_daemon;
    std::atomic<bool> m_stop{false};
    std::set<std::string> m_times;
    std::thread m_thread;
};

std::vector<nlohmann::json> Reports(const std::string& output, const std::string& kind) {
    std::vector<nlohmann::json> reports;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
        nlohmann::json report = nlohmann::json::parse(line, nullptr, false);
        if (report.is_object() && report.value("class", "") == kind) reports.push_back(report);
    }
    return reports;
}

TEST(GpsdOutputsTest, GpspipeSeesTPVsAtTheFedPositionFromThePositionService) {
    if (!PipelineTest::IsExecutable(kGpspipe))
        GTEST_SKIP() << kGpspipe << " not installed (gpsd-clients)";
    CPipelineDaemon daemon;
    ASSERT_TRUE(daemon.Start()) << daemon.StandardError();
    CEpochFeeder feeder(daemon);
    const TestSupport::SProcessResult result = TestSupport::RunProcess(
        {kGpspipe, "-w", "-n", "10", "127.0.0.1:" + std::to_string(daemon.PositionPort())}, {},
        60.0);
    const std::set<std::string> times = feeder.Times();
    daemon.Stop();
    EXPECT_EQ(0, daemon.ExitStatus()) << daemon.StandardError();
    ASSERT_EQ(0, result.exitStatus) << result.standardError;

    const std::vector<nlohmann::json> tpvs = Reports(result.standardOutput, "TPV");
    ASSERT_FALSE(tpvs.empty()) << result.standardOutput;
    for (const nlohmann::json& tpv : tpvs) {
        EXPECT_EQ(3, tpv.value("mode", 0)) << tpv.dump();
        EXPECT_NEAR(kLatitude, tpv.value("lat", 0.0), 1e-9) << tpv.dump();
        EXPECT_NEAR(kLongitude, tpv.value("lon", 0.0), 1e-9) << tpv.dump();
        EXPECT_NEAR(kHeight, tpv.value("altHAE", 0.0), 1e-3) << tpv.dump();
        EXPECT_NEAR(kUndulation, tpv.value("geoidSep", 0.0), 1e-6) << tpv.dump();
        EXPECT_NEAR(kHeight - kUndulation, tpv.value("altMSL", 0.0), 1e-3) << tpv.dump();
        EXPECT_EQ(1u, times.count(tpv.value("time", ""))) << tpv.dump();
    }
}

const char kPythonClient[] = R"(import sys
import gps
session = gps.gps(host="127.0.0.1", port=sys.argv[1], mode=gps.WATCH_ENABLE)
for _ in range(200):
    report = session.next()
    if report["class"] == "TPV" and "lat" in report:
        print("TPV %d %.9f %.9f %.3f %s" % (report["mode"], report["lat"], report["lon"],
                                          report["altHAE"], report["time"]))
        print("FIX %.9f %.9f" % (session.fix.latitude, session.fix.longitude))
        break
)";

TEST(GpsdOutputsTest, PythonGpsModuleReadsTheFedPosition) {
    if (!PipelineTest::IsExecutable(kPython) ||
        TestSupport::RunProcess({kPython, "-c", "import gps"}, {}, 30).exitStatus != 0) {
        GTEST_SKIP() << kPython << " cannot import gps (python3-gps)";
    }
    CPipelineDaemon daemon;
    ASSERT_TRUE(daemon.Start()) << daemon.StandardError();
    TestSupport::TempDir dir;
    TestSupport::WriteWholeFile(dir.File("client.py"), kPythonClient);
    CEpochFeeder feeder(daemon);
    const TestSupport::SProcessResult result = TestSupport::RunProcess(
        {kPython, dir.File("client.py"), std::to_string(daemon.PositionPort())}, {}, 60);
    const std::set<std::string> times = feeder.Times();
    daemon.Stop();
    EXPECT_EQ(0, daemon.ExitStatus()) << daemon.StandardError();
    ASSERT_EQ(0, result.exitStatus) << result.standardOutput << result.standardError;

    std::istringstream out(result.standardOutput);
    std::string word, time;
    int mode = 0;
    double lat = 0, lon = 0, alt = 0, fixLat = 0, fixLon = 0;
    out >> word >> mode >> lat >> lon >> alt >> time;
    ASSERT_EQ("TPV", word) << result.standardOutput;
    out >> word >> fixLat >> fixLon;
    EXPECT_EQ(3, mode);
    EXPECT_NEAR(kLatitude, lat, 1e-9);
    EXPECT_NEAR(kLongitude, lon, 1e-9);
    EXPECT_NEAR(kHeight, alt, 1e-3);
    EXPECT_EQ(1u, times.count(time)) << time;
    EXPECT_NEAR(kLatitude, fixLat, 1e-9);
    EXPECT_NEAR(kLongitude, fixLon, 1e-9);
}

// A child process ended with SIGTERM when the object goes away; its output
// goes to a file.
class CChild {
public:
    CChild(const std::vector<std::string>& argv, const std::string& output) {
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
            const int fd = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
            ::dup2(fd, 1);
            ::dup2(fd, 2);
            std::vector<char*> args;
            for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
            args.push_back(nullptr);
            ::execv(args[0], args.data());
            ::_exit(127);
        }
    }
    ~CChild() {
        if (m_pid <= 0) return;
        ::kill(m_pid, SIGTERM);
        for (int i = 0; i < 250 && ::waitpid(m_pid, nullptr, WNOHANG) == 0; ++i) ::usleep(20000);
        if (::waitpid(m_pid, nullptr, WNOHANG) == 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

private:
    pid_t m_pid = -1;
};

TEST(GpsdOutputsTest, GpsdReadingTheNmeaPortReportsTheFedPosition) {
    if (!PipelineTest::IsExecutable(kGpsd)) GTEST_SKIP() << kGpsd << " not installed (gpsd)";
    if (!PipelineTest::IsExecutable(kGpspipe))
        GTEST_SKIP() << kGpspipe << " not installed (gpsd-clients)";
    CPipelineDaemon daemon;
    ASSERT_TRUE(daemon.Start()) << daemon.StandardError();
    TestSupport::TempDir dir;
    const int gpsdPort = TestSupport::ClosedPort();
    CChild gpsd(
        {kGpsd, "-N", "-n", "-b", "-F", dir.File("gpsd.sock"), "-P", dir.File("gpsd.pid"), "-S",
         std::to_string(gpsdPort), "tcp://127.0.0.1:" + std::to_string(daemon.NmeaPort())},
        dir.File("gpsd.log"));
    const int probe = TestSupport::ConnectLoopback(gpsdPort, 30.0);
    ASSERT_GE(probe, 0) << "gpsd did not listen on " << gpsdPort;
    ::close(probe);

    CEpochFeeder feeder(daemon);
    // gpspipe stops after a fixed number of lines; gpsd needs a few sentences
    // before its first fix, so enough lines are asked for to see several.
    const TestSupport::SProcessResult result = TestSupport::RunProcess(
        {kGpspipe, "-w", "-n", "25", "127.0.0.1:" + std::to_string(gpsdPort)}, {}, 60.0);
    feeder.Times();
    daemon.Stop();
    EXPECT_EQ(0, daemon.ExitStatus()) << daemon.StandardError();
    ASSERT_EQ(0, result.exitStatus) << result.standardError;

    std::vector<nlohmann::json> fixes;
    for (const nlohmann::json& tpv : Reports(result.standardOutput, "TPV")) {
        if (tpv.contains("lat")) fixes.push_back(tpv);
    }
    ASSERT_FALSE(fixes.empty()) << result.standardOutput
                                << TestSupport::ReadWholeFile(dir.File("gpsd.log"));
    // A fix of mode 3 carries the heights: GPGGA's altitude and separation.
    EXPECT_TRUE(fixes.back().contains("altHAE")) << fixes.back().dump();
    for (const nlohmann::json& tpv : fixes) {
        EXPECT_GE(tpv.value("mode", 0), 2) << tpv.dump();
        // GPGGA carries minutes with six decimals: 1e-6 / 60 of a degree.
        EXPECT_NEAR(kLatitude, tpv.value("lat", 0.0), 1e-7) << tpv.dump();
        EXPECT_NEAR(kLongitude, tpv.value("lon", 0.0), 1e-7) << tpv.dump();
        if (tpv.contains("altMSL")) {
            EXPECT_NEAR(kHeight - kUndulation, tpv.value("altMSL", 0.0), 1e-3) << tpv.dump();
        }
        if (tpv.contains("altHAE")) {
            EXPECT_NEAR(kHeight, tpv.value("altHAE", 0.0), 1e-3) << tpv.dump();
        }
    }
}

}  // namespace
