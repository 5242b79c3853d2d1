#include "tests/support/TestSupport.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <ftw.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace TestSupport {

namespace {

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*) { return ::remove(path); }

}  // namespace

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/quillond-test-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (::mkdtemp(buffer.data()) == nullptr) {
        throw std::runtime_error("mkdtemp failed: " + std::string(std::strerror(errno)));
    }
    m_path = buffer.data();
}

TempDir::~TempDir() { ::nftw(m_path.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS); }

std::string ReadWholeFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

void WriteWholeFile(const std::string& path, const std::string& contents) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    if (!out) throw std::runtime_error("cannot write " + path);
}

int ConnectLoopback(int port, double seconds) {
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
    do {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        struct sockaddr_in address;
        std::memset(&address, 0, sizeof(address));
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(fd, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)) == 0) {
            return fd;
        }
        ::close(fd);
        ::usleep(20000);
    } while (std::chrono::steady_clock::now() < deadline);
    return -1;
}

SProcessResult RunProcess(const std::vector<std::string>& argv,
                          const std::map<std::string, std::string>& environment,
                          double timeoutSeconds, int timeoutSignal) {
    int outPipe[2];
    int errPipe[2];
    if (::pipe(outPipe) != 0 || ::pipe(errPipe) != 0) throw std::runtime_error("pipe failed");

    pid_t pid = ::fork();
    if (pid < 0) throw std::runtime_error("fork failed");
    if (pid == 0) {
        int devNull = ::open("/dev/null", O_RDONLY);
        ::dup2(devNull, 0);
        ::dup2(outPipe[1], 1);
        ::dup2(errPipe[1], 2);
        ::close(outPipe[0]);
        ::close(errPipe[0]);
        for (const auto& entry : environment)
            ::setenv(entry.first.c_str(), entry.second.c_str(), 1);
        std::vector<char*> args;
        for (const auto& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
        args.push_back(nullptr);
        ::execv(args[0], args.data());
        ::_exit(127);
    }
    ::close(outPipe[1]);
    ::close(errPipe[1]);

    SProcessResult result;
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(static_cast<long long>(timeoutSeconds * 1000));
    struct pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
    std::string* sinks[2] = {&result.standardOutput, &result.standardError};
    int open = 2;
    bool signalled = false;
    bool killed = false;
    while (open > 0) {
        int ready = ::poll(fds, 2, 100);
        if (ready < 0 && errno != EINTR) break;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || (fds[i].revents & (POLLIN | POLLHUP | POLLERR)) == 0) continue;
            char chunk[4096];
            ssize_t n = ::read(fds[i].fd, chunk, sizeof chunk);
            if (n > 0) {
                sinks[i]->append(chunk, static_cast<size_t>(n));
            } else {
                ::close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
        auto now = std::chrono::steady_clock::now();
        if (!signalled && now > deadline) {
            ::kill(pid, timeoutSignal);
            signalled = true;
        }
        if (!killed && now > deadline + std::chrono::seconds(10)) {
            ::kill(pid, SIGKILL);
            killed = true;
        }
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (WIFEXITED(status)) {
        result.exitStatus = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        result.signalled = true;
        result.exitStatus = 128 + WTERMSIG(status);
    }
    return result;
}

std::string BuiltProgram(const std::string& name) {
    return std::string(QUILLOND_BIN_DIR) + "/" + name;
}

std::string CapturePath(const std::string& name) {
    std::string path = std::string(QUILLOND_CAPTURES_DIR) + "/" + name;
    return ::access(path.c_str(), R_OK) == 0 ? path : std::string();
}

std::vector<std::string> ScreenDumpLines(const std::string& standardOutput) {
    std::vector<std::string> lines;
    std::istringstream stream(standardOutput);
    for (std::string line; std::getline(stream, line);) {
        if (line.compare(0, 5, "ID = ") == 0 || line.compare(0, 10, "Response: ") == 0) {
            lines.push_back(line);
        }
    }
    return lines;
}

}  // namespace TestSupport
