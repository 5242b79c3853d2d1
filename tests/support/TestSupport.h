#pragma once
// Shared helpers for the tests: private temporary directories, whole-file
// access, child processes with captured output, and the real recordings.

#include <map>
#include <string>
#include <vector>

namespace TestSupport {

// A fresh directory under $TMPDIR (or /tmp), removed with its contents when
// the object goes away, so parallel tests never share a path.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return m_path; }
    // Path of a file inside the directory.
    std::string File(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

std::string ReadWholeFile(const std::string& path);
void WriteWholeFile(const std::string& path, const std::string& contents);

// What a finished child process left behind.
struct SProcessResult {
    int exitStatus = -1;  // exit code, or 128 + signal number when killed by a signal
    bool signalled = false;
    std::string standardOutput;
    std::string standardError;
};

// Runs a program to its end with the given arguments (argv[0] included) and
// extra environment variables, feeding it no standard input. A child still
// running after timeoutSeconds gets timeoutSignal (and SIGKILL 10 s later),
// so a daemon that runs until told to stop can be ended the normal way.
// A TCP connection to 127.0.0.1:port, retried every 20 ms for up to `seconds`
// while the server starts; the descriptor, or -1.
int ConnectLoopback(int port, double seconds);

SProcessResult RunProcess(const std::vector<std::string>& argv,
                          const std::map<std::string, std::string>& environment = {},
                          double timeoutSeconds = 60.0, int timeoutSignal = 9);

// Path of an executable built into build/bin.
std::string BuiltProgram(const std::string& name);

// Path of a real recording in the shared captures directory, or "" when that
// file is not there (the caller then skips with a message).
std::string CapturePath(const std::string& name);

// The daemon's screen dump lines in its standard output (one per record, one
// more per command response), without the command path's progress lines and
// the replay's pacing lines, whose place among them depends on timing.
std::vector<std::string> ScreenDumpLines(const std::string& standardOutput);

}  // namespace TestSupport

// Skips the current test when the named recording is absent.
#define QUILLOND_REQUIRE_CAPTURE(var, name)                 \
    const std::string var = TestSupport::CapturePath(name); \
    if (var.empty())                                        \
    GTEST_SKIP() << "recording " << (name) << " not found in " << QUILLOND_CAPTURES_DIR
