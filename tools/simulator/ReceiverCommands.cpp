// The simulated receiver's command interpreter: splits the port's input into
// abbreviated ASCII command lines and acts on each one.

#include <cctype>
#include <cmath>
#include <cstdlib>

#include "tools/simulator/SimulatedReceiver.h"

namespace Simulator {

namespace {

const size_t kMaxLineLength = 1024;
const char kEscape[] = "+++";

const char kOk[] = "<OK";
const char kInvalidCommand[] = "<ERROR:Invalid Message ID";
const char kNotLogged[] = "<ERROR:Log does not exist";

std::string Upper(const std::string& text) {
    std::string upper = text;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return upper;
}

std::vector<std::string> SplitWords(const std::string& line) {
    std::vector<std::string> words;
    std::string word;
    for (char c : line) {
        if (c == ' ' || c == ',' || c == '\t') {
            if (!word.empty()) words.push_back(word);
            word.clear();
        } else {
            word.push_back(c);
        }
    }
    if (!word.empty()) words.push_back(word);
    return words;
}

std::string InvalidField(size_t field) {
    return "<ERROR:Invalid Message. Field = " + std::to_string(field);
}

bool ParseUnsigned(const std::string& text, uint32_t& value) {
    if (text.empty()) return false;
    char* end = nullptr;
    const unsigned long parsed = std::strtoul(text.c_str(), &end, 10);
    if (*end != '\0' || parsed > 0xFFFFFFFFul) return false;
    value = static_cast<uint32_t>(parsed);
    return true;
}

bool IsPortWord(const std::string& word) {
    const std::string upper = Upper(word);
    return upper == "THISPORT" || upper == "COM1" || upper == "COM2" || upper == "COM3" ||
           upper == "USB1" || upper == "USB2" || upper == "USB3" || upper == "ALLPORTS";
}

bool InterfaceModeOf(const std::string& word, uint32_t& mode) {
    static const struct {
        const char* name;
        uint32_t mode;
    } kModes[] = {{"NONE", kModeNone},         {"NOVATEL", kModeNovatel},
                  {"RTCM", kModeRtcm},         {"RTCA", kModeRtca},
                  {"CMR", kModeCmr},           {"OMNISTAR", kModeOmnistar},
                  {"RTCMNOCR", kModeRtcmNoCr}, {"CDGPS", kModeCdgps},
                  {"RTCMV3", kModeRtcmV3},     {"NOVATELBINARY", kModeNovatelBinary},
                  {"GENERIC", kModeGeneric}};
    for (const auto& entry : kModes) {
        if (Upper(word) == entry.name) {
            mode = entry.mode;
            return true;
        }
    }
    return false;
}

bool OnOff(const std::string& word, bool& value) {
    const std::string upper = Upper(word);
    if (upper != "ON" && upper != "OFF") return false;
    value = upper == "ON";
    return true;
}

// Commands accepted with "<OK" and no further effect on the simulation.
const char* const kAcceptedCommands[] = {
    "ASSIGN",       "ASSIGNALL",   "UNASSIGN",      "UNASSIGNALL",
    "SBASCONTROL",  "RTKSOURCE",   "PSRDIFFSOURCE", "SETIONOTYPE",
    "PDPFILTER",    "PDPMODE",     "DYNAMICS",      "PSRVELOCITYTYPE",
    "RTKCOMMAND",   "RTKDYNAMICS", "WAAS17",        "ECUTOFF",
    "FIX",          "SAVECONFIG",  "CLOCKADJUST",   "ANTENNAPOWER",
    "STATUSCONFIG", "RTKELEVMASK", "POSAVE",        "DGPSTXID",
    "SETNAV"};

}  // namespace

bool CSimulatedReceiver::CommandsAccepted() const {
    return m_ports[0].receiveMode == kModeNovatel || m_ports[0].receiveMode == kModeNovatelBinary;
}

void CSimulatedReceiver::Receive(const std::string& text) {
    Receive(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

void CSimulatedReceiver::Receive(const uint8_t* bytes, size_t count) {
    if (m_rebooting) return;  // a restarting receiver hears nothing
    m_input.append(reinterpret_cast<const char*>(bytes), count);
    for (;;) {
        if (!CommandsAccepted()) {
            // Another interface mode: only the escape sequence is recognised.
            const size_t escape = m_input.find(kEscape);
            if (escape == std::string::npos) {
                if (m_input.size() > 2) m_input.erase(0, m_input.size() - 2);
                return;
            }
            m_input.erase(0, escape + 3);
            Execute(kEscape);
            continue;
        }
        if (m_input.compare(0, 3, kEscape) == 0) {
            // Recognised without a line end, as the receiver does.
            m_input.erase(0, 3);
            Execute(kEscape);
            continue;
        }
        const size_t end = m_input.find_first_of("\r\n");
        if (end == std::string::npos) {
            if (m_input.size() > kMaxLineLength) m_input.clear();
            return;
        }
        const std::string line = m_input.substr(0, end);
        m_input.erase(0, end + 1);
        // The second byte of a CR LF pair gives an empty line: nothing to answer.
        if (!SplitWords(line).empty()) Execute(line);
        if (m_rebooting) {
            m_input.clear();
            return;
        }
    }
}

void CSimulatedReceiver::Prompt() { Emit("\r\n[" + m_ports[0].name + "]"); }

void CSimulatedReceiver::Respond(const std::string& text) {
    if (!m_ports[0].responses) return;
    Emit("\r\n" + text + "\r\n[" + m_ports[0].name + "]");
}

SPortConfig* CSimulatedReceiver::FindPort(const std::string& word) {
    const std::string upper = Upper(word);
    if (upper == "THISPORT") return &m_ports[0];
    for (SPortConfig& port : m_ports)
        if (port.name == upper) return &port;
    return nullptr;
}

void CSimulatedReceiver::Execute(const std::string& line) {
    if (m_trace) {
        std::fprintf(m_trace, "> %s\n", line.c_str());
        std::fflush(m_trace);
    }
    if (line == kEscape) {
        m_ports[0].receiveMode = kModeNovatel;
        m_ports[0].transmitMode = kModeNovatel;
        m_ports[0].responses = true;
        Prompt();
        return;
    }
    const std::vector<std::string> words = SplitWords(line);
    const std::string command = Upper(words[0]);
    if (command == "LOG") return CommandLog(words);
    if (command == "UNLOG") return CommandUnlog(words);
    if (command == "UNLOGALL") {
        m_logs.clear();
        return Respond(kOk);
    }
    if (command == "COM") return CommandCom(words);
    if (command == "INTERFACEMODE") return CommandInterfaceMode(words);
    if (command == "SELECTCHANCONFIG") return CommandSelectChanConfig(words);
    if (command == "FRESET" || command == "RESET") {
        Respond(kOk);
        return Restart(command == "FRESET");
    }
    for (const char* accepted : kAcceptedCommands)
        if (command == accepted) return Respond(kOk);
    Respond(kInvalidCommand);
}

void CSimulatedReceiver::CommandLog(const std::vector<std::string>& words) {
    size_t index = 1;
    bool thisPort = true;
    if (words.size() > 2 && IsPortWord(words[1])) {
        const std::string port = Upper(words[1]);
        thisPort = port == "THISPORT" || port == m_ports[0].name;
        index = 2;
    }
    SActiveLog log;
    if (index >= words.size() || !LookUpLog(words[index], log.name))
        return Respond(InvalidField(index + 1));
    const std::string trigger = index + 1 < words.size() ? Upper(words[index + 1]) : "ONCE";
    if (trigger == "ONCE" || trigger == "ONNEXT") {
        log.trigger = kOnce;
    } else if (trigger == "ONCHANGED") {
        log.trigger = kOnChanged;
    } else if (trigger == "ONNEW") {
        log.trigger = kOnNew;
    } else if (trigger == "ONTIME") {
        log.trigger = kOnTime;
        char* end = nullptr;
        const std::string period = index + 2 < words.size() ? words[index + 2] : "";
        const double seconds = std::strtod(period.c_str(), &end);
        const long ms = std::lround(seconds * 1000.0);
        // The receiver's rates: 20, 10, 5, 4, 2 and 1 Hz, or whole seconds.
        const bool valid = !period.empty() && *end == '\0' && ms >= 50 && ms % 50 == 0 &&
                           (ms >= 1000 ? ms % 1000 == 0 : 1000 % ms == 0);
        if (!valid) return Respond(InvalidField(index + 3));
        log.periodMs = static_cast<uint32_t>(ms);
    } else if (trigger != "ONMARK") {
        return Respond(InvalidField(index + 2));
    }
    Respond(kOk);
    if (!thisPort) return;  // output to another port is not seen here
    const std::string name = LogOutputName(log.name);
    for (size_t i = 0; i < m_logs.size(); ++i) {
        if (LogOutputName(m_logs[i].name) == name) {
            m_logs.erase(m_logs.begin() + static_cast<long>(i));
            break;
        }
    }
    if (trigger == "ONMARK") return;  // no mark input: never output
    if (log.trigger == kOnce || (log.trigger != kOnTime && IsSetupLog(log.name.id))) {
        const SSnapshot snapshot = Snapshot(NeedsSky(log.name));
        OutputLog(log, snapshot);
        if (log.trigger == kOnce) return;
    }
    m_logs.push_back(log);
}

void CSimulatedReceiver::CommandUnlog(const std::vector<std::string>& words) {
    size_t index = 1;
    if (words.size() > 2 && IsPortWord(words[1])) index = 2;
    SLogName name;
    if (index >= words.size() || !LookUpLog(words[index], name))
        return Respond(InvalidField(index + 1));
    for (size_t i = 0; i < m_logs.size(); ++i) {
        if (LogOutputName(m_logs[i].name) == LogOutputName(name)) {
            m_logs.erase(m_logs.begin() + static_cast<long>(i));
            return Respond(kOk);
        }
    }
    Respond(kNotLogged);
}

void CSimulatedReceiver::CommandCom(const std::vector<std::string>& words) {
    size_t index = 1;
    SPortConfig* port = &m_ports[0];
    if (words.size() > 1 && IsPortWord(words[1])) {
        port = FindPort(words[1]);
        if (!port) return Respond(InvalidField(2));
        index = 2;
    }
    static const uint32_t kRates[] = {300,   600,   900,   1200,   2400,   4800,   9600,
                                      19200, 38400, 57600, 115200, 230400, 460800, 921600};
    uint32_t baud = 0;
    bool rateKnown = false;
    if (index < words.size() && ParseUnsigned(words[index], baud))
        for (uint32_t rate : kRates) rateKnown |= rate == baud;
    if (!rateKnown) return Respond(InvalidField(index + 1));
    SPortConfig updated = *port;
    updated.baud = baud;
    for (size_t i = index + 1; i < words.size(); ++i) {
        const std::string word = Upper(words[i]);
        const size_t field = i + 1;
        bool ok = true;
        switch (i - index) {
            case 1:
                ok = word == "N" || word == "E" || word == "O";
                updated.parity = word == "E" ? 1 : word == "O" ? 2 : 0;
                break;
            case 2:
                ok = ParseUnsigned(word, updated.dataBits) && updated.dataBits >= 7 &&
                     updated.dataBits <= 8;
                break;
            case 3:
                ok = ParseUnsigned(word, updated.stopBits) && updated.stopBits >= 1 &&
                     updated.stopBits <= 2;
                break;
            case 4:
                ok = word == "N" || word == "XON" || word == "CTS";
                updated.handshake = word == "XON" ? 1 : word == "CTS" ? 2 : 0;
                break;
            case 5:
                ok = OnOff(word, updated.echo);
                break;
            case 6:
                ok = OnOff(word, updated.breakDetection);
                break;
            default:
                ok = false;
        }
        if (!ok) return Respond(InvalidField(field));
    }
    Respond(kOk);
    *port = updated;  // the pty's line speed is notional: the new rate is only recorded
}

void CSimulatedReceiver::CommandInterfaceMode(const std::vector<std::string>& words) {
    size_t index = 1;
    SPortConfig* port = &m_ports[0];
    if (words.size() > 1 && IsPortWord(words[1])) {
        port = FindPort(words[1]);
        if (!port) return Respond(InvalidField(2));
        index = 2;
    }
    uint32_t receive = 0, transmit = 0;
    bool responses = true;
    if (index >= words.size() || !InterfaceModeOf(words[index], receive))
        return Respond(InvalidField(index + 1));
    if (index + 1 >= words.size() || !InterfaceModeOf(words[index + 1], transmit))
        return Respond(InvalidField(index + 2));
    if (index + 2 < words.size() && !OnOff(words[index + 2], responses))
        return Respond(InvalidField(index + 3));
    Respond(kOk);
    port->receiveMode = receive;
    port->transmitMode = transmit;
    port->responses = responses;
}

void CSimulatedReceiver::CommandSelectChanConfig(const std::vector<std::string>& words) {
    uint32_t set = 0;
    if (words.size() < 2 || !ParseUnsigned(words[1], set) || set < 1 || set > m_channelSets.size())
        return Respond(InvalidField(2));
    m_channelSet = set;
    Respond(kOk);
}

}  // namespace Simulator
