#pragma once
// The daemon's run-time options and the three layers that settle them:
// built-in defaults, section "Quillond" of the configuration store, and the
// command line, each overriding the one before field by field.

#include <cstdint>
#include <ostream>
#include <string>

class CConfig;

enum EIoType {
    IO_TYPE_FILE = 0,
    IO_TYPE_SERIAL = 1,
    IO_TYPE_REPLAY = 2,
    IO_TYPE_TOLVEK = 3,
};

enum EBreakoutMode {
    BREAKOUT_NONE = 0,
    BREAKOUT_LB2 = 1,
    BREAKOUT_BREAK = 2,
    BREAKOUT_SOFTBREAK = 3,
};

struct SProgramOptions {
    // Fields hold the built-in defaults until a layer changes them.
    int32_t m_ioType = IO_TYPE_SERIAL;
    std::string m_inputName = "/dev/ttyS0";
    int32_t m_baudRate = 115200;
    int32_t m_readTimeout = 100;  // milliseconds; kept for the accessor only
    int32_t m_readSize = 1024;
    bool m_elevatePriority = true;
    bool m_displayPackets = false;
    int32_t m_breakoutMode = BREAKOUT_NONE;
    std::string m_configurationFile;

    int32_t GetIoType() const { return m_ioType; }
    const std::string& GetInputName() const { return m_inputName; }
    int32_t GetBaudRate() const { return m_baudRate; }
    int32_t GetReadTimeout() const { return m_readTimeout; }
    int32_t GetReadSize() const { return m_readSize; }
    bool GetElevatePriority() const { return m_elevatePriority; }
    bool GetDisplayPackets() const { return m_displayPackets; }
    int32_t GetBreakoutMode() const { return m_breakoutMode; }
    const std::string& GetConfigurationFile() const { return m_configurationFile; }

    bool IsSerial() const { return m_ioType == IO_TYPE_SERIAL; }
    bool IsTolvek() const { return m_ioType == IO_TYPE_TOLVEK; }
    bool IsReplay() const { return m_ioType == IO_TYPE_REPLAY; }
    bool IsFile() const { return m_ioType == IO_TYPE_FILE; }
};

// The process-wide options.
SProgramOptions& ProgramOptions();

// True when the process was started with the single argument "-h" or "--help".
bool IsHelpRequest(int argc, char* const argv[]);

// The usage text, headed by the program path.
void PrintUsage(std::ostream& out, const char* programPath);

// The breakout mode for its exact, case-sensitive name; -1 for any other text.
int BreakoutModeFromName(const std::string& name);

// Reads the start-up keys of section "Quillond". Their defaults differ from
// the built-in ones on purpose: a daemon started with no arguments reads the
// port-router port 122 at 230400 baud after a softbreak.
void ApplyConfiguration(SProgramOptions& options, const CConfig& config);

// Applies the command line. Returns false after writing the message for an
// unknown option or breakout mode to errors; the caller then exits with -1.
bool ApplyCommandLine(SProgramOptions& options, int argc, char* argv[], std::ostream& errors);
