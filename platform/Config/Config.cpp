#include "platform/Config/Config.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "platform/Core/Utilities.h"

namespace {

const char kDefaultPath[] = "/var/lib/quillond/system.conf";
bool IsCommentStart(char c) { return c == '#' || c == ';'; }

std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Why a setting could not be written so that the parser reads it back the
// same, or nullptr when it can.
const char* WhyUnstorable(const std::string& section, const std::string& key,
                          const std::string& value) {
    if (section.find_first_of("\r\n]") != std::string::npos ||
        Core::Utilities::trim(section) != section) {
        return "the section name cannot be written as a header";
    }
    if (key.empty() || Core::Utilities::trim(key) != key ||
        key.find_first_of("\r\n=") != std::string::npos || key[0] == '[' ||
        IsCommentStart(key[0])) {
        return "the key cannot be written as a key";
    }
    if (value.find_first_of("\r\n") != std::string::npos) return "the value holds a line break";
    return nullptr;
}

std::string ErrnoText(const std::string& what) {
    const int error = errno;
    return what + ": " + std::strerror(error);
}

bool WriteAll(int fd, const std::string& text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

}  // namespace

CConfig& CConfig::GetSystemConfig() {
    static CConfig config([] {
        const char* path = std::getenv("QUILLOND_CONFIG");
        return std::string(path && *path ? path : kDefaultPath);
    }());
    return config;
}

CConfig::CConfig(const std::string& path) : m_path(path) {
    std::string text;
    std::string error;
    if (!ReadFile(text, error)) {
        ReportOnce("unreadable",
                   "CConfig: cannot read " + m_path + " (" + error + "); using the defaults");
    }
    Parse(text);
}

std::string CConfig::GetString(const std::string& section, const std::string& key,
                               const std::string& defaultValue) const {
    const SKeyView wanted{section, key};
    const auto change = m_changes.find(wanted);
    if (change != m_changes.end()) return change->second;
    const auto entry = m_values.find(wanted);
    return entry == m_values.end() ? defaultValue : entry->second.value;
}

int32_t CConfig::GetInteger(const std::string& section, const std::string& key,
                            int32_t defaultValue) const {
    const SKeyView wanted{section, key};
    const auto change = m_changes.find(wanted);
    const auto entry = change == m_changes.end() ? m_values.find(wanted) : m_values.end();
    const std::string* text = nullptr;
    if (change != m_changes.end()) {
        text = &change->second;
    } else if (entry != m_values.end()) {
        text = &entry->second.value;
    } else {
        return defaultValue;
    }
    int32_t value = 0;
    if (Core::Utilities::ParseInt(*text, value)) return value;
    const std::string where = change != m_changes.end()
                                  ? m_path + " (not yet committed)"
                                  : m_path + ":" + std::to_string(entry->second.line);
    ReportOnce("integer\n" + section + "\n" + key + "\n" + *text,
               "CConfig: " + where + ": [" + section + "] " + key + " = \"" + *text +
                   "\" is not a whole decimal number; using the default " +
                   std::to_string(defaultValue));
    return defaultValue;
}

void CConfig::SetString(const std::string& section, const std::string& key,
                        const std::string& value) {
    const char* problem = WhyUnstorable(section, key, value);
    if (problem != nullptr) {
        std::fprintf(stderr, "CConfig: not storing [%s] %s: %s\n", section.c_str(), key.c_str(),
                     problem);
        return;
    }
    // The file trims values, so store what a reload would give.
    m_changes[Key(section, key)] = Core::Utilities::trim(value);
}

void CConfig::SetInteger(const std::string& section, const std::string& key, int32_t value) {
    SetString(section, key, std::to_string(value));
}

bool CConfig::Commit() {
    std::string text;
    std::string error;
    if (m_changes.empty()) {
        // Nothing to write; just pick up what other processes committed.
        if (ReadFile(text, error)) Parse(text);
        return true;
    }

    // Committers in other processes take the same lock; the kernel drops it
    // when its holder dies, so a killed committer never blocks the next one.
    const std::string lockPath = m_path + ".lock";
    const int lockFd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0640);
    if (lockFd < 0) {
        ReportCommitFailure(ErrnoText("cannot open the lock file " + lockPath));
        return false;
    }
    int locked;
    while ((locked = ::flock(lockFd, LOCK_EX)) != 0 && errno == EINTR) {
    }
    if (locked != 0) {
        ReportCommitFailure(ErrnoText("cannot lock " + lockPath));
        ::close(lockFd);
        return false;
    }

    // Re-read under the lock so keys other processes committed are kept; a
    // file that exists but cannot be read is never overwritten.
    bool written = false;
    if (!ReadFile(text, error)) {
        ReportCommitFailure("cannot read it (" + error + ")");
    } else {
        Parse(text);
        const std::string merged = Merge();
        written = WriteAtomically(merged);
        if (written) {
            m_changes.clear();
            m_lastCommitFailure.clear();
            Parse(merged);
        }
    }
    ::close(lockFd);
    return written;
}

bool CConfig::ReadFile(std::string& text, std::string& error) const {
    text.clear();
    // Non-blocking so that a FIFO in the file's place cannot stall the daemon.
    const int fd = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        if (errno == ENOENT) return true;
        error = std::strerror(errno);
        return false;
    }
    struct stat info;
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        error = "not a regular file";
        ::close(fd);
        return false;
    }
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            error = std::strerror(errno);
            ::close(fd);
            return false;
        }
        if (n == 0) break;
        text.append(buffer, static_cast<size_t>(n));
    }
    ::close(fd);
    return true;
}

