#include "control/CommandManager.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "control/ConstellationManager.h"
#include "io/InputOutputHandler.h"
#include "platform/Config/Config.h"
#include "platform/Core/Utilities.h"

namespace {

const char kSection[] = "Quillond";
const char kLineEnd[] = "\r\n";

// The log client whose raw-data recording follows the GPS logging flag.
const char kPortHandlerClient[] = "NovatelPortHandler";
const char kClientName[] = "NovatelCommandManager";

const char kGPSLoggingKey[] = "gps_logging_enabled";
const char kIonosphereModeKey[] = "ionosphere_mode";
const char kSBASPRNKey[] = "sbas_prn";
const char kReferenceFormatKey[] = "reference_format";
// Written by the setter and preferred when present.
const char kReferenceFormatRealKey[] = "reference_format_real";
const char kDefaultReferenceFormat[] = "ZOKA1";

// Ionosphere models the receiver knows; other stored values mean automatic.
const uint32_t kIonosphereKlobuchar = 1;
const uint32_t kIonosphereGrid = 2;
const uint32_t kIonosphereModes = 4;

// Receiver command lines are far shorter than this; a longer line in an
// initialisation file is reported (most likely the file is damaged) and sent whole.
const size_t kLongestInitialisationLine = 1023;

// Lines whose upper-cased text holds one of these are sent with one queueing only.
const char* const kOneShotMarkers[] = {"SELECTCHANCONFIG", "FRESET", "RESET"};

const char kSelectChannelConfig[] = "selectchanconfig";

// The mode COM2 takes reference corrections in, for a reference format. "NONE"
// deliberately still listens for RTCMV3; any other text passes as it stands.
std::string ReceiverModeFor(const std::string& format) {
    if (format == "ZOKA1") return "CMR";
    if (format == "RTCM3") return "RTCMV3";
    if (format == "RTCM2") return "RTCM";
    if (format == "NONE") return "RTCMV3";
    return format;
}

bool IsAcceptedReferenceFormat(const std::string& format) {
    return format == "ZOKA1" || format == "CMR" || format == "RTCM3" || format == "RTCM2";
}

bool IsOneShot(const std::string& line) {
    const std::string upper = Core::Utilities::StringToUpper(line);
    for (const char* marker : kOneShotMarkers) {
        if (upper.find(marker) != std::string::npos) return true;
    }
    return false;
}

}  // namespace

CCommandManager::CCommandManager() : CCommandManager(CConfig::GetSystemConfig()) {}

CCommandManager::CCommandManager(CConfig& config)
    : m_referenceFormat(kDefaultReferenceFormat),
      m_config(config),
      m_logClient(kClientName, config) {}

CCommandManager::~CCommandManager() {}

void CCommandManager::NewPacket(CGPSRecord*) {
    if (m_constellationManager && m_constellationManager->NeedsChannelConfigChange()) {
        RefreshRegionSettings();
    }
}

void CCommandManager::ReadSettings() {
    m_gpsLoggingEnabled = m_config.GetInteger(kSection, kGPSLoggingKey, 0) != 0;
    // Compared unsigned, so a negative stored value is out of range as well.
    m_ionosphereMode = static_cast<uint32_t>(m_config.GetInteger(kSection, kIonosphereModeKey, 0));
    if (m_ionosphereMode >= kIonosphereModes) m_ionosphereMode = 0;
    m_sbasPRN = m_config.GetInteger(kSection, kSBASPRNKey, 0);
    const std::string format =
        m_config.GetString(kSection, kReferenceFormatKey, kDefaultReferenceFormat);
    m_referenceFormat = m_config.GetString(kSection, kReferenceFormatRealKey, format);
}

bool CCommandManager::BuildConfiguration() {
    ReadSettings();
    m_sendQueue.clear();
    m_pendingCommands.clear();

    AddLine("unlogall thisport");
    if (m_constellationManager && m_constellationManager->NeedsChannelConfigChange()) {
        AddLine(std::string(kSelectChannelConfig) + " " +
                std::to_string(m_constellationManager->GetDesiredChannelConfig()));
    }
    AddSBASLines();
    AddLine("rtksource auto any");
    AddLine("psrdiffsource auto any");
    AddIonosphereLine();
    AddLine("interfacemode usb1 novatel novatel");
    AddLine("interfacemode usb2 novatel novatel");
    AddLine("interfacemode usb3 novatel novatel");
    AddLine("com com2 115200 n 8 1 n off on");
    AddLine("interfacemode com2 " + ReceiverModeFor(m_referenceFormat) + " none");
    AddLine("log versionb once");
    AddLine("log rxstatusb once");
    AddLine("log psrdopb ontime 10");
    AddLine("log rxstatusb onchanged");
    AddLine("log comconfigb ontime 10");
    AddLine("log trackstatb ontime 3");
    AddPositionLoggingLines();
    if (m_gpsLoggingEnabled) AddGPSLoggingLines();
    AddLine("LOG CHANCONFIGLISTB ONCE");
    AddLine("LOG LOGLISTB ONCE");
    AddLine("LOG RXCONFIGB ONCE");

    m_config.Commit();
    return true;
}

