#include "platform/LogFile/LogFileWriter.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "platform/LogFile/LogFileFormat.h"

CLogFileWriter::CLogFileWriter() : m_stream(nullptr), m_reportedClosed(false) {}

CLogFileWriter::~CLogFileWriter() {
    if (m_stream != nullptr) Close();
}

bool CLogFileWriter::Open(const std::string& path, EOpenMode mode) {
    if (m_stream != nullptr) Close();
    m_path = path;
    m_reportedClosed = false;

    bool needsMark = true;
    if (mode == kAppend && !CanAppend(needsMark)) return false;

    m_stream = std::fopen(path.c_str(), mode == kAppend ? "ab" : "wb");
    if (m_stream == nullptr) {
        Report("cannot open for writing: %s", std::strerror(errno));
        return false;
    }
    if (needsMark && std::fwrite(LogFileFormat::kMark, 1, LogFileFormat::kMarkSize, m_stream) !=
                         LogFileFormat::kMarkSize) {
        Report("cannot write the mark: %s", std::strerror(errno));
        std::fclose(m_stream);
        m_stream = nullptr;
        return false;
    }
    return true;
}

bool CLogFileWriter::CanAppend(bool& isEmpty) {
    FILE* stream = std::fopen(m_path.c_str(), "rb");
    if (stream == nullptr) {
        if (errno == ENOENT) {
            isEmpty = true;
            return true;
        }
        Report("cannot open to append: %s", std::strerror(errno));
        return false;
    }

    struct stat status {};
    if (::fstat(fileno(stream), &status) != 0) {
        Report("cannot append: %s", std::strerror(errno));
        std::fclose(stream);
        return false;
    }
    // Walk the record headers only; the data is skipped by seeking.
    const unsigned long long size = static_cast<unsigned long long>(status.st_size);
    isEmpty = size == 0;
    bool good = true;
    char mark[LogFileFormat::kMarkSize];
    if (!isEmpty &&
        (size < sizeof mark || std::fread(mark, 1, sizeof mark, stream) != sizeof mark ||
         std::memcmp(mark, LogFileFormat::kMark, sizeof mark) != 0)) {
        Report("cannot append: not a recorded log (no \"%s\" mark at offset 0)",
               LogFileFormat::kMark);
        good = false;
    }
    unsigned long long offset = isEmpty ? 0 : sizeof mark;
    while (good && offset < size) {
        uint8_t header[LogFileFormat::kRecordHeaderSize];
        double timestamp = 0.0;
        uint32_t count = 0;
        if (size - offset < sizeof header ||
            std::fread(header, 1, sizeof header, stream) != sizeof header) {
            Report("cannot append: truncated record header at offset %llu", offset);
            good = false;
            break;
        }
        LogFileFormat::DecodeRecordHeader(header, timestamp, count);
        if (count > LogFileFormat::kMaxRecordSize || size - offset - sizeof header < count) {
            Report("cannot append: damaged or truncated record at offset %llu", offset);
            good = false;
            break;
        }
        offset += sizeof header + count;
        if (count > 0 && std::fseek(stream, static_cast<long>(count), SEEK_CUR) != 0) {
            Report("cannot append: seek failed at offset %llu: %s", offset, std::strerror(errno));
            good = false;
        }
    }
    std::fclose(stream);
    return good;
}

bool CLogFileWriter::Write(double timestamp, const ByteVector& bytes) {
    return WriteRecord(timestamp, bytes.data(), bytes.size());
}

bool CLogFileWriter::Write(double timestamp, const std::string& bytes) {
    return WriteRecord(timestamp, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

bool CLogFileWriter::WriteRecord(double timestamp, const uint8_t* bytes, size_t size) {
    if (m_stream == nullptr) {
        if (!m_reportedClosed) Report("write refused: the log is not open");
        m_reportedClosed = true;
        return false;
    }
    if (size > LogFileFormat::kMaxRecordSize) {
        Report("write refused: %lu bytes exceed the record limit of %lu",
               static_cast<unsigned long>(size),
               static_cast<unsigned long>(LogFileFormat::kMaxRecordSize));
        return false;
    }
    uint8_t header[LogFileFormat::kRecordHeaderSize];
    LogFileFormat::EncodeRecordHeader(timestamp, static_cast<uint32_t>(size), header);
    if (std::fwrite(header, 1, sizeof header, m_stream) != sizeof header ||
        (size > 0 && std::fwrite(bytes, 1, size, m_stream) != size)) {
        Report("write failed: %s; the log is closed", std::strerror(errno));
        std::fclose(m_stream);
        m_stream = nullptr;
        m_reportedClosed = true;
        return false;
    }
    return true;
}

bool CLogFileWriter::Flush() {
    if (m_stream == nullptr) return false;
    if (std::fflush(m_stream) != 0) {
        Report("flush failed: %s", std::strerror(errno));
        return false;
    }
    return true;
}

bool CLogFileWriter::Close() {
    if (m_stream == nullptr) return false;
    bool flushed = std::fflush(m_stream) == 0;
    int flushError = errno;
    bool closed = std::fclose(m_stream) == 0;
    m_stream = nullptr;
    if (!flushed || !closed) {
        Report("close failed: %s", std::strerror(flushed ? errno : flushError));
        return false;
    }
    return true;
}

void CLogFileWriter::Report(const char* format, ...) {
    std::fprintf(stderr, "CLogFileWriter: %s: ", m_path.c_str());
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
}
