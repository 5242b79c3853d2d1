#include "main/MainLoop.h"

#include <sys/select.h>
#include <unistd.h>

#include "io/InputOutputHandler.h"
#include "main/PortHandler.h"
#include "main/ProgramOptions.h"
#include "platform/Core/Time.h"
#include "platform/Net/SocketCollection.h"
#include "platform/Supervisor/ServiceNotifier.h"

volatile std::sig_atomic_t g_stopFlag = 0;

namespace {

void OnStopSignal(int) { g_stopFlag = 1; }

}  // namespace

void InstallStopSignals() {
    struct sigaction action = {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
}

void RunMainLoop(const std::vector<CPortHandler*>& portHandlers, SocketCollectionC* sockets,
                 const SProgramOptions& options) {
    // The service manager (when there is one) learns the daemon is up once
    // the loop runs, gets a watchdog ping from the loop itself, and hears of
    // a clean stop before the daemon ends.
    CServiceNotifier notifier = CServiceNotifier::FromEnvironment();
    notifier.NotifyReady();
    Core::MonotonicTime previousEmptyPass;
    while (!g_stopFlag) {
        notifier.KeepAlive(Core::MonotonicTime::Now());
        fd_set readSet;
        fd_set writeSet;
        FD_ZERO(&readSet);
        FD_ZERO(&writeSet);
        struct timeval timeout = {0, 100000};

        int largest = 0;
        for (CPortHandler* handler : portHandlers) {
            CInputOutputHandler* source = handler->GetByteSource();
            if (source && !source->IsOpen()) source->Open();
            int descriptor = handler->GetFileDescriptor();
            if (descriptor > 0 && descriptor < FD_SETSIZE) {
                FD_SET(descriptor, &readSet);
                if (descriptor > largest) largest = descriptor;
            }
        }

        if (sockets) {
            int socketLargest = sockets->AddToSets(readSet, writeSet);
            if (socketLargest > largest) largest = socketLargest;
        }

        int ready = ::select(largest + 1, &readSet, &writeSet, nullptr, &timeout);
        if (ready < 0) continue;
        if (sockets) {
            if (ready == 0 && sockets->GetServer()) sockets->GetServer()->Idle();
            sockets->HandleReady(readSet, writeSet);
        }

        for (CPortHandler* handler : portHandlers) {
            int descriptor = handler->GetFileDescriptor();
            bool ready =
                descriptor > 0 && descriptor < FD_SETSIZE && FD_ISSET(descriptor, &readSet);
            if (handler->Process(ready) != 0) continue;
            if (options.IsReplay() || options.IsFile()) g_stopFlag = 1;
            // A descriptor that keeps reporting readable without data (a serial
            // line that hung up) must not spin the CPU.
            Core::MonotonicTime now = Core::MonotonicTime::Now();
            if ((now - previousEmptyPass).Seconds() < 0.5) ::usleep(10000);
            previousEmptyPass = now;
        }
    }
    notifier.NotifyStopping();
}
