#include "LogObserver/ScreenDumpObserver.h"

#include <charconv>
#include <cstring>
#include <iostream>

#include "Logs/NovatelOEMV/NovatelBinary/NovatelResponse.h"
#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace {

// A line under construction on the stack; the packet line's longest form is well under
// its size, and anything that would not fit is cut rather than overrun.
class CLine {
public:
    CLine& operator<<(const char* text) {
        const size_t length = std::strlen(text);
        const size_t room = static_cast<size_t>(m_end - m_next);
        const size_t copied = length < room ? length : room;
        std::memcpy(m_next, text, copied);
        m_next += copied;
        return *this;
    }
    CLine& operator<<(unsigned long value) {
        m_next = std::to_chars(m_next, m_end, value).ptr;
        return *this;
    }
    // General notation with six significant digits, as a stream's default
    // formatting writes a double (printf's "%g").
    CLine& operator<<(double value) {
        m_next = std::to_chars(m_next, m_end, value, std::chars_format::general, 6).ptr;
        return *this;
    }
    // Writes the line with its end of line and flushes, like std::endl.
    void WriteTo(std::ostream& out) {
        *m_next++ = '\n';
        out.write(m_text, m_next - m_text);
        out.flush();
    }

private:
    char m_text[128];
    char* m_next = m_text;
    char* const m_end = m_text + sizeof(m_text) - 1;  // room for the end of line
};

}  // namespace

CScreenDumpObserver::CScreenDumpObserver() : m_out(std::cout) {}

void CScreenDumpObserver::NewPacket(CGPSRecord* record) {
    if (!record) return;
    Novatel::CNovatelRecord* novatel = record->AsNovatelRecord();
    if (!novatel) return;

    const unsigned long messageId = novatel->GetMessageID();
    const unsigned long bodySize = novatel->GetMessageBodySize();
    unsigned week = 0;
    double seconds = 0.0;
    novatel->GetGPSTime(week, seconds);
    // Formatted on the stack and written at once: the stream's own number
    // formatting cost more than the rest of the record's handling.
    CLine line;
    line << "ID = " << messageId << ", size = " << bodySize
         << ", week = " << static_cast<unsigned long>(week) << ", seconds = " << seconds;
    line.WriteTo(m_out);

    Novatel::CNovatelResponse* response = novatel->AsResponse();
    if (!response) return;
    m_out << "Response: Log=" << messageId << ", ID=" << response->GetResponseID() << ": \""
          << response->GetResponseText() << "\"" << std::endl;
}