void CCommandManager::AddLine(const std::string& text) {
    m_pendingCommands.push_back(text + kLineEnd);
}

void CCommandManager::AddSBASLines() {
    if (!m_constellationManager || !m_constellationManager->IsSBASEnabled()) {
        AddLine("sbascontrol disable");
        return;
    }
    if (m_sbasPRN != 0) {
        // One chosen SBAS satellite; the second SBAS channel stays idle.
        AddLine("assign 12 " + std::to_string(m_sbasPRN));
        AddLine("assign 13 idle");
        AddLine("sbascontrol enable auto 0 zerototwo");
    } else {
        AddLine("assign 12 auto");
        AddLine("assign 13 auto");
        AddLine("WAAS17 0 1 0 126 255 0 0 0 0 0 0 0");
        AddLine("sbascontrol enable auto 0 none");
    }
}

void CCommandManager::AddIonosphereLine() {
    if (m_ionosphereMode == kIonosphereKlobuchar) {
        AddLine("setionotype klobuchar");
    } else if (m_ionosphereMode == kIonosphereGrid) {
        AddLine("setionotype grid");
    } else {
        AddLine("setionotype auto");
    }
}

void CCommandManager::AddPositionLoggingLines() {
    // Rates and models go in as stored text; the receiver judges them.
    const std::string positionUpdate = m_config.GetString(kSection, "position_update", "0.1");
    const std::string dynamicsType = m_config.GetString(kSection, "dynamics_type", "air");
    const std::string velocityType = m_config.GetString(kSection, "psrvelocitytype", "DOPPLER");
    const std::string timeUpdate = m_config.GetString(kSection, "timeb_update", positionUpdate);
    const std::string rangeRate = m_config.GetString(kSection, "range_rate", "0.5");

    AddLine("pdpfilter enable");
    AddLine("pdpmode relative dynamic");
    AddLine("dynamics " + dynamicsType);
    AddLine("psrvelocitytype " + velocityType);
    AddLine("log pdpxyzb ontime " + positionUpdate);
    AddLine("log pdpstatb ontime " + positionUpdate);
    AddLine("log rangeb ontime " + rangeRate);
    AddLine("log timeb ontime " + timeUpdate);
    AddLine("log gpgsv ontime 1");
    AddLine("log gpgsa ontime 1");
    AddLine("log gpzda ontime 1");
    AddLine("log gpgst ontime 1");
    AddLine("log refstationb ontime 10");
}

void CCommandManager::AddGPSLoggingLines() {
    // Kept byte for byte, deliberately: the mixed case, the missing B of
    // "LOG PSRSATS" and the trailing blanks of the IONUTCB and GLORAWEPHEMB lines.
    static const char* const kLines[] = {
        "LOG VERSIONB ONCE",       "LOG VERSIONA ONCE",           "LOG TRACKSTATB ONTIME 1",
        "LOG PSRXYZB ONTIME 1",    "LOG RAWEPHEMB ONCHANGED",     "LOG RAWWAASFRAMEB ONNEW",
        "LOG IONUTCB ONCHANGED ",  "LOG GLORAWEPHEMB ONCHANGED ", "LOG BASESTATIONOBSB ONNEW",
        "LOG PDPPOSB ONTIME 0.5",  "LOG PSRPOSB ONTIME 0.5",      "LOG BESTPOSB ONTIME 1",
        "LOG CBITHINTA ONCHANGED", "LOG ALMANACB ONCHANGED",      "LOG GLORAWALMB ONCHANGED",
        "LOG GLOCLOCKB ONCHANGED", "LOG PSRSATS ONTIME 0.5",      "LOG RTKSATSB ONTIME 0.5",
        "LOG RTKDATAB ONNEW",      "LOG MATCHEDSATSB ONNEW",      "LOG PORTSTATSB ONTIME 10",
        "LOG RXCONFIGA ONCE",      "LOG PASSCOM2B ONCHANGED",
    };
    for (const char* line : kLines) AddLine(line);
}

bool CCommandManager::LoadInitialisations(const std::string& fileName) {
    if (fileName.empty()) return BuildConfiguration();

    std::ifstream file(fileName);
    if (!file.is_open()) {
        std::perror(fileName.c_str());
        return false;
    }
    std::list<std::string> lines;
    std::string line;
    size_t lineNumber = 0;
    // The end is tested before each read, so the read that meets it still adds
    // a line: a file ending in a newline gives a final bare "\r\n", as do empty
    // lines. Both are deliberate and kept.
    while (!file.eof()) {
        if (!std::getline(file, line) && !file.eof()) {
            std::fprintf(stderr, "%s: read failed after line %zu; initialisations not loaded\n",
                         fileName.c_str(), lineNumber);
            return false;
        }
        ++lineNumber;
        if (line.size() > kLongestInitialisationLine) {
            std::fprintf(stderr, "%s:%zu: line longer than %zu characters, sent whole\n",
                         fileName.c_str(), lineNumber, kLongestInitialisationLine);
        }
        lines.push_back(Core::Utilities::trim(line) + kLineEnd);
    }
    m_pendingCommands.swap(lines);
    return true;
}

