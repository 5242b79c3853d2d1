#pragma once
// The system configuration store: a text file of "[Section]" headers and
// "key = value" lines, read at first use and written back atomically.

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

class CConfig {
public:
    // The process-wide store: the file named by $QUILLOND_CONFIG, else
    // /var/lib/quillond/system.conf. A missing file means all defaults.
    static CConfig& GetSystemConfig();

    // A store on the given file, loaded at once.
    explicit CConfig(const std::string& path);

    CConfig(const CConfig&) = delete;
    CConfig& operator=(const CConfig&) = delete;

    const std::string& GetPath() const { return m_path; }

    // The value of section/key, or the default when the key is absent.
    std::string GetString(const std::string& section, const std::string& key,
                          const std::string& defaultValue) const;
    // As GetString, for a whole decimal number; any other text gives the
    // default and one warning on standard error naming the file and the line.
    int32_t GetInteger(const std::string& section, const std::string& key,
                       int32_t defaultValue) const;

    // Changes the value held in memory; Commit writes it. A section, key or
    // value the file format cannot hold (a line break, a key with "=", ...) is
    // reported on standard error and ignored.
    void SetString(const std::string& section, const std::string& key, const std::string& value);
    void SetInteger(const std::string& section, const std::string& key, int32_t value);

    // Writes the store to disk atomically and durably, merged with what other
    // processes committed since the last read. Returns false when it could not
    // write; the values stay in memory and the failure is reported once.
    bool Commit();

private:
    using Key = std::pair<std::string, std::string>;  // section, key
    struct SEntry {
        std::string value;
        size_t line;  // 1-based line in the file
    };
    // A section and key looked up without copying them into a Key: values are
    // read once per published value, so a lookup must not allocate.
    struct SKeyView {
        const std::string& section;
        const std::string& key;
    };
    struct SKeyLess {
        using is_transparent = void;
        bool operator()(const Key& a, const Key& b) const { return a < b; }
        bool operator()(const Key& a, const SKeyView& b) const {
            const int order = a.first.compare(b.section);
            return order < 0 || (order == 0 && a.second < b.key);
        }
        bool operator()(const SKeyView& a, const Key& b) const {
            const int order = a.section.compare(b.first);
            return order < 0 || (order == 0 && a.key < b.second);
        }
    };

    // Reads the file into text (empty when there is no file); false with the
    // reason in error when it exists but cannot be read.
    bool ReadFile(std::string& text, std::string& error) const;
    // Replaces the view of the file with the given text, reporting malformed lines.
    void Parse(const std::string& text);
    // The parsed lines with this process's uncommitted changes written into them.
    std::string Merge() const;
    bool WriteAtomically(const std::string& text);
    // Prints the message on standard error unless one with the same tag was printed before.
    void ReportOnce(const std::string& tag, const std::string& message) const;
    void ReportCommitFailure(const std::string& message);

    std::string m_path;
    std::vector<std::string> m_lines;          // the file as last read, line by line
    std::map<Key, SEntry, SKeyLess> m_values;  // the effective (last) value of each key in the file
    std::map<Key, std::string, SKeyLess> m_changes;  // set here since the last read or commit
    // For each section, the index in m_lines where a new key of it is inserted.
    std::map<std::string, size_t> m_insertAt;
    mutable std::set<std::string> m_reported;  // tags of messages already printed
    std::string m_lastCommitFailure;           // a repeat of the same failure stays quiet
};
