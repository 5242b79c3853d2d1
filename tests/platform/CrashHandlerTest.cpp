#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "platform/Core/CrashHandler.h"

namespace {

// Runs the crash in a child whose standard error goes to a pipe; returns the
// wait status and what the child wrote.
int CrashChild(void (*crash)(), std::string& report) {
    int errors[2];
    EXPECT_EQ(0, ::pipe(errors));
    pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(errors[1], STDERR_FILENO);
        ::close(errors[0]);
        // No core file from the test itself.
        struct rlimit noCore = {0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        Core::Utilities::CrashHandler::Instance().Enable("quillond-test");
        crash();
        ::_exit(0);
    }
    ::close(errors[1]);
    char chunk[4096];
    ssize_t n;
    while ((n = ::read(errors[0], chunk, sizeof chunk)) > 0)
        report.append(chunk, static_cast<size_t>(n));
    ::close(errors[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    return status;
}

void RaiseSegmentationFault() { ::raise(SIGSEGV); }
void Abort() { std::abort(); }

TEST(CrashHandlerTest, ReportsNameSignalAndBacktraceThenDiesOfTheSameSignal) {
    struct SCase {
        void (*crash)();
        int signalNumber;
        const char* name;
    } cases[] = {{RaiseSegmentationFault, SIGSEGV, "SIGSEGV"}, {Abort, SIGABRT, "SIGABRT"}};
    for (const SCase& c : cases) {
        std::string report;
        int status = CrashChild(c.crash, report);
        ASSERT_TRUE(WIFSIGNALED(status))
            << c.name << ": the default action must still end the process";
        EXPECT_EQ(c.signalNumber, WTERMSIG(status)) << c.name;
        EXPECT_NE(std::string::npos, report.find("quillond-test: fatal signal")) << report;
        EXPECT_NE(std::string::npos, report.find(c.name)) << report;
        EXPECT_NE(std::string::npos, report.find("backtrace:\n")) << report;
        // At least one frame line follows the heading.
        EXPECT_LT(report.find("backtrace:\n") + 11, report.size()) << report;
    }
}

}  // namespace
