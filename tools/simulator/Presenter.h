#pragma once
// How the simulated receiver meets the outside: live on a pseudo-terminal or
// a port-router socket, paced by the wall clock, or written to a raw capture
// or a recorded log as fast as it can be computed.

#include <csignal>
#include <string>
#include <vector>

#include "tools/simulator/SimulatedReceiver.h"

namespace Simulator {

// The log requests the daemon makes at start-up, for output nobody commands.
std::vector<std::string> DaemonLogRequests();

// A pseudo-terminal whose slave side stands for the receiver's serial port.
// The master is non-blocking and raw; a slave descriptor is kept open so the
// master keeps working while no client has the port open.
struct SPseudoTerminal {
    int master = -1;
    int slave = -1;
    std::string slavePath;
};
bool OpenPseudoTerminal(SPseudoTerminal& terminal, std::string& error);

// A listening Unix stream socket at path (an old socket file there is replaced).
int ListenOnUnixSocket(const std::string& path, std::string& error);

struct SLiveSettings {
    int ptyMaster = -1;     // the pseudo-terminal's master, or -1
    int listenSocket = -1;  // the port-router socket, or -1
    double seconds = 0.0;   // 0: until stop is set
    // Pseudo-terminal only: when the line speed the client set differs from
    // COM1's rate, input is lost and output arrives as junk, as on a serial
    // line at the wrong rate.
    bool strictBaud = false;
    volatile std::sig_atomic_t* stop = nullptr;
};

// Runs the receiver in real time until stop is set or the time is up. Input
// from the client is handed to the receiver; its output is written without
// blocking, and what a full port cannot take is dropped, as on a serial line
// nobody reads. The socket serves one client at a time; a newer one replaces it.
void RunLive(CSimulatedReceiver& receiver, const SLiveSettings& settings);

enum EFileKind { kRawCapture, kRecordedLog };

// Writes seconds of simulated output to path; false with a message on failure.
// A recorded log stamps each step's bytes with their GPS time in seconds.
bool WriteOutputFile(CSimulatedReceiver& receiver, const std::string& path, EFileKind kind,
                     double seconds, std::string& error);

}  // namespace Simulator
