#pragma once
// The whole daemon fed through a pseudo-terminal, for tests of its outputs:
// receiver log frames built field by field, the expected geodetic and UTC
// values worked out here, a running daemon on private ports with a log
// server stub that keeps every datagram, and TCP clients of its services.

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace PipelineTest {

// ---- Receiver log frames (NovAtel binary; header time in week and milliseconds) ----

struct SEpochTime {
    uint16_t week = 2300;
    uint32_t milliseconds = 475200000;
};

// A position in both forms: geodetic as chosen, ECEF from the closed-form
// WGS-84 conversion.
struct SPosition {
    double latitude = 0.0;   // degrees
    double longitude = 0.0;  // degrees
    double height = 0.0;     // metres above the ellipsoid
    double x = 0.0, y = 0.0, z = 0.0;
};
SPosition PositionAt(double latitude, double longitude, double height);

// PDPXYZ of a computed single-point solution at the position, at rest.
std::string PdpXyzFrame(const SEpochTime& time, const SPosition& position, uint8_t used = 9);
// BESTPOS carrying the geoid undulation (the height in it is not read by the daemon).
std::string BestPosFrame(const SEpochTime& time, const SPosition& position, float undulation);
// PDPSTAT: filter status 0, converged, 9 satellites, phaseUsed phase and 9 code measurements,
// then 0.35, 0.012 and 0.008.
std::string PdpStatFrame(const SEpochTime& time, uint32_t phaseUsed);
// TIME with the given header time; idleTime in half percent.
std::string TimeFrame(const SEpochTime& time, uint32_t receiverStatus = 0, uint8_t idleTime = 100);
// RXSTATUS with error word E and receiver status word S (also in the header).
std::string RxStatusFrame(const SEpochTime& time, uint32_t error, uint32_t status);
// One TRACKSTAT channel: PRN, system (0 GPS, 1 GLONASS, 2 SBAS), code lock, used.
struct SChannel {
    uint16_t prn;
    uint32_t system;
    bool locked;
    bool used;
    float carrierToNoise;
};
std::string TrackStatFrame(const SEpochTime& time, const std::vector<SChannel>& channels);
// VERSION with one GPSCARD component.
std::string VersionFrame(const SEpochTime& time, const std::string& model, const std::string& psn,
                         const std::string& hardware, const std::string& software);
// CHANCONFIGLIST: the current set (1-based) and each set's groups of (channels, signal type).
std::string ChanConfigListFrame(
    const SEpochTime& time, uint32_t current,
    const std::vector<std::vector<std::pair<uint32_t, uint32_t>>>& sets);

// "$" + body + "*" + checksum + CR LF; wrongChecksum spoils the checksum.
std::string NmeaSentence(const std::string& body, bool wrongChecksum = false);

// ---- Expected values ----

// gpsd's TPV time of a GPS time: UTC (18 leap seconds), ISO 8601 with milliseconds.
std::string TpvTime(const SEpochTime& time);

// ---- The daemon ----

// A daemon reading a pseudo-terminal (-s <pty> -u none) on private NMEA and
// position ports, reporting to a log server stub. Stopped with SIGTERM.
class CPipelineDaemon {
public:
    explicit CPipelineDaemon(const std::string& extraConfig = "");
    ~CPipelineDaemon();
    CPipelineDaemon(const CPipelineDaemon&) = delete;
    CPipelineDaemon& operator=(const CPipelineDaemon&) = delete;

    // Starts the daemon and waits until its NMEA and position ports accept; false on failure.
    bool Start();
    // Writes receiver bytes into the line, reading away the daemon's commands
    // meanwhile; false when the daemon stopped taking them for 20 s.
    bool Write(const std::string& bytes);
    // Stops the daemon (SIGTERM, SIGKILL after 20 s) and the datagram collector.
    void Stop();

    int NmeaPort() const { return m_nmeaPort; }
    int PositionPort() const { return m_positionPort; }
    int ExitStatus() const { return m_exitStatus; }
    // What the daemon wrote on standard error so far.
    std::string StandardError() const;
    // Every datagram so far (all of them once stopped), in arrival order.
    std::vector<nlohmann::json> Datagrams();
    // Values of one key, in order.
    std::vector<std::string> Values(const std::string& key);
    // The last value of a key; "" when none came.
    std::string LastValue(const std::string& key);
    // Waits up to the given time until the key has been published count times.
    bool WaitForValues(const std::string& key, size_t count, double seconds);

private:
    void Collect();

    TestSupport::TempDir m_dir;
    TestSupport::CLogServerStub m_server;
    int m_nmeaPort = 0;
    int m_positionPort = 0;
    int m_master = -1;
    int m_slave = -1;
    std::string m_ptyName;
    pid_t m_pid = -1;
    int m_exitStatus = -1;
    std::atomic<bool> m_stopCollecting{false};
    std::thread m_collector;
    std::mutex m_mutex;
    std::vector<nlohmann::json> m_datagrams;
};

// ---- Clients ----

// Sends all bytes (blocking); false on failure.
bool SendAll(int fd, const std::string& bytes);
// Reads lines (without their CR LF) until done(lines) holds, the peer closes
// or the time is up; returns what was read.
std::vector<std::string> ReadLinesUntil(
    int fd, double seconds, const std::function<bool(const std::vector<std::string>&)>& done);
// Reads whatever arrives within the time, cut into lines without their CR LF.
std::vector<std::string> ReadLinesFor(int fd, double seconds);

// Whether a program is installed there (for skipping with a message).
bool IsExecutable(const std::string& path);

}  // namespace PipelineTest
