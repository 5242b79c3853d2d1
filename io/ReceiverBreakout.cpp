#include "io/ReceiverBreakout.h"

#include <errno.h>
#include <time.h>

#include <cstdio>
#include <iostream>
#include <string>

#include "io/InputOutputHandler.h"

namespace {

// The lb2 lines name the receiver's COM2 explicitly, so whichever receiver
// port carries them, COM1's rate and modes stay as they are. The first puts
// COM2 back to NovAtel commands in and NovAtel logs out with responses; the
// second sets it to 8N1 at 115200 without handshake or echo, with break
// detection on so a later break still reaches it.
const char* const kLB2Lines[] = {
    "interfacemode com2 novatel novatel on\r\n",
    "com com2 115200 n 8 1 n off on\r\n",
};
const double kLB2SettleSeconds = 0.25;

// break: two line breaks, then the switch to the wanted rate.
const double kBetweenBreaksSeconds = 1.5;
const double kAfterBreaksSeconds = 0.25;
const double kAfterRateCommandSeconds = 1.0;
const double kAfterReopenSeconds = 0.1;

// softbreak: "+++" needs quiet time before and after it to be taken as an
// escape rather than data.
const double kEscapeGuardSeconds = 1.5;
const double kAfterVersionSeconds = 1.0;
const double kBeforeRateChangeSeconds = 0.1;
const double kAfterRateChangeSeconds = 1.0;
const double kAfterComconfigSeconds = 0.25;

std::string ThisPortCommand(int32_t baudRate) {
    char line[64];
    std::snprintf(line, sizeof line, "com thisport %d\r\n", static_cast<int>(baudRate));
    return line;
}

void SleepSeconds(double seconds) {
    if (seconds <= 0) return;
    struct timespec left;
    left.tv_sec = static_cast<time_t>(seconds);
    left.tv_nsec = static_cast<long>((seconds - static_cast<double>(left.tv_sec)) * 1e9);
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

}  // namespace

CReceiverBreakout::CReceiverBreakout(CInputOutputHandler* source, int32_t mode)
    : m_source(source),
      m_mode(mode),
      m_baudRate(kLB2BaudRate),
      m_sleep(SleepSeconds),
      m_out(&std::cout) {}

int CReceiverBreakout::Perform() {
    switch (m_mode) {
        case MODE_NONE:
            return 1;
        case MODE_LB2:
            if (m_source) PerformLB2();
            return 1;
        case MODE_BREAK:
            if (m_source) PerformBreak();
            return 1;
        case MODE_SOFTBREAK:
            if (m_source) PerformSoftBreak();
            return 1;
        default:
            return 0;
    }
}

void CReceiverBreakout::PerformLB2() {
    OpenIfClosed();
    m_source->SetBaudRate(kLB2BaudRate);
    for (const char* line : kLB2Lines) m_source->Write(std::string(line));
    Pause(kLB2SettleSeconds);
}

void CReceiverBreakout::PerformBreak() {
    OpenIfClosed();
    m_source->SendBreak();
    Pause(kBetweenBreaksSeconds);
    m_source->SendBreak();
    Pause(kAfterBreaksSeconds);
    // After a break the receiver listens at 9600 on that port.
    m_source->SetBaudRate(kBreakoutBaudRate);
    m_source->Write(ThisPortCommand(m_baudRate));
    Pause(kAfterRateCommandSeconds);
    m_source->Close();
    m_source->SetBaudRate(m_baudRate);
    m_source->Open();
    Pause(kAfterReopenSeconds);
    m_source->IsOpen();
}

void CReceiverBreakout::PerformSoftBreak() {
    *m_out << "Performing character-based breakout" << std::endl;
    OpenIfClosed();
    m_source->SetBaudRate(kBreakoutBaudRate);
    Pause(kEscapeGuardSeconds);
    *m_out << "Sending +++" << std::endl;
    // The first escape goes without a line end and the second with one: the
    // difference is deliberate and kept.
    m_source->Write(std::string("+++"));
    Pause(kEscapeGuardSeconds);
    *m_out << "Sending +++" << std::endl;
    m_source->Write(std::string("+++\r\n"));
    Pause(kEscapeGuardSeconds);
    m_source->Write(std::string("log version\r\n"));
    Pause(kAfterVersionSeconds);
    m_source->Write(ThisPortCommand(m_baudRate));
    Pause(kBeforeRateChangeSeconds);
    m_source->SetBaudRate(m_baudRate);
    Pause(kAfterRateChangeSeconds);
    m_source->Write(std::string("log comconfig\r\n"));
    Pause(kAfterComconfigSeconds);
    *m_out << "Done" << std::endl;
}

void CReceiverBreakout::OpenIfClosed() {
    if (!m_source->IsOpen()) m_source->Open();
}

void CReceiverBreakout::Pause(double seconds) {
    if (m_sleep) m_sleep(seconds);
}
