// `cmake --install` lays out a working installation: the daemon and every
// tool in bin/, the service unit in lib/systemd/system naming the installed
// daemon, and the example configuration with every key commented out.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "platform/Config/Config.h"
#include "tests/support/TestSupport.h"

namespace {

bool IsExecutableFile(const std::string& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
           ::access(path.c_str(), X_OK) == 0;
}

class InstallationTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_result = TestSupport::RunProcess(
            {QUILLOND_CMAKE_COMMAND, "--install", QUILLOND_BUILD_DIR, "--prefix", m_prefix.Path()},
            {}, 120.0);
        ASSERT_EQ(0, m_result.exitStatus) << m_result.standardOutput << m_result.standardError;
    }

    TestSupport::TempDir m_prefix;
    TestSupport::SProcessResult m_result;
};

TEST_F(InstallationTest, PutsTheDaemonAndEveryToolInBin) {
    for (const char* program : {"quillond", "quillond-sim", "quillond-call", "quillond-logserver",
                                "quillond-mkcapture", "quillond-raw2log"}) {
        const std::string path = m_prefix.Path() + "/bin/" + program;
        EXPECT_TRUE(IsExecutableFile(path)) << path;
    }
    // The installed daemon is a working one.
    const TestSupport::SProcessResult help =
        TestSupport::RunProcess({m_prefix.Path() + "/bin/quillond", "--help"}, {}, 30.0);
    EXPECT_EQ(0, help.exitStatus);
    EXPECT_NE(std::string::npos, help.standardOutput.find("Usage"));
}

TEST_F(InstallationTest, InstallsANotifyServiceUnitThatRunsTheInstalledDaemon) {
    const std::string unit =
        TestSupport::ReadWholeFile(m_prefix.Path() + "/lib/systemd/system/quillond.service");
    ASSERT_FALSE(unit.empty());
    for (const std::string& line : std::vector<std::string>{
             "Type=notify", "Restart=on-failure",
             "Environment=QUILLOND_CONFIG=", "ExecStart=" + m_prefix.Path() + "/bin/quillond"}) {
        EXPECT_NE(std::string::npos, unit.find("\n" + line)) << line << "\n" << unit;
    }
    EXPECT_NE(std::string::npos, unit.find("\nWatchdogSec=")) << unit;
    EXPECT_EQ(std::string::npos, unit.find('@')) << "unsubstituted placeholder\n" << unit;
}

TEST_F(InstallationTest, ExampleConfigurationChangesNothingUntilEdited) {
    const std::string path = m_prefix.Path() + "/share/doc/quillond/system.conf.example";
    const std::string text = TestSupport::ReadWholeFile(path);
    ASSERT_FALSE(text.empty()) << path;
    // Every key is there, commented out, so the file as shipped gives the defaults.
    for (const char* key : {"# io_type = 3", "# input_filename = 122", "# breakout_mode = 3",
                            "# baud_rate = 230400", "# bind_address = 127.0.0.1", "# port = 5314",
                            "# port = 2947", "# port = 10110", "# obstruction_lockout = 60"}) {
        EXPECT_NE(std::string::npos, text.find(key)) << key;
    }
    CConfig config(path);
    EXPECT_EQ("default", config.GetString("Quillond", "io_type", "default"));
    EXPECT_EQ("default", config.GetString("MPIServer", "bind_address", "default"));
}

}  // namespace
