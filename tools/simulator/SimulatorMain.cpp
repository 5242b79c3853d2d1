// quillond-sim: a simulated receiver. Presents the receiver's port on a
// pseudo-terminal (and optionally a port-router socket), answering commands
// and producing the requested logs in real time; or writes a raw capture or
// a recorded log of a given simulated length as fast as it can.

#include <getopt.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "tools/simulator/Presenter.h"

namespace {

volatile std::sig_atomic_t g_stop = 0;

void OnSignal(int) { g_stop = 1; }

void PrintUsage(std::ostream& out) {
    out << "Usage: quillond-sim [options]\n"
           "Simulates the receiver. By default presents its port on a pseudo-terminal and\n"
           "prints the slave's path on standard output.\n"
           "Output:\n"
           "  --link PATH            also make a symbolic link PATH to the pseudo-terminal\n"
           "  --socket PATH          also serve the port as a port-router socket at PATH\n"
           "  --capture PATH         instead write a raw capture to PATH\n"
           "  --recorded-log PATH    instead write a recorded log (QUILLOG1) to PATH\n"
           "  --seconds N            simulated seconds to write (default 60); live: run N\n"
           "                         seconds of wall-clock time (default: until signalled)\n"
           "  --command LINE         a command executed at start (repeatable); files get\n"
           "                         the daemon's usual log requests when none is given\n"
           "  --daemon-logs          also execute the daemon's usual log requests at start\n"
           "  --trace                print each command line received on standard error\n"
           "  --strict-baud          the pseudo-terminal's client must set COM1's rate: at\n"
           "                         another line speed input is lost and output is junk\n"
           "Scenario:\n"
           "  --position LAT,LON,HEIGHT   degrees, degrees, metres above the ellipsoid\n"
           "                         (default 51.4779,-0.0015,92)\n"
           "  --start WEEK,SECONDS   GPS time at the start (default 2390,345600)\n"
           "  --circle RADIUS,SPEED  drive round a circle (metres, metres per second)\n"
           "  --no-glonass           a receiver model without GLONASS\n"
           "  --software-version T   VERSION's software version text (default L6X10200)\n"
           "  --baud N               COM1's rate at power-up (default 9600), one the\n"
           "                         receiver offers (300 to 921600)\n"
           "  --chanconfig N         channel configuration set at power-up (default 1;\n"
           "                         a set the model lacks gives set 1)\n"
           "Faults (times in simulated seconds from the start):\n"
           "  --silence T,N          output nothing for N seconds from T\n"
           "  --corrupt-crc N        every Nth binary log has a wrong CRC\n"
           "  --garbage N            N junk bytes between logs once per second\n"
           "  --phase-drop T,N       PDPSTAT reports no phase measurements in N logs from T\n"
           "  -h, --help             this text\n";
}

// Parses "a,b[,c]" into exactly count numbers.
bool ParseNumbers(const char* text, size_t count, std::vector<double>& values) {
    values.clear();
    const char* cursor = text;
    for (;;) {
        char* end = nullptr;
        const double value = std::strtod(cursor, &end);
        if (end == cursor) return false;
        values.push_back(value);
        if (*end == '\0') return values.size() == count;
        if (*end != ',' || values.size() == count) return false;
        cursor = end + 1;
    }
}

// The serial rates the receiver offers.
bool IsReceiverRate(double rate) {
    const double kRates[] = {300,   600,   900,   1200,   2400,   4800,   9600,
                             19200, 38400, 57600, 115200, 230400, 460800, 921600};
    for (double known : kRates)
        if (rate == known) return true;
    return false;
}

enum EOption {
    kLink = 256,
    kSocket,
    kCapture,
    kRecordedLog,
    kSeconds,
    kCommand,
    kDaemonLogs,
    kPosition,
    kStart,
    kCircle,
    kNoGlonass,
    kSoftwareVersion,
    kBaud,
    kChanConfig,
    kSilence,
    kCorruptCrc,
    kGarbage,
    kPhaseDrop,
    kStrictBaud,
    kTrace
};

}  // namespace

