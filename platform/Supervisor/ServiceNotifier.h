#pragma once
// The service manager's notification protocol: one-line datagrams ("READY=1",
// "WATCHDOG=1", "STOPPING=1") sent to the Unix socket named by $NOTIFY_SOCKET,
// so the manager knows when the daemon is up, that its loop still turns, and
// that a stop is on purpose. Without $NOTIFY_SOCKET every call does nothing.

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "platform/Core/Time.h"

class CServiceNotifier {
public:
    // The settings the manager passed in the environment: $NOTIFY_SOCKET,
    // $WATCHDOG_USEC and $WATCHDOG_PID (the watchdog is this process's only
    // when that names it or is unset).
    static CServiceNotifier FromEnvironment();

    // socketPath: a filesystem path, or "@name" for an abstract socket; empty
    // disables notification. watchdogMicroseconds: 0 for no watchdog.
    CServiceNotifier(const std::string& socketPath, uint64_t watchdogMicroseconds);
    ~CServiceNotifier();

    CServiceNotifier(CServiceNotifier&& other) noexcept;
    CServiceNotifier(const CServiceNotifier&) = delete;
    CServiceNotifier& operator=(const CServiceNotifier&) = delete;
    CServiceNotifier& operator=(CServiceNotifier&&) = delete;

    bool IsEnabled() const { return !m_socketPath.empty(); }
    // The interval the manager expects pings within; 0 when it expects none.
    uint64_t WatchdogMicroseconds() const { return m_watchdogMicroseconds; }

    // Tells the manager the daemon is serving.
    bool NotifyReady() { return Send("READY=1"); }
    // Tells the manager the daemon is ending by choice, not failing.
    bool NotifyStopping() { return Send("STOPPING=1"); }
    // Sends "WATCHDOG=1" when half the watchdog interval has passed since the
    // last ping (or since ready); called on every pass of the main loop, so a
    // loop that stops turning stops the pings.
    void KeepAlive(Core::MonotonicTime now);

    // Sends one message without waiting; false when it could not be sent. A
    // failure is reported once on standard error, not on every ping.
    bool Send(const std::string& message);

private:
    std::string m_socketPath;
    uint64_t m_watchdogMicroseconds;
    int m_socket = -1;
    bool m_pinged = false;  // m_lastPing holds a time
    Core::MonotonicTime m_lastPing;
    bool m_failureReported = false;
};
