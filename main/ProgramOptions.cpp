#include "main/ProgramOptions.h"

#include <unistd.h>

#include <cstdlib>

#include "platform/Config/Config.h"

namespace {

const char* const kSection = "Quillond";
const char* const kOptionString = "dpf:s:r:k:b:c:t:z:u:";

int32_t ToInt(const char* text) { return static_cast<int32_t>(std::strtol(text, nullptr, 10)); }

}  // namespace

SProgramOptions& ProgramOptions() {
    static SProgramOptions options;
    return options;
}

bool IsHelpRequest(int argc, char* const argv[]) {
    if (argc != 2) return false;
    std::string argument(argv[1]);
    return argument == "-h" || argument == "--help";
}

void PrintUsage(std::ostream& out, const char* programPath) {
    out << "Usage: \n"
        << programPath << " [options]\n"
        << "\n"
        << "Command Line Options:\n"
        << "\n"
        << "I/O Options\n"
        << "-f <NormalFile>     Raw file mode (raw file I/O)\n"
        << "-s <serialPort>     Serial port (allows serial port configuration)\n"
        << "-r <ReplayFile>     Replay mode (zoka binary logs)\n"
        << "-k <tolvekNumber>   Tolvek (with tolvek number)\n"
        << "\n"
        << "Configuration options\n"
        << "-b <baudrate>       Serial Baud Rate\n"
        << "-c <config file>    Novatel Configuration file\n"
        << "-t <timeout>        Serial read timeout, in ms\n"
        << "-z <size>           Serial/File read size\n"
        << "-u <mode>           Breakout mode, parameter = {none|break|lb2|softbreak} [Note 1]\n"
        << "-p                  Do not elevate priority (e.g. no root access)\n"
        << "-h                  Displays this help menu\n"
        << "-d                  Display basic information on packets received to screen\n"
        << "\n"
        << "If no parameters are given, the program will extract arguments from the config "
           "database\n"
        << "\n"
        << "[Note 1] LB2 breakout only changes port 2 whilst port 1 remains undisturbed\n"
        << "\n";
}

int BreakoutModeFromName(const std::string& name) {
    if (name == "none") return BREAKOUT_NONE;
    if (name == "lb2") return BREAKOUT_LB2;
    if (name == "break") return BREAKOUT_BREAK;
    if (name == "softbreak") return BREAKOUT_SOFTBREAK;
    return -1;
}

void ApplyConfiguration(SProgramOptions& options, const CConfig& config) {
    options.m_inputName = config.GetString(kSection, "input_filename", "122");
    options.m_ioType = config.GetInteger(kSection, "io_type", IO_TYPE_TOLVEK);
    options.m_configurationFile = config.GetString(kSection, "configuration_file", "");
    options.m_breakoutMode = config.GetInteger(kSection, "breakout_mode", BREAKOUT_SOFTBREAK);
    options.m_baudRate = config.GetInteger(kSection, "baud_rate", 230400);
}

bool ApplyCommandLine(SProgramOptions& options, int argc, char* argv[], std::ostream& errors) {
    // Our own message replaces getopt's, so the operator sees one line per fault.
    opterr = 0;
    optind = 1;
    int option;
    while ((option = ::getopt(argc, argv, kOptionString)) != -1) {
        if (option < '?' || option > 'z') continue;
        switch (option) {
            case 'f':
                options.m_ioType = IO_TYPE_FILE;
                options.m_inputName = optarg;
                break;
            case 's':
                options.m_ioType = IO_TYPE_SERIAL;
                options.m_inputName = optarg;
                break;
            case 'r':
                options.m_ioType = IO_TYPE_REPLAY;
                options.m_inputName = optarg;
                break;
            case 'k':
                options.m_ioType = IO_TYPE_TOLVEK;
                options.m_inputName = optarg;
                break;
            case 'b':
                options.m_baudRate = ToInt(optarg);
                break;
            case 'c':
                options.m_configurationFile = optarg;
                break;
            case 't':
                options.m_readTimeout = ToInt(optarg);
                break;
            case 'z':
                options.m_readSize = ToInt(optarg);
                break;
            case 'u': {
                int mode = BreakoutModeFromName(optarg);
                if (mode < 0) {
                    errors << "Unrecognised argument \"" << optarg << "\" for 'u'\n\n";
                    return false;
                }
                options.m_breakoutMode = mode;
                break;
            }
            case 'p':
                options.m_elevatePriority = false;
                break;
            case 'd':
                options.m_displayPackets = true;
                break;
            case '?':
                errors << "Unrecognised argument \"" << optopt << "\"\n\n";
                return false;
            default:
                break;
        }
    }
    return true;
}
