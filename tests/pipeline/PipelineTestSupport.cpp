#include "tests/pipeline/PipelineTestSupport.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "tools/common/NovatelFrameBuilder.h"

namespace PipelineTest {

namespace {

const double kPi = 3.14159265358979323846;

std::string Frame(uint16_t id, const SEpochTime& time, const Tools::CBodyWriter& body,
                  uint32_t receiverStatus = 0, uint8_t idleTime = 100) {
    Tools::SFrameHeader header;
    header.messageId = id;
    header.week = time.week;
    header.milliseconds = time.milliseconds;
    header.receiverStatus = receiverStatus;
    header.idleTime = idleTime;
    const ByteVector frame = Tools::BuildBinaryFrame(header, body.Bytes());
    return std::string(frame.begin(), frame.end());
}

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace

SPosition PositionAt(double latitude, double longitude, double height) {
    const double a = 6378137.0;
    const double f = 1.0 / 298.257223563;
    const double e2 = f * (2.0 - f);
    const double phi = latitude * kPi / 180.0;
    const double lambda = longitude * kPi / 180.0;
    const double n = a / std::sqrt(1.0 - e2 * std::sin(phi) * std::sin(phi));
    SPosition position;
    position.latitude = latitude;
    position.longitude = longitude;
    position.height = height;
    position.x = (n + height) * std::cos(phi) * std::cos(lambda);
    position.y = (n + height) * std::cos(phi) * std::sin(lambda);
    position.z = (n * (1.0 - e2) + height) * std::sin(phi);
    return position;
}

std::string PdpXyzFrame(const SEpochTime& time, const SPosition& position, uint8_t used) {
    Tools::CBodyWriter body;
    body.U32(0)   // solution computed
        .U32(16)  // single point
        .F64(position.x)
        .F64(position.y)
        .F64(position.z)
        .F32(0.4f)
        .F32(0.3f)
        .F32(0.6f)
        .U32(0)  // velocity computed
        .U32(8)  // Doppler velocity
        .F64(0.0)
        .F64(0.0)
        .F64(0.0)
        .F32(0.03f)
        .F32(0.03f)
        .F32(0.05f)
        .Text("0", 4)
        .F32(0.15f)
        .F32(0.0f)
        .F32(0.0f)
        .U8(12)
        .U8(used)
        .U8(used)
        .U8(0)
        .U8(0)
        .U8(0)
        .U8(0)
        .U8(0x01);
    return Frame(471, time, body);
}

std::string BestPosFrame(const SEpochTime& time, const SPosition& position, float undulation) {
    Tools::CBodyWriter body;
    body.U32(0)
        .U32(16)
        .F64(position.latitude)
        .F64(position.longitude)
        .F64(position.height - undulation)
        .F32(undulation)
        .U32(61)  // WGS84
        .F32(0.4f)
        .F32(0.3f)
        .F32(0.6f)
        .Text("0", 4)
        .F32(0.0f)
        .F32(0.0f)
        .U8(12)
        .U8(9)
        .U8(9)
        .U8(0)
        .U8(0)
        .U8(0)
        .U8(0)
        .U8(0x01);
    return Frame(42, time, body);
}

std::string PdpStatFrame(const SEpochTime& time, uint32_t phaseUsed) {
    Tools::CBodyWriter body;
    body.U32(0).U32(1).U32(9).U32(phaseUsed).U32(9).F64(0.35).F64(0.012).F64(0.008);
    return Frame(1085, time, body);
}

std::string TimeFrame(const SEpochTime& time, uint32_t receiverStatus, uint8_t idleTime) {
    Tools::CBodyWriter body;
    body.U32(0).F64(1e-9).F64(3e-9).F64(-18.0).U32(2024).U8(3).U8(15).U8(12).U8(34).U32(56000).U32(
        1);
    return Frame(101, time, body, receiverStatus, idleTime);
}

std::string RxStatusFrame(const SEpochTime& time, uint32_t error, uint32_t status) {
    Tools::CBodyWriter body;
    body.U32(error).U32(4);
    body.U32(status).U32(0).U32(0xFFFFFFFF).U32(0);
    for (int group = 1; group < 4; ++group) body.U32(0).U32(0).U32(0xFFFFFFFF).U32(0);
    return Frame(93, time, body, status);
}

std::string TrackStatFrame(const SEpochTime& time, const std::vector<SChannel>& channels) {
    Tools::CBodyWriter body;
    body.U32(0).U32(16).F32(5.0f).U32(static_cast<uint32_t>(channels.size()));
    for (const SChannel& channel : channels) {
        const uint32_t status = (channel.locked ? (1u << 12) : 0u) | (channel.system << 16);
        body.U16(channel.prn)
            .U16(0)
            .U32(status)
            .F64(2.2e7)
            .F32(-100.0f)
            .F32(channel.carrierToNoise)
            .F32(300.0f)
            .F32(0.1f)
            .U32(channel.used ? 0u : 5u)  // GOOD, or not used for another reason
            .F32(1.0f);
    }
    return Frame(83, time, body);
}

std::string VersionFrame(const SEpochTime& time, const std::string& model, const std::string& psn,
                         const std::string& hardware, const std::string& software) {
    Tools::CBodyWriter body;
    body.U32(1)
        .U32(1)  // GPSCARD
        .Text(model, 16)
        .Text(psn, 16)
        .Text(hardware, 16)
        .Text(software, 16)
        .Text("EBV3.100", 16)
        .Text("2011/Mar/09", 12)
        .Text("11:04:53", 12);
    return Frame(37, time, body);
}

std::string ChanConfigListFrame(
    const SEpochTime& time, uint32_t current,
    const std::vector<std::vector<std::pair<uint32_t, uint32_t>>>& sets) {
    Tools::CBodyWriter body;
    body.U32(current).U32(static_cast<uint32_t>(sets.size()));
    for (const auto& set : sets) {
        body.U32(static_cast<uint32_t>(set.size()));
        for (const auto& group : set) body.U32(group.first).U32(group.second);
    }
    return Frame(1148, time, body);
}

std::string NmeaSentence(const std::string& body, bool wrongChecksum) {
    unsigned checksum = 0;
    for (char c : body) checksum ^= static_cast<unsigned char>(c);
    if (wrongChecksum) checksum ^= 0x01;
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", checksum);
    return "$" + body + "*" + digits + "\r\n";
}

std::string TpvTime(const SEpochTime& time) {
    const int64_t gpsEpoch = 315964800;  // 1980-01-06T00:00:00Z
    const int64_t milliseconds = (gpsEpoch + static_cast<int64_t>(time.week) * 604800 - 18) * 1000 +
                                 static_cast<int64_t>(time.milliseconds);
    const time_t seconds = static_cast<time_t>(milliseconds / 1000);
    struct tm utc;
    ::gmtime_r(&seconds, &utc);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", utc.tm_year + 1900,
                  utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
                  static_cast<int>(milliseconds % 1000));
    return text;
}

// ---- CPipelineDaemon ----

CPipelineDaemon::CPipelineDaemon(const std::string& extraConfig) {
    m_nmeaPort = TestSupport::ClosedPort();
    m_positionPort = TestSupport::ClosedPort();
    while (m_positionPort == m_nmeaPort) m_positionPort = TestSupport::ClosedPort();
    TestSupport::WriteServerConfig(
        m_dir, "127.0.0.1", m_server.Port(),
        "[NMEAService]\nbind_address = 127.0.0.1\nport = " + std::to_string(m_nmeaPort) +
            "\n[PositionService]\nbind_address = 127.0.0.1\nport = " +
            std::to_string(m_positionPort) + "\n" + extraConfig);
    m_collector = std::thread([this] { Collect(); });
}

CPipelineDaemon::~CPipelineDaemon() {
    Stop();
    if (m_master >= 0) ::close(m_master);
    if (m_slave >= 0) ::close(m_slave);
}

bool CPipelineDaemon::Start() {
    char name[256];
    if (::openpty(&m_master, &m_slave, name, nullptr, nullptr) != 0) return false;
    // The daemon gets a path of this test's own: a daemon left running by
    // another test reopens its own path when its link restarts, and must
    // never reach this terminal through a reused /dev/pts number.
    m_ptyName = m_dir.File("receiver");
    if (::symlink(name, m_ptyName.c_str()) != 0) return false;
    // Raw from the start: bytes written before the daemon opens the line
    // must not pass through the line discipline's editing.
    struct termios settings;
    ::tcgetattr(m_slave, &settings);
    ::cfmakeraw(&settings);
    ::tcsetattr(m_slave, TCSANOW, &settings);
    ::fcntl(m_master, F_SETFL, ::fcntl(m_master, F_GETFL) | O_NONBLOCK);
    ::fcntl(m_master, F_SETFD, FD_CLOEXEC);
    ::fcntl(m_slave, F_SETFD, FD_CLOEXEC);

    const std::string program = TestSupport::BuiltProgram("quillond");
    const std::string config = m_dir.File("system.conf");
    const std::string out = m_dir.File("stdout");
    const std::string err = m_dir.File("stderr");
    m_pid = ::fork();
    if (m_pid < 0) return false;
    if (m_pid == 0) {
        // A test that dies takes its daemon with it.
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        const int outFd = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        const int errFd = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        const int nullFd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::dup2(nullFd, 0);
        ::dup2(outFd, 1);
        ::dup2(errFd, 2);
        ::setenv("QUILLOND_CONFIG", config.c_str(), 1);
        ::execl(program.c_str(), program.c_str(), "-p", "-s", m_ptyName.c_str(), "-b", "115200",
                "-u", "none", static_cast<char*>(nullptr));
        ::_exit(127);
    }
    for (int port : {m_nmeaPort, m_positionPort}) {
        const int fd = TestSupport::ConnectLoopback(port, 30.0);
        if (fd < 0) return false;
        ::close(fd);
    }
    return true;
}

bool CPipelineDaemon::Write(const std::string& bytes) {
    size_t done = 0;
    double lastProgress = Now();
    while (done < bytes.size()) {
        struct pollfd ready = {m_master, POLLIN | POLLOUT, 0};
        ::poll(&ready, 1, 100);
        if (ready.revents & POLLIN) {
            char discard[4096];
            while (::read(m_master, discard, sizeof discard) > 0) {
            }
        }
        if (ready.revents & POLLOUT) {
            const ssize_t count = ::write(m_master, bytes.data() + done, bytes.size() - done);
            if (count > 0) {
                done += static_cast<size_t>(count);
                lastProgress = Now();
            }
        }
        if (Now() - lastProgress > 20.0) return false;
    }
    return true;
}

void CPipelineDaemon::Stop() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGTERM);
        const double start = Now();
        int status = 0;
        bool killed = false;
        for (;;) {
            // Keep the line drained so a command write cannot hold the daemon up.
            char discard[4096];
            while (m_master >= 0 && ::read(m_master, discard, sizeof discard) > 0) {
            }
            const pid_t done = ::waitpid(m_pid, &status, WNOHANG);
            if (done == m_pid) break;
            if (!killed && Now() - start > 20.0) {
                ::kill(m_pid, SIGKILL);
                killed = true;
            }
            ::usleep(20000);
        }
        m_exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        m_pid = -1;
    }
    if (m_collector.joinable()) {
        m_stopCollecting = true;
        m_collector.join();
    }
}

