// The service manager notifications: what reaches a manager's socket (path or
// abstract name), when the watchdog pings, and that a manager that is absent
// or does not drain its socket never blocks the daemon.

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/Supervisor/ServiceNotifier.h"
#include "tests/support/TestSupport.h"

namespace {

using Core::MonotonicTime;
using Core::Time;

// The manager's end: a Unix datagram socket bound to a path or, for a name
// starting with "@", to an abstract name.
class CManagerSocket {
public:
    explicit CManagerSocket(const std::string& name) : m_name(name) {
        m_fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        struct sockaddr_un address;
        std::memset(&address, 0, sizeof(address));
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, name.data(), name.size());
        socklen_t length =
            static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + name.size());
        if (name[0] == '@') {
            address.sun_path[0] = '\0';
        } else {
            length += 1;
        }
        m_bound = ::bind(m_fd, reinterpret_cast<struct sockaddr*>(&address), length) == 0;
    }
    ~CManagerSocket() { ::close(m_fd); }

    bool Bound() const { return m_bound; }
    const std::string& Name() const { return m_name; }
    // Every datagram waiting now (after a short wait for the first).
    std::vector<std::string> Messages() {
        std::vector<std::string> messages;
        struct pollfd wait = {m_fd, POLLIN, 0};
        while (::poll(&wait, 1, messages.empty() ? 200 : 0) > 0) {
            char buffer[256];
            const ssize_t count = ::recv(m_fd, buffer, sizeof(buffer), 0);
            if (count < 0) break;
            messages.emplace_back(buffer, static_cast<size_t>(count));
        }
        return messages;
    }

private:
    std::string m_name;
    int m_fd = -1;
    bool m_bound = false;
};

std::string AbstractName() { return "@quillond-notify-test-" + std::to_string(::getpid()); }

TEST(ServiceNotifierTest, ReadyAndStoppingReachAManagerListeningOnAPath) {
    TestSupport::TempDir dir;
    CManagerSocket manager(dir.File("notify"));
    ASSERT_TRUE(manager.Bound());
    CServiceNotifier notifier(manager.Name(), 0);
    EXPECT_TRUE(notifier.NotifyReady());
    EXPECT_TRUE(notifier.NotifyStopping());
    EXPECT_EQ((std::vector<std::string>{"READY=1", "STOPPING=1"}), manager.Messages());
}

TEST(ServiceNotifierTest, ReachesAManagerListeningOnAnAbstractName) {
    CManagerSocket manager(AbstractName());
    ASSERT_TRUE(manager.Bound());
    CServiceNotifier notifier(manager.Name(), 0);
    EXPECT_TRUE(notifier.NotifyReady());
    EXPECT_EQ(std::vector<std::string>{"READY=1"}, manager.Messages());
}

TEST(ServiceNotifierTest, PingsTheWatchdogAtHalfItsIntervalAndNoMoreOften) {
    TestSupport::TempDir dir;
    CManagerSocket manager(dir.File("notify"));
    CServiceNotifier notifier(manager.Name(), 2000000);  // 2 s: a ping each second
    const MonotonicTime start = MonotonicTime::Now();
    // Passes every 100 ms over 3.05 s of the loop's time.
    for (int pass = 0; pass <= 30; ++pass) {
        notifier.KeepAlive(start + Time::FromMilliseconds(100 * pass + 5));
    }
    EXPECT_EQ((std::vector<std::string>{"WATCHDOG=1", "WATCHDOG=1", "WATCHDOG=1"}),
              manager.Messages());
}

TEST(ServiceNotifierTest, LoopThatStallsStopsPinging) {
    TestSupport::TempDir dir;
    CManagerSocket manager(dir.File("notify"));
    CServiceNotifier notifier(manager.Name(), 1000000);
    const MonotonicTime start = MonotonicTime::Now();
    notifier.KeepAlive(start);
    notifier.KeepAlive(start + Time::FromMilliseconds(600));
    // The loop is stuck for a long time: nothing more until it turns again.
    EXPECT_EQ(std::vector<std::string>{"WATCHDOG=1"}, manager.Messages());
    notifier.KeepAlive(start + Time::FromMilliseconds(5000));
    EXPECT_EQ(std::vector<std::string>{"WATCHDOG=1"}, manager.Messages());
}

