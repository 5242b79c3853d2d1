#include "tools/logserver/Output.h"

#include <vector>

namespace LogServer {

namespace {

using Json = nlohmann::json;

// Long values and lines are cut to this many bytes in the live view.
const size_t kShownWidth = 200;

// Every line the server prints is safe to show: bytes that are not UTF-8 are replaced.
std::string Dump(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Text from a datagram with its control characters (a terminal would obey
// them) shown as '?'.
std::string Printable(const std::string& text) {
    std::string shown = text;
    for (char& c : shown) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) c = '?';
    }
    return shown;
}

std::string AlarmText(int64_t code, int64_t index, const SActiveAlarm& alarm) {
    return "alarm " + std::to_string(code) + "/" + std::to_string(index) + " argument " +
           std::to_string(alarm.argument) + " raised by " + alarm.client + " at " +
           ClockText(alarm.time);
}

}  // namespace

COutput::COutput(EMode mode, FILE* stream, const CServerState& state)
    : m_mode(mode), m_stream(stream), m_state(state) {}

void COutput::Started(const std::string& address, int port, const std::string& recordDirectory) {
    const std::string recording = recordDirectory.empty() ? "" : recordDirectory;
    if (m_mode == kJsonLines) {
        Line({{"logserver", "listening"},
              {"address", address},
              {"port", port},
              {"record_dir", recording}});
    } else {
        Plain("listening on " + address + " port " + std::to_string(port) +
              (recording.empty() ? ", raw data not recorded"
                                 : ", recording raw data into " + recording));
    }
}

void COutput::Datagram(const SDatagram& datagram) {
    m_dirty = true;
    if (m_mode == kJsonLines) {
        Line({{"logserver", "datagram"}, {"datagram", datagram.json}});
        return;
    }
    if (m_mode != kPlainLines) return;
    std::string text = ClockText(datagram.time) + " " + datagram.client + " ";
    if (datagram.type == "value") {
        text += datagram.key + " = " + datagram.text;
    } else if (datagram.type == "line") {
        text += "line " + std::to_string(datagram.level) + ": " + datagram.text;
    } else if (datagram.type == "event") {
        text += "event " + datagram.name;
    } else if (datagram.type == "condition") {
        text += "condition " + datagram.name + " = " + std::to_string(datagram.number);
    } else if (datagram.type == "alarm") {
        text += std::string(datagram.raise ? "raises" : "clears") + " alarm " +
                std::to_string(datagram.code) + "/" + std::to_string(datagram.index);
        if (datagram.raise) text += " argument " + std::to_string(datagram.argument);
    }
    Plain(text);
}

void COutput::RawPiece(const SDatagram& piece, const SRawOutcome& outcome) {
    m_dirty = true;
    if (m_mode == kJsonLines) {
        Json line = {{"logserver", "raw"},
                     {"client", piece.client},
                     {"name", piece.name},
                     {"offset", piece.offset},
                     {"bytes", piece.bytes.size()},
                     {"total", piece.total},
                     {"time", piece.time},
                     {"complete", outcome.complete},
                     {"recorded", outcome.recorded},
                     {"rejected", outcome.rejected},
                     {"lost_bytes", outcome.lostBytes}};
        if (!outcome.file.empty()) line["file"] = outcome.file;
        if (!outcome.startedFile.empty()) line["started_file"] = outcome.startedFile;
        if (!outcome.message.empty()) line["message"] = outcome.message;
        Line(line);
        return;
    }
    if (!outcome.startedFile.empty()) Plain("recording into " + outcome.startedFile);
    if (!outcome.message.empty()) Plain(outcome.message);
    if (outcome.lostBytes > 0 && !outcome.rejected) {
        Plain("unfinished raw block of " + piece.client + " dropped after " +
              std::to_string(outcome.lostBytes) + " bytes");
    }
    if (m_mode == kPlainLines && outcome.complete) {
        Plain(ClockText(piece.time) + " " + piece.client + " raw " + piece.name + ": " +
              std::to_string(outcome.blockSize) + " bytes" +
              (outcome.recorded ? " recorded in " + outcome.file : ", not recorded"));
    }
}

void COutput::Malformed(const std::string& from, size_t size, const std::string& reason) {
    m_dirty = true;
    if (m_mode == kJsonLines) {
        Line({{"logserver", "malformed"},
              {"from", from},
              {"size", size},
              {"reason", reason},
              {"malformed", m_state.GetMalformedCount()}});
    } else if (m_mode == kPlainLines) {
        Plain("malformed datagram of " + std::to_string(size) + " bytes from " + from + ": " +
              reason + " (" + std::to_string(m_state.GetMalformedCount()) + " so far)");
    }
}

void COutput::Tick() {
    if (m_mode != kLiveView || !m_dirty || !m_nextRedraw.HasExpired()) return;
    Redraw();
    m_dirty = false;
    m_nextRedraw = Core::MonotonicTime::Now() + Core::Time::FromSeconds(1.0);
}

void COutput::Finished() {
    if (m_mode == kJsonLines) {
        Json summary = m_state.Summary();
        summary["logserver"] = "summary";
        Line(summary);
        return;
    }
    if (m_mode == kLiveView) Redraw();
    Plain(std::to_string(m_state.GetDatagramCount()) + " datagrams, " +
          std::to_string(m_state.GetMalformedCount()) + " malformed, " +
          std::to_string(m_state.GetRecordedBlockCount()) + " raw blocks recorded (" +
          std::to_string(m_state.GetRecordedByteCount()) + " bytes)");
}

void COutput::Line(const Json& object) {
    std::fprintf(m_stream, "%s\n", Dump(object).c_str());
    std::fflush(m_stream);
}

void COutput::Plain(const std::string& text) {
    if (m_mode == kLiveView) return;  // the next redraw shows it
    std::fprintf(m_stream, "%s\n", Printable(text).c_str());
    std::fflush(m_stream);
}

void COutput::Redraw() {
    std::vector<std::string> lines;
    std::string head = "quillond log server: " + std::to_string(m_state.GetDatagramCount()) +
                       " datagrams, " + std::to_string(m_state.GetMalformedCount()) + " malformed";
    if (m_state.GetMalformedCount() > 0) head += " (last: " + m_state.GetLastMalformed() + ")";
    lines.push_back(head);
    lines.push_back("raw: " + std::to_string(m_state.GetRecordedBlockCount()) +
                    " blocks recorded, " + std::to_string(m_state.GetUnrecordedBlockCount()) +
                    " not recorded, " + std::to_string(m_state.GetLostRawBlockCount()) + " lost");
    for (const auto& client : m_state.Clients()) {
        lines.push_back("");
        lines.push_back(client.first + " (" + std::to_string(client.second.datagrams) +
                        " datagrams, last " + ClockText(client.second.lastTime) + ")");
        for (const auto& value : client.second.values) {
            lines.push_back("  " + value.first + " = " + value.second.substr(0, kShownWidth));
        }
        for (const auto& condition : client.second.conditions) {
            lines.push_back("  [" + condition.first + "] = " + std::to_string(condition.second));
        }
    }
    lines.push_back("");
    lines.push_back("active alarms: " + std::to_string(m_state.Alarms().size()));
    for (const auto& alarm : m_state.Alarms()) {
        lines.push_back("  " + AlarmText(alarm.first.first, alarm.first.second, alarm.second));
    }
    lines.push_back("");
    lines.push_back("recent lines and events:");
    for (const std::string& line : m_state.Recent()) {
        lines.push_back("  " + line.substr(0, kShownWidth));
    }

    std::string screen = "\033[H\033[2J";  // cursor home, clear the screen
    for (const std::string& line : lines) screen += Printable(line) + "\n";
    std::fputs(screen.c_str(), m_stream);
    std::fflush(m_stream);
}

}  // namespace LogServer