int main(int argc, char* argv[]) {
    static const option kOptions[] = {
        {"link", required_argument, nullptr, kLink},
        {"socket", required_argument, nullptr, kSocket},
        {"capture", required_argument, nullptr, kCapture},
        {"recorded-log", required_argument, nullptr, kRecordedLog},
        {"seconds", required_argument, nullptr, kSeconds},
        {"command", required_argument, nullptr, kCommand},
        {"daemon-logs", no_argument, nullptr, kDaemonLogs},
        {"position", required_argument, nullptr, kPosition},
        {"start", required_argument, nullptr, kStart},
        {"circle", required_argument, nullptr, kCircle},
        {"no-glonass", no_argument, nullptr, kNoGlonass},
        {"software-version", required_argument, nullptr, kSoftwareVersion},
        {"baud", required_argument, nullptr, kBaud},
        {"chanconfig", required_argument, nullptr, kChanConfig},
        {"silence", required_argument, nullptr, kSilence},
        {"corrupt-crc", required_argument, nullptr, kCorruptCrc},
        {"garbage", required_argument, nullptr, kGarbage},
        {"phase-drop", required_argument, nullptr, kPhaseDrop},
        {"strict-baud", no_argument, nullptr, kStrictBaud},
        {"trace", no_argument, nullptr, kTrace},
        {"help", no_argument, nullptr, 'h'},
        {nullptr, 0, nullptr, 0}};

    Simulator::SReceiverSettings settings;
    std::string link, socketPath, capture, recordedLog;
    double seconds = -1.0;
    std::vector<std::string> commands;
    bool daemonLogs = false;
    bool strictBaud = false;
    bool trace = false;
    std::vector<double> v;
    int option;
    while ((option = getopt_long(argc, argv, "h", kOptions, nullptr)) != -1) {
        bool ok = true;
        switch (option) {
            case 'h':
                PrintUsage(std::cout);
                return 0;
            case kLink:
                link = optarg;
                break;
            case kSocket:
                socketPath = optarg;
                break;
            case kCapture:
                capture = optarg;
                break;
            case kRecordedLog:
                recordedLog = optarg;
                break;
            case kSeconds:
                ok = ParseNumbers(optarg, 1, v) && v[0] > 0;
                if (ok) seconds = v[0];
                break;
            case kCommand:
                commands.push_back(optarg);
                break;
            case kDaemonLogs:
                daemonLogs = true;
                break;
            case kStrictBaud:
                strictBaud = true;
                break;
            case kTrace:
                trace = true;
                break;
            case kPosition:
                ok = ParseNumbers(optarg, 3, v) && v[0] >= -90 && v[0] <= 90;
                if (ok) {
                    settings.scenario.latitudeDegrees = v[0];
                    settings.scenario.longitudeDegrees = v[1];
                    settings.scenario.heightMetres = v[2];
                }
                break;
            case kStart:
                ok = ParseNumbers(optarg, 2, v) && v[0] >= 0 && v[0] < 65536 && v[1] >= 0 &&
                     v[1] < 604800;
                if (ok) {
                    settings.scenario.startWeek = static_cast<uint32_t>(v[0]);
                    settings.scenario.startSeconds = v[1];
                }
                break;
            case kCircle:
                ok = ParseNumbers(optarg, 2, v) && v[0] > 0 && v[1] >= 0;
                if (ok) {
                    settings.scenario.circleRadiusMetres = v[0];
                    settings.scenario.speedMetresPerSecond = v[1];
                }
                break;
            case kNoGlonass:
                settings.glonassModel = false;
                break;
            case kSoftwareVersion:
                settings.softwareVersion = optarg;
                break;
            case kBaud:
                ok = ParseNumbers(optarg, 1, v) && IsReceiverRate(v[0]);
                if (ok) settings.baudRate = static_cast<uint32_t>(v[0]);
                break;
            case kChanConfig:
                ok = ParseNumbers(optarg, 1, v) && v[0] >= 1 && v[0] <= 5;
                if (ok) settings.channelSet = static_cast<uint32_t>(v[0]);
                break;
            case kSilence:
                ok = ParseNumbers(optarg, 2, v) && v[0] >= 0 && v[1] > 0;
                if (ok) {
                    settings.faults.silenceStart = v[0];
                    settings.faults.silenceSeconds = v[1];
                }
                break;
            case kCorruptCrc:
                ok = ParseNumbers(optarg, 1, v) && v[0] >= 1;
                if (ok) settings.faults.corruptEvery = static_cast<uint32_t>(v[0]);
                break;
            case kGarbage:
                ok = ParseNumbers(optarg, 1, v) && v[0] >= 1 && v[0] <= 65536;
                if (ok) settings.faults.garbageBytes = static_cast<uint32_t>(v[0]);
                break;
            case kPhaseDrop:
                ok = ParseNumbers(optarg, 2, v) && v[0] >= 0 && v[1] >= 1;
                if (ok) {
                    settings.faults.phaseDropStart = v[0];
                    settings.faults.phaseDropEpochs = static_cast<uint32_t>(v[1]);
                }
                break;
            default:
                PrintUsage(std::cerr);
                return 2;
        }
        if (!ok) {
            std::cerr << "quillond-sim: bad value \"" << (optarg ? optarg : "") << "\" for --"
                      << kOptions[option - kLink].name << "\n";
            return 2;
        }
    }
    if (optind < argc) {
        std::cerr << "quillond-sim: unexpected argument \"" << argv[optind] << "\"\n";
        PrintUsage(std::cerr);
        return 2;
    }
    if (!capture.empty() && !recordedLog.empty()) {
        std::cerr << "quillond-sim: give --capture or --recorded-log, not both\n";
        return 2;
    }

    Simulator::CSimulatedReceiver receiver(settings);
    if (trace) receiver.SetTrace(stderr);
    const bool toFile = !capture.empty() || !recordedLog.empty();
    if (daemonLogs || (toFile && commands.empty())) {
        const std::vector<std::string> requests = Simulator::DaemonLogRequests();
        commands.insert(commands.begin(), requests.begin(), requests.end());
    }
    for (const std::string& command : commands) receiver.Receive(command + "\r\n");

    std::string error;
    if (toFile) {
        const bool ok = Simulator::WriteOutputFile(
            receiver, toFile && !capture.empty() ? capture : recordedLog,
            capture.empty() ? Simulator::kRecordedLog : Simulator::kRawCapture,
            seconds > 0 ? seconds : 60.0, error);
        if (!ok) std::cerr << "quillond-sim: " << error << "\n";
        return ok ? 0 : 1;
    }

    Simulator::SPseudoTerminal terminal;
    if (!Simulator::OpenPseudoTerminal(terminal, error)) {
        std::cerr << "quillond-sim: " << error << "\n";
        return 1;
    }
    Simulator::SLiveSettings live;
    live.ptyMaster = terminal.master;
    live.seconds = seconds > 0 ? seconds : 0.0;
    live.strictBaud = strictBaud;
    live.stop = &g_stop;
    if (!socketPath.empty()) {
        live.listenSocket = Simulator::ListenOnUnixSocket(socketPath, error);
        if (live.listenSocket < 0) {
            std::cerr << "quillond-sim: " << error << "\n";
            return 1;
        }
    }
    if (!link.empty()) {
        ::unlink(link.c_str());
        if (::symlink(terminal.slavePath.c_str(), link.c_str()) != 0) {
            std::perror(("quillond-sim: symlink " + link).c_str());
            return 1;
        }
    }
    std::cout << terminal.slavePath << std::endl;
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    signal(SIGPIPE, SIG_IGN);

    Simulator::RunLive(receiver, live);

    if (!link.empty()) ::unlink(link.c_str());
    if (!socketPath.empty()) ::unlink(socketPath.c_str());
    return 0;
}
