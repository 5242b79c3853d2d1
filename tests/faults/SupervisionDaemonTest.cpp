// The real daemon under a service manager: it says READY=1 once its loop runs,
// pings the watchdog from the loop while it works, and says STOPPING=1 when it
// ends cleanly; a watchdog meant for another process gets no pings from it.

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tests/faults/FaultSupport.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

class SupervisionDaemonTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_socketPath = m_dir.File("notify");
        m_socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        struct sockaddr_un address;
        std::memset(&address, 0, sizeof(address));
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, m_socketPath.c_str(), sizeof(address.sun_path) - 1);
        ASSERT_EQ(0,
                  ::bind(m_socket, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)));
    }
    void TearDown() override { ::close(m_socket); }

    // Replays about three seconds of records with the given manager
    // environment and returns what the manager heard, in order.
    std::vector<std::string> RunUnderManager(const std::string& watchdogPid) {
        const std::string config =
            TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_logServer.Port());
        TestSupport::WriteWholeFile(
            m_dir.File("replay.qlog"),
            FaultSupport::RecordedLog(
                15, 0.2, FaultSupport::NmeaSentence("GPZDA,123456.00,15,03,2024,00,00")));
        std::map<std::string, std::string> environment = {{"QUILLOND_CONFIG", config},
                                                          {"NOTIFY_SOCKET", m_socketPath},
                                                          {"WATCHDOG_USEC", "500000"}};
        if (!watchdogPid.empty()) environment["WATCHDOG_PID"] = watchdogPid;

        std::vector<std::string> heard;
        std::atomic<bool> done(false);
        std::thread listener([&] {
            struct pollfd wait = {m_socket, POLLIN, 0};
            while (!done || ::poll(&wait, 1, 0) > 0) {
                if (::poll(&wait, 1, 50) <= 0) continue;
                char buffer[128];
                const ssize_t count = ::recv(m_socket, buffer, sizeof(buffer), 0);
                if (count > 0) heard.emplace_back(buffer, static_cast<size_t>(count));
            }
        });
        m_result = TestSupport::RunProcess(
            {TestSupport::BuiltProgram("quillond"), "-p", "-r", m_dir.File("replay.qlog")},
            environment, 60.0);
        done = true;
        listener.join();
        return heard;
    }

    TestSupport::TempDir m_dir;
    TestSupport::CLogServerStub m_logServer;
    std::string m_socketPath;
    int m_socket = -1;
    TestSupport::SProcessResult m_result;
};

TEST_F(SupervisionDaemonTest, SaysReadyPingsTheWatchdogFromTheLoopAndSaysStopping) {
    const std::vector<std::string> heard = RunUnderManager("");
    ASSERT_EQ(0, m_result.exitStatus) << m_result.standardError;
    ASSERT_GE(heard.size(), 2u);
    EXPECT_EQ("READY=1", heard.front());
    EXPECT_EQ("STOPPING=1", heard.back());
    // About three seconds at a ping every quarter second; generous for a busy machine.
    const long pings = std::count(heard.begin(), heard.end(), "WATCHDOG=1");
    EXPECT_GE(pings, 4);
    EXPECT_LE(pings, 20);
}

TEST_F(SupervisionDaemonTest, NoPingsWhenTheWatchdogIsMeantForAnotherProcess) {
    const std::vector<std::string> heard = RunUnderManager("1");
    ASSERT_EQ(0, m_result.exitStatus) << m_result.standardError;
    EXPECT_EQ((std::vector<std::string>{"READY=1", "STOPPING=1"}), heard);
}

}  // namespace
