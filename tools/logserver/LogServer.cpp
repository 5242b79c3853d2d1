// quillond-logserver: the device's log server for the daemon's datagrams
// (docs/datagrams.md, docs/logserver.md). One non-blocking select loop: it
// keeps the latest state of every client, shows it, and records raw receiver
// data into recorded logs that replay with `quillond -r`.

#include <arpa/inet.h>
#include <getopt.h>
#include <netdb.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "platform/Config/Config.h"
#include "platform/Core/Time.h"
#include "platform/LogFile/LogFileFormat.h"
#include "platform/Logging/LogClient.h"
#include "tools/logserver/Datagram.h"
#include "tools/logserver/Output.h"
#include "tools/logserver/RawRecorder.h"
#include "tools/logserver/ServerState.h"

namespace {

using namespace LogServer;

const char kUsage[] =
    "Usage: quillond-logserver [options]\n"
    "Receives the daemon's log datagrams over UDP, keeps the latest value of every key,\n"
    "the active alarms and the recent log lines and events, and shows them: redrawn at\n"
    "most once a second on a terminal, as plain lines otherwise. Raw receiver data of\n"
    "the clients whose logging configuration has record_raw_data = 1 is recorded into\n"
    "recorded logs that replay with quillond -r.\n"
    "  -p, --port N           UDP port to listen on (default 10001)\n"
    "  -b, --bind ADDRESS     numeric IPv4 or IPv6 address to listen on, or localhost\n"
    "                         (default 127.0.0.1)\n"
    "  -j, --json             one JSON object per line on standard output instead\n"
    "  -r, --record-dir DIR   record raw data into DIR as NAME-0001.qlog, NAME-0002.qlog, ...\n"
    "                         (without it nothing is recorded)\n"
    "  -z, --rotate-bytes N   begin the next file before one grows past N bytes\n"
    "                         (default 16777216)\n"
    "  -c, --config FILE      configuration store with the logging configurations\n"
    "                         (default $QUILLOND_CONFIG, else /var/lib/quillond/system.conf)\n"
    "  -n, --lines N          recent log lines and events kept (default 20)\n"
    "      --once             exit after the first datagram\n"
    "      --duration S       exit after S seconds\n"
    "  -h, --help             print this help and exit\n";

const int kDefaultPort = 10001;
const uint64_t kDefaultRotateBytes = 16u * 1024u * 1024u;
// The largest UDP payload, plus one byte to tell a longer (truncated) one apart.
const size_t kReceiveBufferSize = 65536;
// Datagrams taken per pass of the loop, so the view and the clock are still served.
const int kDatagramsPerPass = 1000;
// At the end, at most this many waiting datagrams are still taken in, so a
// sender that never pauses cannot keep the server from stopping.
const int kDatagramsAtEnd = 100000;

volatile sig_atomic_t g_stopSignal = 0;

void OnStopSignal(int signalNumber) { g_stopSignal = signalNumber; }

struct SOptions {
    int port = kDefaultPort;
    std::string bindAddress = "127.0.0.1";
    bool json = false;
    std::string recordDirectory;
    uint64_t rotateBytes = kDefaultRotateBytes;
    std::string configPath;
    size_t recentLines = 20;
    bool once = false;
    double duration = -1.0;  // no limit
};

int UsageError(const std::string& message) {
    std::fprintf(stderr, "quillond-logserver: %s\nTry quillond-logserver --help\n",
                 message.c_str());
    return 2;
}

// A whole decimal number in [minimum, maximum].
bool ParseNumber(const char* text, long long minimum, long long maximum, long long& value) {
    if (text == nullptr || *text == '\0') return false;
    errno = 0;
    char* end = nullptr;
    value = std::strtoll(text, &end, 10);
    return errno == 0 && *end == '\0' && value >= minimum && value <= maximum;
}

// Fills options from the command line; returns -1 to go on, else the exit status.
int ParseOptions(int argc, char** argv, SOptions& options) {
    enum { kOnce = 1000, kDuration };
    static const struct option kLongOptions[] = {
        {"port", required_argument, nullptr, 'p'},
        {"bind", required_argument, nullptr, 'b'},
        {"json", no_argument, nullptr, 'j'},
        {"record-dir", required_argument, nullptr, 'r'},
        {"rotate-bytes", required_argument, nullptr, 'z'},
        {"config", required_argument, nullptr, 'c'},
        {"lines", required_argument, nullptr, 'n'},
        {"once", no_argument, nullptr, kOnce},
        {"duration", required_argument, nullptr, kDuration},
        {"help", no_argument, nullptr, 'h'},
        {nullptr, 0, nullptr, 0},
    };
    opterr = 0;
    long long number = 0;
    for (int option;
         (option = getopt_long(argc, argv, ":p:b:jr:z:c:n:h", kLongOptions, nullptr)) != -1;) {
        switch (option) {
            case 'h':
                std::fputs(kUsage, stdout);
                return 0;
            case 'p':
                if (!ParseNumber(optarg, 1, 65535, number)) {
                    return UsageError(std::string("port must be 1 to 65535: ") + optarg);
                }
                options.port = static_cast<int>(number);
                break;
            case 'b':
                options.bindAddress = optarg;
                break;
            case 'j':
                options.json = true;
                break;
            case 'r':
                options.recordDirectory = optarg;
                break;
            case 'z':
                if (!ParseNumber(optarg, 1, 0x7FFFFFFFFFFFLL, number)) {
                    return UsageError(std::string("rotate-bytes must be a positive number: ") +
                                      optarg);
                }
                options.rotateBytes = static_cast<uint64_t>(number);
                break;
            case 'c':
                options.configPath = optarg;
                break;
            case 'n':
                if (!ParseNumber(optarg, 0, 100000, number)) {
                    return UsageError(std::string("lines must be 0 to 100000: ") + optarg);
                }
                options.recentLines = static_cast<size_t>(number);
                break;
            case kOnce:
                options.once = true;
                break;
            case kDuration: {
                char* end = nullptr;
                options.duration = std::strtod(optarg, &end);
                if (*optarg == '\0' || *end != '\0' || !(options.duration >= 0.0) ||
                    options.duration > 1e9) {
                    return UsageError(std::string("duration must be seconds, 0 or more: ") +
                                      optarg);
                }
                break;
            }
            case ':':
                return UsageError(std::string("option ") + argv[optind - 1] + " needs an argument");
            default:
                return UsageError(std::string("unknown option ") + argv[optind - 1]);
        }
    }
    if (optind < argc) return UsageError(std::string("unexpected argument ") + argv[optind]);
    return -1;
}

// A non-blocking UDP socket bound to address and port; -1 after a message.
int OpenSocket(const std::string& address, int port) {
    const std::string host = address == "localhost" ? "127.0.0.1" : address;
    struct addrinfo hints;
    std::memset(&hints, 0, sizeof hints);
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_DGRAM;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    struct addrinfo* found = nullptr;
    const int error = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (error != 0) {
        std::fprintf(stderr, "quillond-logserver: bad bind address %s: %s\n", address.c_str(),
                     ::gai_strerror(error));
        return -1;
    }
    const int fd = ::socket(found->ai_family, SOCK_DGRAM, 0);
    if (fd < 0 || ::bind(fd, found->ai_addr, found->ai_addrlen) != 0) {
        std::fprintf(stderr, "quillond-logserver: cannot listen on %s port %d: %s\n",
                     address.c_str(), port, std::strerror(errno));
        if (fd >= 0) ::close(fd);
        ::freeaddrinfo(found);
        return -1;
    }
    ::freeaddrinfo(found);
    // A burst of raw data must not overflow the default buffer while the view redraws.
    int size = 4 * 1024 * 1024;
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
    return fd;
}

std::string PeerText(const struct sockaddr_storage& peer) {
    char host[INET6_ADDRSTRLEN] = "?";
    int port = 0;
    if (peer.ss_family == AF_INET) {
        const auto* in = reinterpret_cast<const struct sockaddr_in*>(&peer);
        ::inet_ntop(AF_INET, &in->sin_addr, host, sizeof host);
        port = ntohs(in->sin_port);
    } else if (peer.ss_family == AF_INET6) {
        const auto* in6 = reinterpret_cast<const struct sockaddr_in6*>(&peer);
        ::inet_ntop(AF_INET6, &in6->sin6_addr, host, sizeof host);
        port = ntohs(in6->sin6_port);
    }
    return std::string(host) + ":" + std::to_string(port);
}

// The logging configurations, read through the log client's own reader so
// that the server and the daemon agree on the keys. The store is read again
// whenever its file changed, so a change the daemon commits takes effect at
// the next block.
class CLoggingConfigSource {
public:
    explicit CLoggingConfigSource(const std::string& path) : m_path(path) {}

