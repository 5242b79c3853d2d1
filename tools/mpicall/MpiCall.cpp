// quillond-call: calls one remote method of the daemon over its message-passing
// interface (docs/remote-methods.md) and prints the result, or watches the
// callbacks the daemon posts.

#include <getopt.h>
#include <netdb.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>

namespace {

using Json = nlohmann::ordered_json;

const char kUsage[] =
    "Usage: quillond-call [options] METHOD [ARG...]\n"
    "       quillond-call [options] --watch [METHOD [ARG...]]\n"
    "Calls one remote method of the daemon (JSON-RPC 2.0 over TCP, one object per line)\n"
    "and prints its result as JSON: an array, or null when the method gives no result.\n"
    "Arguments are typed by a prefix:\n"
    "  i:N      a 32-bit integer            i:3  i:-1\n"
    "  d:X      a double                    d:2.5  d:3\n"
    "  s:TEXT   a string                    s:GPGGA  s:  (the empty string)\n"
    "  JSON     any other argument is read as JSON (3, 2.5, \"x\", [1,[2,3]], true);\n"
    "           one that is not JSON is taken as a string (GPGGA)\n"
    "Options:\n"
    "  -H, --host HOST      the daemon's address (default 127.0.0.1)\n"
    "  -p, --port N         its TCP port (default 5314)\n"
    "  -t, --timeout S      seconds to wait for connecting and for the answer (default 10)\n"
    "  -w, --watch          print each callback the daemon posts (\"cb_trackingStatus\") as\n"
    "                       one line, NAME PARAMS, until interrupted; a METHOD is called\n"
    "                       first and watching starts after its answer\n"
    "  -n, --count N        with --watch: exit after N callbacks\n"
    "  -h, --help           print this help and exit\n"
    "Example: quillond-call DummyFunction i:2 d:3.7   prints [5]\n"
    "Exit status: 0 done, 1 the method answered with an error, 2 bad usage,\n"
    "3 no connection, no answer in time, or the connection closed.\n";

const int kExitError = 1;
const int kExitUsage = 2;
const int kExitConnection = 3;

volatile sig_atomic_t g_interrupted = 0;

void OnInterrupt(int) { g_interrupted = 1; }

struct SOptions {
    std::string host = "127.0.0.1";
    std::string port = "5314";
    double timeoutSeconds = 10.0;
    bool watch = false;
    long count = 0;  // 0: no limit
    std::string method;
    Json params = Json::array();  // the typed arguments
};

int UsageError(const std::string& message) {
    std::fprintf(stderr, "quillond-call: %s\n(quillond-call --help shows the usage)\n",
                 message.c_str());
    return kExitUsage;
}

// One typed command-line argument as JSON; false with the reason when it is malformed.
bool ParseArgument(const std::string& text, Json& value, std::string& error) {
    const std::string body = text.size() >= 2 ? text.substr(2) : std::string();
    if (text.compare(0, 2, "i:") == 0) {
        char* end = nullptr;
        errno = 0;
        const long long number = std::strtoll(body.c_str(), &end, 10);
        if (body.empty() || *end != '\0' || errno != 0 || number < INT_MIN || number > INT_MAX) {
            error = "\"" + text + "\" is not a 32-bit integer";
            return false;
        }
        value = static_cast<int32_t>(number);
        return true;
    }
    if (text.compare(0, 2, "d:") == 0) {
        char* end = nullptr;
        errno = 0;
        const double number = std::strtod(body.c_str(), &end);
        if (body.empty() || *end != '\0' || errno != 0) {
            error = "\"" + text + "\" is not a double";
            return false;
        }
        value = number;  // goes out with a fraction, so it stays a double
        return true;
    }
    if (text.compare(0, 2, "s:") == 0) {
        value = body;
        return true;
    }
    value = Json::parse(text, nullptr, false);
    if (value.is_discarded()) value = text;
    return true;
}

// Connects to host:port within the time-out; -1 with a message on failure.
int Connect(const SOptions& options) {
    struct addrinfo hints;
    std::memset(&hints, 0, sizeof(hints));
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    struct addrinfo* found = nullptr;
    const std::string where = options.host + ":" + options.port;
    const int lookup = ::getaddrinfo(options.host.c_str(), options.port.c_str(), &hints, &found);
    if (lookup != 0) {
        std::fprintf(stderr, "quillond-call: cannot find %s: %s\n", where.c_str(),
                     ::gai_strerror(lookup));
        return -1;
    }
    std::string failure = "no address";
    int descriptor = -1;
    for (struct addrinfo* address = found; address && descriptor < 0; address = address->ai_next) {
        descriptor = ::socket(address->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (descriptor < 0) {
            failure = std::strerror(errno);
            continue;
        }
        struct timeval limit;
        limit.tv_sec = static_cast<time_t>(options.timeoutSeconds);
        limit.tv_usec = static_cast<suseconds_t>(
            (options.timeoutSeconds - static_cast<double>(limit.tv_sec)) * 1e6);
        ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
        if (::connect(descriptor, address->ai_addr, address->ai_addrlen) != 0) {
            failure = errno == EINPROGRESS ? "timed out" : std::strerror(errno);
            ::close(descriptor);
            descriptor = -1;
        }
    }
    ::freeaddrinfo(found);
    if (descriptor < 0) {
        std::fprintf(stderr, "quillond-call: cannot connect to %s: %s (is the daemon running?)\n",
                     where.c_str(), failure.c_str());
    }
    return descriptor;
}

bool SendAll(int descriptor, const std::string& data) {
    size_t done = 0;
    while (done < data.size()) {
        const ssize_t written =
            ::send(descriptor, data.data() + done, data.size() - done, MSG_NOSIGNAL);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        done += static_cast<size_t>(written);
    }
    return true;
}

// Reads lines from the daemon. Next waits for one complete line.
class CLineReader {
public:
    explicit CLineReader(int descriptor) : m_descriptor(descriptor) {}

    enum EResult { kLine, kTimeout, kClosed, kInterrupted };

    // timeoutSeconds < 0 waits without limit.
    EResult Next(std::string& line, double timeoutSeconds) {
        const auto deadline = std::chrono::steady_clock::now() +
                              std::chrono::milliseconds(static_cast<long long>(
                                  (timeoutSeconds < 0 ? 0 : timeoutSeconds) * 1000));
        for (;;) {
            const size_t end = m_buffer.find('\n');
            if (end != std::string::npos) {
                line = m_buffer.substr(0, end);
                m_buffer.erase(0, end + 1);
                if (!line.empty() && line.back() == '\r') line.pop_back();
                return kLine;
            }
            if (g_interrupted) return kInterrupted;
            int waitMs = -1;
            if (timeoutSeconds >= 0) {
                const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                                      deadline - std::chrono::steady_clock::now())
                                      .count();
                if (left <= 0) return kTimeout;
                waitMs = static_cast<int>(left);
            }
            struct pollfd ready = {m_descriptor, POLLIN, 0};
            const int polled = ::poll(&ready, 1, waitMs);
            if (polled < 0) {
                if (errno == EINTR) continue;
                return kClosed;
            }
            if (polled == 0) continue;
            char chunk[65536];
            const ssize_t count = ::recv(m_descriptor, chunk, sizeof(chunk), 0);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return kClosed;
            m_buffer.append(chunk, static_cast<size_t>(count));
        }
    }

private:
    int m_descriptor;
    std::string m_buffer;
};

std::string Compact(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Prints the answer to our call; the exit status it gives.
int ReportAnswer(const SOptions& options, const Json& answer) {
    if (answer.contains("error")) {
        const Json& error = answer["error"];
        std::string text =
            error.is_object() ? error.value("message", std::string("error")) : Compact(error);
        if (error.is_object() && error.contains("data")) {
            text += ": " + (error["data"].is_string() ? error["data"].get<std::string>()
                                                      : Compact(error["data"]));
        }
        const int code = error.is_object() ? error.value("code", 0) : 0;
        std::fprintf(stderr, "quillond-call: %s: error %d: %s\n", options.method.c_str(), code,
                     text.c_str());
        return kExitError;
    }
    std::printf("%s\n", Compact(answer.contains("result") ? answer["result"] : Json()).c_str());
    std::fflush(stdout);
    return 0;
}

int Run(const SOptions& options) {
    const int descriptor = Connect(options);
    if (descriptor < 0) return kExitConnection;
    CLineReader reader(descriptor);
    const int requestId = 1;
    int status = 0;

    if (!options.method.empty()) {
        const Json request = {{"jsonrpc", "2.0"},
                              {"method", options.method},
                              {"params", options.params},
                              {"id", requestId}};
        if (!SendAll(descriptor, Compact(request) + "\n")) {
            std::fprintf(stderr, "quillond-call: cannot send the request: %s\n",
                         std::strerror(errno));
            ::close(descriptor);
            return kExitConnection;
        }
        bool answered = false;
        while (!answered) {
            std::string line;
            const CLineReader::EResult result = reader.Next(line, options.timeoutSeconds);
            if (result != CLineReader::kLine) {
                std::fprintf(stderr, "quillond-call: %s: %s\n", options.method.c_str(),
                             result == CLineReader::kTimeout ? "no answer in time"
                             : result == CLineReader::kClosed
                                 ? "the daemon closed the connection without an answer"
                                 : "interrupted");
                ::close(descriptor);
                return kExitConnection;
            }
            const Json message = Json::parse(line, nullptr, false);
            if (message.is_discarded()) {
                std::fprintf(stderr, "quillond-call: the daemon sent a line that is not JSON: %s\n",
                             line.c_str());
                continue;
            }
            if (message.contains("id") && (message["id"] == requestId || message["id"].is_null())) {
                status = ReportAnswer(options, message);
                answered = true;
            }
            // Callbacks before the answer are passed over: watching starts after it.
        }
    }

    if (options.watch) {
        long seen = 0;
        while (options.count == 0 || seen < options.count) {
            std::string line;
            const CLineReader::EResult result = reader.Next(line, -1);
            if (result == CLineReader::kInterrupted) break;
            if (result != CLineReader::kLine) {
                std::fprintf(stderr, "quillond-call: the daemon closed the connection\n");
                status = kExitConnection;
                break;
            }
            const Json message = Json::parse(line, nullptr, false);
            if (message.is_discarded() || !message.contains("method")) continue;
            std::printf("%s %s\n", message.value("method", std::string()).c_str(),
                        Compact(message.value("params", Json::array())).c_str());
            std::fflush(stdout);
            ++seen;
        }
    }
    ::close(descriptor);
    return status;
}

}  // namespace

int main(int argc, char* argv[]) {
    static const struct option kLongOptions[] = {{"host", required_argument, nullptr, 'H'},
                                                 {"port", required_argument, nullptr, 'p'},
                                                 {"timeout", required_argument, nullptr, 't'},
                                                 {"watch", no_argument, nullptr, 'w'},
                                                 {"count", required_argument, nullptr, 'n'},
                                                 {"help", no_argument, nullptr, 'h'},
                                                 {nullptr, 0, nullptr, 0}};
    SOptions options;
    opterr = 0;
    int option;
    // "+": options end at METHOD, so an argument such as -1 is not taken for one.
    while ((option = getopt_long(argc, argv, "+H:p:t:wn:h", kLongOptions, nullptr)) != -1) {
        char* end = nullptr;
        switch (option) {
            case 'H':
                options.host = optarg;
                break;
            case 'p': {
                const long port = std::strtol(optarg, &end, 10);
                if (*optarg == '\0' || *end != '\0' || port < 1 || port > 65535) {
                    return UsageError(std::string("the port \"") + optarg +
                                      "\" is not a number from 1 to 65535");
                }
                options.port = optarg;
                break;
            }
            case 't':
                options.timeoutSeconds = std::strtod(optarg, &end);
                if (*optarg == '\0' || *end != '\0' || !(options.timeoutSeconds > 0)) {
                    return UsageError(std::string("the time-out \"") + optarg +
                                      "\" is not a positive number of seconds");
                }
                break;
            case 'w':
                options.watch = true;
                break;
            case 'n':
                options.count = std::strtol(optarg, &end, 10);
                if (*optarg == '\0' || *end != '\0' || options.count < 1) {
                    return UsageError(std::string("the count \"") + optarg +
                                      "\" is not a positive number");
                }
                break;
            case 'h':
                std::fputs(kUsage, stdout);
                return 0;
            default:
                return UsageError(optopt ? std::string("unknown option or missing value: -") +
                                               static_cast<char>(optopt)
                                         : std::string("unknown option ") + argv[optind - 1]);
        }
    }
    if (optind < argc) options.method = argv[optind++];
    if (options.method.empty() && !options.watch) return UsageError("no METHOD given");
    for (; optind < argc; ++optind) {
        Json value;
        std::string error;
        if (!ParseArgument(argv[optind], value, error)) return UsageError(error);
        options.params.push_back(value);
    }

    struct sigaction action;
    std::memset(&action, 0, sizeof(action));
    action.sa_handler = OnInterrupt;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    return Run(options);
}
