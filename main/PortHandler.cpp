#include "main/PortHandler.h"

#include <charconv>

#include "LogObserver/LogObserver.h"
#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "Logs/NovatelOEMV/SentenceConstructor.h"
#include "control/CommandQueue.h"
#include "io/InputOutputHandler.h"
#include "io/ReceiverBreakout.h"
#include "platform/Config/Config.h"
#include "platform/Logging/LogClient.h"
#include "platform/Logging/StatusClient.h"

namespace {

// Silence allowed before the first Start, and between decodable records after it.
const double kInitialPortTimeoutSeconds = 30.0;
const double kPortTimeoutSeconds = 10.0;
// From this many link starts on, the link is reported as restarting too often.
const uint64_t kRestartsBeforeAlarm = 10;
// Raw bytes are handed over once more than this many have collected.
const size_t kRawBlockThreshold = 1023;
// How long an empty command queue is left alone.
const double kCommandIdleSeconds = 0.1;

}  // namespace

CPortHandler::CPortHandler(const std::string& name)
    : CPortHandler(name, CConfig::GetSystemConfig()) {}

CPortHandler::CPortHandler(const std::string& name, CConfig& config)
    : m_logClient(new CLogClient(name, config)),
      m_statusClient(new CStatusClient(name, config)),
      m_name(name) {
    ArmPortTimeout(kInitialPortTimeoutSeconds);
    m_logClient->PublishValue("started", "%s", "started");
}

CPortHandler::~CPortHandler() {
    FlushRawData();
    // Spelled so on purpose: the device's monitoring matches this value.
    m_logClient->PublishValue("started", "%s", "exitted");
}

void CPortHandler::Start() {
    if (m_breakout) m_breakout->Perform();
    ++m_receiverInitialisations;
    m_logClient->PublishValue("receiver_initialisations", "%d",
                              static_cast<int>(m_receiverInitialisations));
    if (m_commandManager) m_commandManager->QueueCommands();
    if (m_receiverInitialisations >= kRestartsBeforeAlarm) {
        m_statusClient->RaiseCondition(CStatusClient::kRestartsExceededCondition, 1);
    }
    ArmPortTimeout(kPortTimeoutSeconds);
}

int CPortHandler::Process(bool ready) {
    if (m_commandManager && m_commandTimer.HasExpired()) {
        std::string command = m_commandManager->PopNextCommand();
        if (!command.empty()) {
            m_logClient->LogLine("Sending buffered command: %s", command.c_str());
            if (m_source) m_source->Write(command);
            m_commandManager->CommandSent(command);
            // The timer stays expired, so queued lines leave one per pass.
            return 1;
        }
        m_commandTimer = Core::MonotonicTime::Now() + Core::Time::FromSeconds(kCommandIdleSeconds);
    }

    if (m_portTimeout.HasExpired()) {
        m_logClient->LogEvent("QuillondPortTimeout");
        m_statusClient->RaiseCondition(CStatusClient::kPortTimeoutCondition, 1);
        if (m_source) m_source->Close();
        Start();
        return 1;
    }

    if (!ready || !m_source) return 1;

    ByteVector bytes = m_source->Read();
    if (bytes.empty()) return 0;
    m_statusClient->DataArrived();

    ByteVector sentence;
    for (CSentenceConstructor* framer : m_framers) {
        framer->AddData(bytes);
        for (;;) {
            int result = framer->GetSentence(sentence);
            if (result == 1) {
                ++m_goodSentences;
                HandleSentence(sentence);
                PublishChecksumStats();
            } else if (result == -1) {
                ++m_badSentences;
                PublishChecksumStats();
            } else {
                break;
            }
        }
    }

    // One copy of the block (appending through the vector's iterators went byte by byte).
    m_rawBuffer.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (m_rawBuffer.size() > kRawBlockThreshold) FlushRawData();
    return 1;
}

void CPortHandler::FlushRawData() {
    if (m_rawBuffer.empty()) return;
    m_logClient->SendRawData(m_name, m_rawBuffer);
    m_rawBuffer.clear();
}

int CPortHandler::GetFileDescriptor() const {
    return m_source ? m_source->GetFileDescriptor() : -1;
}

void CPortHandler::HandleSentence(const ByteVector& sentence) {
    m_statusClient->SentenceArrived();
    std::unique_ptr<CGPSRecord> record(CreateRecord(sentence));
    if (!record) return;

    for (CLogObserver* observer : m_observers) observer->NewPacket(record.get());

    unsigned week = 0;
    double seconds = 0.0;
    record->GetGPSTime(week, seconds);
    // "QLS_" and the message id, written without a string of its own per record.
    char key[16] = "QLS_";
    *std::to_chars(key + 4, key + sizeof(key) - 1, record->GetMessageID()).ptr = '\0';
    m_logClient->PublishValue(key, "%lf,%d,%lf", Core::Time::Now().AsDouble(),
                              static_cast<int>(record->GetTimeStatus()), seconds);
    ArmPortTimeout(kPortTimeoutSeconds);
}

void CPortHandler::PublishChecksumStats() {
    m_logClient->PublishValue("checksum_stats", "%d,%d", static_cast<int>(m_goodSentences),
                              static_cast<int>(m_badSentences));
}

void CPortHandler::ArmPortTimeout(double seconds) {
    m_portTimeout = Core::MonotonicTime::Now() + Core::Time::FromSeconds(seconds);
}
