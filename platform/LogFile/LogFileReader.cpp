#include "platform/LogFile/LogFileReader.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "platform/LogFile/LogFileFormat.h"

CLogFileReader::CLogFileReader(const std::string& path)
    : m_stream(nullptr), m_path(path), m_offset(0), m_ended(false), m_failed(false) {
    m_stream = std::fopen(path.c_str(), "rb");
    if (m_stream == nullptr) {
        Fail("cannot open: %s", std::strerror(errno));
        m_stream = std::fopen("/dev/null", "rb");
        return;
    }
    ReadMark();
}

CLogFileReader::~CLogFileReader() {
    if (m_stream != nullptr) std::fclose(m_stream);
}

int CLogFileReader::GetFileDescriptor() const {
    return m_stream != nullptr ? fileno(m_stream) : -1;
}

void CLogFileReader::ReadMark() {
    char mark[LogFileFormat::kMarkSize];
    size_t got = std::fread(mark, 1, sizeof mark, m_stream);
    if (got < sizeof mark && std::ferror(m_stream)) {
        Fail("read error at offset 0: %s", std::strerror(errno));
        return;
    }
    if (got < sizeof mark) {
        Fail("not a recorded log: no \"%s\" mark at offset 0 (the file holds %u bytes)",
             LogFileFormat::kMark, static_cast<unsigned>(got));
        return;
    }
    if (std::memcmp(mark, LogFileFormat::kMark, sizeof mark) != 0) {
        Fail("not a recorded log: no \"%s\" mark at offset 0", LogFileFormat::kMark);
        return;
    }
    m_offset = sizeof mark;
}

int CLogFileReader::GetNextBinary(double& timestamp, std::string& data) {
    if (m_ended) return 0;

    const unsigned long long recordOffset = m_offset;
    uint8_t header[LogFileFormat::kRecordHeaderSize];
    size_t got = std::fread(header, 1, sizeof header, m_stream);
    m_offset += got;
    if (got < sizeof header) {
        if (std::ferror(m_stream)) {
            Fail("read error at offset %llu: %s", recordOffset + got, std::strerror(errno));
        } else if (got == 0) {
            m_ended = true;  // a clean end at a record boundary
        } else if (got < LogFileFormat::kTimestampSize) {
            Fail("truncated timestamp of the record at offset %llu (needs %u bytes, %u left)",
                 recordOffset, static_cast<unsigned>(LogFileFormat::kTimestampSize),
                 static_cast<unsigned>(got));
        } else {
            Fail("truncated byte count of the record at offset %llu (needs %u bytes, %u left)",
                 recordOffset, static_cast<unsigned>(LogFileFormat::kCountSize),
                 static_cast<unsigned>(got - LogFileFormat::kTimestampSize));
        }
        return 0;
    }

    double recordTime = 0.0;
    uint32_t count = 0;
    LogFileFormat::DecodeRecordHeader(header, recordTime, count);
    if (count > LogFileFormat::kMaxRecordSize) {
        Fail("record at offset %llu claims %lu bytes, more than the limit of %lu", recordOffset,
             static_cast<unsigned long>(count),
             static_cast<unsigned long>(LogFileFormat::kMaxRecordSize));
        return 0;
    }

    std::string bytes(count, '\0');
    got = count > 0 ? std::fread(bytes.data(), 1, count, m_stream) : 0;
    m_offset += got;
    if (got < count) {
        if (std::ferror(m_stream)) {
            Fail("read error at offset %llu: %s",
                 recordOffset + LogFileFormat::kRecordHeaderSize + got, std::strerror(errno));
        } else {
            Fail("truncated record at offset %llu (needs %lu bytes, %lu left)", recordOffset,
                 static_cast<unsigned long>(count), static_cast<unsigned long>(got));
        }
        return 0;
    }

    timestamp = recordTime;
    data.swap(bytes);
    return 1;
}

void CLogFileReader::Fail(const char* format, ...) {
    m_ended = true;
    m_failed = true;
    std::fprintf(stderr, "CLogFileReader: %s: ", m_path.c_str());
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
}
