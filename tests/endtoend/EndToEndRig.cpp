// The end-to-end rig: child processes, the simulator's trace, datagrams and
// the position client.

#include "tests/endtoend/EndToEndRig.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <sstream>

extern char** environ;

namespace EndToEnd {

namespace {

using Clock = std::chrono::steady_clock;

// The port-router port the daemon is given on that face.
const char kRouterPort[] = "5";

Clock::time_point After(double seconds) {
    return Clock::now() + std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
}

bool Exists(const std::string& path) {
    struct stat status;
    return ::stat(path.c_str(), &status) == 0;
}

// The last lines of a text, enough to see why something went wrong.
std::string Tail(const std::string& text, size_t lines) {
    size_t start = text.size();
    for (size_t found = 0; start > 0 && found <= lines;) {
        --start;
        if (text[start] == '\n') ++found;
    }
    return text.substr(start);
}

}  // namespace

CChild::CChild(const std::vector<std::string>& argv, const std::string& outputPath,
               const std::string& errorPath,
               const std::map<std::string, std::string>& environment) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outputPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawn_file_actions_addopen(&actions, 2, errorPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    std::vector<std::string> variables;
    for (char** entry = environ; *entry; ++entry) variables.push_back(*entry);
    for (const auto& variable : environment) {
        variables.push_back(variable.first + "=" + variable.second);
    }
    std::vector<char*> envp;
    for (std::string& variable : variables) envp.push_back(&variable[0]);
    envp.push_back(nullptr);
    std::vector<std::string> arguments = argv;
    std::vector<char*> args;
    for (std::string& argument : arguments) args.push_back(&argument[0]);
    args.push_back(nullptr);
    const int error = posix_spawn(&m_pid, args[0], &actions, nullptr, args.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(0, error) << "posix_spawn " << argv[0] << ": " << std::strerror(error);
    m_started = error == 0;
    if (!m_started) m_pid = -1;
}

CChild::~CChild() { Stop(SIGKILL); }

bool CChild::Running() {
    if (m_pid <= 0) return false;
    int status = 0;
    if (::waitpid(m_pid, &status, WNOHANG) == 0) return true;
    m_exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    m_pid = -1;
    return false;
}

int CChild::Stop(int signal) {
    if (!Running()) return m_exitStatus;
    ::kill(m_pid, signal);
    for (const auto deadline = After(10.0); Running() && Clock::now() < deadline;) {
        ::usleep(20000);
    }
    if (Running()) {
        ::kill(m_pid, SIGKILL);
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        m_exitStatus = 128 + SIGKILL;
        m_pid = -1;
    }
    return m_exitStatus;
}

CRig::CRig(const std::vector<std::string>& simulatorArguments, const std::string& storeExtra,
           EFace face)
    : m_positionPort(TestSupport::ClosedPort()),
      m_remoteMethodPort(TestSupport::ClosedPort()),
      m_nmeaPort(TestSupport::ClosedPort()),
      m_face(face),
      m_link(face == EFace::kSerial ? m_dir.File("gps0")
                                    : m_dir.File(std::string("tty_socket_") + kRouterPort)) {
    // Fixed free ports so the test can reach the services; a later section
    // of the same name overrides the stub's "any port" choice.
    m_store = TestSupport::WriteServerConfig(
        m_dir, "127.0.0.1", m_logServer.Port(),
        "[NMEAService]\nbind_address = 127.0.0.1\nport = " + std::to_string(m_nmeaPort) +
            "\n[PositionService]\nbind_address = 127.0.0.1\nport = " +
            std::to_string(m_positionPort) + "\n[MPIServer]\nbind_address = 127.0.0.1\nport = " +
            std::to_string(m_remoteMethodPort) + "\n[Quillond]\ntolvek_socket_path = " +
            m_dir.File("tty_socket_%d") + "\n" + storeExtra);

    std::vector<std::string> argv = {TestSupport::BuiltProgram("quillond-sim"),
                                     "--trace",
                                     face == EFace::kSerial ? "--link" : "--socket",
                                     m_link,
                                     "--seconds",
                                     "120"};
    argv.insert(argv.end(), simulatorArguments.begin(), simulatorArguments.end());
    m_simulator.reset(
        new CChild(argv, m_dir.File("simulator.out"), m_dir.File("simulator.err"), {}));
    for (const auto deadline = After(10.0); Clock::now() < deadline;) {
        if (Exists(m_link)) {
            m_simulatorReady = true;
            break;
        }
        if (!m_simulator->Running()) break;
        ::usleep(20000);
    }
}

CRig::~CRig() {
    if (m_positionClient >= 0) ::close(m_positionClient);
    if (m_daemon) m_daemon->Stop(SIGTERM);
    if (m_simulator) m_simulator->Stop(SIGTERM);
}

void CRig::StartDaemon() {
    ++m_daemonsStarted;
    const std::string n = std::to_string(m_daemonsStarted);
    const std::vector<std::string> source = m_face == EFace::kSerial
                                                ? std::vector<std::string>{"-s", m_link}
                                                : std::vector<std::string>{"-k", kRouterPort};
    std::vector<std::string> argv = {TestSupport::BuiltProgram("quillond"), "-p", "-d", "-u",
                                     "none"};
    argv.insert(argv.end(), source.begin(), source.end());
    m_daemon.reset(new CChild(argv, m_dir.File("daemon" + n + ".out"),
                              m_dir.File("daemon" + n + ".err"), {{"QUILLOND_CONFIG", m_store}}));
}

int CRig::StopDaemon() {
    if (!m_daemon) return -1;
    const int status = m_daemon->Stop(SIGTERM);
    Collect();
    return status;
}

std::vector<std::string> CRig::Trace() const {
    std::vector<std::string> lines;
    std::istringstream text(TestSupport::ReadWholeFile(m_dir.File("simulator.err")));
    std::string line;
    // Only whole lines: the simulator may be writing the last one.
    while (std::getline(text, line) && !text.eof()) {
        if (line.compare(0, 2, "> ") == 0) lines.push_back(line.substr(2));
    }
    return lines;
}

void CRig::Collect() {
    for (std::string text; !(text = m_logServer.ReceiveWithin(0.0)).empty();) {
        m_datagrams.push_back(nlohmann::json::parse(text, nullptr, false));
    }
    if (m_positionClient < 0) return;
    char chunk[8192];
    for (;;) {
        const ssize_t count = ::recv(m_positionClient, chunk, sizeof chunk, MSG_DONTWAIT);
        if (count <= 0) break;
        m_positionBuffer.append(chunk, static_cast<size_t>(count));
    }
    for (size_t end; (end = m_positionBuffer.find('\n')) != std::string::npos;) {
        const nlohmann::json report =
            nlohmann::json::parse(m_positionBuffer.substr(0, end), nullptr, false);
        m_positionBuffer.erase(0, end + 1);
        if (report.is_object() && report.contains("class") && report["class"].is_string()) {
            m_reports[report["class"].get<std::string>()].push_back(report);
        }
    }
}

const std::vector<nlohmann::json>& CRig::Datagrams() {
    Collect();
    return m_datagrams;
}

std::vector<std::string> CRig::Values(const std::string& client, const std::string& key) {
    std::vector<std::string> values;
    for (const nlohmann::json& datagram : Datagrams()) {
        if (datagram.value("client", "") == client && datagram.value("type", "") == "value" &&
            datagram.value("key", "") == key && datagram.contains("value") &&
            datagram["value"].is_string()) {
            values.push_back(datagram["value"].get<std::string>());
        }
    }
    return values;
}

bool CRig::WatchPositions(double seconds) {
    for (const auto deadline = After(seconds); Clock::now() < deadline; ::usleep(50000)) {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        struct sockaddr_in address;
        std::memset(&address, 0, sizeof(address));
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(m_positionPort));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(fd, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)) != 0) {
            ::close(fd);
            continue;
        }
        const std::string watch = "?WATCH={\"enable\":true,\"json\":true};\n";
        if (::send(fd, watch.data(), watch.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(watch.size())) {
            ::close(fd);
            continue;
        }
        m_positionClient = fd;
        return true;
    }
    return false;
}

