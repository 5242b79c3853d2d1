#include "tools/logserver/RawRecorder.h"

#include <dirent.h>

#include <cstdio>
#include <cstdlib>

#include "platform/LogFile/LogFileFormat.h"

namespace LogServer {

namespace {

const char kSuffix[] = ".qlog";
// Unfinished blocks kept at once; pieces of further blocks are refused, so a
// sender of endless new block names cannot use up the memory.
const size_t kMaxPendingBlocks = 64;

std::string NumberedPath(const std::string& directory, const std::string& stem, unsigned number) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "-%04u", number);
    return directory + "/" + stem + digits + kSuffix;
}

}  // namespace

CRawRecorder::CRawRecorder(const std::string& directory, uint64_t rotateBytes,
                           std::function<bool(const std::string& client)> shouldRecord)
    : m_directory(directory), m_rotateBytes(rotateBytes), m_shouldRecord(std::move(shouldRecord)) {}

SRawOutcome CRawRecorder::AddPiece(const SDatagram& piece) {
    SRawOutcome outcome;
    const auto key = std::make_pair(piece.client, piece.name);
    auto found = m_pending.find(key);
    if (piece.offset == 0 && found == m_pending.end() && m_pending.size() >= kMaxPendingBlocks) {
        outcome.rejected = true;
        outcome.message = "raw piece from " + piece.client +
                          " refused: " + std::to_string(kMaxPendingBlocks) +
                          " blocks unfinished already";
        return outcome;
    }
    if (piece.offset == 0) {
        // A new block; one still unfinished will never be finished now.
        if (found != m_pending.end()) outcome.lostBytes = found->second.bytes.size();
        SPending& block = m_pending[key];
        block.total = piece.total;
        block.time = piece.time;
        block.bytes.clear();
        found = m_pending.find(key);
    } else if (found == m_pending.end() || found->second.total != piece.total ||
               found->second.bytes.size() != piece.offset) {
        outcome.rejected = true;
        outcome.message = "raw piece at offset " + std::to_string(piece.offset) + " of " +
                          std::to_string(piece.total) + " from " + piece.client +
                          " does not continue a block";
        if (found != m_pending.end()) {
            outcome.lostBytes = found->second.bytes.size();
            m_pending.erase(found);
        }
        return outcome;
    }

    SPending& block = found->second;
    block.bytes += piece.bytes;
    if (block.bytes.size() < block.total) return outcome;

    outcome.complete = true;
    outcome.blockSize = block.bytes.size();
    if (!m_directory.empty() && m_shouldRecord(piece.client)) Record(piece.name, block, outcome);
    m_pending.erase(found);
    return outcome;
}

void CRawRecorder::Record(const std::string& name, const SPending& block, SRawOutcome& outcome) {
    const std::string stem = FileStem(name);
    SOutput& output = m_outputs[stem];
    if (output.paused) {
        if (!output.retryAt.HasExpired()) {
            // Said once per pause; the total is given when recording resumes.
            if (output.droppedBytes == 0) {
                outcome.message = "recording of " + stem +
                                  " paused after a failed write; blocks are "
                                  "not recorded until it resumes";
            }
            output.droppedBytes += block.bytes.size();
            return;
        }
        output.paused = false;
    }
    const uint64_t recordSize = LogFileFormat::kRecordHeaderSize + block.bytes.size();
    const bool full =
        output.size > LogFileFormat::kMarkSize && output.size + recordSize > m_rotateBytes;
    if ((!output.writer.IsOpen() || full) && !OpenNext(stem, output, outcome)) {
        Pause(output);
        return;
    }
    if (!output.writer.Write(block.time, block.bytes) || !output.writer.Flush()) {
        // The writer has said why on standard error. The file keeps the
        // records before this one (a reader stops at the torn record).
        outcome.message =
            "could not record " + std::to_string(block.bytes.size()) + " bytes into " + output.path;
        output.writer.Close();
        Pause(output);
        return;
    }
    if (output.droppedBytes > 0) {
        outcome.message = "recording of " + stem + " resumed in " + output.path + "; " +
                          std::to_string(output.droppedBytes) + " bytes were not recorded";
        output.droppedBytes = 0;
    }
    output.size += recordSize;
    outcome.recorded = true;
    outcome.file = output.path;
}

void CRawRecorder::Pause(SOutput& output) {
    output.paused = true;
    output.retryAt = Core::MonotonicTime::Now() + Core::Time::FromSeconds(kRetrySeconds);
}

bool CRawRecorder::OpenNext(const std::string& stem, SOutput& output, SRawOutcome& outcome) {
    // A file that holds no record (its open or its first write failed) is
    // begun again under the same number.
    const bool holdsRecords = output.size > LogFileFormat::kMarkSize;
    output.writer.Close();
    if (output.number == 0) output.number = HighestExistingNumber(stem);
    if (output.number == 0 || holdsRecords || output.path.empty()) ++output.number;
    output.path = NumberedPath(m_directory, stem, output.number);
    output.size = 0;
    if (!output.writer.Open(output.path, CLogFileWriter::kTruncate)) {
        outcome.message = "could not open " + output.path + " for recording";
        return false;
    }
    output.size = LogFileFormat::kMarkSize;
    outcome.startedFile = output.path;
    return true;
}

unsigned CRawRecorder::HighestExistingNumber(const std::string& stem) const {
    // Files of an earlier run stay as they are: numbering goes on after them.
    unsigned highest = 0;
    DIR* directory = ::opendir(m_directory.c_str());
    if (directory == nullptr) return 0;
    const std::string prefix = stem + "-";
    while (const struct dirent* entry = ::readdir(directory)) {
        const std::string file = entry->d_name;
        const size_t suffixSize = sizeof kSuffix - 1;
        if (file.size() <= prefix.size() + suffixSize ||
            file.compare(0, prefix.size(), prefix) != 0 ||
            file.compare(file.size() - suffixSize, suffixSize, kSuffix) != 0) {
            continue;
        }
        const std::string digits =
            file.substr(prefix.size(), file.size() - prefix.size() - suffixSize);
        if (digits.find_first_not_of("0123456789") != std::string::npos || digits.size() > 9) {
            continue;
        }
        const unsigned number = static_cast<unsigned>(std::strtoul(digits.c_str(), nullptr, 10));
        if (number > highest) highest = number;
    }
    ::closedir(directory);
    return highest;
}

void CRawRecorder::CloseAll() {
    for (auto& entry : m_outputs) entry.second.writer.Close();
}

std::string CRawRecorder::FileStem(const std::string& name) {
    std::string stem;
    for (char c : name) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.';
        stem += plain ? c : '_';
    }
    // No hidden files and no "." or "..".
    if (stem.empty() || stem[0] == '.') stem.insert(0, "raw");
    return stem.substr(0, 100);
}

}  // namespace LogServer
