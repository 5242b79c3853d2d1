#pragma once
// quillond-logserver as a child process on a private UDP port, with its
// output collected in files, and a UDP socket to send it datagrams.

#include <sys/types.h>

#include <string>
#include <vector>

#include "tests/support/TestSupport.h"

namespace LogServerTesting {

// A UDP port on 127.0.0.1 that was free a moment ago (bound once, then released).
int FreeUdpPort();

class CLogServerProcess {
public:
    // Starts the tool on a free port with --port and the given extra options,
    // its standard output and error going to files in dir, and waits until it
    // listens. configPath becomes its QUILLOND_CONFIG.
    CLogServerProcess(const TestSupport::TempDir& dir, const std::vector<std::string>& options,
                      const std::string& configPath);
    // Kills the tool if it still runs.
    ~CLogServerProcess();
    CLogServerProcess(const CLogServerProcess&) = delete;
    CLogServerProcess& operator=(const CLogServerProcess&) = delete;

    int Port() const { return m_port; }
    bool IsListening() const { return m_listening; }

    // Sends one datagram to the tool.
    void Send(const std::string& payload) const;
    // Asks the tool to stop (SIGTERM) and collects what it left.
    TestSupport::SProcessResult Stop();
    // Waits for the tool to end by itself, at most timeoutSeconds.
    TestSupport::SProcessResult Wait(double timeoutSeconds);

private:
    TestSupport::SProcessResult Collect(double timeoutSeconds);

    std::string m_stdoutPath;
    std::string m_stderrPath;
    int m_port = 0;
    int m_socket = -1;
    pid_t m_pid = -1;
    bool m_listening = false;
};

// The lines of a text.
std::vector<std::string> Lines(const std::string& text);

}  // namespace LogServerTesting