// The environment as the manager sets it, and what the notifier makes of it.
struct SEnvironmentCase {
    const char* name;
    const char* watchdogUsec;
    bool pidIsOurs;     // WATCHDOG_PID names this process (else another one)
    bool pidSet;        // WATCHDOG_PID is set at all
    uint64_t expected;  // watchdog interval the notifier keeps
};

class ServiceNotifierEnvironmentTest : public ::testing::TestWithParam<SEnvironmentCase> {
protected:
    void TearDown() override {
        ::unsetenv("NOTIFY_SOCKET");
        ::unsetenv("WATCHDOG_USEC");
        ::unsetenv("WATCHDOG_PID");
    }
};

TEST_P(ServiceNotifierEnvironmentTest, WatchdogOnlyForTheNamedProcessAndAValidInterval) {
    const SEnvironmentCase& test = GetParam();
    ::setenv("NOTIFY_SOCKET", "/run/notify-test", 1);
    ::setenv("WATCHDOG_USEC", test.watchdogUsec, 1);
    if (test.pidSet) {
        const pid_t pid = test.pidIsOurs ? ::getpid() : ::getpid() + 1;
        ::setenv("WATCHDOG_PID", std::to_string(pid).c_str(), 1);
    }
    CServiceNotifier notifier = CServiceNotifier::FromEnvironment();
    EXPECT_TRUE(notifier.IsEnabled());
    EXPECT_EQ(test.expected, notifier.WatchdogMicroseconds()) << test.name;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ServiceNotifierEnvironmentTest,
    ::testing::Values(SEnvironmentCase{"NoPid", "3000000", false, false, 3000000},
                      SEnvironmentCase{"OurPid", "3000000", true, true, 3000000},
                      SEnvironmentCase{"OtherPid", "3000000", false, true, 0},
                      SEnvironmentCase{"Beyond32Bits", "6000000000", true, true, 6000000000ULL},
                      SEnvironmentCase{"NotANumber", "10s", true, true, 0},
                      SEnvironmentCase{"Negative", "-5", true, true, 0},
                      SEnvironmentCase{"Empty", "", true, true, 0}),
    [](const ::testing::TestParamInfo<SEnvironmentCase>& info) {
        return std::string(info.param.name);
    });

TEST(ServiceNotifierTest, DoesNothingWithoutAManager) {
    ::unsetenv("NOTIFY_SOCKET");
    ::setenv("WATCHDOG_USEC", "1000000", 1);
    CServiceNotifier notifier = CServiceNotifier::FromEnvironment();
    ::unsetenv("WATCHDOG_USEC");
    EXPECT_FALSE(notifier.IsEnabled());
    EXPECT_EQ(0u, notifier.WatchdogMicroseconds());
    EXPECT_FALSE(notifier.NotifyReady());
}

TEST(ServiceNotifierTest, IgnoresASocketNameThatIsNeitherPathNorAbstract) {
    CServiceNotifier notifier("relative/notify", 1000000);
    EXPECT_FALSE(notifier.IsEnabled());
    EXPECT_EQ(0u, notifier.WatchdogMicroseconds());
}

TEST(ServiceNotifierTest, FailsWithoutBlockingWhenNobodyListens) {
    TestSupport::TempDir dir;
    CServiceNotifier notifier(dir.File("nobody"), 0);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(notifier.NotifyReady());
    EXPECT_FALSE(notifier.NotifyStopping());
    const std::string reported = testing::internal::GetCapturedStderr();
    // Reported once, not at every attempt.
    EXPECT_NE(std::string::npos, reported.find("Cannot notify the service manager"));
    EXPECT_EQ(reported.find("Cannot notify"), reported.rfind("Cannot notify")) << reported;
}

TEST(ServiceNotifierTest, ManagerThatNeverDrainsItsSocketCostsPingsNotTheLoop) {
    TestSupport::TempDir dir;
    CManagerSocket manager(dir.File("notify"));
    CServiceNotifier notifier(manager.Name(), 0);
    testing::internal::CaptureStderr();
    // Far more than a socket queue holds; a blocking send would hang here.
    int refused = 0;
    for (int i = 0; i < 5000; ++i) {
        if (!notifier.Send("WATCHDOG=1")) ++refused;
    }
    testing::internal::GetCapturedStderr();
    EXPECT_GT(refused, 0);
    EXPECT_FALSE(manager.Messages().empty());
}

}  // namespace
