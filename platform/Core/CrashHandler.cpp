#include "platform/Core/CrashHandler.h"

#include <execinfo.h>
#include <signal.h>
#include <string.h>
#include <unistd.h>

namespace Core {
namespace Utilities {

namespace {

const int kFatalSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
const int kMaxFrames = 64;

// Everything the handler touches is set up before any signal can arrive:
// it may only call async-signal-safe functions.
char g_processName[64] = "unknown";
// A stack of its own lets the handler report a stack overflow.
char g_alternateStack[64 * 1024];

const char* SignalName(int signalNumber) {
    switch (signalNumber) {
        case SIGSEGV:
            return "SIGSEGV (segmentation fault)";
        case SIGBUS:
            return "SIGBUS (bus error)";
        case SIGFPE:
            return "SIGFPE (arithmetic exception)";
        case SIGILL:
            return "SIGILL (illegal instruction)";
        case SIGABRT:
            return "SIGABRT (aborted)";
        default:
            return "unexpected signal";
    }
}

void WriteText(const char* text) {
    size_t length = strlen(text);
    while (length > 0) {
        ssize_t written = ::write(STDERR_FILENO, text, length);
        if (written <= 0) return;
        text += written;
        length -= static_cast<size_t>(written);
    }
}

void WriteNumber(int number) {
    char digits[12];
    int position = static_cast<int>(sizeof digits) - 1;
    digits[position] = '\0';
    unsigned int value =
        number < 0 ? 0u - static_cast<unsigned int>(number) : static_cast<unsigned int>(number);
    do {
        digits[--position] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0 && position > 1);
    if (number < 0) digits[--position] = '-';
    WriteText(digits + position);
}

// With the default action restored and the signal unblocked, raising it
// again ends the process here, as it would have ended without us (exit
// status and core dump included), without returning to the faulting code.
void DieOf(int signalNumber) {
    ::signal(signalNumber, SIG_DFL);
    sigset_t pending;
    sigemptyset(&pending);
    sigaddset(&pending, signalNumber);
    ::sigprocmask(SIG_UNBLOCK, &pending, nullptr);
    ::raise(signalNumber);
}

// The signal being reported; a second fault while reporting (an unwinder
// that cannot walk the stack) ends the process with the first one.
volatile sig_atomic_t g_reportedSignal = 0;

void OnFatalSignal(int signalNumber) {
    if (g_reportedSignal != 0) DieOf(g_reportedSignal);
    g_reportedSignal = signalNumber;

    WriteText(g_processName);
    WriteText(": fatal signal ");
    WriteNumber(signalNumber);
    WriteText(" ");
    WriteText(SignalName(signalNumber));
    WriteText(", backtrace:\n");
    void* frames[kMaxFrames];
    int count = ::backtrace(frames, kMaxFrames);
    ::backtrace_symbols_fd(frames, count, STDERR_FILENO);

    DieOf(signalNumber);
}

}  // namespace

CrashHandler& CrashHandler::Instance() {
    static CrashHandler handler;
    return handler;
}

void CrashHandler::Enable(const char* processName) {
    strncpy(g_processName, processName, sizeof g_processName - 1);
    g_processName[sizeof g_processName - 1] = '\0';

    // backtrace() loads its unwinder on first use, which allocates; do that now.
    void* warmUp[1];
    ::backtrace(warmUp, 1);

    stack_t stack;
    stack.ss_sp = g_alternateStack;
    stack.ss_size = sizeof g_alternateStack;
    stack.ss_flags = 0;
    ::sigaltstack(&stack, nullptr);

    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = OnFatalSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_ONSTACK;
    for (int signalNumber : kFatalSignals) ::sigaction(signalNumber, &action, nullptr);
}

}  // namespace Utilities
}  // namespace Core
