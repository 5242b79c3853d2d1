// The serial device vanishes and comes back: the daemon opens its port by
// name, so when the device behind the name goes away and a new one appears
// under it, the daemon reports the hang-up, opens the new device and goes on,
// and every record that reached it before and after is processed.

#include <gtest/gtest.h>
#include <pty.h>
#include <stdio.h>
#include <unistd.h>

#include <string>

#include "tests/faults/FaultSupport.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

// A pseudo-terminal whose slave the daemon opens through a symbolic link.
struct SDevice {
    int master = -1;
    std::string slaveName;
};

SDevice NewDevice() {
    SDevice device;
    int slave = -1;
    char name[128];
    if (::openpty(&device.master, &slave, name, nullptr, nullptr) != 0) return device;
    ::close(slave);  // only the daemon holds the slave, so closing the master hangs it up
    device.slaveName = name;
    return device;
}

// Points the link at the target in one step, as a device manager renaming a node would.
void PointLink(const std::string& link, const std::string& target) {
    const std::string temporary = link + ".new";
    ::unlink(temporary.c_str());
    ASSERT_EQ(0, ::symlink(target.c_str(), temporary.c_str()));
    ASSERT_EQ(0, ::rename(temporary.c_str(), link.c_str()));
}

bool WriteAll(int fd, const std::string& bytes) {
    return ::write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
}

// Sends a probe frame every 100 ms until the daemon shows it; false when it never did.
bool ProbeUntilSeen(FaultSupport::CChild& daemon, int master, uint16_t week, double seconds) {
    const std::string mark = "week = " + std::to_string(week) + ",";
    for (double waited = 0; waited < seconds; waited += 0.1) {
        WriteAll(master, FaultSupport::MarkedFrame(week));
        if (daemon.WaitForOutput(mark, 0.1)) return true;
    }
    return false;
}

TEST(SerialVanishTest, ReopensTheDeviceByNameAndLosesNoRecordEitherSide) {
    TestSupport::TempDir dir;
    TestSupport::CLogServerStub logServer;
    const std::string config = TestSupport::WriteServerConfig(dir, "127.0.0.1", logServer.Port());
    const std::string link = dir.File("gps0");

    SDevice first = NewDevice();
    ASSERT_GE(first.master, 0);
    PointLink(link, first.slaveName);
    FaultSupport::CChild daemon(
        {TestSupport::BuiltProgram("quillond"), "-p", "-d", "-u", "none", "-s", link},
        {{"QUILLOND_CONFIG", config}});

    ASSERT_TRUE(ProbeUntilSeen(daemon, first.master, 900, 30.0)) << daemon.StandardError();
    for (uint16_t week = 1000; week < 1020; ++week)
        ASSERT_TRUE(WriteAll(first.master, FaultSupport::MarkedFrame(week)));
    ASSERT_TRUE(daemon.WaitForOutput("week = 1019,", 10.0)) << daemon.StandardOutput();

    // The device goes away; a while later a new one appears under the same name.
    ::close(first.master);
    ASSERT_TRUE(daemon.WaitForOutput("closing the port", 10.0, true)) << daemon.StandardError();
    FaultSupport::Pause(0.5);
    SDevice second = NewDevice();
    ASSERT_GE(second.master, 0);
    PointLink(link, second.slaveName);

    ASSERT_TRUE(ProbeUntilSeen(daemon, second.master, 901, 30.0)) << daemon.StandardError();
    for (uint16_t week = 1100; week < 1120; ++week)
        ASSERT_TRUE(WriteAll(second.master, FaultSupport::MarkedFrame(week)));
    ASSERT_TRUE(daemon.WaitForOutput("week = 1119,", 10.0)) << daemon.StandardOutput();
    EXPECT_TRUE(daemon.Running());

    const std::string output = daemon.StandardOutput();
    for (uint16_t week : {1000, 1010, 1019, 1100, 1110, 1119}) {
        EXPECT_NE(std::string::npos, output.find("week = " + std::to_string(week) + ",")) << week;
    }
    // Each record exactly once: a reopened port replays nothing.
    int shown = 0;
    for (size_t at = output.find("week = 1"); at != std::string::npos;
         at = output.find("week = 1", at + 1)) {
        ++shown;
    }
    EXPECT_EQ(40, shown);
    EXPECT_EQ(0, daemon.Stop()) << daemon.StandardError();
    ::close(second.master);
}

}  // namespace
