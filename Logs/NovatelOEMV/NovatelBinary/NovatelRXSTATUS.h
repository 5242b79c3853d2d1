#pragma once
// Novatel::CNovatelRXSTATUS: the receiver's RXSTATUS log, its error word and
// its status groups (the receiver status word and the auxiliary status words,
// each with its priority and event masks). The receiver status observer
// publishes them as text and the diagnostics observer turns them into alarms.

#include <cstdint>
#include <vector>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelRXSTATUS : public virtual CNovatelRecord {
public:
    // One status word with its masks; the first group holds the receiver
    // status word, the later ones the auxiliary status words.
    struct SStatusGroup {
        uint32_t m_status = 0;
        uint32_t m_priorityMask = 0;
        uint32_t m_eventSetMask = 0;
        uint32_t m_eventClearMask = 0;
    };

    ~CNovatelRXSTATUS() override = default;

    // The receiver error word (0 when the receiver reports no error).
    uint32_t GetErrorWord() const { return m_errorWord; }
    // The number of status groups the log announces.
    uint32_t GetNumberOfStatusGroups() const { return m_numberOfStatusGroups; }
    // The status groups in the order the receiver sent them.
    const std::vector<SStatusGroup>& GetStatusGroups() const { return m_statusGroups; }
    // The status word of the first group (the receiver status word), or 0 for
    // a log without groups.
    uint32_t GetStatusWord() const {
        return m_statusGroups.empty() ? 0 : m_statusGroups.front().m_status;
    }

protected:
    uint32_t m_errorWord = 0;
    uint32_t m_numberOfStatusGroups = 0;
    std::vector<SStatusGroup> m_statusGroups;
};

}  // namespace Novatel
