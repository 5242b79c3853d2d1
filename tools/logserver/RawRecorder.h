#pragma once
// Puts raw receiver data back together from its "raw" pieces and records each
// whole block as one record of a recorded log (docs/recorded-log.md), stamped
// with the datagram's time, so that the file replays with `quillond -r`.
// Each block name gets its own numbered files, "<name>-0001.qlog" onwards; a
// file is closed and the next one begun before a record would take it past
// the rotation size. When a write fails (a full disk) the file is closed with
// what it holds, recording of that name pauses for a few seconds, and then
// goes on in the next file; a file that got no record is begun again rather
// than left empty beside the next.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "platform/Core/Time.h"
#include "platform/LogFile/LogFileWriter.h"
#include "tools/logserver/Datagram.h"

namespace LogServer {

// What became of one raw piece.
struct SRawOutcome {
    bool rejected = false;  // the piece does not continue its block: piece and block dropped
    size_t lostBytes = 0;   // bytes of an unfinished block dropped (by a new block or rejection)
    bool complete = false;  // the piece finished its block
    bool recorded = false;  // and the block was written
    size_t blockSize = 0;
    std::string file;         // the file it went into
    std::string startedFile;  // a file begun for this block ("" when none)
    std::string message;      // why a piece or block was refused, or a write failed
};

class CRawRecorder {
public:
    // Records under directory ("" records nothing) the blocks of the clients
    // for which shouldRecord answers true, asked when a block is complete.
    CRawRecorder(const std::string& directory, uint64_t rotateBytes,
                 std::function<bool(const std::string& client)> shouldRecord);

    CRawRecorder(const CRawRecorder&) = delete;
    CRawRecorder& operator=(const CRawRecorder&) = delete;

    // Takes one checked raw piece.
    SRawOutcome AddPiece(const SDatagram& piece);

    // Flushes and closes every file.
    void CloseAll();

    // A block name made safe to be part of a file name.
    static std::string FileStem(const std::string& name);

    // How long recording of a name pauses after a failed write or open.
    static constexpr double kRetrySeconds = 5.0;

private:
    struct SPending {
        uint64_t total = 0;
        double time = 0.0;  // of its first piece
        std::string bytes;
    };
    struct SOutput {
        CLogFileWriter writer;
        unsigned number = 0;  // of the open file; 0 before the first
        uint64_t size = 0;    // bytes in the open file
        std::string path;
        // After a failed write or open (a full disk), recording of this name
        // pauses until then, so an outage costs one attempt per pause, not
        // one per block.
        Core::MonotonicTime retryAt;
        bool paused = false;
        uint64_t droppedBytes = 0;  // blocks not recorded during the pause
    };

    void Record(const std::string& name, const SPending& block, SRawOutcome& outcome);
    bool OpenNext(const std::string& name, SOutput& output, SRawOutcome& outcome);
    void Pause(SOutput& output);
    // The highest number of the files already in the directory for this stem.
    unsigned HighestExistingNumber(const std::string& stem) const;

    std::string m_directory;
    uint64_t m_rotateBytes;
    std::function<bool(const std::string&)> m_shouldRecord;
    std::map<std::pair<std::string, std::string>, SPending> m_pending;  // by client, name
    std::map<std::string, SOutput> m_outputs;                           // by block name
};

}  // namespace LogServer