const std::vector<nlohmann::json>& CRig::Reports(const std::string& reportClass) {
    Collect();
    return m_reports[reportClass];
}

bool CRig::WaitFor(const std::function<bool()>& condition, double seconds) {
    const auto deadline = After(seconds);
    for (;;) {
        Collect();
        if (condition()) return true;
        if (Clock::now() >= deadline) return false;
        // A short sleep, cut short when the position client has something.
        struct pollfd ready[1] = {{m_positionClient, POLLIN, 0}};
        ::poll(ready, m_positionClient >= 0 ? 1 : 0, 50);
    }
}

std::string CRig::DaemonOutput(int n) const {
    return TestSupport::ReadWholeFile(m_dir.File("daemon" + std::to_string(n) + ".out"));
}

std::string CRig::DaemonErrors(int n) const {
    return TestSupport::ReadWholeFile(m_dir.File("daemon" + std::to_string(n) + ".err"));
}

std::string CRig::SimulatorErrors() const {
    return TestSupport::ReadWholeFile(m_dir.File("simulator.err"));
}

std::string CRig::Diagnosis() const {
    std::string text = "simulator (last lines):\n" + Tail(SimulatorErrors(), 20);
    for (int n = 1; n <= m_daemonsStarted; ++n) {
        text += "\ndaemon " + std::to_string(n) + " errors:\n" + Tail(DaemonErrors(n), 20) +
                "\ndaemon " + std::to_string(n) + " output (last lines):\n" +
                Tail(DaemonOutput(n), 10);
    }
    return text;
}

}  // namespace EndToEnd
