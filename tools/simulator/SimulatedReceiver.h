#pragma once
// The receiver's side of its port: takes command bytes, answers each command
// line in the receiver's abbreviated ASCII manner ("<OK" or "<ERROR:..." and
// the port prompt), keeps the requested logs and produces them as simulated
// time advances, with faults injected on request. Time advances only when
// told (Advance), so a test or a file writer runs as fast as it likes and a
// port presenter paces it by the wall clock.

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "platform/Core/ByteVector.h"
#include "tools/simulator/LogContent.h"
#include "tools/simulator/ReceiverModel.h"
#include "tools/simulator/Scenario.h"

namespace Simulator {

// Faults, all off by default. Times are simulated seconds since the start.
struct SFaultSettings {
    double silenceStart = -1.0;    // nothing at all leaves the receiver from here ...
    double silenceSeconds = 0.0;   // ... for this long
    uint32_t corruptEvery = 0;     // every Nth binary log gets a wrong CRC
    uint32_t garbageBytes = 0;     // this many junk bytes once per simulated second
    double phaseDropStart = -1.0;  // from here PDPSTAT reports no phase measurements ...
    uint32_t phaseDropEpochs = 0;  // ... in this many PDPSTAT logs
};

struct SReceiverSettings {
    SScenarioSettings scenario;
    bool glonassModel = true;  // model "L12LGRV"; without GLONASS "L12LRV"
    std::string softwareVersion = "L6X10200";
    uint32_t baudRate = 9600;         // COM1 at power-up
    uint32_t channelSet = 1;          // configuration set in use at power-up
    double baseNorthMetres = 1500.0;  // reference station relative to the antenna
    double baseEastMetres = 800.0;
    SFaultSettings faults;
};

enum ETrigger { kOnce, kOnTime, kOnChanged, kOnNew };

// One log the port was asked for.
struct SActiveLog {
    SLogName name;
    ETrigger trigger = kOnce;
    uint32_t periodMs = 0;  // ONTIME period
    ByteVector lastBody;    // ONCHANGED: the body last output
    double lastOutput = -1.0;
};

class CSimulatedReceiver {
public:
    // The simulated step: the receiver's fastest log rate is 20 Hz.
    static const uint32_t kStepMs = 50;

    explicit CSimulatedReceiver(const SReceiverSettings& settings);

    // Bytes arriving on the port; complete command lines are acted on at once.
    void Receive(const uint8_t* bytes, size_t count);
    void Receive(const std::string& text);
    // Moves simulated time on by at least milliseconds (whole steps),
    // producing every log that falls due.
    void Advance(uint32_t milliseconds);
    // Everything output since the last call.
    ByteVector TakeOutput();
    // When set, every command line executed is written there as "> line".
    void SetTrace(FILE* trace) { m_trace = trace; }

    double GetElapsedSeconds() const { return m_elapsedMs / 1000.0; }
    // The current GPS time in seconds since the GPS epoch.
    double GetGpsSeconds() const { return (m_startMs + m_elapsedMs) / 1000.0; }
    uint32_t GetBaudRate() const { return m_ports[0].baud; }
    uint32_t GetCurrentChannelSet() const { return m_channelSet; }
    uint32_t GetResetCount() const { return m_resets; }
    const std::vector<SActiveLog>& GetActiveLogs() const { return m_logs; }
    const std::vector<SPortConfig>& GetPorts() const { return m_ports; }
    const std::vector<ChannelSet>& GetChannelSets() const { return m_channelSets; }
    // The snapshot of the current instant, as the logs see it; without the
    // sky (satellites, antenna) when no log due needs it.
    SSnapshot Snapshot(bool withSky = true);

private:
    void Execute(const std::string& line);
    void CommandLog(const std::vector<std::string>& words);
    void CommandUnlog(const std::vector<std::string>& words);
    void CommandCom(const std::vector<std::string>& words);
    void CommandInterfaceMode(const std::vector<std::string>& words);
    void CommandSelectChanConfig(const std::vector<std::string>& words);
    void Restart(bool factoryDefaults);
    void Respond(const std::string& text);
    void Prompt();

    void Step();
    void OutputLog(SActiveLog& log, const SSnapshot& snapshot);
    void Emit(const std::string& text);
    void EmitFrame(ByteVector frame);
    bool IsSilent() const;
    SPortConfig* FindPort(const std::string& word);
    bool CommandsAccepted() const;

    SReceiverSettings m_settings;
    CScenario m_scenario;
    SReceiverIdentity m_identity;
    std::vector<SPortConfig> m_ports;  // COM1 (this port) first
    std::vector<ChannelSet> m_channelSets;
    uint32_t m_channelSet;
    std::vector<SActiveLog> m_logs;
    std::map<uint32_t, double> m_lockStart;  // satellite key -> elapsed seconds at lock
    SVector m_base;

    uint64_t m_elapsedMs = 0;
    uint64_t m_startMs = 0;        // GPS milliseconds since the GPS epoch at elapsed 0
    uint64_t m_rebootUntilMs = 0;  // after a reset: silent and deaf until then
    bool m_rebooting = false;
    uint32_t m_resets = 0;
    uint32_t m_binaryFrames = 0;
    uint32_t m_pdpStatEpochs = 0;  // PDPSTAT logs output since the phase drop began
    uint16_t m_sequence = 0;
    uint32_t m_garbageSeed = 12345;
    std::string m_input;
    ByteVector m_output;
    FILE* m_trace = nullptr;
};

}  // namespace Simulator
