#pragma once
// Byte source that replays a recorded log (io type 2) at the pace it was
// recorded: each record's bytes are handed out after the gap between its
// recording time and the previous record's. Writes are accepted and dropped.

#include <memory>
#include <string>

#include "io/InputOutputHandler.h"
#include "platform/LogFile/LogFileReader.h"

class CReplayHandler : public CInputOutputHandler {
public:
    CReplayHandler();
    ~CReplayHandler() override;

    // 0 when no path is set; otherwise opens a reader on the path and returns
    // 1, also for a file that cannot be read: the reader reports that once
    // and the first Read then ends the replay.
    int Open() override;
    // Drops the reader; result 1.
    int Close() override;
    bool IsOpen() override { return m_reader != nullptr; }
    // The next record's bytes, paced by its recording time; empty at the end
    // of the log. The count is not used. Throws int 1 when not open.
    ByteVector Read(int count) override;
    using CInputOutputHandler::Read;
    // Accepted and dropped: result 1.
    int Write(const std::string& text) override;
    int Write(const ByteVector& bytes) override;
    int SetPortName(const std::string& name) override;
    // Ignored: the pace comes from the log.
    int SetTimeout(Core::Time) override { return 1; }
    void SendBreak() override {}
    int SetBaudRate(int) override { return 1; }
    // The reader's descriptor; -1 without a reader.
    int GetFileDescriptor() override;

private:
    std::unique_ptr<CLogFileReader> m_reader;
    std::string m_path;
    double m_previousTimestamp;  // recording time of the last record handed out
};
