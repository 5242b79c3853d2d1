#pragma once
// CPortHandler joins one byte source to the framers and the observers: it
// reads what the source has, cuts sentences out of it, turns each into a
// record and offers the record to every observer in order. It writes queued
// receiver commands one per pass, counts good and bad checksums, publishes
// per-log statistics, and restarts the link when nothing decodable has
// arrived for 10 s.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Core/Time.h"

class CCommandQueue;
class CConfig;
class CInputOutputHandler;
class CLogClient;
class CLogObserver;
class CReceiverBreakout;
class CSentenceConstructor;
class CStatusClient;

class CPortHandler {
public:
    // A handler publishing under the given name ("NovatelPortHandler") to the
    // log server the system configuration store names.
    explicit CPortHandler(const std::string& name);
    // As above with the given store, which must outlive the handler.
    CPortHandler(const std::string& name, CConfig& config);
    ~CPortHandler();

    CPortHandler(const CPortHandler&) = delete;
    CPortHandler& operator=(const CPortHandler&) = delete;

    // The parts it joins; none is owned.
    void SetByteSource(CInputOutputHandler* source) { m_source = source; }
    void SetFramers(const std::vector<CSentenceConstructor*>& framers) { m_framers = framers; }
    void SetObservers(const std::vector<CLogObserver*>& observers) { m_observers = observers; }
    void SetCommandManager(CCommandQueue* commandManager) { m_commandManager = commandManager; }
    // The receiver port breakout run at every link start; may be empty.
    void SetBreakout(CReceiverBreakout* breakout) { m_breakout = breakout; }

    // (Re)starts the receiver link: runs the breakout (blocking for its
    // pauses), counts the initialisation, queues the receiver configuration
    // again and arms the 10 s port time-out.
    void Start();

    // One pass; ready tells whether the source's descriptor was readable.
    // 0 when the source was readable but delivered nothing (the end of a file
    // or replay), 1 otherwise.
    int Process(bool ready);

    // Hands the raw bytes read since the last hand-over to the log client.
    void FlushRawData();

    CInputOutputHandler* GetByteSource() const { return m_source; }
    // The source's descriptor for select(); -1 without a source.
    int GetFileDescriptor() const;

    uint64_t GetGoodSentenceCount() const { return m_goodSentences; }
    uint64_t GetBadSentenceCount() const { return m_badSentences; }
    uint64_t GetReceiverInitialisations() const { return m_receiverInitialisations; }

private:
    void HandleSentence(const std::vector<uint8_t>& sentence);
    void PublishChecksumStats();
    void ArmPortTimeout(double seconds);

    CInputOutputHandler* m_source = nullptr;
    std::vector<CSentenceConstructor*> m_framers;
    std::vector<CLogObserver*> m_observers;
    CCommandQueue* m_commandManager = nullptr;
    CReceiverBreakout* m_breakout = nullptr;
    std::unique_ptr<CLogClient> m_logClient;
    std::unique_ptr<CStatusClient> m_statusClient;
    std::string m_rawBuffer;
    // Monotonic, so a step of the wall clock neither fires nor delays a restart.
    Core::MonotonicTime m_portTimeout;
    uint64_t m_goodSentences = 0;
    uint64_t m_badSentences = 0;
    uint64_t m_receiverInitialisations = 0;
    Core::MonotonicTime m_commandTimer;
    std::string m_name;
};
