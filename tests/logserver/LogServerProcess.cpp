#include "tests/logserver/LogServerProcess.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>

#include "platform/Core/Time.h"

namespace LogServerTesting {

namespace {

struct sockaddr_in Loopback(int port) {
    struct sockaddr_in address;
    std::memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    return address;
}

// True when something holds the UDP port (the tool once it listens).
bool PortTaken(int port) {
    const int probe = ::socket(AF_INET, SOCK_DGRAM, 0);
    struct sockaddr_in address = Loopback(port);
    const bool taken =
        ::bind(probe, reinterpret_cast<struct sockaddr*>(&address), sizeof address) != 0 &&
        errno == EADDRINUSE;
    ::close(probe);
    return taken;
}

}  // namespace

int FreeUdpPort() {
    const int probe = ::socket(AF_INET, SOCK_DGRAM, 0);
    struct sockaddr_in address = Loopback(0);
    ::bind(probe, reinterpret_cast<struct sockaddr*>(&address), sizeof address);
    socklen_t length = sizeof address;
    ::getsockname(probe, reinterpret_cast<struct sockaddr*>(&address), &length);
    ::close(probe);
    return ntohs(address.sin_port);
}

CLogServerProcess::CLogServerProcess(const TestSupport::TempDir& dir,
                                     const std::vector<std::string>& options,
                                     const std::string& configPath)
    : m_stdoutPath(dir.File("logserver.out")),
      m_stderrPath(dir.File("logserver.err")),
      m_port(FreeUdpPort()) {
    std::vector<std::string> argv = {TestSupport::BuiltProgram("quillond-logserver"), "--port",
                                     std::to_string(m_port)};
    argv.insert(argv.end(), options.begin(), options.end());
    m_pid = ::fork();
    if (m_pid == 0) {
        const int out = ::open(m_stdoutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = ::open(m_stderrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int in = ::open("/dev/null", O_RDONLY);
        ::dup2(in, 0);
        ::dup2(out, 1);
        ::dup2(err, 2);
        ::setenv("QUILLOND_CONFIG", configPath.c_str(), 1);
        std::vector<char*> args;
        for (std::string& argument : argv) args.push_back(&argument[0]);
        args.push_back(nullptr);
        ::execv(args[0], args.data());
        ::_exit(127);
    }
    m_socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    const Core::MonotonicTime deadline = Core::MonotonicTime::Now() + Core::Time::FromSeconds(20);
    while (!deadline.HasExpired()) {
        if (PortTaken(m_port)) {
            m_listening = true;
            break;
        }
        if (::waitpid(m_pid, nullptr, WNOHANG) == m_pid) {
            m_pid = -1;
            break;
        }
        ::usleep(10000);
    }
}

CLogServerProcess::~CLogServerProcess() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    if (m_socket >= 0) ::close(m_socket);
}

void CLogServerProcess::Send(const std::string& payload) const {
    struct sockaddr_in address = Loopback(m_port);
    const ssize_t sent = ::sendto(m_socket, payload.data(), payload.size(), 0,
                                  reinterpret_cast<struct sockaddr*>(&address), sizeof address);
    EXPECT_EQ(static_cast<ssize_t>(payload.size()), sent) << std::strerror(errno);
}

TestSupport::SProcessResult CLogServerProcess::Stop() {
    if (m_pid > 0) ::kill(m_pid, SIGTERM);
    return Collect(30.0);
}

TestSupport::SProcessResult CLogServerProcess::Wait(double timeoutSeconds) {
    return Collect(timeoutSeconds);
}

TestSupport::SProcessResult CLogServerProcess::Collect(double timeoutSeconds) {
    TestSupport::SProcessResult result;
    if (m_pid > 0) {
        const Core::MonotonicTime deadline =
            Core::MonotonicTime::Now() + Core::Time::FromSeconds(timeoutSeconds);
        int status = 0;
        pid_t done = 0;
        while ((done = ::waitpid(m_pid, &status, WNOHANG)) == 0 && !deadline.HasExpired()) {
            ::usleep(10000);
        }
        if (done == 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, &status, 0);
            ADD_FAILURE() << "quillond-logserver did not end within " << timeoutSeconds << " s";
        }
        m_pid = -1;
        result.signalled = WIFSIGNALED(status);
        result.exitStatus = result.signalled ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
    result.standardOutput = TestSupport::ReadWholeFile(m_stdoutPath);
    result.standardError = TestSupport::ReadWholeFile(m_stderrPath);
    return result;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

}  // namespace LogServerTesting
