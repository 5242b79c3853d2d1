// gpsd's unmodified clients against the position service: gpspipe -w, the
// libgps-based gpxlogger and Python's gps module each connect to a service
// on a private port, served from a thread running the select loop, which
// publishes a solution and a sky view every 100 ms.

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "platform/Config/Config.h"
#include "platform/Net/SocketCollection.h"
#include "platform/Position/PositionAPI.h"
#include "platform/Position/PositionService.h"
#include "tests/net/NetTestSupport.h"
#include "tests/position/PositionTestSupport.h"
#include "tests/support/TestSupport.h"

namespace {

const char kGpspipe[] = "/usr/bin/gpspipe";
const char kGpxlogger[] = "/usr/bin/gpxlogger";
// Debian's interpreter, which python3-gps installs its module for.
const char kPython[] = "/usr/bin/python3";

bool IsExecutable(const char* path) { return ::access(path, X_OK) == 0; }

bool PythonHasGps() {
    return IsExecutable(kPython) &&
           TestSupport::RunProcess({kPython, "-c", "import gps"}, {}, 30).exitStatus == 0;
}

// The service with its loop on a thread of its own; everything the service
// does happens on that thread.
class CServedService {
public:
    CServedService() {
        TestSupport::WriteWholeFile(m_dir.File("system.conf"),
                                    "[PositionService]\nbind_address = 127.0.0.1\nport = 0\n");
        CConfig config(m_dir.File("system.conf"));
        m_started = m_service.Start(config);
        m_port = m_service.GetPort();
        m_sockets.Add(&m_service);
        m_thread = std::thread([this] { Run(); });
    }
    ~CServedService() {
        m_stop = true;
        m_thread.join();
    }
    bool Started() const { return m_started; }
    int Port() const { return m_port; }

private:
    void Run() {
        CPositionAPI api(&m_service);
        CPositionAPI::sSSatinfo satellite;
        satellite.prn = 12;
        satellite.carrierToNoise = 44.0;
        satellite.used = true;
        auto next = std::chrono::steady_clock::now();
        while (!m_stop) {
            if (std::chrono::steady_clock::now() >= next) {
                api.SetECEFPositionData(
                    PositionTest::MakeSolution(51.0789, -114.1337, 1117.75, 3.0, 4.0, 0.0));
                api.SetSkyView({satellite, satellite});
                next += std::chrono::milliseconds(100);
            }
            NetTest::Pump(m_sockets, 20);
        }
    }

    TestSupport::TempDir m_dir;
    CPositionService m_service;
    SocketCollectionC m_sockets;
    bool m_started = false;
    int m_port = 0;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

TEST(GpsdClientsTest, GpspipeReceivesVersionWatchAndTPVReports) {
    if (!IsExecutable(kGpspipe)) GTEST_SKIP() << kGpspipe << " not installed (gpsd-clients)";
    CServedService served;
    ASSERT_TRUE(served.Started());
    const TestSupport::SProcessResult result = TestSupport::RunProcess(
        {kGpspipe, "-w", "-n", "8", "127.0.0.1:" + std::to_string(served.Port())}, {}, 30);
    ASSERT_EQ(0, result.exitStatus) << result.standardError;
    const std::string& out = result.standardOutput;
    EXPECT_EQ(0u, out.find("{\"class\":\"VERSION\"")) << out;
    EXPECT_NE(std::string::npos, out.find("{\"class\":\"WATCH\"")) << out;
    EXPECT_NE(std::string::npos, out.find("{\"class\":\"TPV\"")) << out;
    EXPECT_NE(std::string::npos, out.find("\"lat\":51.0789")) << out;
    EXPECT_NE(std::string::npos, out.find("{\"class\":\"SKY\"")) << out;
}

TEST(GpsdClientsTest, GpxloggerParsesTheTPVReportsThroughLibgps) {
    if (!IsExecutable(kGpxlogger)) GTEST_SKIP() << kGpxlogger << " not installed (gpsd-clients)";
    CServedService served;
    ASSERT_TRUE(served.Started());
    // It logs until stopped: two seconds give it many fixes.
    const TestSupport::SProcessResult result = TestSupport::RunProcess(
        {kGpxlogger, "-i", "1", "127.0.0.1:" + std::to_string(served.Port())}, {}, 2.0, 15);
    const std::string& out = result.standardOutput;
    EXPECT_NE(std::string::npos, out.find("<trkpt lat=\"51.078900000\" lon=\"-114.133700000\">"))
        << out << result.standardError;
    EXPECT_NE(std::string::npos, out.find("<ele>1117.7500</ele>")) << out;
    EXPECT_NE(std::string::npos, out.find("<time>2018-05-07T11:59:42.123Z</time>")) << out;
    EXPECT_NE(std::string::npos, out.find("<fix>3d</fix>")) << out;
}

const char kPythonClient[] = R"(import sys
import gps
session = gps.gps(host="127.0.0.1", port=sys.argv[1], mode=gps.WATCH_ENABLE)
seen = set()
for _ in range(100):
    report = session.next()
    kind = report["class"]
    if kind == "TPV" and kind not in seen:
        print("TPV %d %d %.7f %.7f %.3f %s" % (report["mode"], report["status"], report["lat"],
                                            report["lon"], report["altHAE"], report["time"]))
        print("FIX %d %.7f %.7f %.1f" % (session.fix.mode, session.fix.latitude,
                                          session.fix.longitude, session.fix.speed))
    if kind == "SKY" and kind not in seen:
        print("SKY %d %d" % (len(session.satellites), session.satellites_used))
    seen.add(kind)
    if "TPV" in seen and "SKY" in seen:
        break
)";

TEST(GpsdClientsTest, PythonGpsModuleReadsTPVAndSkyReports) {
    if (!PythonHasGps()) GTEST_SKIP() << kPython << " cannot import gps (python3-gps)";
    CServedService served;
    ASSERT_TRUE(served.Started());
    TestSupport::TempDir dir;
    TestSupport::WriteWholeFile(dir.File("client.py"), kPythonClient);
    const TestSupport::SProcessResult result = TestSupport::RunProcess(
        {kPython, dir.File("client.py"), std::to_string(served.Port())}, {}, 30);
    ASSERT_EQ(0, result.exitStatus) << result.standardOutput << result.standardError;
    const std::string& out = result.standardOutput;
    EXPECT_NE(std::string::npos,
              out.find("TPV 3 3 51.0789000 -114.1337000 1117.750 2018-05-07T11:59:42.123Z"))
        << out;
    EXPECT_NE(std::string::npos, out.find("FIX 3 51.0789000 -114.1337000 5.0")) << out;
    EXPECT_NE(std::string::npos, out.find("SKY 2 2")) << out;
}

}  // namespace