    // Whether the client's logging configuration has it send its raw data to
    // be recorded.
    bool ShouldRecord(const std::string& client) {
        struct stat info;
        std::memset(&info, 0, sizeof info);
        const bool exists = ::stat(m_path.c_str(), &info) == 0;
        const std::string signature =
            exists
                ? std::to_string(info.st_mtim.tv_sec) + "." + std::to_string(info.st_mtim.tv_nsec) +
                      "/" + std::to_string(info.st_size) + "/" + std::to_string(info.st_ino)
                : "missing";
        if (!m_reader || signature != m_signature) {
            m_reader.reset();
            m_config.reset(new CConfig(m_path));
            // Only its configuration reader is used: it never sends.
            m_reader.reset(new CLogClient(kReaderName, *m_config));
            m_signature = signature;
        }
        const SLoggingConfig config = m_reader->GetLoggingConfig(client);
        return config.enabled && config.recordRawData;
    }

private:
    static constexpr const char* kReaderName = "quillond-logserver";

    std::string m_path;
    std::unique_ptr<CConfig> m_config;
    std::unique_ptr<CLogClient> m_reader;
    std::string m_signature;  // modification time, size and inode of the file last read
};

class CServer {
public:
    CServer(const SOptions& options, int socket)
        : m_options(options),
          m_socket(socket),
          m_configSource(options.configPath),
          m_state(options.recentLines),
          m_recorder(
              options.recordDirectory, options.rotateBytes,
              [this](const std::string& client) { return m_configSource.ShouldRecord(client); }),
          m_output(options.json
                       ? COutput::kJsonLines
                       : (::isatty(STDOUT_FILENO) ? COutput::kLiveView : COutput::kPlainLines),
                   stdout, m_state) {}

