#pragma once
// CCommandManager owns everything the daemon says to the receiver. It builds
// the receiver configuration (the ordered command lines that put the receiver
// into the state the daemon needs) into a pending list, moves that list into a
// send queue from which the port handler writes one line per pass, and sends
// single commands at once for the remote method server. Its settings (extra
// logging, ionosphere model, SBAS PRN, reference correction format) live in
// the configuration store, section "Quillond"; a change is written there and
// the configuration is rebuilt and queued again. As the last observer it asks
// for a new configuration whenever the constellation manager wants another
// channel configuration. Sequence and keys: docs/receiver-configuration.md.

#include <cstdint>
#include <deque>
#include <list>
#include <string>

#include "LogObserver/LogObserver.h"
#include "control/CommandQueue.h"
#include "platform/Logging/LogClient.h"

class CConfig;
class CConstellationManager;
class CGPSRecord;
class CInputOutputHandler;
class CReceiverStatusObserver;

class CCommandManager : public CLogObserver, public CCommandQueue {
public:
    // A manager on the system configuration store.
    CCommandManager();
    // A manager on the given store, which must outlive it.
    explicit CCommandManager(CConfig& config);
    ~CCommandManager() override;

    CCommandManager(const CCommandManager&) = delete;
    CCommandManager& operator=(const CCommandManager&) = delete;

    // Rebuilds and requeues the configuration while the constellation manager
    // wants another channel configuration; the record itself is not looked at.
    void NewPacket(CGPSRecord* record) override;

    // The receiver port; not owned. Nothing is queued or sent without it.
    void SetByteSource(CInputOutputHandler* source) { m_source = source; }
    // Kept for the start-up wiring; no operation here uses it.
    void SetStatusObserver(CReceiverStatusObserver* statusObserver) {
        m_statusObserver = statusObserver;
    }
    // Not owned; may stay null, which means no channel configuration choice and no SBAS.
    void SetConstellationManager(CConstellationManager* constellationManager) {
        m_constellationManager = constellationManager;
    }
    CConstellationManager* GetConstellationManager() const { return m_constellationManager; }

    // Reads the settings from the store and builds the receiver configuration
    // into the pending list, emptying the send queue first. Sends nothing.
    // Always true.
    bool BuildConfiguration();
    // With an empty name, BuildConfiguration. Otherwise the pending list
    // becomes the file's lines, trimmed, each closed by "\r\n"; false, with
    // the list unchanged, when the file cannot be read.
    bool LoadInitialisations(const std::string& fileName);

    // Copies the pending list into the send queue (opening the byte source if
    // needed) and drops the one-shot lines (channel selection, resets) from
    // the pending list. False when no byte source is set.
    bool QueueCommands() override;
    // Adds the line (with its "\r\n") to the pending list and writes it to the
    // byte source at once, opening it if needed. False when no byte source is set.
    bool SendNow(const std::string& line);
    // Removes and returns the front of the send queue; "" when it is empty.
    std::string PopNextCommand() override;
    // Tells the constellation manager when a "selectchanconfig" line has gone out.
    void CommandSent(const std::string& line) override;

    // Setters: a changed value is stored, written to the store and committed,
    // and the configuration is rebuilt and queued; an unchanged value does nothing.

    // Also sets the raw-data recording of the port handler's log client to the flag.
    void SetGPSLoggingEnabled(bool enabled);
    // Any value is stored; the next build takes 4 and above as 0. Always true.
    bool SetIonosphereMode(uint32_t mode);
    // 0 selects the SBAS satellite automatically.
    void SetSBASPRN(int32_t prn);
    // Accepts "ZOKA1", "CMR", "RTCM3" and "RTCM2"; 0 when set or unchanged,
    // non-zero (and nothing changed) for anything else.
    int SetReferenceFormat(const std::string& format);
    // Forces the SBAS choice through the constellation manager, then rebuilds
    // and queues. The constellation manager's result; false without one.
    bool SetSBASEnabled(bool enabled);
    // Lets the constellation manager reread the region, then rebuilds and queues.
    void RefreshRegionSettings();

    // Sends "rtkcommand reset" at once. Always true.
    bool ResetRTKFilter();
    // Sends "FRESET STANDARD" at once, then queues the configuration. Always true.
    bool SendFReset();
    // Asks the receiver for its channel configurations, logs and configuration,
    // pausing the given time after each request.
    void RequestReceiverInfo(uint32_t pauseMicroseconds);

    bool GetGPSLoggingEnabled() const { return m_gpsLoggingEnabled; }
    uint32_t GetIonosphereMode() const { return m_ionosphereMode; }
    int32_t GetSBASPRN() const { return m_sbasPRN; }
    std::string GetReferenceFormat() const { return m_referenceFormat; }

    // The lines sent again by the next QueueCommands, and those waiting to be written.
    const std::list<std::string>& GetPendingCommands() const { return m_pendingCommands; }
    const std::deque<std::string>& GetSendQueue() const { return m_sendQueue; }

private:
    // Reads the settings BuildConfiguration uses into the members.
    void ReadSettings();
    // Appends text + "\r\n" to the pending list.
    void AddLine(const std::string& text);
    void AddSBASLines();
    void AddIonosphereLine();
    void AddPositionLoggingLines();
    void AddGPSLoggingLines();
    void Requeue();

    std::list<std::string> m_pendingCommands;
    std::deque<std::string> m_sendQueue;
    CInputOutputHandler* m_source = nullptr;
    CReceiverStatusObserver* m_statusObserver = nullptr;
    CConstellationManager* m_constellationManager = nullptr;
    bool m_gpsLoggingEnabled = false;
    uint32_t m_ionosphereMode = 0;
    int32_t m_sbasPRN = 0;
    std::string m_referenceFormat;
    CConfig& m_config;
    // Reaches the logging configuration of the port handler's client.
    CLogClient m_logClient;
};
