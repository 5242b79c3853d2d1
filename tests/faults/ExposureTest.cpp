// What the daemon exposes to other users and hosts: its listening sockets are
// on loopback unless the configuration names another address, and nothing it
// creates is writable by others (umask 027; the store is 0640 when new and
// keeps its mode when rewritten).

#include <dirent.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/Config/Config.h"
#include "tests/faults/FaultSupport.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

// The inodes of the sockets the process holds open.
std::set<std::string> SocketInodes(pid_t pid) {
    std::set<std::string> inodes;
    const std::string directory = "/proc/" + std::to_string(pid) + "/fd";
    DIR* listing = ::opendir(directory.c_str());
    if (!listing) return inodes;
    while (struct dirent* entry = ::readdir(listing)) {
        char target[256];
        const std::string link = directory + "/" + entry->d_name;
        const ssize_t length = ::readlink(link.c_str(), target, sizeof(target) - 1);
        if (length <= 0) continue;
        const std::string text(target, static_cast<size_t>(length));
        if (text.compare(0, 8, "socket:[") == 0) inodes.insert(text.substr(8, text.size() - 9));
    }
    ::closedir(listing);
    return inodes;
}

// The local addresses (as the kernel's table writes them) of the listening
// TCP sockets among the inodes.
std::vector<std::string> ListeningAddresses(pid_t pid, const std::set<std::string>& inodes) {
    std::vector<std::string> addresses;
    for (const char* table : {"tcp", "tcp6"}) {
        std::ifstream in("/proc/" + std::to_string(pid) + "/net/" + table);
        std::string line;
        std::getline(in, line);  // heading
        while (std::getline(in, line)) {
            std::istringstream fields(line);
            std::string slot, local, remote, state, queues, timer, retransmits, uid, timeout, inode;
            fields >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> uid >>
                timeout >> inode;
            if (state == "0A" && inodes.count(inode)) {
                addresses.push_back(local.substr(0, local.find(':')));
            }
        }
    }
    return addresses;
}

bool IsLoopback(const std::string& address) {
    return address == "0100007F" || address == "7F000001" ||
           address == "00000000000000000000000001000000" ||
           address == "00000000000000000000000000000001";
}

std::string Umask(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(in, line)) {
        if (line.compare(0, 6, "Umask:") == 0) return line.substr(line.find_first_not_of(" \t", 6));
    }
    return "";
}

class ExposureTest : public ::testing::Test {
protected:
    // Starts the daemon on a pseudo-terminal the test holds, with extra store text.
    void StartDaemon(const std::string& extra) {
        char name[128];
        ASSERT_EQ(0, ::openpty(&m_master, &m_slave, name, nullptr, nullptr));
        const std::string config = TestSupport::WriteServerConfig(
            m_dir, "127.0.0.1", m_logServer.Port(),
            "[MPIServer]\nport = " + std::to_string(m_mpiPort) + "\n" + extra);
        m_daemon.reset(new FaultSupport::CChild(
            {TestSupport::BuiltProgram("quillond"), "-p", "-u", "none", "-s", name},
            {{"QUILLOND_CONFIG", config}}));
        const int client = FaultSupport::ConnectLoopback(m_mpiPort, 30.0);
        ASSERT_GE(client, 0) << m_daemon->StandardError();
        ::close(client);
    }
    void TearDown() override {
        if (m_daemon) m_daemon->Stop();
        if (m_master >= 0) ::close(m_master);
        if (m_slave >= 0) ::close(m_slave);
    }

    TestSupport::TempDir m_dir;
    TestSupport::CLogServerStub m_logServer;
    const int m_mpiPort = TestSupport::ClosedPort();
    int m_master = -1;
    int m_slave = -1;
    std::unique_ptr<FaultSupport::CChild> m_daemon;
};

TEST_F(ExposureTest, EveryServiceListensOnLoopbackByDefault) {
    StartDaemon("");
    const std::vector<std::string> addresses =
        ListeningAddresses(m_daemon->Pid(), SocketInodes(m_daemon->Pid()));
    // The NMEA, position and remote-method services.
    ASSERT_EQ(3u, addresses.size()) << m_daemon->StandardError();
    for (const std::string& address : addresses) EXPECT_TRUE(IsLoopback(address)) << address;
}

TEST_F(ExposureTest, ListensOnEveryAddressOnlyWhenConfiguredSo) {
    StartDaemon("[PositionService]\nbind_address =\n");
    const std::vector<std::string> addresses =
        ListeningAddresses(m_daemon->Pid(), SocketInodes(m_daemon->Pid()));
    ASSERT_EQ(3u, addresses.size()) << m_daemon->StandardError();
    int wildcard = 0;
    for (const std::string& address : addresses) {
        if (!IsLoopback(address)) ++wildcard;
    }
    EXPECT_EQ(1, wildcard);
}

TEST_F(ExposureTest, DaemonRunsWithAUmaskThatKeepsOthersOut) {
    StartDaemon("");
    EXPECT_EQ("0027", Umask(m_daemon->Pid()));
}

mode_t ModeOf(const std::string& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0;
}

TEST(StoreModeTest, NewStoreAndItsLockAreNotReadableOrWritableByOthers) {
    TestSupport::TempDir dir;
    const mode_t previous = ::umask(0);  // even a careless caller's umask
    CConfig config(dir.File("system.conf"));
    config.SetInteger("Quillond", "sbas_prn", 120);
    const bool committed = config.Commit();
    ::umask(previous);
    ASSERT_TRUE(committed);
    EXPECT_EQ(0640u, ModeOf(dir.File("system.conf")));
    EXPECT_EQ(0640u, ModeOf(dir.File("system.conf.lock")));
}

TEST(StoreModeTest, CommitKeepsTheModeTheFileHad) {
    TestSupport::TempDir dir;
    const std::string path = dir.File("system.conf");
    TestSupport::WriteWholeFile(path, "[Quillond]\nio_type = 1\n");
    ASSERT_EQ(0, ::chmod(path.c_str(), 0600));
    CConfig config(path);
    config.SetInteger("Quillond", "sbas_prn", 120);
    ASSERT_TRUE(config.Commit());
    EXPECT_EQ(0600u, ModeOf(path));
}

}  // namespace