bool CCommandManager::QueueCommands() {
    if (!m_source) return false;
    if (!m_source->IsOpen()) m_source->Open();

    for (const std::string& line : m_pendingCommands) {
        std::printf("Queueing Novatel Command '%s'\n", line.c_str());
        m_sendQueue.push_back(line);
    }
    // One-shot commands reach the receiver once; the next queueing leaves them out.
    m_pendingCommands.remove_if(IsOneShot);
    return true;
}

bool CCommandManager::SendNow(const std::string& line) {
    m_pendingCommands.push_back(line);
    if (!m_source) return false;
    if (!m_source->IsOpen()) m_source->Open();
    std::printf("Sending command '%s'\n", line.c_str());
    m_source->Write(line);
    return true;
}

std::string CCommandManager::PopNextCommand() {
    if (m_sendQueue.empty()) return std::string();
    std::string line = m_sendQueue.front();
    m_sendQueue.pop_front();
    return line;
}

void CCommandManager::CommandSent(const std::string& line) {
    if (!m_constellationManager) return;
    const std::vector<std::string> fields = Core::Utilities::SplitString(line, ' ');
    if (fields.size() < 2 || fields[0] != kSelectChannelConfig) return;
    // The line's "\r\n" stays on the last field; the parse takes it as blanks.
    int32_t configuration = 0;
    if (!Core::Utilities::ParseInt(fields[1], configuration)) return;
    m_constellationManager->ChannelConfigSelected(configuration);
}

void CCommandManager::Requeue() {
    BuildConfiguration();
    QueueCommands();
}

void CCommandManager::SetGPSLoggingEnabled(bool enabled) {
    if (enabled == m_gpsLoggingEnabled) return;
    m_gpsLoggingEnabled = enabled;
    m_config.SetInteger(kSection, kGPSLoggingKey, enabled ? 1 : 0);
    m_config.Commit();
    Requeue();

    m_logClient.Connect();
    SLoggingConfig logging = m_logClient.GetLoggingConfig(kPortHandlerClient);
    logging.recordRawData = enabled;
    m_logClient.SetLoggingConfig(kPortHandlerClient, logging);
}

bool CCommandManager::SetIonosphereMode(uint32_t mode) {
    if (mode == m_ionosphereMode) return true;
    m_ionosphereMode = mode;
    m_config.SetInteger(kSection, kIonosphereModeKey, static_cast<int32_t>(mode));
    m_config.Commit();
    Requeue();
    return true;
}

void CCommandManager::SetSBASPRN(int32_t prn) {
    if (prn == m_sbasPRN) return;
    m_sbasPRN = prn;
    m_config.SetInteger(kSection, kSBASPRNKey, prn);
    Requeue();
    m_config.Commit();
}

int CCommandManager::SetReferenceFormat(const std::string& format) {
    if (format == m_referenceFormat) return 0;
    if (!IsAcceptedReferenceFormat(format)) return -1;
    m_referenceFormat = format;
    m_config.SetString(kSection, kReferenceFormatRealKey, format);
    m_config.Commit();
    Requeue();
    return 0;
}

bool CCommandManager::SetSBASEnabled(bool enabled) {
    if (!m_constellationManager) return false;
    // Forced, so a remote choice overrides the region's default from now on.
    const bool result = m_constellationManager->SetForcedSBAS(true, enabled);
    Requeue();
    return result;
}

void CCommandManager::RefreshRegionSettings() {
    if (m_constellationManager) m_constellationManager->RefreshSettings();
    Requeue();
}

bool CCommandManager::ResetRTKFilter() {
    SendNow(std::string("rtkcommand reset") + kLineEnd);
    return true;
}

bool CCommandManager::SendFReset() {
    SendNow(std::string("FRESET STANDARD") + kLineEnd);
    QueueCommands();
    return true;
}

void CCommandManager::RequestReceiverInfo(uint32_t pauseMicroseconds) {
    // The pauses give the receiver time to answer each request in turn.
    SendNow("LOG CHANCONFIGLISTB ONCE\r\n");
    usleep(pauseMicroseconds);
    SendNow("LOG LOGLISTB ONCE\r\n");
    usleep(pauseMicroseconds);
    SendNow("LOG RXCONFIGB ONCE\r\n");
    usleep(pauseMicroseconds);
}
