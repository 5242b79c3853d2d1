#pragma once
// Reports a fatal signal before the process dies.
//
// On SIGSEGV, SIGBUS, SIGFPE, SIGILL or SIGABRT it writes the process name,
// the signal and a backtrace to standard error, then lets the signal take its
// default action, so the exit status and a core dump stay what they would
// have been without it.

namespace Core {
namespace Utilities {

class CrashHandler {
public:
    // The process-wide handler; created on first use.
    static CrashHandler& Instance();

    // Installs the signal handlers; the name heads every report.
    void Enable(const char* processName);

private:
    CrashHandler() {}
    CrashHandler(const CrashHandler&) = delete;
    CrashHandler& operator=(const CrashHandler&) = delete;
};

}  // namespace Utilities
}  // namespace Core
