// kill -9 in the middle of a settings commit: the store on disk is always one
// whole version, never a mix or a truncated file, and the next commit works.

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "platform/Config/Config.h"
#include "tests/faults/FaultSupport.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

const int kKeys = 400;

// Fails the test unless every key holds the same generation: one whole version.
void ExpectOneWholeVersion(const std::string& path) {
    CConfig config(path);
    const std::string generation = config.GetString("Stress", "key0", "");
    ASSERT_FALSE(generation.empty()) << "store lost its keys";
    for (int key = 1; key < kKeys; ++key) {
        ASSERT_EQ(generation, config.GetString("Stress", "key" + std::to_string(key), ""))
            << "key" << key << " is from another commit";
    }
    EXPECT_EQ("kept", config.GetString("Other", "untouched", ""));
}

TEST(CommitKillTest, StoreStaysWholeWhenTheCommitterIsKilledMidWrite) {
    TestSupport::TempDir dir;
    const std::string path = dir.File("system.conf");
    std::string initial = "[Other]\nuntouched = kept\n[Stress]\n";
    for (int key = 0; key < kKeys; ++key) initial += "key" + std::to_string(key) + " = 0\n";
    TestSupport::WriteWholeFile(path, initial);

    for (int round = 0; round < 20; ++round) {
        const pid_t committer = ::fork();
        if (committer == 0) {
            // Commits new generations as fast as it can, each one rewriting every key.
            CConfig config(path);
            for (int generation = 1;; ++generation) {
                const std::string value =
                    std::to_string(round) + "." + std::to_string(generation) + std::string(40, 'x');
                for (int key = 0; key < kKeys; ++key) {
                    config.SetString("Stress", "key" + std::to_string(key), value);
                }
                config.Commit();
            }
        }
        ASSERT_GT(committer, 0);
        // Different moments each round: before, during and between commits.
        FaultSupport::Pause(0.005 + 0.007 * round);
        ::kill(committer, SIGKILL);
        int status = 0;
        ::waitpid(committer, &status, 0);
        ExpectOneWholeVersion(path);
        if (::testing::Test::HasFatalFailure()) return;
    }

    // A later committer is not held up by the killed one's lock or temporary file.
    CConfig config(path);
    config.SetString("Stress", "key0", "after");
    EXPECT_TRUE(config.Commit());
    EXPECT_EQ("after", CConfig(path).GetString("Stress", "key0", ""));
}

// The receiver end of a pseudo-terminal: takes in the daemon's commands, as
// a real receiver does, until destroyed.
class CReceiverEnd {
public:
    CReceiverEnd() {
        int slave = -1;
        char name[128];
        if (::openpty(&m_master, &slave, name, nullptr, nullptr) != 0) return;
        ::close(slave);
        m_name = name;
        m_thread = std::thread([this] {
            while (!m_stop) {
                struct pollfd wait = {m_master, POLLIN, 0};
                char discard[4096];
                if (::poll(&wait, 1, 50) > 0 && ::read(m_master, discard, sizeof(discard)) <= 0) {
                    FaultSupport::Pause(0.05);
                }
            }
        });
    }
    ~CReceiverEnd() {
        m_stop = true;
        if (m_thread.joinable()) m_thread.join();
        if (m_master >= 0) ::close(m_master);
    }
    const std::string& Name() const { return m_name; }

private:
    int m_master = -1;
    std::string m_name;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

TEST(CommitKillTest, DaemonKilledWhileCommittingRemoteSettingsLeavesAValidStore) {
    TestSupport::TempDir dir;
    TestSupport::CLogServerStub logServer;
    const int port = TestSupport::ClosedPort();
    const std::string store = TestSupport::WriteServerConfig(
        dir, "127.0.0.1", logServer.Port(), "[MPIServer]\nport = " + std::to_string(port) + "\n");
    CReceiverEnd receiver;
    ASSERT_FALSE(receiver.Name().empty());

    for (int round = 0; round < 5; ++round) {
        FaultSupport::CChild daemon(
            {TestSupport::BuiltProgram("quillond"), "-p", "-u", "none", "-s", receiver.Name()},
            {{"QUILLOND_CONFIG", store}});
        const int client = FaultSupport::ConnectLoopback(port, 30.0);
        ASSERT_GE(client, 0) << daemon.StandardError();
        // Every request changes the SBAS PRN, so every one commits the store.
        std::string requests;
        for (int i = 0; i < 200; ++i) {
            requests += "{\"jsonrpc\":\"2.0\",\"method\":\"novatel_SetSBASPRN\",\"params\":[" +
                        std::to_string(120 + i % 2) + "],\"id\":" + std::to_string(i) + "}\n";
        }
        ::send(client, requests.data(), requests.size(), MSG_NOSIGNAL);
        FaultSupport::ReadUntil(client, "\"id\":" + std::to_string(10 * round) + "}", 5.0);
        EXPECT_EQ(137, daemon.Stop(SIGKILL));
        ::close(client);

        // The store is whole: every line the test wrote is still there, and
        // the PRN is one of the values set (the first answer came after a commit).
        CConfig config(store);
        EXPECT_EQ(std::to_string(logServer.Port()), config.GetString("LogServer", "port", ""));
        EXPECT_EQ(std::to_string(port), config.GetString("MPIServer", "port", ""));
        const std::string prn = config.GetString("Quillond", "sbas_prn", "unset");
        EXPECT_TRUE(prn == "120" || prn == "121") << prn;
    }
}

}  // namespace
