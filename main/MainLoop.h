#pragma once
// The daemon's single select loop.

#include <csignal>
#include <vector>

class CPortHandler;
class SocketCollectionC;
struct SProgramOptions;

// Set to end the main loop after the current pass: by the loop itself when a
// file or replay source runs dry, and by SIGTERM or SIGINT.
extern volatile std::sig_atomic_t g_stopFlag;

// Sets the stop flag on SIGTERM and SIGINT, so the daemon ends its loop and
// cleans up, and ignores SIGPIPE, so a peer that went away never kills it.
void InstallStopSignals();

// Runs passes until the stop flag is set: opens each handler's source when it
// is closed, waits at most 100 ms for a source or a socket of the collection
// (may be null) to become ready, runs the collection's server's Idle when the
// wait timed out, lets the collection serve its sockets and every handler
// process its source. Tells the service manager named by $NOTIFY_SOCKET that
// the daemon is ready, pings its watchdog from the loop and says when it stops.
void RunMainLoop(const std::vector<CPortHandler*>& portHandlers, SocketCollectionC* sockets,
                 const SProgramOptions& options);
