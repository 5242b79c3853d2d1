#include "main/MainLoop.h"

#include <sys/select.h>
#include <unistd.h>

#include "io/InputOutputHandler.h"
#include "main/ProgramOptions.h"
#include "platform/Core/Time.h"

volatile std::sig_atomic_t g_stopFlag = 0;

namespace {

void OnStopSignal(int) { g_stopFlag = 1; }

// One pass over the source: 0 when it was readable but delivered nothing (the
// end of a file or replay), 1 otherwise.
int ProcessSource(CInputOutputHandler& source, bool ready) {
    if (!ready) return 1;
    ByteVector bytes = source.Read();
    return bytes.empty() ? 0 : 1;
}

}  // namespace

void InstallStopSignals() {
    struct sigaction action = {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
}

void RunMainLoop(CInputOutputHandler& source, const SProgramOptions& options) {
    Core::MonotonicTime previousEmptyPass;
    bool hadEmptyPass = false;
    while (!g_stopFlag) {
        fd_set readSet;
        fd_set writeSet;
        FD_ZERO(&readSet);
        FD_ZERO(&writeSet);
        struct timeval timeout = {0, 100000};

        if (!source.IsOpen()) source.Open();
        int descriptor = source.GetFileDescriptor();
        int largest = 0;
        if (descriptor > 0) {
            FD_SET(descriptor, &readSet);
            largest = descriptor;
        }

        int result = ::select(largest + 1, &readSet, &writeSet, nullptr, &timeout);
        if (result < 0) continue;

        bool ready = descriptor > 0 && FD_ISSET(descriptor, &readSet);
        if (ProcessSource(source, ready) == 0) {
            if (options.IsReplay() || options.IsFile()) g_stopFlag = 1;
            // A descriptor that keeps reporting readable without data (a serial
            // line that hung up) must not spin the CPU.
            Core::MonotonicTime now = Core::MonotonicTime::Now();
            if (hadEmptyPass && (now - previousEmptyPass).Seconds() < 0.5) ::usleep(10000);
            previousEmptyPass = now;
            hadEmptyPass = true;
        }
    }
}
