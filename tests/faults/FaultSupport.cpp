#include "tests/faults/FaultSupport.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>

#include "tools/common/NovatelFrameBuilder.h"

namespace FaultSupport {

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point After(double seconds) {
    return Clock::now() + std::chrono::microseconds(static_cast<long long>(seconds * 1e6));
}

}  // namespace

void Pause(double seconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(static_cast<long long>(seconds * 1e6)));
}

CChild::CChild(const std::vector<std::string>& argv,
               const std::map<std::string, std::string>& environment, long fileSizeLimit) {
    const std::string out = m_dir.File("stdout");
    const std::string err = m_dir.File("stderr");
    std::vector<char*> arguments;
    for (const std::string& argument : argv)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    m_pid = ::fork();
    if (m_pid == 0) {
        const int in = ::open("/dev/null", O_RDONLY);
        const int outFd = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int errFd = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(in, 0);
        ::dup2(outFd, 1);
        ::dup2(errFd, 2);
        // Nothing of the test's (a pseudo-terminal's master, a client socket)
        // may live on in the child and keep a device or connection open.
        const long highest = ::sysconf(_SC_OPEN_MAX);
        for (long fd = 3; fd < (highest > 0 ? highest : 1024); ++fd) ::close(static_cast<int>(fd));
        for (const auto& entry : environment)
            ::setenv(entry.first.c_str(), entry.second.c_str(), 1);
        if (fileSizeLimit > 0) {
            struct rlimit limit;
            limit.rlim_cur = static_cast<rlim_t>(fileSizeLimit);
            limit.rlim_max = static_cast<rlim_t>(fileSizeLimit);
            ::setrlimit(RLIMIT_FSIZE, &limit);
            ::signal(SIGXFSZ, SIG_IGN);
        }
        ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }
}

CChild::~CChild() {
    if (Running()) Stop(9, 5.0);
}

bool CChild::Running() {
    if (m_pid <= 0 || m_status >= 0) return false;
    int status = 0;
    if (::waitpid(m_pid, &status, WNOHANG) != m_pid) return true;
    m_status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return false;
}

int CChild::WaitForExit(double seconds) {
    const auto deadline = After(seconds);
    while (Running()) {
        if (Clock::now() > deadline) return -1;
        Pause(0.02);
    }
    return m_status;
}

int CChild::Stop(int signal, double seconds) {
    if (Running()) ::kill(m_pid, signal);
    if (WaitForExit(seconds) >= 0) return m_status;
    ::kill(m_pid, SIGKILL);
    return WaitForExit(10.0);
}

bool CChild::WaitForOutput(const std::string& text, double seconds, bool standardError) {
    const auto deadline = After(seconds);
    while (Clock::now() < deadline) {
        const std::string output = standardError ? StandardError() : StandardOutput();
        if (output.find(text) != std::string::npos) return true;
        Pause(0.05);
    }
    return false;
}

std::string CChild::StandardOutput() const {
    return TestSupport::ReadWholeFile(m_dir.File("stdout"));
}

std::string CChild::StandardError() const {
    return TestSupport::ReadWholeFile(m_dir.File("stderr"));
}

std::string ReadUntil(int fd, const std::string& text, double seconds) {
    const auto deadline = After(seconds);
    std::string received;
    while (Clock::now() < deadline && received.find(text) == std::string::npos) {
        struct pollfd wait = {fd, POLLIN, 0};
        if (::poll(&wait, 1, 50) <= 0) continue;
        char chunk[4096];
        const ssize_t count = ::recv(fd, chunk, sizeof(chunk), 0);
        if (count <= 0) break;
        received.append(chunk, static_cast<size_t>(count));
    }
    return received;
}

std::string RecordedLog(int count, double spacing, const std::string& sentence) {
    std::string log = "QUILLOG1";
    for (int i = 0; i < count; ++i) {
        const double time = 1000.0 + spacing * i;
        uint64_t bits;
        std::memcpy(&bits, &time, sizeof(bits));
        for (int b = 0; b < 8; ++b) log += static_cast<char>((bits >> (8 * b)) & 0xFF);
        const uint32_t size = static_cast<uint32_t>(sentence.size());
        for (int b = 0; b < 4; ++b) log += static_cast<char>((size >> (8 * b)) & 0xFF);
        log += sentence;
    }
    return log;
}

std::string MarkedFrame(uint16_t week) {
    Tools::SFrameHeader header;
    header.messageId = 101;  // TIMEB
    header.week = week;
    header.milliseconds = 1000;
    Tools::CBodyWriter body;
    body.U32(0).F64(0.0).F64(0.0).F64(-18.0).U32(2024).U8(3).U8(15).U8(12).U8(0).U32(0).U32(1);
    const ByteVector frame = Tools::BuildBinaryFrame(header, body.Bytes());
    return std::string(frame.begin(), frame.end());
}

std::string NmeaSentence(const std::string& body) {
    unsigned checksum = 0;
    for (char c : body) checksum ^= static_cast<unsigned char>(c);
    char tail[8];
    std::snprintf(tail, sizeof(tail), "*%02X\r\n", checksum);
    return "$" + body + tail;
}

}  // namespace FaultSupport
