#pragma once
// Novatel::CNovatelAbbreviatedASCIICommand: one receiver command in the
// receiver's abbreviated ASCII form, the command word and its blank-separated
// arguments on one line closed by "\r\n" (for example "LOG BESTPOSB ONTIME 1").
// It renders exactly the bytes of the ready-made lines the command manager
// sends.

#include <cstdint>
#include <string>

#include "control/NovatelCommand.h"
#include "platform/Core/ByteVector.h"

namespace Novatel {

class CNovatelAbbreviatedASCIICommand : public CNovatelCommand {
public:
    // An invalid command: no command word, no arguments.
    CNovatelAbbreviatedASCIICommand();
    ~CNovatelAbbreviatedASCIICommand() override;

    // Replaces the content of bytes by the line "command arguments\r\n" and
    // returns true; empties bytes and returns false while there is no command
    // word. The blank after the command word is written even when there are
    // no arguments, deliberately: the line then matches, byte for byte, the
    // text lines the command manager builds as "word arguments\r\n".
    virtual bool Render(ByteVector& bytes);
    // Stores the attribute; it does not change the rendered bytes.
    virtual void SetAttribute(uint32_t attribute);
    // The command word, taken byte for byte (no case change, no trimming).
    virtual void SetCommand(const std::string& command);
    // Everything after the command word, already blank-separated.
    virtual void SetArguments(const std::string& arguments);

    bool IsValid() const { return m_valid; }
    uint32_t GetKind() const { return m_kind; }
    uint32_t GetAttribute() const { return m_attribute; }
    const std::string& GetCommand() const { return m_command; }
    const std::string& GetArguments() const { return m_arguments; }

private:
    // A command is worth sending once it has a command word.
    void UpdateValidity() { m_valid = !m_command.empty(); }

    uint32_t m_kind;       // 1 for this form; never changed here
    uint32_t m_attribute;  // 192 until set; not part of the line
    bool m_valid;
    std::string m_command;
    std::string m_arguments;
};

}  // namespace Novatel
