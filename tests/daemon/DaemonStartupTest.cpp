// Start-up behaviour of the real daemon binary: usage, option errors, the
// configuration store layer and the choice of byte source.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "tests/support/TestSupport.h"

namespace {

using TestSupport::RunProcess;
using TestSupport::SProcessResult;

const std::string kUsageAfterPath =
    " [options]\n"
    "\n"
    "Command Line Options:\n"
    "\n"
    "I/O Options\n"
    "-f <NormalFile>     Raw file mode (raw file I/O)\n"
    "-s <serialPort>     Serial port (allows serial port configuration)\n"
    "-r <ReplayFile>     Replay mode (zoka binary logs)\n"
    "-k <tolvekNumber>   Tolvek (with tolvek number)\n"
    "\n"
    "Configuration options\n"
    "-b <baudrate>       Serial Baud Rate\n"
    "-c <config file>    Novatel Configuration file\n"
    "-t <timeout>        Serial read timeout, in ms\n"
    "-z <size>           Serial/File read size\n"
    "-u <mode>           Breakout mode, parameter = {none|break|lb2|softbreak} [Note 1]\n"
    "-p                  Do not elevate priority (e.g. no root access)\n"
    "-h                  Displays this help menu\n"
    "-d                  Display basic information on packets received to screen\n"
    "\n"
    "If no parameters are given, the program will extract arguments from the config database\n"
    "\n"
    "[Note 1] LB2 breakout only changes port 2 whilst port 1 remains undisturbed\n"
    "\n";

// Every run gets its own store so the machine's real one never leaks in.
class DaemonStartupTest : public ::testing::Test {
protected:
    SProcessResult Run(std::vector<std::string> arguments, double timeout = 30.0,
                       int timeoutSignal = SIGKILL) {
        arguments.insert(arguments.begin(), m_daemon);
        return RunProcess(arguments, {{"QUILLOND_CONFIG", m_dir.File("system.conf")}}, timeout,
                          timeoutSignal);
    }
    // Every store gives the NMEA service a port of the kernel's choice, so
    // daemons running in parallel never compete for 10110 (and never print why).
    void WriteStore(const std::string& text) {
        TestSupport::WriteWholeFile(m_dir.File("system.conf"),
                                    text + "\n[NMEAService]\nport = 0\n");
    }
    void SetUp() override { WriteStore(""); }

    TestSupport::TempDir m_dir;
    std::string m_daemon = TestSupport::BuiltProgram("quillond");
};

TEST_F(DaemonStartupTest, HelpAlonePrintsUsageExactlyAndExitsZero) {
    for (const char* help : {"-h", "--help"}) {
        SProcessResult result = Run({help});
        EXPECT_EQ(0, result.exitStatus) << help;
        EXPECT_EQ("Usage: \n" + m_daemon + kUsageAfterPath, result.standardOutput) << help;
        EXPECT_EQ("", result.standardError) << help;
    }
}

TEST_F(DaemonStartupTest, OptionErrorsGiveTheirMessageAndStatus255) {
    struct SCase {
        std::vector<std::string> arguments;
        const char* message;
    } cases[] = {
        {{"-d", "-h"}, "Unrecognised argument \"104\"\n\n"},
        {{"-q"}, "Unrecognised argument \"113\"\n\n"},
        {{"-u", "LB2"}, "Unrecognised argument \"LB2\" for 'u'\n\n"},
    };
    for (const SCase& c : cases) {
        SProcessResult result = Run(c.arguments);
        EXPECT_EQ(255, result.exitStatus) << c.message;
        EXPECT_EQ(c.message, result.standardError);
        EXPECT_EQ("", result.standardOutput);
    }
}

TEST_F(DaemonStartupTest, UnknownIoTypeInTheStoreEndsStartUp) {
    WriteStore("[Quillond]\nio_type = 7\n");
    SProcessResult result = Run({"-p"});
    EXPECT_EQ(255, result.exitStatus);
    EXPECT_EQ("Unrecognised I/O type. Exiting\n", result.standardError);
}

TEST_F(DaemonStartupTest, LastSourceOptionWinsAndAFileSourceRunsToItsEnd) {
    TestSupport::WriteWholeFile(m_dir.File("x.bin"), std::string(5000, '\x55'));
    SProcessResult result = Run({"-p", "-s", "/dev/ttyS1", "-f", m_dir.File("x.bin")});
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_EQ("", result.standardError);
}

TEST_F(DaemonStartupTest, StoreSelectsTheSourceWhenNoOptionDoes) {
    TestSupport::WriteWholeFile(m_dir.File("capture.gps"), std::string(100, 'x'));
    WriteStore("[Quillond]\nio_type = 0\ninput_filename = " + m_dir.File("capture.gps") + "\n");
    SProcessResult result = Run({"-p"});
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
}

TEST_F(DaemonStartupTest, PriorityRefusalIsReportedAndStartUpGoesOn) {
    TestSupport::WriteWholeFile(m_dir.File("x.bin"), "abc");
    SProcessResult result = Run({"-f", m_dir.File("x.bin")});
    EXPECT_EQ(0, result.exitStatus);
    if (::geteuid() == 0) {
        // Root may switch to SCHED_FIFO; if the sandbox still refuses, the message says so.
        if (!result.standardError.empty()) {
            EXPECT_EQ(0u, result.standardError.find("quillond: Error setting scheduler policy: "));
        }
    } else {
        EXPECT_EQ(0u, result.standardError.find("quillond: Error setting scheduler policy: "))
            << result.standardError;
    }
    EXPECT_EQ(std::string::npos, result.standardError.find("Unable to set process priority"));
}

TEST_F(DaemonStartupTest, SerialSourceRunsUntilToldToStop) {
    int master = -1, slave = -1;
    char name[256];
    ASSERT_EQ(0, ::openpty(&master, &slave, name, nullptr, nullptr));
    ::close(slave);
    // The daemon keeps reading the pseudo-terminal until SIGTERM, then ends cleanly.
    const std::string bytes(300, '\xAA');
    ASSERT_EQ(static_cast<ssize_t>(bytes.size()), ::write(master, bytes.data(), bytes.size()));
    SProcessResult result = Run({"-p", "-s", name, "-b", "230400"}, 1.5, SIGTERM);
    ::close(master);
    EXPECT_FALSE(result.signalled) << "the daemon must end its loop on SIGTERM";
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
}

TEST_F(DaemonStartupTest, UnreadableStoreFallsBackToDefaultsWithAMessage) {
    // A directory where the store file should be cannot be read as one.
    ASSERT_EQ(0, ::unlink(m_dir.File("system.conf").c_str()));
    ASSERT_EQ(0, ::mkdir(m_dir.File("system.conf").c_str(), 0755));
    TestSupport::WriteWholeFile(m_dir.File("x.bin"), "abc");
    SProcessResult result = Run({"-p", "-f", m_dir.File("x.bin")});
    EXPECT_EQ(0, result.exitStatus);
    EXPECT_NE(std::string::npos, result.standardError.find(m_dir.File("system.conf")))
        << result.standardError;
}

}  // namespace
