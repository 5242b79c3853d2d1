#pragma once
// Brings the receiver port back to a known rate and interface mode before the
// link is (re)started: an earlier user may have left it at another baud rate
// or in another mode. The port handler runs it at every link start, before the
// receiver configuration is queued. It talks to the receiver only through the
// byte source.
//
// Its pauses block the caller (about 3.5 s for break, 6.85 s for softbreak):
// the receiver needs the quiet time around "+++" and after each rate change.

#include <cstdint>
#include <functional>
#include <ostream>
#include <utility>

class CInputOutputHandler;

class CReceiverBreakout {
public:
    // Mode codes, as option -u names them: "none", "lb2", "break", "softbreak".
    enum EMode {
        MODE_NONE = 0,
        MODE_LB2 = 1,
        MODE_BREAK = 2,
        MODE_SOFTBREAK = 3,
    };

    // The rate the lb2 sequence runs the port at, whatever rate is wanted.
    static constexpr int32_t kLB2BaudRate = 115200;
    // The rate break and softbreak talk to a port at before switching it.
    static constexpr int32_t kBreakoutBaudRate = 9600;

    // Waits the given seconds; the default sleeps for real.
    using SleepFunction = std::function<void(double seconds)>;

    // source is not owned and must outlive the object; mode is one of EMode
    // (any other value makes Perform refuse).
    CReceiverBreakout(CInputOutputHandler* source, int32_t mode);

    // The rate the port is to run at after break and softbreak (115200 until set).
    void SetBaudRate(int32_t baudRate) { m_baudRate = baudRate; }
    int32_t GetBaudRate() const { return m_baudRate; }
    int32_t GetMode() const { return m_mode; }

    // Replaces the pause between steps (tests record the pauses instead of waiting).
    void SetSleep(SleepFunction sleep) { m_sleep = std::move(sleep); }
    // Where softbreak prints its progress lines; standard output unless set.
    void SetOutput(std::ostream& out) { m_out = &out; }

    // Runs the mode's sequence on the source: 1 on completion (mode none does
    // nothing), 0 for an unknown mode, which touches nothing.
    int Perform();

private:
    void PerformLB2();
    void PerformBreak();
    void PerformSoftBreak();
    void OpenIfClosed();
    void Pause(double seconds);

    CInputOutputHandler* m_source;
    int32_t m_mode;
    int32_t m_baudRate;
    SleepFunction m_sleep;
    std::ostream* m_out;
};