    int Run() {
        m_output.Started(m_options.bindAddress, m_options.port, m_options.recordDirectory);
        const Core::MonotonicTime end =
            Core::MonotonicTime::Now() + Core::Time::FromSeconds(m_options.duration);
        while (g_stopSignal == 0) {
            double wait = 0.2;  // the live view's clock
            if (m_options.duration >= 0.0) {
                const double left = -end.Elapsed().Seconds();
                if (left <= 0.0) break;
                if (left < wait) wait = left;
            }
            fd_set readable;
            FD_ZERO(&readable);
            FD_SET(m_socket, &readable);
            struct timeval timeout = Core::Time::FromSeconds(wait).ToTimeval();
            const int ready = ::select(m_socket + 1, &readable, nullptr, nullptr, &timeout);
            if (ready < 0 && errno != EINTR) {
                std::perror("quillond-logserver: select");
                break;
            }
            if (ready > 0 && ReceiveAll(m_options.once ? 1 : kDatagramsPerPass)) break;
            m_output.Tick();
        }
        // What already arrived is still taken in before the summary.
        if (!m_options.once || m_handled == 0) ReceiveAll(m_options.once ? 1 : kDatagramsAtEnd);
        m_recorder.CloseAll();
        m_output.Finished();
        return 0;
    }

private:
    // Takes up to limit waiting datagrams. True once --once is satisfied.
    bool ReceiveAll(int limit) {
        for (int taken = 0; taken < limit; ++taken) {
            struct sockaddr_storage peer;
            socklen_t peerLength = sizeof peer;
            const ssize_t size =
                ::recvfrom(m_socket, m_buffer, sizeof m_buffer, MSG_DONTWAIT | MSG_TRUNC,
                           reinterpret_cast<struct sockaddr*>(&peer), &peerLength);
            if (size < 0) {
                if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
                    std::perror("quillond-logserver: recvfrom");
                }
                break;
            }
            Handle(static_cast<size_t>(size), PeerText(peer));
            ++m_handled;
            if (m_options.once) return true;
        }
        return false;
    }

    void Handle(size_t size, const std::string& from) {
        std::string error;
        SDatagram datagram;
        if (size >= sizeof m_buffer) {
            error = "longer than " + std::to_string(sizeof m_buffer - 1) + " bytes";
        } else if (size == 0) {
            error = "empty";
        } else if (ParseDatagram(std::string(m_buffer, size), LogFileFormat::kMaxRecordSize,
                                 datagram, error)) {
            if (datagram.type == "raw") {
                HandleRaw(datagram);
            } else {
                m_state.Apply(datagram);
                m_output.Datagram(datagram);
            }
            return;
        }
        m_state.AddMalformed(error);
        m_output.Malformed(from, size, error);
    }

    void HandleRaw(const SDatagram& piece) {
        m_state.Apply(piece);
        const SRawOutcome outcome = m_recorder.AddPiece(piece);
        if (outcome.lostBytes > 0) m_state.AddLostRawBlock();
        if (outcome.complete) m_state.AddRawBlock(outcome.recorded, outcome.blockSize);
        m_output.RawPiece(piece, outcome);
    }

    const SOptions& m_options;
    int m_socket;
    CLoggingConfigSource m_configSource;
    CServerState m_state;
    CRawRecorder m_recorder;
    COutput m_output;
    uint64_t m_handled = 0;
    char m_buffer[kReceiveBufferSize];
};

}  // namespace

int main(int argc, char** argv) {
    SOptions options;
    const int status = ParseOptions(argc, argv, options);
    if (status >= 0) return status;

    if (options.configPath.empty()) options.configPath = CConfig::GetSystemConfig().GetPath();
    if (!options.recordDirectory.empty()) {
        struct stat info;
        if (::stat(options.recordDirectory.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
            std::fprintf(stderr, "quillond-logserver: %s is not a directory\n",
                         options.recordDirectory.c_str());
            return 1;
        }
    }
    const int socket = OpenSocket(options.bindAddress, options.port);
    if (socket < 0) return 1;

    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = OnStopSignal;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    ::signal(SIGPIPE, SIG_IGN);

    // The server holds a 64 KiB buffer: kept off the stack.
    std::unique_ptr<CServer> server(new CServer(options, socket));
    const int result = server->Run();
    ::close(socket);
    return result;
}