void CConfig::Parse(const std::string& text) {
    m_lines.clear();
    m_values.clear();
    m_insertAt.clear();
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        m_lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }

    std::string section;  // keys before any header belong to the section ""
    for (size_t i = 0; i < m_lines.size(); ++i) {
        const std::string line = Core::Utilities::trim(m_lines[i]);
        if (line.empty() || IsCommentStart(line[0])) continue;
        const char* problem = nullptr;
        if (line[0] == '[') {
            const size_t close = line.find(']');
            const std::string rest = close == std::string::npos
                                         ? std::string()
                                         : Core::Utilities::trim(line.substr(close + 1));
            if (close == std::string::npos) {
                problem = "unterminated \"[\"";
            } else if (!rest.empty() && !IsCommentStart(rest[0])) {
                problem = "text after \"]\"";
            } else {
                section = Core::Utilities::trim(line.substr(1, close - 1));
                m_insertAt[section] = i + 1;
            }
        } else {
            const size_t equals = line.find('=');
            const std::string key = equals == std::string::npos
                                        ? std::string()
                                        : Core::Utilities::trim(line.substr(0, equals));
            if (equals == std::string::npos) {
                problem = "no \"=\"";
            } else if (key.empty()) {
                problem = "no key before \"=\"";
            } else {
                // A key given twice keeps its last value.
                m_values[Key(section, key)] =
                    SEntry{Core::Utilities::trim(line.substr(equals + 1)), i + 1};
                m_insertAt[section] = i + 1;
            }
        }
        if (problem != nullptr) {
            ReportOnce("malformed\n" + m_lines[i],
                       "CConfig: " + m_path + ":" + std::to_string(i + 1) +
                           ": skipping malformed line (" + problem + "): " + m_lines[i]);
        }
    }
}

std::string CConfig::Merge() const {
    std::vector<std::string> lines = m_lines;
    std::map<size_t, std::vector<std::string>, std::greater<size_t>> inserts;
    std::map<std::string, std::vector<std::string>> newSections;
    for (const auto& change : m_changes) {
        const std::string& section = change.first.first;
        const std::string line = change.first.second + " = " + change.second;
        const auto entry = m_values.find(change.first);
        const auto insertAt = m_insertAt.find(section);
        if (entry != m_values.end()) {
            lines[entry->second.line - 1] = line;  // rewrite the line that is in effect
        } else if (insertAt != m_insertAt.end()) {
            inserts[insertAt->second].push_back(line);  // after the section's last key
        } else if (section.empty()) {
            inserts[0].push_back(line);
        } else {
            newSections[section].push_back(line);
        }
    }
    // From the bottom up, so the indices of earlier insertion points stay valid.
    for (const auto& insert : inserts) {
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(insert.first),
                     insert.second.begin(), insert.second.end());
    }
    for (const auto& section : newSections) {
        if (!lines.empty() && !Core::Utilities::trim(lines.back()).empty())
            lines.push_back(std::string());
        lines.push_back("[" + section.first + "]");
        lines.insert(lines.end(), section.second.begin(), section.second.end());
    }
    std::string text;
    for (const auto& line : lines) text += line + "\n";
    return text;
}

bool CConfig::WriteAtomically(const std::string& text) {
    // Only a lock holder uses the temporary name, so a stale one left by a
    // killed committer is simply replaced.
    const std::string temporary = m_path + ".tmp";
    ::unlink(temporary.c_str());
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0640);
    if (fd < 0) {
        ReportCommitFailure(ErrnoText("cannot create " + temporary));
        return false;
    }
    struct stat previous;
    if (::stat(m_path.c_str(), &previous) == 0) ::fchmod(fd, previous.st_mode & 07777);

    std::string failure;
    if (!WriteAll(fd, text)) {
        failure = ErrnoText("cannot write " + temporary);
    } else if (::fsync(fd) != 0) {
        failure = ErrnoText("cannot flush " + temporary);
    }
    if (::close(fd) != 0 && failure.empty()) failure = ErrnoText("cannot close " + temporary);
    if (failure.empty() && ::rename(temporary.c_str(), m_path.c_str()) != 0) {
        failure = ErrnoText("cannot rename " + temporary);
    }
    if (!failure.empty()) {
        ::unlink(temporary.c_str());
        ReportCommitFailure(failure);
        return false;
    }

    // The new contents are in place; flushing the directory makes the rename
    // itself survive a power cut.
    const std::string directory = DirectoryOf(m_path);
    const int dirFd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd < 0 || (::fsync(dirFd) != 0 && errno != EINVAL)) {
        ReportOnce("directory\n" + directory,
                   "CConfig: " + ErrnoText("cannot flush the directory " + directory));
    }
    if (dirFd >= 0) ::close(dirFd);
    return true;
}

void CConfig::ReportOnce(const std::string& tag, const std::string& message) const {
    if (!m_reported.insert(tag).second) return;
    std::fprintf(stderr, "%s\n", message.c_str());
}

void CConfig::ReportCommitFailure(const std::string& message) {
    if (message == m_lastCommitFailure) return;
    m_lastCommitFailure = message;
    std::fprintf(stderr, "CConfig: cannot commit %s: %s; keeping the values in memory\n",
                 m_path.c_str(), message.c_str());
}
