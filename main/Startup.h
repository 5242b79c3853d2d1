#pragma once
// Start-up steps of the daemon that stand on their own.

#include <memory>

class CInputOutputHandler;
struct SProgramOptions;

// Switches the process to SCHED_FIFO priority 49. A refusal (no root rights)
// is reported with perror and start-up goes on: the step always succeeds, so a
// daemon without the right still runs at normal priority.
bool ElevatePriority();

// The byte source for the io type, configured with baud rate, read size and
// input name in that order (a port-router source also gets its socket path
// pattern from the store's Quillond/tolvek_socket_path); empty for an io type this build has no source for
// (the caller reports it and exits).
std::unique_ptr<CInputOutputHandler> CreateByteSource(const SProgramOptions& options);

// Makes sure descriptors 0, 1 and 2 are open (on /dev/null when they were
// closed), so no source ever gets descriptor 0, which the main loop does not watch.
void ReserveStandardDescriptors();
