#pragma once
// Helpers for the fault tests: a daemon (or tool) started as a child process
// that the test can watch and stop at a moment of its choosing, TCP clients on
// loopback, and recorded logs of a chosen length to replay.

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/support/TestSupport.h"

namespace FaultSupport {

// A child process whose standard output and error go to files in a private
// directory. The destructor kills a child still running.
class CChild {
public:
    // Starts argv (argv[0] a path) with the extra environment variables. With
    // fileSizeLimit > 0 the child may write no file beyond that many bytes and
    // ignores SIGXFSZ, so writing past it fails as on a full disk.
    CChild(const std::vector<std::string>& argv,
           const std::map<std::string, std::string>& environment = {}, long fileSizeLimit = 0);
    ~CChild();
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

    pid_t Pid() const { return m_pid; }
    // True while the child has not ended.
    bool Running();
    // Sends the signal, waits at most the given time for the end, then
    // SIGKILL. The exit code, or 128 + signal number when a signal ended it.
    int Stop(int signal = 15, double seconds = 20.0);
    // Waits at most the given time for the child to end by itself; -1 when it did not.
    int WaitForExit(double seconds);
    // Waits until the output (standard output, or error) holds text; false when it never did.
    bool WaitForOutput(const std::string& text, double seconds, bool standardError = false);

    std::string StandardOutput() const;
    std::string StandardError() const;

private:
    TestSupport::TempDir m_dir;
    pid_t m_pid = -1;
    int m_status = -1;  // exit status once reaped
};

using TestSupport::ConnectLoopback;

// Reads from fd until text has arrived (returns everything read) or the time is up.
std::string ReadUntil(int fd, const std::string& text, double seconds);

// A recorded log (docs/recorded-log.md) of count records spacing seconds apart,
// each holding the given NMEA sentence.
std::string RecordedLog(int count, double spacing, const std::string& sentence);

// A TIMEB frame whose header's week number marks it, so the daemon's screen
// dump (-d) shows which frames it processed ("week = N,").
std::string MarkedFrame(uint16_t week);

// An NMEA sentence of the given body ("GPZDA,...") with its checksum and line end.
std::string NmeaSentence(const std::string& body);

// Sleeps for the given number of seconds.
void Pause(double seconds);

}  // namespace FaultSupport