void CPipelineDaemon::Collect() {
    // The stub's socket is read here only; the last datagrams are waited for
    // until the socket has been quiet for half a second after the stop.
    for (;;) {
        const std::string text = m_server.ReceiveWithin(0.5);
        if (text.empty()) {
            if (m_stopCollecting) return;
            continue;
        }
        nlohmann::json parsed = nlohmann::json::parse(text, nullptr, false);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_datagrams.push_back(parsed);
    }
}

std::string CPipelineDaemon::StandardError() const {
    return TestSupport::ReadWholeFile(m_dir.File("stderr"));
}

std::vector<nlohmann::json> CPipelineDaemon::Datagrams() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_datagrams;
}

std::vector<std::string> CPipelineDaemon::Values(const std::string& key) {
    std::vector<std::string> values;
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const nlohmann::json& datagram : m_datagrams) {
        if (datagram.is_object() && datagram.value("type", "") == "value" &&
            datagram.value("key", "") == key) {
            values.push_back(datagram.value("value", ""));
        }
    }
    return values;
}

std::string CPipelineDaemon::LastValue(const std::string& key) {
    const std::vector<std::string> values = Values(key);
    return values.empty() ? std::string() : values.back();
}

bool CPipelineDaemon::WaitForValues(const std::string& key, size_t count, double seconds) {
    const double start = Now();
    while (Now() - start < seconds) {
        if (Values(key).size() >= count) return true;
        ::usleep(20000);
    }
    return false;
}

// ---- Clients ----

bool SendAll(int fd, const std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::send(fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (count <= 0) return false;
        done += static_cast<size_t>(count);
    }
    return true;
}

std::vector<std::string> ReadLinesUntil(
    int fd, double seconds, const std::function<bool(const std::vector<std::string>&)>& done) {
    std::vector<std::string> lines;
    std::string partial;
    const double start = Now();
    while (Now() - start < seconds && !done(lines)) {
        struct pollfd ready = {fd, POLLIN, 0};
        if (::poll(&ready, 1, 50) <= 0) continue;
        char chunk[8192];
        const ssize_t count = ::recv(fd, chunk, sizeof chunk, 0);
        if (count <= 0) break;
        partial.append(chunk, static_cast<size_t>(count));
        for (size_t end; (end = partial.find("\r\n")) != std::string::npos;) {
            lines.push_back(partial.substr(0, end));
            partial.erase(0, end + 2);
        }
    }
    return lines;
}

std::vector<std::string> ReadLinesFor(int fd, double seconds) {
    return ReadLinesUntil(fd, seconds, [](const std::vector<std::string>&) { return false; });
}

bool IsExecutable(const std::string& path) { return ::access(path.c_str(), X_OK) == 0; }

}  // namespace PipelineTest
